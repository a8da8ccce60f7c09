#include "model/FlattenedTree.h"

namespace {
constexpr int maxDepth = 64;

template<typename T> void walk(T *node, int depth, QList<TreeEntry<T>> &out)
{
    out.append({node, depth});
    if (depth >= maxDepth)
        return;
    for (T *child : node->sortedChildren())
        walk(child, depth + 1, out);
}

template<typename T> QList<TreeEntry<T>> flatten(const QList<T *> &all)
{
    QList<T *> roots;
    for (T *r : all)
        if (!r->parent())
            roots.append(r);
    // Top level: sortOrder, then the lower-cased name as plain text.
    std::stable_sort(roots.begin(), roots.end(), [](const T *a, const T *b) {
        if (a->sortOrder() != b->sortOrder())
            return a->sortOrder() < b->sortOrder();
        return a->name().toLower() < b->name().toLower();
    });
    QList<TreeEntry<T>> out;
    for (T *r : roots)
        walk(r, 0, out);
    return out;
}
} // namespace

QList<TreeEntry<LibraryFolder>> flattenedTree(const QList<LibraryFolder *> &allFolders)
{
    return flatten(allFolders);
}

QList<TreeEntry<Tag>> flattenedTree(const QList<Tag *> &allTags)
{
    return flatten(allTags);
}
