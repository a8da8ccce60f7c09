#include "model/LowercaseMatch.h"

namespace {
// How a value can be lowered on the fly, without a copy.
enum class Lowering {
    ascii,
    // One UTF-16 unit to one: every character of the Basic Multilingual Plane lowers to one
    // character, except U+0130 (İ, which becomes i and a combining dot).
    unitByUnit,
    whole,
};

Lowering loweringOf(QStringView text)
{
    char16_t any = 0;
    for (const QChar c : text)
        any |= c.unicode();
    if (any < 0x80)
        return Lowering::ascii;
    for (const QChar c : text) {
        if (c.isSurrogate() || c.unicode() == 0x130)
            return Lowering::whole;
    }
    return Lowering::unitByUnit;
}

inline char16_t asciiLower(char16_t c)
{
    return (c >= u'A' && c <= u'Z') ? char16_t(c | 0x20) : c;
}

inline char16_t unitLower(char16_t c)
{
    if (c < 0x100) {
        // A–Z and À–Þ (but ×) lower to the letter 0x20 above; the rest of Latin-1 to itself.
        const bool capital = (c >= u'A' && c <= u'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7);
        return capital ? char16_t(c + 0x20) : c;
    }
    return char16_t(QChar::toLower(char32_t(c)));
}

// Lowers one unit; false for İ and surrogates, whose lowering is not one unit.
inline bool lowerUnit(char16_t c, char16_t &lower)
{
    if (c < 0x100 || (c != 0x130 && !QChar::isSurrogate(c))) {
        lower = unitLower(c);
        return true;
    }
    return false;
}

// The value, lowered by `lower`, matches the lower-cased needle at pos.
template<char16_t (*lower)(char16_t)>
inline bool matchAt(const char16_t *value, const char16_t *needle, qsizetype length)
{
    for (qsizetype i = 0; i < length; ++i)
        if (lower(value[i]) != needle[i])
            return false;
    return true;
}

// Compares `length` units of the value from `at` with the whole needle.
bool matchesAt(QStringView value, qsizetype at, QStringView needle, Lowering lowering)
{
    return lowering == Lowering::ascii
               ? matchAt<asciiLower>(value.utf16() + at, needle.utf16(), needle.size())
               : matchAt<unitLower>(value.utf16() + at, needle.utf16(), needle.size());
}
} // namespace

QStringView LowercaseMatch::trimSpacesAndTabs(QStringView text)
{
    auto blank = [](QChar c) { return c == u' ' || c == u'\t'; };
    qsizetype begin = 0, end = text.size();
    while (begin < end && blank(text[begin]))
        ++begin;
    while (end > begin && blank(text[end - 1]))
        --end;
    return text.sliced(begin, end - begin);
}

QString LowercaseMatch::lowered(QStringView text)
{
    return text.toString().toLower();
}

bool LowercaseMatch::contains(QStringView value, QStringView needle)
{
    if (needle.isEmpty())
        return true;
    // One pass: every unit is lowered as it is reached, and the first whose lowering is not one
    // unit sends the whole value to toLower(). A match found before it is a match in the
    // lowered copy too.
    const qsizetype n = value.size(), m = needle.size();
    const char16_t *v = value.utf16();
    const char16_t *p = needle.utf16();
    for (qsizetype i = 0; i < n; ++i) {
        char16_t c;
        if (!lowerUnit(v[i], c))
            return lowered(value).contains(needle);
        if (c != p[0] || i + m > n)
            continue;
        qsizetype k = 1;
        for (; k < m; ++k) {
            if (!lowerUnit(v[i + k], c))
                return lowered(value).contains(needle);
            if (c != p[k])
                break;
        }
        if (k == m)
            return true;
    }
    return false;
}

bool LowercaseMatch::equals(QStringView value, QStringView needle)
{
    const Lowering lowering = loweringOf(value);
    if (lowering == Lowering::whole)
        return lowered(value) == needle;
    return value.size() == needle.size() && matchesAt(value, 0, needle, lowering);
}

bool LowercaseMatch::beginsWith(QStringView value, QStringView needle)
{
    const Lowering lowering = loweringOf(value);
    if (lowering == Lowering::whole)
        return lowered(value).startsWith(needle);
    return value.size() >= needle.size() && matchesAt(value, 0, needle, lowering);
}

bool LowercaseMatch::endsWith(QStringView value, QStringView needle)
{
    const Lowering lowering = loweringOf(value);
    if (lowering == Lowering::whole)
        return lowered(value).endsWith(needle);
    return value.size() >= needle.size() &&
           matchesAt(value, value.size() - needle.size(), needle, lowering);
}
