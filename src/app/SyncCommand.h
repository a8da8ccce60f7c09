#pragma once

struct CommandLine;

// `thimblecraft sync`: what the window's launch task does (icon upgrades, full sync, database
// pass, icon queue to the end), then the summary on standard output (exit 0) or the error on
// standard error (exit 1).
int runSyncCommand(int argc, char *argv[]);

// `thimblecraft --background`: no window; serves intents on the instance channel until it has
// been idle for a while or is asked to quit.
int runBackgroundInstance(int argc, char *argv[]);
