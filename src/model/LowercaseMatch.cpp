#include "model/LowercaseMatch.h"

#include <cstring>

namespace {
// Latin-1 text (every code unit below 0x100) lower-cases one code unit at a time: A–Z and
// À–Þ (but ×) to the letter 0x20 above, everything else to itself. That is what toLower()
// does to it, without a copy; other text is lower-cased by toLower().
bool isLatin1(QStringView text)
{
    // Four code units at a time: this runs for every text rule on every item of a smart list.
    const char16_t *p = text.utf16();
    qsizetype n = text.size();
    quint64 any = 0;
    for (; n >= 4; n -= 4, p += 4) {
        quint64 four;
        std::memcpy(&four, p, sizeof four);
        any |= four;
    }
    for (; n > 0; --n, ++p)
        any |= *p;
    return (any & 0xFF00'FF00'FF00'FF00ULL) == 0;
}

inline char16_t latin1Lower(char16_t c)
{
    const bool capital = (c >= u'A' && c <= u'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7);
    return capital ? char16_t(c + 0x20) : c;
}

// The Latin-1 value matches the lower-cased needle at pos.
inline bool latin1MatchAt(const char16_t *value, const char16_t *needle, qsizetype length)
{
    for (qsizetype i = 0; i < length; ++i)
        if (latin1Lower(value[i]) != needle[i])
            return false;
    return true;
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
    if (!isLatin1(value))
        return lowered(value).contains(needle);
    const qsizetype n = value.size(), m = needle.size();
    if (m > n)
        return false;
    const char16_t *v = value.utf16();
    const char16_t *p = needle.utf16();
    const char16_t first = p[0];
    for (qsizetype i = 0; i + m <= n; ++i)
        if (latin1Lower(v[i]) == first && latin1MatchAt(v + i + 1, p + 1, m - 1))
            return true;
    return false;
}

bool LowercaseMatch::equals(QStringView value, QStringView needle)
{
    if (!isLatin1(value))
        return lowered(value) == needle;
    return value.size() == needle.size() &&
           latin1MatchAt(value.utf16(), needle.utf16(), value.size());
}

bool LowercaseMatch::beginsWith(QStringView value, QStringView needle)
{
    if (!isLatin1(value))
        return lowered(value).startsWith(needle);
    return value.size() >= needle.size() &&
           latin1MatchAt(value.utf16(), needle.utf16(), needle.size());
}

bool LowercaseMatch::endsWith(QStringView value, QStringView needle)
{
    if (!isLatin1(value))
        return lowered(value).endsWith(needle);
    return value.size() >= needle.size() &&
           latin1MatchAt(value.utf16() + value.size() - needle.size(), needle.utf16(),
                         needle.size());
}
