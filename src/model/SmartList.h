#pragma once

#include "model/Record.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <optional>

struct SmartRuleSet;

// A saved rule-based list; its rules are kept encoded in rulesData.
class SmartList final : public Record {
public:
    SmartList(const QString &name, const SmartRuleSet &rules);
    ~SmartList() override;
    Kind kind() const override { return Kind::smartList; }

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
    const QByteArray &rulesData() const { return m_rulesData; }
    void setRulesData(const QByteArray &v);

    // The decoded rule set (the default set when rulesData does not decode); writing encodes.
    SmartRuleSet ruleSet() const;
    void setRuleSet(const SmartRuleSet &rules);
    // The decoded rule set, or nothing when rulesData does not decode (the list then shows
    // what ruleSet() answers: the default set).
    std::optional<SmartRuleSet> ruleSetIfReadable() const;

private:
    friend class LibraryStore;
    SmartList() = default; // for loading
    QString m_uuid;
    QString m_name;
    QString m_symbolName = QStringLiteral("sparkles");
    QString m_colorHex = QStringLiteral("#AF52DE");
    qint64 m_sortOrder = 0;
    QDateTime m_createdAt;
    QByteArray m_rulesData;
};
