#pragma once

#include <QByteArray>
#include <QImage>
#include <optional>

// A lean PNG writer for glyph rasters. Qt's writer picks filters row by row and converts the
// whole image first, which costs more than everything else icon processing does at 128 px.
// Images whose visible pixels are all white are written as grey + alpha, the rest as RGBA.
namespace PngEncoder {
// No value for a null image or when compression fails.
std::optional<QByteArray> encode(const QImage &image);
} // namespace PngEncoder
