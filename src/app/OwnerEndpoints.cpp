#include "app/OwnerEndpoints.h"

#include "app/HistoryCommand.h"
#include "app/IntentCommand.h"
#include "app/OrganisationCommands.h"
#include "app/RunCommand.h"
#include "shortcuts/ShortcutRunner.h"
#include "sync/LibrarySyncController.h"

void installOwnerEndpoints(InstanceChannel &channel, LibrarySyncController &controller,
                           ShortcutRunner &runner)
{
    installIntentEndpoint(channel, controller);
    installRunEndpoint(channel, runner);
    runner.setCallbackContext(&controller.context());
    installImportEndpoint(channel);
    installClearHistoryEndpoint(channel, controller.context());
}
