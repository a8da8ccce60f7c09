#include "model/RecordTree.h"

#include "model/LibraryFolder.h"
#include "model/NaturalOrder.h"
#include "model/Tag.h"

#include <algorithm>

template<typename T> void TreeRecord<T>::setParent(T *parent)
{
    if (m_parent == parent)
        return;
    if (m_parent) {
        RecordLists::remove(m_parent->m_children, self());
        static_cast<TreeRecord *>(m_parent)->didChange();
    }
    m_parent = parent;
    if (parent) {
        RecordLists::insertOrdered(parent->m_children, self());
        static_cast<TreeRecord *>(parent)->didChange();
    }
    didChange();
}

template<typename T> QList<T *> TreeRecord<T>::sortedChildren() const
{
    QList<T *> sorted = m_children;
    std::stable_sort(sorted.begin(), sorted.end(), [](const T *a, const T *b) {
        if (a->sortOrder() != b->sortOrder())
            return a->sortOrder() < b->sortOrder();
        return naturalCompare(a->name(), b->name()) < 0;
    });
    return sorted;
}

template<typename T> QList<T *> TreeRecord<T>::pathFromRoot() const
{
    QList<T *> path{const_cast<T *>(self())};
    T *node = m_parent;
    for (int step = 0; node && step < maxTreeSteps; ++step, node = node->m_parent)
        path.prepend(node);
    return path;
}

template<typename T> bool TreeRecord<T>::isDescendant(const T *of) const
{
    const T *node = m_parent;
    for (int step = 0; node && step < maxTreeSteps; ++step, node = node->m_parent)
        if (node == of)
            return true;
    return false;
}

template class TreeRecord<LibraryFolder>;
template class TreeRecord<Tag>;
