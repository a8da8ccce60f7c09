#pragma once

#include <QDialog>

class AppUpdater;
class QCheckBox;

// The settings pane: switches written at once.
class SettingsDialog : public QDialog {
    Q_OBJECT
public:
    explicit SettingsDialog(AppUpdater &updater, QWidget *parent = nullptr);

    QCheckBox *syncOnLaunch() const { return m_syncOnLaunch; }
    QCheckBox *doubleClickRuns() const { return m_doubleClickRuns; }
    QCheckBox *includeSubfolders() const { return m_includeSubfolders; }
    QCheckBox *automaticUpdates() const { return m_automaticUpdates; }
    QCheckBox *linksRunWithoutAsking() const { return m_linksRunWithoutAsking; }
    // Disabled, with a tooltip saying why, where the desktop has no tray.
    QCheckBox *showInTray() const { return m_showInTray; }
    QCheckBox *keepRunHistory() const { return m_keepRunHistory; }
    // Shows the stored values again.
    void reload();

private:
    AppUpdater &m_updater;
    QCheckBox *m_syncOnLaunch;
    QCheckBox *m_doubleClickRuns;
    QCheckBox *m_includeSubfolders;
    QCheckBox *m_automaticUpdates;
    QCheckBox *m_linksRunWithoutAsking;
    QCheckBox *m_showInTray;
    QCheckBox *m_keepRunHistory;
};
