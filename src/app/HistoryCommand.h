#pragma once

#include "model/RunEntry.h"

#include <QJsonObject>
#include <QString>

class InstanceChannel;
class ModelContext;
class ShortcutItem;
struct CommandLine;

// `thimblecraft history`: the run history read from a store opened for reading; with --clear,
// handed to the library's owner. Each returns the exit code.
int runHistoryCommand(const ModelContext &context, const CommandLine &commandLine);
int runClearHistoryCommand(const CommandLine &commandLine);
// In the owner: clears what a clear-history request names.
void installClearHistoryEndpoint(InstanceChannel &channel, ModelContext &context);

// One entry as the history command's --json prints it (and show's latestOutcome).
QJsonObject runEntryJson(const RunEntry &entry, const ShortcutItem *item);
