#include "app/OwnerLock.h"

#include "app/InstanceChannel.h"

#include <QFile>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

QString OwnerLock::lockPath(const QString &dataDirectory, QString *error)
{
    QString socket = InstanceChannel::socketPath(dataDirectory, error);
    if (socket.isEmpty())
        return {};
    socket.chop(int(std::strlen(".sock")));
    return socket + QStringLiteral(".lock");
}

std::unique_ptr<OwnerLock> OwnerLock::tryAcquire(const QString &dataDirectory, Outcome *outcome,
                                                 QString *error)
{
    auto fail = [&](const QString &message) -> std::unique_ptr<OwnerLock> {
        *outcome = Outcome::failed;
        if (error)
            *error = message;
        return nullptr;
    };
    const QString path = lockPath(dataDirectory, error);
    if (path.isEmpty()) {
        *outcome = Outcome::failed;
        return nullptr;
    }
    const QByteArray native = QFile::encodeName(path);
    // Not inherited by programs this process starts: a child holding the description would
    // hold the lock too.
    const int fd = ::open(native.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0)
        return fail(QStringLiteral("cannot open %1: %2")
                        .arg(path, QString::fromLocal8Bit(std::strerror(errno))));
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || st.st_uid != ::getuid()) {
        ::close(fd);
        return fail(QStringLiteral("%1 is not this user's lock file").arg(path));
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const int code = errno;
        ::close(fd);
        if (code == EWOULDBLOCK) {
            *outcome = Outcome::heldElsewhere;
            return nullptr;
        }
        return fail(QStringLiteral("cannot lock %1: %2")
                        .arg(path, QString::fromLocal8Bit(std::strerror(code))));
    }
    // The holder's process id, for a person looking at who owns the library.
    const QByteArray pid = QByteArray::number(qint64(::getpid())) + '\n';
    if (::ftruncate(fd, 0) == 0)
        (void)!::pwrite(fd, pid.constData(), size_t(pid.size()), 0);
    *outcome = Outcome::acquired;
    return std::unique_ptr<OwnerLock>(new OwnerLock(fd));
}

OwnerLock::~OwnerLock()
{
    if (m_fd < 0)
        return;
    ::flock(m_fd, LOCK_UN);
    ::close(m_fd);
}
