#pragma once

#include "model/ProcessedIcon.h"

#include <QByteArray>
#include <QImage>
#include <QRect>
#include <optional>

// Splits a Shortcuts icon (a glyph on a vertical two-colour gradient) into the glyph alone and
// the two gradient colours. Stateless; both operations may run on any thread at once.
namespace IconProcessing {
// Edge length of the working raster every icon is scaled to.
inline constexpr int workingSize = 128;

// The glyph as a square transparent PNG (at most 128 x 128) with the top and bottom background
// colours; no value for undecodable bytes, a transparent sample area or an icon without glyph.
std::optional<Result> process(const QByteArray &imageData);

// The square crop around the pixels with alpha > 8, cut to the image bounds; no value when the
// image has no such pixel.
std::optional<QImage> trimmedToContent(const QImage &image);
// The smallest rectangle holding every pixel with alpha > 8; no value when there is none.
std::optional<QRect> contentBounds(const QImage &image);

// Decodes outside image bytes with a bound on the claimed dimensions; a null image on failure.
QImage decodeImage(const QByteArray &imageData);
} // namespace IconProcessing
