// Quick Run over a library of 10,000 shortcuts: from a keystroke in its search field to the
// results updated and painted, and from opening it to its first painted frame (the first
// opening folds the library for the search), beside the plain lower-case scan of the names
// measured in the same run.
#include "common/BenchOptions.h"
#include "common/LatencySummary.h"
#include "common/PaintCounter.h"
#include "common/SampleLibrary.h"
#include "common/WindowBench.h"
#include "ui/QuickRunPalette.h"

#include <QLineEdit>
#include <QListView>
#include <QTest>
#include <algorithm>
#include <cstdio>

namespace {
constexpr int shortcutCount = 10'000;

const char *const words[] = {"Morning", "Mail",  "Backup", "Photo", "Timer",  "Note",
                             "Music",   "Home",  "Work",   "Share", "Clip",   "Focus",
                             "Take",    "Break", "Lights", "Off",   "Résumé", "Café"};
constexpr int wordCount = int(std::size(words));

} // namespace

int main(int argc, char *argv[])
{
    BenchApplication bench(argc, argv);
    const int rounds = BenchOptions::count(BenchOptions::quick(argc, argv), 12, 1);
    ModelContext context;
    QRandomGenerator rng(18);
    const SampleLibrary::Trees trees = SampleLibrary::addTrees(context, rng, 200, 100);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (int i = 0; i < shortcutCount; ++i) {
        ShortcutItem *item = SampleLibrary::addShortcut(context, i);
        item->setName(QStringLiteral("%1 %2 %3 %4")
                          .arg(QString::fromUtf8(words[i % wordCount]),
                               QString::fromUtf8(words[(i / wordCount) % wordCount]),
                               QString::fromUtf8(words[(i / 7) % wordCount]), QString::number(i)));
        item->setColorHex(QStringLiteral("#FF9500"));
        SampleLibrary::fileShortcut(item, i, trees, rng);
        if (i % 9 == 0) {
            item->setRunCount(i % 50);
            item->setLastRunAt(now.addSecs(-qint64(i) * 600));
        }
    }
    context.save();

    BenchWindow shown(context, QSize(1400, 900));
    // No icons fetched behind the window's back: the figures are Quick Run's own.
    shown.syncer.setIconFetchBlocked(true);
    LibraryWindow &window = shown.window;
    ShortcutRunner &runner = shown.runner;
    window.show();
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents();
    QWidget *central = window.centralWidget();

    // Baseline: the plain loop over the names, lower-cased.
    const QStringList queries{QStringLiteral("tb"),           QStringLiteral("take break"),
                              QStringLiteral("mail home"),    QStringLiteral("cafe"),
                              QStringLiteral("lights off 1"), QStringLiteral("folder 12"),
                              QStringLiteral("resume work"),  QStringLiteral("mwf")};
    const QList<double> baseline = lowerCaseScans(context, queries, rounds);

    // Opening: a new panel (which folds the library first), then the same panel again.
    QList<double> coldOpens, opens;
    for (int r = 0; r < rounds; ++r) {
        auto *palette = new QuickRunPalette(context, runner, central);
        PaintCounter counter(palette->resultsView()->viewport());
        for (int again = 0; again < 4; ++again) {
            QElapsedTimer timer;
            timer.start();
            palette->open();
            counter.waitForPaint(counter.paints);
            (again == 0 ? coldOpens : opens).append(SampleLibrary::ms(timer));
            palette->dismiss();
            QCoreApplication::processEvents();
        }
        delete palette;
    }

    // A keystroke until the results are updated and painted.
    QuickRunPalette *palette = window.quickRun();
    PaintCounter counter(palette->resultsView()->viewport());
    QLineEdit *search = palette->searchField();
    QList<double> keystrokes;
    int unpainted = 0;
    for (int r = 0; r < rounds; ++r) {
        for (const QString &query : queries) {
            palette->open();
            QCoreApplication::processEvents();
            for (const QChar c : query) {
                const int before = counter.paints;
                QElapsedTimer timer;
                timer.start();
                QTest::keyClick(search, c.toLatin1());
                counter.waitForPaint(before);
                keystrokes.append(SampleLibrary::ms(timer));
                unpainted += counter.paints == before ? 1 : 0;
            }
            palette->dismiss();
        }
    }

    const LatencySummary keys = LatencySummary::of(keystrokes),
                         coldOpen = LatencySummary::of(coldOpens);
    const double base = LatencySummary::of(baseline).p50;
    const double keyMedian = keys.p50, keyP99 = keys.p99;
    const double cold = coldOpen.p50, coldMax = coldOpen.max;
    const double warm = LatencySummary::of(opens).p50;
    std::printf("library: %d shortcuts, %lld keystrokes measured (%d without a paint)\n",
                shortcutCount, qint64(keystrokes.size()), unpainted);
    std::printf("baseline (lower-case scan of the names): median %.2f ms\n", base);
    std::printf("keystroke -> results updated and painted: median %.2f ms (%.1fx baseline), "
                "p99 %.2f ms (%.1fx)\n",
                keyMedian, keyMedian / base, keyP99, keyP99 / base);
    std::printf("open -> first painted frame, folding the library: median %.2f ms (%.1fx "
                "baseline), max %.2f ms\n",
                cold, cold / base, coldMax);
    std::printf("open again -> first painted frame: median %.2f ms (%.1fx baseline)\n", warm,
                warm / base);
    const bool met = keyMedian <= 8 && keyP99 <= 16 && coldMax <= 50;
    std::printf("targets (keystroke median <= 8 ms, p99 <= 16 ms; open <= 50 ms): %s\n",
                met ? "met" : "missed");
    return 0;
}
