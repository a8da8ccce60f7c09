// Store benchmark at two sizes: the standard library (10,000 shortcuts, 200 nested folders,
// 200 nested tags, 20 smart lists) and the large one (100,000, 2,000, 2,000, 50), every
// shortcut with a 2 KB icon. Prints open+load and save times beside raw SQLite inserting the
// same rows in one transaction in the same run, and the memory of a process that has opened
// the store, for each size and the growth between them. `--quick`: 1,000 and 2,000 shortcuts.
#include "common/BenchOptions.h"
#include "common/ProcessMemory.h"
#include "common/RawSqliteBaseline.h"
#include "common/SampleLibrary.h"
#include "common/ScaleTable.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <cstdio>
#include <sqlite3.h>

namespace {
using SampleLibrary::ms;
using SampleLibrary::Shape;
constexpr int runs = 3;

void populate(ModelContext &ctx, const Shape &shape)
{
    QRandomGenerator rng(7);
    const auto trees = SampleLibrary::addOrganisation(ctx, rng, shape);
    const QByteArray icon(2048, 'i');
    for (int i = 0; i < shape.items; ++i) {
        auto *item = SampleLibrary::addShortcut(ctx, i);
        item->setNativeFolderName(QStringLiteral("Folder %1").arg(i % 12));
        item->setColorHex(QStringLiteral("#FF9500"));
        item->setIconData(icon);
        item->setIconTopHex(QStringLiteral("#FF0000"));
        item->setIconBottomHex(QStringLiteral("#FF8000"));
        item->setActionCount(i % 30);
        SampleLibrary::fileShortcut(item, i, trees, rng);
    }
}

// The same rows written by hand with prepared statements: what SQLite itself needs.
double rawInsert(const QString &path, const Shape &shape)
{
    return RawSqliteBaseline::timedTransaction(
        path, "CREATE TABLE icons (id INTEGER PRIMARY KEY, data BLOB);", [&](sqlite3 *db) {
            sqlite3_stmt *icon = RawSqliteBaseline::prepare(db, "INSERT INTO icons VALUES (?,?)");
            const QByteArray blob(2048, 'i');
            RawSqliteBaseline::insertItemsWithTags(db, shape.items, shape.tags, [&](int i) {
                sqlite3_bind_int64(icon, 1, i + 1);
                sqlite3_bind_blob(icon, 2, blob.constData(), int(blob.size()), SQLITE_STATIC);
                RawSqliteBaseline::step(icon);
            });
            sqlite3_finalize(icon);
        });
}

struct Figures {
    double raw = 0, firstSave = 1e300, load = 1e300, changedSave = 1e300;
    ProcessMemory started, loaded, iconsRead;
};

// Opens the store in dir in a process of its own (this program with --memory DIR), so that
// nothing but the loaded library is resident: the memory before opening, after loading every
// record (icons stay on disk until asked for) and after reading every icon.
std::optional<Figures> memoryInChildProcess(const QString &dir, Figures figures)
{
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--memory"), dir});
    if (!child.waitForFinished(120000) || child.exitCode() != 0)
        return std::nullopt;
    const QList<QByteArray> f = child.readAllStandardOutput().trimmed().split(' ');
    if (f.size() != 6)
        return std::nullopt;
    figures.started = {f[0].toDouble(), f[1].toDouble()};
    figures.loaded = {f[2].toDouble(), f[3].toDouble()};
    figures.iconsRead = {f[4].toDouble(), f[5].toDouble()};
    return figures;
}

int memoryOfLoadedStore(const QString &dir)
{
    const ProcessMemory started = ProcessMemory::now();
    QString error;
    auto ctx = LibraryStoreContainer::open(dir, &error);
    if (!ctx) {
        std::fprintf(stderr, "cannot open the store: %s\n", qPrintable(error));
        return 1;
    }
    const ProcessMemory loaded = ProcessMemory::now();
    qsizetype bytes = 0;
    for (const ShortcutItem *item : ctx->shortcuts())
        bytes += item->iconData().value_or(QByteArray()).size();
    const ProcessMemory iconsRead = ProcessMemory::now();
    if (bytes != 2048 * ctx->shortcuts().size()) {
        std::fprintf(stderr, "read %lld icon bytes\n", qlonglong(bytes));
        return 1;
    }
    std::printf("%.1f %.1f %.1f %.1f %.1f %.1f\n", started.rssMB, started.peakMB, loaded.rssMB,
                loaded.peakMB, iconsRead.rssMB, iconsRead.peakMB);
    return 0;
}

std::optional<Figures> measure(const Shape &shape, const QTemporaryDir &scratch)
{
    Figures figures;
    int round = 0;
    figures.raw = SampleLibrary::best(runs, [&] {
        return rawInsert(
            scratch.filePath(QStringLiteral("raw-%1-%2.db").arg(shape.items).arg(round++)), shape);
    });
    QString kept;
    for (int r = 0; r < runs; ++r) {
        const QString dir = scratch.filePath(QStringLiteral("store-%1-%2").arg(shape.items).arg(r));
        kept = dir;
        {
            QString error;
            auto ctx = LibraryStoreContainer::open(dir, &error);
            populate(*ctx, shape);
            QElapsedTimer t;
            t.start();
            ctx->save();
            figures.firstSave = std::min(figures.firstSave, ms(t));
        }
        QElapsedTimer t;
        t.start();
        QString error;
        auto ctx = LibraryStoreContainer::open(dir, &error);
        figures.load = std::min(figures.load, ms(t));
        if (ctx->shortcuts().size() != shape.items) {
            std::fprintf(stderr, "loaded %lld items\n", qlonglong(ctx->shortcuts().size()));
            return std::nullopt;
        }
        for (ShortcutItem *item : ctx->shortcuts()) {
            item->setRunCount(item->runCount() + 1);
            item->setNotes(item->notes() + QStringLiteral("!"));
        }
        t.restart();
        ctx->save();
        figures.changedSave = std::min(figures.changedSave, ms(t));
    }
    return memoryInChildProcess(kept, figures);
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc == 3 && QByteArray(argv[1]) == "--memory")
        return memoryOfLoadedStore(QString::fromLocal8Bit(argv[2]));
    const bool quick = BenchOptions::quick(argc, argv);
    const SampleLibrary::Scale scale = SampleLibrary::scale(quick);
    QTemporaryDir scratch;
    const auto small = measure(scale.small, scratch);
    const auto big = small ? measure(scale.big, scratch) : std::nullopt;
    if (!big) {
        std::fprintf(stderr, "the store benchmark failed\n");
        return 1;
    }

    ScaleTable table(scale, quick);
    const QByteArray title =
        QByteArrayLiteral(
            "store benchmark: shortcuts with 2 KB icons; folders, tags, smart lists ") +
        ScaleTable::grouped(scale.small.folders) + '/' + ScaleTable::grouped(scale.small.tags) +
        '/' + QByteArray::number(scale.small.smartLists) + " and " +
        ScaleTable::grouped(scale.big.folders) + '/' + ScaleTable::grouped(scale.big.tags) + '/' +
        QByteArray::number(scale.big.smartLists) + "; best of " + QByteArray::number(runs);
    table.printHeader(title.constData());
    table.row("baseline: raw SQLite insert, one transaction (ms)", small->raw, big->raw);
    table.row("open + load every record (ms)", small->load, big->load);
    table.row("  ratio to raw insert", small->load / small->raw, big->load / big->raw, 2);
    table.row("save every record changed (ms)", small->changedSave, big->changedSave);
    table.row("  ratio to raw insert", small->changedSave / small->raw, big->changedSave / big->raw,
              2);
    table.row("first save of new records, with icons (ms)", small->firstSave, big->firstSave);
    table.row("  ratio to raw insert", small->firstSave / small->raw, big->firstSave / big->raw, 2);
    table.row("memory, process started: VmRSS (MB)", small->started.rssMB, big->started.rssMB);
    table.row("memory, store open + loaded: VmRSS (MB)", small->loaded.rssMB, big->loaded.rssMB);
    table.row("  VmHWM (MB)", small->loaded.peakMB, big->loaded.peakMB);
    table.row("  loaded minus started (MB)", small->loaded.rssMB - small->started.rssMB,
              big->loaded.rssMB - big->started.rssMB);
    table.row("memory, every icon read too: VmRSS (MB)", small->iconsRead.rssMB,
              big->iconsRead.rssMB);
    table.row("  VmHWM (MB)", small->iconsRead.peakMB, big->iconsRead.peakMB);
    std::printf("\n");
    table.check("open + load / raw insert, large library", big->load / big->raw, 3);
    table.check("loaded library VmRSS (MB), large library", big->loaded.rssMB, 600);
    table.check("loaded library VmHWM (MB), large library", big->loaded.peakMB, 600);
    return table.exitCode();
}
