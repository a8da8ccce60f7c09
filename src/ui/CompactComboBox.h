#pragma once

#include <QAbstractItemView>
#include <QComboBox>
#include <QStyle>

// Pickers whose entries are outside names (folders, tags) or long titles: the closed picker
// asks for a few characters of width and cuts its current entry at the end, so a long entry
// never widens its sheet; the open list is as wide as its widest entry.
namespace CompactComboBox {
inline void fitList(QComboBox *combo)
{
    QAbstractItemView *list = combo->view();
    list->setMinimumWidth(list->sizeHintForColumn(0) + 2 * list->frameWidth() +
                          list->style()->pixelMetric(QStyle::PM_ScrollBarExtent));
}

inline void apply(QComboBox *combo, int characters = 10)
{
    combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    combo->setMinimumContentsLength(characters);
    combo->view()->setTextElideMode(Qt::ElideRight);
    QAbstractItemModel *entries = combo->model();
    const auto fit = [combo] { fitList(combo); };
    QObject::connect(entries, &QAbstractItemModel::rowsInserted, combo, fit);
    QObject::connect(entries, &QAbstractItemModel::rowsRemoved, combo, fit);
    QObject::connect(entries, &QAbstractItemModel::modelReset, combo, fit);
    QObject::connect(entries, &QAbstractItemModel::dataChanged, combo, fit);
}
} // namespace CompactComboBox
