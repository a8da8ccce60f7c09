#include "model/LibraryQuery.h"

#include "model/LibrarySettings.h"
#include "model/LowercaseMatch.h"
#include "model/ModelContext.h"
#include "model/SmartRuleSet.h"

namespace {
template<typename Keep> QList<ShortcutItem *> presentWhere(const ModelContext &context, Keep keep)
{
    QList<ShortcutItem *> result;
    for (ShortcutItem *item : context.shortcuts())
        if (!item->isMissing() && keep(*item))
            result.append(item);
    return result;
}

QList<ShortcutItem *> presentOnly(const QList<ShortcutItem *> &items)
{
    QList<ShortcutItem *> result;
    result.reserve(items.size());
    for (ShortcutItem *item : items)
        if (!item->isMissing())
            result.append(item);
    return result;
}

// The first record in creation order with the uuid (uuids are unique, but a copied store
// could hold the same one twice).
template<typename Record> Record *firstWithUuid(const QList<Record *> &records, const QString &uuid)
{
    for (Record *r : records)
        if (r->uuid() == uuid)
            return r;
    return nullptr;
}

bool matchesSearch(const ShortcutItem &item, QStringView query)
{
    if (LowercaseMatch::contains(item.name(), query) ||
        LowercaseMatch::contains(item.notes(), query) ||
        LowercaseMatch::contains(item.nativeFolderName(), query))
        return true;
    for (const Tag *tag : item.tags())
        if (LowercaseMatch::contains(tag->name(), query))
            return true;
    return false;
}
} // namespace

LibraryQuery::Settings LibraryQuery::Settings::current()
{
    return {LibrarySettings::sortKey(), LibrarySettings::sortAscending(),
            LibrarySettings::includeSubfolders()};
}

QList<ShortcutItem *> LibraryQuery::items(const ModelContext &context,
                                          const LibrarySection &section, bool includeSubfolders)
{
    using Case = LibrarySection::Case;
    switch (section.kind) {
    case Case::all:
        return presentWhere(context, [](const ShortcutItem &) { return true; });
    case Case::favorites:
        return presentWhere(context, [](const ShortcutItem &i) { return i.isFavorite(); });
    case Case::recent:
        return presentWhere(context,
                            [](const ShortcutItem &i) { return i.lastRunAt().has_value(); });
    case Case::unfiled:
        return presentWhere(context, [](const ShortcutItem &i) { return !i.folder(); });
    case Case::untagged:
        return presentWhere(context, [](const ShortcutItem &i) { return i.tags().isEmpty(); });
    case Case::missing: {
        QList<ShortcutItem *> result;
        for (ShortcutItem *item : context.shortcuts())
            if (item->isMissing())
                result.append(item);
        return result;
    }
    case Case::nativeFolder:
        return presentWhere(
            context, [&](const ShortcutItem &i) { return i.nativeFolderName() == section.value; });
    case Case::folder: {
        const LibraryFolder *folder = firstWithUuid(context.folders(), section.value);
        if (!folder)
            return {};
        return presentOnly(includeSubfolders ? folder->allShortcuts() : folder->shortcuts());
    }
    case Case::tag: {
        const Tag *tag = firstWithUuid(context.tags(), section.value);
        if (!tag)
            return {};
        QList<ShortcutItem *> collected;
        QSet<ShortcutItem *> seen;
        tag->collectShortcuts(collected, seen);
        return presentOnly(collected);
    }
    case Case::smartList: {
        const SmartList *list = firstWithUuid(context.smartLists(), section.value);
        if (!list)
            return {};
        return list->ruleSet().items(context.shortcuts());
    }
    case Case::health:
        return {};
    }
    return {};
}

QList<ShortcutItem *> LibraryQuery::items(const ModelContext &context,
                                          const LibrarySection &section)
{
    return items(context, section, LibrarySettings::includeSubfolders());
}

QList<ShortcutItem *> LibraryQuery::searchFiltered(const QList<ShortcutItem *> &items,
                                                   const QString &searchText)
{
    const QString query = LowercaseMatch::lowered(LowercaseMatch::trimSpacesAndTabs(searchText));
    if (query.isEmpty())
        return items;
    QList<ShortcutItem *> result;
    for (ShortcutItem *item : items)
        if (matchesSearch(*item, query))
            result.append(item);
    return result;
}

QList<ShortcutItem *> LibraryQuery::ordered(const QList<ShortcutItem *> &items,
                                            const LibrarySection &section, ShortcutSort sortKey,
                                            bool ascending)
{
    // Recently Run makes no sense in Shortcuts or name order; it shows the latest run first.
    if (section.kind == LibrarySection::Case::recent &&
        (sortKey == ShortcutSort::libraryOrder || sortKey == ShortcutSort::name))
        return sorted(items, ShortcutSort::lastRun, false);
    return sorted(items, sortKey, ascending);
}

QList<ShortcutItem *> LibraryQuery::visibleItems(const ModelContext &context,
                                                 const LibrarySection &section,
                                                 const QString &searchText,
                                                 const Settings &settings)
{
    return ordered(searchFiltered(items(context, section, settings.includeSubfolders), searchText),
                   section, settings.sortKey, settings.sortAscending);
}

QList<ShortcutItem *> LibraryQuery::visibleItems(const ModelContext &context,
                                                 const LibrarySection &section,
                                                 const QString &searchText)
{
    return visibleItems(context, section, searchText, Settings::current());
}
