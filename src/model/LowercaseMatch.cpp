#include "model/LowercaseMatch.h"

namespace {
bool isAscii(QStringView text)
{
    char16_t any = 0;
    for (const QChar c : text)
        any |= c.unicode();
    return any < 0x80;
}

inline char16_t asciiLower(char16_t c)
{
    return (c >= u'A' && c <= u'Z') ? char16_t(c | 0x20) : c;
}

// The ASCII value matches the lower-cased needle at pos.
inline bool asciiMatchAt(const char16_t *value, const char16_t *needle, qsizetype length)
{
    for (qsizetype i = 0; i < length; ++i)
        if (asciiLower(value[i]) != needle[i])
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
    if (!isAscii(value))
        return lowered(value).contains(needle);
    const qsizetype n = value.size(), m = needle.size();
    if (m > n)
        return false;
    const char16_t *v = value.utf16();
    const char16_t *p = needle.utf16();
    const char16_t first = p[0];
    for (qsizetype i = 0; i + m <= n; ++i)
        if (asciiLower(v[i]) == first && asciiMatchAt(v + i + 1, p + 1, m - 1))
            return true;
    return false;
}

bool LowercaseMatch::equals(QStringView value, QStringView needle)
{
    if (!isAscii(value))
        return lowered(value) == needle;
    return value.size() == needle.size() &&
           asciiMatchAt(value.utf16(), needle.utf16(), value.size());
}

bool LowercaseMatch::beginsWith(QStringView value, QStringView needle)
{
    if (!isAscii(value))
        return lowered(value).startsWith(needle);
    return value.size() >= needle.size() &&
           asciiMatchAt(value.utf16(), needle.utf16(), needle.size());
}

bool LowercaseMatch::endsWith(QStringView value, QStringView needle)
{
    if (!isAscii(value))
        return lowered(value).endsWith(needle);
    return value.size() >= needle.size() &&
           asciiMatchAt(value.utf16() + value.size() - needle.size(), needle.utf16(),
                        needle.size());
}
