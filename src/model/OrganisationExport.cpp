// Writing the organisation document: one record per line, keys in a fixed order, records in
// tree or name order, so that the same library gives the same bytes and two exports diff well.

#include "model/FlattenedTree.h"
#include "model/JsonText.h"
#include "model/ModelContext.h"
#include "model/OrganisationData.h"
#include "model/OrganisationDocument.h"

#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <algorithm>

namespace {
// Every record in the order of the sidebar's tree. A record the tree walks cannot reach (a
// parent chain that loops or goes deeper than they follow) is written at the top level, where
// it can be seen again, so that every export can be imported.
template<typename T> QList<T *> treeOrder(const QList<T *> &all, QSet<const T *> &reached)
{
    QList<T *> out;
    out.reserve(all.size());
    for (const auto &entry : flattenedTree(all)) {
        out.append(entry.record);
        reached.insert(entry.record);
    }
    for (T *r : all)
        if (!reached.contains(r))
            out.append(r);
    return out;
}

class Writer {
public:
    explicit Writer(QByteArray &out) : m_out(out) {}

    void beginRecord(bool first)
    {
        m_out.append(first ? "\n    {" : ",\n    {");
        m_firstKey = true;
    }
    void endRecord() { m_out.append('}'); }
    void beginArray(const char *key) { m_out.append(",\n  \"").append(key).append("\": ["); }
    void endArray(bool empty) { m_out.append(empty ? "]" : "\n  ]"); }

    void key(const char *name)
    {
        m_out.append(m_firstKey ? "\"" : ", \"").append(name).append("\": ");
        m_firstKey = false;
    }
    void string(const char *name, const QString &value)
    {
        key(name);
        appendJsonString(m_out, value);
    }
    void integer(const char *name, qint64 value)
    {
        key(name);
        m_out.append(QByteArray::number(value));
    }
    void boolean(const char *name, bool value)
    {
        key(name);
        m_out.append(value ? "true" : "false");
    }
    void optionalUuid(const char *name, const QString *uuid)
    {
        key(name);
        if (uuid)
            appendJsonString(m_out, *uuid);
        else
            m_out.append("null");
    }
    void raw(const char *name, const QByteArray &json)
    {
        key(name);
        m_out.append(json);
    }
    QByteArray &out() { return m_out; }

private:
    QByteArray &m_out;
    bool m_firstKey = true;
};

template<typename T>
void writeTree(Writer &w, const char *arrayKey, const QList<T *> &all, QList<T *> &ordered)
{
    QSet<const T *> reached;
    ordered = treeOrder(all, reached);
    w.beginArray(arrayKey);
    bool first = true;
    for (const T *r : std::as_const(ordered)) {
        w.beginRecord(first);
        first = false;
        w.string("uuid", r->uuid());
        w.string("name", r->name());
        const bool nested = r->parent() && reached.contains(r);
        w.optionalUuid("parent", nested ? &r->parent()->uuid() : nullptr);
        w.integer("sortOrder", r->sortOrder());
        if constexpr (std::is_same_v<T, LibraryFolder>)
            w.string("symbolName", r->symbolName());
        w.string("colorHex", r->colorHex());
        w.endRecord();
    }
    w.endArray(ordered.isEmpty());
}

// The stored rule set as compact JSON; null for bytes that are not a JSON object, which the
// program reads as the default rule set just like the empty rules an import then stores.
QByteArray rulesJson(const QByteArray &rulesData)
{
    const QJsonDocument doc = QJsonDocument::fromJson(rulesData);
    return doc.isObject() ? doc.toJson(QJsonDocument::Compact) : QByteArrayLiteral("null");
}

void writeSmartLists(Writer &w, const QList<SmartList *> &all)
{
    QList<SmartList *> lists = all;
    std::stable_sort(lists.begin(), lists.end(), [](const SmartList *a, const SmartList *b) {
        if (a->sortOrder() != b->sortOrder())
            return a->sortOrder() < b->sortOrder();
        return a->name() < b->name();
    });
    w.beginArray("smartLists");
    bool first = true;
    for (const SmartList *s : std::as_const(lists)) {
        w.beginRecord(first);
        first = false;
        w.string("uuid", s->uuid());
        w.string("name", s->name());
        w.integer("sortOrder", s->sortOrder());
        w.string("symbolName", s->symbolName());
        w.string("colorHex", s->colorHex());
        w.raw("rules", rulesJson(s->rulesData()));
        w.endRecord();
    }
    w.endArray(lists.isEmpty());
}

void writeShortcuts(Writer &w, const QList<ShortcutItem *> &all, const QList<Tag *> &tagOrder)
{
    QHash<const Tag *, int> tagPosition;
    tagPosition.reserve(tagOrder.size());
    for (int i = 0; i < tagOrder.size(); ++i)
        tagPosition.insert(tagOrder[i], i);

    // Shortcuts the person has not organised carry nothing worth keeping; a sync brings them.
    QList<const ShortcutItem *> items;
    for (const ShortcutItem *i : all)
        if (Organisation::carriesOrganisation(*i))
            items.append(i);
    std::stable_sort(items.begin(), items.end(), [](const ShortcutItem *a, const ShortcutItem *b) {
        if (const int c = a->name().compare(b->name()))
            return c < 0;
        return a->identifier() < b->identifier();
    });

    w.beginArray("shortcuts");
    bool first = true;
    QList<const Tag *> tags;
    for (const ShortcutItem *i : std::as_const(items)) {
        w.beginRecord(first);
        first = false;
        w.string("identifier", i->identifier());
        w.string("name", i->name());
        w.boolean("isFavorite", i->isFavorite());
        w.string("notes", i->notes());
        w.optionalUuid("folder", i->folder() ? &i->folder()->uuid() : nullptr);
        tags = QList<const Tag *>(i->tags().cbegin(), i->tags().cend());
        std::sort(tags.begin(), tags.end(), [&](const Tag *a, const Tag *b) {
            return tagPosition.value(a) < tagPosition.value(b);
        });
        w.key("tags");
        QByteArray &out = w.out();
        out.append('[');
        for (int k = 0; k < tags.size(); ++k) {
            if (k)
                out.append(", ");
            appendJsonString(out, tags[k]->uuid());
        }
        out.append(']');
        w.integer("runCount", i->runCount());
        w.endRecord();
    }
    w.endArray(items.isEmpty());
}
} // namespace

bool Organisation::carriesOrganisation(const ShortcutItem &i)
{
    return i.isFavorite() || !i.notes().isEmpty() || i.folder() || !i.tags().isEmpty() ||
           i.runCount() != 0;
}

QByteArray exportDocument(const ModelContext &context)
{
    QByteArray out;
    // About 200 bytes a shortcut; growing the buffer is most of the cost otherwise.
    out.reserve(4096 + 256 * (context.shortcuts().size() + context.folders().size() +
                              context.tags().size() + context.smartLists().size()));
    out.append("{\n  \"format\": ");
    appendJsonString(out, QString::fromLatin1(Organisation::formatName));
    out.append(",\n  \"version\": ").append(QByteArray::number(Organisation::formatVersion));

    Writer w(out);
    QList<LibraryFolder *> folders;
    QList<Tag *> tags;
    writeTree(w, "folders", context.folders(), folders);
    writeTree(w, "tags", context.tags(), tags);
    writeSmartLists(w, context.smartLists());
    writeShortcuts(w, context.shortcuts(), tags);
    out.append("\n}\n");
    return out;
}
