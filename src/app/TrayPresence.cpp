#include "app/TrayPresence.h"

#include "model/AppSettings.h"
#include "shortcuts/ShortcutRunner.h"
#include "sync/LibrarySyncController.h"
#include "ui/AppIcon.h"
#include "ui/LibraryWindow.h"
#include "ui/OutcomeBanner.h"
#include "ui/QuickRunPalette.h"
#include "ui/TrayMenu.h"
#include "ui/WindowSettings.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QMenu>
#include <QSystemTrayIcon>

namespace {
std::optional<bool> &availableForTesting()
{
    static std::optional<bool> available;
    return available;
}

const QString noticeShownKey = QStringLiteral("trayNoticeShown");
} // namespace

TrayPresence::TrayPresence(LibraryWindow &window, QObject *parent)
    : QObject(parent), m_window(window),
      m_menu(new TrayMenu(window.context(), window.runner(), this))
{
    connect(m_menu->quickRunAction(), &QAction::triggered, &window, &LibraryWindow::openQuickRun);
    connect(m_menu->syncAction(), &QAction::triggered, &window,
            [&window] { window.syncer().sync(); });
    connect(m_menu->openAction(), &QAction::triggered, &window, &LibraryWindow::bringForward);
    connect(m_menu->quitAction(), &QAction::triggered, this, &TrayPresence::quit);
    connect(&WindowSettings::shared(), &WindowSettings::changed, this, [this](const QString &key) {
        if (key.isEmpty() || key == QLatin1String("showInTray"))
            apply();
    });
    connect(&window.runner(), &ShortcutRunner::latestOutcomeChanged, this,
            &TrayPresence::outcomeChanged);
    window.installEventFilter(this);
    qApp->installEventFilter(this);
    apply();
}

TrayPresence::~TrayPresence()
{
    QApplication::setQuitOnLastWindowClosed(true);
}

bool TrayPresence::isAvailable()
{
    return availableForTesting().value_or(QSystemTrayIcon::isSystemTrayAvailable());
}

void TrayPresence::setAvailableForTesting(std::optional<bool> available)
{
    availableForTesting() = available;
}

QString TrayPresence::unavailableReason()
{
    return QStringLiteral("This desktop shows no menu bar or system tray icons (no "
                          "StatusNotifier host is running).");
}

QString TrayPresence::keepsRunningNotice()
{
    return QStringLiteral("Thimblecraft keeps running in the menu bar / system tray; choose Quit "
                          "there to end it.");
}

bool TrayPresence::isShown() const
{
    return m_icon && m_icon->isVisible();
}

void TrayPresence::apply()
{
    const bool wasShown = isShown();
    const bool show = WindowSettings::shared().showInTray() && isAvailable();
    if (show && !m_icon) {
        m_icon = new QSystemTrayIcon(AppIcon::icon(), this);
        m_icon->setObjectName(QStringLiteral("trayIcon"));
        m_icon->setToolTip(QStringLiteral("Thimblecraft"));
        m_icon->setContextMenu(m_menu->menu());
        connect(m_icon, &QSystemTrayIcon::activated, this,
                [this](QSystemTrayIcon::ActivationReason reason) {
                    if (reason == QSystemTrayIcon::Trigger)
                        m_window.bringForward();
                });
    }
    if (m_icon)
        m_icon->setVisible(show);
    // A hidden window is not the last one closed while the icon stays.
    QApplication::setQuitOnLastWindowClosed(!show);
    if (wasShown && !show && m_window.isHidden() && !m_quitting)
        m_window.bringForward(); // nothing else would show it again
}

void TrayPresence::quit()
{
    m_quitting = true;
    QApplication::closeAllWindows();
    QCoreApplication::quit();
}

void TrayPresence::windowClosed()
{
    m_window.quickRun()->dismiss();
    m_window.hide();
    QSettings &store = AppSettings::store();
    if (store.value(noticeShownKey).toBool())
        return;
    store.setValue(noticeShownKey, true);
    store.sync();
    showMessage(QStringLiteral("Thimblecraft"), keepsRunningNotice());
}

void TrayPresence::showMessage(const QString &title, const QString &text)
{
    if (m_icon)
        m_icon->showMessage(title, text, AppIcon::icon());
    emit messageShown(title, text);
}

void TrayPresence::outcomeChanged()
{
    const auto &outcome = m_window.runner().latestOutcome();
    if (outcome && isShown() && m_window.isHidden())
        showMessage(OutcomeBanner::titleFor(*outcome), OutcomeBanner::detailFor(*outcome));
}

bool TrayPresence::eventFilter(QObject *watched, QEvent *event)
{
    // However the program is asked to quit (menu, dock, session end), its windows may close.
    if (watched == qApp && event->type() == QEvent::Quit)
        m_quitting = true;
    if (watched == &m_window && event->type() == QEvent::Close && isShown() && !m_quitting) {
        event->ignore();
        windowClosed();
        return true;
    }
    return QObject::eventFilter(watched, event);
}
