#pragma once

// The baseline the store and sync benchmarks are measured against: raw SQLite writing rows of
// the shape of a shortcut record, with prepared statements and no abstraction in between.
#include <QByteArray>
#include <QElapsedTimer>
#include <QString>
#include <cstdio>
#include <cstdlib>
#include <sqlite3.h>

namespace RawSqliteBaseline {

// A baseline whose statements fail does less work than it claims, so any failure ends the run.
inline int checked(sqlite3 *db, int code)
{
    if (code != SQLITE_OK && code != SQLITE_DONE && code != SQLITE_ROW) {
        std::fprintf(stderr, "baseline SQLite call failed: %s\n", sqlite3_errmsg(db));
        std::exit(1);
    }
    return code;
}

inline void exec(sqlite3 *db, const char *sql)
{
    checked(db, sqlite3_exec(db, sql, nullptr, nullptr, nullptr));
}

inline sqlite3_stmt *prepare(sqlite3 *db, const char *sql)
{
    sqlite3_stmt *statement = nullptr;
    checked(db, sqlite3_prepare_v2(db, sql, -1, &statement, nullptr));
    return statement;
}

// Runs a bound write and makes it ready for the next row.
inline void step(sqlite3_stmt *statement)
{
    checked(sqlite3_db_handle(statement), sqlite3_step(statement));
    sqlite3_reset(statement);
}

inline void createItemsTable(sqlite3 *db)
{
    exec(db, "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;"
             "CREATE TABLE items (id INTEGER PRIMARY KEY, identifier TEXT, name TEXT, "
             "subtitle TEXT, native_folder_name TEXT, color_hex TEXT, top TEXT, bottom TEXT,"
             "library_order INTEGER, action_count INTEGER, notes TEXT, folder_id INTEGER,"
             "created REAL, changed REAL, seen REAL, run_count INTEGER, a INTEGER, b INTEGER,"
             "c INTEGER, d TEXT, e TEXT, f REAL, g REAL, h REAL, has_icon INTEGER);");
}

inline sqlite3_stmt *prepareItemInsert(sqlite3 *db)
{
    return prepare(db,
                   "INSERT INTO items VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)");
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
    step(statement);
}

inline void createItemTagsTable(sqlite3 *db)
{
    exec(db, "CREATE TABLE item_tags (item INTEGER, tag INTEGER, PRIMARY KEY(item, tag)) "
             "WITHOUT ROWID;");
}

inline sqlite3_stmt *prepareItemTagInsert(sqlite3 *db)
{
    return prepare(db, "INSERT OR IGNORE INTO item_tags VALUES (?,?)");
}

// The tags of row i: one for even rows, two for odd ones, as in the sample library.
inline void insertItemTags(sqlite3_stmt *statement, int i, int tagCount)
{
    for (int k = 0; k < (i % 2 ? 2 : 1); ++k) {
        sqlite3_bind_int64(statement, 1, i + 1);
        sqlite3_bind_int64(statement, 2, (i * 7 + k) % tagCount);
        step(statement);
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
    checked(db, sqlite3_open(path.toUtf8().constData(), &db));
    createItemsTable(db);
    createItemTagsTable(db);
    exec(db, schema);
    QElapsedTimer t;
    t.start();
    exec(db, "BEGIN");
    body(db);
    exec(db, "COMMIT");
    const double elapsed = t.nsecsElapsed() / 1e6;
    sqlite3_close(db);
    return elapsed;
}

} // namespace RawSqliteBaseline
