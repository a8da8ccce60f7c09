#pragma once

#include <QString>
#include <optional>

// The data directory a command works on, by its canonical path: the library's identity for the
// instance channel, the owner lock and the store.
namespace DataDirectory {
// Exit codes of a directory that cannot be used.
inline constexpr int noLibraryExitCode = 66;
inline constexpr int unusableExitCode = 70;

struct Problem {
    int exitCode = unusableExitCode;
    QString message;
};

// For a process that will own the library: the directory is made when missing. given empty
// means the platform's application-data location.
std::optional<QString> forWriting(const QString &given, Problem *problem);
// For a read-only command: the directory and its store must exist; nothing is created.
std::optional<QString> forReading(const QString &given, Problem *problem);
} // namespace DataDirectory
