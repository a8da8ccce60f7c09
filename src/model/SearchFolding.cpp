#include "model/SearchFolding.h"

#include <utility>

namespace {
// The code point at i (a surrogate pair as one); i moves past it.
char32_t nextCodePoint(QStringView text, qsizetype &i)
{
    const QChar c = text[i++];
    if (c.isHighSurrogate() && i < text.size() && text[i].isLowSurrogate())
        return QChar::surrogateToUcs4(c, text[i++]);
    return c.unicode();
}

enum class Kind { other, lower, upper, digit };

Kind kindOf(char32_t c)
{
    if (c < 0x80) {
        if (c >= 'a' && c <= 'z')
            return Kind::lower;
        if (c >= 'A' && c <= 'Z')
            return Kind::upper;
        return c >= '0' && c <= '9' ? Kind::digit : Kind::other;
    }
    if (QChar::isUpper(c) || QChar::isTitleCase(c))
        return Kind::upper;
    if (QChar::isLetter(c))
        return Kind::lower; // caseless scripts count as lower
    return QChar::isDigit(c) ? Kind::digit : Kind::other;
}

bool beginsWord(Kind previous, Kind current, Kind next)
{
    if (current == Kind::other)
        return false;
    if (previous == Kind::other)
        return true;
    if ((previous == Kind::digit) != (current == Kind::digit))
        return true;
    if (previous == Kind::lower && current == Kind::upper)
        return true;
    // The P of "HTMLParser".
    return previous == Kind::upper && current == Kind::upper && next == Kind::lower;
}

// Letters without a decomposition that people type without their stroke or as two letters.
const char16_t *plainSpelling(char32_t c)
{
    static constexpr std::pair<char32_t, const char16_t *> spellings[] = {
        {U'ø', u"o"}, {U'Ø', u"o"},  {U'ł', u"l"},  {U'Ł', u"l"},  {U'đ', u"d"},  {U'Đ', u"d"},
        {U'ı', u"i"}, {U'ß', u"ss"}, {U'æ', u"ae"}, {U'Æ', u"ae"}, {U'œ', u"oe"}, {U'Œ', u"oe"},
    };
    for (const auto &[letter, spelling] : spellings)
        if (letter == c)
            return spelling;
    return nullptr;
}

bool isDropped(char32_t c)
{
    switch (QChar::category(c)) {
    case QChar::Mark_NonSpacing:
    case QChar::Mark_SpacingCombining:
    case QChar::Mark_Enclosing:
    case QChar::Other_Format: // joiners and direction marks
        return true;
    default:
        return false;
    }
}

void appendLower(QString &out, char32_t c)
{
    const char32_t lower = QChar::toLower(c);
    if (QChar::requiresSurrogates(lower)) {
        out += QChar(QChar::highSurrogate(lower));
        out += QChar(QChar::lowSurrogate(lower));
    } else {
        out += QChar(char16_t(lower));
    }
}

void appendFolded(QString &out, char32_t c)
{
    if (c < 0x80) {
        out += QChar(char16_t(c >= 'A' && c <= 'Z' ? c | 0x20 : c));
        return;
    }
    if (const char16_t *plain = plainSpelling(c)) {
        out += QStringView(plain);
        return;
    }
    if (isDropped(c))
        return;
    const QString decomposed = QString::fromUcs4(&c, 1).normalized(QString::NormalizationForm_KD);
    for (qsizetype i = 0; i < decomposed.size();) {
        const char32_t part = nextCodePoint(decomposed, i);
        if (!isDropped(part))
            appendLower(out, part);
    }
}

bool isAscii(QStringView text)
{
    char16_t any = 0;
    for (const QChar c : text)
        any |= c.unicode();
    return any < 0x80;
}

// Most names are plain ASCII: one pass, no decomposition.
template<bool withStarts> FoldedText foldAscii(QStringView text)
{
    const qsizetype n = text.size();
    FoldedText result;
    result.text.resize(n);
    char16_t *out = reinterpret_cast<char16_t *>(result.text.data());
    const char16_t *in = text.utf16();
    if constexpr (withStarts)
        result.wordStarts.resize(n);
    Kind previous = Kind::other;
    Kind current = n > 0 ? kindOf(in[0]) : Kind::other;
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t c = in[i];
        out[i] = c >= 'A' && c <= 'Z' ? char16_t(c | 0x20) : c;
        if constexpr (withStarts) {
            const Kind next = i + 1 < n ? kindOf(in[i + 1]) : Kind::other;
            result.wordStarts[i] = beginsWord(previous, current, next) ? 1 : 0;
            previous = current;
            current = next;
        }
    }
    return result;
}

template<bool withStarts> FoldedText fold(QStringView text)
{
    if (isAscii(text))
        return foldAscii<withStarts>(text);
    FoldedText result;
    result.text.reserve(text.size());
    if constexpr (withStarts)
        result.wordStarts.reserve(text.size());
    Kind previous = Kind::other;
    qsizetype at = 0;
    char32_t current = at < text.size() ? nextCodePoint(text, at) : 0;
    bool more = !text.isEmpty();
    while (more) {
        more = at < text.size();
        const char32_t next = more ? nextCodePoint(text, at) : 0;
        const qsizetype before = result.text.size();
        appendFolded(result.text, current);
        if constexpr (withStarts) {
            const Kind kind = kindOf(current);
            const Kind following = more ? kindOf(next) : Kind::other;
            const qsizetype added = result.text.size() - before;
            if (added > 0) {
                result.wordStarts.append(beginsWord(previous, kind, following) ? 1 : 0);
                result.wordStarts.append(added - 1, 0);
            }
            if (added > 0 || kind != Kind::other)
                previous = kind;
        }
        current = next;
    }
    return result;
}
} // namespace

QString SearchFolding::folded(QStringView text)
{
    return fold<false>(text).text;
}

FoldedText SearchFolding::foldedWithWordStarts(QStringView text)
{
    return fold<true>(text);
}
