#pragma once

#include "model/LibraryFolder.h"
#include "model/Tag.h"

#include <QList>
#include <QString>

// A tree of folders or tags as a flat list for menus and pickers.
template<typename T> struct TreeEntry {
    T *record = nullptr;
    int depth = 0;
    // Four spaces per level, then the name.
    QString title() const { return QString(depth * 4, u' ') + record->name(); }
};

QList<TreeEntry<LibraryFolder>> flattenedTree(const QList<LibraryFolder *> &allFolders);
QList<TreeEntry<Tag>> flattenedTree(const QList<Tag *> &allTags);
