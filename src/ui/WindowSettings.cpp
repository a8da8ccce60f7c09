#include "ui/WindowSettings.h"

#include "model/AppSettings.h"
#include "model/LibrarySettings.h"

WindowSettings &WindowSettings::shared()
{
    static WindowSettings *instance = new WindowSettings;
    return *instance;
}

void WindowSettings::write(const char *key, const QVariant &value)
{
    const QString name = QString::fromLatin1(key);
    QSettings &store = AppSettings::store();
    if (store.contains(name) && store.value(name) == value)
        return;
    store.setValue(name, value);
    store.sync();
    emit changed(name);
}

WindowSettings::ViewMode WindowSettings::viewMode() const
{
    return AppSettings::store().value(QStringLiteral("viewMode")).toString() ==
                   QStringLiteral("list")
               ? ViewMode::list
               : ViewMode::grid;
}

void WindowSettings::setViewMode(ViewMode mode)
{
    write("viewMode", mode == ViewMode::list ? QStringLiteral("list") : QStringLiteral("grid"));
}

bool WindowSettings::syncOnLaunch() const
{
    return AppSettings::store().value(QStringLiteral("syncOnLaunch"), true).toBool();
}

void WindowSettings::setSyncOnLaunch(bool on)
{
    write("syncOnLaunch", on);
}

bool WindowSettings::doubleClickRuns() const
{
    return AppSettings::store().value(QStringLiteral("doubleClickRuns"), true).toBool();
}

void WindowSettings::setDoubleClickRuns(bool on)
{
    write("doubleClickRuns", on);
}

bool WindowSettings::linksRunWithoutAsking() const
{
    return AppSettings::store().value(QStringLiteral("linksRunWithoutAsking"), false).toBool();
}

void WindowSettings::setLinksRunWithoutAsking(bool on)
{
    write("linksRunWithoutAsking", on);
}

bool WindowSettings::showInTray() const
{
    return AppSettings::store().value(QStringLiteral("showInTray"), true).toBool();
}

void WindowSettings::setShowInTray(bool on)
{
    write("showInTray", on);
}

bool WindowSettings::includeSubfolders() const
{
    return LibrarySettings::includeSubfolders();
}

void WindowSettings::setIncludeSubfolders(bool on)
{
    write("includeSubfolders", on);
}

bool WindowSettings::keepRunHistory() const
{
    return LibrarySettings::keepRunHistory();
}

void WindowSettings::setKeepRunHistory(bool on)
{
    write("keepRunHistory", on);
}

ShortcutSort WindowSettings::sortKey() const
{
    return LibrarySettings::sortKey();
}

void WindowSettings::setSortKey(ShortcutSort key)
{
    write("sortKey", storedName(key));
}

bool WindowSettings::sortAscending() const
{
    return LibrarySettings::sortAscending();
}

void WindowSettings::setSortAscending(bool ascending)
{
    write("sortAscending", ascending);
}
