#pragma once

// The baseline the store and sync benchmarks are measured against: raw SQLite writing rows of
// the shape of a shortcut record, with prepared statements and no abstraction in between.
#include <QByteArray>
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

} // namespace RawSqliteBaseline
