#pragma once

#include "common/SimulatedLibraryFile.h"
#include "model/ModelContext.h"
#include "shortcuts/ShortcutsEventsBridge.h"
#include "simulator/SimulatedShortcutsEvents.h"
#include "sync/LibrarySyncController.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

// A controller over an in-memory context, temporary settings and a simulated Shortcuts app
// whose library file the test rewrites between syncs.
struct SyncFixture : SimulatedLibraryFile {
    std::unique_ptr<ModelContext> context = std::make_unique<ModelContext>();
    std::unique_ptr<QSettings> settings = makeSettings();
    std::shared_ptr<SimulatedShortcutsEvents> host =
        std::make_shared<SimulatedShortcutsEvents>(libraryPath);
    ShortcutsEventsBridge bridge{host};
    std::unique_ptr<LibrarySyncController> controller = makeController();

    SyncFixture() { publish(); }

    std::unique_ptr<QSettings> makeSettings()
    {
        return std::make_unique<QSettings>(dir.filePath(QStringLiteral("settings.ini")),
                                           QSettings::IniFormat);
    }
    std::unique_ptr<LibrarySyncController> makeController()
    {
        auto c = std::make_unique<LibrarySyncController>(*context, bridge, *settings);
        // No Shortcuts folder is linked in tests unless a test says so.
        c->setDatabaseRowsLoader([]() -> QCoro::Task<std::optional<ShortcutsDatabase::Rows>> {
            co_return std::nullopt;
        });
        return c;
    }
    // A second controller as after a restart: same settings file, same store contents.
    void restart()
    {
        controller.reset();
        settings->sync();
        settings = makeSettings();
        controller = makeController();
    }

    ShortcutItem *item(const QString &identifier) const
    {
        for (ShortcutItem *i : context->shortcuts())
            if (i->identifier() == identifier)
                return i;
        return nullptr;
    }
};

inline ShortcutSnapshot snapshot(const QString &identifier, const QString &name)
{
    ShortcutSnapshot s;
    s.identifier = identifier;
    s.name = name;
    return s;
}

inline QString idAt(int i)
{
    return QStringLiteral("ID%1").arg(i);
}

// ID<from> up to, not including, ID<to>.
inline QStringList ids(int from, int to)
{
    QStringList out;
    for (int i = from; i < to; ++i)
        out.append(idAt(i));
    return out;
}

// Runs a task to its end, keeping the event loop turning.
template<typename T> void runToEnd(QCoro::Task<T> &&task)
{
    bool done = false;
    QCoro::connect(std::move(task), QCoreApplication::instance(), [&done] { done = true; });
    QTRY_VERIFY_WITH_TIMEOUT(done, 30000);
}
