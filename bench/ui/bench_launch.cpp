// From launch to the first painted window with a library of 10,000 shortcuts (and 100,000),
// each in a fresh process, beside a bare Qt program started the same way in the same run that
// opens the same store file with SQLite, reads every name and paints them in a QListView (as it
// comes, and with uniform item sizes, which skips measuring every row before the first paint). Then
// the resident set of the program after launch and after scrolling through every tile.
//
// The program runs through its own entry point in a child process of this benchmark, which
// watches for the collection's first paint from outside the program's code.
#include "app/Application.h"
#include "common/BenchOptions.h"
#include "common/LatencySummary.h"
#include "common/ProcessMemory.h"
#include "common/WindowBench.h"
#include "common/WindowLibrary.h"
#include "model/LibraryStoreContainer.h"

#include <QAbstractItemView>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QScrollBar>
#include <QTimer>
#include <cstdio>
#include <cstdlib>

namespace {

// In the child: the collection's grid, once it has painted rows.
QAbstractItemView *paintedGrid(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::Paint || !watched->isWidgetType())
        return nullptr;
    auto *view = qobject_cast<QAbstractItemView *>(static_cast<QWidget *>(watched)->parentWidget());
    if (!view || !view->inherits("ShortcutGridView") || !view->model() ||
        view->model()->rowCount() == 0)
        return nullptr;
    return view;
}

void scrollThroughEveryTile(QAbstractItemView *grid)
{
    QScrollBar *bar = grid->verticalScrollBar();
    while (true) {
        grid->viewport()->repaint();
        if (bar->value() >= bar->maximum())
            break;
        bar->setValue(bar->value() + bar->pageStep());
        QCoreApplication::processEvents();
    }
}

bool scrollAfterLaunch = false;

struct FirstPaint : QObject {
    bool done = false;
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        QAbstractItemView *grid = done ? nullptr : paintedGrid(watched, event);
        if (!grid)
            return false;
        done = true;
        QTimer::singleShot(0, [grid] {
            std::puts("painted");
            std::printf("rss-launch %.1f\n", ProcessMemory::now().rssMB);
            if (scrollAfterLaunch) {
                scrollThroughEveryTile(grid);
                std::printf("rss-scrolled %.1f\n", ProcessMemory::now().rssMB);
            }
            std::fflush(stdout);
            std::_Exit(0);
        });
        return false;
    }
};

void watchForFirstPaint()
{
    QCoreApplication::instance()->installEventFilter(new FirstPaint);
}

int runChild(const QString &dataDirectory, bool scroll)
{
    scrollAfterLaunch = scroll;
    qAddPreRoutine(watchForFirstPaint);
    QByteArray program("thimblecraft"), option("--data-dir"), dir = dataDirectory.toLocal8Bit();
    char *arguments[] = {program.data(), option.data(), dir.data(), nullptr};
    int count = 3;
    return runThimblecraft(count, arguments);
}

struct Launch {
    double ms = -1;
    int names = -1; // what the bare program read and showed
    double rssLaunch = -1, rssScrolled = -1;
};

// Starts a program and times it until it prints "painted"; reads what it reports after that.
Launch launch(const QString &program, const QStringList &arguments,
              const QProcessEnvironment &environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QElapsedTimer timer;
    timer.start();
    process.start(program, arguments);
    Launch result;
    QByteArray output;
    while (process.waitForReadyRead(60'000)) {
        output += process.readAllStandardOutput();
        if (result.ms < 0 && output.contains('\n') && output.startsWith("painted"))
            result.ms = SampleLibrary::ms(timer);
    }
    process.waitForFinished(60'000);
    output += process.readAllStandardOutput();
    for (const QByteArray &line : output.split('\n')) {
        const QList<QByteArray> words = line.split(' ');
        if (words.value(0) == "painted" && words.size() > 1)
            result.names = words.value(1).toInt();
        else if (words.value(0) == "rss-launch")
            result.rssLaunch = words.value(1).toDouble();
        else if (words.value(0) == "rss-scrolled")
            result.rssScrolled = words.value(1).toDouble();
    }
    if (result.ms < 0)
        std::fprintf(stderr, "%s did not paint; it printed: %s\n", qPrintable(program),
                     output.constData());
    return result;
}

struct Figures {
    int shortcuts = 0;
    LatencySummary bare, bareUniform, window;
    Launch scrolled;
};

Figures measure(const WindowLibrary::Shape &shape, const QString &dataDirectory, int rounds,
                bool scroll)
{
    Figures f;
    f.shortcuts = int(WindowLibrary::create(shape, dataDirectory)->shortcuts().size());
    // The settings the window reads are the benchmark's: no sync at launch, icons current.
    AppSettings::store().sync();
    QFile::copy(
        AppSettings::store().fileName(),
        QDir(dataDirectory).filePath(QFileInfo(AppSettings::store().fileName()).fileName()));

    const QString self = QCoreApplication::applicationFilePath();
    const QString bare =
        QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("launch_baseline"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), dataDirectory);
    // Qt warns on every start about a runtime directory others may read.
    QFile::setPermissions(dataDirectory, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QString store = LibraryStoreContainer::storePath(dataDirectory);

    QList<double> bareTimes, uniformTimes, windowTimes;
    for (int r = 0; r < rounds; ++r) {
        const Launch plain = launch(bare, {store}, environment);
        const Launch uniform = launch(bare, {store, QStringLiteral("--uniform")}, environment);
        // A bare program that read fewer names than the library holds measures something else.
        for (const Launch &l : {plain, uniform})
            if (l.names != f.shortcuts) {
                std::fprintf(stderr, "the bare program showed %d names of %d\n", l.names,
                             f.shortcuts);
                std::exit(1);
            }
        bareTimes.append(plain.ms);
        uniformTimes.append(uniform.ms);
        windowTimes.append(
            launch(self, {QStringLiteral("--child"), dataDirectory}, environment).ms);
    }
    f.bare = LatencySummary::of(bareTimes);
    f.bareUniform = LatencySummary::of(uniformTimes);
    f.window = LatencySummary::of(windowTimes);
    f.scrolled =
        launch(self, {QString::fromLatin1(scroll ? "--child-scroll" : "--child"), dataDirectory},
               environment);
    return f;
}

void print(const Figures &f)
{
    std::printf("\n%d shortcuts, %d launches each, alternating\n", f.shortcuts, f.bare.samples);
    LatencySummary::printHeader("launch -> first painted window (ms)");
    f.bare.print("bare Qt program (names in a QListView)", f.bare.p50);
    f.bareUniform.print("  the same, uniform item sizes", f.bare.p50);
    f.window.print("Thimblecraft", f.bare.p50);
    std::printf("resident set: %.1f MB after launch", f.scrolled.rssLaunch);
    if (f.scrolled.rssScrolled > 0)
        std::printf(", %.1f MB after scrolling through every tile", f.scrolled.rssScrolled);
    std::printf("\n");
}
} // namespace

int main(int argc, char *argv[])
{
    if (argc == 3 && (QByteArray(argv[1]) == "--child" || QByteArray(argv[1]) == "--child-scroll"))
        return runChild(QString::fromLocal8Bit(argv[2]), QByteArray(argv[1]) == "--child-scroll");

    BenchApplication bench(argc, argv);
    const bool quick = BenchOptions::quick(argc, argv);
    const int rounds = BenchOptions::count(quick, 15, 2);
    // --keep leaves the libraries behind, to profile a launch by hand:
    //   perf record bench_launch --child DIR
    if (std::find_if(argv, argv + argc, [](const char *a) { return QByteArray(a) == "--keep"; }) !=
        argv + argc) {
        bench.dir.setAutoRemove(false);
        std::printf("libraries kept in %s\n", qPrintable(bench.dir.path()));
    }
    const Figures standard = measure(quick ? WindowLibrary::small : WindowLibrary::standard,
                                     bench.dir.filePath(QStringLiteral("standard")), rounds, true);
    print(standard);
    const double ratio = standard.window.p50 / standard.bare.p50;
    const double memory = std::max(standard.scrolled.rssLaunch, standard.scrolled.rssScrolled);
    std::printf("targets: launch <= 2x the bare program (%.2fx): %s; resident set <= 120 MB: %s\n",
                ratio, ratio <= 2 ? "met" : "missed", memory <= 120 ? "met" : "missed");
    std::printf("beside the bare program with uniform item sizes: %.2fx\n",
                standard.window.p50 / standard.bareUniform.p50);
    if (quick)
        return standard.window.p50 > 0 && standard.bare.p50 > 0 ? 0 : 1;

    const Figures large = measure(WindowLibrary::large, bench.dir.filePath(QStringLiteral("large")),
                                  rounds / 3, false);
    print(large);
    std::printf("\n%-44s %9d %9d   growth\n", "", standard.shortcuts, large.shortcuts);
    std::printf("%-44s %9.1f %9.1f   %5.1fx\n", "launch p50 (ms)", standard.window.p50,
                large.window.p50, large.window.p50 / standard.window.p50);
    std::printf("%-44s %9.1f %9.1f   %5.1fx\n", "bare program launch p50 (ms)", standard.bare.p50,
                large.bare.p50, large.bare.p50 / standard.bare.p50);
    std::printf("%-44s %9.1f %9.1f   %5.1fx\n", "  the same, uniform item sizes",
                standard.bareUniform.p50, large.bareUniform.p50,
                large.bareUniform.p50 / standard.bareUniform.p50);
    std::printf("%-44s %9.1f %9.1f   %5.1fx\n", "resident set after launch (MB)",
                standard.scrolled.rssLaunch, large.scrolled.rssLaunch,
                large.scrolled.rssLaunch / standard.scrolled.rssLaunch);
    return 0;
}
