#pragma once

#include "model/SidebarCounts.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <vector>

class LibraryFolder;
class ModelContext;
class ShortcutItem;
class Tag;
struct ModelChanges;

// The sidebar's counts kept up to date as records change. When a few shortcuts change, the
// counts move by what those shortcuts added before and what they add now, so a favourite
// toggle costs what it changes rather than a pass over the library. Anything else (folders,
// tags or smart lists changed, many shortcuts at once, date rules counted a while ago) counts
// the library again.
class SidebarTally {
public:
    // Date rules' answers drift as time passes; after this long a change counts everything.
    static constexpr qint64 clockDriftMSecs = 60'000;

    explicit SidebarTally(const ModelContext &context);
    const SidebarCounts &counts() const { return m_counts; }

    // Brings the counts up to date after `changes`.
    void apply(const ModelChanges &changes);
    // Counts the whole library again.
    void recount();

private:
    // What one shortcut adds to the counts.
    struct Share {
        bool missing = false;
        bool favorite = false;
        bool hasRun = false;
        const LibraryFolder *folder = nullptr;
        QList<Tag *> tags;
        QString nativeFolder;
        std::vector<bool> lists; // selected by each counted list, in the order of m_lists
    };

    Share shareOf(const ShortcutItem &item, std::vector<bool> lists) const;
    Share shareOf(const ShortcutItem &item) const;
    void add(const Share &share, int sign);
    void addNativeFolder(const QString &name, int sign);
    bool canApply(const ModelChanges &changes) const;
    void countAll(bool rememberShares);

    const ModelContext &m_context;
    SidebarCounts m_counts;
    SidebarCounts::Lists m_lists;
    QDateTime m_countedAt;
    bool m_readsClock = false;
    bool m_uniqueUuids = true;
    // Shares are remembered from the first change on: a library that is only opened and
    // looked at never pays for them.
    bool m_remembering = false;
    QHash<const ShortcutItem *, Share> m_shares;
};
