#include "shortcuts/OsascriptHost.h"

#include "shortcuts/ScriptReplyParser.h"

#include <QProcess>
#include <QRegularExpression>
#include <QStorageInfo>

namespace {
constexpr qsizetype maximumErrorBytes = 64 * 1024;
}

OsascriptHost::OsascriptHost(QString program) : m_program(std::move(program)) {}

QString OsascriptHost::defaultProgram()
{
    const QString configured = qEnvironmentVariable("THIMBLECRAFT_OSASCRIPT");
    return configured.isEmpty() ? QStringLiteral("osascript") : configured;
}

ScriptHostReply OsascriptHost::failureFromStandardError(const QByteArray &standardError)
{
    const QString text = QString::fromUtf8(standardError).trimmed();
    // osascript reports both kinds as "<range>: execution error: MESSAGE (NUMBER)".
    static const QRegularExpression pattern(
        QStringLiteral(R"((?:execution|syntax) error: (.*) \((-?\d+)\)$)"),
        QRegularExpression::DotMatchesEverythingOption);
    const auto match = pattern.match(text);
    if (match.hasMatch()) {
        bool ok = false;
        const qint64 number = match.captured(2).toLongLong(&ok);
        return ScriptHostReply::failure(ok ? std::optional(number) : std::nullopt,
                                        match.captured(1));
    }
    static const QRegularExpression bare(QStringLiteral(R"((?:execution|syntax) error: (.*)$)"),
                                         QRegularExpression::DotMatchesEverythingOption);
    const auto bareMatch = bare.match(text);
    if (bareMatch.hasMatch())
        return ScriptHostReply::failure(std::nullopt, bareMatch.captured(1));
    return ScriptHostReply::failure(std::nullopt,
                                    text.isEmpty() ? std::nullopt : std::optional(text));
}

ScriptHostReply OsascriptHost::execute(const QString &script)
{
    QProcess process;
    process.setProgram(m_program.isEmpty() ? defaultProgram() : m_program);
    process.setArguments({QStringLiteral("-s"), QStringLiteral("s")});
    process.start();
    if (!process.waitForStarted(-1))
        return ScriptHostReply::failure(-600, process.errorString());
    process.write(script.toUtf8());
    process.closeWriteChannel();

    // Read as it comes so that a runaway reply is cut off instead of filling memory.
    QByteArray out;
    QByteArray err;
    bool tooLarge = false;
    auto drain = [&] {
        out += process.readAllStandardOutput();
        const QByteArray e = process.readAllStandardError();
        if (err.size() < maximumErrorBytes)
            err += e.left(maximumErrorBytes - err.size());
        if (out.size() > ScriptReplyParser::maximumBytes && !tooLarge) {
            tooLarge = true;
            process.kill();
        }
    };
    while (process.state() != QProcess::NotRunning) {
        process.waitForReadyRead(100);
        drain();
    }
    drain();
    if (tooLarge)
        return ScriptHostReply::notUnderstood();
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return failureFromStandardError(err);

    ScriptReplyParser::Options options;
    const QString root = QStorageInfo::root().name();
    if (!root.isEmpty())
        options.startupVolume = root;
    auto reply = ScriptReplyParser::parse(out, nullptr, options);
    if (!reply)
        return ScriptHostReply::notUnderstood();
    return ScriptHostReply::success(*reply);
}
