#pragma once

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStringList>

// The real program as a child process. THIMBLECRAFT_PROGRAM runs another build of it (an older
// one, to show a test failing there).
inline QString programPath()
{
    const QString other = qEnvironmentVariable("THIMBLECRAFT_PROGRAM");
    if (!other.isEmpty())
        return other;
    return qEnvironmentVariable("THIMBLECRAFT_BINARY_DIR") +
           QStringLiteral("/src/app/thimblecraft");
}

struct Run {
    bool crashed = false; // killed, crashed or out of time
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

inline Run finishedRun(QProcess &p, int timeoutMs)
{
    Run r;
    if (!p.waitForFinished(timeoutMs)) {
        p.kill();
        p.waitForFinished();
        r.crashed = true;
    }
    r.crashed = r.crashed || p.exitStatus() != QProcess::NormalExit;
    r.exitCode = p.exitCode();
    r.out = p.readAllStandardOutput();
    r.err = p.readAllStandardError();
    return r;
}

inline Run runProgram(const QString &program, const QStringList &arguments, int timeoutMs = 30000)
{
    QProcess p;
    p.start(program, arguments);
    return finishedRun(p, timeoutMs);
}

// Points a command at a library and at the simulated Shortcuts app that answers for it.
inline QStringList libraryArguments(const QString &dataDir, const QString &simulatorLibrary)
{
    return {QStringLiteral("--data-dir"),          dataDir,
            QStringLiteral("--script-host"),       QStringLiteral("simulator"),
            QStringLiteral("--simulator-library"), simulatorLibrary};
}

inline Run runThimblecraft(const QStringList &arguments, int timeoutMs = 30000)
{
    return runProgram(programPath(), arguments, timeoutMs);
}
