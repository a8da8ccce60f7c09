#pragma once

#include "model/SmartRule.h"

#include <QList>
#include <QString>
#include <utility>

class ShortcutItem;

// Sort keys of the collection and of smart lists.
enum class ShortcutSort { libraryOrder, name, dateAdded, modified, lastRun, actionCount, runCount };

QString storedName(ShortcutSort value);
QString title(ShortcutSort value);
// The two Order choices for a key, ascending first ("A to Z", "Z to A").
std::pair<QString, QString> orderTitles(ShortcutSort value);

// A stable sort by the key's comparator; descending is the exact mirror of ascending, so tied
// items come out in reverse input order.
QList<ShortcutItem *> sorted(const QList<ShortcutItem *> &items, ShortcutSort by, bool ascending);
