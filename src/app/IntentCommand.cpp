#include "app/IntentCommand.h"

#include "app/BackupCommand.h"
#include "app/CommandLine.h"
#include "app/ConsoleOutput.h"
#include "app/InstanceChannel.h"
#include "app/OwnerClient.h"
#include "app/SyncCommand.h"
#include "model/AppSettings.h"
#include "model/ModelContext.h"
#include "shortcuts/ScriptHost.h"
#include "simulator/SimulatedHelperShortcut.h"
#include "simulator/SimulatedShortcutsEvents.h"
#include "sync/LibrarySyncController.h"
#include "sync/SyncIntents.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

QStringList ownerArguments(const CommandLine &commandLine)
{
    QStringList arguments;
    if (!commandLine.dataDir.isEmpty())
        arguments << QStringLiteral("--data-dir") << AppSettings::dataDirectory();
    if (!commandLine.scriptHost.isEmpty())
        arguments << QStringLiteral("--script-host") << commandLine.scriptHost;
    if (!commandLine.simulatorLibrary.isEmpty())
        arguments << QStringLiteral("--simulator-library")
                  << QFileInfo(commandLine.simulatorLibrary).absoluteFilePath();
    return arguments;
}

QStringList backgroundArguments(const CommandLine &commandLine)
{
    return QStringList{QStringLiteral("--background")} + ownerArguments(commandLine);
}

int runIntentCommand(const CommandLine &commandLine)
{
    const QString action = commandLine.intentAction;
    QStringList arguments = commandLine.intentArguments;
    if (action == QLatin1String("import")) {
        QString error;
        auto request = ImportShortcutRequest::fromArguments(arguments, &error);
        if (!request) {
            printTo(stderr, QStringLiteral("thimblecraft: %1\n").arg(error));
            return 2;
        }
        // The running instance has another working directory.
        if (request->iconPath)
            request->iconPath = QFileInfo(*request->iconPath).absoluteFilePath();
        arguments = request->toArguments();
    } else if (action != QLatin1String("begin") && action != QLatin1String("finish")) {
        printTo(stderr,
                QStringLiteral("thimblecraft: unknown intent %1 (begin, import or finish)\n")
                    .arg(action));
        return 2;
    } else if (!arguments.isEmpty()) {
        printTo(stderr, QStringLiteral("thimblecraft: intent %1 takes no options\n").arg(action));
        return 2;
    }

    OwnerClient::Options options;
    options.backgroundArguments = backgroundArguments(commandLine);
    const auto result = OwnerClient::send(
        AppSettings::dataDirectory(), InstanceChannel::intentRequest(action, arguments), options);
    if (result.status != OwnerClient::Outcome::Status::answered)
        return OwnerClient::reportUnanswered(result);
    if (!result.reply.ok) {
        printTo(stderr, result.reply.text + QLatin1Char('\n'));
        return 1;
    }
    if (!result.reply.text.isEmpty())
        printTo(stdout, result.reply.text + QLatin1Char('\n'));
    return 0;
}

void installIntentEndpoint(InstanceChannel &channel, LibrarySyncController &controller)
{
    controller.useImportJournal(
        QDir(AppSettings::dataDirectory()).filePath(QStringLiteral("Pending Imports.jsonl")));
    QPointer<LibrarySyncController> target(&controller);
    channel.setIntentHandler([target](QString action, QStringList arguments)
                                 -> QCoro::Task<InstanceChannel::Reply> {
        if (!target)
            co_return InstanceChannel::Reply{false, QStringLiteral("Thimblecraft is quitting.")};
        const auto outcome = co_await SyncIntents::perform(*target, action, arguments);
        co_return InstanceChannel::Reply{outcome.ok, outcome.text};
    });
    channel.setSyncHandler([target]() -> QCoro::Task<InstanceChannel::Reply> {
        if (!target)
            co_return InstanceChannel::Reply{false, QStringLiteral("Thimblecraft is quitting.")};
        auto syncing = syncToEnd(*target);
        co_return co_await syncing;
    });

    channel.setBackupHandler([target](const QString &path, bool force) {
        LibraryStore *store = target ? target->context().store() : nullptr;
        if (!store)
            return InstanceChannel::Reply{false, QStringLiteral("Thimblecraft is quitting.")};
        QString message;
        const bool ok = backUpLibrary(*store, path, force, &message);
        return InstanceChannel::Reply{ok, message};
    });

    const QString path = channel.path();
    SimulatedHelperShortcut::setIntentSender(
        [path](const QString &action, const QStringList &arguments) {
            const auto result =
                InstanceChannel::send(path, InstanceChannel::intentRequest(action, arguments));
            if (result.status != InstanceChannel::SendResult::Status::delivered)
                return SimulatedHelperShortcut::IntentResult{false, result.error};
            return SimulatedHelperShortcut::IntentResult{result.reply.ok, result.reply.text};
        });
    if (auto *simulator = dynamic_cast<SimulatedShortcutsEvents *>(ScriptHost::shared().get()))
        SimulatedHelperShortcut::setLibraryPath(simulator->libraryPath());
}
