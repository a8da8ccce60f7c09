// Writing back what changed in a context, and reading icons and run history on demand.

#include "model/LibraryStore.h"

#include "model/LibraryStoreSchema.h"
#include "model/ModelContext.h"
#include "model/StoredDate.h"

#include <sqlite3.h>

namespace {

void bindDate(SqliteStatement &st, int i, const std::optional<QDateTime> &d)
{
    if (d)
        st.bind(i, toSeconds(*d));
    else
        st.bindNull(i);
}

void bindParent(SqliteStatement &st, int i, const Record *parent)
{
    if (parent)
        st.bind(i, parent->persistentId());
    else
        st.bindNull(i);
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
    q->upsertItem = m_db.prepare(
        QStringLiteral("INSERT OR REPLACE INTO shortcut_items (%1) VALUES (%2)")
            .arg(LibraryStoreSchema::itemColumns,
                 QStringLiteral("?,").repeated(LibraryStoreSchema::itemColumnCount - 1) +
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
            bindParent(st, 8, f->parent());
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
            bindParent(st, 7, t->parent());
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
