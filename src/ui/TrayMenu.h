#pragma once

#include <QList>
#include <QObject>
#include <memory>

class ModelContext;
class QAction;
class QMenu;
class ShortcutItem;
class ShortcutRunner;
struct ModelChanges;

// The menu of the program's icon in the menu bar or system tray: the favourites and the
// shortcuts run last, each running on a click, then "Quick Run…", "Sync with Shortcuts",
// "Open Thimblecraft" and "Quit" (whose actions the owner connects). It follows the library
// as favourites and runs change. Built without a tray, so it can be looked at anywhere.
class TrayMenu : public QObject {
    Q_OBJECT
public:
    static constexpr int maximumFavorites = 15;
    static constexpr int maximumRecent = 5;

    TrayMenu(ModelContext &context, ShortcutRunner &runner, QObject *parent = nullptr);
    ~TrayMenu() override;

    // Built when first asked for: without a tray nobody asks, and a launch need not draw icons.
    QMenu *menu();
    QAction *quickRunAction() const { return m_quickRun; }
    QAction *syncAction() const { return m_sync; }
    QAction *openAction() const { return m_open; }
    QAction *quitAction() const { return m_quit; }

    // Present favourites by name, and present shortcuts by their last run, newest first.
    static QList<ShortcutItem *> favorites(const ModelContext &context);
    static QList<ShortcutItem *> recentlyRun(const ModelContext &context);

private:
    void contextChanged(const ModelChanges &changes);
    void rebuild();
    void addShortcuts(const QString &title, const QList<ShortcutItem *> &items);

    ModelContext &m_context;
    ShortcutRunner &m_runner;
    std::unique_ptr<QMenu> m_menu;
    QAction *m_quickRun;
    QAction *m_sync;
    QAction *m_open;
    QAction *m_quit;
    QList<ShortcutItem *> m_shown;
    // Keys the drawn icons, so that a changed icon is drawn again.
    quint64 m_revision = 0;
    bool m_built = false;
};
