#include "app/RunCommand.h"

#include "app/CommandLine.h"
#include "app/ConsoleOutput.h"
#include "app/IntentCommand.h"
#include "app/OwnerClient.h"
#include "app/ReadCommands.h"
#include "model/AppSettings.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "model/ShortcutItem.h"
#include "shortcuts/ShortcutRunner.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>

namespace {
// What an input may be at most: a run's input travels in one channel message.
constexpr qint64 maxInputSize = 512 * 1024;

QJsonObject outcomeJson(const QString &identifier, const ShortcutRunner::Outcome &outcome)
{
    QJsonObject o{{QStringLiteral("name"), outcome.shortcutName},
                  {QStringLiteral("identifier"), identifier},
                  {QStringLiteral("ok"), !outcome.error.has_value()},
                  {QStringLiteral("date"), outcome.date.toUTC().toString(Qt::ISODateWithMs)}};
    o.insert(QStringLiteral("output"), outcome.output ? QJsonValue(*outcome.output) : QJsonValue());
    o.insert(QStringLiteral("error"), outcome.error ? QJsonValue(*outcome.error) : QJsonValue());
    return o;
}

std::optional<QString> readInput(const CommandLine &commandLine, QString *error)
{
    if (commandLine.input)
        return commandLine.input;
    if (commandLine.inputFile.isEmpty())
        return std::nullopt;
    QFile file;
    const bool standardInput = commandLine.inputFile == QLatin1String("-");
    const bool opened =
        standardInput ? file.open(stdin, QIODevice::ReadOnly)
                      : (file.setFileName(commandLine.inputFile), file.open(QIODevice::ReadOnly));
    if (!opened) {
        *error = QStringLiteral("cannot read %1").arg(commandLine.inputFile);
        return std::nullopt;
    }
    const QByteArray bytes = file.read(maxInputSize + 1);
    if (bytes.size() > maxInputSize) {
        *error = QStringLiteral("the input is larger than %1 KB").arg(maxInputSize / 1024);
        return std::nullopt;
    }
    return QString::fromUtf8(bytes);
}
} // namespace

void installRunEndpoint(InstanceChannel &channel, ShortcutRunner &runner)
{
    QPointer<ShortcutRunner> target(&runner);
    channel.setRequestHandler(
        QStringLiteral("run"),
        [target](QJsonObject request) -> QCoro::Task<InstanceChannel::Reply> {
            const QString reference = request.value(QLatin1String("shortcut")).toString();
            const QJsonValue inputValue = request.value(QLatin1String("input"));
            if (!target || reference.isEmpty() ||
                !(inputValue.isString() || inputValue.isUndefined()))
                co_return InstanceChannel::jsonReply(
                    {{QStringLiteral("error"), QStringLiteral("malformed run request")},
                     {QStringLiteral("exitCode"), 2}},
                    false);
            int exitCode = 1;
            QString message;
            ShortcutItem *item =
                uniqueShortcut(LibraryStoreContainer::shared(), reference, &exitCode, &message);
            if (!item)
                co_return InstanceChannel::jsonReply(
                    {{QStringLiteral("error"), message}, {QStringLiteral("exitCode"), exitCode}},
                    false);
            const QString identifier = item->identifier(); // the item may go while it runs
            std::optional<QString> input;
            if (inputValue.isString())
                input = inputValue.toString();
            auto running = target->runForOutcome(item, input, RunSource::commandLine);
            const auto outcome = co_await running;
            if (!outcome)
                co_return InstanceChannel::jsonReply(
                    {{QStringLiteral("error"), QStringLiteral("Thimblecraft is quitting.")}},
                    false);
            co_return InstanceChannel::jsonReply(outcomeJson(identifier, *outcome),
                                                 !outcome->error);
        });
}

int runRunCommand(const CommandLine &commandLine)
{
    QString error;
    const auto input = readInput(commandLine, &error);
    if (!error.isEmpty()) {
        printTo(stderr, QStringLiteral("thimblecraft: %1\n").arg(error));
        return 1;
    }
    QJsonObject request{{QStringLiteral("kind"), QStringLiteral("run")},
                        {QStringLiteral("shortcut"), commandLine.shortcut}};
    if (input)
        request.insert(QStringLiteral("input"), *input);
    OwnerClient::Options options;
    options.replyTimeoutMs = 24 * 60 * 60 * 1000; // a run takes as long as it takes
    options.retryUnanswered = false;              // a run is not repeated behind anyone's back
    options.backgroundArguments = backgroundArguments(commandLine);
    const auto sent = OwnerClient::send(AppSettings::dataDirectory(), request, options);
    if (sent.status != OwnerClient::Outcome::Status::answered)
        return OwnerClient::reportUnanswered(sent);
    const QJsonObject outcome = QJsonDocument::fromJson(sent.reply.text.toUtf8()).object();
    const int exitCode = sent.reply.ok ? 0 : outcome.value(QLatin1String("exitCode")).toInt(1);
    if (commandLine.json && outcome.contains(QLatin1String("ok"))) {
        printTo(stdout, QString::fromUtf8(QJsonDocument(outcome).toJson(QJsonDocument::Indented)));
        return exitCode;
    }
    if (sent.reply.ok) {
        const QString output = outcome.value(QLatin1String("output")).toString();
        printTo(stdout,
                output.isEmpty() || output.endsWith(QLatin1Char('\n')) ? output : output + u'\n');
        return 0;
    }
    const QString message = outcome.value(QLatin1String("error")).toString();
    printTo(stderr, (exitCode == 1 && outcome.contains(QLatin1String("ok"))
                         ? message
                         : QStringLiteral("thimblecraft: %1").arg(message)) +
                        QLatin1Char('\n'));
    return exitCode;
}
