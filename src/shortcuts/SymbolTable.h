#pragma once

#include <QFont>
#include <QString>
#include <QStringList>
#include <optional>

// Maps the symbol names the program uses (the platform's symbol names such as "folder",
// "sparkles" or "star.fill") to glyphs of the bundled Material Design Icons font, so that app
// icons and the window draw the same, tintable shapes on every system.
namespace SymbolTable {
// The glyph for a symbol name; a visible question-mark glyph for names the table lacks.
QString glyph(const QString &name);
// The glyph, or no value when the table has no entry for the name.
std::optional<QString> glyphIfKnown(const QString &name);
bool contains(const QString &name);
// Every symbol name of the table, sorted.
QStringList names();
// The symbol font at the given pixel size. Loads the font file once per process; needs a
// QGuiApplication.
QFont font(qreal pixelSize);
// The family the font was registered under, or empty when no font file could be loaded.
QString fontFamily();
} // namespace SymbolTable
