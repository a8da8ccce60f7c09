#pragma once

#include "../common/AwaitTask.h"
#include "MenuText.h"
#include "common/SimulatedLibraryFile.h"
#include "model/AppSettings.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "shortcuts/ShortcutRunner.h"
#include "shortcuts/ShortcutsEventsBridge.h"
#include "simulator/SimulatedShortcutsEvents.h"
#include "sync/LibrarySyncController.h"
#include "ui/LibraryNavigation.h"
#include "ui/LibraryWindow.h"
#include "ui/WindowSettings.h"

#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

// The real library window over an in-memory store, settings in a temporary directory and a
// simulated Shortcuts app whose library file the test writes.
struct WindowFixture : SimulatedLibraryFile {
    std::unique_ptr<ModelContext> context;
    std::shared_ptr<SimulatedShortcutsEvents> host;
    std::unique_ptr<ShortcutsEventsBridge> bridge;
    std::unique_ptr<LibraryNavigation> navigation;
    std::unique_ptr<ShortcutRunner> runner;
    std::unique_ptr<LibrarySyncController> syncer;
    std::unique_ptr<LibraryWindow> window;

    // With a store, the library is kept in the temporary directory and has a run history.
    explicit WindowFixture(bool syncOnLaunch = false, bool withStore = false)
    {
        QStandardPaths::setTestModeEnabled(true);
        AppSettings::useDataDirectory(dir.path());
        WindowSettings::shared().setSyncOnLaunch(syncOnLaunch);
        QString error;
        context = withStore ? LibraryStoreContainer::open(dir.path(), &error)
                            : std::make_unique<ModelContext>();
        host = std::make_shared<SimulatedShortcutsEvents>(libraryPath);
        bridge = std::make_unique<ShortcutsEventsBridge>(host);
        navigation = std::make_unique<LibraryNavigation>();
        runner = std::make_unique<ShortcutRunner>(bridge.get());
        syncer = std::make_unique<LibrarySyncController>(*context, *bridge, AppSettings::store());
        syncer->setDatabaseRowsLoader([]() -> QCoro::Task<std::optional<ShortcutsDatabase::Rows>> {
            co_return std::nullopt;
        });
        publish();
    }
    ~WindowFixture()
    {
        window.reset();
        syncer.reset();
    }

    LibraryWindow &open()
    {
        window = std::make_unique<LibraryWindow>(*context, *navigation, *runner, *syncer);
        window->show();
        return *window;
    }

    void sync()
    {
        awaitTask([](LibrarySyncController &c) -> QCoro::Task<bool> {
            co_await c.sync();
            co_return true;
        }(*syncer));
    }

    // A record straight in the context (no sync).
    ShortcutItem *insert(const QString &name, qint64 order = 0)
    {
        auto *item = context->insert(new ShortcutItem(QStringLiteral("ID-") + name, name));
        item->setLibraryOrder(order);
        return item;
    }
    ShortcutItem *item(const QString &name) const
    {
        for (ShortcutItem *i : context->shortcuts())
            if (i->name() == name)
                return i;
        return nullptr;
    }
};

// Lets the context's coalesced announcement and the collection's refresh run.
inline void settle()
{
    for (int i = 0; i < 3; ++i) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
}
