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
    return handToWindow(commandLine,
                        {InstanceChannel::activateRequest(), InstanceChannel::openUrlRequest(link)},
                        {link.toString(QUrl::FullyEncoded)});
}

int handToWindow(const CommandLine &commandLine, const QList<QJsonObject> &requests,
                 const QStringList &windowArguments)
{
    const QString socket = InstanceChannel::socketPath(AppSettings::dataDirectory());
    bool handed = true;
    for (qsizetype i = 0; handed && i < requests.size(); ++i) {
        // The first request finds out quickly whether a window is there at all.
        const auto sent = InstanceChannel::send(socket, requests[i], i == 0 ? 5000 : 60000);
        handed = sent.status == InstanceChannel::SendResult::Status::delivered && sent.reply.ok;
    }
    if (handed)
        return 0;
    // No window: one is started (it takes the library from a windowless owner).
    if (!BackgroundStart::detach(ownerArguments(commandLine) + windowArguments)) {
        printTo(stderr, QStringLiteral("thimblecraft: cannot start the window\n"));
        return 1;
    }
    return 0;
}
