#include "app/Application.h"

#include "app/CommandLine.h"
#include "app/IntentCommand.h"
#include "app/ListCommand.h"
#include "app/SyncCommand.h"
#include "app/WindowApplication.h"
#include "model/AppSettings.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "simulator/PlatformSetup.h"

#include <QApplication>
#include <cstdio>

namespace {
void printText(FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
}

} // namespace

int runThimblecraft(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    QString error;
    const auto commandLine = CommandLine::parse(arguments, &error);
    if (!commandLine) {
        printText(stderr,
                  QStringLiteral("thimblecraft: %1\n\n%2").arg(error, CommandLine::usage()));
        return 2;
    }
    QCoreApplication::setOrganizationName(QStringLiteral("Thimblecraft"));
    QCoreApplication::setApplicationName(QStringLiteral("Thimblecraft"));
    QCoreApplication::setApplicationVersion(QStringLiteral(THIMBLECRAFT_VERSION));
    if (!commandLine->dataDir.isEmpty())
        AppSettings::useDataDirectory(commandLine->dataDir);

    // The window and every command talk to Shortcuts through the chosen host.
    auto installPlatform = [&]() -> bool {
        const auto kind = commandLine->scriptHost.isEmpty()
                              ? PlatformSetup::defaultScriptHostKind()
                              : PlatformSetup::scriptHostKindFromName(commandLine->scriptHost);
        QString setupError;
        if (!kind || !PlatformSetup::install(*kind, commandLine->simulatorLibrary, &setupError)) {
            printText(stderr, QStringLiteral("thimblecraft: %1\n").arg(setupError));
            return false;
        }
        return true;
    };

    switch (commandLine->command) {
    case CommandLine::Command::help:
        printText(stdout, CommandLine::usage());
        return 0;
    case CommandLine::Command::version:
        printText(stdout,
                  QStringLiteral("Thimblecraft %1\n").arg(QStringLiteral(THIMBLECRAFT_VERSION)));
        return 0;
    case CommandLine::Command::list: {
        QCoreApplication app(argc, argv);
        // The store first: a store that cannot be opened must stop before anything is written.
        ModelContext &context = LibraryStoreContainer::shared();
        if (!installPlatform())
            return 1;
        return runListCommand(context, *commandLine);
    }
    case CommandLine::Command::sync:
        if (!installPlatform())
            return 1;
        return runSyncCommand(argc, argv);
    case CommandLine::Command::background:
        if (!installPlatform())
            return 1;
        return runBackgroundInstance(argc, argv);
    case CommandLine::Command::intent: {
        QCoreApplication app(argc, argv);
        return runIntentCommand(*commandLine);
    }
    case CommandLine::Command::window:
        break;
    }
    if (!installPlatform())
        return 1;
    return runWindowApplication(argc, argv, commandLine->positional);
}
