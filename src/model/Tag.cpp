#include "model/Tag.h"

#include "model/Clock.h"
#include "model/ModelContext.h"
#include "model/NaturalOrder.h"
#include "model/ShortcutItem.h"
#include "model/Uuid.h"

namespace {
constexpr int maxTreeSteps = 64;
}

Tag::Tag(const QString &name, const QString &colorHex, Tag *parent)
    : m_uuid(newIdentifierString()), m_name(name), m_colorHex(colorHex), m_createdAt(Clock::now())
{
    setParent(parent);
}

Tag::~Tag() = default;

void Tag::setUuid(const QString &v)
{
    if (m_uuid == v)
        return;
    const QString old = m_uuid;
    m_uuid = v;
    if (context())
        context()->uuidChanged(this, old);
    didChange();
}

#define SETTER(Name, member, Type)                                                                 \
    void Tag::set##Name(Type v)                                                                    \
    {                                                                                              \
        if (member == v)                                                                           \
            return;                                                                                \
        member = v;                                                                                \
        didChange();                                                                               \
    }
SETTER(Name, m_name, const QString &)
SETTER(ColorHex, m_colorHex, const QString &)
SETTER(SortOrder, m_sortOrder, qint64)
#undef SETTER

void Tag::setParent(Tag *parent)
{
    if (m_parent == parent)
        return;
    if (m_parent) {
        RecordLists::remove(m_parent->m_children, this);
        m_parent->didChange();
    }
    m_parent = parent;
    if (parent) {
        RecordLists::insertOrdered(parent->m_children, this);
        parent->didChange();
    }
    didChange();
}

QList<Tag *> Tag::sortedChildren() const
{
    QList<Tag *> sorted = m_children;
    std::stable_sort(sorted.begin(), sorted.end(), [](const Tag *a, const Tag *b) {
        if (a->sortOrder() != b->sortOrder())
            return a->sortOrder() < b->sortOrder();
        return naturalCompare(a->name(), b->name()) < 0;
    });
    return sorted;
}

void Tag::collectShortcuts(QList<ShortcutItem *> &into, QSet<ShortcutItem *> &seen) const
{
    collect(into, seen, 0);
}

void Tag::collect(QList<ShortcutItem *> &into, QSet<ShortcutItem *> &seen, int depth) const
{
    for (ShortcutItem *item : m_shortcuts) {
        if (!seen.contains(item)) {
            seen.insert(item);
            into.append(item);
        }
    }
    if (depth >= maxTreeSteps)
        return;
    for (const Tag *child : sortedChildren())
        child->collect(into, seen, depth + 1);
}

QList<Tag *> Tag::pathFromRoot() const
{
    QList<Tag *> path{const_cast<Tag *>(this)};
    Tag *node = m_parent;
    for (int step = 0; node && step < maxTreeSteps; ++step, node = node->m_parent)
        path.prepend(node);
    return path;
}

bool Tag::isDescendant(const Tag *of) const
{
    const Tag *node = m_parent;
    for (int step = 0; node && step < maxTreeSteps; ++step, node = node->m_parent)
        if (node == of)
            return true;
    return false;
}
