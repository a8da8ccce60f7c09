#pragma once

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QString>
#include <QStringList>

// Draws a shortcut icon as the Shortcuts app shows it: a vertical gradient with a white glyph.
// The glyphs are drawn here with QPainter, so the simulator needs no font and no GUI session.
namespace SimulatedIconRenderer {
QStringList glyphNames();
bool hasGlyph(const QString &glyph);
// Unknown glyph names draw the default "sparkles" glyph.
QImage render(const QString &glyph, const QColor &top, const QColor &bottom, int size = 128);
QByteArray renderPNG(const QString &glyph, const QColor &top, const QColor &bottom, int size = 128);
} // namespace SimulatedIconRenderer
