// Run history: what recording a run adds to the saves of the run, on 10,000 shortcuts in a
// store whose history is near its 20,000-entry bound (so every new entry also drops the oldest).
// The save that counts a run (run count and date) and the save that ends it (its outcome) are
// each timed without and with the history entry, interleaved, and printed as medians and 99th
// percentiles with the difference and the ratio.
#include "common/BenchOptions.h"
#include "common/SampleLibrary.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>

namespace {
using SampleLibrary::ms;
constexpr int itemCount = 10000;
constexpr int historyBefore = RunEntry::maxEntries - 10;
constexpr int warmUp = 20;

struct Timing {
    QList<double> counted;
    QList<double> ended;
};

double percentile(QList<double> values, double p)
{
    std::sort(values.begin(), values.end());
    return values.at(std::min<qsizetype>(values.size() - 1, qsizetype(p * values.size())));
}

// One run of a random shortcut, as the runner saves it: counted, then ended.
void timeRun(ModelContext &ctx, QRandomGenerator &rng, bool recorded, Timing *into)
{
    ShortcutItem *item = ctx.shortcuts().at(rng.bounded(itemCount));
    const QDateTime now = QDateTime::currentDateTimeUtc();
    QElapsedTimer t;
    t.start();
    item->setRunCount(item->runCount() + 1);
    item->setLastRunAt(now);
    const qint64 entry =
        recorded ? ctx.beginRunEntry(item, std::nullopt, RunSource::commandLine, now) : 0;
    ctx.save();
    const double counted = ms(t);
    t.restart();
    item->setLastRunOutcome(RunOutcome::succeeded);
    if (recorded)
        ctx.finishRunEntry(entry, RunOutcome::succeeded, QStringLiteral("Done"), 120);
    ctx.save();
    if (into) {
        into->counted.append(counted);
        into->ended.append(ms(t));
    }
}

void print(const char *what, const QList<double> &without, const QList<double> &with)
{
    const double base = percentile(without, 0.5), rec = percentile(with, 0.5);
    const double base99 = percentile(without, 0.99), rec99 = percentile(with, 0.99);
    std::printf("  %-22s median %6.3f -> %6.3f ms  (%+.3f ms, ratio %.2f)   "
                "p99 %6.3f -> %6.3f ms (%+.3f ms)\n",
                what, base, rec, rec - base, rec / base, base99, rec99, rec99 - base99);
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int samples = BenchOptions::count(BenchOptions::quick(argc, argv), 300, 20);
    QTemporaryDir scratch;
    QString error;
    auto ctx = LibraryStoreContainer::open(scratch.path(), &error);
    if (!ctx) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    for (int i = 0; i < itemCount; ++i)
        SampleLibrary::addShortcut(*ctx, i);
    ctx->save();
    const QDateTime start = QDateTime::currentDateTimeUtc().addDays(-30);
    for (int i = 0; i < historyBefore; ++i) {
        RunEntry e;
        e.itemId = ctx->shortcuts().at(i % itemCount)->persistentId();
        e.startedAt = start.addSecs(i);
        e.durationMs = 100 + i % 900;
        e.outcome = i % 7 ? RunOutcome::succeeded : RunOutcome::failed;
        e.text = QStringLiteral("Output of run %1").arg(i);
        ctx->addRunEntry(e);
    }
    ctx->save();

    QRandomGenerator rng(11);
    for (int i = 0; i < warmUp; ++i)
        timeRun(*ctx, rng, i % 2, nullptr);
    Timing without, with;
    for (int i = 0; i < samples; ++i) {
        timeRun(*ctx, rng, false, &without);
        timeRun(*ctx, rng, true, &with);
    }
    RunHistoryFilter all;
    const qsizetype kept = ctx->runHistory(all).size();

    std::printf("run history benchmark: %d shortcuts, %d runs in the history before, %lld after; "
                "%d runs each way\n",
                itemCount, historyBefore, qlonglong(kept), samples);
    std::printf("  baseline: the same saves without the history entry\n");
    print("save counting the run", without.counted, with.counted);
    print("save ending the run", without.ended, with.ended);
    return 0;
}
