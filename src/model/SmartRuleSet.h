#pragma once

#include "model/ShortcutSort.h"
#include "model/SmartRule.h"

#include <QByteArray>
#include <QList>

class ShortcutItem;

// The rules of a smart list with its combination, sort and whether missing shortcuts count.
struct SmartRuleSet {
    bool matchAll = true;
    QList<SmartRule> rules{SmartRule()};
    ShortcutSort sort = ShortcutSort::libraryOrder;
    bool ascending = true;
    bool includeMissing = false;

    bool operator==(const SmartRuleSet &) const = default;

    bool selects(const ShortcutItem &item) const;
    // The selected items, in input order.
    QList<ShortcutItem *> items(const QList<ShortcutItem *> &from) const;

    // JSON for SmartList::rulesData; empty bytes if it cannot be written.
    QByteArray encoded() const;
    // Every key is required: anything short of a complete, well-formed value gives
    // SmartRuleSet() as a whole.
    static SmartRuleSet decoded(const QByteArray &data);
    // The same, without the fallback: nothing when the data does not decode.
    static std::optional<SmartRuleSet> decodedIfValid(const QByteArray &data);
};

size_t qHash(const SmartRuleSet &set, size_t seed = 0);
