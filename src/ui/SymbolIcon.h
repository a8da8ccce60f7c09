#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

// Symbols of the program's symbol table as icons for buttons, menus and panels.
namespace SymbolIcon {
// Drawn at several sizes so that it stays crisp; the colour is used as it is.
QIcon icon(const QString &symbolName, const QColor &color);
// In the palette's text colour (window text, or the button text when that differs).
QIcon icon(const QString &symbolName);
QPixmap pixmap(const QString &symbolName, const QColor &color, int size, qreal dpr = 1.0);
} // namespace SymbolIcon
