// The run history table of the library store.

#include "model/LibraryStore.h"
#include "model/StoredDate.h"

#include <sqlite3.h>

bool LibraryStore::writeRunHistory(const RunHistoryChanges &runs, QString *error)
{
    auto step = [&](SqliteStatement &st) {
        if (st.step() == SqliteStatement::Step::done)
            return true;
        if (error)
            *error = QString::fromUtf8(sqlite3_errmsg(m_db.handle()));
        return false;
    };
    if (runs.clearedAll) {
        SqliteStatement st = m_db.prepare(QStringLiteral("DELETE FROM run_history"));
        if (!step(st))
            return false;
    }
    for (qint64 itemId : runs.clearedItems) {
        SqliteStatement st =
            m_db.prepare(QStringLiteral("DELETE FROM run_history WHERE item_id = ?"));
        st.bind(1, itemId);
        if (!step(st))
            return false;
    }
    if (!runs.added.isEmpty()) {
        SqliteStatement insert = m_db.prepare(
            QStringLiteral("INSERT OR REPLACE INTO run_history (id, item_id, started_at, "
                           "duration_ms, input, outcome, text, source) VALUES (?,?,?,?,?,?,?,?)"));
        // Keeps the newest maxPerShortcut of one shortcut; the index makes it a short range scan.
        SqliteStatement trimItem = m_db.prepare(
            QStringLiteral("DELETE FROM run_history WHERE item_id = ?1 AND id <= (SELECT id FROM "
                           "run_history WHERE item_id = ?1 ORDER BY id DESC LIMIT 1 OFFSET ?2)"));
        for (const RunEntry &e : runs.added) {
            insert.bind(1, e.id);
            insert.bind(2, e.itemId);
            insert.bind(3, toSeconds(e.startedAt));
            if (e.durationMs)
                insert.bind(4, *e.durationMs);
            else
                insert.bindNull(4);
            if (e.input)
                insert.bind(5, RunEntry::capped(*e.input));
            else
                insert.bindNull(5);
            insert.bind(6, qint64(e.outcome));
            insert.bind(7, RunEntry::capped(e.text));
            insert.bind(8, storedName(e.source));
            if (!step(insert))
                return false;
            insert.reset();
            trimItem.bind(1, e.itemId);
            trimItem.bind(2, qint64(RunEntry::maxPerShortcut));
            if (!step(trimItem))
                return false;
            trimItem.reset();
        }
        SqliteStatement trimAll = m_db.prepare(
            QStringLiteral("DELETE FROM run_history WHERE id <= (SELECT id FROM run_history "
                           "ORDER BY id DESC LIMIT 1 OFFSET ?)"));
        trimAll.bind(1, qint64(RunEntry::maxEntries));
        if (!step(trimAll))
            return false;
    }
    if (!runs.finished.isEmpty()) {
        SqliteStatement update = m_db.prepare(QStringLiteral(
            "UPDATE run_history SET outcome = ?, text = ?, duration_ms = ? WHERE id = ?"));
        for (const RunEntry &e : runs.finished) {
            update.bind(1, qint64(e.outcome));
            update.bind(2, RunEntry::capped(e.text));
            if (e.durationMs)
                update.bind(3, *e.durationMs);
            else
                update.bindNull(3);
            update.bind(4, e.id);
            if (!step(update))
                return false;
            update.reset();
        }
    }
    return true;
}

QList<RunEntry> LibraryStore::runHistory(const RunHistoryFilter &filter, QString *error)
{
    QString sql = QStringLiteral("SELECT id, item_id, started_at, duration_ms, input, outcome, "
                                 "text, source FROM run_history WHERE 1");
    if (filter.itemId)
        sql += QStringLiteral(" AND item_id = :item");
    if (filter.entryId)
        sql += QStringLiteral(" AND id = :entry");
    if (filter.since)
        sql += QStringLiteral(" AND started_at >= :since");
    if (filter.failedOnly)
        sql += QStringLiteral(" AND outcome = %1").arg(qint64(RunOutcome::failed));
    sql += QStringLiteral(" ORDER BY id DESC LIMIT :limit");
    SqliteStatement st = m_db.prepare(sql);
    if (!st.isValid()) {
        if (error)
            *error = m_db.lastError();
        return {};
    }
    int index = 1;
    if (filter.itemId)
        st.bind(index++, filter.itemId);
    if (filter.entryId)
        st.bind(index++, filter.entryId);
    if (filter.since)
        st.bind(index++, toSeconds(*filter.since));
    st.bind(index, qint64(filter.limit));
    QList<RunEntry> entries;
    SqliteStatement::Step step;
    while ((step = st.step()) == SqliteStatement::Step::row) {
        RunEntry e;
        e.id = st.int64(0);
        e.itemId = st.int64(1);
        e.startedAt = fromSeconds(st.real(2));
        if (!st.isNull(3))
            e.durationMs = st.int64(3);
        if (!st.isNull(4))
            e.input = st.text(4);
        e.outcome = runOutcomeFromStored(st.int64(5));
        e.text = st.text(6);
        // An unknown source (a newer release's) reads as the window's.
        e.source = runSourceFromStoredName(st.text(7)).value_or(RunSource::window);
        entries.append(e);
    }
    if (step != SqliteStatement::Step::done) {
        if (error)
            *error = QString::fromUtf8(sqlite3_errmsg(m_db.handle()));
        return {};
    }
    return entries;
}

qint64 LibraryStore::lastRunEntryId()
{
    const auto id = m_db.scalar(QStringLiteral("SELECT max(id) FROM run_history"));
    return id ? id->toLongLong() : 0;
}
