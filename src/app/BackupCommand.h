#pragma once

#include <QString>

class LibraryStore;
struct CommandLine;

// A copy of the library at path from store; refused when path exists and force is off, or
// when path is the store itself. The text of the outcome.
bool backUpLibrary(LibraryStore &store, const QString &path, bool force, QString *message);

// `thimblecraft backup FILE [--force]`: through the library's owner when one runs, else from
// the store opened for reading. Returns the exit code.
int runBackupCommand(const CommandLine &commandLine);
