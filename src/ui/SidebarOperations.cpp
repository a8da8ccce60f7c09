#include "ui/SidebarOperations.h"

#include "model/ModelContext.h"
#include "model/SmartRuleSet.h"
#include "ui/LibraryNavigation.h"

namespace {
void clearSelectionOf(LibraryNavigation &navigation, const LibrarySection &section)
{
    if (navigation.section() == section)
        navigation.setSection(LibrarySection::all());
}
} // namespace

int SidebarOperations::fileShortcuts(ModelContext &context, const QSet<QString> &identifiers,
                                     LibraryFolder *folder)
{
    int matched = 0;
    for (ShortcutItem *item : context.shortcuts()) {
        if (!identifiers.contains(item->identifier()))
            continue;
        item->setFolder(folder);
        ++matched;
    }
    context.save();
    return matched;
}

int SidebarOperations::tagShortcuts(ModelContext &context, const QSet<QString> &identifiers,
                                    Tag *tag)
{
    int matched = 0;
    for (ShortcutItem *item : context.shortcuts()) {
        if (!identifiers.contains(item->identifier()))
            continue;
        if (!item->hasTag(tag))
            item->addTag(tag);
        ++matched;
    }
    context.save();
    return matched;
}

bool SidebarOperations::moveFolder(ModelContext &context, LibraryFolder *folder,
                                   LibraryFolder *target)
{
    if (!folder->canMoveUnder(target))
        return false;
    folder->setParent(target);
    context.save();
    return true;
}

bool SidebarOperations::moveFolderOut(ModelContext &context, LibraryFolder *folder)
{
    if (!folder->parent())
        return false;
    return moveFolder(context, folder, folder->parent()->parent());
}

bool SidebarOperations::moveTag(ModelContext &context, Tag *tag, Tag *target)
{
    if (!tag->canMoveUnder(target))
        return false;
    tag->setParent(target);
    context.save();
    return true;
}

bool SidebarOperations::moveTagOut(ModelContext &context, Tag *tag)
{
    if (!tag->parent())
        return false;
    return moveTag(context, tag, tag->parent()->parent());
}

void SidebarOperations::deleteFolder(ModelContext &context, LibraryNavigation &navigation,
                                     LibraryFolder *folder)
{
    clearSelectionOf(navigation, LibrarySection::folder(folder->uuid()));
    LibraryFolder *parent = folder->parent();
    for (LibraryFolder *child : QList<LibraryFolder *>(folder->children()))
        child->setParent(parent);
    for (ShortcutItem *item : QList<ShortcutItem *>(folder->shortcuts()))
        item->setFolder(parent);
    context.deleteRecord(folder);
    context.save();
}

void SidebarOperations::deleteTag(ModelContext &context, LibraryNavigation &navigation, Tag *tag)
{
    clearSelectionOf(navigation, LibrarySection::tag(tag->uuid()));
    Tag *parent = tag->parent();
    for (Tag *child : QList<Tag *>(tag->children()))
        child->setParent(parent);
    context.deleteRecord(tag);
    context.save();
}

void SidebarOperations::deleteSmartList(ModelContext &context, LibraryNavigation &navigation,
                                        SmartList *list)
{
    clearSelectionOf(navigation, LibrarySection::smartList(list->uuid()));
    context.deleteRecord(list);
    context.save();
}

SmartList *SidebarOperations::duplicateSmartList(ModelContext &context, SmartList *list)
{
    auto *copy = new SmartList(list->name() + QStringLiteral(" Copy"), list->ruleSet());
    copy->setSymbolName(list->symbolName());
    copy->setColorHex(list->colorHex());
    copy->setSortOrder(list->sortOrder() + 1);
    context.insert(copy);
    context.save();
    return copy;
}
