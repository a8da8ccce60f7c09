#pragma once

#include "app/InstanceChannel.h"
#include "app/OwnerLock.h"
#include "model/LibraryStoreContainer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QThread>
#include <fcntl.h>

// What the processes of one library look like from outside: who has its store open for
// writing, who owns it, and asking the owner to leave.
namespace LibraryProcesses {

// Processes with the store file open read-write, found through /proc.
inline QSet<qint64> storeWriters(const QString &dataDirectory)
{
    const QString store =
        QFileInfo(LibraryStoreContainer::storePath(dataDirectory)).canonicalFilePath();
    QSet<qint64> writers;
    if (store.isEmpty())
        return writers;
    const QStringList pids = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString &pid : pids) {
        bool numeric = false;
        const qint64 id = pid.toLongLong(&numeric);
        if (!numeric)
            continue;
        const QString fdDir = QStringLiteral("/proc/%1/fd").arg(pid);
        for (const QString &fd : QDir(fdDir).entryList(QDir::Files | QDir::System)) {
            if (QFile::symLinkTarget(fdDir + QLatin1Char('/') + fd) != store)
                continue;
            QFile info(QStringLiteral("/proc/%1/fdinfo/%2").arg(pid, fd));
            if (!info.open(QIODevice::ReadOnly))
                continue;
            for (const QByteArray &line : info.readAll().split('\n')) {
                if (!line.startsWith("flags:"))
                    continue;
                const int flags = line.mid(6).trimmed().toInt(nullptr, 8);
                if ((flags & O_ACCMODE) == O_RDWR)
                    writers.insert(id);
            }
        }
    }
    return writers;
}

// Each process as "pid (arguments)", and who holds the owner lock, for a failure message.
inline QString describe(const QSet<qint64> &pids, const QString &dataDirectory)
{
    QStringList parts;
    for (qint64 pid : pids) {
        QFile cmdline(QStringLiteral("/proc/%1/cmdline").arg(pid));
        QByteArray arguments;
        if (cmdline.open(QIODevice::ReadOnly))
            arguments = cmdline.readAll().replace('\0', ' ').trimmed();
        parts << QStringLiteral("%1 (%2)").arg(QString::number(pid),
                                               QString::fromLocal8Bit(arguments));
    }
    QFile lock(OwnerLock::lockPath(dataDirectory));
    if (lock.open(QIODevice::ReadOnly))
        parts << QStringLiteral("lock names %1").arg(QString::fromLatin1(lock.readAll().trimmed()));
    return parts.join(QStringLiteral(", "));
}

inline bool lockHeld(const QString &dataDirectory)
{
    OwnerLock::Outcome outcome;
    return !OwnerLock::tryAcquire(dataDirectory, &outcome) &&
           outcome == OwnerLock::Outcome::heldElsewhere;
}

// The owner: the process id it wrote into its lock file, else the one process writing the
// store; 0 when there is none.
inline qint64 ownerPid(const QString &dataDirectory)
{
    if (lockHeld(dataDirectory)) {
        QFile file(OwnerLock::lockPath(dataDirectory));
        if (file.open(QIODevice::ReadOnly))
            return file.readAll().trimmed().toLongLong();
    }
    const QSet<qint64> writers = storeWriters(dataDirectory);
    return writers.size() == 1 ? *writers.begin() : 0;
}

inline bool hasOwner(const QString &dataDirectory)
{
    return lockHeld(dataDirectory) || !storeWriters(dataDirectory).isEmpty();
}

// Asks a windowless owner to leave and waits until it has; false when it is still there.
inline bool dismissOwner(const QString &dataDirectory, int timeoutMs = 20000)
{
    for (int waited = 0; waited < timeoutMs; waited += 50) {
        if (!hasOwner(dataDirectory))
            return true;
        InstanceChannel::send(InstanceChannel::socketPath(dataDirectory),
                              InstanceChannel::quitRequest(), 2000);
        QThread::msleep(50);
    }
    return !hasOwner(dataDirectory);
}

} // namespace LibraryProcesses
