#pragma once

#include "model/LibrarySection.h"
#include "ui/EditorSheet.h"

#include <QPointer>
#include <QWidget>

class LibraryFolder;
class SmartList;
class Tag;
class FolderEditor;
class LibraryNavigation;
class ModelContext;
class QAction;
class QMenu;
class QToolButton;
class QTreeView;
class SidebarModel;
class SmartListEditor;
class TagEditor;
struct FolderEditTarget;
struct SmartListEditTarget;
struct TagEditTarget;

// The window's left column: the library sections, smart lists, folder and tag trees and the
// Shortcuts app's folders, each with a count. Its selection is the navigation's section. Folders,
// tags and smart lists are created, edited, moved and deleted from here, and shortcuts dragged
// out of the collection are dropped on folders and tags.
class SidebarView : public QWidget {
    Q_OBJECT
public:
    SidebarView(ModelContext &context, LibraryNavigation &navigation, QWidget *parent = nullptr);
    ~SidebarView() override;

    QTreeView *treeView() const { return m_tree; }
    SidebarModel *model() const { return m_model; }

    // The "New" menu (also on the sidebar's own "+" button) and its three actions.
    QMenu *newMenu() const { return m_newMenu; }
    QAction *newSmartListAction() const { return m_newSmartList; }
    QAction *newFolderAction() const { return m_newFolder; }
    QAction *newTagAction() const { return m_newTag; }
    QToolButton *newButton() const { return m_newButton; }

    // The context menu of a row, or nullptr for rows without one; the caller owns it.
    QMenu *createContextMenu(const QModelIndex &index, QWidget *parent = nullptr);

    // Open an editor sheet for a target. Opening one with another identity replaces the open
    // sheet; the same identity just brings it forward.
    void editFolder(const FolderEditTarget &target);
    void editTag(const TagEditTarget &target);
    void editSmartList(const SmartListEditTarget &target);
    // The open sheet, if any (for tests and the window's menu commands).
    EditorSheet *openSheet() const { return m_sheet; }
    FolderEditor *folderEditor() const;
    TagEditor *tagEditor() const;
    SmartListEditor *smartListEditor() const;

    // Whether the "Shortcuts App Folders" group is expanded (starts collapsed).
    bool showNativeFolders() const { return m_showNativeFolders; }
    void setShowNativeFolders(bool show);

private:
    void presentSheet(EditorSheet *sheet, const QString &identity);
    void selectSection(const std::optional<LibrarySection> &section);
    void selectionChanged();
    void rowsInserted(const QModelIndex &parent, int first, int last);
    void showContextMenu(const QPoint &pos);
    void addFolderMenu(QMenu *menu, LibraryFolder *folder);
    void addTagMenu(QMenu *menu, Tag *tag);
    void addSmartListMenu(QMenu *menu, SmartList *list);

    ModelContext &m_context;
    LibraryNavigation &m_navigation;
    SidebarModel *m_model = nullptr;
    QTreeView *m_tree = nullptr;
    QToolButton *m_newButton = nullptr;
    QMenu *m_newMenu = nullptr;
    QAction *m_newSmartList = nullptr;
    QAction *m_newFolder = nullptr;
    QAction *m_newTag = nullptr;
    QPointer<EditorSheet> m_sheet;
    QString m_sheetIdentity;
    bool m_showNativeFolders = false;
    bool m_applyingSelection = false;
};
