#include "app/OwnerEndpoints.h"

#include "app/IntentCommand.h"
#include "app/OrganisationCommands.h"
#include "app/RunCommand.h"

void installOwnerEndpoints(InstanceChannel &channel, LibrarySyncController &controller,
                           ShortcutRunner &runner)
{
    installIntentEndpoint(channel, controller);
    installRunEndpoint(channel, runner);
    installImportEndpoint(channel);
}
