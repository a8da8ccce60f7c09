#pragma once

#include "model/LibraryFolder.h"
#include "model/Tag.h"

#include <QList>
#include <QString>
#include <type_traits>

// A tree of folders or tags as a flat list for menus and pickers.
template<typename T> struct TreeEntry {
    T *record = nullptr;
    int depth = 0;
    // Four spaces per level, then the name.
    QString title() const { return QString(depth * 4, u' ') + record->name(); }
};

// Orders top-level records by sortOrder, then by the lower-cased name as plain text; stable.
template<typename T> void sortTopLevel(QList<T *> &records);

// Every record reachable from the top level, each top-level record followed by those below it.
template<typename T> QList<TreeEntry<T>> flattenedTree(const QList<T *> &all);
// The same without `moving` and the records below it: the places it can move to. With nullptr,
// the whole tree.
template<typename T>
QList<TreeEntry<T>> flattenedTree(const QList<T *> &all, const std::type_identity_t<T> *moving);

extern template void sortTopLevel(QList<LibraryFolder *> &);
extern template void sortTopLevel(QList<Tag *> &);
extern template QList<TreeEntry<LibraryFolder>> flattenedTree(const QList<LibraryFolder *> &);
extern template QList<TreeEntry<Tag>> flattenedTree(const QList<Tag *> &);
extern template QList<TreeEntry<LibraryFolder>> flattenedTree(const QList<LibraryFolder *> &,
                                                              const LibraryFolder *);
extern template QList<TreeEntry<Tag>> flattenedTree(const QList<Tag *> &, const Tag *);
