#pragma once

// Parses the command line and runs a command or the window. Returns the exit code.
int runThimblecraft(int argc, char *argv[]);
