#pragma once

#include "model/Record.h"

#include <QList>

// What folders and tags share: one parent, children kept in creation order, and walks over the
// tree. Every walk stops after maxTreeSteps levels, so a corrupted chain (a cycle, or one deeper
// than any person makes) cannot loop or recurse for ever.
template<typename T> class TreeRecord : public Record {
public:
    static constexpr int maxTreeSteps = 64;

    T *parent() const { return m_parent; }
    // Moves the record under another (or to the top level with nullptr); both sides follow.
    void setParent(T *parent);
    const QList<T *> &children() const { return m_children; }

    // By sortOrder, then by name as file names are ordered; stable.
    QList<T *> sortedChildren() const;
    // [top-level ancestor, ..., parent, self]; climbs at most maxTreeSteps parents.
    QList<T *> pathFromRoot() const;
    // True when `of` is a strict ancestor within maxTreeSteps steps.
    bool isDescendant(const T *of) const;
    // False when `parent` is this record or lies below it: the move would close a cycle.
    bool canMoveUnder(const T *parent) const
    {
        return parent != self() && !(parent && parent->isDescendant(self()));
    }

    // Calls visit(record, depth) on this record (depth 0), then depth-first on those below it in
    // sortedChildren order, down to depth maxTreeSteps.
    template<typename Visit> void walk(Visit &&visit) const
    {
        walkFrom(const_cast<T *>(self()), 0, visit);
    }

protected:
    TreeRecord() = default;

private:
    friend class LibraryStore;
    // Loading wires the tree without marking anything changed; ids ascend, so appending keeps
    // creation order.
    void attachLoaded(T *parent)
    {
        m_parent = parent;
        parent->m_children.append(self());
    }
    const T *self() const { return static_cast<const T *>(this); }
    T *self() { return static_cast<T *>(this); }
    template<typename Visit> static void walkFrom(T *node, int depth, Visit &visit)
    {
        visit(node, depth);
        if (depth >= maxTreeSteps)
            return;
        for (T *child : node->sortedChildren())
            walkFrom(child, depth + 1, visit);
    }

    T *m_parent = nullptr;
    QList<T *> m_children;
};
