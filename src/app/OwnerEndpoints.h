#pragma once

class InstanceChannel;
class LibrarySyncController;
class ShortcutRunner;

// Everything an owner serves on its channel for other invocations: the helper's intents, handed
// syncs and backups, runs and organisation imports.
void installOwnerEndpoints(InstanceChannel &channel, LibrarySyncController &controller,
                           ShortcutRunner &runner);
