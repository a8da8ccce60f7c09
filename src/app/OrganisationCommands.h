#pragma once

class InstanceChannel;
class ModelContext;
struct CommandLine;

// `thimblecraft export [FILE|-]`: the organisation from a store opened for reading.
int runExportCommand(const ModelContext &context, const CommandLine &commandLine);
// `thimblecraft import FILE [--dry-run] [--json]`: merged by the library's owner (a windowless
// one is started when none runs), in one save.
int runImportCommand(const CommandLine &commandLine);
// Makes the owner merge organisation files other invocations name.
void installImportEndpoint(InstanceChannel &channel);
