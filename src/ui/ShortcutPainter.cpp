#include "ui/ShortcutPainter.h"

#include "model/ColorHex.h"
#include "model/LibraryFolder.h"
#include "model/ShortcutItem.h"
#include "model/Tag.h"
#include "shortcuts/SymbolTable.h"
#include "ui/KeptPixmap.h"
#include "ui/RelativeDate.h"
#include "ui/RunOutcomeMark.h"

#include <QApplication>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPixmapCache>
#include <QTextLayout>
#include <QtConcurrent>

namespace ShortcutPainter {
namespace {
QColor opaque(const RGBComponents &c)
{
    return QColor::fromRgbF(float(c.red), float(c.green), float(c.blue));
}

RGBComponents lightened(RGBComponents c)
{
    const auto up = [](double v) { return std::min(1.0, v + (1.0 - v) * 0.12); };
    return {up(c.red), up(c.green), up(c.blue)};
}

QPainterPath roundedRect(const QRectF &rect, qreal radius)
{
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

void strokeInset(QPainter &painter, const QRectF &rect, qreal radius, const QColor &color,
                 qreal width)
{
    const qreal half = width / 2;
    painter.setPen(QPen(color, width));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(roundedRect(rect.adjusted(half, half, -half, -half), radius - half));
}

// The tile's gradient, hairline and selection ring. Tiles of one colour share the image, and a
// stroked curve is the costliest thing a tile draws.
QPixmap tileBackground(const Gradient &colours, const QSizeF &size, qreal radius, bool selected,
                       qreal dpr)
{
    const QString name = QStringLiteral("tc-tile-bg:%1:%2:%3")
                             .arg(colours.top.rgba())
                             .arg(colours.bottom.rgba())
                             .arg(selected ? accentColor().rgba() : 0u);
    return keptPixmap(name, size, dpr, [&](QPainter &painter) {
        const QRectF rect(QPointF(0, 0), size);
        QLinearGradient fill(rect.topLeft(), rect.bottomLeft());
        fill.setColorAt(0, colours.top);
        fill.setColorAt(1, colours.bottom);
        painter.setPen(Qt::NoPen);
        painter.setBrush(fill);
        painter.drawPath(roundedRect(rect, radius));
        strokeInset(painter, rect, radius, QColor(255, 255, 255, qRound(255 * 0.08)), 0.5);
        if (selected) {
            strokeInset(painter, rect, radius, accentColor(), 2.5);
            strokeInset(painter, rect, radius, QColor(255, 255, 255, qRound(255 * 0.35)), 1);
        }
    });
}

QFont systemFont(qreal pixelSize, QFont::Weight weight)
{
    QFont font = QApplication::font();
    font.setPixelSize(std::max(1, qRound(pixelSize)));
    font.setWeight(weight);
    return font;
}

void drawRunButton(QPainter &painter, const QRectF &circle, const ShortcutItem &item,
                   qreal symbolSize, qreal nudge)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(opaque(rgbComponents(item.colorHex())));
    painter.drawEllipse(circle);
    QRectF symbol(0, 0, symbolSize, symbolSize);
    symbol.moveCenter(circle.center() + QPointF(nudge, 0));
    drawSymbol(painter, symbol, QStringLiteral("play.fill"), Qt::white, true);
}
} // namespace

QColor accentColor()
{
    return QApplication::palette().color(QPalette::Highlight);
}

QColor colorOrFallback(const QString &hex, const QColor &fallback)
{
    const auto components = rgbComponentsIfValid(hex);
    return components ? opaque(*components) : fallback;
}

Gradient gradient(const ShortcutItem &item)
{
    if (!item.iconTopHex().isEmpty() && !item.iconBottomHex().isEmpty())
        return {opaque(lightened(rgbComponents(item.iconTopHex()))),
                opaque(lightened(rgbComponents(item.iconBottomHex())))};
    const RGBComponents c = rgbComponents(item.colorHex());
    return {opaque(lightened(c)), opaque({c.red * 0.86, c.green * 0.86, c.blue * 0.86})};
}

void drawSymbol(QPainter &painter, const QRectF &rect, const QString &name, const QColor &color,
                bool bold)
{
    if (rect.isEmpty())
        return;
    QFont font = SymbolTable::font(rect.height());
    if (bold)
        font.setBold(true);
    painter.save();
    painter.setFont(font);
    painter.setPen(color);
    painter.drawText(rect, Qt::AlignCenter, SymbolTable::glyph(name));
    painter.restore();
}

QString fallbackSymbol(const ShortcutItem &item)
{
    return item.isMissing() ? QStringLiteral("questionmark")
                            : QStringLiteral("square.2.layers.3d.fill");
}

namespace {
QString iconKey(const ShortcutItem &item, quint64 revision, const QSize &pixels)
{
    return QStringLiteral("tc-icon:%1:%2:%3:%4:%5")
        .arg(quintptr(&item))
        .arg(item.persistentId())
        .arg(revision)
        .arg(pixels.width())
        .arg(pixels.height());
}

QImage decodedIcon(const QByteArray &bytes, const QSize &pixels)
{
    QImage image;
    if (!image.loadFromData(bytes))
        return {};
    return image.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

QPixmap cachedIcon(const QString &key, const QImage &image, qreal dpr)
{
    QPixmap pixmap = QPixmap::fromImage(image);
    pixmap.setDevicePixelRatio(dpr);
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}
} // namespace

QPixmap iconPixmap(const ShortcutItem &item, quint64 revision, const QSize &size, qreal dpr)
{
    if (!item.hasIconData() || size.isEmpty())
        return {};
    const QSize pixels = (QSizeF(size) * dpr).toSize();
    const QString key = iconKey(item, revision, pixels);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap))
        return pixmap;
    const auto bytes = item.iconData();
    const QImage image = bytes ? decodedIcon(*bytes, pixels) : QImage();
    if (image.isNull())
        return {};
    return cachedIcon(key, image, dpr);
}

void drawGlyph(QPainter &painter, const QRectF &rect, const ShortcutItem &item, quint64 revision)
{
    const QPixmap pixmap =
        iconPixmap(item, revision, rect.size().toSize(), painter.device()->devicePixelRatioF());
    if (!pixmap.isNull()) {
        painter.drawPixmap(rect.topLeft(), pixmap);
        return;
    }
    const qreal inset = rect.width() * 0.08;
    drawSymbol(painter, rect.adjusted(inset, inset, -inset, -inset), fallbackSymbol(item),
               Qt::white);
}

void drawIcon(QPainter &painter, const QRectF &rect, const ShortcutItem &item, quint64 revision)
{
    const qreal size = std::min(rect.width(), rect.height());
    QRectF square(0, 0, size, size);
    square.moveCenter(rect.center());
    const Gradient colours = gradient(item);
    QLinearGradient fill(square.topLeft(), square.bottomLeft());
    fill.setColorAt(0, colours.top);
    fill.setColorAt(1, colours.bottom);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawPath(roundedRect(square, size * 0.24));
    QRectF glyph(0, 0, size * 0.64, size * 0.64);
    glyph.moveCenter(square.center());
    drawGlyph(painter, glyph, item, revision);
    painter.restore();
}

QIcon menuIcon(const ShortcutItem &item, quint64 revision)
{
    QIcon icon;
    for (const int size : {16, 32}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        drawIcon(painter, QRectF(0, 0, size, size), item, revision);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

void drawSpinner(QPainter &painter, const QRectF &rect, const QColor &color, qreal angle)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal size = std::min(rect.width(), rect.height());
    const QPointF centre = rect.center();
    const int spokes = 8;
    for (int i = 0; i < spokes; ++i) {
        QColor spoke = color;
        spoke.setAlphaF(float(0.25 + 0.75 * i / (spokes - 1)));
        painter.setPen(QPen(spoke, std::max(1.5, size * 0.11), Qt::SolidLine, Qt::RoundCap));
        const qreal a = qDegreesToRadians(angle + i * 360.0 / spokes);
        const QPointF dir(std::cos(a), std::sin(a));
        painter.drawLine(centre + dir * size * 0.22, centre + dir * size * 0.45);
    }
    painter.restore();
}

QRectF tileRunButtonRect(const QRectF &tileRect)
{
    const qreal w = tileRect.width();
    const qreal d = w * 0.145;
    return QRectF(tileRect.right() - w * 0.113 - d, tileRect.top() + w * 0.09, d, d);
}

QList<TileMark> tileMarks(const QRectF &tileRect, const ShortcutItem &item, const ViewState &state)
{
    const QRectF control = tileRunButtonRect(tileRect);
    const qreal size = tileRect.width() * 0.075;
    // Flush with the corner while the control is hidden, so that nothing moves when it shows.
    qreal right = state.running || state.hovering ? control.left() - size * 0.6 : control.right();
    QList<TileMark> marks;
    const auto add = [&](const QString &symbol) {
        marks.append({symbol, QRectF(right - size, control.center().y() - size / 2, size, size)});
        right -= size * 1.5;
    };
    if (item.isFavorite())
        add(QStringLiteral("star.fill"));
    if (item.lastRunOutcome() == RunOutcome::failed)
        add(RunOutcomeMark::symbol(RunOutcome::failed));
    return marks;
}

namespace {
QRectF tileGlyphRect(const QRectF &tile)
{
    const qreal w = tile.width();
    const qreal glyphSize = w * 0.2;
    return QRectF(tile.topLeft() + QPointF(w * 0.113, w * 0.09), QSizeF(glyphSize, glyphSize));
}

QString tileKey(const ShortcutItem &item, quint64 revision, const QSize &pixels,
                const ViewState &state)
{
    return QStringLiteral("tc-tile:%1:%2:%3:%4:%5:%6:%7")
        .arg(quintptr(&item))
        .arg(item.persistentId())
        .arg(revision)
        .arg(pixels.width())
        .arg(pixels.height())
        .arg(int(state.selected) | int(state.hovering) << 1)
        .arg(accentColor().rgba());
}
} // namespace

void drawTile(QPainter &painter, const QRectF &rect, const ShortcutItem &item, quint64 revision,
              const ViewState &state)
{
    const qreal w = rect.width();
    const qreal radius = w * 0.145;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    if (item.isMissing())
        painter.setOpacity(painter.opacity() * 0.55);

    painter.drawPixmap(rect.topLeft(),
                       tileBackground(gradient(item), rect.size(), radius, state.selected,
                                      painter.device()->devicePixelRatioF()));

    const QRectF content = rect.adjusted(w * 0.113, w * 0.09, -w * 0.113, -w * 0.1);

    // Glyph at the top leading corner.
    drawGlyph(painter, tileGlyphRect(rect), item, revision);

    // Status controls at the top trailing corner: spinner or run button, then the marks.
    const QRectF control = tileRunButtonRect(rect);
    if (state.running)
        drawSpinner(painter, control.adjusted(1, 1, -1, -1), Qt::white, state.spinnerAngle);
    else if (state.hovering)
        drawRunButton(painter, control, item, w * 0.075, w * 0.006);
    for (const TileMark &mark : tileMarks(rect, item, state))
        drawSymbol(painter, mark.rect, mark.symbol, QColor(255, 255, 255, 230), true);

    // Name at the bottom, up to two lines.
    const QFont nameFont = systemFont(w * 0.097, QFont::DemiBold);
    const QFontMetricsF metrics(nameFont);
    QString name = item.name();
    QTextLayout layout(name, nameFont);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    QList<QTextLine> lines;
    while (lines.size() < 2) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(content.width());
        lines.append(line);
    }
    layout.endLayout();
    painter.setFont(nameFont);
    painter.setPen(Qt::white);
    const qreal lineHeight = metrics.height();
    qreal y = content.bottom() - lineHeight * lines.size();
    const qreal nameTop = y;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QTextLine &line = lines.at(i);
        QString text = name.mid(line.textStart(), line.textLength());
        if (i == lines.size() - 1 && line.textStart() + line.textLength() < name.size())
            text = name.mid(line.textStart());
        text = metrics.elidedText(text.trimmed(), Qt::ElideRight, content.width());
        painter.drawText(QPointF(content.left(), y + metrics.ascent()), text);
        y += lineHeight;
    }

    // Tag dots just above the name.
    const QList<Tag *> tags = item.sortedTags();
    if (!tags.isEmpty()) {
        const qreal d = w * 0.04;
        qreal x = content.left();
        const qreal top = nameTop - d - w * 0.03;
        for (qsizetype i = 0; i < std::min<qsizetype>(5, tags.size()); ++i) {
            const QRectF dot(x, top, d, d);
            painter.setBrush(colorOrFallback(tags.at(i)->colorHex(), accentColor()));
            painter.setPen(QPen(QColor(255, 255, 255, qRound(255 * 0.8)), 0.5));
            painter.drawEllipse(dot);
            x += d + 3;
        }
    }
    painter.restore();
}

void drawTileCached(QPainter &painter, const QRect &rect, const ShortcutItem &item,
                    quint64 revision, const ViewState &state)
{
    if (state.running || rect.isEmpty()) {
        drawTile(painter, rect, item, revision, state);
        return;
    }
    // A few screens of tiles beside the decoded icons: scrolling back and forth and retyping a
    // search find their tiles drawn.
    static const bool sized = [] {
        QPixmapCache::setCacheLimit(std::max(QPixmapCache::cacheLimit(), 32 * 1024));
        return true;
    }();
    Q_UNUSED(sized);
    const qreal dpr = painter.device()->devicePixelRatioF();
    const QSize pixels = (QSizeF(rect.size()) * dpr).toSize();
    const QString key = tileKey(item, revision, pixels, state);
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        pixmap = QPixmap(pixels);
        pixmap.setDevicePixelRatio(dpr);
        pixmap.fill(Qt::transparent);
        QPainter tile(&pixmap);
        drawTile(tile, QRectF(QPointF(0, 0), QSizeF(rect.size())), item, revision, state);
        tile.end();
        QPixmapCache::insert(key, pixmap);
    }
    painter.drawPixmap(rect.topLeft(), pixmap);
}

void prepareTiles(const QList<TileRequest> &tiles, qreal dpr)
{
    struct Decode {
        QString key;
        QByteArray bytes;
        QSize pixels;
        QImage image;
    };
    QList<Decode> decodes;
    QPixmap found;
    for (const TileRequest &tile : tiles) {
        if (tile.state.running || !tile.item->hasIconData())
            continue;
        const QSize tilePixels = (QSizeF(tile.rect.size()) * dpr).toSize();
        if (QPixmapCache::find(tileKey(*tile.item, tile.revision, tilePixels, tile.state), &found))
            continue;
        // Rounded as drawGlyph rounds it, or the key would miss.
        const QSize pixels =
            (QSizeF(tileGlyphRect(QRectF(tile.rect)).size().toSize()) * dpr).toSize();
        const QString key = iconKey(*tile.item, tile.revision, pixels);
        if (pixels.isEmpty() || QPixmapCache::find(key, &found))
            continue;
        // Read here: the record loads its bytes from the store, which is the main thread's.
        decodes.append({key, tile.item->iconData().value_or(QByteArray()), pixels, {}});
    }
    if (decodes.size() < 2)
        return;
    QtConcurrent::blockingMap(decodes, [](Decode &d) { d.image = decodedIcon(d.bytes, d.pixels); });
    for (const Decode &d : decodes) {
        if (!d.image.isNull())
            cachedIcon(d.key, d.image, dpr);
    }
}

QRectF rowRunButtonRect(const QRectF &rowRect)
{
    const qreal d = 22;
    return QRectF(rowRect.right() - 10 - d, rowRect.center().y() - d / 2, d, d);
}

void drawRow(QPainter &painter, const QRectF &rect, const ShortcutItem &item, quint64 revision,
             const ViewState &state, const QPalette &palette)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    if (state.selected) {
        QColor background = accentColor();
        background.setAlphaF(0.14f);
        painter.setPen(Qt::NoPen);
        painter.setBrush(background);
        painter.drawRoundedRect(rect.adjusted(4, 1, -4, -1), 6, 6);
    }

    const QRectF statusArea = rowRunButtonRect(rect);
    qreal right = statusArea.left() - 8;

    // Icon.
    const QRectF icon(rect.left() + 12, rect.center().y() - 16, 32, 32);
    drawIcon(painter, icon, item, revision);

    // Status controls.
    if (state.running)
        drawSpinner(painter, statusArea.adjusted(3, 3, -3, -3), palette.color(QPalette::Text),
                    state.spinnerAngle);
    else if (state.hovering)
        drawRunButton(painter, statusArea, item, 10, 1);

    const QFont base = QApplication::font();
    const qreal basePx = base.pixelSize() > 0 ? base.pixelSize() : base.pointSizeF() * 4 / 3;
    QColor secondary = palette.color(QPalette::Text);
    secondary.setAlphaF(0.6f);
    QColor tertiary = palette.color(QPalette::Text);
    tertiary.setAlphaF(0.4f);

    // Last run, in a column 90 wide aligned to its trailing edge.
    if (item.lastRunAt()) {
        const QRectF column(right - 90, rect.top(), 90, rect.height());
        painter.setFont(systemFont(basePx * 0.85, QFont::Normal));
        painter.setPen(tertiary);
        painter.drawText(column, Qt::AlignRight | Qt::AlignVCenter,
                         RelativeDate::named(*item.lastRunAt()));
        right = column.left() - 10;
    }

    // Tag chips (first four), laid out leftwards from the trailing edge.
    const QList<Tag *> tags = item.sortedTags();
    const QFont chipFont = systemFont(basePx * 0.78, QFont::Medium);
    const QFontMetricsF chipMetrics(chipFont);
    QList<std::pair<QRectF, Tag *>> chips;
    qreal chipRight = right;
    for (qsizetype i = std::min<qsizetype>(4, tags.size()) - 1; i >= 0; --i) {
        const qreal width = chipMetrics.horizontalAdvance(tags.at(i)->name()) + 12;
        const qreal height = chipMetrics.height() + 4;
        const QRectF chip(chipRight - width, rect.center().y() - height / 2, width, height);
        chips.prepend({chip, tags.at(i)});
        chipRight = chip.left() - 4;
    }
    const qreal textLeft = icon.right() + 10;
    painter.setFont(chipFont);
    for (const auto &[chip, tag] : chips) {
        if (chip.left() < textLeft + 60)
            continue;
        const QColor colour = colorOrFallback(tag->colorHex(), accentColor());
        QColor fill = colour;
        fill.setAlphaF(0.18f);
        painter.setPen(Qt::NoPen);
        painter.setBrush(fill);
        painter.drawRoundedRect(chip, chip.height() / 2, chip.height() / 2);
        painter.setPen(colour);
        painter.drawText(chip, Qt::AlignCenter, tag->name());
    }
    if (!chips.isEmpty() && chips.first().first.left() >= textLeft + 60)
        right = chips.first().first.left() - 8;

    // Name with its marks, and the caption beneath.
    const QFont nameFont = systemFont(basePx, QFont::Medium);
    const QFontMetricsF nameMetrics(nameFont);
    const QFont captionFont = systemFont(basePx * 0.85, QFont::Normal);
    const QFontMetricsF captionMetrics(captionFont);
    const qreal blockHeight = nameMetrics.height() + 2 + captionMetrics.height();
    qreal y = rect.center().y() - blockHeight / 2;
    const qreal available = std::max<qreal>(0, right - textLeft);
    painter.setFont(nameFont);
    painter.setPen(palette.color(QPalette::Text));
    const bool failed = item.lastRunOutcome() == RunOutcome::failed;
    const qreal failedMark = basePx * 0.85;
    const QString name = nameMetrics.elidedText(item.name(), Qt::ElideRight,
                                                available - 36 - (failed ? failedMark + 4 : 0));
    painter.drawText(QPointF(textLeft, y + nameMetrics.ascent()), name);
    qreal x = textLeft + nameMetrics.horizontalAdvance(name) + 5;
    if (item.isFavorite()) {
        const qreal s = basePx * 0.72;
        drawSymbol(painter, QRectF(x, y + (nameMetrics.height() - s) / 2, s, s),
                   QStringLiteral("star.fill"), QColor(0xFF, 0xCC, 0x00));
        x += s + 4;
    }
    if (item.isMissing()) {
        const qreal s = basePx * 0.85;
        drawSymbol(painter, QRectF(x, y + (nameMetrics.height() - s) / 2, s, s),
                   QStringLiteral("questionmark.circle"), secondary);
        x += s + 4;
    }
    if (failed)
        drawSymbol(painter,
                   QRectF(x, y + (nameMetrics.height() - failedMark) / 2, failedMark, failedMark),
                   RunOutcomeMark::symbol(RunOutcome::failed),
                   RunOutcomeMark::color(RunOutcome::failed, secondary));
    y += nameMetrics.height() + 2;
    QString caption = item.subtitle().isEmpty()
                          ? QStringLiteral("%1 actions").arg(item.actionCount())
                          : item.subtitle();
    if (item.folder())
        caption += QStringLiteral(" · ") + item.folder()->name();
    painter.setFont(captionFont);
    painter.setPen(secondary);
    painter.drawText(QPointF(textLeft, y + captionMetrics.ascent()),
                     captionMetrics.elidedText(caption, Qt::ElideRight, available));
    painter.restore();
}
} // namespace ShortcutPainter
