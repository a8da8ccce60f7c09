// Store benchmark: 10,000 shortcuts with 2 KB icons, 200 nested folders, 200 nested tags.
// Prints open+load and save times beside raw SQLite inserting the same rows in one transaction.
#include "common/RawSqliteBaseline.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <cstdio>
#include <sqlite3.h>

namespace {
constexpr int itemCount = 10000;
constexpr int folderCount = 200;
constexpr int tagCount = 200;

double ms(const QElapsedTimer &t)
{
    return t.nsecsElapsed() / 1e6;
}

void populate(ModelContext &ctx)
{
    QRandomGenerator rng(7);
    QList<LibraryFolder *> folders;
    QList<Tag *> tags;
    for (int i = 0; i < folderCount; ++i)
        folders.append(ctx.insert(new LibraryFolder(QStringLiteral("Folder %1").arg(i),
                                                    i < 20 ? nullptr : folders[rng.bounded(i)])));
    for (int i = 0; i < tagCount; ++i)
        tags.append(ctx.insert(new Tag(QStringLiteral("Tag %1").arg(i), QStringLiteral("#8E8E93"),
                                       i < 20 ? nullptr : tags[rng.bounded(i)])));
    const QByteArray icon(2048, 'i');
    for (int i = 0; i < itemCount; ++i) {
        auto *item = ctx.insert(new ShortcutItem(QStringLiteral("%1-0000-4000-8000-000000000000")
                                                     .arg(i, 8, 16, QLatin1Char('0'))
                                                     .toUpper(),
                                                 QStringLiteral("Shortcut %1").arg(i)));
        item->setSubtitle(QStringLiteral("%1 actions").arg(i % 30));
        item->setNativeFolderName(QStringLiteral("Folder %1").arg(i % 12));
        item->setColorHex(QStringLiteral("#FF9500"));
        item->setIconData(icon);
        item->setIconTopHex(QStringLiteral("#FF0000"));
        item->setIconBottomHex(QStringLiteral("#FF8000"));
        item->setLibraryOrder(i);
        item->setActionCount(i % 30);
        item->setNotes(i % 5 ? QString() : QStringLiteral("Some notes about this shortcut"));
        if (i % 3)
            item->setFolder(folders[rng.bounded(folderCount)]);
        item->addTag(tags[rng.bounded(tagCount)]);
        if (i % 2)
            item->addTag(tags[rng.bounded(tagCount)]);
    }
}

// The same rows written by hand with prepared statements: what SQLite itself needs.
double rawInsert(const QString &path)
{
    sqlite3 *db = nullptr;
    sqlite3_open(path.toUtf8().constData(), &db);
    RawSqliteBaseline::createItemsTable(db);
    sqlite3_exec(db,
                 "CREATE TABLE icons (id INTEGER PRIMARY KEY, data BLOB);"
                 "CREATE TABLE item_tags (item INTEGER, tag INTEGER, PRIMARY KEY(item, tag)) "
                 "WITHOUT ROWID;",
                 nullptr, nullptr, nullptr);
    QElapsedTimer t;
    t.start();
    sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
    sqlite3_stmt *item = RawSqliteBaseline::prepareItemInsert(db), *icon = nullptr, *tag = nullptr;
    sqlite3_prepare_v2(db, "INSERT INTO icons VALUES (?,?)", -1, &icon, nullptr);
    sqlite3_prepare_v2(db, "INSERT OR IGNORE INTO item_tags VALUES (?,?)", -1, &tag, nullptr);
    const QByteArray blob(2048, 'i');
    for (int i = 0; i < itemCount; ++i) {
        RawSqliteBaseline::insertItem(item, i);
        sqlite3_bind_int64(icon, 1, i + 1);
        sqlite3_bind_blob(icon, 2, blob.constData(), int(blob.size()), SQLITE_STATIC);
        sqlite3_step(icon);
        sqlite3_reset(icon);
        for (int k = 0; k < (i % 2 ? 2 : 1); ++k) {
            sqlite3_bind_int64(tag, 1, i + 1);
            sqlite3_bind_int64(tag, 2, (i * 7 + k) % tagCount);
            sqlite3_step(tag);
            sqlite3_reset(tag);
        }
    }
    sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
    const double elapsed = ms(t);
    sqlite3_finalize(item);
    sqlite3_finalize(icon);
    sqlite3_finalize(tag);
    sqlite3_close(db);
    return elapsed;
}

template<typename F> double best(int runs, F f)
{
    double b = 1e300;
    for (int i = 0; i < runs; ++i)
        b = std::min(b, f());
    return b;
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int runs = 3;
    QTemporaryDir scratch;
    int round = 0;

    const double raw = best(
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
