#include "model/NameHazards.h"

namespace {
bool isLineBreak(char16_t c)
{
    return c == u'\n' || c == u'\r' || c == 0x0B || c == 0x0C || c == 0x85 || c == 0x2028 ||
           c == 0x2029;
}

// C0 and C1 controls, and the embeddings, overrides and isolates that reorder what follows.
bool isControl(char16_t c)
{
    return c < 0x20 || (c >= 0x7F && c <= 0x9F) || (c >= 0x202A && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069);
}
} // namespace

unsigned NameHazards::of(QStringView name)
{
    unsigned found = 0;
    for (const QChar ch : name) {
        const char16_t c = ch.unicode();
        // Most names are plain letters: one comparison decides for them.
        if (c > 0x20 && c < 0x7F && c != u'"' && c != u'\\')
            continue;
        if (isLineBreak(c))
            found |= lineBreak;
        else if (isControl(c))
            found |= controlCharacter;
        else if (c == u'"')
            found |= doubleQuote;
        else if (c == u'\\')
            found |= backslash;
    }
    if (name.trimmed().isEmpty())
        return blank;
    // A line break or control character at an end is reported as itself, not as a space.
    const auto plainSpace = [](QChar c) { return c.isSpace() && !isLineBreak(c.unicode()); };
    if (plainSpace(name.front()) && !isControl(name.front().unicode()))
        found |= leadingSpace;
    if (plainSpace(name.back()) && !isControl(name.back().unicode()))
        found |= trailingSpace;
    return found;
}

QStringList NameHazards::describe(unsigned hazards)
{
    static const std::pair<Hazard, const char *> texts[] = {
        {blank, "nothing left after trimming spaces"},
        {leadingSpace, "starts with a space"},
        {trailingSpace, "ends with a space"},
        {lineBreak, "has a line break"},
        {controlCharacter, "has a control character"},
        {doubleQuote, "has a double quote"},
        {backslash, "has a backslash"},
    };
    QStringList out;
    for (const auto &[flag, text] : texts)
        if (hazards & flag)
            out.append(QString::fromLatin1(text));
    return out;
}
