#include "model/SidebarCounts.h"

#include "model/ModelContext.h"
#include "model/NaturalOrder.h"
#include "model/RuleMatcher.h"
#include "model/SmartRuleSet.h"

#include <algorithm>
#include <memory>
#include <numeric>
#include <thread>
#include <vector>

namespace {
constexpr int notIndexed = -1;
constexpr int noParent = -2;

// Counts, for folders or tags, how many distinct items reach each record through one of their
// own records and its ancestors (within the bound of pathFromRoot).
//
// Records are numbered by their place in the context's list and found by persistent id (small
// and dense: a short array, no hashing), each with its parent's number, so that a walk up the
// tree reads a few small arrays only. A record outside the list is found by address and walked
// through its pointers, as before.
template<typename Node> class TreeTally {
public:
    explicit TreeTally(const QList<Node *> &nodes) : m_nodes(nodes)
    {
        qint64 maxId = 0;
        bool dense = true;
        for (const Node *node : nodes) {
            dense = dense && node->persistentId() > 0;
            maxId = std::max(maxId, node->persistentId());
        }
        dense = dense && maxId <= 4 * qint64(nodes.size()) + 1024;
        if (dense)
            m_byId.assign(size_t(maxId) + 1, notIndexed);
        else
            m_byAddress.reserve(nodes.size());
        for (int i = 0; i < int(nodes.size()); ++i) {
            const Node *node = nodes[i];
            if (dense) {
                int &slot = m_byId[size_t(node->persistentId())];
                if (slot == notIndexed) // one id twice: the later record is found by address
                    slot = i;
                else
                    m_byAddress.insert(node, i);
            } else {
                m_byAddress.insert(node, i);
            }
        }
        m_parents.reserve(size_t(nodes.size()));
        for (const Node *node : nodes)
            m_parents.push_back(node->parent() ? indexOf(node->parent()) : noParent);
        m_counts.assign(size_t(nodes.size()), 0);
        m_lastItem.assign(size_t(nodes.size()), -1);
    }

    void add(const Node *node, int item)
    {
        int i = indexOf(node);
        for (int step = 0; node && step <= Node::maxTreeSteps; ++step) {
            if (i == notIndexed) {
                node = node->parent();
                i = node ? indexOf(node) : notIndexed;
                continue;
            }
            if (m_lastItem[size_t(i)] != item) {
                m_lastItem[size_t(i)] = item;
                ++m_counts[size_t(i)];
            }
            const int parent = m_parents[size_t(i)];
            if (parent == noParent) {
                node = nullptr;
            } else if (parent == notIndexed) {
                node = node->parent();
                i = notIndexed;
                // The walk goes on by address from the parent outside the list.
                continue;
            } else {
                node = m_nodes[parent];
                i = parent;
            }
        }
    }

    void add(const TreeTally &other)
    {
        for (size_t i = 0; i < m_counts.size(); ++i)
            m_counts[i] += other.m_counts[i];
    }

    void store(QHash<QString, qsizetype> &into) const
    {
        into.reserve(m_nodes.size());
        for (qsizetype i = 0; i < m_nodes.size(); ++i)
            if (!into.contains(
                    m_nodes[i]->uuid())) // the first record with a uuid wins, as in sections
                into.insert(m_nodes[i]->uuid(), m_counts[size_t(i)]);
    }

private:
    int indexOf(const Node *node) const
    {
        const qint64 id = node->persistentId();
        if (id > 0 && size_t(id) < m_byId.size()) {
            const int i = m_byId[size_t(id)];
            if (i != notIndexed && m_nodes[i] == node)
                return i;
        }
        return m_byAddress.value(node, notIndexed);
    }

    const QList<Node *> &m_nodes;
    std::vector<int> m_byId;
    QHash<const Node *, int> m_byAddress;
    std::vector<int> m_parents; // the parent's number, notIndexed or noParent
    std::vector<qsizetype> m_counts;
    std::vector<int> m_lastItem;
};

} // namespace

SidebarCounts::Lists SidebarCounts::listsOf(const ModelContext &context)
{
    // Smart lists whose uuid came earlier are shadowed, as in sections.
    Lists lists;
    for (const SmartList *list : context.smartLists()) {
        if (lists.uuids.contains(list->uuid()))
            continue;
        lists.uuids.append(list->uuid());
        lists.matchers.emplace_back(list->ruleSet());
    }
    return lists;
}

SidebarCounts SidebarCounts::of(const ModelContext &context)
{
    return of(context, listsOf(context), {});
}

namespace {
// The figures of one run of items. Passes over parts of the library add up to the whole: each
// item is counted by one pass only, so counting each item once per record still holds.
struct Pass {
    Pass(const ModelContext &context, const std::vector<RuleSetMatcher> &matchers,
         const std::vector<size_t> &testOrder)
        : folderTally(context.folders()), tagTally(context.tags()), matchers(matchers),
          testOrder(testOrder), selected(matchers.size(), 0), answers(matchers.size(), false)
    {
    }

    // One pass: each item is read from memory once and answers every row while it is at hand.
    // (Taking the items a block at a time, list by list, was measured slower: the block's
    // records leave the fastest cache between lists.)
    void count(const QList<ShortcutItem *> &items, int from, int to,
               const SidebarCounts::ItemObserver &observe)
    {
        for (int n = from; n < to; ++n) {
            const ShortcutItem &item = *items[n];
            if (observe) {
                for (const size_t l : testOrder) {
                    const bool answer = matchers[l].selects(item);
                    answers[l] = answer;
                    selected[l] += answer;
                }
                observe(item, answers);
            } else {
                for (const size_t l : testOrder)
                    selected[l] += matchers[l].selects(item);
            }
            if (item.isMissing()) {
                ++missing;
                continue;
            }
            ++all;
            favorites += item.isFavorite();
            recent += item.lastRunAt().has_value();
            if (item.folder())
                folderTally.add(item.folder(), n);
            else
                ++unfiled;
            if (item.tags().isEmpty())
                ++untagged;
            for (const Tag *tag : item.tags())
                tagTally.add(tag, n);
            if (!item.nativeFolderName().isEmpty())
                ++natives[item.nativeFolderName()];
        }
    }

    void add(const Pass &other)
    {
        all += other.all;
        favorites += other.favorites;
        recent += other.recent;
        unfiled += other.unfiled;
        untagged += other.untagged;
        missing += other.missing;
        folderTally.add(other.folderTally);
        tagTally.add(other.tagTally);
        for (size_t l = 0; l < selected.size(); ++l)
            selected[l] += other.selected[l];
        for (auto it = other.natives.cbegin(); it != other.natives.cend(); ++it)
            natives[it.key()] += it.value();
    }

    qsizetype all = 0, favorites = 0, recent = 0, unfiled = 0, untagged = 0, missing = 0;
    TreeTally<LibraryFolder> folderTally;
    TreeTally<Tag> tagTally;
    QHash<QString, qsizetype> natives;
    std::vector<RuleSetMatcher> matchers; // each pass its own: they keep answers as they go
    const std::vector<size_t> &testOrder;
    std::vector<qsizetype> selected;
    std::vector<bool> answers;
};

// Below this, starting threads costs more than it saves.
constexpr int itemsPerThread = 5'000;
} // namespace

SidebarCounts SidebarCounts::of(const ModelContext &context, const Lists &lists,
                                const ItemObserver &observe)
{
    const std::vector<RuleSetMatcher> &matchers = lists.matchers;
    std::vector<size_t> testOrder(matchers.size());
    std::iota(testOrder.begin(), testOrder.end(), size_t(0));
    std::stable_sort(testOrder.begin(), testOrder.end(),
                     [&](size_t a, size_t b) { return matchers[a].testsBefore(matchers[b]); });

    // A large library is counted in parts on the other cores too (never with an observer,
    // which is told the items in order on this thread).
    const QList<ShortcutItem *> &items = context.shortcuts();
    const int size = int(items.size());
    const int parts =
        observe
            ? 1
            : std::clamp(std::min(size / itemsPerThread, int(std::thread::hardware_concurrency())),
                         1, 4);
    std::vector<std::unique_ptr<Pass>> passes;
    for (int p = 0; p < parts; ++p)
        passes.push_back(std::make_unique<Pass>(context, matchers, testOrder));
    {
        std::vector<std::jthread> helpers;
        for (int p = 1; p < parts; ++p)
            helpers.emplace_back([&, p] {
                passes[size_t(p)]->count(items, size * p / parts, size * (p + 1) / parts, {});
            });
        passes[0]->count(items, 0, size / parts, observe);
    }
    Pass &total = *passes[0];
    for (int p = 1; p < parts; ++p)
        total.add(*passes[size_t(p)]);

    SidebarCounts counts;
    counts.all = total.all;
    counts.favorites = total.favorites;
    counts.recent = total.recent;
    counts.unfiled = total.unfiled;
    counts.untagged = total.untagged;
    counts.missing = total.missing;
    total.folderTally.store(counts.folders);
    total.tagTally.store(counts.tags);
    for (qsizetype l = 0; l < lists.uuids.size(); ++l)
        counts.smartLists.insert(lists.uuids[l], total.selected[size_t(l)]);

    counts.nativeFolders.reserve(total.natives.size());
    for (auto it = total.natives.cbegin(); it != total.natives.cend(); ++it)
        counts.nativeFolders.append({it.key(), it.value()});
    std::sort(counts.nativeFolders.begin(), counts.nativeFolders.end(), nativeFolderBefore);
    return counts;
}

bool SidebarCounts::nativeFolderBefore(const std::pair<QString, qsizetype> &a,
                                       const std::pair<QString, qsizetype> &b)
{
    const int c = naturalCompare(a.first, b.first);
    return c != 0 ? c < 0 : a.first < b.first;
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
