#pragma once

#include "model/RecordTree.h"

#include <QDateTime>
#include <QSet>
#include <QString>

class ShortcutItem;

// A user tag; tags nest through parent and are shared by many shortcuts.
class Tag final : public TreeRecord<Tag> {
public:
    Tag(const QString &name, const QString &colorHex, Tag *parent = nullptr);
    ~Tag() override;
    Kind kind() const override { return Kind::tag; }

    const QString &uuid() const { return m_uuid; }
    void setUuid(const QString &v);
    const QString &name() const { return m_name; }
    void setName(const QString &v);
    const QString &colorHex() const { return m_colorHex; }
    void setColorHex(const QString &v);
    qint64 sortOrder() const { return m_sortOrder; }
    void setSortOrder(qint64 v);
    const QDateTime &createdAt() const { return m_createdAt; }

    const QList<ShortcutItem *> &shortcuts() const { return m_shortcuts; }
    // Appends the tag's shortcuts not yet seen, then recurses into the children.
    void collectShortcuts(QList<ShortcutItem *> &into, QSet<ShortcutItem *> &seen) const;

private:
    friend class ShortcutItem;
    friend class ModelContext;
    friend class LibraryStore;

    QString m_uuid;
    QString m_name;
    QString m_colorHex = QStringLiteral("#8E8E93");
    qint64 m_sortOrder = 0;
    QDateTime m_createdAt;
    QList<ShortcutItem *> m_shortcuts;
};
