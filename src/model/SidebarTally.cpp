#include "model/SidebarTally.h"

#include "model/Clock.h"
#include "model/ModelContext.h"

#include <QVarLengthArray>
#include <algorithm>

namespace {
const LibraryFolder *counted(const ModelContext &context, const LibraryFolder *folder)
{
    return context.folder(folder->uuid()) == folder ? folder : nullptr;
}

const Tag *counted(const ModelContext &context, const Tag *tag)
{
    return context.tag(tag->uuid()) == tag ? tag : nullptr;
}

// The records the counts of `nodes` reach, each once: themselves and their ancestors, within
// the bound every tree walk keeps.
template<typename Node>
QVarLengthArray<const Node *, 16> reached(const ModelContext &context,
                                          const QList<const Node *> &nodes)
{
    QVarLengthArray<const Node *, 16> found;
    for (const Node *node : nodes)
        for (int step = 0; node && step <= Node::maxTreeSteps; ++step, node = node->parent())
            if (const Node *record = counted(context, node);
                record && !std::count(found.cbegin(), found.cend(), record))
                found.append(record);
    return found;
}

template<typename Node>
void move(QHash<QString, qsizetype> &counts, const QVarLengthArray<const Node *, 16> &nodes,
          int sign)
{
    for (const Node *node : nodes)
        if (const auto it = counts.find(node->uuid()); it != counts.end())
            *it += sign;
}
} // namespace

SidebarTally::SidebarTally(const ModelContext &context) : m_context(context)
{
    countAll(false);
}

void SidebarTally::recount()
{
    countAll(m_remembering);
}

void SidebarTally::countAll(bool rememberShares)
{
    m_countedAt = Clock::now();
    m_lists = SidebarCounts::listsOf(m_context);
    m_readsClock = std::any_of(m_lists.matchers.cbegin(), m_lists.matchers.cend(),
                               [](const RuleSetMatcher &m) { return m.readsClock(); });
    m_shares.clear();
    m_remembering = rememberShares;
    if (!rememberShares) {
        m_counts = SidebarCounts::of(m_context, m_lists, {});
    } else {
        m_shares.reserve(m_context.shortcuts().size());
        m_counts = SidebarCounts::of(m_context, m_lists,
                                     [this](const ShortcutItem &item, const std::vector<bool> &l) {
                                         m_shares.insert(&item, shareOf(item, l));
                                     });
    }
    // Counts by uuid show the first record of each; with twins, only counting again is right.
    m_uniqueUuids = m_counts.folders.size() == m_context.folders().size() &&
                    m_counts.tags.size() == m_context.tags().size();
}

bool SidebarTally::canApply(const ModelChanges &changes) const
{
    if (!m_remembering || !m_uniqueUuids)
        return false;
    for (const Record::Kind kind :
         {Record::Kind::libraryFolder, Record::Kind::tag, Record::Kind::smartList})
        if (changes.touches(kind))
            return false;
    if (m_readsClock && m_countedAt.msecsTo(Clock::now()) > clockDriftMSecs)
        return false;
    // Beyond a sixteenth of the library, one pass is cheaper than moving each share.
    const qsizetype changed =
        changes.inserted.size() + changes.updated.size() + changes.deleted.size();
    return changed <= std::max<qsizetype>(64, m_context.shortcuts().size() / 16);
}

void SidebarTally::apply(const ModelChanges &changes)
{
    if (changes.isEmpty())
        return;
    if (!canApply(changes)) {
        countAll(true);
        return;
    }
    const auto take = [this](const Record *record) {
        if (const auto it = m_shares.constFind(static_cast<const ShortcutItem *>(record));
            it != m_shares.cend()) {
            add(*it, -1);
            m_shares.erase(it);
        }
    };
    for (const Record *record : changes.deleted)
        take(record);
    for (const QSet<Record *> *set : {&changes.updated, &changes.inserted})
        for (const Record *record : *set) {
            take(record); // deleted records are only ever in `deleted`
            const auto *item = static_cast<const ShortcutItem *>(record);
            add(*m_shares.insert(item, shareOf(*item)), +1);
        }
}

SidebarTally::Share SidebarTally::shareOf(const ShortcutItem &item, std::vector<bool> lists) const
{
    return {item.isMissing(), item.isFavorite(), item.lastRunAt().has_value(),
            item.folder(),    item.tags(),       item.nativeFolderName(),
            std::move(lists)};
}

SidebarTally::Share SidebarTally::shareOf(const ShortcutItem &item) const
{
    std::vector<bool> lists(m_lists.matchers.size());
    for (size_t l = 0; l < lists.size(); ++l)
        lists[l] = m_lists.matchers[l].selects(item);
    return shareOf(item, std::move(lists));
}

void SidebarTally::add(const Share &share, int sign)
{
    for (qsizetype l = 0; l < m_lists.uuids.size(); ++l)
        if (share.lists[size_t(l)])
            m_counts.smartLists[m_lists.uuids[l]] += sign;
    if (share.missing) {
        m_counts.missing += sign;
        return;
    }
    m_counts.all += sign;
    m_counts.favorites += share.favorite ? sign : 0;
    m_counts.recent += share.hasRun ? sign : 0;
    if (share.folder)
        move(m_counts.folders, reached<LibraryFolder>(m_context, {share.folder}), sign);
    else
        m_counts.unfiled += sign;
    if (share.tags.isEmpty())
        m_counts.untagged += sign;
    else
        move(m_counts.tags, reached<Tag>(m_context, {share.tags.cbegin(), share.tags.cend()}),
             sign);
    addNativeFolder(share.nativeFolder, sign);
}

void SidebarTally::addNativeFolder(const QString &name, int sign)
{
    if (name.isEmpty())
        return;
    auto &folders = m_counts.nativeFolders;
    const std::pair<QString, qsizetype> key{name, 0};
    const auto it =
        std::lower_bound(folders.begin(), folders.end(), key, SidebarCounts::nativeFolderBefore);
    if (it != folders.end() && it->first == name) {
        it->second += sign;
        if (it->second <= 0)
            folders.erase(it);
    } else if (sign > 0) {
        folders.insert(it, {name, sign});
    }
}
