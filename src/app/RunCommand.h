#pragma once

class InstanceChannel;
class ShortcutRunner;
struct CommandLine;

// `thimblecraft run SHORTCUT [--input …] [--json]`: the run happens in the library's owner (the
// window, or a windowless one started for it), which counts it like a run from the window.
// Returns the exit code.
int runRunCommand(const CommandLine &commandLine);

// Makes the owner run shortcuts that other invocations ask for.
void installRunEndpoint(InstanceChannel &channel, ShortcutRunner &runner);
