#pragma once

#include <functional>

// SIGTERM, SIGINT and SIGHUP (a logout, Ctrl-C, a closed terminal) end an owner the way its
// Quit does, so that what it holds in memory is saved before it goes, instead of the default
// of dying on the spot. The handler runs on the main thread; a second signal is not waited for.
void quitOnTerminationSignals(std::function<void()> quit);
