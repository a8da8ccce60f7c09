#pragma once

#include <QString>
#include <memory>

// The right to write one library. Exactly one process holds it: the window, a windowless
// instance or a `sync` running without either. It is an flock on a file beside the instance
// channel's socket (never in the data directory, so that a refused directory is left untouched);
// the kernel drops it when its holder dies, so a crash leaves nothing to clean up.
class OwnerLock {
public:
    enum class Outcome { acquired, heldElsewhere, failed };

    ~OwnerLock();
    OwnerLock(const OwnerLock &) = delete;
    OwnerLock &operator=(const OwnerLock &) = delete;

    // The lock file of the library in dataDirectory (a canonical path); empty with *error when
    // the private runtime folder cannot be made.
    static QString lockPath(const QString &dataDirectory, QString *error = nullptr);
    // Takes the lock without waiting.
    static std::unique_ptr<OwnerLock> tryAcquire(const QString &dataDirectory, Outcome *outcome,
                                                 QString *error = nullptr);

    // An owner keeps the lock until its process has ended: static destructors close the store
    // after main() returns, and nobody may open it for writing before that.
    // The descriptor stays open (and locked) until the kernel closes it at exit.
    static void keepUntilExit(std::unique_ptr<OwnerLock> lock) { lock->m_fd = -1; }

private:
    explicit OwnerLock(int fd) : m_fd(fd) {}
    int m_fd;
};
