#include "app/WindowApplication.h"

#include "app/AppUpdater.h"
#include "app/ConsoleOutput.h"
#include "app/InstanceChannel.h"
#include "app/LibraryCommands.h"
#include "app/LinkRouter.h"
#include "app/OwnerEndpoints.h"
#include "app/OwnerLock.h"
#include "app/QuickRunCommand.h"
#include "app/QuitOnSignal.h"
#include "app/SettingsDialog.h"
#include "app/TrayPresence.h"
#include "model/AppSettings.h"
#include "model/LibraryStoreContainer.h"
#include "shortcuts/FileOpenEvents.h"
#include "shortcuts/ShortcutRunner.h"
#include "sync/LibrarySyncController.h"
#include "ui/FileDialogFolderChooser.h"
#include "ui/LibraryNavigation.h"
#include "ui/LibraryWindow.h"
#include "ui/WindowSettings.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QPointer>
#include <QThread>
#include <QUrl>

namespace {
bool isOwnURL(const QUrl &url)
{
    return url.isValid() && url.scheme() == QLatin1String("thimblecraft");
}

// How long a window waits for a windowless owner to hand the library over.
constexpr int takeOverTimeoutMs = 20000;

enum class Claim { owner, handedOver, failed };

// The window owns the library or shows it elsewhere: a window already open gets this launch's
// requests (its URLs, Quick Run) and comes to the front; a windowless owner is asked to leave,
// and the library is taken once it has gone.
Claim claimLibrary(const QString &dataDirectory, const QList<QJsonObject> &requests,
                   std::unique_ptr<OwnerLock> &lock)
{
    using Status = InstanceChannel::SendResult::Status;
    QString error;
    const QString socketPath = InstanceChannel::socketPath(dataDirectory, &error);
    const QDeadlineTimer deadline(takeOverTimeoutMs);
    for (;;) {
        OwnerLock::Outcome outcome;
        lock = OwnerLock::tryAcquire(dataDirectory, &outcome, &error);
        if (lock)
            return Claim::owner;
        if (outcome == OwnerLock::Outcome::failed) {
            printTo(stderr, QStringLiteral("thimblecraft: %1\n").arg(error));
            return Claim::failed;
        }
        const auto activated =
            InstanceChannel::send(socketPath, InstanceChannel::activateRequest(), 5000);
        if (activated.status == Status::delivered) {
            if (activated.reply.ok) {
                for (const QJsonObject &request : requests)
                    InstanceChannel::send(socketPath, request, 5000);
                return Claim::handedOver;
            }
            InstanceChannel::send(socketPath, InstanceChannel::quitRequest(), 5000);
        }
        if (deadline.hasExpired()) {
            printTo(stderr, QStringLiteral("thimblecraft: another Thimblecraft holds this library "
                                           "and does not let go of it\n"));
            return Claim::failed;
        }
        QThread::msleep(50);
    }
}
} // namespace

int runWindowApplication(int argc, char *argv[], const QStringList &urlArguments, bool quickRun,
                         const std::function<bool()> &installPlatform)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Thimblecraft"));

    QStringList urls;
    for (const QString &argument : urlArguments)
        if (isOwnURL(QUrl(argument)))
            urls.append(argument);

    QList<QJsonObject> requests;
    for (const QString &url : std::as_const(urls))
        requests.append(InstanceChannel::openUrlRequest(url));
    if (quickRun)
        requests.append(quickRunRequest());
    std::unique_ptr<OwnerLock> lock;
    switch (claimLibrary(AppSettings::dataDirectory(), requests, lock)) {
    case Claim::handedOver:
        return 0;
    case Claim::failed:
        return 1;
    case Claim::owner:
        OwnerLock::keepUntilExit(std::move(lock));
        break;
    }

    ModelContext &context = LibraryStoreContainer::shared(); // stops here when it cannot open
    if (!installPlatform())
        return 1;
    FolderChooser::setShared(std::make_unique<FileDialogFolderChooser>());
    LibraryNavigation &navigation = LibraryNavigation::shared();
    ShortcutRunner &runner = ShortcutRunner::shared();
    runner.setCallbackContext(&context);
    LibrarySyncController &syncer = LibrarySyncController::shared();
    LibraryWindow window(context, navigation, runner, syncer);
    LinkRouter links(window);
    // On macOS links arrive as file-open events.
    FileOpenEvents::install(&app, [&links](const QString &url) { links.open(url); });

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
    QString channelError;
    const QString socketPath =
        InstanceChannel::socketPath(AppSettings::dataDirectory(), &channelError);
    if (socketPath.isEmpty() || !channel.listen(socketPath, &channelError)) {
        // The window works without it; other commands then cannot reach this library.
        printTo(stderr, QStringLiteral("thimblecraft: %1\n").arg(channelError));
    } else {
        installOwnerEndpoints(channel, syncer, runner);
        channel.setUrlHandler([&links](const QString &url) {
            if (isOwnURL(QUrl(url)))
                links.open(url);
        });
        channel.setActivateHandler([&window] { window.bringForward(); });
        installQuickRunEndpoint(channel, window);
    }

    // Quits outright: closing the window first would only hide it while the tray icon shows.
    quitOnTerminationSignals([] { QCoreApplication::quit(); });
    // Imports still waiting for their batch are saved before the library is handed on.
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &syncer,
                     &LibrarySyncController::flushImports);
    window.show();
    TrayPresence tray(window);
    for (const QString &url : std::as_const(urls))
        links.open(url);
    if (quickRun)
        window.openQuickRun();
    return app.exec();
}
