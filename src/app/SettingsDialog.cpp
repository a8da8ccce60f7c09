#include "app/SettingsDialog.h"

#include "app/AppUpdater.h"
#include "app/TrayPresence.h"
#include "ui/WindowSettings.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QVBoxLayout>

SettingsDialog::SettingsDialog(AppUpdater &updater, QWidget *parent)
    : QDialog(parent), m_updater(updater),
      m_syncOnLaunch(new QCheckBox(QStringLiteral("Sync with Shortcuts when Thimblecraft opens"))),
      m_doubleClickRuns(new QCheckBox(QStringLiteral("Double-click a shortcut to run it"))),
      m_includeSubfolders(
          new QCheckBox(QStringLiteral("Folders include shortcuts from their subfolders"))),
      m_automaticUpdates(new QCheckBox(QStringLiteral("Check for updates automatically"))),
      m_linksRunWithoutAsking(
          new QCheckBox(QStringLiteral("Links may run shortcuts without asking"))),
      m_showInTray(new QCheckBox(QStringLiteral("Show in the menu bar / system tray"))),
      m_keepRunHistory(new QCheckBox(QStringLiteral("Keep run history")))
{
    setObjectName(QStringLiteral("settingsDialog"));
    setWindowTitle(QStringLiteral("Settings"));
    m_syncOnLaunch->setObjectName(QStringLiteral("syncOnLaunchToggle"));
    m_doubleClickRuns->setObjectName(QStringLiteral("doubleClickRunsToggle"));
    m_includeSubfolders->setObjectName(QStringLiteral("includeSubfoldersToggle"));
    m_automaticUpdates->setObjectName(QStringLiteral("automaticUpdatesToggle"));
    m_linksRunWithoutAsking->setObjectName(QStringLiteral("linksRunWithoutAskingToggle"));
    m_showInTray->setObjectName(QStringLiteral("showInTrayToggle"));
    if (!TrayPresence::isAvailable()) {
        m_showInTray->setEnabled(false);
        m_showInTray->setToolTip(TrayPresence::unavailableReason());
    }
    m_keepRunHistory->setObjectName(QStringLiteral("keepRunHistoryToggle"));

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 20, 24, 16);
    layout->setSpacing(10);
    for (QCheckBox *box :
         {m_syncOnLaunch, m_doubleClickRuns, m_includeSubfolders, m_automaticUpdates,
          m_linksRunWithoutAsking, m_showInTray, m_keepRunHistory})
        layout->addWidget(box);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    layout->addSpacing(6);
    layout->addWidget(buttons);
    reload();

    WindowSettings &settings = WindowSettings::shared();
    connect(m_syncOnLaunch, &QCheckBox::toggled, &settings, &WindowSettings::setSyncOnLaunch);
    connect(m_doubleClickRuns, &QCheckBox::toggled, &settings, &WindowSettings::setDoubleClickRuns);
    connect(m_includeSubfolders, &QCheckBox::toggled, &settings,
            &WindowSettings::setIncludeSubfolders);
    connect(m_linksRunWithoutAsking, &QCheckBox::toggled, &settings,
            &WindowSettings::setLinksRunWithoutAsking);
    connect(m_showInTray, &QCheckBox::toggled, &settings, &WindowSettings::setShowInTray);
    connect(m_keepRunHistory, &QCheckBox::toggled, &settings, &WindowSettings::setKeepRunHistory);
    connect(m_automaticUpdates, &QCheckBox::toggled, &updater,
            &AppUpdater::setAutomaticallyChecksForUpdates);
    connect(&settings, &WindowSettings::changed, this, &SettingsDialog::reload);
    connect(&updater, &AppUpdater::automaticallyChecksForUpdatesChanged, this,
            &SettingsDialog::reload);
}

void SettingsDialog::reload()
{
    const WindowSettings &settings = WindowSettings::shared();
    const QSignalBlocker a(m_syncOnLaunch), b(m_doubleClickRuns), c(m_includeSubfolders),
        d(m_automaticUpdates), e(m_linksRunWithoutAsking), f(m_showInTray), g(m_keepRunHistory);
    m_syncOnLaunch->setChecked(settings.syncOnLaunch());
    m_doubleClickRuns->setChecked(settings.doubleClickRuns());
    m_includeSubfolders->setChecked(settings.includeSubfolders());
    m_automaticUpdates->setChecked(m_updater.automaticallyChecksForUpdates());
    m_linksRunWithoutAsking->setChecked(settings.linksRunWithoutAsking());
    m_showInTray->setChecked(settings.showInTray() && m_showInTray->isEnabled());
    m_keepRunHistory->setChecked(settings.keepRunHistory());
}
