#pragma once

#include "shortcuts/ScriptHost.h"
#include "simulator/SimulatedLibrary.h"

#include <QString>
#include <QStringList>
#include <functional>

// The helper shortcut "Sync Thimblecraft" in the simulated Shortcuts app. Opening its file
// installs it into the simulated library; running it calls Thimblecraft's three intents (Begin,
// Import for every shortcut with its icon file, dates and 1-based position, Finish) through
// whatever sender the program installed, the way the real helper calls App Intents.
namespace SimulatedHelperShortcut {
inline constexpr char shortcutName[] = "Sync Thimblecraft";

struct IntentResult {
    bool ok = false;
    QString text; // the intent's result, or its error
};
// action is "begin", "import" or "finish"; arguments are in the command line's form
// (--name N --identifier I --icon FILE …). Called on the bridge's queue, never the main thread.
using IntentSender =
    std::function<IntentResult(const QString &action, const QStringList &arguments)>;
void setIntentSender(IntentSender sender);

// The library that opening a helper file installs into (PlatformSetup sets it).
void setLibraryPath(const QString &libraryPath);
// Called by the simulated workspace for every opened file; true when it was the helper's file
// and the helper is now in the library.
bool fileOpened(const QString &path);
// Adds the helper described by a .shortcut file to the library file (once).
bool install(const QString &shortcutFile, const QString &libraryPath, QString *error = nullptr);

bool isHelper(const SimulatedShortcut &shortcut);
// Runs the helper over a library: the reply is the Finish intent's summary text.
ScriptHostReply run(const SimulatedLibrary &library);
} // namespace SimulatedHelperShortcut
