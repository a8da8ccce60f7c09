#pragma once

#include <QList>
#include <QtGlobal>
#include <algorithm>
#include <limits>

class ModelContext;

// Base of the four persistent record types. Identity is the object itself (and, once
// inserted, its persistent id); no field takes part in equality.
class Record {
public:
    enum class Kind { shortcutItem, libraryFolder, tag, smartList };

    virtual ~Record() = default;
    Record(const Record &) = delete;
    Record &operator=(const Record &) = delete;

    virtual Kind kind() const = 0;
    // 0 until the record is inserted into a context; then unique per type and never reused.
    qint64 persistentId() const { return m_id; }
    ModelContext *context() const { return m_context; }
    bool isDeleted() const { return m_deleted; }

protected:
    Record() = default;
    // Marks the record's row dirty and lets the context announce the change.
    void didChange();

private:
    friend class ModelContext;
    friend class LibraryStore;
    ModelContext *m_context = nullptr;
    qint64 m_id = 0;
    bool m_deleted = false;
    // Bookkeeping of the context, so that a record changed many times is listed once:
    // inserted since the last save, listed as changed since then, part of the next announcement.
    bool m_unsaved = false;
    bool m_dirty = false;
    bool m_announced = false;
};

namespace RecordLists {
// Keeps to-many lists in creation order, so every order derived from them is the same before
// and after a reload. Records not yet inserted (id 0) go last.
template<typename T> void insertOrdered(QList<T *> &list, T *record)
{
    const auto key = [](const T *r) {
        return r->persistentId() == 0 ? std::numeric_limits<qint64>::max() : r->persistentId();
    };
    if (list.isEmpty() || key(list.constLast()) <= key(record)) {
        list.append(record);
        return;
    }
    auto it = std::upper_bound(list.begin(), list.end(), record,
                               [&](const T *a, const T *b) { return key(a) < key(b); });
    list.insert(it, record);
}

template<typename T> void remove(QList<T *> &list, T *record)
{
    list.removeOne(record);
}
} // namespace RecordLists
