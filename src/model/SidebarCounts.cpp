#include "model/SidebarCounts.h"

#include "model/ModelContext.h"
#include "model/NaturalOrder.h"
#include "model/RuleMatcher.h"
#include "model/SmartRuleSet.h"

#include <algorithm>
#include <vector>

namespace {

// Counts, for folders or tags, how many distinct items reach each record through one of their
// own records and its ancestors (within the bound of pathFromRoot).
template<typename Node> class TreeTally {
public:
    explicit TreeTally(const QList<Node *> &nodes)
    {
        m_index.reserve(nodes.size());
        for (Node *node : nodes)
            m_index.insert(node, int(m_index.size()));
        m_counts.assign(size_t(m_index.size()), 0);
        m_lastItem.assign(size_t(m_index.size()), -1);
    }

    void add(const Node *node, int item)
    {
        for (int step = 0; node && step <= Node::maxTreeSteps; ++step, node = node->parent()) {
            const int i = m_index.value(node, -1);
            if (i < 0 || m_lastItem[size_t(i)] == item)
                continue;
            m_lastItem[size_t(i)] = item;
            ++m_counts[size_t(i)];
        }
    }

    void store(const QList<Node *> &nodes, QHash<QString, qsizetype> &into) const
    {
        into.reserve(nodes.size());
        for (const Node *node : nodes)
            if (!into.contains(node->uuid())) // the first record with a uuid wins, as in sections
                into.insert(node->uuid(), m_counts[size_t(m_index.value(node))]);
    }

private:
    QHash<const Node *, int> m_index;
    std::vector<qsizetype> m_counts;
    std::vector<int> m_lastItem;
};
} // namespace

SidebarCounts SidebarCounts::of(const ModelContext &context)
{
    SidebarCounts counts;
    TreeTally<LibraryFolder> folderTally(context.folders());
    TreeTally<Tag> tagTally(context.tags());
    QHash<QString, qsizetype> natives;

    // Smart lists whose uuid came earlier are shadowed, as in sections.
    QList<const SmartList *> lists;
    std::vector<RuleSetMatcher> matchers;
    for (const SmartList *list : context.smartLists()) {
        if (std::any_of(lists.cbegin(), lists.cend(),
                        [&](const SmartList *l) { return l->uuid() == list->uuid(); }))
            continue;
        lists.append(list);
        matchers.emplace_back(list->ruleSet());
    }
    std::vector<qsizetype> selected(matchers.size(), 0);

    // One pass: each item is read from memory once and answers every row while it is at hand.
    const QList<ShortcutItem *> &items = context.shortcuts();
    for (int n = 0; n < items.size(); ++n) {
        const ShortcutItem &item = *items[n];
        for (size_t l = 0; l < matchers.size(); ++l)
            selected[l] += matchers[l].selects(item);
        if (item.isMissing()) {
            ++counts.missing;
            continue;
        }
        ++counts.all;
        counts.favorites += item.isFavorite();
        counts.recent += item.lastRunAt().has_value();
        if (item.folder())
            folderTally.add(item.folder(), n);
        else
            ++counts.unfiled;
        if (item.tags().isEmpty())
            ++counts.untagged;
        for (const Tag *tag : item.tags())
            tagTally.add(tag, n);
        if (!item.nativeFolderName().isEmpty())
            ++natives[item.nativeFolderName()];
    }
    folderTally.store(context.folders(), counts.folders);
    tagTally.store(context.tags(), counts.tags);
    for (qsizetype l = 0; l < lists.size(); ++l)
        counts.smartLists.insert(lists[l]->uuid(), selected[size_t(l)]);

    counts.nativeFolders.reserve(natives.size());
    for (auto it = natives.cbegin(); it != natives.cend(); ++it)
        counts.nativeFolders.append({it.key(), it.value()});
    std::sort(counts.nativeFolders.begin(), counts.nativeFolders.end(),
              [](const auto &a, const auto &b) {
                  const int c = naturalCompare(a.first, b.first);
                  return c != 0 ? c < 0 : a.first < b.first;
              });
    return counts;
}

qsizetype SidebarCounts::count(const LibrarySection &section) const
{
    using Case = LibrarySection::Case;
    switch (section.kind) {
    case Case::all:
        return all;
    case Case::favorites:
        return favorites;
    case Case::recent:
        return recent;
    case Case::unfiled:
        return unfiled;
    case Case::untagged:
        return untagged;
    case Case::missing:
        return missing;
    case Case::folder:
        return folders.value(section.value);
    case Case::tag:
        return tags.value(section.value);
    case Case::smartList:
        return smartLists.value(section.value);
    case Case::nativeFolder:
        for (const auto &[name, n] : nativeFolders)
            if (name == section.value)
                return n;
        return 0;
    case Case::health: // counted by LibraryHealth
        return 0;
    }
    return 0;
}
