#pragma once

// The baseline the store and sync benchmarks are measured against: raw SQLite writing rows of
// the shape of a shortcut record, with prepared statements and no abstraction in between.
#include <QByteArray>
#include <QElapsedTimer>
#include <QString>
#include <sqlite3.h>

namespace RawSqliteBaseline {

inline void createItemsTable(sqlite3 *db)
{
    sqlite3_exec(db,
                 "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;"
                 "CREATE TABLE items (id INTEGER PRIMARY KEY, identifier TEXT, name TEXT, "
                 "subtitle TEXT, native_folder_name TEXT, color_hex TEXT, top TEXT, bottom TEXT,"
                 "library_order INTEGER, action_count INTEGER, notes TEXT, folder_id INTEGER,"
                 "created REAL, changed REAL, seen REAL, run_count INTEGER, a INTEGER, b INTEGER,"
                 "c INTEGER, d TEXT, e TEXT, f REAL, g REAL, h REAL, has_icon INTEGER);",
                 nullptr, nullptr, nullptr);
}

inline sqlite3_stmt *prepareItemInsert(sqlite3 *db)
{
    sqlite3_stmt *statement = nullptr;
    sqlite3_prepare_v2(
        db, "INSERT INTO items VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)", -1,
        &statement, nullptr);
    return statement;
}

// Binds and writes row i (ids start at 1).
inline void insertItem(sqlite3_stmt *statement, int i)
{
    const QByteArray identifier = QByteArray::number(i).rightJustified(36, '0');
    const QByteArray name = "Shortcut " + QByteArray::number(i);
    sqlite3_bind_int64(statement, 1, i + 1);
    sqlite3_bind_text(statement, 2, identifier.constData(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_text(statement, 3, name.constData(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_text(statement, 4, "3 actions", -1, SQLITE_STATIC);
    sqlite3_bind_text(statement, 5, "Folder 3", -1, SQLITE_STATIC);
    for (int c = 6; c <= 8; ++c)
        sqlite3_bind_text(statement, c, "#FF9500", -1, SQLITE_STATIC);
    for (int c = 9; c <= 25; ++c)
        sqlite3_bind_int64(statement, c, i);
    sqlite3_step(statement);
    sqlite3_reset(statement);
}

inline void createItemTagsTable(sqlite3 *db)
{
    sqlite3_exec(db,
                 "CREATE TABLE item_tags (item INTEGER, tag INTEGER, PRIMARY KEY(item, tag)) "
                 "WITHOUT ROWID;",
                 nullptr, nullptr, nullptr);
}

inline sqlite3_stmt *prepareItemTagInsert(sqlite3 *db)
{
    sqlite3_stmt *statement = nullptr;
    sqlite3_prepare_v2(db, "INSERT OR IGNORE INTO item_tags VALUES (?,?)", -1, &statement, nullptr);
    return statement;
}

// The tags of row i: one for even rows, two for odd ones, as in the sample library.
inline void insertItemTags(sqlite3_stmt *statement, int i, int tagCount)
{
    for (int k = 0; k < (i % 2 ? 2 : 1); ++k) {
        sqlite3_bind_int64(statement, 1, i + 1);
        sqlite3_bind_int64(statement, 2, (i * 7 + k) % tagCount);
        sqlite3_step(statement);
        sqlite3_reset(statement);
    }
}

// Rows 0 … count-1 of the items table with their tags, in the caller's transaction; perRow writes
// whatever else belongs to row i.
template<typename F> void insertItemsWithTags(sqlite3 *db, int count, int tagCount, F perRow)
{
    sqlite3_stmt *item = prepareItemInsert(db);
    sqlite3_stmt *tag = prepareItemTagInsert(db);
    for (int i = 0; i < count; ++i) {
        insertItem(item, i);
        perRow(i);
        insertItemTags(tag, i, tagCount);
    }
    sqlite3_finalize(item);
    sqlite3_finalize(tag);
}

// Opens a new database at path with the items and item_tags tables and the extra schema, then
// times body(db) in one transaction; answers milliseconds.
template<typename F> double timedTransaction(const QString &path, const char *schema, F body)
{
    sqlite3 *db = nullptr;
    sqlite3_open(path.toUtf8().constData(), &db);
    createItemsTable(db);
    createItemTagsTable(db);
    sqlite3_exec(db, schema, nullptr, nullptr, nullptr);
    QElapsedTimer t;
    t.start();
    sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
    body(db);
    sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
    const double elapsed = t.nsecsElapsed() / 1e6;
    sqlite3_close(db);
    return elapsed;
}

} // namespace RawSqliteBaseline
