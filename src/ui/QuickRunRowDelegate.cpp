#include "ui/QuickRunRowDelegate.h"

#include "model/LibraryLookup.h"
#include "model/ShortcutItem.h"
#include "model/Tag.h"
#include "ui/ShortcutItemDelegate.h"
#include "ui/ShortcutPainter.h"
#include "ui/ShortcutRoles.h"

#include <QFontMetricsF>
#include <QPainter>

QString QuickRunRowDelegate::caption(const ShortcutItem &item)
{
    QStringList parts;
    if (item.folder())
        parts.append(LibraryLookup::pathText(item.folder()));
    QStringList tags;
    for (const Tag *tag : item.sortedTags())
        tags.append(tag->name());
    if (!tags.isEmpty())
        parts.append(tags.join(QStringLiteral(", ")));
    return parts.join(QStringLiteral(" · "));
}

void QuickRunRowDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                const QModelIndex &index) const
{
    const ShortcutItem *item = ShortcutItemDelegate::item(index);
    if (!item)
        return;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QRectF row = QRectF(option.rect).adjusted(2, 1, -2, -1);
    if (option.state.testFlag(QStyle::State_Selected)) {
        QColor background = ShortcutPainter::accentColor();
        background.setAlphaF(0.18f);
        painter->setPen(Qt::NoPen);
        painter->setBrush(background);
        painter->drawRoundedRect(row, 7, 7);
    }
    const qreal iconSize = 28;
    const QRectF icon(row.left() + 8, row.center().y() - iconSize / 2, iconSize, iconSize);
    ShortcutPainter::drawIcon(*painter, icon, *item,
                              index.data(ShortcutRoles::revision).toULongLong());

    const qreal left = icon.right() + 10;
    const qreal width = std::max<qreal>(0, row.right() - 10 - left);
    QFont nameFont = option.font;
    nameFont.setWeight(QFont::Medium);
    const QFontMetricsF nameMetrics(nameFont);
    QFont captionFont = option.font;
    captionFont.setPointSizeF(captionFont.pointSizeF() * 0.85);
    const QFontMetricsF captionMetrics(captionFont);
    const QString text = caption(*item);
    const qreal height = nameMetrics.height() + (text.isEmpty() ? 0 : captionMetrics.height());
    qreal y = row.center().y() - height / 2;
    painter->setFont(nameFont);
    painter->setPen(option.palette.color(QPalette::Text));
    painter->drawText(QPointF(left, y + nameMetrics.ascent()),
                      nameMetrics.elidedText(item->name(), Qt::ElideRight, width));
    if (!text.isEmpty()) {
        y += nameMetrics.height();
        QColor secondary = option.palette.color(QPalette::Text);
        secondary.setAlphaF(0.6f);
        painter->setFont(captionFont);
        painter->setPen(secondary);
        painter->drawText(QPointF(left, y + captionMetrics.ascent()),
                          captionMetrics.elidedText(text, Qt::ElideRight, width));
    }
    painter->restore();
}

QSize QuickRunRowDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const
{
    return QSize(option.rect.width(), rowHeight);
}
