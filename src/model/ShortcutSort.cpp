#include "model/ShortcutSort.h"

#include "model/NaturalOrder.h"
#include "model/ShortcutItem.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace {
// Code-point order of UTF-16 text: surrogates (code points above U+FFFF) sort after every
// other unit, which plain UTF-16 comparison gets wrong against U+E000…U+FFFF.
int codePointCompare(const QString &a, const QString &b)
{
    const qsizetype n = std::min(a.size(), b.size());
    const char16_t *pa = QStringView(a).utf16();
    const char16_t *pb = QStringView(b).utf16();
    for (qsizetype i = 0; i < n; ++i) {
        char16_t ca = pa[i], cb = pb[i];
        if (ca == cb)
            continue;
        auto fix = [](char16_t c) -> int {
            if (c >= 0xD800 && c <= 0xDFFF)
                return c + 0x2000;
            if (c >= 0xE000)
                return c - 0x800;
            return c;
        };
        return fix(ca) - fix(cb);
    }
    return a.size() < b.size() ? -1 : (a.size() > b.size() ? 1 : 0);
}

qint64 msecs(const QDateTime &d)
{
    return d.toMSecsSinceEpoch();
}

template<typename Key, typename Less>
QList<ShortcutItem *> sortByKey(const QList<ShortcutItem *> &items, Key key, Less less)
{
    using K = decltype(key(*items.first()));
    std::vector<std::pair<K, ShortcutItem *>> keyed;
    keyed.reserve(size_t(items.size()));
    for (ShortcutItem *item : items)
        keyed.emplace_back(key(*item), item);
    std::stable_sort(keyed.begin(), keyed.end(),
                     [&](const auto &a, const auto &b) { return less(a, b); });
    QList<ShortcutItem *> result;
    result.reserve(items.size());
    for (const auto &entry : keyed)
        result.append(entry.second);
    return result;
}

QList<ShortcutItem *> sortByNumber(const QList<ShortcutItem *> &items,
                                   qint64 (*key)(const ShortcutItem &))
{
    return sortByKey(items, key, [](const auto &a, const auto &b) { return a.first < b.first; });
}
} // namespace

QList<ShortcutItem *> sorted(const QList<ShortcutItem *> &items, ShortcutSort by, bool ascending)
{
    if (items.size() < 2)
        return items;
    QList<ShortcutItem *> result;
    switch (by) {
    case ShortcutSort::libraryOrder:
        result = sortByKey(
            items, [](const ShortcutItem &i) { return i.libraryOrder(); },
            [](const auto &a, const auto &b) {
                if (a.first != b.first)
                    return a.first < b.first;
                return codePointCompare(a.second->name(), b.second->name()) < 0;
            });
        break;
    case ShortcutSort::name:
        // One collation key per item instead of one collation per comparison.
        result = sortByKey(
            items, [](const ShortcutItem &i) { return naturalSortKey(i.name()); },
            [](const auto &a, const auto &b) { return a.first.compare(b.first) < 0; });
        break;
    case ShortcutSort::dateAdded:
        result = sortByNumber(items, [](const ShortcutItem &i) { return msecs(i.addedDate()); });
        break;
    case ShortcutSort::modified:
        result = sortByNumber(items, [](const ShortcutItem &i) { return msecs(i.modifiedDate()); });
        break;
    case ShortcutSort::lastRun:
        // Never run counts as the most distant past.
        result = sortByNumber(items, [](const ShortcutItem &i) {
            return i.lastRunAt() ? msecs(*i.lastRunAt()) : std::numeric_limits<qint64>::min();
        });
        break;
    case ShortcutSort::actionCount:
        result = sortByNumber(items, [](const ShortcutItem &i) { return i.actionCount(); });
        break;
    case ShortcutSort::runCount:
        result = sortByNumber(items, [](const ShortcutItem &i) { return i.runCount(); });
        break;
    }
    if (!ascending)
        std::reverse(result.begin(), result.end());
    return result;
}
