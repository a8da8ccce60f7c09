#include "model/ModelContext.h"

#include "model/LibraryStore.h"

#include <QMetaObject>
#include <algorithm>
#include <iterator>

bool ModelChanges::touches(Record::Kind kind) const
{
    for (const QSet<Record *> *set : {&inserted, &updated, &deleted})
        for (const Record *r : *set)
            if (r->kind() == kind)
                return true;
    return false;
}

ModelContext::ModelContext(std::unique_ptr<LibraryStore> store, QObject *parent)
    : QObject(parent), m_store(std::move(store))
{
}

ModelContext::~ModelContext()
{
    for (ShortcutItem *r : std::as_const(m_shortcuts))
        delete r;
    for (LibraryFolder *r : std::as_const(m_folders))
        delete r;
    for (Tag *r : std::as_const(m_tags))
        delete r;
    for (SmartList *r : std::as_const(m_smartLists))
        delete r;
}

void ModelContext::adopt(Record *record, bool loaded)
{
    Q_ASSERT(!record->m_context);
    const int k = int(record->kind());
    record->m_context = this;
    if (loaded)
        m_nextId[k] = std::max(m_nextId[k], record->m_id + 1);
    else
        record->m_id = m_nextId[k]++;
    switch (record->kind()) {
    case Record::Kind::shortcutItem:
        m_shortcuts.append(static_cast<ShortcutItem *>(record));
        break;
    case Record::Kind::libraryFolder: {
        auto *f = static_cast<LibraryFolder *>(record);
        m_folders.append(f);
        m_folderByUuid.insert(f->uuid(), f);
        break;
    }
    case Record::Kind::tag: {
        auto *t = static_cast<Tag *>(record);
        m_tags.append(t);
        m_tagByUuid.insert(t->uuid(), t);
        break;
    }
    case Record::Kind::smartList: {
        auto *s = static_cast<SmartList *>(record);
        m_smartLists.append(s);
        m_smartListByUuid.insert(s->uuid(), s);
        break;
    }
    }
    if (!loaded) {
        record->m_unsaved = true;
        m_insertedSinceSave.append(record);
        record->m_announced = true;
        m_pending.inserted.insert(record);
        scheduleAnnouncement();
    }
}

ShortcutItem *ModelContext::insert(ShortcutItem *item)
{
    adopt(item, false);
    return item;
}

LibraryFolder *ModelContext::insert(LibraryFolder *folder)
{
    adopt(folder, false);
    return folder;
}

Tag *ModelContext::insert(Tag *tag)
{
    adopt(tag, false);
    return tag;
}

SmartList *ModelContext::insert(SmartList *list)
{
    adopt(list, false);
    return list;
}

void ModelContext::deleteRecord(Record *record)
{
    if (!record || record->m_context != this || record->m_deleted)
        return;
    // Nullify every relationship first, so both sides stay consistent.
    switch (record->kind()) {
    case Record::Kind::shortcutItem: {
        auto *i = static_cast<ShortcutItem *>(record);
        i->setFolder(nullptr);
        i->setTags({});
        m_shortcuts.removeOne(i);
        // Its saved history goes with its row; unsaved entries must not outlive it.
        m_runChanges.added.removeIf(
            [id = i->persistentId()](const RunEntry &e) { return e.itemId == id; });
        break;
    }
    case Record::Kind::libraryFolder: {
        auto *f = static_cast<LibraryFolder *>(record);
        for (ShortcutItem *i : QList<ShortcutItem *>(f->shortcuts()))
            i->setFolder(nullptr);
        for (LibraryFolder *c : QList<LibraryFolder *>(f->children()))
            c->setParent(nullptr);
        f->setParent(nullptr);
        m_folders.removeOne(f);
        m_folderByUuid.remove(f->uuid());
        break;
    }
    case Record::Kind::tag: {
        auto *t = static_cast<Tag *>(record);
        for (ShortcutItem *i : QList<ShortcutItem *>(t->shortcuts()))
            i->removeTag(t);
        for (Tag *c : QList<Tag *>(t->children()))
            c->setParent(nullptr);
        t->setParent(nullptr);
        m_tags.removeOne(t);
        m_tagByUuid.remove(t->uuid());
        break;
    }
    case Record::Kind::smartList: {
        auto *s = static_cast<SmartList *>(record);
        m_smartLists.removeOne(s);
        m_smartListByUuid.remove(s->uuid());
        break;
    }
    }
    record->m_deleted = true;
    if (!record->m_unsaved)
        m_deletedSinceSave.append(record);
    m_graveyard.emplace_back(record);
    m_pending.updated.remove(record);
    m_pending.inserted.remove(record);
    m_pending.deleted.insert(record);
    scheduleAnnouncement();
}

void ModelContext::recordChanged(Record *record)
{
    if (record->m_deleted)
        return;
    if (!record->m_unsaved && !record->m_dirty) {
        record->m_dirty = true;
        m_dirty.append(record);
    }
    if (!record->m_announced) {
        record->m_announced = true;
        m_pending.updated.insert(record);
    }
    scheduleAnnouncement();
}

void ModelContext::uuidChanged(Record *record, const QString &oldUuid)
{
    switch (record->kind()) {
    case Record::Kind::libraryFolder:
        m_folderByUuid.remove(oldUuid);
        m_folderByUuid.insert(static_cast<LibraryFolder *>(record)->uuid(),
                              static_cast<LibraryFolder *>(record));
        break;
    case Record::Kind::tag:
        m_tagByUuid.remove(oldUuid);
        m_tagByUuid.insert(static_cast<Tag *>(record)->uuid(), static_cast<Tag *>(record));
        break;
    case Record::Kind::smartList:
        m_smartListByUuid.remove(oldUuid);
        m_smartListByUuid.insert(static_cast<SmartList *>(record)->uuid(),
                                 static_cast<SmartList *>(record));
        break;
    case Record::Kind::shortcutItem:
        break;
    }
}

bool ModelContext::hasChanges() const
{
    return !m_insertedSinceSave.isEmpty() || !m_dirty.isEmpty() || !m_deletedSinceSave.isEmpty() ||
           !m_runChanges.isEmpty();
}

bool ModelContext::save(QString *error)
{
    if (!hasChanges())
        return true;
    auto byId = [](const Record *a, const Record *b) {
        if (a->kind() != b->kind())
            return int(a->kind()) > int(b->kind()); // parents (folders, tags) before items
        return a->persistentId() < b->persistentId();
    };
    auto live = [&byId](const QList<Record *> &records) {
        QList<Record *> out;
        out.reserve(records.size());
        std::copy_if(records.cbegin(), records.cend(), std::back_inserter(out),
                     [](const Record *r) { return !r->m_deleted; });
        // Usually in order already: a sync changes records in the order it meets them.
        if (!std::is_sorted(out.begin(), out.end(), byId))
            std::sort(out.begin(), out.end(), byId);
        return out;
    };
    const QList<Record *> inserted = live(m_insertedSinceSave);
    const QList<Record *> updated = live(m_dirty);
    if (m_store) {
        QString message;
        if (!m_store->write(inserted, updated, m_deletedSinceSave, &message, &m_runChanges)) {
            m_lastSaveError = message;
            if (error)
                *error = message;
            return false;
        }
    }
    for (QList<Record *> *list : {&m_insertedSinceSave, &m_dirty}) {
        for (Record *r : *list) {
            r->m_unsaved = false;
            r->m_dirty = false;
            if (r->kind() == Record::Kind::shortcutItem) {
                auto *i = static_cast<ShortcutItem *>(r);
                i->m_iconDirty = false;
                i->m_tagsDirty = false;
                i->m_rowDirty = false;
                i->m_orderDirty = false;
                i->m_seenDirty = false;
                i->m_syncRowMissing = false;
            }
        }
    }
    m_insertedSinceSave.clear();
    m_dirty.clear();
    m_deletedSinceSave.clear();
    m_lastSaveError.clear();
    if (!m_runChanges.isEmpty()) {
        m_runChanges = {};
        emit runHistoryChanged();
    }
    return true;
}

qint64 ModelContext::beginRunEntry(const ShortcutItem *item, const std::optional<QString> &input,
                                   RunSource source, const QDateTime &startedAt)
{
    if (!m_store || !item)
        return 0;
    RunEntry entry;
    entry.itemId = item->persistentId();
    entry.startedAt = startedAt;
    entry.input = input;
    entry.source = source;
    addRunEntry(entry);
    return m_runChanges.added.constLast().id;
}

void ModelContext::addRunEntry(RunEntry entry)
{
    if (!m_store)
        return;
    if (m_nextRunId == 0)
        m_nextRunId = m_store->lastRunEntryId() + 1;
    entry.id = m_nextRunId++;
    m_runChanges.added.append(entry);
}

void ModelContext::finishRunEntry(qint64 id, RunOutcome outcome, const QString &text,
                                  qint64 durationMs)
{
    if (!m_store || id <= 0)
        return;
    auto finish = [&](RunEntry &e) {
        e.outcome = outcome;
        e.text = text;
        e.durationMs = durationMs;
    };
    for (RunEntry &e : m_runChanges.added)
        if (e.id == id) {
            finish(e); // not saved yet
            return;
        }
    RunEntry e;
    e.id = id;
    finish(e);
    m_runChanges.finished.append(e);
}

void ModelContext::clearRunHistory(const ShortcutItem *item)
{
    if (!m_store)
        return;
    if (!item) {
        m_runChanges = {};
        m_runChanges.clearedAll = true;
        return;
    }
    const qint64 itemId = item->persistentId();
    m_runChanges.added.removeIf([itemId](const RunEntry &e) { return e.itemId == itemId; });
    m_runChanges.clearedItems.append(itemId);
}

QList<RunEntry> ModelContext::runHistory(const RunHistoryFilter &filter) const
{
    return m_store ? m_store->runHistory(filter) : QList<RunEntry>();
}

QByteArray ModelContext::loadIconData(const ShortcutItem *item) const
{
    return m_store ? m_store->iconData(item->persistentId()) : QByteArray();
}

void ModelContext::scheduleAnnouncement()
{
    if (m_announcementScheduled)
        return;
    m_announcementScheduled = true;
    QMetaObject::invokeMethod(this, &ModelContext::announce, Qt::QueuedConnection);
}

void ModelContext::announce()
{
    m_announcementScheduled = false;
    if (m_pending.isEmpty())
        return;
    ModelChanges changes = std::move(m_pending);
    m_pending = {};
    for (const QSet<Record *> *set : {&changes.inserted, &changes.updated})
        for (Record *r : *set)
            r->m_announced = false;
    emit changed(changes);
}
