#pragma once

#include "model/Record.h"

#include <QDateTime>
#include <QString>

class ShortcutItem;

// A user folder of the library; folders nest through parent.
class LibraryFolder final : public Record {
public:
    explicit LibraryFolder(const QString &name, LibraryFolder *parent = nullptr);
    ~LibraryFolder() override;
    Kind kind() const override { return Kind::libraryFolder; }

    const QString &uuid() const { return m_uuid; }
    void setUuid(const QString &v);
    const QString &name() const { return m_name; }
    void setName(const QString &v);
    const QString &symbolName() const { return m_symbolName; }
    void setSymbolName(const QString &v);
    const QString &colorHex() const { return m_colorHex; }
    void setColorHex(const QString &v);
    qint64 sortOrder() const { return m_sortOrder; }
    void setSortOrder(qint64 v);
    const QDateTime &createdAt() const { return m_createdAt; }

    LibraryFolder *parent() const { return m_parent; }
    // Moves the folder under another (or to the top level with nullptr); both sides follow.
    void setParent(LibraryFolder *parent);
    const QList<LibraryFolder *> &children() const { return m_children; }
    const QList<ShortcutItem *> &shortcuts() const { return m_shortcuts; }

    QList<LibraryFolder *> sortedChildren() const;
    // Own shortcuts, then each child's, depth-first.
    QList<ShortcutItem *> allShortcuts() const;
    // [top-level ancestor, ..., parent, self]; climbs at most 64 parents.
    QList<LibraryFolder *> pathFromRoot() const;
    // True when `of` is a strict ancestor within 64 steps.
    bool isDescendant(const LibraryFolder *of) const;

private:
    friend class ShortcutItem;
    friend class ModelContext;
    friend class LibraryStore;
    void collectAll(QList<ShortcutItem *> &into, int depth) const;

    QString m_uuid;
    QString m_name;
    QString m_symbolName = QStringLiteral("folder");
    QString m_colorHex;
    qint64 m_sortOrder = 0;
    QDateTime m_createdAt;
    LibraryFolder *m_parent = nullptr;
    QList<LibraryFolder *> m_children;
    QList<ShortcutItem *> m_shortcuts;
};
