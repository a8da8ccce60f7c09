#include "app/IntentCommand.h"

#include "app/CommandLine.h"
#include "app/InstanceChannel.h"
#include "app/SyncCommand.h"
#include "model/AppSettings.h"
#include "shortcuts/ScriptHost.h"
#include "simulator/SimulatedHelperShortcut.h"
#include "simulator/SimulatedShortcutsEvents.h"
#include "sync/LibrarySyncController.h"
#include "sync/SyncIntents.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QProcess>
#include <QThread>
#include <cstdio>

namespace {
void print(FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
}

// The same program, headless, with the options that choose its data and its Shortcuts.
bool startBackgroundInstance(const CommandLine &commandLine)
{
    QStringList arguments{QStringLiteral("--background")};
    if (!commandLine.dataDir.isEmpty())
        arguments << QStringLiteral("--data-dir") << AppSettings::dataDirectory();
    if (!commandLine.scriptHost.isEmpty())
        arguments << QStringLiteral("--script-host") << commandLine.scriptHost;
    if (!commandLine.simulatorLibrary.isEmpty())
        arguments << QStringLiteral("--simulator-library")
                  << QFileInfo(commandLine.simulatorLibrary).absoluteFilePath();
    return QProcess::startDetached(QCoreApplication::applicationFilePath(), arguments);
}
} // namespace

int runIntentCommand(const CommandLine &commandLine)
{
    const QString action = commandLine.intentAction;
    QStringList arguments = commandLine.intentArguments;
    if (action == QLatin1String("import")) {
        QString error;
        auto request = ImportShortcutRequest::fromArguments(arguments, &error);
        if (!request) {
            print(stderr, QStringLiteral("thimblecraft: %1\n").arg(error));
            return 2;
        }
        // The running instance has another working directory.
        if (request->iconPath)
            request->iconPath = QFileInfo(*request->iconPath).absoluteFilePath();
        arguments = request->toArguments();
    } else if (action != QLatin1String("begin") && action != QLatin1String("finish")) {
        print(stderr, QStringLiteral("thimblecraft: unknown intent %1 (begin, import or finish)\n")
                          .arg(action));
        return 2;
    } else if (!arguments.isEmpty()) {
        print(stderr, QStringLiteral("thimblecraft: intent %1 takes no options\n").arg(action));
        return 2;
    }

    QString error;
    const QString path = InstanceChannel::socketPath(AppSettings::dataDirectory(), &error);
    if (path.isEmpty()) {
        print(stderr, QStringLiteral("thimblecraft: %1\n").arg(error));
        return 1;
    }
    const QJsonObject request = InstanceChannel::intentRequest(action, arguments);
    auto result = InstanceChannel::send(path, request);
    if (result.status == InstanceChannel::SendResult::Status::noInstance) {
        if (!startBackgroundInstance(commandLine)) {
            print(stderr, QStringLiteral("thimblecraft: cannot start Thimblecraft\n"));
            return 1;
        }
        const QDeadlineTimer deadline(20000);
        do {
            QThread::msleep(100);
            result = InstanceChannel::send(path, request);
        } while (result.status == InstanceChannel::SendResult::Status::noInstance &&
                 !deadline.hasExpired());
    }
    if (result.status != InstanceChannel::SendResult::Status::delivered) {
        print(stderr, QStringLiteral("thimblecraft: %1\n").arg(result.error));
        return 1;
    }
    if (!result.reply.ok) {
        print(stderr, result.reply.text + QLatin1Char('\n'));
        return 1;
    }
    if (!result.reply.text.isEmpty())
        print(stdout, result.reply.text + QLatin1Char('\n'));
    return 0;
}

void installIntentEndpoint(InstanceChannel &channel, LibrarySyncController &controller)
{
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
