#include "app/Application.h"

#include "app/BackgroundStart.h"
#include "app/BackupCommand.h"
#include "app/CommandLine.h"
#include "app/ConsoleOutput.h"
#include "app/DataDirectory.h"
#include "app/HealthCommand.h"
#include "app/HistoryCommand.h"
#include "app/IntentCommand.h"
#include "app/ListCommand.h"
#include "app/OpenCommand.h"
#include "app/OrganisationCommands.h"
#include "app/OwnerLock.h"
#include "app/QuickRunCommand.h"
#include "app/ReadCommands.h"
#include "app/RunCommand.h"
#include "app/SyncCommand.h"
#include "app/WindowApplication.h"
#include "model/AppSettings.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "simulator/PlatformSetup.h"

#include <QApplication>

int runThimblecraft(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    QString error;
    const auto commandLine = CommandLine::parse(arguments, &error);
    if (!commandLine) {
        printTo(stderr, QStringLiteral("thimblecraft: %1\n\n%2").arg(error, CommandLine::usage()));
        return 2;
    }
    QCoreApplication::setOrganizationName(QStringLiteral("Thimblecraft"));
    QCoreApplication::setApplicationName(QStringLiteral("Thimblecraft"));
    QCoreApplication::setApplicationVersion(QStringLiteral(THIMBLECRAFT_VERSION));

    switch (commandLine->command) {
    case CommandLine::Command::help:
        printTo(stdout, CommandLine::usage(commandLine->helpFor));
        return 0;
    case CommandLine::Command::version:
        printTo(stdout,
                QStringLiteral("Thimblecraft %1\n").arg(QStringLiteral(THIMBLECRAFT_VERSION)));
        return 0;
    default:
        break;
    }

    // The library is its data directory's canonical path. Readers need one that exists; a
    // process that may write makes it, and one it cannot use stops it before anything is written.
    const bool reads = commandLine->onlyReads();
    DataDirectory::Problem problem;
    const auto dataDirectory = reads ? DataDirectory::forReading(commandLine->dataDir, &problem)
                                     : DataDirectory::forWriting(commandLine->dataDir, &problem);
    if (!dataDirectory) {
        if (problem.exitCode == DataDirectory::unusableExitCode) {
            const QString message = LibraryStoreContainer::openErrorMessage(problem.message);
            if (commandLine->command == CommandLine::Command::background)
                BackgroundStart::reportFailure(problem.exitCode, message);
            printTo(stderr, message + QLatin1Char('\n'));
        } else {
            printTo(stderr, QStringLiteral("thimblecraft: %1\n").arg(problem.message));
        }
        return problem.exitCode;
    }
    if (commandLine->dataDir.isEmpty())
        AppSettings::useDefaultDataDirectoryAt(*dataDirectory);
    else
        AppSettings::useDataDirectory(*dataDirectory);

    // The window and every command talk to Shortcuts through the chosen host.
    auto installPlatform = [&]() -> bool {
        const auto kind = commandLine->scriptHost.isEmpty()
                              ? PlatformSetup::defaultScriptHostKind()
                              : PlatformSetup::scriptHostKindFromName(commandLine->scriptHost);
        QString setupError;
        if (!kind || !PlatformSetup::install(*kind, commandLine->simulatorLibrary, &setupError)) {
            printTo(stderr, QStringLiteral("thimblecraft: %1\n").arg(setupError));
            return false;
        }
        return true;
    };

    switch (commandLine->command) {
    case CommandLine::Command::list:
    case CommandLine::Command::folders:
    case CommandLine::Command::tags:
    case CommandLine::Command::smartLists:
    case CommandLine::Command::show:
    case CommandLine::Command::history:
    case CommandLine::Command::health:
    case CommandLine::Command::exportOrganisation: {
        if (commandLine->command == CommandLine::Command::history && commandLine->clear) {
            QCoreApplication app(argc, argv);
            return runClearHistoryCommand(*commandLine);
        }
        QCoreApplication app(argc, argv);
        // Held while reading when free: no owner can start writing under this reader.
        OwnerLock::Outcome outcome;
        const auto noWriter = OwnerLock::tryAcquire(*dataDirectory, &outcome);
        QString openError;
        auto context = LibraryStoreContainer::openReadOnly(
            *dataDirectory, &openError,
            noWriter ? LibraryStore::Writers::excluded : LibraryStore::Writers::possible);
        if (!context) {
            printTo(stderr, LibraryStoreContainer::openErrorMessage(openError) + QLatin1Char('\n'));
            return DataDirectory::unusableExitCode;
        }
        switch (commandLine->command) {
        case CommandLine::Command::folders:
            return runFoldersCommand(*context, *commandLine);
        case CommandLine::Command::tags:
            return runTagsCommand(*context, *commandLine);
        case CommandLine::Command::smartLists:
            return runSmartListsCommand(*context, *commandLine);
        case CommandLine::Command::show:
            return runShowCommand(*context, *commandLine);
        case CommandLine::Command::health:
            return runHealthCommand(*context, *commandLine);
        case CommandLine::Command::exportOrganisation:
            return runExportCommand(*context, *commandLine);
        case CommandLine::Command::history:
            return runHistoryCommand(*context, *commandLine);
        default:
            return runListCommand(*context, *commandLine);
        }
    }
    case CommandLine::Command::run: {
        QCoreApplication app(argc, argv);
        return runRunCommand(*commandLine);
    }
    case CommandLine::Command::importOrganisation: {
        QCoreApplication app(argc, argv);
        return runImportCommand(*commandLine);
    }
    case CommandLine::Command::open: {
        QCoreApplication app(argc, argv);
        return runOpenCommand(*commandLine);
    }
    case CommandLine::Command::quickRun: {
        QCoreApplication app(argc, argv);
        return runQuickRunCommand(*commandLine);
    }
    case CommandLine::Command::backup: {
        QCoreApplication app(argc, argv);
        return runBackupCommand(*commandLine);
    }
    case CommandLine::Command::sync:
        return runSyncCommand(argc, argv, installPlatform);
    case CommandLine::Command::background:
        return runBackgroundInstance(argc, argv, installPlatform);
    case CommandLine::Command::intent: {
        QCoreApplication app(argc, argv);
        return runIntentCommand(*commandLine);
    }
    default:
        return runWindowApplication(argc, argv, commandLine->positional, commandLine->quickRun,
                                    installPlatform);
    }
}
