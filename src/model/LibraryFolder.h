#pragma once

#include "model/RecordTree.h"

#include <QDateTime>
#include <QString>

class ShortcutItem;

// A user folder of the library; folders nest through parent.
class LibraryFolder final : public TreeRecord<LibraryFolder> {
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

    const QList<ShortcutItem *> &shortcuts() const { return m_shortcuts; }
    // Own shortcuts, then each child's, depth-first.
    QList<ShortcutItem *> allShortcuts() const;

private:
    friend class ShortcutItem;
    friend class ModelContext;
    friend class LibraryStore;

    QString m_uuid;
    QString m_name;
    QString m_symbolName = QStringLiteral("folder");
    QString m_colorHex;
    qint64 m_sortOrder = 0;
    QDateTime m_createdAt;
    QList<ShortcutItem *> m_shortcuts;
};
