// The icon queue over 10,000 shortcuts of the simulated Shortcuts app, beside its two stages
// measured alone in the same run: (a) fetching every icon through the bridge, one after
// another as the queue does; (b) IconProcessing::process on a worker pool over the same bytes,
// one after another; (c) the queue itself, startIconFetch() on a store synced with those
// shortcuts until iconFetchFinished(). The queue overlaps the two stages (the next icon is
// fetched while the last one is processed), so it should take little more than the slower one:
// target (c) <= 1.3 x max(a, b). The serial sum a + b is what the stages take one after the
// other, as the queue did before the overlap.
//
// Each round runs the three on a fresh store; the table shows the best round of each with its
// processor time (all threads), and the ratio both of those figures and as the median of each
// round's own ratio (the machine's speed drifts between rounds).
// --quick: 300 icons, one round; only checks that the queue completes.
#include "common/BenchOptions.h"
#include "common/SampleLibrary.h"
#include "common/SimulatedSample.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "shortcuts/IconProcessing.h"
#include "shortcuts/ShortcutsEventsBridge.h"
#include "simulator/SimulatedIconRenderer.h"
#include "simulator/SimulatedLibrary.h"
#include "simulator/SimulatedShortcutsEvents.h"
#include "sync/LibrarySyncController.h"

#include <QCoreApplication>
#include <QCoro/QCoroFuture>
#include <QDir>
#include <QElapsedTimer>
#include <QSettings>
#include <QTemporaryDir>
#include <QThreadPool>
#include <QtConcurrent>
#include <algorithm>
#include <cstdio>
#include <ctime>

using SampleLibrary::ms;

namespace {
// Shortcuts with the glyphs and gradients of real icons: every glyph the simulated app draws,
// colours around the hue circle.
SimulatedLibrary makeLibrary(int count)
{
    const QStringList glyphs = SimulatedIconRenderer::glyphNames();
    SimulatedLibrary library;
    for (int i = 0; i < count; ++i) {
        SimulatedShortcut s = simulatedSampleShortcut(i);
        s.glyph = glyphs.at(i % glyphs.size());
        s.iconTop = QColor::fromHsv((i * 47) % 360, 190, 235);
        s.iconBottom = QColor::fromHsv((i * 47 + 25) % 360, 220, 250);
        s.color = s.iconTop;
        library.shortcuts.append(s);
    }
    return library;
}

// Processing at the queue's priority, on a pool of its own.
QThreadPool &processingPool()
{
    static QThreadPool *pool = [] {
        auto *p = new QThreadPool;
        p->setThreadPriority(QThread::LowPriority);
        return p;
    }();
    return *pool;
}

// Wall-clock and processor time (every thread of the process) of one stretch of work.
struct Span {
    double wall = -1, cpu = -1;
};

class Stopwatch {
public:
    Stopwatch() : m_cpu(std::clock()) { m_wall.start(); }
    Span elapsed() const
    {
        return {ms(m_wall), double(std::clock() - m_cpu) * 1000.0 / CLOCKS_PER_SEC};
    }

private:
    QElapsedTimer m_wall;
    std::clock_t m_cpu;
};

// (a) Every icon fetched through the bridge, each after the last has answered.
QCoro::Task<bool> fetchAll(ShortcutsEventsBridge &bridge, QStringList identifiers,
                           QList<QByteArray> *icons)
{
    for (const QString &identifier : identifiers) {
        auto fetching = bridge.iconData(identifier);
        const auto fetched = co_await fetching;
        if (!fetched || !fetched.value())
            co_return false;
        icons->append(*fetched.value());
    }
    co_return true;
}

// (b) Every icon processed on the pool, each after the last has finished.
QCoro::Task<bool> processAll(QList<QByteArray> icons)
{
    for (const QByteArray &bytes : icons) {
        auto processing = QtConcurrent::run(&processingPool(),
                                            [bytes] { return IconProcessing::process(bytes); });
        const auto processed = co_await processing;
        if (!processed)
            co_return false;
    }
    co_return true;
}

// The store synced with the library (the list merged, as a full sync does before its queue).
QCoro::Task<bool> syncStore(LibrarySyncController &controller, ShortcutsEventsBridge &bridge,
                            QString *error)
{
    auto listing = bridge.listShortcuts();
    const auto listed = co_await listing;
    if (!listed) {
        *error = listed.error().message();
        co_return false;
    }
    co_return controller.merge(listed.value(), error).has_value();
}

// One icon script, answered with an icon.
QCoro::Task<bool> fetchOne(ShortcutsEventsBridge &bridge, QString identifier)
{
    auto fetching = bridge.iconData(identifier);
    const auto fetched = co_await fetching;
    const bool answered = fetched && fetched.value();
    co_return answered;
}

struct Round {
    Span fetch, process, queue;
};

// One round on a fresh store in `dirPath`: the store synced with the library, then (a), (b)
// and (c). No value when something did not complete.
std::optional<Round> runRound(const QString &dirPath, ShortcutsEventsBridge &bridge,
                              const QStringList &identifiers)
{
    const QDir dir(dirPath);
    QString error;
    if (!QDir().mkpath(dirPath)) {
        std::fprintf(stderr, "cannot make %s\n", qPrintable(dirPath));
        return std::nullopt;
    }
    auto context = LibraryStoreContainer::open(dir.filePath(QStringLiteral("data")), &error);
    if (!context) {
        std::fprintf(stderr, "cannot open the store: %s\n", qPrintable(error));
        return std::nullopt;
    }
    QSettings settings(dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat);
    LibrarySyncController controller(*context, bridge, settings);
    if (!QCoro::waitFor(syncStore(controller, bridge, &error)) ||
        context->shortcuts().size() != identifiers.size()) {
        std::fprintf(stderr, "sync failed: %s\n", qPrintable(error));
        return std::nullopt;
    }

    Round round;
    QList<QByteArray> icons;
    icons.reserve(identifiers.size());
    const Stopwatch fetching;
    const bool fetched = QCoro::waitFor(fetchAll(bridge, identifiers, &icons));
    round.fetch = fetching.elapsed();
    const Stopwatch processing;
    const bool processed = QCoro::waitFor(processAll(icons));
    round.process = processing.elapsed();
    if (!fetched || !processed) {
        std::fprintf(stderr, "a stage alone did not complete\n");
        return std::nullopt;
    }

    const Stopwatch queue;
    controller.startIconFetch();
    QCoro::waitFor(controller.iconFetchFinished());
    round.queue = queue.elapsed();
    const auto withIcons = std::count_if(context->shortcuts().cbegin(), context->shortcuts().cend(),
                                         [](const ShortcutItem *i) { return i->hasIconData(); });
    if (withIcons != identifiers.size()) {
        std::fprintf(stderr, "the queue completed %lld of %lld icons\n", qint64(withIcons),
                     qint64(identifiers.size()));
        return std::nullopt;
    }
    return round;
}

void printRow(const char *label, int icons, const Span &span)
{
    std::printf("  %-48s %6d %10.1f %10.0f %10.1f\n", label, icons, span.wall,
                icons / (span.wall / 1000.0), span.cpu);
}
} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const bool quick = BenchOptions::quick(argc, argv);
    const int count = BenchOptions::count(quick, 10000, 300);
    const int rounds = BenchOptions::count(quick, 3, 1);

    QTemporaryDir dir;
    const SimulatedLibrary library = makeLibrary(count);
    const QString libraryPath = dir.filePath(QStringLiteral("library.json"));
    if (!library.save(libraryPath)) {
        std::fprintf(stderr, "cannot write the library\n");
        return 1;
    }
    QStringList identifiers;
    for (const SimulatedShortcut &s : library.shortcuts)
        identifiers.append(s.identifier);

    // The real Shortcuts app has its library loaded before anyone asks; the simulated one
    // reads its file at the first script. That start is kept out of the figures.
    auto host = std::make_shared<SimulatedShortcutsEvents>(libraryPath);
    ShortcutsEventsBridge bridge(host);
    if (!QCoro::waitFor(fetchOne(bridge, identifiers.first()))) {
        std::fprintf(stderr, "the simulated Shortcuts app did not start\n");
        return 1;
    }

    QList<Round> done;
    for (int r = 0; r < rounds; ++r) {
        const auto round =
            runRound(dir.filePath(QStringLiteral("round%1").arg(r)), bridge, identifiers);
        if (!round) {
            std::fprintf(stderr, "round %d failed\n", r + 1);
            return 1;
        }
        std::printf("round %d: fetch %.1f ms, process %.1f ms, queue %.1f ms (%.2f)\n", r + 1,
                    round->fetch.wall, round->process.wall, round->queue.wall,
                    round->queue.wall / std::max(round->fetch.wall, round->process.wall));
        done.append(*round);
    }
    // The fastest round of each, with its processor time.
    auto best = [&done](Span Round::*field) {
        Span b = done.first().*field;
        for (const Round &round : done) {
            if ((round.*field).wall < b.wall)
                b = round.*field;
        }
        return b;
    };
    const Span fetch = best(&Round::fetch);
    const Span process = best(&Round::process);
    const Span queue = best(&Round::queue);

    std::printf("icon queue over %d shortcuts of the simulated Shortcuts app (best of %d "
                "round%s; cpu: processor time of all threads):\n",
                count, rounds, rounds == 1 ? "" : "s");
    std::printf("  %-48s %6s %10s %10s %10s\n", "", "icons", "ms", "icons/s", "cpu ms");
    printRow("(a) fetch alone (bridge, one after another)", count, fetch);
    printRow("(b) processing alone (pool, one after another)", count, process);
    printRow("(c) queue (startIconFetch to iconFetchFinished)", count, queue);
    printRow("    a + b, the stages one after the other", count,
             Span{fetch.wall + process.wall, fetch.cpu + process.cpu});
    // The machine's speed drifts between rounds: the ratio is also taken within each round.
    QList<double> ratios;
    for (const Round &round : done)
        ratios.append(round.queue.wall / std::max(round.fetch.wall, round.process.wall));
    std::sort(ratios.begin(), ratios.end());
    std::printf("  ratio (c) / max(a, b): %.2f of the best figures, %.2f the median of the "
                "rounds' own (target <= 1.3)%s\n",
                queue.wall / std::max(fetch.wall, process.wall), ratios.at(ratios.size() / 2),
                quick ? "; --quick: only checks that the queue completes" : "");
    return 0;
}
