// Organisation benchmark: 10,000 shortcuts (each organised), 200 nested folders, 200 nested
// tags, 20 smart lists. Prints the export of a loaded library and the import into an empty one
// (decode, match, apply and the one save) beside raw SQLite inserting the same rows.
#include "common/RawSqliteBaseline.h"
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
constexpr int itemCount = 10000;
constexpr int folderCount = 200;
constexpr int tagCount = 200;
constexpr int smartListCount = 20;

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
    for (int i = 0; i < smartListCount; ++i) {
        SmartRuleSet rules;
        rules.rules[0].field = SmartRule::Field::tag;
        rules.rules[0].referenceUUID = tags[i]->uuid();
        rules.rules.append(SmartRule());
        ctx.insert(new SmartList(QStringLiteral("List %1").arg(i), rules));
    }
    for (int i = 0; i < itemCount; ++i) {
        auto *item = ctx.insert(new ShortcutItem(QStringLiteral("%1-0000-4000-8000-000000000000")
                                                     .arg(i, 8, 16, QLatin1Char('0'))
                                                     .toUpper(),
                                                 QStringLiteral("Shortcut %1").arg(i)));
        item->setSubtitle(QStringLiteral("%1 actions").arg(i % 30));
        item->setLibraryOrder(i);
        item->setNotes(i % 5 ? QString() : QStringLiteral("Some notes about this shortcut"));
        item->setIsFavorite(i % 7 == 0);
        item->setRunCount(i % 11);
        if (i % 3)
            item->setFolder(folders[rng.bounded(folderCount)]);
        item->addTag(tags[rng.bounded(tagCount)]);
        if (i % 2)
            item->addTag(tags[rng.bounded(tagCount)]);
    }
}

void insertNamedRows(sqlite3 *db, const char *sql, int count)
{
    sqlite3_stmt *s = nullptr;
    sqlite3_prepare_v2(db, sql, -1, &s, nullptr);
    for (int i = 0; i < count; ++i) {
        const QByteArray uuid = QByteArray::number(i).rightJustified(36, '0');
        const QByteArray name = "Record " + QByteArray::number(i);
        sqlite3_bind_int64(s, 1, i + 1);
        sqlite3_bind_text(s, 2, uuid.constData(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(s, 3, name.constData(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_int64(s, 4, i / 2);
        sqlite3_step(s);
        sqlite3_reset(s);
    }
    sqlite3_finalize(s);
}

// The same rows written by hand with prepared statements: what SQLite itself needs.
double rawInsert(const QString &path)
{
    sqlite3 *db = nullptr;
    sqlite3_open(path.toUtf8().constData(), &db);
    RawSqliteBaseline::createItemsTable(db);
    sqlite3_exec(
        db,
        "CREATE TABLE folders (id INTEGER PRIMARY KEY, uuid TEXT, name TEXT, parent INTEGER);"
        "CREATE TABLE tags (id INTEGER PRIMARY KEY, uuid TEXT, name TEXT, parent INTEGER);"
        "CREATE TABLE lists (id INTEGER PRIMARY KEY, uuid TEXT, name TEXT, sort INTEGER);"
        "CREATE TABLE item_tags (item INTEGER, tag INTEGER, PRIMARY KEY(item, tag)) "
        "WITHOUT ROWID;",
        nullptr, nullptr, nullptr);
    QElapsedTimer t;
    t.start();
    sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
    insertNamedRows(db, "INSERT INTO folders VALUES (?,?,?,?)", folderCount);
    insertNamedRows(db, "INSERT INTO tags VALUES (?,?,?,?)", tagCount);
    insertNamedRows(db, "INSERT INTO lists VALUES (?,?,?,?)", smartListCount);
    sqlite3_stmt *item = RawSqliteBaseline::prepareItemInsert(db), *tag = nullptr;
    sqlite3_prepare_v2(db, "INSERT OR IGNORE INTO item_tags VALUES (?,?)", -1, &tag, nullptr);
    for (int i = 0; i < itemCount; ++i) {
        RawSqliteBaseline::insertItem(item, i);
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
    sqlite3_finalize(tag);
    sqlite3_close(db);
    return elapsed;
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int runs = 3;
    QTemporaryDir scratch;
    QString error;

    double raw = 1e300;
    for (int r = 0; r < runs; ++r)
        raw = std::min(raw, rawInsert(scratch.filePath(QStringLiteral("raw%1.db").arg(r))));

    // The library to export, as the program has it: saved, then opened and loaded.
    const QString sourceDir = scratch.filePath(QStringLiteral("source"));
    {
        auto ctx = LibraryStoreContainer::open(sourceDir, &error);
        populate(*ctx);
        ctx->save();
    }
    auto source = LibraryStoreContainer::open(sourceDir, &error);
    QByteArray document;
    double exportTime = 1e300;
    for (int r = 0; r < runs; ++r) {
        QElapsedTimer t;
        t.start();
        document = exportDocument(*source);
        exportTime = std::min(exportTime, ms(t));
    }

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
