#include "model/FuzzyMatch.h"

#include "model/SearchFolding.h"

#include <algorithm>
#include <array>
#include <climits>

namespace {
constexpr int letter = 16;
constexpr int wordStart = 24;
constexpr int firstLetter = 8;
constexpr int run = 18;
constexpr int gapOpen = 2;
constexpr int maxLeadPenalty = 12;
constexpr int maxRestPenalty = 20;
constexpr int none = INT_MIN / 4;

bool isSubsequence(QStringView query, QStringView text)
{
    qsizetype at = 0;
    for (const QChar c : query) {
        at = text.indexOf(c, at);
        if (at < 0)
            return false;
        ++at;
    }
    return true;
}
} // namespace

std::optional<int> FuzzyMatch::score(QStringView query, const FoldedText &folded)
{
    const QStringView text = QStringView(folded.text).left(maxLength);
    const qsizetype m = query.size(), n = text.size();
    if (m == 0)
        return 0;
    if (m > n || !isSubsequence(query, text))
        return std::nullopt;
    const char *starts = folded.wordStarts.constData();
    const bool hasStarts = folded.wordStarts.size() >= n;
    auto startBonus = [&](qsizetype j) { return hasStarts && starts[j] ? wordStart : 0; };

    // previous[j]: the best score of the query so far with its last letter at j.
    std::array<int, maxLength> rows[2];
    int *previous = rows[0].data();
    int *current = rows[1].data();
    for (qsizetype j = 0; j < n; ++j)
        previous[j] = text[j] == query[0] ? letter + startBonus(j) + (j == 0 ? firstLetter : 0) -
                                                int(std::min<qsizetype>(j, maxLeadPenalty))
                                          : none;
    for (qsizetype i = 1; i < m; ++i) {
        // The best previous[k] + k over k < j - 1: a gap from k to j costs gapOpen + its length.
        int bestBeforeGap = none;
        current[i - 1] = none;
        for (qsizetype j = i; j < n; ++j) {
            if (j >= 2 && previous[j - 2] > none)
                bestBeforeGap = std::max(bestBeforeGap, previous[j - 2] + int(j - 2));
            if (text[j] != query[i]) {
                current[j] = none;
                continue;
            }
            int best = none;
            if (previous[j - 1] > none)
                best = previous[j - 1] + letter + std::max(run, startBonus(j));
            if (bestBeforeGap > none)
                best =
                    std::max(best, bestBeforeGap - int(j) + 1 - gapOpen + letter + startBonus(j));
            current[j] = best;
        }
        std::swap(previous, current);
    }
    int best = none;
    for (qsizetype j = m - 1; j < n; ++j)
        best = std::max(best, previous[j]);
    if (best <= none)
        return std::nullopt;
    const qsizetype rest = folded.text.size() - m;
    return best - int(std::min<qsizetype>(rest, 2 * maxRestPenalty) / 2);
}
