// Store benchmark: 10,000 shortcuts with 2 KB icons, 200 nested folders, 200 nested tags.
// Prints open+load and save times beside raw SQLite inserting the same rows in one transaction.
#include "common/RawSqliteBaseline.h"
#include "common/SampleLibrary.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <cstdio>
#include <sqlite3.h>

namespace {
using SampleLibrary::ms;
constexpr int itemCount = 10000;
constexpr int folderCount = 200;
constexpr int tagCount = 200;

void populate(ModelContext &ctx)
{
    QRandomGenerator rng(7);
    const auto trees = SampleLibrary::addTrees(ctx, rng, folderCount, tagCount);
    const QByteArray icon(2048, 'i');
    for (int i = 0; i < itemCount; ++i) {
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
double rawInsert(const QString &path)
{
    return RawSqliteBaseline::timedTransaction(
        path, "CREATE TABLE icons (id INTEGER PRIMARY KEY, data BLOB);", [](sqlite3 *db) {
            sqlite3_stmt *icon = nullptr;
            sqlite3_prepare_v2(db, "INSERT INTO icons VALUES (?,?)", -1, &icon, nullptr);
            const QByteArray blob(2048, 'i');
            RawSqliteBaseline::insertItemsWithTags(db, itemCount, tagCount, [&](int i) {
                sqlite3_bind_int64(icon, 1, i + 1);
                sqlite3_bind_blob(icon, 2, blob.constData(), int(blob.size()), SQLITE_STATIC);
                sqlite3_step(icon);
                sqlite3_reset(icon);
            });
            sqlite3_finalize(icon);
        });
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int runs = 3;
    QTemporaryDir scratch;
    int round = 0;

    const double raw = SampleLibrary::best(
        runs, [&] { return rawInsert(scratch.filePath(QStringLiteral("raw%1.db").arg(round++))); });

    double firstSave = 1e300, load = 1e300, changedSave = 1e300;
    for (int r = 0; r < runs; ++r) {
        const QString dir = scratch.filePath(QStringLiteral("store%1").arg(r));
        {
            QString error;
            auto ctx = LibraryStoreContainer::open(dir, &error);
            populate(*ctx);
            QElapsedTimer t;
            t.start();
            ctx->save();
            firstSave = std::min(firstSave, ms(t));
        }
        QElapsedTimer t;
        t.start();
        QString error;
        auto ctx = LibraryStoreContainer::open(dir, &error);
        load = std::min(load, ms(t));
        if (ctx->shortcuts().size() != itemCount) {
            std::fprintf(stderr, "loaded %lld items\n", qlonglong(ctx->shortcuts().size()));
            return 1;
        }
        for (ShortcutItem *item : ctx->shortcuts()) {
            item->setRunCount(item->runCount() + 1);
            item->setNotes(item->notes() + QStringLiteral("!"));
        }
        t.restart();
        ctx->save();
        changedSave = std::min(changedSave, ms(t));
    }

    std::printf("store benchmark: %d shortcuts (2 KB icons), %d folders, %d tags; best of %d\n",
                itemCount, folderCount, tagCount, runs);
    std::printf("  baseline  raw SQLite insert, one transaction   %8.1f ms\n", raw);
    std::printf("  open + load every record                       %8.1f ms   ratio %.2f\n", load,
                load / raw);
    std::printf("  save 10,000 changed records                    %8.1f ms   ratio %.2f\n",
                changedSave, changedSave / raw);
    std::printf("  first save of 10,000 new records (with icons)  %8.1f ms   ratio %.2f\n",
                firstSave, firstSave / raw);
    return 0;
}
