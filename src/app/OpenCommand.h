#pragma once

struct CommandLine;

// `thimblecraft open [SECTION | --shortcut SHORTCUT]`: the window comes forward at that place;
// one is started when none is open. Returns the exit code.
int runOpenCommand(const CommandLine &commandLine);
