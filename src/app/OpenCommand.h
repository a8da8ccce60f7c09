#pragma once

#include <QJsonObject>
#include <QList>
#include <QStringList>

struct CommandLine;

// `thimblecraft open [SECTION | --shortcut SHORTCUT]`: the window comes forward at that place;
// one is started when none is open. Returns the exit code.
int runOpenCommand(const CommandLine &commandLine);

// Hands the requests, in turn, to the window that shows this command line's library; when there
// is none (or only a windowless owner), starts one with windowArguments and does not wait for
// it. Returns the exit code: 0, or 1 when no window could be started.
int handToWindow(const CommandLine &commandLine, const QList<QJsonObject> &requests,
                 const QStringList &windowArguments);
