#pragma once

#include "app/InstanceChannel.h"

#include <QCoro/QCoroTask>
#include <functional>

class LibrarySyncController;

// What `thimblecraft sync` runs, here or in the owner it hands over to: icon upgrades, then a
// full sync that starts after it was asked (it waits for one already running), the database
// pass and the icon queue to the end. The summary text, or the error's.
QCoro::Task<InstanceChannel::Reply> syncToEnd(LibrarySyncController &controller);

// `thimblecraft sync`: handed to the library's owner when one runs; otherwise this process
// owns the library for the sync (serving other commands meanwhile) and leaves it afterwards.
// The summary on standard output (exit 0) or the error on standard error (exit 1).
// installPlatform chooses the Shortcuts side once the store is open.
int runSyncCommand(int argc, char *argv[], const std::function<bool()> &installPlatform);

// `thimblecraft --background`: no window; owns the library and serves intents and handed
// syncs until it has been idle for a while or a window asks it to leave. Tells the command
// that started it whether it became the owner.
int runBackgroundInstance(int argc, char *argv[], const std::function<bool()> &installPlatform);
