#pragma once

class ModelContext;
struct CommandLine;

// `thimblecraft list`: prints the items of the library (or of one section). Returns the exit code.
int runListCommand(ModelContext &context, const CommandLine &commandLine);
