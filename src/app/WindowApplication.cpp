#include "app/WindowApplication.h"

#include "app/AppUpdater.h"
#include "app/InstanceChannel.h"
#include "app/IntentCommand.h"
#include "app/LibraryCommands.h"
#include "app/SettingsDialog.h"
#include "model/AppSettings.h"
#include "model/LibraryStoreContainer.h"
#include "shortcuts/ShortcutRunner.h"
#include "sync/LibrarySyncController.h"
#include "ui/FileDialogFolderChooser.h"
#include "ui/LibraryNavigation.h"
#include "ui/LibraryWindow.h"
#include "ui/WindowSettings.h"

#include <QApplication>
#include <QPointer>
#include <QThread>
#include <QUrl>
#include <cstdio>

namespace {
bool isOwnURL(const QUrl &url)
{
    return url.isValid() && url.scheme() == QLatin1String("thimblecraft");
}

// A second launch gives its URLs to the running window and ends: true then. An instance without
// a window (the intents' background instance) is asked to quit so that this one takes over.
bool handOver(const QString &socketPath, const QList<QUrl> &urls)
{
    using Status = InstanceChannel::SendResult::Status;
    const auto activated =
        InstanceChannel::send(socketPath, InstanceChannel::activateRequest(), 5000);
    if (activated.status != Status::delivered)
        return false;
    if (!activated.reply.ok) {
        InstanceChannel::send(socketPath, InstanceChannel::quitRequest(), 5000);
        return false;
    }
    for (const QUrl &url : urls)
        InstanceChannel::send(socketPath, InstanceChannel::openUrlRequest(url), 5000);
    return true;
}

// Serves the socket, waiting a little for a quitting instance to let go of it.
bool listenWhenFree(InstanceChannel &channel, const QString &socketPath)
{
    for (int attempt = 0; attempt < 20; ++attempt) {
        if (channel.listen(socketPath))
            return true;
        QThread::msleep(100);
    }
    return false;
}
} // namespace

int runWindowApplication(int argc, char *argv[], const QStringList &urlArguments)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Thimblecraft"));

    QList<QUrl> urls;
    for (const QString &argument : urlArguments) {
        const QUrl url(argument);
        if (isOwnURL(url))
            urls.append(url);
    }

    QString channelError;
    const QString socketPath =
        InstanceChannel::socketPath(AppSettings::dataDirectory(), &channelError);
    if (!socketPath.isEmpty() && handOver(socketPath, urls))
        return 0;

    ModelContext &context = LibraryStoreContainer::shared(); // stops here when it cannot open
    FolderChooser::setShared(std::make_unique<FileDialogFolderChooser>());
    LibraryNavigation &navigation = LibraryNavigation::shared();
    ShortcutRunner &runner = ShortcutRunner::shared();
    LibrarySyncController &syncer = LibrarySyncController::shared();
    LibraryWindow window(context, navigation, runner, syncer);

    AppUpdater *updater = nullptr;
    QPointer<SettingsDialog> settings;
    QObject::connect(&window, &LibraryWindow::firstShown, &window, [&] {
        updater = &AppUpdater::shared();
        auto *commands = new LibraryCommands(window, *updater, &window);
        QObject::connect(commands, &LibraryCommands::settingsRequested, &window, [&] {
            if (!settings) {
                settings = new SettingsDialog(*updater, &window);
                settings->setAttribute(Qt::WA_DeleteOnClose);
            }
            settings->show();
            settings->raise();
            settings->activateWindow();
        });
        updater->checkAutomaticallyIfDue();
    });

    InstanceChannel channel;
    if (!socketPath.isEmpty() && listenWhenFree(channel, socketPath)) {
        installIntentEndpoint(channel, syncer);
        channel.setUrlHandler([&window](const QUrl &url) {
            if (isOwnURL(url))
                window.openURL(url);
        });
        channel.setActivateHandler([&window] {
            window.showNormal();
            window.raise();
            window.activateWindow();
        });
    }

    window.show();
    for (const QUrl &url : std::as_const(urls))
        window.openURL(url);
    return app.exec();
}
