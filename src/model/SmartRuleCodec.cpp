// The JSON form of a rule set, as kept in SmartList::rulesData.

#include "model/JsonInteger.h"
#include "model/SmartRuleSet.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {
QJsonObject ruleJson(const SmartRule &rule)
{
    QJsonObject o{
        {QStringLiteral("id"), rule.id.toString(QUuid::WithoutBraces).toUpper()},
        {QStringLiteral("field"), storedName(rule.field)},
        {QStringLiteral("textOp"), storedName(rule.textOp)},
        {QStringLiteral("numberOp"), storedName(rule.numberOp)},
        {QStringLiteral("dateOp"), storedName(rule.dateOp)},
        {QStringLiteral("boolValue"), rule.boolValue},
        {QStringLiteral("text"), rule.text},
        {QStringLiteral("number"), rule.number},
        {QStringLiteral("days"), rule.days},
        {QStringLiteral("referenceUUID"), rule.referenceUUID},
    };
    // Only where it is read: rule sets without this field stay as they were written before.
    if (rule.field == SmartRule::Field::lastRunOutcome)
        o.insert(QStringLiteral("runResult"), storedName(rule.runResult));
    return o;
}

// Each reader answers false when the key is absent or holds the wrong type.
bool readBool(const QJsonObject &o, QLatin1String key, bool &out)
{
    const QJsonValue v = o.value(key);
    if (!v.isBool())
        return false;
    out = v.toBool();
    return true;
}

bool readString(const QJsonObject &o, QLatin1String key, QString &out)
{
    const QJsonValue v = o.value(key);
    if (!v.isString())
        return false;
    out = v.toString();
    return true;
}

bool readInteger(const QJsonObject &o, QLatin1String key, qint64 &out)
{
    const auto v = jsonInteger(o.value(key));
    if (!v)
        return false;
    out = *v;
    return true;
}

template<typename E> bool readEnum(const QJsonObject &o, QLatin1String key, E &out)
{
    QString name;
    if (!readString(o, key, name))
        return false;
    const auto value = fromStoredName<E>(name);
    if (!value)
        return false;
    out = *value;
    return true;
}

bool readUuid(const QJsonObject &o, QLatin1String key, QUuid &out)
{
    QString text;
    if (!readString(o, key, text) || text.size() != 36)
        return false;
    const QUuid uuid = QUuid::fromString(text);
    // fromString answers the nil UUID for text it cannot read, so the nil text itself must be
    // told apart from garbage.
    if (uuid.isNull() && text != QLatin1String("00000000-0000-0000-0000-000000000000"))
        return false;
    out = uuid;
    return true;
}

std::optional<SmartRule> decodeRule(const QJsonValue &value)
{
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject o = value.toObject();
    SmartRule r;
    const bool ok = readUuid(o, QLatin1String("id"), r.id) &&
                    readEnum(o, QLatin1String("field"), r.field) &&
                    readEnum(o, QLatin1String("textOp"), r.textOp) &&
                    readEnum(o, QLatin1String("numberOp"), r.numberOp) &&
                    readEnum(o, QLatin1String("dateOp"), r.dateOp) &&
                    readBool(o, QLatin1String("boolValue"), r.boolValue) &&
                    readString(o, QLatin1String("text"), r.text) &&
                    readInteger(o, QLatin1String("number"), r.number) &&
                    readInteger(o, QLatin1String("days"), r.days) &&
                    readString(o, QLatin1String("referenceUUID"), r.referenceUUID);
    if (!ok)
        return std::nullopt;
    // Written only by rules of the last run's outcome, which cannot do without it.
    if (o.contains(QLatin1String("runResult")) || r.field == SmartRule::Field::lastRunOutcome) {
        if (!readEnum(o, QLatin1String("runResult"), r.runResult))
            return std::nullopt;
    }
    return r;
}
} // namespace

QByteArray SmartRuleSet::encoded() const
{
    QJsonArray ruleArray;
    for (const SmartRule &r : rules)
        ruleArray.append(ruleJson(r));
    const QJsonObject o{
        {QStringLiteral("matchAll"), matchAll},
        {QStringLiteral("rules"), ruleArray},
        {QStringLiteral("sort"), storedName(sort)},
        {QStringLiteral("ascending"), ascending},
        {QStringLiteral("includeMissing"), includeMissing},
    };
    return QJsonDocument(o).toJson(QJsonDocument::Compact);
}

std::optional<SmartRuleSet> SmartRuleSet::decodedIfValid(const QByteArray &data)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QJsonObject o = document.object();
    SmartRuleSet set;
    const QJsonValue ruleArray = o.value(QLatin1String("rules"));
    if (!ruleArray.isArray())
        return std::nullopt;
    set.rules.clear();
    for (const QJsonValue &v : ruleArray.toArray()) {
        const auto rule = decodeRule(v);
        if (!rule)
            return std::nullopt;
        set.rules.append(*rule);
    }
    const bool ok = readBool(o, QLatin1String("matchAll"), set.matchAll) &&
                    readEnum(o, QLatin1String("sort"), set.sort) &&
                    readBool(o, QLatin1String("ascending"), set.ascending) &&
                    readBool(o, QLatin1String("includeMissing"), set.includeMissing);
    if (!ok)
        return std::nullopt;
    return set;
}

SmartRuleSet SmartRuleSet::decoded(const QByteArray &data)
{
    return decodedIfValid(data).value_or(SmartRuleSet());
}
