#include "model/LibrarySection.h"

#include <array>

namespace {
using Case = LibrarySection::Case;

struct Form {
    Case kind;
    const char *word;
    bool takesValue;
};

constexpr std::array<Form, 11> forms{{
    {Case::all, "all", false},
    {Case::favorites, "favorites", false},
    {Case::recent, "recent", false},
    {Case::unfiled, "unfiled", false},
    {Case::untagged, "untagged", false},
    {Case::missing, "missing", false},
    {Case::folder, "folder", true},
    {Case::tag, "tag", true},
    {Case::smartList, "smart", true},
    {Case::nativeFolder, "native", true},
    {Case::health, "health", false},
}};
} // namespace

QString LibrarySection::toText() const
{
    const Form &form = forms[size_t(kind)];
    const QString word = QString::fromLatin1(form.word);
    return form.takesValue ? word + u':' + value : word;
}

std::optional<LibrarySection> LibrarySection::fromText(const QString &text)
{
    const qsizetype colon = text.indexOf(u':');
    const QStringView word = colon < 0 ? QStringView(text) : QStringView(text).first(colon);
    for (const Form &form : forms) {
        if (word != QLatin1String(form.word) || form.takesValue != (colon >= 0))
            continue;
        const QString value = colon < 0 ? QString() : text.mid(colon + 1);
        // A record reference without its uuid names nothing; a Shortcuts folder may be "".
        if (form.takesValue && form.kind != Case::nativeFolder && value.isEmpty())
            return std::nullopt;
        return LibrarySection{form.kind, value};
    }
    return std::nullopt;
}

size_t qHash(const LibrarySection &section, size_t seed)
{
    return qHashMulti(seed, int(section.kind), section.value);
}
