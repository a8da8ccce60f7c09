#pragma once

#include "model/LibraryFolder.h"
#include "model/LibraryStore.h"
#include "model/ShortcutItem.h"
#include "model/SmartList.h"
#include "model/Tag.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <memory>

// What changed in one turn of the event loop.
struct ModelChanges {
    QSet<Record *> inserted;
    QSet<Record *> updated;
    QSet<Record *> deleted;
    bool isEmpty() const { return inserted.isEmpty() && updated.isEmpty() && deleted.isEmpty(); }
    bool touches(Record::Kind kind) const;
};

// The store's main context: owns every record, keeps the inverse sides of relationships,
// applies the nullify delete rules, and writes changes to the store on save().
// Main thread only.
class ModelContext : public QObject {
    Q_OBJECT
public:
    // Without a store the context lives in memory only (save() then just clears the changes).
    explicit ModelContext(std::unique_ptr<LibraryStore> store = nullptr, QObject *parent = nullptr);
    ~ModelContext() override;

    // Every record of one type, in creation order.
    const QList<ShortcutItem *> &shortcuts() const { return m_shortcuts; }
    const QList<LibraryFolder *> &folders() const { return m_folders; }
    const QList<Tag *> &tags() const { return m_tags; }
    const QList<SmartList *> &smartLists() const { return m_smartLists; }

    LibraryFolder *folder(const QString &uuid) const { return m_folderByUuid.value(uuid); }
    Tag *tag(const QString &uuid) const { return m_tagByUuid.value(uuid); }
    SmartList *smartList(const QString &uuid) const { return m_smartListByUuid.value(uuid); }

    // Takes ownership; the record becomes persistent at the next save().
    ShortcutItem *insert(ShortcutItem *item);
    LibraryFolder *insert(LibraryFolder *folder);
    Tag *insert(Tag *tag);
    SmartList *insert(SmartList *list);
    // Nullifies every relationship of the record and removes it; the object stays valid
    // (isDeleted() true) until the context is destroyed.
    void deleteRecord(Record *record);

    bool hasChanges() const;
    // Writes every inserted, changed and deleted record in one transaction.
    bool save(QString *error = nullptr);
    QString lastSaveError() const { return m_lastSaveError; }

    LibraryStore *store() const { return m_store.get(); }

    // Run history, written by the next save() in its transaction. Without a store there is
    // none: begin answers 0 and reading answers nothing.
    qint64 beginRunEntry(const ShortcutItem *item, const std::optional<QString> &input,
                         RunSource source, const QDateTime &startedAt);
    void finishRunEntry(qint64 id, RunOutcome outcome, const QString &text, qint64 durationMs);
    // A run learnt about once it had ended (a callback).
    void addRunEntry(RunEntry entry);
    // One shortcut's entries, or every entry.
    void clearRunHistory(const ShortcutItem *item = nullptr);
    QList<RunEntry> runHistory(const RunHistoryFilter &filter) const;
    QByteArray loadIconData(const ShortcutItem *item) const;

    // Called by records; public for the record classes only.
    void recordChanged(Record *record);
    void uuidChanged(Record *record, const QString &oldUuid);

signals:
    // Coalesced: at most one per turn of the event loop.
    void changed(const ModelChanges &changes);
    // After a save that wrote to the run history.
    void runHistoryChanged();

private:
    friend class LibraryStore;
    void adopt(Record *record, bool loaded);
    void scheduleAnnouncement();
    void announce();

    std::unique_ptr<LibraryStore> m_store;
    qint64 m_nextId[4] = {1, 1, 1, 1};
    QList<ShortcutItem *> m_shortcuts;
    QList<LibraryFolder *> m_folders;
    QList<Tag *> m_tags;
    QList<SmartList *> m_smartLists;
    QHash<QString, LibraryFolder *> m_folderByUuid;
    QHash<QString, Tag *> m_tagByUuid;
    QHash<QString, SmartList *> m_smartListByUuid;

    // In the order of their first change; records deleted meanwhile are skipped at save.
    QList<Record *> m_insertedSinceSave;
    QList<Record *> m_dirty;
    QList<Record *> m_deletedSinceSave;
    std::vector<std::unique_ptr<Record>> m_graveyard;

    ModelChanges m_pending;
    bool m_announcementScheduled = false;
    QString m_lastSaveError;
    RunHistoryChanges m_runChanges;
    qint64 m_nextRunId = 0; // read from the store at the first run
};
