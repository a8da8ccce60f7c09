#pragma once

#include "model/RunEntry.h"
#include "model/SqliteDatabase.h"

#include <QString>
#include <memory>
#include <optional>
#include <vector>

class ModelContext;
class Record;
class ShortcutItem;

// The on-disk library: one SQLite file (WAL journal) with a table per record type, a table of
// tag memberships, a separate table for icon bytes and a narrow one for what every sync stamps
// on an item (library order, last seen, missing).
class LibraryStore {
public:
    static constexpr int schemaVersion = 3;
    static constexpr const char *schemaVersionText = "3.0.0";

    // The SQL that takes a file from schema version - 1 to version (from 1); empty for other
    // numbers. Tests build the files older releases wrote with it.
    static QString migrationSql(int version);

    // Opens or creates the store at path. A file that exists but is not a library of a known
    // schema is left exactly as it was and an error is returned.
    static std::unique_ptr<LibraryStore> open(const QString &path, QString *error);
    // For reading only: nothing is written or deleted beside it, and nothing is created there
    // when writers are excluded (the caller holds the library's owner lock). An older library is
    // upgraded in memory.
    enum class Writers { possible, excluded };
    static std::unique_ptr<LibraryStore> openReadOnly(const QString &path, QString *error,
                                                      Writers writers);

    // Creates the records of the file in the context (which must be empty).
    bool load(ModelContext &context, QString *error);
    bool write(const QList<Record *> &inserted, const QList<Record *> &updated,
               const QList<Record *> &deleted, QString *error,
               const RunHistoryChanges *runs = nullptr);
    // Run history entries, newest first; nothing (and error set) when the file cannot be read.
    QList<RunEntry> runHistory(const RunHistoryFilter &filter, QString *error = nullptr);
    // The highest entry id in use (0 when there is none).
    qint64 lastRunEntryId();
    QByteArray iconData(qint64 itemId);
    // A consistent copy of the whole library at destination (replaced if it exists), as one
    // file without a write-ahead log.
    bool backup(const QString &destination, QString *error);
    bool isReadOnly() const { return m_readOnly; }

    const QString &path() const { return m_path; }
    SqliteDatabase &database() { return m_db; }

    ~LibraryStore();

private:
    struct Statements;
    struct LoadedItem;
    LibraryStore();
    bool migrate(int fromVersion, QString *error);
    // The schema version of a file that is a usable library of a known version (0: empty).
    std::optional<int> checkedSchemaVersion(QString *error);
    bool prepareStatements(QString *error);
    // The shortcuts in id order: all, or those up to or above the middle id.
    enum class Half { whole, lower, upper };
    static bool readItems(SqliteDatabase &db, Half half, qint64 middle,
                          std::vector<LoadedItem> &into);
    bool readAllItems(std::vector<LoadedItem> &items, QString *error);
    bool writeRunHistory(const RunHistoryChanges &runs, QString *error);

    QString m_path;
    SqliteDatabase m_db;
    // How a second connection opens the same file to read alongside m_db; none when m_db is not
    // the file (an older library upgraded in memory).
    std::optional<SqliteDatabase::Mode> m_sideReadMode;
    bool m_switchToWal = false;
    bool m_readOnly = false;
    // Prepared at the first write and kept; declared after m_db so they are finalized first.
    std::unique_ptr<Statements> m_statements;
};
