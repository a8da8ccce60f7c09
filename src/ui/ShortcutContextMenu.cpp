#include "ui/ShortcutContextMenu.h"

#include "model/FlattenedTree.h"
#include "model/LibraryLinks.h"
#include "model/ModelContext.h"
#include "shortcuts/ShortcutRunner.h"
#include "ui/CopyLinkAction.h"
#include "ui/LibraryNavigation.h"
#include "ui/PlainText.h"
#include "ui/SymbolIcon.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>
#include <QMimeData>
#include <QPointer>

namespace ShortcutContextMenu {

void addTag(ModelContext &context, ShortcutItem *item, Tag *tag)
{
    if (!item->hasTag(tag))
        item->addTag(tag);
    context.save();
}

void removeTag(ModelContext &context, ShortcutItem *item, Tag *tag)
{
    item->removeTag(tag);
    context.save();
}

void toggleTag(ModelContext &context, ShortcutItem *item, Tag *tag)
{
    if (item->hasTag(tag))
        removeTag(context, item, tag);
    else
        addTag(context, item, tag);
}

void setFolder(ModelContext &context, ShortcutItem *item, LibraryFolder *folder)
{
    item->setFolder(folder);
    context.save();
}

void toggleFavorite(ModelContext &context, ShortcutItem *item)
{
    item->setIsFavorite(!item->isFavorite());
    context.save();
}

void copyName(const ShortcutItem &item)
{
    auto *data = new QMimeData;
    data->setText(item.name());
    QGuiApplication::clipboard()->setMimeData(data);
}

void removeFromLibrary(ModelContext &context, LibraryNavigation &navigation, ShortcutItem *item)
{
    if (navigation.selectedShortcut() == item)
        navigation.setSelectedShortcut(nullptr);
    context.deleteRecord(item);
    context.save();
}

void populateFolderMenu(QMenu *menu, ShortcutItem *item, ModelContext &context)
{
    ModelContext *ctx = &context;
    QAction *none = menu->addAction(QStringLiteral("None"));
    none->setObjectName(QStringLiteral("folderNone"));
    QObject::connect(none, &QAction::triggered, menu, [ctx, item] {
        if (!item->isDeleted())
            setFolder(*ctx, item, nullptr);
    });
    for (const auto &entry : flattenedTree(context.folders())) {
        LibraryFolder *folder = entry.record;
        QAction *action =
            menu->addAction(SymbolIcon::icon(folder == item->folder() ? QStringLiteral("checkmark")
                                                                      : folder->symbolName()),
                            PlainText::menuTitle(entry.title()));
        action->setObjectName(QStringLiteral("folder:") + folder->uuid());
        QObject::connect(action, &QAction::triggered, menu, [ctx, item, folder] {
            if (!item->isDeleted() && !folder->isDeleted())
                setFolder(*ctx, item, folder);
        });
    }
}

void populate(QMenu *menu, ShortcutItem *item, const Services &services)
{
    if (!item)
        return;
    ModelContext *context = &services.context;
    QPointer<ShortcutRunner> runner = &services.runner;
    QPointer<LibraryNavigation> navigation = &services.navigation;
    const auto alive = [item] { return !item->isDeleted(); };

    QAction *run =
        menu->addAction(SymbolIcon::icon(QStringLiteral("play.fill")), QStringLiteral("Run"));
    run->setObjectName(QStringLiteral("run"));
    QObject::connect(run, &QAction::triggered, menu, [=] {
        if (alive() && runner)
            runner->run(item);
    });
    QAction *withInput = menu->addAction(SymbolIcon::icon(QStringLiteral("text.cursor")),
                                         QStringLiteral("Run with Input…"));
    withInput->setObjectName(QStringLiteral("runWithInput"));
    QObject::connect(withInput, &QAction::triggered, menu,
                     [alive, item, onRunWithInput = services.onRunWithInput] {
                         if (alive() && onRunWithInput)
                             onRunWithInput(item);
                     });
    menu->addSeparator();

    QAction *favorite = item->isFavorite()
                            ? menu->addAction(SymbolIcon::icon(QStringLiteral("star.slash")),
                                              QStringLiteral("Remove from Favorites"))
                            : menu->addAction(SymbolIcon::icon(QStringLiteral("star")),
                                              QStringLiteral("Add to Favorites"));
    favorite->setObjectName(QStringLiteral("toggleFavorite"));
    QObject::connect(favorite, &QAction::triggered, menu, [=] {
        if (alive())
            toggleFavorite(*context, item);
    });

    QMenu *folders =
        menu->addMenu(SymbolIcon::icon(QStringLiteral("folder")), QStringLiteral("Move to Folder"));
    folders->setObjectName(QStringLiteral("moveToFolderMenu"));
    populateFolderMenu(folders, item, *context);

    QMenu *tags = menu->addMenu(SymbolIcon::icon(QStringLiteral("tag")), QStringLiteral("Tags"));
    tags->setObjectName(QStringLiteral("tagsMenu"));
    const auto tree = flattenedTree(context->tags());
    if (tree.isEmpty()) {
        QAction *empty = tags->addAction(QStringLiteral("No tags yet"));
        empty->setObjectName(QStringLiteral("noTags"));
        empty->setEnabled(false);
    }
    for (const auto &entry : tree) {
        Tag *tag = entry.record;
        QAction *toggle = tags->addAction(PlainText::menuTitle(entry.title()));
        toggle->setObjectName(QStringLiteral("tag:") + tag->uuid());
        toggle->setCheckable(true);
        toggle->setChecked(item->hasTag(tag));
        QObject::connect(toggle, &QAction::triggered, tags, [=] {
            if (alive() && !tag->isDeleted())
                toggleTag(*context, item, tag);
        });
    }
    menu->addSeparator();

    QAction *open = menu->addAction(SymbolIcon::icon(QStringLiteral("arrow.up.forward.app")),
                                    QStringLiteral("Open in Shortcuts"));
    open->setObjectName(QStringLiteral("openInShortcuts"));
    QObject::connect(open, &QAction::triggered, menu, [=] {
        if (alive() && runner)
            runner->openInShortcuts(item);
    });
    QAction *copy = menu->addAction(SymbolIcon::icon(QStringLiteral("doc.on.doc")),
                                    QStringLiteral("Copy Name"));
    copy->setObjectName(QStringLiteral("copyName"));
    QObject::connect(copy, &QAction::triggered, menu, [item] { copyName(*item); });
    addCopyLinkAction(menu, LibraryLinks::openShortcut(item->identifier()));

    if (item->isMissing()) {
        menu->addSeparator();
        QAction *remove =
            menu->addAction(SymbolIcon::icon(QStringLiteral("trash"), QColor(0xFF, 0x3B, 0x30)),
                            QStringLiteral("Remove from Library"));
        remove->setObjectName(QStringLiteral("removeFromLibrary"));
        QObject::connect(remove, &QAction::triggered, menu, [=] {
            if (alive() && navigation)
                removeFromLibrary(*context, *navigation, item);
        });
    }
}
} // namespace ShortcutContextMenu
