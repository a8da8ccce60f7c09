#include "app/BackgroundStart.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char **environ;

namespace {
constexpr char reportVariable[] = "THIMBLECRAFT_REPORT_FD";
// The report's descriptor in the started program.
constexpr int reportDescriptor = 3;

// The report is one line: "ready", "owner-exists" or "failed <exit code> <message>".
void report(const QByteArray &line)
{
    static bool sent = false;
    static const int fd = [] {
        bool ok = false;
        const int value = qEnvironmentVariableIntValue(reportVariable, &ok);
        qunsetenv(reportVariable); // not for the programs this one starts
        return ok ? value : -1;
    }();
    if (sent || fd < 0)
        return;
    sent = true;
    const QByteArray bytes = line + '\n';
    qsizetype written = 0;
    while (written < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.constData() + written, size_t(bytes.size() - written));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        written += n;
    }
    ::close(fd);
}

BackgroundStart::Result parseReport(const QByteArray &line)
{
    using Status = BackgroundStart::Result::Status;
    if (line == "ready")
        return {Status::ready, 0, {}};
    if (line == "owner-exists")
        return {Status::ownerExists, 0, {}};
    if (line.startsWith("failed ")) {
        const QByteArray rest = line.mid(7);
        const qsizetype space = rest.indexOf(' ');
        bool ok = false;
        const int code = rest.left(space).toInt(&ok);
        if (ok && space > 0)
            return {Status::failed, code, QString::fromUtf8(rest.mid(space + 1))};
    }
    return {Status::failed, 1,
            QStringLiteral("the background Thimblecraft sent an unreadable report")};
}
} // namespace

namespace {
// This program in a session of its own with its standard streams on /dev/null; reportFd (or -1)
// becomes its descriptor 3. The child's pid, or -1.
pid_t spawn(const QStringList &arguments, int reportFd)
{
    // Everything the child needs is made before fork(): after it only exec-safe calls run.
    const QByteArray program = QFile::encodeName(QCoreApplication::applicationFilePath());
    std::vector<QByteArray> argumentBytes{program};
    for (const QString &a : arguments)
        argumentBytes.push_back(a.toLocal8Bit());
    std::vector<char *> argv;
    for (QByteArray &a : argumentBytes)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    QByteArray reportSetting =
        QByteArray(reportVariable) + '=' + QByteArray::number(reportDescriptor);
    std::vector<char *> envp;
    for (char **e = environ; *e; ++e)
        if (qstrncmp(*e, reportVariable, qstrlen(reportVariable)) != 0)
            envp.push_back(*e);
    if (reportFd >= 0)
        envp.push_back(reportSetting.data());
    envp.push_back(nullptr);

    const int nullFd = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::setsid(); // its own session and process group: a terminal's signals stay with us
        if (nullFd >= 0) {
            ::dup2(nullFd, 0);
            ::dup2(nullFd, 1);
            ::dup2(nullFd, 2);
        }
        if (reportFd >= 0)
            ::dup2(reportFd, reportDescriptor); // dup2 clears close-on-exec on the copy
        ::execve(argv[0], argv.data(), envp.data());
        ::_exit(127);
    }
    if (nullFd >= 0)
        ::close(nullFd);
    return pid;
}
} // namespace

bool BackgroundStart::detach(const QStringList &arguments)
{
    // Not waited for: a window lives as long as the person wants.
    ::signal(SIGCHLD, SIG_IGN);
    return spawn(arguments, -1) > 0;
}

BackgroundStart::Result BackgroundStart::start(const QStringList &arguments, int timeoutMs)
{
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0)
        return {Result::Status::failed, 1, QStringLiteral("cannot start Thimblecraft: no pipe")};
    const pid_t pid = spawn(arguments, fds[1]);
    ::close(fds[1]);
    if (pid < 0) {
        ::close(fds[0]);
        return {Result::Status::failed, 1, QStringLiteral("cannot start Thimblecraft")};
    }

    QByteArray line;
    bool ended = false;
    const QDeadlineTimer deadline(timeoutMs);
    while (!ended && !line.contains('\n') && !deadline.hasExpired()) {
        pollfd p{fds[0], POLLIN, 0};
        const int ready = ::poll(&p, 1, int(qMax<qint64>(1, deadline.remainingTime())));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            break;
        char buffer[512];
        const ssize_t n = ::read(fds[0], buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            ended = true;
        else
            line.append(buffer, n);
    }
    ::close(fds[0]);

    const qsizetype newline = line.indexOf('\n');
    Result result;
    if (newline >= 0) {
        result = parseReport(line.left(newline));
    } else if (ended) {
        result = {Result::Status::failed, 1,
                  QStringLiteral("the background Thimblecraft stopped before it was ready")};
    } else {
        result = {Result::Status::failed, 1,
                  QStringLiteral("the background Thimblecraft did not get ready in time")};
    }
    // One that is not going to serve is reaped here; a ready one outlives this process.
    if (result.status != Result::Status::ready) {
        int status = 0;
        if (::waitpid(pid, &status, ended || newline >= 0 ? 0 : WNOHANG) == 0)
            ::kill(pid, SIGTERM);
    }
    return result;
}

void BackgroundStart::reportReady()
{
    report("ready");
}

void BackgroundStart::reportOwnerExists()
{
    report("owner-exists");
}

void BackgroundStart::reportFailure(int exitCode, const QString &message)
{
    QByteArray text = message.toUtf8();
    text.replace('\n', ' ');
    report("failed " + QByteArray::number(exitCode) + ' ' + text);
}
