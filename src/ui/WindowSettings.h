#pragma once

#include "model/ShortcutSort.h"

#include <QObject>
#include <QString>

// The stored settings the window and the settings pane share, with one notifier so that every
// view follows a change made anywhere. Stored in AppSettings::store() under their keys.
class WindowSettings : public QObject {
    Q_OBJECT
public:
    enum class ViewMode { grid, list };

    static WindowSettings &shared();

    // "viewMode": "grid" (default) or "list".
    ViewMode viewMode() const;
    void setViewMode(ViewMode mode);
    // "syncOnLaunch", "doubleClickRuns", "includeSubfolders": true when absent.
    bool syncOnLaunch() const;
    void setSyncOnLaunch(bool on);
    bool doubleClickRuns() const;
    void setDoubleClickRuns(bool on);
    bool includeSubfolders() const;
    void setIncludeSubfolders(bool on);
    // "linksRunWithoutAsking": false when absent, so that a web page cannot run things silently.
    bool linksRunWithoutAsking() const;
    void setLinksRunWithoutAsking(bool on);
    // "showInTray": true when absent; it takes effect only where the desktop has a tray.
    bool showInTray() const;
    void setShowInTray(bool on);
    // "keepRunHistory": runs are recorded in the run history; true when absent.
    bool keepRunHistory() const;
    void setKeepRunHistory(bool on);
    // "sortKey", "sortAscending".
    ShortcutSort sortKey() const;
    void setSortKey(ShortcutSort key);
    bool sortAscending() const;
    void setSortAscending(bool ascending);
    // Re-reads the stored values (after someone else wrote the store) and tells everyone.
    void reload() { emit changed(QString()); }

signals:
    // The key that changed; empty when anything may have.
    void changed(const QString &key);

private:
    WindowSettings() = default;
    void write(const char *key, const QVariant &value);
};
