#pragma once

#include "model/LibrarySection.h"
#include "model/ShortcutSort.h"

#include <QList>
#include <QString>

class ModelContext;
class ShortcutItem;

// Which shortcuts a section of the library shows, narrowed by search text and put in order.
// Everything is computed afresh from the context's records on every call.
namespace LibraryQuery {
// The settings a query reads ("sortKey", "sortAscending", "includeSubfolders").
struct Settings {
    ShortcutSort sortKey = ShortcutSort::libraryOrder;
    bool sortAscending = true;
    bool includeSubfolders = true;
    // As stored now in AppSettings::store(), with the defaults above for absent keys.
    static Settings current();
};

// The section's items before search and ordering: missing shortcuts only in `missing` and in
// smart lists that include them; folder items in folder-tree order. A section naming a record
// that does not exist gives nothing.
QList<ShortcutItem *> items(const ModelContext &context, const LibrarySection &section,
                            bool includeSubfolders);
QList<ShortcutItem *> items(const ModelContext &context, const LibrarySection &section);

// Keeps (in order) the items whose name, notes, Shortcuts folder name or a tag name contains the
// trimmed search text, ignoring case. The subtitle is not searched. Empty text keeps everything.
QList<ShortcutItem *> searchFiltered(const QList<ShortcutItem *> &items, const QString &searchText);

// The collection's order: `recent`, sorted by Shortcuts order or name, shows the last run first;
// everything else follows the sort key and direction.
QList<ShortcutItem *> ordered(const QList<ShortcutItem *> &items, const LibrarySection &section,
                              ShortcutSort sortKey, bool ascending);

// items(), then the search filter, then the order.
QList<ShortcutItem *> visibleItems(const ModelContext &context, const LibrarySection &section,
                                   const QString &searchText, const Settings &settings);
QList<ShortcutItem *> visibleItems(const ModelContext &context, const LibrarySection &section,
                                   const QString &searchText);
} // namespace LibraryQuery
