// Full sync through the simulated Shortcuts Events (list script, reply decoding, merge, save)
// into an empty store, then again unchanged; each beside raw SQLite inserting as many rows of
// the same width in one transaction, measured in the same run. At two sizes: the standard
// library of 10,000 shortcuts and the large one of 100,000 (`--quick`: 1,000 and 2,000), with
// the growth between them. Each of five rounds starts from nothing in a fresh process; the
// figures are the medians.
//
// The real Shortcuts app has its library loaded before anyone syncs; the simulated one parses
// its library file and writes its Shortcuts.sqlite when it first sees the file. That start (one
// icon script) is timed and printed on its own and kept out of the sync figures; the list reply
// is still built inside the first sync.
#include "common/BenchOptions.h"
#include "common/RawSqliteBaseline.h"
#include "common/SampleLibrary.h"
#include "common/ScaleTable.h"
#include "common/SimulatedSample.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "shortcuts/ShortcutsEventsBridge.h"
#include "simulator/SimulatedLibrary.h"
#include "simulator/SimulatedShortcutsEvents.h"
#include "sync/LibrarySyncController.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <sqlite3.h>

namespace {
constexpr int roundCount = 5;
using SampleLibrary::ms;

double rawInsert(const QString &path, int shortcutCount)
{
    sqlite3 *db = nullptr;
    RawSqliteBaseline::checked(db, sqlite3_open(path.toUtf8().constData(), &db));
    RawSqliteBaseline::createItemsTable(db);
    QElapsedTimer t;
    t.start();
    RawSqliteBaseline::exec(db, "BEGIN");
    sqlite3_stmt *item = RawSqliteBaseline::prepareItemInsert(db);
    for (int i = 0; i < shortcutCount; ++i)
        RawSqliteBaseline::insertItem(item, i);
    RawSqliteBaseline::exec(db, "COMMIT");
    const double elapsed = ms(t);
    sqlite3_finalize(item);
    sqlite3_close(db);
    return elapsed;
}

SimulatedLibrary makeLibrary(int shortcutCount)
{
    SimulatedLibrary library;
    for (int f = 0; f < 12; ++f)
        library.folders.append(QStringLiteral("Folder %1").arg(f));
    for (int i = 0; i < shortcutCount; ++i) {
        SimulatedShortcut s = simulatedSampleShortcut(i);
        s.color = QColor::fromRgb(0xFF9500 + i % 7);
        s.acceptsInput = i % 3 == 0;
        s.folder = i % 4 ? QStringLiteral("Folder %1").arg(i % 12) : QString();
        s.glyph = QStringLiteral("star");
        s.iconTop = Qt::red;
        s.iconBottom = Qt::blue;
        library.shortcuts.append(s);
    }
    return library;
}

// One full sync without the icon queue and the database pass that follow it.
struct Timed {
    double total = -1, listing = 0;
};

QCoro::Task<Timed> timedSync(LibrarySyncController &controller, ShortcutsEventsBridge &bridge,
                             SyncSummary *summary)
{
    QElapsedTimer t;
    t.start();
    auto listing = bridge.listShortcuts();
    auto listed = co_await listing;
    if (!listed)
        co_return Timed{};
    const double listedAt = ms(t);
    QString error;
    const auto merged = controller.merge(listed.value(), &error);
    if (!merged)
        co_return Timed{};
    *summary = *merged;
    co_return Timed{ms(t), listedAt};
}

struct Round {
    double start = 0, firstRaw = 0, secondRaw = 0;
    Timed first, second;
};

// A fresh store, a freshly started simulated Shortcuts app, then the two syncs, each after its
// raw baseline.
std::optional<Round> runRound(const QString &dirPath, const SimulatedLibrary &library)
{
    const qsizetype shortcutCount = library.shortcuts.size();
    const QDir dir(dirPath);
    const QString libraryPath = dir.filePath(QStringLiteral("library.json"));
    if (!QDir().mkpath(dirPath) || !library.save(libraryPath)) {
        std::fprintf(stderr, "cannot write the library\n");
        return std::nullopt;
    }
    QString error;
    auto context = LibraryStoreContainer::open(dir.filePath(QStringLiteral("data")), &error);
    if (!context) {
        std::fprintf(stderr, "cannot open the store: %s\n", qPrintable(error));
        return std::nullopt;
    }
    QSettings settings(dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat);
    auto host = std::make_shared<SimulatedShortcutsEvents>(libraryPath);
    Round round;
    QElapsedTimer started;
    started.start();
    const ScriptHostReply startReply =
        host->execute(ShortcutsEventsBridge::iconScript(library.shortcuts.first().identifier));
    round.start = ms(started);
    if (startReply.kind != ScriptHostReply::Kind::reply) {
        std::fprintf(stderr, "the simulated Shortcuts app did not start\n");
        return std::nullopt;
    }
    ShortcutsEventsBridge bridge(host);
    LibrarySyncController controller(*context, bridge, settings);
    SyncSummary first, second;
    round.firstRaw = rawInsert(dir.filePath(QStringLiteral("raw1.sqlite")), int(shortcutCount));
    round.first = QCoro::waitFor(timedSync(controller, bridge, &first));
    round.secondRaw = rawInsert(dir.filePath(QStringLiteral("raw2.sqlite")), int(shortcutCount));
    round.second = QCoro::waitFor(timedSync(controller, bridge, &second));
    if (round.first.total < 0 || round.second.total < 0 || first.added != shortcutCount ||
        second.added != 0 || second.total != shortcutCount) {
        std::fprintf(stderr, "sync failed\n");
        return std::nullopt;
    }
    return round;
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Each round runs in a process of its own (this program with --round DIR COUNT), so that no
// round inherits the heap another one left behind.
std::optional<Round> roundInChildProcess(const QString &dirPath, int shortcutCount)
{
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--round"), dirPath, QString::number(shortcutCount)});
    if (!child.waitForFinished(120000) || child.exitCode() != 0)
        return std::nullopt;
    const QList<QByteArray> f = child.readAllStandardOutput().trimmed().split(' ');
    if (f.size() != 7)
        return std::nullopt;
    Round r;
    r.start = f[0].toDouble();
    r.first = {f[1].toDouble(), f[2].toDouble()};
    r.firstRaw = f[3].toDouble();
    r.second = {f[4].toDouble(), f[5].toDouble()};
    r.secondRaw = f[6].toDouble();
    return r;
}
// The medians of the rounds at one size, and where the listing time goes (not part of the
// ratios): the simulated app answering the list script, building the reply alone, decoding it.
struct Figures {
    double start = 0, firstSync = 0, firstListing = 0, firstRaw = 0, firstRatio = 0;
    double secondSync = 0, secondListing = 0, secondRaw = 0, secondRatio = 0;
    double answered = 0, firstAnswer = 0, built = 0, decoded = 0;
};

std::optional<Figures> measure(int shortcutCount, const QTemporaryDir &dir)
{
    const SimulatedLibrary library = makeLibrary(shortcutCount);
    QList<Round> rounds;
    for (int r = 0; r < roundCount; ++r) {
        const auto round = roundInChildProcess(
            dir.filePath(QStringLiteral("%1-round%2").arg(shortcutCount).arg(r)), shortcutCount);
        if (!round) {
            std::fprintf(stderr, "round %d of %d shortcuts failed\n", r + 1, shortcutCount);
            return std::nullopt;
        }
        rounds.append(*round);
        std::printf("%d shortcuts, round %d: first sync %.1f ms (listing and decoding %.1f) vs raw "
                    "%.1f (%.2f); re-sync %.1f ms (listing and decoding %.1f) vs raw %.1f (%.2f)\n",
                    shortcutCount, r + 1, round->first.total, round->first.listing, round->firstRaw,
                    round->first.total / round->firstRaw, round->second.total,
                    round->second.listing, round->secondRaw,
                    round->second.total / round->secondRaw);
    }
    auto med = [&](auto field) {
        QList<double> values;
        for (const Round &round : rounds)
            values.append(field(round));
        return median(values);
    };
    Figures f;
    f.start = med([](const Round &r) { return r.start; });
    f.firstSync = med([](const Round &r) { return r.first.total; });
    f.firstListing = med([](const Round &r) { return r.first.listing; });
    f.firstRaw = med([](const Round &r) { return r.firstRaw; });
    f.secondSync = med([](const Round &r) { return r.second.total; });
    f.secondListing = med([](const Round &r) { return r.second.listing; });
    f.secondRaw = med([](const Round &r) { return r.secondRaw; });
    // Each sync beside the raw insert of its own round: the machine's speed drifts between
    // rounds, so the ratio is taken within a round and the median of those is the figure.
    f.firstRatio = med([](const Round &r) { return r.first.total / r.firstRaw; });
    f.secondRatio = med([](const Round &r) { return r.second.total / r.secondRaw; });

    auto host = std::make_shared<SimulatedShortcutsEvents>(
        dir.filePath(QStringLiteral("%1-round0/library.json").arg(shortcutCount)));
    QElapsedTimer step;
    step.start();
    const ScriptHostReply reply = host->execute(ShortcutsEventsBridge::listScript());
    f.firstAnswer = ms(step);
    step.restart();
    host->execute(ShortcutsEventsBridge::listScript());
    f.answered = ms(step);
    step.restart();
    const auto decoded = ShortcutsEventsBridge::decodeShortcutList(reply.descriptor);
    f.decoded = ms(step);
    step.restart();
    const AppleEventDescriptor built = SimulatedShortcutsEvents::listReply(library);
    f.built = ms(step);
    if (!decoded || decoded.value().size() != shortcutCount) {
        std::fprintf(stderr, "the list reply of %d shortcuts did not decode\n", shortcutCount);
        return std::nullopt;
    }
    return f;
}
} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (argc == 4 && QByteArray(argv[1]) == "--round") {
        const SimulatedLibrary library = makeLibrary(QByteArray(argv[3]).toInt());
        const auto round = runRound(QString::fromLocal8Bit(argv[2]), library);
        if (!round)
            return 1;
        std::printf("%.3f %.3f %.3f %.3f %.3f %.3f %.3f\n", round->start, round->first.total,
                    round->first.listing, round->firstRaw, round->second.total,
                    round->second.listing, round->secondRaw);
        return 0;
    }
    const bool quick = BenchOptions::quick(argc, argv);
    const SampleLibrary::Scale scale = SampleLibrary::scale(quick);
    QTemporaryDir dir;
    const auto small = measure(scale.small.items, dir);
    const auto big = small ? measure(scale.big.items, dir) : std::nullopt;
    if (!big)
        return 1;

    ScaleTable table(scale, quick);
    std::printf("\n");
    table.printHeader("sync benchmark: medians of 5 rounds (ratios: median of the rounds' ratios)");
    table.row("simulated Shortcuts start (ms; not in the syncs)", small->start, big->start);
    table.row("baseline: raw SQLite insert before 1st sync (ms)", small->firstRaw, big->firstRaw);
    table.row("first sync (ms)", small->firstSync, big->firstSync);
    table.row("  of which listing and decoding (ms)", small->firstListing, big->firstListing);
    table.row("  ratio to raw insert (target <= 3)", small->firstRatio, big->firstRatio, 2);
    table.row("baseline: raw SQLite insert before re-sync (ms)", small->secondRaw, big->secondRaw);
    table.row("unchanged re-sync (ms)", small->secondSync, big->secondSync);
    table.row("  of which listing and decoding (ms)", small->secondListing, big->secondListing);
    table.row("  ratio to raw insert (target <= 1.5)", small->secondRatio, big->secondRatio, 2);
    table.row("steps: app answers the list script (ms)", small->answered, big->answered);
    table.row("  the first time, starting (ms)", small->firstAnswer, big->firstAnswer);
    table.row("  building the reply alone (ms)", small->built, big->built);
    table.row("  decoding the reply (ms)", small->decoded, big->decoded);
    std::printf("\n");
    table.check("first sync / raw insert, large library", big->firstRatio, 3);
    table.check("unchanged re-sync / raw insert, large library", big->secondRatio, 1.5);
    return table.exitCode();
}
