#pragma once

#include <QAbstractListModel>
#include <QHash>
#include <QList>
#include <QSet>

class ShortcutItem;
struct ModelChanges;

// A flat list of shortcuts for the collection. Replacing the list moves rows in targeted
// insert/remove/move steps so that views keep their selection and scroll position; reset()
// is only for a new section. Record edits become dataChanged of the rows concerned.
class ShortcutListModel : public QAbstractListModel {
    Q_OBJECT
public:
    explicit ShortcutListModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;
    Qt::DropActions supportedDragActions() const override { return Qt::CopyAction; }

    const QList<ShortcutItem *> &items() const { return m_items; }
    ShortcutItem *itemAt(int row) const;
    ShortcutItem *itemAt(const QModelIndex &index) const { return itemAt(index.row()); }
    // -1 when the item is not listed.
    int rowOf(const ShortcutItem *item) const;
    QModelIndex indexOf(const ShortcutItem *item) const;

    // Whole new list (a new section): one model reset.
    void reset(const QList<ShortcutItem *> &items);
    // Same section, new contents: removals, one reordering when needed, then insertions.
    void update(const QList<ShortcutItem *> &items);
    // Rows of records that changed (already listed ones only) get dataChanged.
    void recordsChanged(const QSet<ShortcutItem *> &changed);

    void setRunningIdentifiers(const QSet<QString> &identifiers);
    // Whether a listed shortcut is running; only looks at the rows while something runs.
    bool listsRunning() const;
    quint64 revision(const ShortcutItem *item) const { return m_revision.value(item, 0); }

private:
    // Beyond this many runs of removed rows, an update is one new layout.
    static constexpr qsizetype maximumRowRuns = 32;

    void rebuildRowIndex();
    // The rows become items at once; persistent indexes follow their item or become invalid.
    void relayout(const QList<ShortcutItem *> &items, QAbstractItemModel::LayoutChangeHint hint);
    void emitRowsChanged(QList<int> rows);

    QList<ShortcutItem *> m_items;
    mutable QHash<const ShortcutItem *, int> m_rowOf;
    mutable bool m_rowOfStale = false;
    QHash<const ShortcutItem *, quint64> m_revision;
    QSet<QString> m_running;
    quint64 m_nextRevision = 1;
};
