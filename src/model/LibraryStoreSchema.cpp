// Opening a library file: the schema and its numbered migrations, the checks that tell a
// usable library from a foreign or damaged file, and whole-file copies.

#include "model/LibraryStoreSchema.h"

#include "model/LibraryStore.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sqlite3.h>

namespace {

const char *const kMigrations[] = {
    // 1: the four record types, tag memberships and icon bytes.
    R"sql(
CREATE TABLE shortcut_items (
  id INTEGER PRIMARY KEY,
  identifier TEXT NOT NULL, name TEXT NOT NULL, subtitle TEXT NOT NULL,
  native_folder_name TEXT NOT NULL, color_hex TEXT NOT NULL,
  icon_top_hex TEXT NOT NULL, icon_bottom_hex TEXT NOT NULL, library_order INTEGER NOT NULL,
  app_bundle_id TEXT NOT NULL, icon_app_bundle_id TEXT NOT NULL,
  accepts_input INTEGER NOT NULL, action_count INTEGER NOT NULL,
  native_created_at REAL, native_modified_at REAL,
  first_seen_at REAL NOT NULL, last_changed_at REAL NOT NULL, last_seen_at REAL NOT NULL,
  is_missing INTEGER NOT NULL, is_favorite INTEGER NOT NULL, last_run_at REAL,
  run_count INTEGER NOT NULL, notes TEXT NOT NULL, folder_id INTEGER,
  has_icon INTEGER NOT NULL
);
CREATE TABLE shortcut_icons (item_id INTEGER PRIMARY KEY, data BLOB NOT NULL);
CREATE TABLE library_folders (
  id INTEGER PRIMARY KEY, uuid TEXT NOT NULL, name TEXT NOT NULL, symbol_name TEXT NOT NULL,
  color_hex TEXT NOT NULL, sort_order INTEGER NOT NULL, created_at REAL NOT NULL,
  parent_id INTEGER
);
CREATE TABLE tags (
  id INTEGER PRIMARY KEY, uuid TEXT NOT NULL, name TEXT NOT NULL, color_hex TEXT NOT NULL,
  sort_order INTEGER NOT NULL, created_at REAL NOT NULL, parent_id INTEGER
);
CREATE TABLE smart_lists (
  id INTEGER PRIMARY KEY, uuid TEXT NOT NULL, name TEXT NOT NULL, symbol_name TEXT NOT NULL,
  color_hex TEXT NOT NULL, sort_order INTEGER NOT NULL, created_at REAL NOT NULL,
  rules_data BLOB NOT NULL
);
CREATE TABLE shortcut_tags (
  item_id INTEGER NOT NULL, tag_id INTEGER NOT NULL, PRIMARY KEY (item_id, tag_id)
) WITHOUT ROWID;
CREATE TABLE store_metadata (key TEXT PRIMARY KEY, value TEXT NOT NULL);
INSERT INTO store_metadata VALUES ('name', 'Thimblecraft'), ('schemaVersion', '1.0.0');
)sql",
    // 2: what every sync stamps moves to a narrow table, so that stamping 10,000 items rewrites
    // a few dozen pages instead of every item row.
    R"sql(
CREATE TABLE shortcut_sync_state (
  item_id INTEGER PRIMARY KEY, library_order INTEGER NOT NULL, last_seen_at REAL NOT NULL,
  is_missing INTEGER NOT NULL
);
INSERT INTO shortcut_sync_state SELECT id, library_order, last_seen_at, is_missing
  FROM shortcut_items;
ALTER TABLE shortcut_items DROP COLUMN library_order;
ALTER TABLE shortcut_items DROP COLUMN last_seen_at;
ALTER TABLE shortcut_items DROP COLUMN is_missing;
UPDATE store_metadata SET value = '2.0.0' WHERE key = 'schemaVersion';
)sql",
    // 3: the run history, and how each shortcut's last run ended.
    R"sql(
CREATE TABLE run_history (
  id INTEGER PRIMARY KEY, item_id INTEGER NOT NULL, started_at REAL NOT NULL,
  duration_ms INTEGER, input TEXT, outcome INTEGER NOT NULL, text TEXT NOT NULL,
  source TEXT NOT NULL
);
CREATE INDEX run_history_by_item ON run_history (item_id, id);
ALTER TABLE shortcut_items ADD COLUMN last_run_outcome INTEGER NOT NULL DEFAULT 0;
UPDATE store_metadata SET value = '3.0.0' WHERE key = 'schemaVersion';
)sql",
};
static_assert(std::size(kMigrations) == LibraryStore::schemaVersion);

// The item columns of the first schema, checked before that file is migrated.
const QString kItemColumnsV1 = QStringLiteral(
    "identifier, name, subtitle, native_folder_name, color_hex, icon_top_hex, icon_bottom_hex, "
    "library_order, app_bundle_id, icon_app_bundle_id, accepts_input, action_count, "
    "native_created_at, native_modified_at, first_seen_at, last_changed_at, last_seen_at, "
    "is_missing, is_favorite, last_run_at, run_count, notes, folder_id, has_icon, id");

const QString kItemColumnsV2 = QStringLiteral(
    "identifier, name, subtitle, native_folder_name, color_hex, icon_top_hex, icon_bottom_hex, "
    "app_bundle_id, icon_app_bundle_id, accepts_input, action_count, native_created_at, "
    "native_modified_at, first_seen_at, last_changed_at, is_favorite, last_run_at, run_count, "
    "notes, folder_id, has_icon, id");
// What is wrong with the tables of a file that claims to be a library, or "" when load() and
// write() find every table and column they use.
QString schemaProblem(SqliteDatabase &db, int version)
{
    const QString queries[] = {
        QStringLiteral("SELECT %1 FROM shortcut_items")
            .arg(version == 1   ? kItemColumnsV1
                 : version == 2 ? kItemColumnsV2
                                : LibraryStoreSchema::itemColumns),
        version < 3 ? QStringLiteral("SELECT 1")
                    : QStringLiteral("SELECT id, item_id, started_at, duration_ms, input, outcome, "
                                     "text, source FROM run_history"),
        version == 1 ? QStringLiteral("SELECT 1")
                     : QStringLiteral("SELECT item_id, library_order, last_seen_at, is_missing "
                                      "FROM shortcut_sync_state"),
        QStringLiteral("SELECT item_id, data FROM shortcut_icons"),
        QStringLiteral("SELECT id, uuid, name, symbol_name, color_hex, sort_order, created_at, "
                       "parent_id FROM library_folders"),
        QStringLiteral(
            "SELECT id, uuid, name, color_hex, sort_order, created_at, parent_id FROM tags"),
        QStringLiteral("SELECT id, uuid, name, symbol_name, color_hex, sort_order, created_at, "
                       "rules_data FROM smart_lists"),
        QStringLiteral("SELECT item_id, tag_id FROM shortcut_tags"),
    };
    for (const QString &q : queries)
        if (!db.prepare(q + QStringLiteral(" LIMIT 0")).isValid())
            return db.lastError();
    const auto name =
        db.scalar(QStringLiteral("SELECT value FROM store_metadata WHERE key = 'name'"));
    if (!name)
        return db.lastError();
    if (name->toString() != QLatin1String("Thimblecraft"))
        return QStringLiteral("it belongs to another program");
    return {};
}

} // namespace

const QString LibraryStoreSchema::itemColumns =
    kItemColumnsV2 + QStringLiteral(", last_run_outcome");

std::unique_ptr<LibraryStore> LibraryStore::open(const QString &path, QString *error)
{
    auto fail = [&](const QString &message) -> std::unique_ptr<LibraryStore> {
        if (error)
            *error = message;
        return nullptr;
    };
    std::unique_ptr<LibraryStore> store(new LibraryStore);
    store->m_path = path;
    const bool exists = QFileInfo::exists(path);
    if (exists && !QFileInfo(path).isFile())
        return fail(QStringLiteral("%1 is not a file").arg(path));
    if (!store->m_db.open(path, exists ? SqliteDatabase::Mode::readWrite
                                       : SqliteDatabase::Mode::readWriteCreate))
        return fail(store->m_db.lastError());
    // SQLite quietly falls back to reading a file it may not write; every save would then fail.
    if (sqlite3_db_readonly(store->m_db.handle(), "main") == 1)
        return fail(QStringLiteral("%1 cannot be written to").arg(path));

    // Reading the header first: a foreign or damaged file fails here, before anything is written.
    const auto current = store->checkedSchemaVersion(error);
    if (!current)
        return nullptr;
    // A new file switches to WAL at once; an existing one only when it is first saved to, so
    // that a file refused by load() is left exactly as it was.
    const auto journal = store->m_db.scalar(QStringLiteral("PRAGMA journal_mode"));
    if (!journal)
        return fail(store->m_db.lastError());
    store->m_switchToWal = *current > 0 && journal->toString() != QLatin1String("wal");
    if ((*current == 0 && !store->m_db.exec(QStringLiteral("PRAGMA journal_mode=WAL"))) ||
        !store->m_db.exec(QStringLiteral("PRAGMA synchronous=NORMAL")) ||
        !store->m_db.exec(QStringLiteral("PRAGMA foreign_keys=OFF")))
        return fail(store->m_db.lastError());
    sqlite3_busy_timeout(store->m_db.handle(), 2000);
    if (*current < schemaVersion && !store->migrate(*current, error))
        return nullptr;
    store->m_sideReadMode = SqliteDatabase::Mode::readOnly;
    return store;
}

std::unique_ptr<LibraryStore> LibraryStore::openReadOnly(const QString &path, QString *error,
                                                         Writers writers)
{
    auto fail = [&](const QString &message) -> std::unique_ptr<LibraryStore> {
        if (error)
            *error = message;
        return nullptr;
    };
    if (!QFileInfo(path).isFile())
        return fail(QFileInfo::exists(path) ? QStringLiteral("%1 is not a file").arg(path)
                                            : QStringLiteral("%1 does not exist").arg(path));
    std::unique_ptr<LibraryStore> store(new LibraryStore);
    store->m_path = path;
    store->m_readOnly = true;
    // With no writer and no log or journal beside it, the file alone is the library: reading it
    // as immutable creates no shared-memory or log file next to it.
    const bool settled = writers == Writers::excluded &&
                         !QFileInfo::exists(path + QStringLiteral("-wal")) &&
                         !QFileInfo::exists(path + QStringLiteral("-journal"));
    store->m_sideReadMode =
        settled ? SqliteDatabase::Mode::immutable : SqliteDatabase::Mode::readOnly;
    if (!store->m_db.open(path, *store->m_sideReadMode))
        return fail(store->m_db.lastError());
    sqlite3_busy_timeout(store->m_db.handle(), 2000);
    QString firstError;
    auto current = store->checkedSchemaVersion(&firstError);
    // A reader cannot make the shared-memory file beside a store in a folder it may not write;
    // with no log there, nothing but the file itself holds the library.
    if (!current && store->m_db.lastErrorCode() != SQLITE_OK &&
        !QFileInfo::exists(path + QStringLiteral("-wal"))) {
        store->m_sideReadMode = SqliteDatabase::Mode::immutable;
        if (!store->m_db.open(path, *store->m_sideReadMode))
            return fail(firstError);
        current = store->checkedSchemaVersion(&firstError);
    }
    if (!current)
        return fail(firstError);
    if (*current < schemaVersion) {
        // An older library (or an empty file, what a kill leaves right after SQLite made it) is
        // brought up to date in memory: the file stays as it is.
        SqliteDatabase copy;
        if (!copy.open(QString(), SqliteDatabase::Mode::memory) || !store->m_db.backupTo(copy))
            return fail(store->m_db.lastError());
        store->m_db.close();
        store->m_db.adopt(copy);
        store->m_sideReadMode.reset();
        if (!store->migrate(*current, error))
            return nullptr;
    }
    return store;
}

std::optional<int> LibraryStore::checkedSchemaVersion(QString *error)
{
    auto fail = [&](const QString &message) -> std::optional<int> {
        if (error)
            *error = message;
        return std::nullopt;
    };
    const auto version = m_db.scalar(QStringLiteral("PRAGMA user_version"));
    const auto tableCount = m_db.scalar(QStringLiteral("SELECT count(*) FROM sqlite_master"));
    if (!version || !tableCount)
        return fail(m_db.lastError());
    const int current = version->toInt();
    if (current > schemaVersion)
        return fail(QStringLiteral("the library was written by a newer version of Thimblecraft "
                                   "(schema %1; this version reads up to %2)")
                        .arg(current)
                        .arg(schemaVersion));
    if (current < 0 || (current == 0 && tableCount->toInt() > 0))
        return fail(
            QStringLiteral("%1 is an SQLite database but not a Thimblecraft library").arg(m_path));
    if (current > 0) {
        const QString problem = schemaProblem(m_db, current);
        if (!problem.isEmpty())
            return fail(
                QStringLiteral("%1 is not a usable Thimblecraft library: %2").arg(m_path, problem));
    }
    return current;
}

bool LibraryStore::backup(const QString &destination, QString *error)
{
    auto fail = [&](const QString &message) {
        if (error)
            *error = message;
        return false;
    };
    // Written beside the destination and renamed into place: a failed copy leaves nothing
    // behind, and a reader of the destination never sees half a library.
    const QString partial = destination + QStringLiteral(".partial");
    QFile::remove(partial);
    {
        SqliteDatabase copy;
        if (!copy.open(partial, SqliteDatabase::Mode::readWriteCreate))
            return fail(copy.lastError());
        if (!m_db.backupTo(copy)) {
            const QString message = m_db.lastError();
            copy.close();
            QFile::remove(partial);
            return fail(message);
        }
        // One self-contained file: no log or shared-memory file to carry along.
        if (!copy.exec(QStringLiteral("PRAGMA journal_mode=DELETE"))) {
            const QString message = copy.lastError();
            copy.close();
            QFile::remove(partial);
            return fail(message);
        }
    }
    if (::rename(QFile::encodeName(partial).constData(),
                 QFile::encodeName(destination).constData()) != 0) {
        const QString message = QString::fromLocal8Bit(std::strerror(errno));
        QFile::remove(partial);
        return fail(QStringLiteral("cannot write %1: %2").arg(destination, message));
    }
    return true;
}

QString LibraryStore::migrationSql(int version)
{
    if (version < 1 || version > schemaVersion)
        return {};
    return QString::fromUtf8(kMigrations[version - 1]);
}

bool LibraryStore::migrate(int fromVersion, QString *error)
{
    SqliteTransaction tx(m_db);
    for (int v = fromVersion; v < schemaVersion; ++v) {
        if (!m_db.exec(migrationSql(v + 1))) {
            if (error)
                *error = m_db.lastError();
            return false;
        }
    }
    if (!m_db.exec(QStringLiteral("PRAGMA user_version=%1").arg(schemaVersion)) || !tx.commit()) {
        if (error)
            *error = m_db.lastError();
        return false;
    }
    return true;
}
