#include "app/SyncCommand.h"

#include "app/BackgroundStart.h"
#include "app/ConsoleOutput.h"
#include "app/OwnerClient.h"
#include "app/OwnerEndpoints.h"
#include "app/OwnerLock.h"
#include "app/WindowlessOwner.h"
#include "model/AppSettings.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "shortcuts/ShortcutRunner.h"
#include "sync/LibrarySyncController.h"

#include <QCoro/QCoroSignal>
#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QPointer>
#include <QThread>
#include <QTimer>

namespace {
// Icons and drawn app icons need a GUI platform; without a display none is shown anyway.
void preferHeadlessPlatform()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

int printed(const InstanceChannel::Reply &outcome)
{
    printTo(outcome.ok ? stdout : stderr, outcome.text + QLatin1Char('\n'));
    return outcome.ok ? 0 : 1;
}

// However long a large first sync with its icons takes, a client that waits is told the end.
constexpr int handedOverSyncTimeoutMs = 60 * 60 * 1000;
// How long a command keeps trying to reach an owner that is starting or leaving.
constexpr int reachOwnerTimeoutMs = 30000;
// A background instance leaves once nothing has asked for it for this long.
constexpr int backgroundIdleMs = 5 * 60 * 1000;

const InstanceChannel::Reply quitting{false, QStringLiteral("Thimblecraft is quitting.")};

// The store of the library this process now owns; false with the "Could not open…" text.
bool openOwnedStore(QString *message)
{
    QString error;
    auto context = LibraryStoreContainer::open(AppSettings::dataDirectory(), &error);
    if (!context) {
        *message = LibraryStoreContainer::openErrorMessage(error);
        return false;
    }
    LibraryStoreContainer::setShared(std::move(context));
    return true;
}

// The owner's side of `sync`: serve others while syncing, then hand the library on.
int syncAsOwner(QGuiApplication &app, const std::function<bool()> &installPlatform)
{
    QString message;
    if (!openOwnedStore(&message)) {
        printTo(stderr, message + QLatin1Char('\n'));
        return 70;
    }
    if (!installPlatform())
        return 1;
    LibrarySyncController &controller = LibrarySyncController::shared();
    InstanceChannel channel;
    QString error;
    const QString path = InstanceChannel::socketPath(AppSettings::dataDirectory(), &error);
    if (path.isEmpty() || !channel.listen(path, &error))
        printTo(stderr, QStringLiteral("thimblecraft: %1\n").arg(error));
    installOwnerEndpoints(channel, controller, ShortcutRunner::shared());
    WindowlessOwner owner(channel, controller);
    owner.leaveWhenAsked(app);

    int exitCode = 1;
    owner.hold();
    QCoro::connect(syncToEnd(controller), &app, [&](const InstanceChannel::Reply &outcome) {
        exitCode = printed(outcome);
        owner.release();
        owner.leave();
    });
    app.exec();
    return exitCode;
}
} // namespace

QCoro::Task<InstanceChannel::Reply> syncToEnd(LibrarySyncController &controller)
{
    QPointer<LibrarySyncController> self(&controller);
    co_await controller.upgradeStoredIcons();
    // A sync already under way began before this one was asked for: its summary is not this
    // request's answer. Wait, then sync; sync() is under way before anything else can run.
    while (self && self->phase().isSyncing())
        co_await qCoro(self.data(), &LibrarySyncController::phaseChanged);
    if (!self)
        co_return quitting;
    co_await controller.sync();
    if (!self)
        co_return quitting;
    if (!controller.lastError().isEmpty())
        co_return InstanceChannel::Reply{false, controller.lastError()};
    const QString summary = controller.lastSummaryText();
    co_await controller.iconFetchFinished();
    if (!self)
        co_return quitting;
    co_return InstanceChannel::Reply{true, summary};
}

int runSyncCommand(int argc, char *argv[], const std::function<bool()> &installPlatform)
{
    preferHeadlessPlatform();
    QGuiApplication app(argc, argv);
    const QString dataDirectory = AppSettings::dataDirectory();
    const QDeadlineTimer reach(reachOwnerTimeoutMs);
    for (;;) {
        OwnerLock::Outcome outcome;
        QString error;
        if (auto lock = OwnerLock::tryAcquire(dataDirectory, &outcome, &error)) {
            OwnerLock::keepUntilExit(std::move(lock));
            return syncAsOwner(app, installPlatform);
        }
        if (outcome == OwnerLock::Outcome::failed) {
            printTo(stderr, QStringLiteral("thimblecraft: %1\n").arg(error));
            return 1;
        }
        OwnerClient::Options options;
        options.replyTimeoutMs = handedOverSyncTimeoutMs;
        options.reachTimeoutMs = int(qMax<qint64>(0, reach.remainingTime()));
        const auto handed =
            OwnerClient::send(dataDirectory, InstanceChannel::syncRequest(), options);
        if (handed.status == OwnerClient::Outcome::Status::answered)
            return printed(handed.reply);
        if (handed.status == OwnerClient::Outcome::Status::failed)
            return printed(
                {false,
                 QStringLiteral("The running Thimblecraft did not answer: %1").arg(handed.error)});
        // The owner is starting or leaving.
        if (reach.hasExpired())
            return printed({false, QStringLiteral("Another Thimblecraft holds this library and "
                                                  "does not answer.")});
        QThread::msleep(50);
    }
}

int runBackgroundInstance(int argc, char *argv[], const std::function<bool()> &installPlatform)
{
    preferHeadlessPlatform();
    QGuiApplication app(argc, argv);
    const QString dataDirectory = AppSettings::dataDirectory();
    OwnerLock::Outcome outcome;
    QString error;
    auto lock = OwnerLock::tryAcquire(dataDirectory, &outcome, &error);
    if (!lock) {
        if (outcome == OwnerLock::Outcome::heldElsewhere) {
            BackgroundStart::reportOwnerExists();
            return 0;
        }
        BackgroundStart::reportFailure(1, error);
        printTo(stderr, QStringLiteral("thimblecraft: %1\n").arg(error));
        return 1;
    }
    OwnerLock::keepUntilExit(std::move(lock));
    // The store before the channel: a client must learn that it cannot be opened, not wait.
    QString message;
    if (!openOwnedStore(&message)) {
        BackgroundStart::reportFailure(70, message);
        printTo(stderr, message + QLatin1Char('\n'));
        return 70;
    }
    if (!installPlatform()) {
        BackgroundStart::reportFailure(1, QStringLiteral("cannot prepare the Shortcuts side"));
        return 1;
    }
    const QString path = InstanceChannel::socketPath(dataDirectory, &error);
    InstanceChannel channel;
    if (path.isEmpty() || !channel.listen(path, &error)) {
        BackgroundStart::reportFailure(1, error);
        printTo(stderr, QStringLiteral("thimblecraft: %1\n").arg(error));
        return 1;
    }
    LibrarySyncController &controller = LibrarySyncController::shared();
    installOwnerEndpoints(channel, controller, ShortcutRunner::shared());
    WindowlessOwner owner(channel, controller);
    owner.leaveWhenAsked(app);

    QTimer idle;
    idle.setSingleShot(true);
    idle.setInterval(backgroundIdleMs);
    QObject::connect(&idle, &QTimer::timeout, &app, [&] {
        if (controller.pendingImportCount() > 0 || controller.iconFetchRunning() ||
            channel.hasOpenRequests())
            idle.start();
        else
            owner.leave();
    });
    QObject::connect(&channel, &InstanceChannel::requestHandled, &idle,
                     qOverload<>(&QTimer::start));
    idle.start();
    BackgroundStart::reportReady();
    return app.exec();
}
