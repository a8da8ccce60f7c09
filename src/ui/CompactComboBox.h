#pragma once

#include <QAbstractItemView>
#include <QComboBox>

// Pickers whose entries are outside names (folders, tags) or long titles: the closed picker
// asks for a few characters of width and cuts its current entry at the end, so a long entry
// never widens its sheet; the open list still shows entries in full.
namespace CompactComboBox {
inline void apply(QComboBox *combo, int characters = 10)
{
    combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    combo->setMinimumContentsLength(characters);
    combo->view()->setTextElideMode(Qt::ElideRight);
}
} // namespace CompactComboBox
