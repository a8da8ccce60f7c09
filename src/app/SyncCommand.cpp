#include "app/SyncCommand.h"

#include "app/InstanceChannel.h"
#include "app/IntentCommand.h"
#include "model/AppSettings.h"
#include "model/LibraryStoreContainer.h"
#include "sync/LibrarySyncController.h"

#include <QGuiApplication>
#include <QPointer>
#include <QTimer>
#include <cstdio>

namespace {
void print(FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
}

// Icons and drawn app icons need a GUI platform; without a display none is shown anyway.
void preferHeadlessPlatform()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

int printed(const InstanceChannel::Reply &outcome)
{
    print(outcome.ok ? stdout : stderr, outcome.text + QLatin1Char('\n'));
    return outcome.ok ? 0 : 1;
}

// However long a large first sync with its icons takes, a client that waits is told the end.
constexpr int handedOverSyncTimeoutMs = 60 * 60 * 1000;

// A background instance leaves once nothing has asked for it for this long.
constexpr int backgroundIdleMs = 5 * 60 * 1000;
} // namespace

QCoro::Task<InstanceChannel::Reply> syncToEnd(LibrarySyncController &controller)
{
    QPointer<LibrarySyncController> self(&controller);
    co_await controller.upgradeStoredIcons();
    if (!self)
        co_return InstanceChannel::Reply{false, QStringLiteral("Thimblecraft is quitting.")};
    co_await controller.sync();
    if (!self)
        co_return InstanceChannel::Reply{false, QStringLiteral("Thimblecraft is quitting.")};
    if (!controller.lastError().isEmpty())
        co_return InstanceChannel::Reply{false, controller.lastError()};
    co_await controller.iconFetchFinished();
    if (!self)
        co_return InstanceChannel::Reply{false, QStringLiteral("Thimblecraft is quitting.")};
    co_return InstanceChannel::Reply{true, controller.lastSummaryText()};
}

int runSyncCommand(int argc, char *argv[])
{
    preferHeadlessPlatform();
    QGuiApplication app(argc, argv);
    // A running instance owns the store: two writers would each save their own picture of it.
    QString error;
    const QString path = InstanceChannel::socketPath(AppSettings::dataDirectory(), &error);
    if (!path.isEmpty()) {
        const auto handedOver =
            InstanceChannel::send(path, InstanceChannel::syncRequest(), handedOverSyncTimeoutMs);
        switch (handedOver.status) {
        case InstanceChannel::SendResult::Status::delivered:
            return printed(handedOver.reply);
        case InstanceChannel::SendResult::Status::failed:
            return printed({false, QStringLiteral("The running Thimblecraft did not answer: %1")
                                       .arg(handedOver.error)});
        case InstanceChannel::SendResult::Status::noInstance:
            break;
        }
    }
    LibraryStoreContainer::shared(); // a store that cannot be opened stops here
    int exitCode = 1;
    QCoro::connect(syncToEnd(LibrarySyncController::shared()), &app,
                   [&](const InstanceChannel::Reply &outcome) {
                       exitCode = printed(outcome);
                       QCoreApplication::quit();
                   });
    app.exec();
    return exitCode;
}

int runBackgroundInstance(int argc, char *argv[])
{
    preferHeadlessPlatform();
    QGuiApplication app(argc, argv);
    QString error;
    const QString path = InstanceChannel::socketPath(AppSettings::dataDirectory(), &error);
    InstanceChannel channel;
    if (path.isEmpty() || !channel.listen(path, &error)) {
        print(stderr, QStringLiteral("thimblecraft: %1\n").arg(error));
        return 1;
    }
    LibraryStoreContainer::shared();
    LibrarySyncController &controller = LibrarySyncController::shared();
    installIntentEndpoint(channel, controller);

    auto leave = [&controller] {
        controller.flushImports();
        QCoreApplication::quit();
    };
    channel.setQuitHandler([leave] { QTimer::singleShot(0, leave); });
    QTimer idle;
    idle.setSingleShot(true);
    idle.setInterval(backgroundIdleMs);
    QObject::connect(&idle, &QTimer::timeout, &app, [&] {
        if (controller.pendingImportCount() > 0 || controller.iconFetchRunning())
            idle.start();
        else
            leave();
    });
    QObject::connect(&channel, &InstanceChannel::requestHandled, &idle,
                     qOverload<>(&QTimer::start));
    idle.start();
    return app.exec();
}
