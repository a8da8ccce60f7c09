// Library health check on 10,000 shortcuts, 200 nested folders, 200 nested tags and 20 smart
// lists, with a few of every problem, beside the sidebar counts of the same library.
#include "common/BenchOptions.h"
#include "common/SampleLibrary.h"
#include "model/LibraryHealth.h"
#include "model/ModelContext.h"
#include "model/SidebarCounts.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <cstdio>

namespace {
using SampleLibrary::folderCount;
using SampleLibrary::itemCount;
using SampleLibrary::ms;
using SampleLibrary::smartListCount;
using SampleLibrary::tagCount;

void populate(ModelContext &ctx)
{
    QRandomGenerator rng(17);
    const auto trees = SampleLibrary::addOrganisation(ctx, rng);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (int i = 0; i < itemCount; ++i) {
        auto *item = SampleLibrary::addShortcut(ctx, i);
        SampleLibrary::fileShortcut(item, i, trees, rng);
        item->setFirstSeenAt(now.addDays(-rng.bounded(400)));
        if (i % 3)
            item->setLastRunAt(now.addDays(-rng.bounded(300)));
        // About one in a hundred of each problem.
        if (i % 97 == 0)
            item->setName(QStringLiteral("Shortcut %1").arg(i + 1));
        if (i % 101 == 0)
            item->setName(item->name() + u' ');
        if (i % 103 == 0)
            item->setIdentifier(QStringLiteral("name:") + item->name());
        if (i % 107 == 0)
            item->setIsMissing(true);
        if (i % 109 == 0)
            item->setLastRunOutcome(RunOutcome::failed);
    }
    // Stale references, unreadable rules and empty records.
    ctx.deleteRecord(trees.tags.first());
    ctx.smartLists().last()->setRulesData("{}");
    for (int i = 0; i < 10; ++i) {
        ctx.insert(new LibraryFolder(QStringLiteral("Empty %1").arg(i), trees.folders[i]));
        ctx.insert(new Tag(QStringLiteral("Empty %1").arg(i), QString(), trees.tags[i + 1]));
    }
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int runs = BenchOptions::count(BenchOptions::quick(argc, argv), 15, 1);
    ModelContext ctx;
    populate(ctx);

    volatile qsizetype sink = 0;
    const double counts = SampleLibrary::best(runs, [&] {
        QElapsedTimer t;
        t.start();
        sink = SidebarCounts::of(ctx).all;
        return ms(t);
    });
    qsizetype problems = 0;
    const double health = SampleLibrary::best(runs, [&] {
        QElapsedTimer t;
        t.start();
        problems = LibraryHealth::of(ctx).problemCount();
        return ms(t);
    });
    std::printf("health benchmark: %d shortcuts, %d folders, %d tags, %d smart lists; best of %d\n",
                itemCount, folderCount, tagCount, smartListCount, runs);
    std::printf("  baseline  sidebar counts       %8.3f ms\n", counts);
    std::printf("  health check                   %8.3f ms   ratio %.2f   (%lld problems)\n",
                health, health / counts, static_cast<long long>(problems));
    std::printf("  target <= 2x: %s\n", health <= 2 * counts ? "met" : "MISSED");
    (void)sink;
    return 0;
}
