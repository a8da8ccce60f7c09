#pragma once

#include <QCoro/QCoroTask>
#include <QMainWindow>
#include <QPointer>
#include <QUrl>

class InspectorPane;
class LibraryNavigation;
class LibrarySyncController;
class ModelContext;
class OutcomeBanner;
class QuickRunPalette;
#include <QMessageBox>
class QSplitter;
class ShortcutCollectionView;
class ShortcutRunner;

// The library window: sidebar, collection and inspector side by side, the outcome banner over
// the bottom centre, the "Sync Failed" alert, and the launch task run when it is first shown.
class LibraryWindow : public QMainWindow {
    Q_OBJECT
public:
    LibraryWindow(ModelContext &context, LibraryNavigation &navigation, ShortcutRunner &runner,
                  LibrarySyncController &syncer, QWidget *parent = nullptr);
    ~LibraryWindow() override;

    LibraryNavigation &navigation() const { return m_navigation; }
    ShortcutRunner &runner() const { return m_runner; }
    LibrarySyncController &syncer() const { return m_syncer; }
    ModelContext &context() const { return m_context; }

    ShortcutCollectionView *collection() const { return m_collection; }
    InspectorPane *inspector() const { return m_inspector; }
    OutcomeBanner *banner() const { return m_banner; }
    QuickRunPalette *quickRun() const { return m_quickRun; }
    QSplitter *splitter() const { return m_splitter; }
    QWidget *sidebar() const { return m_sidebar; }
    // Test hook: the open "Sync Failed" alert, or null.
    QMessageBox *syncFailedAlert() const { return m_syncFailedAlert; }

    // Places the sidebar in the first column (the window owns it).
    void setSidebar(QWidget *sidebar);

    // Brings the window forward (also from the tray) and opens Quick Run over it.
    void openQuickRun();
    // Shows the window again, in front, when it was hidden or minimised.
    void bringForward();

    // A URL of the program's own scheme, opened in the window.
    void openURL(const QUrl &url);
    // The URL as its text arrived, so its scheme and host are checked as written.
    void openURL(const QString &urlText);

    // The launch task: stored-icon upgrades, then a full sync when "syncOnLaunch" is on, else
    // the icon queue. Runs once, when the window is first shown.
    QCoro::Task<> launchTask();
    bool launchTaskStarted() const { return m_launched; }

signals:
    void firstShown();
    void launchTaskFinished();

protected:
    void showEvent(QShowEvent *event) override;

private:
    void lastErrorChanged();
    void applyInspectorVisibility();

    ModelContext &m_context;
    LibraryNavigation &m_navigation;
    ShortcutRunner &m_runner;
    LibrarySyncController &m_syncer;
    QSplitter *m_splitter;
    QWidget *m_sidebar;
    ShortcutCollectionView *m_collection;
    InspectorPane *m_inspector;
    OutcomeBanner *m_banner;
    QuickRunPalette *m_quickRun;
    QPointer<QMessageBox> m_syncFailedAlert;
    bool m_launched = false;
};
