// Organisation benchmark: 10,000 shortcuts (each organised), 200 nested folders, 200 nested
// tags, 20 smart lists. Prints the export of a loaded library and the import into an empty one
// (decode, match, apply and the one save) beside raw SQLite inserting the same rows.
#include "common/BenchOptions.h"
#include "common/RawSqliteBaseline.h"
#include "common/SampleLibrary.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "model/OrganisationDocument.h"
#include "model/SmartRuleSet.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <cstdio>
#include <sqlite3.h>

namespace {
using SampleLibrary::folderCount;
using SampleLibrary::itemCount;
using SampleLibrary::ms;
using SampleLibrary::smartListCount;
using SampleLibrary::tagCount;

void populate(ModelContext &ctx)
{
    QRandomGenerator rng(7);
    const auto trees = SampleLibrary::addOrganisation(ctx, rng);
    for (int i = 0; i < itemCount; ++i) {
        auto *item = SampleLibrary::addShortcut(ctx, i);
        item->setIsFavorite(i % 7 == 0);
        item->setRunCount(i % 11);
        SampleLibrary::fileShortcut(item, i, trees, rng);
    }
}

void insertNamedRows(sqlite3 *db, const char *sql, int count)
{
    sqlite3_stmt *s = RawSqliteBaseline::prepare(db, sql);
    for (int i = 0; i < count; ++i) {
        const QByteArray uuid = QByteArray::number(i).rightJustified(36, '0');
        const QByteArray name = "Record " + QByteArray::number(i);
        sqlite3_bind_int64(s, 1, i + 1);
        sqlite3_bind_text(s, 2, uuid.constData(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(s, 3, name.constData(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_int64(s, 4, i / 2);
        RawSqliteBaseline::step(s);
    }
    sqlite3_finalize(s);
}

// The same rows written by hand with prepared statements: what SQLite itself needs.
double rawInsert(const QString &path)
{
    return RawSqliteBaseline::timedTransaction(
        path,
        "CREATE TABLE folders (id INTEGER PRIMARY KEY, uuid TEXT, name TEXT, parent INTEGER);"
        "CREATE TABLE tags (id INTEGER PRIMARY KEY, uuid TEXT, name TEXT, parent INTEGER);"
        "CREATE TABLE lists (id INTEGER PRIMARY KEY, uuid TEXT, name TEXT, sort INTEGER);",
        [](sqlite3 *db) {
            insertNamedRows(db, "INSERT INTO folders VALUES (?,?,?,?)", folderCount);
            insertNamedRows(db, "INSERT INTO tags VALUES (?,?,?,?)", tagCount);
            insertNamedRows(db, "INSERT INTO lists VALUES (?,?,?,?)", smartListCount);
            RawSqliteBaseline::insertItemsWithTags(db, itemCount, tagCount, [](int) {});
        });
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int runs = BenchOptions::count(BenchOptions::quick(argc, argv), 3, 1);
    QTemporaryDir scratch;
    QString error;

    int round = 0;
    const double raw = SampleLibrary::best(
        runs, [&] { return rawInsert(scratch.filePath(QStringLiteral("raw%1.db").arg(round++))); });

    // The library to export, as the program has it: saved, then opened and loaded.
    const QString sourceDir = scratch.filePath(QStringLiteral("source"));
    {
        auto ctx = LibraryStoreContainer::open(sourceDir, &error);
        populate(*ctx);
        ctx->save();
    }
    auto source = LibraryStoreContainer::open(sourceDir, &error);
    QByteArray document;
    const double exportTime = SampleLibrary::best(runs, [&] {
        QElapsedTimer t;
        t.start();
        document = exportDocument(*source);
        return ms(t);
    });

    double importTime = 1e300, applyTime = 1e300;
    for (int r = 0; r < runs; ++r) {
        auto ctx =
            LibraryStoreContainer::open(scratch.filePath(QStringLiteral("into%1").arg(r)), &error);
        QElapsedTimer t;
        t.start();
        const auto summary = importDocument(*ctx, document, ImportMode::apply, &error);
        applyTime = std::min(applyTime, ms(t));
        ctx->save();
        importTime = std::min(importTime, ms(t));
        if (!summary || summary->shortcuts.added != itemCount) {
            std::fprintf(stderr, "import failed: %s\n", qPrintable(error));
            return 1;
        }
    }

    std::printf("organisation benchmark: %d shortcuts, %d folders, %d tags, %d smart lists; "
                "%.1f MB document; best of %d\n",
                itemCount, folderCount, tagCount, smartListCount, document.size() / 1e6, runs);
    std::printf("  baseline  raw SQLite insert of the same rows      %8.1f ms\n", raw);
    std::printf("  export of a loaded library                        %8.1f ms   ratio %.2f\n",
                exportTime, exportTime / raw);
    std::printf("  import into an empty library, with its save       %8.1f ms   ratio %.2f\n",
                importTime, importTime / raw);
    std::printf("    of which reading, matching and applying         %8.1f ms   ratio %.2f\n",
                applyTime, applyTime / raw);
    return 0;
}
