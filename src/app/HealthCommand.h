#pragma once

class ModelContext;
struct CommandLine;

// `thimblecraft health [--json]`: the library's health check, grouped as in the window. Exit
// code 1 when it finds problems (for scripts), 0 when it finds none.
int runHealthCommand(const ModelContext &context, const CommandLine &commandLine);
