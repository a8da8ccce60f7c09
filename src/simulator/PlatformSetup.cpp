#include "simulator/PlatformSetup.h"

#include "shortcuts/DesktopWorkspace.h"
#include "shortcuts/OsascriptHost.h"
#include "shortcuts/Workspace.h"
#include "simulator/SimulatedLibrary.h"
#include "simulator/SimulatedShortcutsEvents.h"
#include "simulator/SimulatedWorkspace.h"

#include <QDir>
#include <QFileInfo>

PlatformSetup::ScriptHostKind PlatformSetup::defaultScriptHostKind()
{
#ifdef Q_OS_MACOS
    return ScriptHostKind::osascript;
#else
    return ScriptHostKind::simulator;
#endif
}

std::optional<PlatformSetup::ScriptHostKind>
PlatformSetup::scriptHostKindFromName(const QString &name)
{
    if (name == QLatin1String("osascript"))
        return ScriptHostKind::osascript;
    if (name == QLatin1String("simulator"))
        return ScriptHostKind::simulator;
    return std::nullopt;
}

QString PlatformSetup::workspaceLogPath(const QString &libraryPath)
{
    return QFileInfo(libraryPath).absoluteDir().filePath(QStringLiteral("workspace-log.jsonl"));
}

bool PlatformSetup::install(ScriptHostKind kind, const QString &libraryPath, QString *error)
{
    if (kind == ScriptHostKind::osascript) {
        ScriptHost::setShared(std::make_shared<OsascriptHost>());
        Workspace::setShared(std::make_unique<DesktopWorkspace>());
        return true;
    }
    QString path = libraryPath;
    if (path.isEmpty()) {
        path = SimulatedLibrary::defaultPath();
        if (!SimulatedLibrary::ensureFile(path, error))
            return false;
    }
    path = QFileInfo(path).absoluteFilePath();
    ScriptHost::setShared(std::make_shared<SimulatedShortcutsEvents>(path));
    Workspace::setShared(std::make_unique<SimulatedWorkspace>(workspaceLogPath(path)));
    return true;
}
