#pragma once

// The library shape the model benchmarks share: nested folder and tag trees (the first 20 of
// each at the top level, the rest under a random earlier one) and shortcuts with made-up
// identifiers and names, to which each benchmark adds what it measures.
#include "model/ModelContext.h"
#include "model/SmartList.h"
#include "model/SmartRuleSet.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <algorithm>

namespace SampleLibrary {

struct Trees {
    QList<LibraryFolder *> folders;
    QList<Tag *> tags;
};

inline Trees addTrees(ModelContext &ctx, QRandomGenerator &rng, int folderCount, int tagCount)
{
    Trees t;
    for (int i = 0; i < folderCount; ++i)
        t.folders.append(ctx.insert(new LibraryFolder(
            QStringLiteral("Folder %1").arg(i), i < 20 ? nullptr : t.folders[rng.bounded(i)])));
    for (int i = 0; i < tagCount; ++i)
        t.tags.append(ctx.insert(new Tag(QStringLiteral("Tag %1").arg(i), QStringLiteral("#8E8E93"),
                                         i < 20 ? nullptr : t.tags[rng.bounded(i)])));
    return t;
}

// Smart lists of a tag rule and a name rule each, alternating all and any.
inline void addSmartLists(ModelContext &ctx, const Trees &trees, int count)
{
    for (int i = 0; i < count; ++i) {
        SmartRuleSet rules;
        rules.rules[0].field = SmartRule::Field::tag;
        rules.rules[0].referenceUUID = trees.tags[i % trees.tags.size()]->uuid();
        SmartRule named;
        named.text = QString::number(i);
        rules.rules.append(named);
        rules.matchAll = i % 2;
        ctx.insert(new SmartList(QStringLiteral("List %1").arg(i), rules));
    }
}

// How big a library is.
struct Shape {
    int items;
    int folders;
    int tags;
    int smartLists;
};

// The library most benchmarks measure: 10,000 shortcuts in 200 folders and with 200 tags, and
// 20 smart lists.
constexpr Shape standard{10000, 200, 200, 20};
// The largest libraries, where this program matters most: 100,000 shortcuts in 2,000 folders
// and with 2,000 tags, and 50 smart lists.
constexpr Shape large{100000, 2000, 2000, 50};
// What a `--quick` run measures instead of the two: small enough to finish in seconds.
constexpr Shape quickStandard{1000, 20, 20, 5};
constexpr Shape quickLarge{2000, 40, 40, 10};

constexpr int itemCount = standard.items;
constexpr int folderCount = standard.folders;
constexpr int tagCount = standard.tags;
constexpr int smartListCount = standard.smartLists;

// The two sizes a scaling benchmark compares: the standard library and the large one, or their
// quick stand-ins.
struct Scale {
    Shape small;
    Shape big;
};
inline Scale scale(bool quick)
{
    return quick ? Scale{quickStandard, quickLarge} : Scale{standard, large};
}

// Its folder and tag trees and smart lists; the shortcuts are each benchmark's own.
inline Trees addOrganisation(ModelContext &ctx, QRandomGenerator &rng,
                             const Shape &shape = standard)
{
    const Trees trees = addTrees(ctx, rng, shape.folders, shape.tags);
    addSmartLists(ctx, trees, shape.smartLists);
    return trees;
}

// The made-up identifier of the i-th sample shortcut.
inline QString identifier(int i)
{
    return QStringLiteral("%1-0000-4000-8000-000000000000")
        .arg(i, 8, 16, QLatin1Char('0'))
        .toUpper();
}

inline ShortcutItem *addShortcut(ModelContext &ctx, int i)
{
    auto *item = ctx.insert(new ShortcutItem(identifier(i), QStringLiteral("Shortcut %1").arg(i)));
    item->setSubtitle(QStringLiteral("%1 actions").arg(i % 30));
    item->setLibraryOrder(i);
    item->setNotes(i % 5 ? QString() : QStringLiteral("Some notes about this shortcut"));
    return item;
}

// Every third shortcut unfiled; one tag each, two for odd ones.
inline void fileShortcut(ShortcutItem *item, int i, const Trees &trees, QRandomGenerator &rng)
{
    if (i % 3)
        item->setFolder(trees.folders[rng.bounded(int(trees.folders.size()))]);
    item->addTag(trees.tags[rng.bounded(int(trees.tags.size()))]);
    if (i % 2)
        item->addTag(trees.tags[rng.bounded(int(trees.tags.size()))]);
}

inline double ms(const QElapsedTimer &t)
{
    return t.nsecsElapsed() / 1e6;
}

template<typename F> double best(int runs, F f)
{
    double b = 1e300;
    for (int i = 0; i < runs; ++i)
        b = std::min(b, f());
    return b;
}

} // namespace SampleLibrary
