#pragma once

#include <QSet>
#include <QString>

class LibraryFolder;
class LibraryNavigation;
class ModelContext;
class SmartList;
class Tag;

// The sidebar's writes to the library. Each ends with a save of the context; a failed save
// leaves the change in memory and is not reported.
namespace SidebarOperations {
// Files every shortcut whose identifier is given in `folder` (out of its previous folder).
// Unknown identifiers are skipped. Answers how many shortcuts matched.
int fileShortcuts(ModelContext &context, const QSet<QString> &identifiers, LibraryFolder *folder);
// Adds `tag` to every shortcut whose identifier is given, unless it carries it already.
int tagShortcuts(ModelContext &context, const QSet<QString> &identifiers, Tag *tag);

// Moves a folder under `target` (nullptr: the top level). Refused (false) when the target is the
// folder itself or lies below it.
bool moveFolder(ModelContext &context, LibraryFolder *folder, LibraryFolder *target);
// One level up: under the parent's parent, or to the top level.
bool moveFolderOut(ModelContext &context, LibraryFolder *folder);
bool moveTag(ModelContext &context, Tag *tag, Tag *target);
bool moveTagOut(ModelContext &context, Tag *tag);

// Sub-folders and shortcuts move up to the deleted folder's parent; a selection of exactly
// this folder falls back to all shortcuts.
void deleteFolder(ModelContext &context, LibraryNavigation &navigation, LibraryFolder *folder);
// Sub-tags move up to the deleted tag's parent; shortcuts just lose the tag.
void deleteTag(ModelContext &context, LibraryNavigation &navigation, Tag *tag);
void deleteSmartList(ModelContext &context, LibraryNavigation &navigation, SmartList *list);
// "<name> Copy" with the same rules, symbol and colour, just after the source in the order.
SmartList *duplicateSmartList(ModelContext &context, SmartList *list);
} // namespace SidebarOperations
