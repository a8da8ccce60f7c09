#pragma once

#include "model/ShortcutItem.h"

#include <QStringList>

// The names of the items in order, for comparing what a query or a model shows.
inline QStringList names(const QList<ShortcutItem *> &items)
{
    QStringList result;
    for (const ShortcutItem *i : items)
        result.append(i->name());
    return result;
}
