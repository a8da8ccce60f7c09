// Reading an organisation document into plain values, refusing anything malformed or hostile
// with a sentence that says what is wrong and where.

#include "model/JsonInteger.h"
#include "model/OrganisationData.h"
#include "model/OrganisationDocument.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <numeric>

namespace Organisation {
namespace {

const QLatin1String placeholderPrefix("name:");

QString typeName(const QJsonValue &v)
{
    switch (v.type()) {
    case QJsonValue::Null:
        return QStringLiteral("null");
    case QJsonValue::Bool:
        return QStringLiteral("true or false");
    case QJsonValue::Double:
        return QStringLiteral("a number");
    case QJsonValue::String:
        return QStringLiteral("a string");
    case QJsonValue::Array:
        return QStringLiteral("an array");
    case QJsonValue::Object:
        return QStringLiteral("an object");
    case QJsonValue::Undefined:
        break;
    }
    return QStringLiteral("nothing");
}

// Where a value sits, for messages: "folders[3]". Paths are built only when something fails,
// which keeps reading large documents cheap.
struct Place {
    const char *array;
    qsizetype index;
    QString path() const { return QStringLiteral("%1[%2]").arg(QLatin1String(array)).arg(index); }
    QString path(QLatin1String key) const { return path() + u'.' + key; }
};

enum class Need { required, optional };

class Reader {
public:
    QString error;

    bool fail(const QString &where, const QString &what)
    {
        error = where.isEmpty() ? what : where + QStringLiteral(": ") + what;
        return false;
    }

    bool text(const QJsonObject &o, Place at, QLatin1String key, int maxLength,
              std::optional<QString> &out, Need need = Need::optional)
    {
        const QJsonValue v = o.value(key);
        if (v.isUndefined())
            return need == Need::optional || fail(at.path(key), QStringLiteral("is missing"));
        if (!v.isString())
            return fail(at.path(key), QStringLiteral("must be a string, not %1").arg(typeName(v)));
        QString s = v.toString();
        if (s.size() > maxLength)
            return fail(at.path(key),
                        QStringLiteral("is longer than %1 characters").arg(maxLength));
        out = std::move(s);
        return true;
    }

    bool text(const QJsonObject &o, Place at, QLatin1String key, int maxLength, QString &out,
              Need need)
    {
        std::optional<QString> value;
        if (!text(o, at, key, maxLength, value, need))
            return false;
        if (value)
            out = std::move(*value);
        return true;
    }

    // A uuid that must be there and not be empty.
    bool uuid(const QJsonObject &o, Place at, QString &out)
    {
        if (!text(o, at, QLatin1String("uuid"), maxShortTextLength, out, Need::required))
            return false;
        return !out.isEmpty() || fail(at.path(QLatin1String("uuid")), QStringLiteral("is empty"));
    }

    // A reference to another record: a uuid, or null (or absent) for none.
    bool reference(const QJsonObject &o, Place at, QLatin1String key, std::optional<QString> &out)
    {
        const QJsonValue v = o.value(key);
        if (v.isNull() || v.isUndefined())
            return true;
        return text(o, at, key, maxShortTextLength, out);
    }

    bool integer(const QJsonObject &o, Place at, QLatin1String key, qint64 &out)
    {
        const QJsonValue v = o.value(key);
        if (v.isUndefined())
            return true;
        const auto n = jsonInteger(v);
        if (!n)
            return fail(at.path(key),
                        v.isDouble()
                            ? QStringLiteral("must be a whole number")
                            : QStringLiteral("must be a whole number, not %1").arg(typeName(v)));
        out = *n;
        return true;
    }

    bool boolean(const QJsonObject &o, Place at, QLatin1String key, bool &out)
    {
        const QJsonValue v = o.value(key);
        if (v.isUndefined())
            return true;
        if (!v.isBool())
            return fail(at.path(key),
                        QStringLiteral("must be true or false, not %1").arg(typeName(v)));
        out = v.toBool();
        return true;
    }

    bool object(const QJsonValue &v, Place at, QJsonObject &out)
    {
        if (!v.isObject())
            return fail(at.path(), QStringLiteral("must be an object, not %1").arg(typeName(v)));
        out = v.toObject();
        return true;
    }

    bool array(const QJsonObject &top, const char *key, QJsonArray &out)
    {
        const QJsonValue v = top.value(QLatin1String(key));
        if (v.isUndefined())
            return true;
        if (!v.isArray())
            return fail(QLatin1String(key),
                        QStringLiteral("must be an array, not %1").arg(typeName(v)));
        out = v.toArray();
        return true;
    }

    // Remembers a key and refuses one seen before in the same list.
    bool unique(QHash<QString, qsizetype> &seen, const QString &key, Place at, QLatin1String field)
    {
        const auto it = seen.constFind(key);
        if (it != seen.cend())
            return fail(at.path(field), QStringLiteral("\"%1\" is also the %2 of %3")
                                            .arg(key, field, Place{at.array, *it}.path()));
        seen.insert(key, at.index);
        return true;
    }

    bool header(const QJsonObject &top);
    bool tree(const QJsonObject &top, const char *key, bool withSymbol, QList<TreeEntry> &out);
    bool smartLists(const QJsonObject &top, QList<SmartListEntry> &out);
    bool shortcuts(const QJsonObject &top, QList<ShortcutEntry> &out);
};

bool Reader::header(const QJsonObject &top)
{
    const QJsonValue format = top.value(QLatin1String("format"));
    if (!format.isString())
        return fail({}, QStringLiteral("This is not a Thimblecraft organisation file: it has no "
                                       "\"format\" naming it."));
    if (format.toString() != QLatin1String(formatName))
        return fail(
            {}, QStringLiteral("This is not a Thimblecraft organisation file: its format "
                               "is \"%1\", not \"%2\".")
                    .arg(format.toString().left(maxShortTextLength), QLatin1String(formatName)));
    const QJsonValue versionValue = top.value(QLatin1String("version"));
    const auto version = jsonInteger(versionValue);
    if (!version)
        return fail(QStringLiteral("version"),
                    QStringLiteral("must be a whole number, not %1").arg(typeName(versionValue)));
    if (*version > formatVersion)
        return fail({}, QStringLiteral("The file was written by a newer Thimblecraft (format "
                                       "version %1); this one reads version %2. Update "
                                       "Thimblecraft to import it.")
                            .arg(*version)
                            .arg(formatVersion));
    if (*version < 1)
        return fail({}, QStringLiteral("The file has an unknown format version %1.").arg(*version));
    return true;
}

// Parent indices, then cycles and depth; finally parents are moved before their children.
bool orderTree(Reader &r, const char *key, QList<TreeEntry> &entries,
               const QList<std::optional<QString>> &parentUuids,
               const QHash<QString, qsizetype> &byUuid)
{
    const char *kind = qstrcmp(key, "folders") == 0 ? "folder" : "tag";
    for (qsizetype i = 0; i < entries.size(); ++i) {
        if (!parentUuids[i])
            continue;
        const auto it = byUuid.constFind(*parentUuids[i]);
        if (it == byUuid.cend())
            return r.fail(Place{key, i}.path(QLatin1String("parent")),
                          QStringLiteral("no %1 in the file has the uuid \"%2\"")
                              .arg(QLatin1String(kind), *parentUuids[i]));
        entries[i].parent = int(*it);
    }

    // Depth of every entry, following each parent chain once: -1 not yet known, -2 on the chain
    // being followed (meeting one again means a cycle).
    QList<int> depth(entries.size(), -1);
    QList<qsizetype> chain;
    for (qsizetype start = 0; start < entries.size(); ++start) {
        chain.clear();
        qsizetype at = start;
        while (at >= 0 && depth[at] == -1) {
            depth[at] = -2;
            chain.append(at);
            at = entries[at].parent;
        }
        if (at >= 0 && depth[at] == -2)
            return r.fail(Place{key, at}.path(),
                          QStringLiteral("the parents of %1 \"%2\" form a cycle")
                              .arg(QLatin1String(kind), entries[at].name.left(maxShortTextLength)));
        int d = at >= 0 ? depth[at] : -1;
        for (auto it = chain.crbegin(); it != chain.crend(); ++it) {
            depth[*it] = ++d;
            if (d > maxTreeDepth)
                return r.fail(
                    Place{key, *it}.path(),
                    QStringLiteral("%1 \"%2\" is nested more than %3 levels deep")
                        .arg(QLatin1String(kind), entries[*it].name.left(maxShortTextLength))
                        .arg(maxTreeDepth));
        }
    }

    QList<qsizetype> order(entries.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&](qsizetype a, qsizetype b) { return depth[a] < depth[b]; });
    QList<int> newIndex(entries.size());
    for (qsizetype i = 0; i < order.size(); ++i)
        newIndex[order[i]] = int(i);
    QList<TreeEntry> sorted;
    sorted.reserve(entries.size());
    for (const qsizetype i : std::as_const(order)) {
        TreeEntry e = std::move(entries[i]);
        if (e.parent >= 0)
            e.parent = newIndex[e.parent];
        sorted.append(std::move(e));
    }
    entries = std::move(sorted);
    return true;
}

bool Reader::tree(const QJsonObject &top, const char *key, bool withSymbol, QList<TreeEntry> &out)
{
    QJsonArray array;
    if (!this->array(top, key, array))
        return false;
    QHash<QString, qsizetype> byUuid;
    QList<std::optional<QString>> parents;
    out.reserve(array.size());
    parents.reserve(array.size());
    for (qsizetype i = 0; i < array.size(); ++i) {
        const Place at{key, i};
        QJsonObject o;
        TreeEntry e;
        std::optional<QString> parent;
        if (!object(array.at(i), at, o) || !uuid(o, at, e.uuid) ||
            !unique(byUuid, e.uuid, at, QLatin1String("uuid")) ||
            !text(o, at, QLatin1String("name"), maxNameLength, e.name, Need::required) ||
            !reference(o, at, QLatin1String("parent"), parent) ||
            !integer(o, at, QLatin1String("sortOrder"), e.sortOrder) ||
            (withSymbol &&
             !text(o, at, QLatin1String("symbolName"), maxShortTextLength, e.symbolName)) ||
            !text(o, at, QLatin1String("colorHex"), maxShortTextLength, e.colorHex))
            return false;
        out.append(std::move(e));
        parents.append(std::move(parent));
    }
    return orderTree(*this, key, out, parents, byUuid);
}

bool Reader::smartLists(const QJsonObject &top, QList<SmartListEntry> &out)
{
    QJsonArray array;
    if (!this->array(top, "smartLists", array))
        return false;
    QHash<QString, qsizetype> byUuid;
    out.reserve(array.size());
    for (qsizetype i = 0; i < array.size(); ++i) {
        const Place at{"smartLists", i};
        QJsonObject o;
        SmartListEntry e;
        if (!object(array.at(i), at, o) || !uuid(o, at, e.uuid) ||
            !unique(byUuid, e.uuid, at, QLatin1String("uuid")) ||
            !text(o, at, QLatin1String("name"), maxNameLength, e.name, Need::required) ||
            !integer(o, at, QLatin1String("sortOrder"), e.sortOrder) ||
            !text(o, at, QLatin1String("symbolName"), maxShortTextLength, e.symbolName) ||
            !text(o, at, QLatin1String("colorHex"), maxShortTextLength, e.colorHex))
            return false;
        // The rule set travels as stored; the program reads anything it cannot decode as the
        // default rule set, so only its form and size are checked here.
        const QJsonValue rules = o.value(QLatin1String("rules"));
        if (rules.isObject()) {
            e.rulesData = QJsonDocument(rules.toObject()).toJson(QJsonDocument::Compact);
            if (e.rulesData.size() > maxRulesBytes)
                return fail(at.path(QLatin1String("rules")),
                            QStringLiteral("is larger than %1 bytes").arg(maxRulesBytes));
        } else if (!rules.isNull() && !rules.isUndefined()) {
            return fail(at.path(QLatin1String("rules")),
                        QStringLiteral("must be an object or null, not %1").arg(typeName(rules)));
        }
        out.append(std::move(e));
    }
    return true;
}

bool Reader::shortcuts(const QJsonObject &top, QList<ShortcutEntry> &out)
{
    QJsonArray array;
    if (!this->array(top, "shortcuts", array))
        return false;
    QHash<QString, qsizetype> byIdentifier;
    byIdentifier.reserve(array.size());
    out.reserve(array.size());
    for (qsizetype i = 0; i < array.size(); ++i) {
        const Place at{"shortcuts", i};
        QJsonObject o;
        ShortcutEntry e;
        QJsonArray tags;
        std::optional<QString> folder;
        if (!object(array.at(i), at, o) ||
            !text(o, at, QLatin1String("identifier"), maxNameLength + placeholderPrefix.size(),
                  e.identifier, Need::optional) ||
            !text(o, at, QLatin1String("name"), maxNameLength, e.name, Need::optional) ||
            !boolean(o, at, QLatin1String("isFavorite"), e.isFavorite) ||
            !text(o, at, QLatin1String("notes"), maxNotesLength, e.notes, Need::optional) ||
            !reference(o, at, QLatin1String("folder"), e.folder) ||
            !integer(o, at, QLatin1String("runCount"), e.runCount))
            return false;
        if (e.identifier.isEmpty() && e.name.isEmpty())
            return fail(at.path(), QStringLiteral("has neither an identifier nor a name"));
        if (e.runCount < 0)
            return fail(at.path(QLatin1String("runCount")), QStringLiteral("must not be negative"));
        // Placeholders of two shortcuts that share a name share an identifier too; a real
        // identifier names one shortcut, so listing it twice is a contradiction.
        if (!e.identifier.isEmpty() && !e.identifier.startsWith(placeholderPrefix) &&
            !unique(byIdentifier, e.identifier, at, QLatin1String("identifier")))
            return false;

        const QJsonValue tagsValue = o.value(QLatin1String("tags"));
        if (!tagsValue.isUndefined() && !tagsValue.isArray())
            return fail(at.path(QLatin1String("tags")),
                        QStringLiteral("must be an array, not %1").arg(typeName(tagsValue)));
        tags = tagsValue.toArray();
        e.tags.reserve(tags.size());
        for (qsizetype k = 0; k < tags.size(); ++k) {
            const QJsonValue t = tags.at(k);
            if (!t.isString() || t.toString().size() > maxShortTextLength) {
                const QString where =
                    QStringLiteral("%1[%2]").arg(at.path(QLatin1String("tags"))).arg(k);
                return fail(
                    where,
                    t.isString()
                        ? QStringLiteral("is longer than %1 characters").arg(maxShortTextLength)
                        : QStringLiteral("must be a string, not %1").arg(typeName(t)));
            }
            e.tags.append(t.toString());
        }
        // A tag listed twice is still one tag.
        if (e.tags.size() > 1) {
            std::sort(e.tags.begin(), e.tags.end());
            e.tags.erase(std::unique(e.tags.begin(), e.tags.end()), e.tags.end());
        }
        out.append(std::move(e));
    }
    return true;
}

} // namespace

std::optional<Data> decode(const QByteArray &document, QString *error)
{
    Reader r;
    const auto refuse = [&](const QString &message) -> std::optional<Data> {
        if (error)
            *error = message;
        return std::nullopt;
    };
    if (document.size() > maxDocumentBytes)
        return refuse(QStringLiteral("The file is larger than %1 MB, more than an organisation "
                                     "document can be.")
                          .arg(maxDocumentBytes / (1024 * 1024)));
    if (document.trimmed().isEmpty())
        return refuse(QStringLiteral("The file is empty."));
    QJsonParseError parseError;
    const QJsonDocument json = QJsonDocument::fromJson(document, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return refuse(QStringLiteral("The file is not valid JSON: %1 at byte %2.")
                          .arg(parseError.errorString())
                          .arg(parseError.offset));
    if (!json.isObject())
        return refuse(QStringLiteral("This is not a Thimblecraft organisation file: it is not a "
                                     "JSON object."));
    const QJsonObject top = json.object();
    Data data;
    if (!r.header(top) || !r.tree(top, "folders", true, data.folders) ||
        !r.tree(top, "tags", false, data.tags) || !r.smartLists(top, data.smartLists) ||
        !r.shortcuts(top, data.shortcuts))
        return refuse(r.error);
    return data;
}

} // namespace Organisation
