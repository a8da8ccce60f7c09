#pragma once

#include <QJsonObject>

struct CommandLine;
class InstanceChannel;
class LibraryWindow;

// `thimblecraft quick-run`: Quick Run over the window, which is started when none shows the
// library. Returns the exit code.
int runQuickRunCommand(const CommandLine &commandLine);

// {"kind": "quick-run"}: the window comes forward with Quick Run open.
QJsonObject quickRunRequest();
void installQuickRunEndpoint(InstanceChannel &channel, LibraryWindow &window);
