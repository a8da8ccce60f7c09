#include "model/QuickRunIndex.h"

#include "model/FuzzyMatch.h"
#include "model/LibraryLookup.h"
#include "model/ModelContext.h"

#include <algorithm>
#include <cmath>

namespace {
// Per letter of a query word found outside the name: at a word start, or anywhere. A word
// found at its start beats the name's letters scattered without runs or word starts (about 12
// a letter), not a good name match (30 to 40 a letter).
constexpr double folderAtStart = 20, folderInside = 8;
constexpr double tagAtStart = 18, tagInside = 7;
constexpr double notesAtStart = 14, notesInside = 5;
// A name that is the query exactly.
constexpr double exactName = 40;
// A run weight of 1 is worth this many points per query letter (and a base).
constexpr double runPointsPerLetter = 10, runPointsBase = 10;

bool isWordStart(QStringView text, qsizetype at)
{
    return at == 0 || !text[at - 1].isLetterOrNumber();
}

// Points for a word found in one field: the best of its occurrences.
double fieldPoints(QStringView field, QStringView word, double atStart, double inside)
{
    double best = 0;
    for (qsizetype at = field.indexOf(word); at >= 0; at = field.indexOf(word, at + 1)) {
        if (isWordStart(field, at))
            return atStart * word.size();
        best = inside * word.size();
    }
    return best;
}

QString withoutSpaces(QStringView text)
{
    QString out;
    out.reserve(text.size());
    for (const QChar c : text)
        if (!c.isSpace())
            out += c;
    return out;
}
} // namespace

double QuickRunIndex::runWeight(const ShortcutItem &item, const QDateTime &now)
{
    double recency = 0;
    if (const auto &last = item.lastRunAt(); last && last->isValid() && now.isValid()) {
        const double days = std::max<qint64>(0, last->secsTo(now)) / 86400.0;
        recency = 1.0 / (1.0 + days / 7.0); // a week ago counts half
    }
    const double frequency =
        std::min(1.0, std::log2(1.0 + double(std::max<qint64>(0, item.runCount()))) / 6.0);
    return 0.6 * recency + 0.4 * frequency;
}

void QuickRunIndex::rebuild(const ModelContext &context)
{
    m_entries.clear();
    m_position.clear();
    m_folderText.clear();
    m_tagText.clear();
    m_entries.reserve(context.shortcuts().size());
    for (ShortcutItem *item : context.shortcuts())
        refresh(item);
}

void QuickRunIndex::apply(const ModelContext &context, const ModelChanges &changes)
{
    if (changes.touches(Record::Kind::libraryFolder) || changes.touches(Record::Kind::tag)) {
        rebuild(context);
        return;
    }
    for (Record *record : changes.deleted)
        if (record->kind() == Record::Kind::shortcutItem)
            remove(static_cast<ShortcutItem *>(record));
    for (const QSet<Record *> *set : {&changes.inserted, &changes.updated})
        for (Record *record : *set)
            if (record->kind() == Record::Kind::shortcutItem)
                refresh(static_cast<ShortcutItem *>(record));
}

void QuickRunIndex::refresh(ShortcutItem *item)
{
    if (item->isDeleted() || item->isMissing()) {
        remove(item);
        return;
    }
    Entry entry;
    entry.item = item;
    entry.name = SearchFolding::foldedWithWordStarts(item->name());
    entry.folder = item->folder() ? folderText(item->folder()) : QString();
    if (!item->nativeFolderName().isEmpty())
        entry.folder += u'\n' + SearchFolding::folded(item->nativeFolderName());
    for (const Tag *tag : item->tags())
        entry.tags += tagText(tag) + u'\n';
    entry.notes = SearchFolding::folded(item->notes());
    if (const auto found = m_position.constFind(item); found != m_position.cend()) {
        m_entries[*found] = std::move(entry);
        return;
    }
    m_position.insert(item, qsizetype(m_entries.size()));
    m_entries.push_back(std::move(entry));
}

QString QuickRunIndex::folderText(const LibraryFolder *folder)
{
    auto found = m_folderText.find(folder);
    if (found == m_folderText.end())
        found = m_folderText.insert(folder, SearchFolding::folded(LibraryLookup::pathText(folder)));
    return *found;
}

QString QuickRunIndex::tagText(const Tag *tag)
{
    auto found = m_tagText.find(tag);
    if (found == m_tagText.end())
        found = m_tagText.insert(tag, SearchFolding::folded(tag->name()));
    return *found;
}

void QuickRunIndex::remove(ShortcutItem *item)
{
    const auto found = m_position.constFind(item);
    if (found == m_position.cend())
        return;
    const qsizetype at = *found;
    m_position.erase(found);
    if (at != qsizetype(m_entries.size()) - 1) {
        m_entries[at] = std::move(m_entries.back());
        m_position[m_entries[at].item] = at;
    }
    m_entries.pop_back();
}

double QuickRunIndex::matchScore(const Entry &entry, QStringView joined,
                                 const QList<QStringView> &words, const QString &wholeQuery) const
{
    double best = 0;
    if (const auto name = FuzzyMatch::score(joined, entry.name)) {
        best = *name + (entry.name.text == wholeQuery ? exactName : 0);
        if (words.size() == 1)
            return best;
    }
    // Each word somewhere: the name (at half weight, beside the other words), folder, tags, notes.
    double sum = 0;
    for (const QStringView word : words) {
        double points = 0;
        if (const auto name = FuzzyMatch::score(word, entry.name))
            points = *name / 2.0;
        points = std::max({points, fieldPoints(entry.folder, word, folderAtStart, folderInside),
                           fieldPoints(entry.tags, word, tagAtStart, tagInside),
                           fieldPoints(entry.notes, word, notesAtStart, notesInside)});
        if (points <= 0)
            return best;
        sum += points;
    }
    return std::max(best, sum);
}

QList<ShortcutItem *> QuickRunIndex::rank(QStringView query, const QDateTime &now, int limit) const
{
    const QString wholeQuery = SearchFolding::folded(query).simplified();
    const QString joined = withoutSpaces(wholeQuery);
    const QList<QStringView> words = QStringView(wholeQuery).split(u' ', Qt::SkipEmptyParts);
    const double runPoints = runPointsBase + runPointsPerLetter * joined.size();

    struct Candidate {
        double score;
        const Entry *entry;
    };
    std::vector<Candidate> candidates;
    candidates.reserve(joined.isEmpty() ? m_entries.size() : 64);
    for (const Entry &entry : m_entries) {
        double score = 0;
        if (!joined.isEmpty()) {
            score = matchScore(entry, joined, words, wholeQuery);
            if (score <= 0)
                continue;
        }
        candidates.push_back({score + runPoints * runWeight(*entry.item, now), &entry});
    }
    const auto better = [](const Candidate &a, const Candidate &b) {
        if (a.score != b.score)
            return a.score > b.score;
        if (const int byName = a.entry->name.text.compare(b.entry->name.text))
            return byName < 0;
        return a.entry->item->persistentId() < b.entry->item->persistentId();
    };
    const auto count = std::min<qsizetype>(std::max(0, limit), qsizetype(candidates.size()));
    std::partial_sort(candidates.begin(), candidates.begin() + count, candidates.end(), better);
    QList<ShortcutItem *> result;
    result.reserve(count);
    for (qsizetype i = 0; i < count; ++i)
        result.append(candidates[i].entry->item);
    return result;
}
