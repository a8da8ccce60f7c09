#pragma once

#include <QObject>
#include <QPointer>

class AppUpdater;
class LibraryWindow;
class QAction;
class QMenu;

// The window's menu commands: the application menu's "Check for Updates…" (with About,
// Settings and Quit beside it) and the File menu's sync, run, Quick Run, helper-shortcut, icon,
// database, organisation and run history commands. Key equivalents use Ctrl where the Mac has
// Command.
class LibraryCommands : public QObject {
    Q_OBJECT
public:
    LibraryCommands(LibraryWindow &window, AppUpdater &updater, QObject *parent = nullptr);

    QMenu *applicationMenu() const { return m_applicationMenu; }
    QMenu *fileMenu() const { return m_fileMenu; }
    QAction *checkForUpdates() const { return m_checkForUpdates; }
    QAction *settings() const { return m_settings; }
    QAction *sync() const { return m_sync; }
    QAction *runSelected() const { return m_runSelected; }
    QAction *quickRun() const { return m_quickRun; }
    QAction *installHelper() const { return m_installHelper; }
    QAction *runHelper() const { return m_runHelper; }
    QAction *retryIcons() const { return m_retryIcons; }
    QAction *database() const { return m_database; }
    QAction *chooseFolder() const { return m_chooseFolder; }
    QAction *exportOrganisation() const { return m_exportOrganisation; }
    QAction *importOrganisation() const { return m_importOrganisation; }
    QAction *clearRunHistory() const { return m_clearRunHistory; }

    // Re-reads every enabled state and the database command's title.
    void refresh();

signals:
    void settingsRequested();

private:
    QAction *add(QMenu *menu, const QString &title, const QString &name);

    LibraryWindow &m_window;
    AppUpdater &m_updater;
    QMenu *m_applicationMenu;
    QMenu *m_fileMenu;
    QAction *m_checkForUpdates;
    QAction *m_settings;
    QAction *m_sync;
    QAction *m_runSelected;
    QAction *m_quickRun;
    QAction *m_installHelper;
    QAction *m_runHelper;
    QAction *m_retryIcons;
    QAction *m_chooseFolder = nullptr;
    QAction *m_database;
    QAction *m_exportOrganisation = nullptr;
    QAction *m_importOrganisation = nullptr;
    QAction *m_clearRunHistory;
};
