#include "app/OpenCommand.h"

#include "app/BackgroundStart.h"
#include "app/CommandLine.h"
#include "app/ConsoleOutput.h"
#include "app/InstanceChannel.h"
#include "app/IntentCommand.h"
#include "model/AppSettings.h"
#include "model/LibraryLinks.h"

int runOpenCommand(const CommandLine &commandLine)
{
    QUrl link;
    if (!commandLine.shortcut.isEmpty()) {
        link = LibraryLinks::openShortcut(commandLine.shortcut);
    } else {
        const QString text =
            commandLine.section.isEmpty() ? QStringLiteral("all") : commandLine.section;
        const auto section = LibrarySection::fromText(text);
        if (!section) {
            printTo(stderr, QStringLiteral("thimblecraft: unknown section \"%1\"\n").arg(text));
            return 2;
        }
        link = LibraryLinks::openSection(*section);
    }
    const QString socket = InstanceChannel::socketPath(AppSettings::dataDirectory());
    const auto activated = InstanceChannel::send(socket, InstanceChannel::activateRequest(), 5000);
    if (activated.status == InstanceChannel::SendResult::Status::delivered && activated.reply.ok) {
        const auto opened = InstanceChannel::send(socket, InstanceChannel::openUrlRequest(link));
        if (opened.status == InstanceChannel::SendResult::Status::delivered && opened.reply.ok)
            return 0;
    }
    // No window: one is started with the link (it takes the library from a windowless owner).
    if (!BackgroundStart::detach(ownerArguments(commandLine)
                                 << link.toString(QUrl::FullyEncoded))) {
        printTo(stderr, QStringLiteral("thimblecraft: cannot start the window\n"));
        return 1;
    }
    return 0;
}
