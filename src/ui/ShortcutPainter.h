#pragma once

#include <QColor>
#include <QFont>
#include <QIcon>
#include <QList>
#include <QPixmap>
#include <QRectF>
#include <QString>

class QPainter;
class ShortcutItem;
class Tag;

// Draws one shortcut: its icon (gradient square and glyph), its grid tile and its list row.
// Every length of the icon and the tile is a fraction of its size, so both scale freely.
namespace ShortcutPainter {
struct Gradient {
    QColor top;
    QColor bottom;
    bool operator==(const Gradient &) const = default;
};
// The icon's gradient: both icon hexes lightened, else the shortcut's colour lightened on top
// and darkened at the bottom (grey-blue for missing or malformed colour text).
Gradient gradient(const ShortcutItem &item);
// Colour of hex text, or the fallback for empty or malformed text.
QColor colorOrFallback(const QString &hex, const QColor &fallback);
// The accent colour of the running palette.
QColor accentColor();

// Draws a symbol by name (from SymbolTable) fitted into rect.
void drawSymbol(QPainter &painter, const QRectF &rect, const QString &name, const QColor &color,
                bool bold = false);
// The symbol name shown instead of an icon image.
QString fallbackSymbol(const ShortcutItem &item);
// The decoded icon image scaled to size (device pixels), cached by record and revision; null
// when the item has no icon data or it does not decode.
QPixmap iconPixmap(const ShortcutItem &item, quint64 revision, const QSize &size, qreal dpr);

// The glyph alone: the icon image stretched to rect, or the white fallback symbol inset by
// 8 % of the size.
void drawGlyph(QPainter &painter, const QRectF &rect, const ShortcutItem &item, quint64 revision);
// Gradient square with radius 24 % of the size and the glyph at 64 % in its centre.
void drawIcon(QPainter &painter, const QRectF &rect, const ShortcutItem &item, quint64 revision);
// The icon drawn at menu sizes.
QIcon menuIcon(const ShortcutItem &item, quint64 revision);

struct ViewState {
    bool selected = false;
    bool hovering = false;
    bool running = false;
    // Rotation of the spinner in degrees while running.
    qreal spinnerAngle = 0;
};

// Tile width over height.
inline constexpr qreal tileAspectRatio = 1.46;
void drawTile(QPainter &painter, const QRectF &rect, const ShortcutItem &item, quint64 revision,
              const ViewState &state);
// The tile drawn once into a pixmap kept by record, revision, size and state, then blitted: a
// repaint of an unchanged tile costs a copy. A running tile (its spinner turns) is drawn directly.
void drawTileCached(QPainter &painter, const QRect &rect, const ShortcutItem &item,
                    quint64 revision, const ViewState &state);
// A tile about to be drawn.
struct TileRequest {
    const ShortcutItem *item;
    quint64 revision;
    QRect rect;
    ViewState state;
};
// Decodes, several at once, the icon images of the tiles that are not drawn and kept yet, so a
// screen of new tiles waits for the slowest decode rather than for all of them in a row.
void prepareTiles(const QList<TileRequest> &tiles, qreal dpr);
// Where the tile's run button sits (shown while hovering and not running).
QRectF tileRunButtonRect(const QRectF &tileRect);
// The marks at the tile's top trailing corner, beside its status control: the favourite star
// at the outside, then the mark of a failed last run.
struct TileMark {
    QString symbol;
    QRectF rect;
};
QList<TileMark> tileMarks(const QRectF &tileRect, const ShortcutItem &item, const ViewState &state);

inline constexpr int rowHeight = 52;
void drawRow(QPainter &painter, const QRectF &rect, const ShortcutItem &item, quint64 revision,
             const ViewState &state, const QPalette &palette);
QRectF rowRunButtonRect(const QRectF &rowRect);

// A small spinning progress indicator.
void drawSpinner(QPainter &painter, const QRectF &rect, const QColor &color, qreal angle);
} // namespace ShortcutPainter
