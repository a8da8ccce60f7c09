// Reading the records of a library file into a context: folders, tags and smart lists, then
// the shortcuts (those of a large library in two halves, the upper one read on another core
// through a second connection), then the tag memberships.

#include "model/LibraryStore.h"
#include "model/LibraryStoreSchema.h"
#include "model/ModelContext.h"
#include "model/RepeatedTexts.h"
#include "model/StoredDate.h"

#include <QHash>
#include <algorithm>
#include <sqlite3.h>
#include <thread>

struct LibraryStore::LoadedItem {
    std::unique_ptr<ShortcutItem> item;
    std::optional<qint64> folderId;
};

namespace {
// Below this span of ids, opening a second connection costs more than it saves.
constexpr double idsForTwoReaders = 5000;

std::optional<QDateTime> optionalDate(const SqliteStatement &st, int i)
{
    if (st.isNull(i))
        return std::nullopt;
    return fromSeconds(st.real(i));
}

// Halves by id need ids that are the table's row numbers: integers every one, so that the two
// ranges hold every row, and a range is a seek rather than a scan. A file edited by hand may
// have made the column something else.
bool idsAreRowNumbers(SqliteDatabase &db)
{
    SqliteStatement st = db.prepare(QStringLiteral(
        "SELECT (SELECT upper(type) = 'INTEGER' AND pk = 1"
        "        FROM pragma_table_info('shortcut_items') WHERE name = 'id')"
        "   AND (SELECT count(*) = 1"
        "        FROM pragma_table_info('shortcut_items') WHERE pk > 0)"
        "   AND (SELECT upper(sql) NOT LIKE '%WITHOUT ROWID%'"
        "               AND upper(sql) NOT LIKE '%PRIMARY KEY DESC%'"
        "        FROM sqlite_master WHERE type = 'table' AND name = 'shortcut_items')"));
    return st.isValid() && st.step() == SqliteStatement::Step::row && st.int64(0) == 1;
}

QString errorOf(const SqliteDatabase &db)
{
    return QString::fromUtf8(sqlite3_errmsg(db.handle()));
}
} // namespace

bool LibraryStore::readItems(SqliteDatabase &db, Half half, qint64 middle,
                             std::vector<LoadedItem> &into)
{
    const char *where = half == Half::whole   ? ""
                        : half == Half::lower ? "WHERE id <= ?"
                                              : "WHERE id > ?";
    // An item without its sync row (a file edited by hand) reads as never stamped since it was
    // first seen.
    SqliteStatement st =
        db.prepare(QStringLiteral("SELECT %1, s.library_order, s.last_seen_at, s.is_missing, "
                                  "s.item_id IS NULL FROM shortcut_items "
                                  "LEFT JOIN shortcut_sync_state AS s ON s.item_id = id "
                                  "%2 ORDER BY id")
                       .arg(LibraryStoreSchema::itemColumns, QLatin1String(where)));
    if (!st.isValid())
        return false;
    if (half != Half::whole)
        st.bind(1, middle);
    RepeatedTexts repeated;
    SqliteStatement::Step step = SqliteStatement::Step::done;
    while ((step = st.step()) == SqliteStatement::Step::row) {
        auto *i = new ShortcutItem(st.text(0), st.text(1));
        into.push_back({std::unique_ptr<ShortcutItem>(i),
                        st.isNull(19) ? std::nullopt : std::optional(st.int64(19))});
        i->m_subtitle = st.text(2, repeated);
        i->m_nativeFolderName = st.text(3, repeated);
        i->m_colorHex = st.text(4, repeated);
        i->m_iconTopHex = st.text(5, repeated);
        i->m_iconBottomHex = st.text(6, repeated);
        i->m_appBundleID = st.text(7, repeated);
        i->m_iconAppBundleID = st.text(8, repeated);
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
    }
    // A damaged page ends a scan with an error, which must not pass for the end of the table.
    return step == SqliteStatement::Step::done;
}

bool LibraryStore::readAllItems(std::vector<LoadedItem> &items, QString *error)
{
    auto fail = [&](const SqliteDatabase &db) {
        if (error)
            *error = errorOf(db);
        return false;
    };
    qint64 low = 0, high = 0;
    {
        // Apart, each is one seek; together in one SELECT they would scan the whole table.
        SqliteStatement bounds =
            m_db.prepare(QStringLiteral("SELECT (SELECT min(id) FROM shortcut_items), "
                                        "(SELECT max(id) FROM shortcut_items)"));
        if (!bounds.isValid() || bounds.step() != SqliteStatement::Step::row)
            return fail(m_db);
        low = bounds.int64(0);
        high = bounds.int64(1);
    }
    if (!m_sideReadMode || double(high) - double(low) < idsForTwoReaders || !idsAreRowNumbers(m_db))
        return readItems(m_db, Half::whole, 0, items) || fail(m_db);

    // Halves without overflow, whatever ids a file holds.
    const qint64 middle = low / 2 + high / 2;
    std::vector<LoadedItem> upper;
    bool sideOpened = false, upperRead = false;
    QString upperError;
    bool lowerRead = false;
    {
        std::jthread side([&] {
            SqliteDatabase db;
            if (!db.open(m_path, *m_sideReadMode))
                return; // the caller reads them after all
            sideOpened = true;
            sqlite3_busy_timeout(db.handle(), 2000);
            upperRead = readItems(db, Half::upper, middle, upper);
            if (!upperRead)
                upperError = errorOf(db);
        });
        lowerRead = readItems(m_db, Half::lower, middle, items);
    }
    if (!lowerRead)
        return fail(m_db);
    if (!sideOpened)
        return readItems(m_db, Half::upper, middle, items) || fail(m_db);
    if (!upperRead) {
        if (error)
            *error = upperError;
        return false;
    }
    std::move(upper.begin(), upper.end(), std::back_inserter(items));
    return true;
}

bool LibraryStore::load(ModelContext &ctx, QString *error)
{
    auto fail = [&]() {
        if (error)
            *error = errorOf(m_db);
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
        if (LibraryFolder *parent = folders.value(parentId))
            folders.value(childId)->attachLoaded(parent);

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
        if (Tag *parent = tags.value(parentId))
            tags.value(childId)->attachLoaded(parent);

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

    std::vector<LoadedItem> loaded;
    if (!readAllItems(loaded, error))
        return false;
    // Ids in order, beside the items, for matching memberships without a table of every item.
    std::vector<qint64> ids;
    ids.reserve(loaded.size());
    QList<ShortcutItem *> items;
    items.reserve(qsizetype(loaded.size()));
    for (LoadedItem &l : loaded) {
        ShortcutItem *i = l.item.release();
        ids.push_back(i->m_id);
        items.append(i);
        ctx.adopt(i, true);
        if (l.folderId)
            if (LibraryFolder *f = folders.value(*l.folderId)) {
                i->m_folder = f;
                f->m_shortcuts.append(i); // rows come in id order
            }
    }
    {
        SqliteStatement st = m_db.prepare(
            QStringLiteral("SELECT item_id, tag_id FROM shortcut_tags ORDER BY item_id, tag_id"));
        if (!st.isValid())
            return fail();
        // Memberships come in item order too: the two lists are walked together.
        size_t at = 0;
        while ((step = st.step()) == SqliteStatement::Step::row) {
            const qint64 itemId = st.int64(0);
            if (at < ids.size() && ids[at] > itemId) // only a file edited by hand goes back
                at = size_t(std::lower_bound(ids.begin(), ids.end(), itemId) - ids.begin());
            while (at < ids.size() && ids[at] < itemId)
                ++at;
            Tag *t = tags.value(st.int64(1));
            if (at < ids.size() && ids[at] == itemId && t) {
                ShortcutItem *i = items.at(qsizetype(at));
                i->m_tags.append(t);
                t->m_shortcuts.append(i);
            }
        }
        if (step != SqliteStatement::Step::done)
            return fail();
    }
    return true;
}
