#include "model/LibraryStore.h"

#include "model/ModelContext.h"
#include "model/StoredDate.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QTimeZone>
#include <algorithm>
#include <cerrno>
#include <cmath>
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
const QString kItemColumns = kItemColumnsV2 + QStringLiteral(", last_run_outcome");
constexpr int kItemColumnCount = 23;

void bindDate(SqliteStatement &st, int i, const std::optional<QDateTime> &d)
{
    if (d)
        st.bind(i, toSeconds(*d));
    else
        st.bindNull(i);
}

std::optional<QDateTime> optionalDate(const SqliteStatement &st, int i)
{
    if (st.isNull(i))
        return std::nullopt;
    return fromSeconds(st.real(i));
}

void bindParent(SqliteStatement &st, int i, const Record *parent)
{
    if (parent)
        st.bind(i, parent->persistentId());
    else
        st.bindNull(i);
}

// What is wrong with the tables of a file that claims to be a library, or "" when load() and
// write() find every table and column they use.
QString schemaProblem(SqliteDatabase &db, int version)
{
    const QString queries[] = {
        QStringLiteral("SELECT %1 FROM shortcut_items")
            .arg(version == 1   ? kItemColumnsV1
                 : version == 2 ? kItemColumnsV2
                                : kItemColumns),
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

struct LibraryStore::Statements {
    SqliteStatement upsertItem, putSyncState, seenRange, dropSyncState, upsertFolder, upsertTag,
        upsertSmart, putIcon, dropIcon, dropItemTags, dropTagItems, putTag, dropItem, dropFolder,
        dropTag, dropSmart, dropItemRuns;
};

LibraryStore::LibraryStore() = default;
LibraryStore::~LibraryStore() = default;

bool LibraryStore::prepareStatements(QString *error)
{
    if (m_statements)
        return true;
    auto q = std::make_unique<Statements>();
    q->upsertItem =
        m_db.prepare(QStringLiteral("INSERT OR REPLACE INTO shortcut_items (%1) VALUES (%2)")
                         .arg(kItemColumns, QStringLiteral("?,").repeated(kItemColumnCount - 1) +
                                                QStringLiteral("?")));
    // Every sync stamps every item it sees; an otherwise unchanged item gets only these.
    q->putSyncState = m_db.prepare(
        QStringLiteral("INSERT OR REPLACE INTO shortcut_sync_state (item_id, library_order, "
                       "last_seen_at, is_missing) VALUES (?,?,?,?)"));
    q->seenRange = m_db.prepare(
        QStringLiteral("UPDATE shortcut_sync_state SET last_seen_at = ?, is_missing = ? "
                       "WHERE item_id BETWEEN ? AND ?"));
    q->dropSyncState =
        m_db.prepare(QStringLiteral("DELETE FROM shortcut_sync_state WHERE item_id = ?"));
    q->upsertFolder =
        m_db.prepare(QStringLiteral("INSERT OR REPLACE INTO library_folders (id, uuid, name, "
                                    "symbol_name, color_hex, sort_order, "
                                    "created_at, parent_id) VALUES (?,?,?,?,?,?,?,?)"));
    q->upsertTag =
        m_db.prepare(QStringLiteral("INSERT OR REPLACE INTO tags (id, uuid, name, color_hex, "
                                    "sort_order, created_at, parent_id) "
                                    "VALUES (?,?,?,?,?,?,?)"));
    q->upsertSmart = m_db.prepare(QStringLiteral(
        "INSERT OR REPLACE INTO smart_lists (id, uuid, name, symbol_name, color_hex, sort_order, "
        "created_at, rules_data) VALUES (?,?,?,?,?,?,?,?)"));
    q->putIcon = m_db.prepare(
        QStringLiteral("INSERT OR REPLACE INTO shortcut_icons (item_id, data) VALUES (?,?)"));
    q->dropIcon = m_db.prepare(QStringLiteral("DELETE FROM shortcut_icons WHERE item_id = ?"));
    q->dropItemTags = m_db.prepare(QStringLiteral("DELETE FROM shortcut_tags WHERE item_id = ?"));
    q->dropTagItems = m_db.prepare(QStringLiteral("DELETE FROM shortcut_tags WHERE tag_id = ?"));
    q->putTag = m_db.prepare(
        QStringLiteral("INSERT OR IGNORE INTO shortcut_tags (item_id, tag_id) VALUES (?,?)"));
    q->dropItem = m_db.prepare(QStringLiteral("DELETE FROM shortcut_items WHERE id = ?"));
    q->dropFolder = m_db.prepare(QStringLiteral("DELETE FROM library_folders WHERE id = ?"));
    q->dropTag = m_db.prepare(QStringLiteral("DELETE FROM tags WHERE id = ?"));
    q->dropSmart = m_db.prepare(QStringLiteral("DELETE FROM smart_lists WHERE id = ?"));
    q->dropItemRuns = m_db.prepare(QStringLiteral("DELETE FROM run_history WHERE item_id = ?"));
    for (const SqliteStatement *st :
         {&q->upsertItem, &q->putSyncState, &q->seenRange, &q->dropSyncState, &q->upsertFolder,
          &q->upsertTag, &q->upsertSmart, &q->putIcon, &q->dropIcon, &q->dropItemTags,
          &q->dropTagItems, &q->putTag, &q->dropItem, &q->dropFolder, &q->dropTag, &q->dropSmart,
          &q->dropItemRuns}) {
        if (!st->isValid()) {
            if (error)
                *error = m_db.lastError();
            return false;
        }
    }
    m_statements = std::move(q);
    return true;
}

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
    if (!store->m_db.open(path, settled ? SqliteDatabase::Mode::immutable
                                        : SqliteDatabase::Mode::readOnly))
        return fail(store->m_db.lastError());
    sqlite3_busy_timeout(store->m_db.handle(), 2000);
    QString firstError;
    auto current = store->checkedSchemaVersion(&firstError);
    // A reader cannot make the shared-memory file beside a store in a folder it may not write;
    // with no log there, nothing but the file itself holds the library.
    if (!current && store->m_db.lastErrorCode() != SQLITE_OK &&
        !QFileInfo::exists(path + QStringLiteral("-wal"))) {
        if (!store->m_db.open(path, SqliteDatabase::Mode::immutable))
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

bool LibraryStore::load(ModelContext &ctx, QString *error)
{
    auto fail = [&]() {
        if (error)
            *error = QString::fromUtf8(sqlite3_errmsg(m_db.handle()));
        return false;
    };
    // A damaged page ends a scan with an error, which must not pass for the end of the table.
    SqliteStatement::Step step = SqliteStatement::Step::done;
    QHash<qint64, LibraryFolder *> folders;
    QList<std::pair<qint64, qint64>> folderParents;
    {
        SqliteStatement st = m_db.prepare(QStringLiteral(
            "SELECT id, uuid, name, symbol_name, color_hex, sort_order, created_at, parent_id "
            "FROM library_folders ORDER BY id"));
        if (!st.isValid())
            return fail();
        while ((step = st.step()) == SqliteStatement::Step::row) {
            auto *f = new LibraryFolder(st.text(2));
            f->m_uuid = st.text(1);
            f->m_symbolName = st.text(3);
            f->m_colorHex = st.text(4);
            f->m_sortOrder = st.int64(5);
            f->m_createdAt = fromSeconds(st.real(6));
            f->m_id = st.int64(0);
            folders.insert(f->m_id, f);
            if (!st.isNull(7))
                folderParents.append({f->m_id, st.int64(7)});
            ctx.adopt(f, true);
        }
        if (step != SqliteStatement::Step::done)
            return fail();
    }
    // Relationships are wired directly: loading must not mark records as changed.
    for (const auto &[childId, parentId] : folderParents)
        if (LibraryFolder *parent = folders.value(parentId)) {
            LibraryFolder *child = folders.value(childId);
            child->m_parent = parent;
            parent->m_children.append(child); // ids ascend, so creation order holds
        }

    QHash<qint64, Tag *> tags;
    QList<std::pair<qint64, qint64>> tagParents;
    {
        SqliteStatement st =
            m_db.prepare(QStringLiteral("SELECT id, uuid, name, color_hex, sort_order, created_at, "
                                        "parent_id FROM tags ORDER BY id"));
        if (!st.isValid())
            return fail();
        while ((step = st.step()) == SqliteStatement::Step::row) {
            auto *t = new Tag(st.text(2), st.text(3));
            t->m_uuid = st.text(1);
            t->m_sortOrder = st.int64(4);
            t->m_createdAt = fromSeconds(st.real(5));
            t->m_id = st.int64(0);
            tags.insert(t->m_id, t);
            if (!st.isNull(6))
                tagParents.append({t->m_id, st.int64(6)});
            ctx.adopt(t, true);
        }
        if (step != SqliteStatement::Step::done)
            return fail();
    }
    for (const auto &[childId, parentId] : tagParents)
        if (Tag *parent = tags.value(parentId)) {
            Tag *child = tags.value(childId);
            child->m_parent = parent;
            parent->m_children.append(child);
        }

    {
        SqliteStatement st = m_db.prepare(QStringLiteral(
            "SELECT id, uuid, name, symbol_name, color_hex, sort_order, created_at, rules_data "
            "FROM smart_lists ORDER BY id"));
        if (!st.isValid())
            return fail();
        while ((step = st.step()) == SqliteStatement::Step::row) {
            auto *s = new SmartList;
            s->m_id = st.int64(0);
            s->m_uuid = st.text(1);
            s->m_name = st.text(2);
            s->m_symbolName = st.text(3);
            s->m_colorHex = st.text(4);
            s->m_sortOrder = st.int64(5);
            s->m_createdAt = fromSeconds(st.real(6));
            s->m_rulesData = st.blob(7);
            ctx.adopt(s, true);
        }
        if (step != SqliteStatement::Step::done)
            return fail();
    }

    QHash<qint64, ShortcutItem *> items;
    items.reserve(16384);
    {
        // An item without its sync row (a file edited by hand) reads as never stamped since
        // it was first seen.
        SqliteStatement st = m_db.prepare(
            QStringLiteral("SELECT %1, s.library_order, s.last_seen_at, s.is_missing, "
                           "s.item_id IS NULL FROM shortcut_items "
                           "LEFT JOIN shortcut_sync_state AS s ON s.item_id = id ORDER BY id")
                .arg(kItemColumns));
        if (!st.isValid())
            return fail();
        while ((step = st.step()) == SqliteStatement::Step::row) {
            auto *i = new ShortcutItem(st.text(0), st.text(1));
            i->m_subtitle = st.text(2);
            i->m_nativeFolderName = st.text(3);
            i->m_colorHex = st.text(4);
            i->m_iconTopHex = st.text(5);
            i->m_iconBottomHex = st.text(6);
            i->m_appBundleID = st.text(7);
            i->m_iconAppBundleID = st.text(8);
            i->m_acceptsInput = st.int64(9) != 0;
            i->m_actionCount = st.int64(10);
            i->m_nativeCreatedAt = optionalDate(st, 11);
            i->m_nativeModifiedAt = optionalDate(st, 12);
            i->m_firstSeenAt = fromSeconds(st.real(13));
            i->m_lastChangedAt = fromSeconds(st.real(14));
            i->m_isFavorite = st.int64(15) != 0;
            i->m_lastRunAt = optionalDate(st, 16);
            i->m_runCount = st.int64(17);
            i->m_notes = st.text(18);
            i->m_hasIcon = st.int64(20) != 0;
            i->m_iconLoaded = !i->m_hasIcon;
            i->m_id = st.int64(21);
            i->m_lastRunOutcome = runOutcomeFromStored(st.int64(22));
            const bool stamped = st.int64(26) == 0;
            i->m_libraryOrder = st.int64(23);
            i->m_lastSeenAt = stamped ? fromSeconds(st.real(24)) : i->m_firstSeenAt;
            i->m_isMissing = st.int64(25) != 0;
            i->m_syncRowMissing = !stamped;
            items.insert(i->m_id, i);
            ctx.adopt(i, true);
            if (!st.isNull(19))
                if (LibraryFolder *f = folders.value(st.int64(19))) {
                    i->m_folder = f;
                    f->m_shortcuts.append(i); // rows come in id order
                }
        }
        if (step != SqliteStatement::Step::done)
            return fail();
    }
    {
        SqliteStatement st = m_db.prepare(
            QStringLiteral("SELECT item_id, tag_id FROM shortcut_tags ORDER BY item_id, tag_id"));
        if (!st.isValid())
            return fail();
        while ((step = st.step()) == SqliteStatement::Step::row) {
            ShortcutItem *i = items.value(st.int64(0));
            Tag *t = tags.value(st.int64(1));
            if (i && t) {
                i->m_tags.append(t);
                t->m_shortcuts.append(i);
            }
        }
        if (step != SqliteStatement::Step::done)
            return fail();
    }
    return true;
}

QByteArray LibraryStore::iconData(qint64 itemId)
{
    SqliteStatement st =
        m_db.prepare(QStringLiteral("SELECT data FROM shortcut_icons WHERE item_id = ?"));
    st.bind(1, itemId);
    if (st.step() == SqliteStatement::Step::row)
        return st.blob(0);
    return {};
}

bool LibraryStore::write(const QList<Record *> &inserted, const QList<Record *> &updated,
                         const QList<Record *> &deleted, QString *error,
                         const RunHistoryChanges *runs)
{
    if (m_readOnly) {
        if (error)
            *error = QStringLiteral("the library is open for reading only");
        return false;
    }
    if (m_switchToWal) {
        if (!m_db.exec(QStringLiteral("PRAGMA journal_mode=WAL"))) {
            if (error)
                *error = m_db.lastError();
            return false;
        }
        m_switchToWal = false;
    }
    SqliteTransaction tx(m_db);
    // Statements are prepared once, so a failure shows at a step rather than at prepare.
    QString stepError;
    auto fail = [&]() {
        if (error)
            *error = stepError.isEmpty() ? m_db.lastError() : stepError;
        return false;
    };
    if (!tx.isActive())
        return fail();

    if (!prepareStatements(error))
        return false;
    Statements &q = *m_statements;
    SqliteStatement &upsertItem = q.upsertItem, &putSyncState = q.putSyncState,
                    &seenRange = q.seenRange, &dropSyncState = q.dropSyncState,
                    &upsertFolder = q.upsertFolder, &upsertTag = q.upsertTag,
                    &upsertSmart = q.upsertSmart, &putIcon = q.putIcon, &dropIcon = q.dropIcon,
                    &dropItemTags = q.dropItemTags, &dropTagItems = q.dropTagItems,
                    &putTag = q.putTag, &dropItem = q.dropItem, &dropFolder = q.dropFolder,
                    &dropTag = q.dropTag, &dropSmart = q.dropSmart, &dropItemRuns = q.dropItemRuns;

    auto run = [&](SqliteStatement &st) {
        const bool ok = st.step() == SqliteStatement::Step::done;
        if (!ok && stepError.isEmpty())
            stepError = QString::fromUtf8(sqlite3_errmsg(m_db.handle()));
        st.reset();
        return ok;
    };

    // Items whose row changed only in lastSeenAt / isMissing, written last in ranges.
    QList<const ShortcutItem *> seenOnly;

    auto writeSyncState = [&](const ShortcutItem *i) {
        putSyncState.bind(1, i->persistentId());
        putSyncState.bind(2, i->m_libraryOrder);
        putSyncState.bind(3, toSeconds(i->m_lastSeenAt));
        putSyncState.bind(4, i->m_isMissing);
        return run(putSyncState);
    };

    auto writeItemRow = [&](SqliteStatement &st, ShortcutItem *i) {
        st.bind(1, i->m_identifier);
        st.bind(2, i->m_name);
        st.bind(3, i->m_subtitle);
        st.bind(4, i->m_nativeFolderName);
        st.bind(5, i->m_colorHex);
        st.bind(6, i->m_iconTopHex);
        st.bind(7, i->m_iconBottomHex);
        st.bind(8, i->m_appBundleID);
        st.bind(9, i->m_iconAppBundleID);
        st.bind(10, i->m_acceptsInput);
        st.bind(11, i->m_actionCount);
        bindDate(st, 12, i->m_nativeCreatedAt);
        bindDate(st, 13, i->m_nativeModifiedAt);
        st.bind(14, toSeconds(i->m_firstSeenAt));
        st.bind(15, toSeconds(i->m_lastChangedAt));
        st.bind(16, i->m_isFavorite);
        bindDate(st, 17, i->m_lastRunAt);
        st.bind(18, i->m_runCount);
        st.bind(19, i->m_notes);
        bindParent(st, 20, i->m_folder);
        st.bind(21, i->m_hasIcon);
        st.bind(22, i->persistentId());
        st.bind(23, qint64(i->m_lastRunOutcome));
        return run(st);
    };

    auto writeRecord = [&](Record *r, bool isNew) -> bool {
        switch (r->kind()) {
        case Record::Kind::shortcutItem: {
            auto *i = static_cast<ShortcutItem *>(r);
            if ((isNew || i->m_rowDirty) && !writeItemRow(upsertItem, i))
                return false;
            if (isNew || i->m_orderDirty || i->m_syncRowMissing) {
                if (!writeSyncState(i))
                    return false;
            } else if (i->m_seenDirty) {
                seenOnly.append(i);
            }
            if (i->m_iconDirty || isNew) {
                if (i->m_hasIcon) {
                    putIcon.bind(1, i->persistentId());
                    putIcon.bind(2, *i->iconData());
                    if (!run(putIcon))
                        return false;
                } else if (!isNew) {
                    dropIcon.bind(1, i->persistentId());
                    if (!run(dropIcon))
                        return false;
                }
            }
            if (i->m_tagsDirty || isNew) {
                if (!isNew) {
                    dropItemTags.bind(1, i->persistentId());
                    if (!run(dropItemTags))
                        return false;
                }
                for (const Tag *t : i->m_tags) {
                    putTag.bind(1, i->persistentId());
                    putTag.bind(2, t->persistentId());
                    if (!run(putTag))
                        return false;
                }
            }
            return true;
        }
        case Record::Kind::libraryFolder: {
            auto *f = static_cast<LibraryFolder *>(r);
            SqliteStatement &st = upsertFolder;
            st.bind(1, f->persistentId());
            st.bind(2, f->m_uuid);
            st.bind(3, f->m_name);
            st.bind(4, f->m_symbolName);
            st.bind(5, f->m_colorHex);
            st.bind(6, f->m_sortOrder);
            st.bind(7, toSeconds(f->m_createdAt));
            bindParent(st, 8, f->m_parent);
            return run(st);
        }
        case Record::Kind::tag: {
            auto *t = static_cast<Tag *>(r);
            SqliteStatement &st = upsertTag;
            st.bind(1, t->persistentId());
            st.bind(2, t->m_uuid);
            st.bind(3, t->m_name);
            st.bind(4, t->m_colorHex);
            st.bind(5, t->m_sortOrder);
            st.bind(6, toSeconds(t->m_createdAt));
            bindParent(st, 7, t->m_parent);
            return run(st);
        }
        case Record::Kind::smartList: {
            auto *s = static_cast<SmartList *>(r);
            SqliteStatement &st = upsertSmart;
            st.bind(1, s->persistentId());
            st.bind(2, s->m_uuid);
            st.bind(3, s->m_name);
            st.bind(4, s->m_symbolName);
            st.bind(5, s->m_colorHex);
            st.bind(6, s->m_sortOrder);
            st.bind(7, toSeconds(s->m_createdAt));
            st.bind(8, s->m_rulesData);
            return run(st);
        }
        }
        return false;
    };

    for (Record *r : deleted) {
        const qint64 id = r->persistentId();
        bool ok = true;
        switch (r->kind()) {
        case Record::Kind::shortcutItem:
            dropItem.bind(1, id);
            dropSyncState.bind(1, id);
            dropIcon.bind(1, id);
            dropItemTags.bind(1, id);
            dropItemRuns.bind(1, id);
            ok = run(dropItem) && run(dropSyncState) && run(dropIcon) && run(dropItemTags) &&
                 run(dropItemRuns);
            break;
        case Record::Kind::libraryFolder:
            dropFolder.bind(1, id);
            ok = run(dropFolder);
            break;
        case Record::Kind::tag:
            dropTag.bind(1, id);
            dropTagItems.bind(1, id);
            ok = run(dropTag) && run(dropTagItems);
            break;
        case Record::Kind::smartList:
            dropSmart.bind(1, id);
            ok = run(dropSmart);
            break;
        }
        if (!ok)
            return fail();
    }
    for (Record *r : inserted)
        if (!writeRecord(r, true))
            return fail();
    for (Record *r : updated)
        if (!writeRecord(r, false))
            return fail();
    // A sync stamps every item it sees with one time: runs of consecutive ids with the same
    // stamp become one ranged update (an unchanged re-sync is usually a single one).
    for (qsizetype k = 0; k < seenOnly.size();) {
        const ShortcutItem *first = seenOnly[k];
        qsizetype end = k + 1;
        while (end < seenOnly.size() &&
               seenOnly[end]->persistentId() == seenOnly[end - 1]->persistentId() + 1 &&
               seenOnly[end]->m_isMissing == first->m_isMissing &&
               seenOnly[end]->m_lastSeenAt == first->m_lastSeenAt)
            ++end;
        seenRange.bind(1, toSeconds(first->m_lastSeenAt));
        seenRange.bind(2, first->m_isMissing);
        seenRange.bind(3, first->persistentId());
        seenRange.bind(4, seenOnly[end - 1]->persistentId());
        if (!run(seenRange))
            return fail();
        k = end;
    }
    // In the same transaction as the run count it goes with.
    if (runs && !runs->isEmpty() && !writeRunHistory(*runs, &stepError))
        return fail();
    if (!tx.commit())
        return fail();
    return true;
}
