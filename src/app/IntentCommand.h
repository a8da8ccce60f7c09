#pragma once

#include <QString>
#include <QStringList>

struct CommandLine;
class InstanceChannel;
class LibrarySyncController;

// `thimblecraft intent begin|import|finish`: hands the intent to the instance that owns the data
// directory, starting one in the background when none runs. Prints the result (exit 0) or the
// failure (exit 1); bad options exit 2.
int runIntentCommand(const CommandLine &commandLine);

// The options that give another instance this command line's data and Shortcuts.
QStringList ownerArguments(const CommandLine &commandLine);
// The arguments that start a windowless owner with them.
QStringList backgroundArguments(const CommandLine &commandLine);

// Makes this process the intents' endpoint: the channel performs Begin, Import and Finish, and
// the syncs and backups other invocations hand over, on the controller; the simulated helper
// shortcut sends its calls to this channel's socket.
void installIntentEndpoint(InstanceChannel &channel, LibrarySyncController &controller);
