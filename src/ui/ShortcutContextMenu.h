#pragma once

#include <functional>

class LibraryFolder;
class LibraryNavigation;
class ModelContext;
class QMenu;
class ShortcutItem;
class ShortcutRunner;
class Tag;

// The commands offered for one shortcut (its context menu in the collection and the
// collection's "More" menu), and the writes they share with the detail view. Every write saves
// the context at once; a failed save is not reported.
namespace ShortcutContextMenu {
struct Services {
    ModelContext &context;
    ShortcutRunner &runner;
    LibraryNavigation &navigation;
    // Opens the collection's run-input alert for the shortcut.
    std::function<void(ShortcutItem *)> onRunWithInput;
};

// Appends the entries to `menu`: Run, Run with Input…, the favourite toggle, Move to Folder,
// Tags, Open in Shortcuts, Copy Name, and Remove from Library for missing shortcuts. Actions
// carry object names (run, runWithInput, toggleFavorite, moveToFolderMenu, folder:<uuid>,
// folderNone, tagsMenu, tag:<uuid>, openInShortcuts, copyName, removeFromLibrary).
void populate(QMenu *menu, ShortcutItem *item, const Services &services);

void addTag(ModelContext &context, ShortcutItem *item, Tag *tag);
void removeTag(ModelContext &context, ShortcutItem *item, Tag *tag);
void toggleTag(ModelContext &context, ShortcutItem *item, Tag *tag);
void setFolder(ModelContext &context, ShortcutItem *item, LibraryFolder *folder);
void toggleFavorite(ModelContext &context, ShortcutItem *item);
// Replaces everything on the clipboard with the shortcut's name as plain text.
void copyName(const ShortcutItem &item);
// Fills a menu with "None" and the folder tree, the shortcut's folder checked; choosing an
// entry files the shortcut there. Shared by the context menu and the detail view.
void populateFolderMenu(QMenu *menu, ShortcutItem *item, ModelContext &context);
// Forgets the shortcut (only offered for missing ones): clears the selection when it is the
// selected shortcut, then deletes the record. The Shortcuts app is not touched.
void removeFromLibrary(ModelContext &context, LibraryNavigation &navigation, ShortcutItem *item);
} // namespace ShortcutContextMenu
