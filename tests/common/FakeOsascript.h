#pragma once

#include <QFile>
#include <QTemporaryDir>

// A stand-in for osascript: records its arguments and standard input, then replays a recorded
// standard output, standard error and exit code from files beside it.
class FakeOsascript {
public:
    FakeOsascript()
    {
        m_program = m_dir.filePath(QStringLiteral("osascript"));
        QFile f(m_program);
        f.open(QIODevice::WriteOnly);
        f.write("#!/bin/sh\n"
                "dir=$(dirname \"$0\")\n"
                "printf '%s\\n' \"$@\" > \"$dir/args\"\n"
                "cat > \"$dir/stdin\"\n"
                "[ -f \"$dir/stdout\" ] && cat \"$dir/stdout\"\n"
                "[ -f \"$dir/stderr\" ] && cat \"$dir/stderr\" >&2\n"
                "exit $(cat \"$dir/exitcode\" 2>/dev/null || echo 0)\n");
        f.close();
        f.setPermissions(f.permissions() | QFileDevice::ExeOwner);
    }
    const QString &program() const { return m_program; }
    void replay(const QByteArray &out, const QByteArray &err = {}, int exitCode = 0)
    {
        write(QStringLiteral("stdout"), out);
        write(QStringLiteral("stderr"), err);
        write(QStringLiteral("exitcode"), QByteArray::number(exitCode));
    }
    QByteArray recorded(const QString &name) const
    {
        QFile f(m_dir.filePath(name));
        f.open(QIODevice::ReadOnly);
        return f.readAll();
    }

private:
    void write(const QString &name, const QByteArray &bytes)
    {
        QFile f(m_dir.filePath(name));
        f.open(QIODevice::WriteOnly);
        f.write(bytes);
    }
    QTemporaryDir m_dir;
    QString m_program;
};
