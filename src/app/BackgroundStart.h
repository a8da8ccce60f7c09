#pragma once

#include <QString>
#include <QStringList>

// Starting a windowless instance for a command that found no owner, and that instance's one
// report back to its starter: whether it became the library's owner.
namespace BackgroundStart {
struct Result {
    enum class Status { ready, ownerExists, failed };
    Status status = Status::failed;
    int exitCode = 1;
    QString message;
};

// Starts this program with arguments in a session of its own, its standard input, output and
// error on /dev/null (a command whose output is captured returns as soon as it has answered),
// and waits up to timeoutMs for its report.
Result start(const QStringList &arguments, int timeoutMs);

// Starts this program with arguments the same way, without waiting for anything (a window).
bool detach(const QStringList &arguments);

// In the started instance: tells the starter the outcome. Later calls do nothing; without a
// starter (started by hand) nothing is sent.
void reportReady();
void reportOwnerExists();
void reportFailure(int exitCode, const QString &message);
} // namespace BackgroundStart
