#pragma once

#include <QString>
#include <optional>

// Chooses the script host and workspace at start-up: the real Mac services (osascript) or the
// simulated Shortcuts world.
namespace PlatformSetup {
enum class ScriptHostKind { osascript, simulator };

// osascript on macOS, the simulator elsewhere.
ScriptHostKind defaultScriptHostKind();
std::optional<ScriptHostKind> scriptHostKindFromName(const QString &name);

// Installs the shared ScriptHost and Workspace: osascript with the desktop's workspace, or the
// simulator with the simulated one. The simulator
// reads libraryPath, or <data dir>/Simulated Shortcuts/library.json (made from the sample library
// on first use) when it is empty. False, with *error, when that file cannot be created.
bool install(ScriptHostKind kind, const QString &libraryPath, QString *error = nullptr);

// The simulated workspace's log, next to the library file.
QString workspaceLogPath(const QString &libraryPath);
} // namespace PlatformSetup
