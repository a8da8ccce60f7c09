#include "app/OwnerClient.h"

#include "app/BackgroundStart.h"
#include "app/ConsoleOutput.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QThread>

OwnerClient::Outcome OwnerClient::send(const QString &dataDirectory, const QJsonObject &request,
                                       const Options &options)
{
    using SendStatus = InstanceChannel::SendResult::Status;
    QString error;
    const QString path = InstanceChannel::socketPath(dataDirectory, &error);
    if (path.isEmpty())
        return {Outcome::Status::failed, {}, 1, error};
    const QDeadlineTimer deadline(options.reachTimeoutMs);
    QElapsedTimer sinceStart;
    for (;;) {
        const auto sent = InstanceChannel::send(path, request, options.replyTimeoutMs);
        if (sent.status == SendStatus::delivered)
            return {Outcome::Status::answered, sent.reply, 0, {}};
        if (sent.status == SendStatus::failed ||
            (sent.status == SendStatus::unanswered && !options.retryUnanswered))
            return {Outcome::Status::failed, {}, 1, sent.error};
        if (sent.status == SendStatus::unanswered) {
            // The owner is leaving; the next one takes the request.
            if (deadline.hasExpired())
                return {Outcome::Status::failed, {}, 1, sent.error};
            QThread::msleep(50);
            continue;
        }
        if (!options.backgroundArguments)
            return {Outcome::Status::noOwner, {}, 0, {}};
        if (deadline.hasExpired())
            return {Outcome::Status::failed,
                    {},
                    1,
                    QStringLiteral("no Thimblecraft took this library in time")};
        // Nobody listens: the owner is starting, leaving, or there is none. Starting one more
        // is harmless (only one gets the lock), but not in a tight loop.
        if (!sinceStart.isValid() || sinceStart.elapsed() > 500) {
            sinceStart.start();
            const auto started = BackgroundStart::start(
                *options.backgroundArguments, int(qMax<qint64>(1, deadline.remainingTime())));
            if (started.status == BackgroundStart::Result::Status::failed)
                return {Outcome::Status::failed, {}, started.exitCode, started.message};
            if (started.status == BackgroundStart::Result::Status::ready)
                continue;
        }
        QThread::msleep(50);
    }
}

int OwnerClient::reportUnanswered(const Outcome &outcome)
{
    // A store that cannot be opened already reads "Could not open the Thimblecraft store: …".
    printTo(stderr, outcome.exitCode == 70
                        ? outcome.error + QLatin1Char('\n')
                        : QStringLiteral("thimblecraft: %1\n").arg(outcome.error));
    return outcome.exitCode;
}

std::optional<QJsonObject> OwnerClient::sendForObject(const QString &dataDirectory,
                                                      const QJsonObject &request,
                                                      const Options &options, int *exitCode)
{
    const Outcome sent = send(dataDirectory, request, options);
    if (sent.status != Outcome::Status::answered) {
        *exitCode = reportUnanswered(sent);
        return std::nullopt;
    }
    const QJsonObject reply = QJsonDocument::fromJson(sent.reply.text.toUtf8()).object();
    if (!sent.reply.ok) {
        printTo(stderr, QStringLiteral("thimblecraft: %1\n")
                            .arg(reply.value(QLatin1String("error")).toString()));
        *exitCode = reply.value(QLatin1String("exitCode")).toInt(1);
        return std::nullopt;
    }
    return reply;
}
