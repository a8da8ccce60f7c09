#pragma once

#include "model/LibraryHealth.h"

#include <QAbstractListModel>

class Record;
class ShortcutItem;

// The health report as a flat list: per kind of finding a heading, its explanation, how to fix
// it, then one entry per record it names.
class HealthReportModel : public QAbstractListModel {
    Q_OBJECT
public:
    enum class RowKind { heading, explanation, fix, entry };

    using QAbstractListModel::QAbstractListModel;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

    // Replaces the rows (a model reset): the texts read the records as they are now.
    void setHealth(const LibraryHealth &health);
    RowKind rowKind(const QModelIndex &index) const;
    // The record an entry names; null for other rows and records deleted since.
    Record *recordAt(const QModelIndex &index) const;
    // The shortcut an entry names, for drawing its icon.
    const ShortcutItem *shortcutAt(const QModelIndex &index) const;
    // Bumped by every setHealth(): keys the icon cache of the shortcuts drawn.
    quint64 revision() const { return m_revision; }

private:
    struct Row {
        RowKind kind;
        QString text;
        QString secondary;
        QString symbol;
        QString tintHex;
        Record *record = nullptr;
    };
    const Row *rowAt(const QModelIndex &index) const;

    QList<Row> m_rows;
    quint64 m_revision = 0;
};
