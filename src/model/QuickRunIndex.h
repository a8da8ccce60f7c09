#pragma once

#include "model/SearchFolding.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QStringView>
#include <vector>

class LibraryFolder;
class ModelContext;
class ShortcutItem;
class Tag;
struct ModelChanges;

// What Quick Run searches: every present shortcut's name, folder, tags and notes, folded once
// and kept current from the context's change announcements, so that a keystroke only scores.
// Missing shortcuts are never in it.
class QuickRunIndex {
public:
    void rebuild(const ModelContext &context);
    // Refolds the shortcuts that changed; a folder or tag change (paths, names) rebuilds.
    void apply(const ModelContext &context, const ModelChanges &changes);
    qsizetype size() const { return qsizetype(m_entries.size()); }

    // At most limit shortcuts, best first. The name counts most: its letters in order, word
    // starts and runs above scattered letters, accents ignored. Otherwise every word of the
    // query must be found in the name, the folder path, a tag or the notes, in falling weight.
    // Recent and frequent runs (lastRunAt, runCount as of now) lift a match; an empty query
    // ranks by them alone, then by name.
    QList<ShortcutItem *> rank(QStringView query, const QDateTime &now, int limit) const;

    // 0 for a shortcut never run, towards 1 for one run often and lately.
    static double runWeight(const ShortcutItem &item, const QDateTime &now);

private:
    struct Entry {
        ShortcutItem *item = nullptr;
        FoldedText name;
        QString folder; // library folder path, then the Shortcuts folder, one per line
        QString tags;   // one name per line
        QString notes;
    };
    void refresh(ShortcutItem *item);
    void remove(ShortcutItem *item);
    double matchScore(const Entry &entry, QStringView joined, const QList<QStringView> &words,
                      const QString &wholeQuery) const;

    QString folderText(const LibraryFolder *folder);
    QString tagText(const Tag *tag);

    std::vector<Entry> m_entries;
    QHash<const ShortcutItem *, qsizetype> m_position;
    // Folded once per rebuild (a folder or tag change rebuilds), shared by their shortcuts.
    QHash<const LibraryFolder *, QString> m_folderText;
    QHash<const Tag *, QString> m_tagText;
};
