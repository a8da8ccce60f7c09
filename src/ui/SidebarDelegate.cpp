#include "ui/SidebarDelegate.h"

#include "ui/ShortcutPainter.h"
#include "ui/ShortcutRoles.h"
#include "ui/SidebarModel.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QPainter>
#include <QTreeView>

namespace {
constexpr int entryHeight = 28;
constexpr int headerHeight = 30;
constexpr int iconSize = 16;
constexpr int hPadding = 6;

SidebarModel::RowKind kindOf(const QModelIndex &index)
{
    return SidebarModel::RowKind(index.data(SidebarRoles::rowKind).toInt());
}

QFont headerFont(const QFont &base)
{
    QFont font = base;
    font.setBold(true);
    font.setPointSizeF(base.pointSizeF() * 0.85);
    return font;
}

QFont hintFont(const QFont &base)
{
    QFont font = base;
    font.setPointSizeF(base.pointSizeF() * 0.9);
    return font;
}

QColor secondary(const QPalette &palette)
{
    QColor color = palette.color(QPalette::WindowText);
    color.setAlphaF(0.6f);
    return color;
}

QColor tertiary(const QPalette &palette)
{
    QColor color = palette.color(QPalette::WindowText);
    color.setAlphaF(0.4f);
    return color;
}
void drawChevron(QPainter *painter, const QRectF &rect, bool down, const QColor &color)
{
    const QPointF c = rect.center();
    const qreal r = rect.width() * 0.22;
    QPolygonF line;
    if (down)
        line << QPointF(c.x() - r * 1.4, c.y() - r * 0.7) << QPointF(c.x(), c.y() + r * 0.7)
             << QPointF(c.x() + r * 1.4, c.y() - r * 0.7);
    else
        line << QPointF(c.x() - r * 0.7, c.y() - r * 1.4) << QPointF(c.x() + r * 0.7, c.y())
             << QPointF(c.x() - r * 0.7, c.y() + r * 1.4);
    painter->setPen(QPen(color, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->setBrush(Qt::NoBrush);
    painter->drawPolyline(line);
}
} // namespace

QRect SidebarDelegate::chevronRect(const QRect &rowRect)
{
    return {rowRect.right() - hPadding - 14, rowRect.bottom() - 20, 14, 14};
}

void SidebarDelegate::drawMonospacedDigits(QPainter *painter, const QRect &rect,
                                           const QString &text)
{
    const QFontMetricsF metrics(painter->font());
    qreal cell = 0;
    for (char digit = '0'; digit <= '9'; ++digit)
        cell = std::max(cell, metrics.horizontalAdvance(QLatin1Char(digit)));
    qreal x = rect.right() + 1 - cell * text.size();
    for (const QChar ch : text) {
        painter->drawText(QRectF(x, rect.top(), cell, rect.height()), Qt::AlignCenter, QString(ch));
        x += cell;
    }
}

void SidebarDelegate::drawItemBackground(QPainter *painter, const QStyleOptionViewItem &option,
                                         const QRect &rect)
{
    QStyleOptionViewItem background = option;
    background.rect = rect;
    background.text.clear();
    background.icon = {};
    const QWidget *widget = option.widget;
    QStyle *style = widget ? widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &background, painter, widget);
}

void SidebarDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                            const QModelIndex &index) const
{
    QStyleOptionViewItem opt = option;
    initStyleOption(&opt, index);
    const QPalette &palette = opt.palette;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setRenderHint(QPainter::TextAntialiasing);

    switch (kindOf(index)) {
    case SidebarModel::RowKind::header: {
        painter->setFont(headerFont(opt.font));
        painter->setPen(secondary(palette));
        const QRect text = opt.rect.adjusted(hPadding, 8, -hPadding, 0);
        painter->drawText(text, Qt::AlignLeft | Qt::AlignVCenter, index.data().toString());
        const auto *model = qobject_cast<const SidebarModel *>(index.model());
        const auto *tree = qobject_cast<const QTreeView *>(opt.widget);
        if (model && tree && model->header(index) == SidebarModel::Header::nativeFolders)
            drawChevron(painter, chevronRect(opt.rect), tree->isExpanded(index),
                        secondary(palette));
        break;
    }
    case SidebarModel::RowKind::hint: {
        painter->setFont(hintFont(opt.font));
        painter->setPen(tertiary(palette));
        painter->drawText(opt.rect.adjusted(hPadding, 2, -hPadding, -4),
                          Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap, index.data().toString());
        break;
    }
    case SidebarModel::RowKind::entry: {
        drawItemBackground(painter, opt, opt.rect);

        const bool selected = opt.state & QStyle::State_Selected;
        const QColor textColor =
            palette.color(selected ? QPalette::HighlightedText : QPalette::Text);
        const QVariant tint = index.data(SidebarRoles::tint);
        QColor symbolColor = tint.isValid() ? tint.value<QColor>() : ShortcutPainter::accentColor();
        if (selected && !tint.isValid())
            symbolColor = textColor;

        QRect content = opt.rect.adjusted(hPadding, 0, -hPadding - 2, 0);
        const QRect iconRect(content.left(), content.center().y() - iconSize / 2 + 1, iconSize,
                             iconSize);
        ShortcutPainter::drawSymbol(*painter, iconRect,
                                    index.data(SidebarRoles::symbolName).toString(), symbolColor);
        content.setLeft(iconRect.right() + 8);

        const QVariant count = index.data(SidebarRoles::count);
        if (count.isValid()) {
            const QString digits = QString::number(count.toInt());
            QFont countFont = opt.font;
            countFont.setPointSizeF(opt.font.pointSizeF() * 0.92);
            painter->setFont(countFont);
            QColor countColor = selected ? textColor : tertiary(palette);
            if (selected)
                countColor.setAlphaF(0.75f);
            painter->setPen(countColor);
            const qreal cell = QFontMetricsF(countFont).horizontalAdvance(QLatin1Char('0')) + 0.5;
            const int width = int(cell * digits.size()) + 2;
            drawMonospacedDigits(painter, content, digits);
            content.setRight(content.right() - width - 8);
        }
        painter->setFont(opt.font);
        painter->setPen(textColor);
        const QString title = QFontMetrics(opt.font).elidedText(index.data().toString(),
                                                                Qt::ElideRight, content.width());
        painter->drawText(content, Qt::AlignLeft | Qt::AlignVCenter, title);
        break;
    }
    }
    painter->restore();
}

QSize SidebarDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    switch (kindOf(index)) {
    case SidebarModel::RowKind::header:
        return {100, headerHeight};
    case SidebarModel::RowKind::hint: {
        int width = 200;
        if (const auto *view = qobject_cast<const QTreeView *>(option.widget))
            width = std::max(80, view->viewport()->width() - view->indentation() - 2 * hPadding);
        const QFontMetrics metrics(hintFont(option.font));
        const QRect bounds = metrics.boundingRect(
            QRect(0, 0, width, 1000), Qt::AlignLeft | Qt::TextWordWrap, index.data().toString());
        return {width, bounds.height() + 8};
    }
    case SidebarModel::RowKind::entry:
        break;
    }
    return {100, entryHeight};
}
