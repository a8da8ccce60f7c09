#pragma once

#include <QStringView>
#include <optional>

struct FoldedText;

// How well a query's letters appear, in order, in a text (both folded by SearchFolding):
// letters at word starts (abbreviations: "tb" in "Take a Break"), runs of letters together and
// an early start score most; gaps and a long rest cost a little. No value when the letters are
// not all there in order. Texts longer than maxLength are matched on their beginning.
namespace FuzzyMatch {
inline constexpr qsizetype maxLength = 256;
std::optional<int> score(QStringView query, const FoldedText &text);
} // namespace FuzzyMatch
