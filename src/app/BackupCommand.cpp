#include "app/BackupCommand.h"

#include "app/CommandLine.h"
#include "app/ConsoleOutput.h"
#include "app/InstanceChannel.h"
#include "app/OwnerClient.h"
#include "app/OwnerLock.h"
#include "model/AppSettings.h"
#include "model/LibraryStore.h"
#include "model/LibraryStoreContainer.h"

#include <QFileInfo>

bool backUpLibrary(LibraryStore &store, const QString &path, bool force, QString *message)
{
    const QFileInfo target(path);
    const QString storeFile = QFileInfo(store.path()).canonicalFilePath();
    if (target.exists() && target.canonicalFilePath() == storeFile) {
        *message = QStringLiteral("%1 is the library itself").arg(path);
        return false;
    }
    if (target.exists() && !force) {
        *message = QStringLiteral("%1 exists; add --force to replace it").arg(path);
        return false;
    }
    if (target.exists() && !target.isFile()) {
        *message = QStringLiteral("%1 is not a file").arg(path);
        return false;
    }
    QString error;
    if (!store.backup(path, &error)) {
        *message = QStringLiteral("could not write the copy to %1: %2").arg(path, error);
        return false;
    }
    *message = QStringLiteral("Wrote a copy of the library to %1").arg(path);
    return true;
}

int runBackupCommand(const CommandLine &commandLine)
{
    const QString path = QFileInfo(commandLine.backupFile).absoluteFilePath();
    auto finish = [](bool ok, const QString &text) {
        if (ok)
            printTo(stdout, text + QLatin1Char('\n'));
        else
            printTo(stderr, QStringLiteral("thimblecraft: %1\n").arg(text));
        return ok ? 0 : 1;
    };
    // The owner copies from its own connection, so the copy has everything it has saved.
    OwnerClient::Options options;
    options.replyTimeoutMs = 10 * 60 * 1000;
    const auto handed =
        OwnerClient::send(AppSettings::dataDirectory(),
                          InstanceChannel::backupRequest(path, commandLine.force), options);
    if (handed.status == OwnerClient::Outcome::Status::answered)
        return finish(handed.reply.ok, handed.reply.text);
    if (handed.status == OwnerClient::Outcome::Status::failed)
        return finish(false, handed.error);

    OwnerLock::Outcome outcome;
    const auto noWriter = OwnerLock::tryAcquire(AppSettings::dataDirectory(), &outcome);
    QString error;
    auto store = LibraryStore::openReadOnly(
        LibraryStoreContainer::storePath(AppSettings::dataDirectory()), &error,
        noWriter ? LibraryStore::Writers::excluded : LibraryStore::Writers::possible);
    if (!store) {
        printTo(stderr, LibraryStoreContainer::openErrorMessage(error) + QLatin1Char('\n'));
        return 70;
    }
    QString message;
    const bool ok = backUpLibrary(*store, path, commandLine.force, &message);
    return finish(ok, message);
}
