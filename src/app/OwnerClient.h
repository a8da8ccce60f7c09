#pragma once

#include "app/InstanceChannel.h"

#include <QJsonObject>
#include <QStringList>
#include <optional>

// The side of a process that does not own the library: it hands its request to the owner.
namespace OwnerClient {
struct Outcome {
    enum class Status { answered, noOwner, failed };
    Status status = Status::failed;
    InstanceChannel::Reply reply; // when answered
    int exitCode = 1;             // when failed
    QString error;                // when failed
};

struct Options {
    // How long the owner may take to answer once it has the request.
    int replyTimeoutMs = 60000;
    // How long to keep trying to reach an owner (one starting up or leaving).
    int reachTimeoutMs = 20000;
    // The request may be sent again when an owner took it and went away without answering
    // (harmless for intents, syncs and backups; not for runs).
    bool retryUnanswered = true;
    // Given: when nobody answers, a windowless owner is started with these arguments.
    std::optional<QStringList> backgroundArguments;
};

Outcome send(const QString &dataDirectory, const QJsonObject &request, const Options &options);
// Prints why an outcome that was not answered failed and returns its exit code.
int reportUnanswered(const Outcome &outcome);
// Sends a request answered with a JSON object and hands back the object; when the owner did not
// answer or answered with {"error", "exitCode" (default 1)}, prints why and sets *exitCode.
std::optional<QJsonObject> sendForObject(const QString &dataDirectory, const QJsonObject &request,
                                         const Options &options, int *exitCode);
} // namespace OwnerClient
