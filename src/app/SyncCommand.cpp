#include "app/SyncCommand.h"

#include "app/InstanceChannel.h"
#include "app/IntentCommand.h"
#include "model/AppSettings.h"
#include "model/LibraryStoreContainer.h"
#include "sync/LibrarySyncController.h"

#include <QGuiApplication>
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

QCoro::Task<int> headlessSync(LibrarySyncController &controller)
{
    co_await controller.upgradeStoredIcons();
    co_await controller.sync();
    if (!controller.lastError().isEmpty()) {
        print(stderr, controller.lastError() + QLatin1Char('\n'));
        co_return 1;
    }
    co_await controller.iconFetchFinished();
    print(stdout, controller.lastSummaryText() + QLatin1Char('\n'));
    co_return 0;
}

// A background instance leaves once nothing has asked for it for this long.
constexpr int backgroundIdleMs = 5 * 60 * 1000;
} // namespace

int runSyncCommand(int argc, char *argv[])
{
    preferHeadlessPlatform();
    QGuiApplication app(argc, argv);
    LibraryStoreContainer::shared(); // a store that cannot be opened stops here
    int exitCode = 1;
    QCoro::connect(headlessSync(LibrarySyncController::shared()), &app, [&](int code) {
        exitCode = code;
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
