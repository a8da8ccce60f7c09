#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>
#include <memory>
#include <optional>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

// A prepared statement; finalized when it goes out of scope.
class RepeatedTexts;

class SqliteStatement {
public:
    enum class Step { row, done, error };

    SqliteStatement() = default;
    SqliteStatement(sqlite3 *db, sqlite3_stmt *stmt) : m_db(db), m_stmt(stmt) {}
    SqliteStatement(SqliteStatement &&other) noexcept;
    SqliteStatement &operator=(SqliteStatement &&other) noexcept;
    ~SqliteStatement();

    bool isValid() const { return m_stmt != nullptr; }
    // Parameters are 1-based, as in SQLite.
    void bind(int index, const QString &value);
    void bind(int index, qint64 value);
    void bind(int index, int value) { bind(index, qint64(value)); }
    void bind(int index, bool value) { bind(index, qint64(value ? 1 : 0)); }
    void bind(int index, double value);
    void bind(int index, const QByteArray &blob);
    void bindNull(int index);
    Step step();
    void reset();

    int columnCount() const;
    QString columnName(int column) const;
    // SQLITE_INTEGER, SQLITE_FLOAT, SQLITE_TEXT, SQLITE_BLOB or SQLITE_NULL.
    int columnType(int column) const;
    bool isNull(int column) const;
    qint64 int64(int column) const;
    double real(int column) const;
    QString text(int column) const;
    // The same text, shared with earlier rows that held the same bytes.
    QString text(int column, RepeatedTexts &repeated) const;
    QByteArray blob(int column) const;

private:
    sqlite3 *m_db = nullptr;
    sqlite3_stmt *m_stmt = nullptr;
    // The UTF-8 of each bound text, kept until that parameter is bound again so SQLite need
    // not copy it; the buffers are reused from row to row.
    std::vector<QByteArray> m_texts;
};

// One connection; closed when it goes out of scope.
class SqliteDatabase {
public:
    // immutable: read-only, and SQLite takes no locks and ignores any write-ahead log; only for
    // a file nobody writes (a store in a folder this user cannot write, with no log beside it).
    enum class Mode { readOnly, immutable, readWrite, readWriteCreate, memory };

    SqliteDatabase() = default;
    ~SqliteDatabase();
    SqliteDatabase(const SqliteDatabase &) = delete;
    SqliteDatabase &operator=(const SqliteDatabase &) = delete;

    bool open(const QString &path, Mode mode);
    void close();
    // Takes over other's connection (this one must be closed).
    void adopt(SqliteDatabase &other);
    bool isOpen() const { return m_db != nullptr; }
    bool exec(const QString &sql);
    // Copies every page of this database into destination in one step (SQLite's online backup:
    // a consistent picture even while other connections write).
    bool backupTo(SqliteDatabase &destination);
    SqliteStatement prepare(const QString &sql);
    // The first column of the first row, or no value.
    std::optional<QVariant> scalar(const QString &sql);
    QString lastError() const { return m_lastError; }
    int lastErrorCode() const { return m_lastErrorCode; }
    sqlite3 *handle() const { return m_db; }

private:
    void captureError();
    sqlite3 *m_db = nullptr;
    QString m_lastError;
    int m_lastErrorCode = 0;
};

// Rolls the transaction back unless commit() succeeded.
class SqliteTransaction {
public:
    explicit SqliteTransaction(SqliteDatabase &db);
    ~SqliteTransaction();
    bool isActive() const { return m_active; }
    bool commit();

private:
    SqliteDatabase &m_db;
    bool m_active = false;
};
