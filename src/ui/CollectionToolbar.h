#pragma once

#include <QIcon>
#include <QToolBar>
#include <functional>

class LibraryNavigation;
class LibrarySyncController;
class ModelContext;
class QActionGroup;
class QMenu;
class ShortcutItem;

// The collection's commands: grid or list, sync, details pane, favourite, "More" and sort. It
// follows the selection, the records, the sync and the stored view settings by itself.
class CollectionToolbar : public QToolBar {
    Q_OBJECT
public:
    CollectionToolbar(ModelContext &context, LibraryNavigation &navigation,
                      LibrarySyncController &syncer, QWidget *parent = nullptr);

    // Fills "More" with the selected shortcut's commands.
    using MenuBuilder = std::function<void(QMenu *menu, ShortcutItem *item)>;
    void setMoreMenuBuilder(MenuBuilder builder);
    // View mode and sort have nothing to act on in the health report.
    void setListControlsEnabled(bool enable);
    // Shows the stored view mode and sort (after they were reloaded behind the settings' back).
    void showSettings();

private:
    void addViewModes();
    void addSort();
    void settingChanged(const QString &key);
    void updateSelectionActions();

    ModelContext &m_context;
    LibraryNavigation &m_navigation;
    LibrarySyncController &m_syncer;
    MenuBuilder m_moreMenuBuilder;
    // Drawn once: the star follows the selection through every change of the records.
    QIcon m_star;
    QIcon m_starFilled;
    QAction *m_gridAction = nullptr;
    QAction *m_listAction = nullptr;
    QAction *m_favoriteAction = nullptr;
    QAction *m_moreAction = nullptr;
    QAction *m_sortAction = nullptr;
    QActionGroup *m_sortKeys = nullptr;
    QAction *m_ascending = nullptr;
    QAction *m_descending = nullptr;
};
