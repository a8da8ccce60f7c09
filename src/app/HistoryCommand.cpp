#include "app/HistoryCommand.h"

#include "app/CommandLine.h"
#include "app/ConsoleOutput.h"
#include "app/InstanceChannel.h"
#include "app/IntentCommand.h"
#include "app/OwnerClient.h"
#include "app/ReadCommands.h"
#include "model/AppSettings.h"
#include "model/ModelContext.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPointer>
#include <QTimeZone>

namespace {
QString isoText(const QDateTime &date)
{
    return date.toUTC().toString(Qt::ISODateWithMs);
}

// YYYY-MM-DD (the start of that day, UTC) or an ISO date and time.
std::optional<QDateTime> parsedSince(const QString &text)
{
    const QDate day = QDate::fromString(text, Qt::ISODate);
    if (day.isValid() && text.size() == 10)
        return day.startOfDay(QTimeZone::utc());
    const QDateTime moment = QDateTime::fromString(text, Qt::ISODateWithMs);
    if (moment.isValid())
        return moment;
    return std::nullopt;
}
} // namespace

QJsonObject runEntryJson(const RunEntry &entry, const ShortcutItem *item)
{
    const bool failed = entry.outcome == RunOutcome::failed;
    const bool succeeded = entry.outcome == RunOutcome::succeeded;
    return QJsonObject{
        {QStringLiteral("id"), entry.id},
        {QStringLiteral("shortcut"), item ? QJsonValue(item->name()) : QJsonValue()},
        {QStringLiteral("identifier"), item ? QJsonValue(item->identifier()) : QJsonValue()},
        {QStringLiteral("startedAt"), isoText(entry.startedAt)},
        {QStringLiteral("durationMs"),
         entry.durationMs ? QJsonValue(*entry.durationMs) : QJsonValue()},
        {QStringLiteral("hasInput"), entry.input.has_value()},
        {QStringLiteral("input"), entry.input ? QJsonValue(*entry.input) : QJsonValue()},
        {QStringLiteral("outcome"), storedName(entry.outcome)},
        {QStringLiteral("output"), succeeded ? QJsonValue(entry.text) : QJsonValue()},
        {QStringLiteral("error"), failed ? QJsonValue(entry.text) : QJsonValue()},
        {QStringLiteral("source"), storedName(entry.source)},
    };
}

int runHistoryCommand(const ModelContext &context, const CommandLine &commandLine)
{
    RunHistoryFilter filter;
    filter.failedOnly = commandLine.failedOnly;
    if (!commandLine.since.isEmpty()) {
        filter.since = parsedSince(commandLine.since);
        if (!filter.since) {
            printTo(stderr, QStringLiteral("thimblecraft: --since needs a date (YYYY-MM-DD) or an "
                                           "ISO date and time, not \"%1\"\n")
                                .arg(commandLine.since));
            return 2;
        }
    }
    if (!commandLine.shortcut.isEmpty()) {
        int exitCode = 0;
        QString message;
        const ShortcutItem *item =
            uniqueShortcut(context, commandLine.shortcut, &exitCode, &message);
        if (!item) {
            printTo(stderr, QStringLiteral("thimblecraft: %1\n").arg(message));
            return exitCode;
        }
        filter.itemId = item->persistentId();
    }
    QHash<qint64, const ShortcutItem *> items;
    for (const ShortcutItem *item : context.shortcuts())
        items.insert(item->persistentId(), item);
    const QList<RunEntry> entries = context.runHistory(filter);
    if (commandLine.json) {
        QJsonArray array;
        for (const RunEntry &entry : entries)
            array.append(runEntryJson(entry, items.value(entry.itemId)));
        printTo(stdout, QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Indented)));
        return 0;
    }
    QString text;
    for (const RunEntry &entry : entries) {
        const ShortcutItem *item = items.value(entry.itemId);
        text += QStringLiteral("%1  %2  ·  %3  ·  %4\n")
                    .arg(isoText(entry.startedAt),
                         item ? item->name() : QStringLiteral("(deleted shortcut)"),
                         runEntrySummary(entry), storedName(entry.source));
        if (!entry.firstLine().isEmpty())
            text += QStringLiteral("    ") + entry.firstLine() + QLatin1Char('\n');
    }
    printTo(stdout, text.isEmpty() ? QStringLiteral("No runs recorded.\n") : text);
    return 0;
}

int runClearHistoryCommand(const CommandLine &commandLine)
{
    OwnerClient::Options options;
    options.backgroundArguments = backgroundArguments(commandLine);
    const QJsonObject request{{QStringLiteral("kind"), QStringLiteral("clear-history")},
                              {QStringLiteral("shortcut"), commandLine.shortcut}};
    int exitCode = 0;
    const auto reply =
        OwnerClient::sendForObject(AppSettings::dataDirectory(), request, options, &exitCode);
    if (!reply)
        return exitCode;
    printTo(stdout, reply->value(QLatin1String("text")).toString() + QLatin1Char('\n'));
    return 0;
}

void installClearHistoryEndpoint(InstanceChannel &channel, ModelContext &context)
{
    QPointer<ModelContext> target(&context);
    channel.setRequestHandler(
        QStringLiteral("clear-history"),
        [target](QJsonObject request) -> QCoro::Task<InstanceChannel::Reply> {
            const auto reply = &InstanceChannel::jsonReply;
            if (!target)
                co_return reply(
                    {{QStringLiteral("error"), QStringLiteral("Thimblecraft is quitting.")}},
                    false);
            const QString reference = request.value(QLatin1String("shortcut")).toString();
            const ShortcutItem *item = nullptr;
            if (!reference.isEmpty()) {
                int exitCode = 0;
                QString message;
                item = uniqueShortcut(*target, reference, &exitCode, &message);
                if (!item)
                    co_return reply({{QStringLiteral("error"), message},
                                     {QStringLiteral("exitCode"), exitCode}},
                                    false);
            }
            target->clearRunHistory(item);
            QString error;
            if (!target->save(&error))
                co_return reply({{QStringLiteral("error"),
                                  QStringLiteral("the library could not be saved: ") + error}},
                                false);
            co_return reply(
                {{QStringLiteral("text"),
                  item ? QStringLiteral("Cleared the run history of “%1”.").arg(item->name())
                       : QStringLiteral("Cleared the run history.")}},
                true);
        });
}
