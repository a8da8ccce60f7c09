#include "model/LibraryFolder.h"

#include "model/Clock.h"
#include "model/ModelContext.h"
#include "model/NaturalOrder.h"
#include "model/ShortcutItem.h"
#include "model/Uuid.h"

namespace {
constexpr int maxTreeSteps = 64;
}

LibraryFolder::LibraryFolder(const QString &name, LibraryFolder *parent)
    : m_uuid(newIdentifierString()), m_name(name), m_createdAt(Clock::now())
{
    setParent(parent);
}

LibraryFolder::~LibraryFolder() = default;

void LibraryFolder::setUuid(const QString &v)
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
    void LibraryFolder::set##Name(Type v)                                                          \
    {                                                                                              \
        if (member == v)                                                                           \
            return;                                                                                \
        member = v;                                                                                \
        didChange();                                                                               \
    }
SETTER(Name, m_name, const QString &)
SETTER(SymbolName, m_symbolName, const QString &)
SETTER(ColorHex, m_colorHex, const QString &)
SETTER(SortOrder, m_sortOrder, qint64)
#undef SETTER

void LibraryFolder::setParent(LibraryFolder *parent)
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

QList<LibraryFolder *> LibraryFolder::sortedChildren() const
{
    QList<LibraryFolder *> sorted = m_children;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const LibraryFolder *a, const LibraryFolder *b) {
                         if (a->sortOrder() != b->sortOrder())
                             return a->sortOrder() < b->sortOrder();
                         return naturalCompare(a->name(), b->name()) < 0;
                     });
    return sorted;
}

QList<ShortcutItem *> LibraryFolder::allShortcuts() const
{
    QList<ShortcutItem *> result;
    collectAll(result, 0);
    return result;
}

void LibraryFolder::collectAll(QList<ShortcutItem *> &into, int depth) const
{
    into += m_shortcuts;
    // A corrupted tree with a cycle must not recurse forever.
    if (depth >= maxTreeSteps)
        return;
    for (const LibraryFolder *child : sortedChildren())
        child->collectAll(into, depth + 1);
}

QList<LibraryFolder *> LibraryFolder::pathFromRoot() const
{
    QList<LibraryFolder *> path{const_cast<LibraryFolder *>(this)};
    LibraryFolder *node = m_parent;
    for (int step = 0; node && step < maxTreeSteps; ++step, node = node->m_parent)
        path.prepend(node);
    return path;
}

bool LibraryFolder::isDescendant(const LibraryFolder *of) const
{
    const LibraryFolder *node = m_parent;
    for (int step = 0; node && step < maxTreeSteps; ++step, node = node->m_parent)
        if (node == of)
            return true;
    return false;
}
