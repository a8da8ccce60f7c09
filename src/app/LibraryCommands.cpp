#include "app/LibraryCommands.h"

#include "app/AppUpdater.h"
#include "app/OrganisationMenu.h"
#include "model/ModelContext.h"
#include "shortcuts/ShortcutRunner.h"
#include "shortcuts/ShortcutsDatabase.h"
#include "sync/LibrarySyncController.h"
#include "ui/LibraryNavigation.h"
#include "ui/LibraryWindow.h"
#include "ui/PlainText.h"
#include "ui/ShortcutsFolderLink.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>

namespace {
QString databaseTitle()
{
    return ShortcutsDatabase::hasFolderAccess()
               ? QStringLiteral("Refresh App Icons from Shortcuts Database")
               : QStringLiteral("Link Shortcuts Database for App Icons…");
}

// Asks first, since the runs cannot be brought back; what the records say about their last run
// stays.
void askToClearRunHistory(LibraryWindow &window)
{
    auto *question = new QMessageBox(QMessageBox::Warning, QStringLiteral("Clear Run History"),
                                     QStringLiteral("Clear the run history of every shortcut?"),
                                     QMessageBox::NoButton, &window);
    question->setObjectName(QStringLiteral("clearRunHistoryQuestion"));
    question->setTextFormat(Qt::PlainText);
    PlainText::setInformativeText(
        question, QStringLiteral("Every recorded run, with its input and output, is removed. Run "
                                 "counts and last run dates stay. This cannot be undone."));
    QPushButton *clear =
        question->addButton(QStringLiteral("Clear History"), QMessageBox::DestructiveRole);
    question->addButton(QMessageBox::Cancel);
    question->setDefaultButton(QMessageBox::Cancel);
    question->setAttribute(Qt::WA_DeleteOnClose);
    QPointer<LibraryWindow> target(&window);
    QObject::connect(question, &QMessageBox::finished, &window, [question, clear, target] {
        if (!target || question->clickedButton() != clear)
            return;
        ModelContext &context = target->context();
        context.clearRunHistory();
        QString error;
        if (context.save(&error))
            return;
        auto *alert = new QMessageBox(QMessageBox::Warning, QStringLiteral("Thimblecraft"),
                                      QStringLiteral("The run history couldn’t be cleared."),
                                      QMessageBox::Ok, target);
        alert->setTextFormat(Qt::PlainText);
        PlainText::setInformativeText(alert, error);
        alert->setAttribute(Qt::WA_DeleteOnClose);
        alert->open();
    });
    question->open();
}

// With choose, always asks for the folder first (to link another one).
QCoro::Task<> databaseCommand(QPointer<LibrarySyncController> syncer, QWidget *parent, bool choose)
{
    if ((choose || !ShortcutsDatabase::hasFolderAccess()) &&
        !ShortcutsFolderLink::shared().choose(parent))
        co_return; // a cancelled chooser does nothing further
    if (syncer)
        co_await syncer->refreshFromDatabase();
}
} // namespace

LibraryCommands::LibraryCommands(LibraryWindow &window, AppUpdater &updater, QObject *parent)
    : QObject(parent), m_window(window), m_updater(updater)
{
    QMenuBar *bar = window.menuBar();
    // The "&" marks the Alt+letter keys; the titles read "Thimblecraft" and "File".
    m_applicationMenu = bar->addMenu(QStringLiteral("&Thimblecraft"));
    m_applicationMenu->setObjectName(QStringLiteral("applicationMenu"));
    QAction *about =
        add(m_applicationMenu, QStringLiteral("About Thimblecraft"), QStringLiteral("aboutAction"));
    about->setMenuRole(QAction::AboutRole);
    connect(about, &QAction::triggered, this, [this] {
        QMessageBox::about(&m_window, QStringLiteral("About Thimblecraft"),
                           QStringLiteral("Thimblecraft %1\nAn organised library of your "
                                          "shortcuts.")
                               .arg(QApplication::applicationVersion()));
    });
    m_checkForUpdates = add(m_applicationMenu, QStringLiteral("Check for Updates…"),
                            QStringLiteral("checkForUpdatesAction"));
    m_checkForUpdates->setMenuRole(QAction::ApplicationSpecificRole);
    connect(m_checkForUpdates, &QAction::triggered, this,
            [this] { m_updater.checkForUpdates(&m_window); });
    m_applicationMenu->addSeparator();
    m_settings =
        add(m_applicationMenu, QStringLiteral("Settings…"), QStringLiteral("settingsAction"));
    m_settings->setMenuRole(QAction::PreferencesRole);
    m_settings->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    connect(m_settings, &QAction::triggered, this, &LibraryCommands::settingsRequested);
    m_applicationMenu->addSeparator();
    QAction *quit =
        add(m_applicationMenu, QStringLiteral("Quit Thimblecraft"), QStringLiteral("quitAction"));
    quit->setMenuRole(QAction::QuitRole);
    quit->setShortcut(QKeySequence::Quit);
    // Not closeAllWindows(): with the tray icon shown, closing the window keeps the program.
    connect(quit, &QAction::triggered, qApp, &QCoreApplication::quit);

    m_fileMenu = bar->addMenu(QStringLiteral("&File"));
    m_fileMenu->setObjectName(QStringLiteral("fileMenu"));
    m_sync = add(m_fileMenu, QStringLiteral("Sync with Shortcuts"), QStringLiteral("syncCommand"));
    m_sync->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_R));
    connect(m_sync, &QAction::triggered, this, [this] { m_window.syncer().sync(); });
    m_runSelected = add(m_fileMenu, QStringLiteral("Run Selected Shortcut"),
                        QStringLiteral("runSelectedCommand"));
    m_runSelected->setShortcuts(
        {QKeySequence(Qt::CTRL | Qt::Key_Return), QKeySequence(Qt::CTRL | Qt::Key_Enter)});
    connect(m_runSelected, &QAction::triggered, this, [this] {
        if (ShortcutItem *item = m_window.navigation().selectedShortcut())
            m_window.runner().run(item);
    });
    m_quickRun = add(m_fileMenu, QStringLiteral("Quick Run…"), QStringLiteral("quickRunCommand"));
    // Ctrl is the Command key on a Mac.
    m_quickRun->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_K));
    connect(m_quickRun, &QAction::triggered, &m_window, &LibraryWindow::openQuickRun);
    m_fileMenu->addSeparator();
    m_installHelper = add(m_fileMenu, QStringLiteral("Install Helper Shortcut…"),
                          QStringLiteral("installHelperCommand"));
    connect(m_installHelper, &QAction::triggered, this,
            [this] { m_window.syncer().installHelperShortcut(); });
    m_runHelper =
        add(m_fileMenu, PlainText::menuTitle(QStringLiteral("Run Helper Shortcut (Icons & Dates)")),
            QStringLiteral("runHelperCommand"));
    connect(m_runHelper, &QAction::triggered, this,
            [this] { m_window.syncer().runHelperShortcut(); });
    m_retryIcons = add(m_fileMenu, QStringLiteral("Retry Icons from Shortcuts Events"),
                       QStringLiteral("retryIconsCommand"));
    connect(m_retryIcons, &QAction::triggered, this, [this] { m_window.syncer().retryIcons(); });
    m_fileMenu->addSeparator();
    m_database = add(m_fileMenu, databaseTitle(), QStringLiteral("databaseCommand"));
    connect(m_database, &QAction::triggered, this, [this] {
        databaseCommand(QPointer<LibrarySyncController>(&m_window.syncer()), &m_window, false);
    });
    // Once linked, another folder can be chosen (a wrong or empty one is not for good).
    m_chooseFolder = add(m_fileMenu, QStringLiteral("Choose Shortcuts Folder…"),
                         QStringLiteral("chooseShortcutsFolderCommand"));
    connect(m_chooseFolder, &QAction::triggered, this, [this] {
        databaseCommand(QPointer<LibrarySyncController>(&m_window.syncer()), &m_window, true);
    });
    connect(&ShortcutsFolderLink::shared(), &ShortcutsFolderLink::linked, this,
            &LibraryCommands::refresh);
    m_fileMenu->addSeparator();
    addOrganisationCommands(m_fileMenu, m_window, &m_exportOrganisation, &m_importOrganisation);
    m_fileMenu->addSeparator();
    m_clearRunHistory = add(m_fileMenu, QStringLiteral("Clear Run History"),
                            QStringLiteral("clearRunHistoryCommand"));
    connect(m_clearRunHistory, &QAction::triggered, this,
            [this] { askToClearRunHistory(m_window); });

    // The menus are rebuilt (re-read) each time they open.
    connect(m_fileMenu, &QMenu::aboutToShow, this, &LibraryCommands::refresh);
    connect(m_applicationMenu, &QMenu::aboutToShow, this, &LibraryCommands::refresh);
    connect(&window.navigation(), &LibraryNavigation::selectedShortcutChanged, this,
            &LibraryCommands::refresh);
    connect(&updater, &AppUpdater::canCheckForUpdatesChanged, this, &LibraryCommands::refresh);
    refresh();
}

QAction *LibraryCommands::add(QMenu *menu, const QString &title, const QString &name)
{
    QAction *action = menu->addAction(title);
    action->setObjectName(name);
    // Key equivalents work wherever the focus is in the window.
    action->setShortcutContext(Qt::WindowShortcut);
    m_window.addAction(action);
    return action;
}

void LibraryCommands::refresh()
{
    m_checkForUpdates->setEnabled(m_updater.canCheckForUpdates());
    m_runSelected->setEnabled(m_window.navigation().selectedShortcut() != nullptr);
    m_database->setText(databaseTitle());
    m_chooseFolder->setVisible(ShortcutsDatabase::hasFolderAccess());
    RunHistoryFilter any;
    any.limit = 1;
    m_clearRunHistory->setEnabled(!m_window.context().runHistory(any).isEmpty());
}
