#include "ui/HealthReportDelegate.h"

#include "ui/HealthReportModel.h"
#include "ui/ShortcutPainter.h"
#include "ui/ShortcutRoles.h"
#include "ui/SidebarDelegate.h"

#include <QAbstractItemView>
#include <QPainter>

namespace {
using RowKind = HealthReportModel::RowKind;
constexpr int margin = 16;
constexpr int headingIcon = 18;
constexpr int textLeft = margin + headingIcon + 10; // notes and entries line up with the title
constexpr int entryIcon = 24;
constexpr int entryHeight = 46;
constexpr int headingHeight = 44;

RowKind kindOf(const QModelIndex &index)
{
    return RowKind(index.data(HealthReportRoles::rowKind).toInt());
}

QColor faded(const QPalette &palette, float alpha)
{
    QColor color = palette.color(QPalette::WindowText);
    color.setAlphaF(alpha);
    return color;
}

QFont scaled(const QFont &base, qreal factor, bool bold = false)
{
    QFont font = base;
    font.setPointSizeF(base.pointSizeF() * factor);
    font.setBold(bold);
    return font;
}

QRect noteRect(const QRect &row)
{
    return row.adjusted(textLeft, 2, -margin, -4);
}

int viewportWidth(const QStyleOptionViewItem &option)
{
    if (const auto *view = qobject_cast<const QAbstractItemView *>(option.widget))
        return view->viewport()->width();
    return 400;
}
} // namespace

void HealthReportDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                 const QModelIndex &index) const
{
    QStyleOptionViewItem opt = option;
    initStyleOption(&opt, index);
    const QPalette &palette = opt.palette;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setRenderHint(QPainter::TextAntialiasing);
    const QString text = index.data().toString();

    switch (kindOf(index)) {
    case RowKind::heading: {
        const QRect row = opt.rect.adjusted(margin, 14, -margin, 0);
        ShortcutPainter::drawSymbol(
            *painter,
            QRect(row.left(), row.center().y() - headingIcon / 2, headingIcon, headingIcon),
            index.data(HealthReportRoles::symbolName).toString(), ShortcutPainter::accentColor());
        const QString count = index.data(HealthReportRoles::secondaryText).toString();
        painter->setFont(scaled(opt.font, 0.95));
        painter->setPen(faded(palette, 0.45f));
        const int countWidth = QFontMetrics(painter->font()).horizontalAdvance(count);
        SidebarDelegate::drawMonospacedDigits(painter, row, count);
        const QFont titleFont = scaled(opt.font, 1.08, true);
        painter->setFont(titleFont);
        painter->setPen(palette.color(QPalette::WindowText));
        const QRect title = row.adjusted(textLeft - margin, 0, -countWidth - 12, 0);
        painter->drawText(title, Qt::AlignLeft | Qt::AlignVCenter,
                          QFontMetrics(titleFont).elidedText(text, Qt::ElideRight, title.width()));
        break;
    }
    case RowKind::explanation:
    case RowKind::fix:
        painter->setFont(opt.font);
        painter->setPen(kindOf(index) == RowKind::fix ? palette.color(QPalette::WindowText)
                                                      : faded(palette, 0.6f));
        painter->drawText(noteRect(opt.rect), Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap,
                          text);
        break;
    case RowKind::entry: {
        SidebarDelegate::drawItemBackground(painter, opt,
                                            opt.rect.adjusted(textLeft - 8, 1, -margin + 8, -1));

        const bool selected = opt.state & QStyle::State_Selected;
        const QColor textColor =
            palette.color(selected ? QPalette::HighlightedText : QPalette::Text);
        const QRect icon(opt.rect.left() + textLeft, opt.rect.center().y() - entryIcon / 2,
                         entryIcon, entryIcon);
        const auto *model = qobject_cast<const HealthReportModel *>(index.model());
        if (const ShortcutItem *item = model ? model->shortcutAt(index) : nullptr) {
            ShortcutPainter::drawIcon(*painter, icon, *item, model->revision());
        } else {
            const QVariant tint = index.data(HealthReportRoles::tint);
            ShortcutPainter::drawSymbol(*painter, icon.adjusted(2, 2, -2, -2),
                                        index.data(HealthReportRoles::symbolName).toString(),
                                        tint.isValid() ? tint.value<QColor>()
                                                       : ShortcutPainter::accentColor());
        }
        const QRect texts(icon.right() + 10, opt.rect.top() + 5,
                          opt.rect.right() - margin - icon.right() - 10, opt.rect.height() - 10);
        const QRect top(texts.left(), texts.top(), texts.width(), texts.height() / 2);
        const QRect bottom(texts.left(), top.bottom() + 1, texts.width(),
                           texts.height() - top.height());
        painter->setFont(opt.font);
        painter->setPen(textColor);
        painter->drawText(top, Qt::AlignLeft | Qt::AlignVCenter,
                          opt.fontMetrics.elidedText(text, Qt::ElideRight, top.width()));
        const QFont small = scaled(opt.font, 0.88);
        painter->setFont(small);
        QColor detailColor = selected ? textColor : faded(palette, 0.6f);
        if (selected)
            detailColor.setAlphaF(0.8f);
        painter->setPen(detailColor);
        painter->drawText(
            bottom, Qt::AlignLeft | Qt::AlignVCenter,
            QFontMetrics(small).elidedText(index.data(HealthReportRoles::secondaryText).toString(),
                                           Qt::ElideRight, bottom.width()));
        break;
    }
    }
    painter->restore();
}

QSize HealthReportDelegate::sizeHint(const QStyleOptionViewItem &option,
                                     const QModelIndex &index) const
{
    const int width = viewportWidth(option);
    switch (kindOf(index)) {
    case RowKind::heading:
        return {width, headingHeight};
    case RowKind::explanation:
    case RowKind::fix: {
        const QRect area = noteRect(QRect(0, 0, width, 10000));
        const QRect bounds =
            QFontMetrics(option.font)
                .boundingRect(QRect(0, 0, std::max(80, area.width()), 10000),
                              Qt::AlignLeft | Qt::TextWordWrap, index.data().toString());
        return {width, bounds.height() + 6};
    }
    case RowKind::entry:
        break;
    }
    return {width, entryHeight};
}
