#include "model/FlattenedTree.h"

#include <algorithm>

template<typename T> void sortTopLevel(QList<T *> &records)
{
    std::stable_sort(records.begin(), records.end(), [](const T *a, const T *b) {
        if (a->sortOrder() != b->sortOrder())
            return a->sortOrder() < b->sortOrder();
        return a->name().toLower() < b->name().toLower();
    });
}

template<typename T>
QList<TreeEntry<T>> flattenedTree(const QList<T *> &all, const std::type_identity_t<T> *moving)
{
    QList<T *> roots;
    for (T *r : all)
        if (!r->parent())
            roots.append(r);
    sortTopLevel(roots);
    QList<TreeEntry<T>> out;
    for (T *root : roots)
        root->walk([&](T *record, int depth) {
            if (!moving || moving->canMoveUnder(record))
                out.append({record, depth});
        });
    return out;
}

template<typename T> QList<TreeEntry<T>> flattenedTree(const QList<T *> &all)
{
    return flattenedTree(all, nullptr);
}

template void sortTopLevel(QList<LibraryFolder *> &);
template void sortTopLevel(QList<Tag *> &);
template QList<TreeEntry<LibraryFolder>> flattenedTree(const QList<LibraryFolder *> &);
template QList<TreeEntry<Tag>> flattenedTree(const QList<Tag *> &);
template QList<TreeEntry<LibraryFolder>> flattenedTree(const QList<LibraryFolder *> &,
                                                       const LibraryFolder *);
template QList<TreeEntry<Tag>> flattenedTree(const QList<Tag *> &, const Tag *);
