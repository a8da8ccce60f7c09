#pragma once

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>
#include <optional>

class SqliteDatabase;

// Reads dates, associated apps and the user-provided-icon flag from a private copy of the
// Shortcuts app's own database. The live database is never opened.
namespace ShortcutsDatabase {
struct Row {
    QString workflowID;
    std::optional<QString> appBundleID;
    bool userProvidedIcon = false;
    std::optional<QDateTime> createdAt;
    std::optional<QDateTime> modifiedAt;
    std::optional<QDateTime> lastRunAt;
    bool operator==(const Row &) const = default;
};

using Rows = QHash<QString, Row>;

// The settings key holding the linked folder.
inline constexpr char bookmarkKey[] = "shortcutsFolderBookmark";
// The folder's name inside the user's cache folder that receives each snapshot.
inline constexpr char snapshotFolderName[] = "ShortcutsSnapshot";

// True when a folder has been linked.
bool hasFolderAccess();
// Asks for the Shortcuts folder and remembers it; main thread only. False when cancelled.
bool chooseShortcutsFolder();
// The folder the stored link names; no value when none is linked or the link is unreadable.
std::optional<QString> linkedFolder();
// The rows of the linked folder's database; no value when no folder is linked or it cannot be
// reached. Reads share one snapshot folder, so they take turns.
std::optional<Rows> loadRows();
// The rows of the database in a folder; empty when anything fails.
Rows readRows(const QString &inFolder);

struct Snapshot {
    // The copied "Shortcuts.sqlite"; empty on failure.
    QString databasePath;
    QString error;
    bool ok() const { return error.isEmpty(); }
};
// Copies the database and its write-ahead log into a fresh owner-only snapshot folder.
Snapshot copySnapshot(const QString &ofFolder);
// The folder copySnapshot() fills.
QString snapshotDirectory();

// Runs sql and renders every column of every row as text: "NULL" for NULL, "<blob NB>" for
// blobs, SQLite's own text for the rest. Empty when preparing or the first step fails.
QList<QHash<QString, QString>> query(SqliteDatabase &database, const QString &sql);

// Seconds since 2001-01-01 00:00:00 UTC, given as a decimal number, as a UTC date.
std::optional<QDateTime> dateFromReferenceSeconds(const QString &text);
} // namespace ShortcutsDatabase
