// Full sync of 10,000 shortcuts through the simulated Shortcuts Events (list script, reply
// decoding, merge, save) into an empty store, then again unchanged; each beside raw SQLite
// inserting 10,000 rows of the same width in one transaction, measured in the same run.
//
// The real Shortcuts app has its library loaded before anyone syncs; the simulated one parses
// its library file and writes its Shortcuts.sqlite when it first sees the file. That start (one
// icon script) is timed and printed on its own and kept out of the sync figures; the list reply
// is still built inside the first sync.
#include "common/RawSqliteBaseline.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "shortcuts/ShortcutsEventsBridge.h"
#include "simulator/SimulatedLibrary.h"
#include "simulator/SimulatedShortcutsEvents.h"
#include "sync/LibrarySyncController.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSettings>
#include <QTemporaryDir>
#include <cstdio>
#include <ctime>
#include <sqlite3.h>

namespace {
constexpr int shortcutCount = 10000;

double ms(const QElapsedTimer &t)
{
    return t.nsecsElapsed() / 1e6;
}

// Processor time of every thread of the process: on a busy machine the wall clock mostly
// measures waiting for a core, and the sync (two threads) waits more often than one tight loop.
double cpuMs()
{
    return double(std::clock()) * 1000.0 / CLOCKS_PER_SEC;
}

double rawInsert(const QString &path, double *cpu)
{
    sqlite3 *db = nullptr;
    sqlite3_open(path.toUtf8().constData(), &db);
    RawSqliteBaseline::createItemsTable(db);
    QElapsedTimer t;
    t.start();
    const double cpuStart = cpuMs();
    sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
    sqlite3_stmt *item = RawSqliteBaseline::prepareItemInsert(db);
    for (int i = 0; i < shortcutCount; ++i)
        RawSqliteBaseline::insertItem(item, i);
    sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
    const double elapsed = ms(t);
    *cpu = cpuMs() - cpuStart;
    sqlite3_finalize(item);
    sqlite3_close(db);
    return elapsed;
}

SimulatedLibrary makeLibrary()
{
    SimulatedLibrary library;
    for (int f = 0; f < 12; ++f)
        library.folders.append(QStringLiteral("Folder %1").arg(f));
    for (int i = 0; i < shortcutCount; ++i) {
        SimulatedShortcut s;
        s.identifier = QStringLiteral("%1-0000-4000-8000-000000000000")
                           .arg(i, 8, 16, QLatin1Char('0'))
                           .toUpper();
        s.name = QStringLiteral("Shortcut %1").arg(i);
        s.subtitle = QStringLiteral("%1 actions").arg(i % 30);
        s.color = QColor::fromRgb(0xFF9500 + i % 7);
        s.acceptsInput = i % 3 == 0;
        s.actionCount = i % 30 + 1;
        s.folder = i % 4 ? QStringLiteral("Folder %1").arg(i % 12) : QString();
        s.glyph = QStringLiteral("star");
        s.iconTop = Qt::red;
        s.iconBottom = Qt::blue;
        library.shortcuts.append(s);
    }
    return library;
}

// One full sync without the icon queue and the database pass that follow it.
QCoro::Task<double> timedSync(LibrarySyncController &controller, ShortcutsEventsBridge &bridge,
                              SyncSummary *summary, double *cpu)
{
    QElapsedTimer t;
    t.start();
    const double cpuStart = cpuMs();
    auto listing = bridge.listShortcuts();
    auto listed = co_await listing;
    if (!listed)
        co_return -1.0;
    const double listedAt = ms(t);
    QString error;
    const auto merged = controller.merge(listed.value(), &error);
    std::printf("  (listing and decoding %.1f ms, merge and save %.1f ms)\n", listedAt,
                ms(t) - listedAt);
    if (!merged)
        co_return -1.0;
    *summary = *merged;
    *cpu = cpuMs() - cpuStart;
    co_return ms(t);
}
} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    const QString libraryPath = dir.filePath(QStringLiteral("library.json"));
    const SimulatedLibrary library = makeLibrary();
    if (!library.save(libraryPath)) {
        std::fprintf(stderr, "cannot write the library\n");
        return 1;
    }
    QString error;
    auto context = LibraryStoreContainer::open(dir.filePath(QStringLiteral("data")), &error);
    if (!context) {
        std::fprintf(stderr, "cannot open the store: %s\n", qPrintable(error));
        return 1;
    }
    QSettings settings(dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat);
    auto host = std::make_shared<SimulatedShortcutsEvents>(libraryPath);
    QElapsedTimer started;
    started.start();
    const ScriptHostReply startReply =
        host->execute(ShortcutsEventsBridge::iconScript(library.shortcuts.first().identifier));
    const double startTime = ms(started);
    if (startReply.kind != ScriptHostReply::Kind::reply) {
        std::fprintf(stderr, "the simulated Shortcuts app did not start\n");
        return 1;
    }
    ShortcutsEventsBridge bridge(host);
    LibrarySyncController controller(*context, bridge, settings);

    SyncSummary first, second;
    double cpu[4] = {};
    const double firstRaw = rawInsert(dir.filePath(QStringLiteral("raw1.sqlite")), &cpu[0]);
    const double firstSync = QCoro::waitFor(timedSync(controller, bridge, &first, &cpu[1]));
    const double secondRaw = rawInsert(dir.filePath(QStringLiteral("raw2.sqlite")), &cpu[2]);
    const double secondSync = QCoro::waitFor(timedSync(controller, bridge, &second, &cpu[3]));
    if (firstSync < 0 || secondSync < 0 || first.added != shortcutCount || second.added != 0) {
        std::fprintf(stderr, "sync failed\n");
        return 1;
    }
    std::printf("simulated Shortcuts start (library parsed, Shortcuts.sqlite written): %.1f ms, "
                "not part of the figures below\n",
                startTime);
    std::printf("first sync of %d shortcuts: %.1f ms; raw SQLite insert: %.1f ms; ratio %.2f "
                "(target <= 3)\n",
                shortcutCount, firstSync, firstRaw, firstSync / firstRaw);
    std::printf("unchanged re-sync:          %.1f ms; raw SQLite insert: %.1f ms; ratio %.2f "
                "(target <= 1.5)\n",
                secondSync, secondRaw, secondSync / secondRaw);
    std::printf("processor time, all threads: first sync %.1f ms / raw %.1f ms (ratio %.2f), "
                "re-sync %.1f ms / raw %.1f ms (ratio %.2f)\n",
                cpu[1], cpu[0], cpu[1] / cpu[0], cpu[3], cpu[2], cpu[3] / cpu[2]);
    std::printf("summaries: \"%s\" then \"%s\"\n", qPrintable(first.text()),
                qPrintable(second.text()));
    return 0;
}
