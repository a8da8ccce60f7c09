#pragma once

#include "app/InstanceChannel.h"

#include <QCoro/QCoroTask>

struct CommandLine;
class LibrarySyncController;

// What `thimblecraft sync` runs, here or in the instance it hands over to: icon upgrades, full
// sync, database pass, icon queue to the end. The summary text, or the error's.
QCoro::Task<InstanceChannel::Reply> syncToEnd(LibrarySyncController &controller);

// `thimblecraft sync`: syncToEnd in the running instance of the data directory if there is one,
// else here; then the summary on standard output (exit 0) or the error on standard error
// (exit 1).
int runSyncCommand(int argc, char *argv[]);

// `thimblecraft --background`: no window; serves intents on the instance channel until it has
// been idle for a while or is asked to quit.
int runBackgroundInstance(int argc, char *argv[]);
