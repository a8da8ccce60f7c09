#pragma once

#include "model/LibrarySection.h"
#include "model/RuleMatcher.h"

#include <QHash>
#include <QList>
#include <QString>
#include <functional>
#include <utility>
#include <vector>

class ModelContext;
class ShortcutItem;

// The number beside every sidebar row, all computed in one pass over the library.
// "Visible" means not missing.
struct SidebarCounts {
    qsizetype all = 0;       // visible shortcuts
    qsizetype favorites = 0; // visible favourites
    qsizetype recent = 0;    // visible shortcuts that have been run
    qsizetype unfiled = 0;   // visible shortcuts in no folder
    qsizetype untagged = 0;  // visible shortcuts without tags
    qsizetype missing = 0;   // missing shortcuts (the row shows only when this is not 0)
    // By uuid: visible shortcuts of the folder and of every folder below it, whatever
    // "includeSubfolders" says.
    QHash<QString, qsizetype> folders;
    // By uuid: visible shortcuts carrying the tag or a tag below it, each counted once.
    QHash<QString, qsizetype> tags;
    // By uuid: the shortcuts the list's rules select (missing ones when the list includes them).
    QHash<QString, qsizetype> smartLists;
    // Each distinct non-empty Shortcuts-app folder name of the visible shortcuts, in natural
    // order, with its number of visible shortcuts.
    QList<std::pair<QString, qsizetype>> nativeFolders;

    // The count of the row that selects the section (0 for a record that does not exist).
    qsizetype count(const LibrarySection &section) const;

    static SidebarCounts of(const ModelContext &context);

    // The smart lists counted: the first of each uuid, with its rules ready to test.
    struct Lists {
        QList<QString> uuids;
        std::vector<RuleSetMatcher> matchers;
    };
    static Lists listsOf(const ModelContext &context);
    // Told each item with its answer for every list, in the order of `lists`.
    using ItemObserver = std::function<void(const ShortcutItem &, const std::vector<bool> &)>;
    static SidebarCounts of(const ModelContext &context, const Lists &lists,
                            const ItemObserver &observe);
    // The order of nativeFolders.
    static bool nativeFolderBefore(const std::pair<QString, qsizetype> &a,
                                   const std::pair<QString, qsizetype> &b);
};
