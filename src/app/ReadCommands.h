#pragma once

#include <QString>

class ModelContext;
struct CommandLine;

// `thimblecraft folders|tags|smart-lists|show`: the library's organisation for people (text) and
// scripts (--json), read from a store opened for reading. Each returns the exit code.
int runFoldersCommand(const ModelContext &context, const CommandLine &commandLine);
int runTagsCommand(const ModelContext &context, const CommandLine &commandLine);
int runSmartListsCommand(const ModelContext &context, const CommandLine &commandLine);
int runShowCommand(const ModelContext &context, const CommandLine &commandLine);

// The one shortcut a reference names, or the exit code and message of a reference that names
// none (1) or several (2, with the candidates listed).
class ShortcutItem;
ShortcutItem *uniqueShortcut(const ModelContext &context, const QString &reference, int *exitCode,
                             QString *message);
