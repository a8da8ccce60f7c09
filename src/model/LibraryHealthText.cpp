// What the health check says to people and scripts about its findings.

#include "model/LibraryHealth.h"
#include "model/LibraryLookup.h"
#include "model/ModelContext.h"
#include "model/NameHazards.h"

#include <algorithm>

namespace {
using Kind = HealthFinding::Kind;

struct KindText {
    Kind kind;
    const char *stored;
    const char *title;
    const char *explanation;
    const char *fix;
};

constexpr KindText kindTexts[] = {
    {Kind::duplicateName, "duplicateNames", "Names shared by several shortcuts",
     "Shortcuts Events answers error -1728 when a shortcut is run by a name that several share, "
     "and a placeholder with that name can link to the wrong one.",
     "Rename all but one of them in the Shortcuts app, then sync."},
    {Kind::unsafeName, "unsafeNames", "Names that trip up scripts and links",
     "Spaces at either end, line breaks, control characters, double quotes and backslashes are "
     "easy to get wrong in a script, a command line or a link; a blank name cannot be run by name "
     "at all.",
     "Rename the shortcut in the Shortcuts app, then sync."},
    {Kind::unreadableRules, "unreadableRules", "Smart lists whose rules cannot be read",
     "The stored rules are damaged or were written by a newer version, so the list shows every "
     "shortcut instead of the ones its rules chose.",
     "Edit the smart list and set its rules again, or delete it."},
    {Kind::deletedReference, "deletedReferences", "Smart lists naming deleted folders or tags",
     "A rule names a folder or tag that no longer exists: “is in” and “has” then select nothing, "
     "“is not in” and “does not have” select everything.",
     "Edit the smart list and choose another folder or tag, or remove the rule."},
    {Kind::unlinkedPlaceholder, "unlinkedPlaceholders", "Placeholders never linked",
     "Known only by name since an import or a link: no sync has matched it to a shortcut in the "
     "Shortcuts app, so it has no icon or details and can be run only by name.",
     "Sync with Shortcuts. If no shortcut has this name, the placeholder moves to Missing from "
     "Shortcuts, where Remove from Library drops it."},
    {Kind::organisedMissing, "organisedMissing", "Missing shortcuts still organised",
     "Gone from the Shortcuts app, but still holding notes, tags, a folder or a favorite mark, "
     "which now show only under Missing from Shortcuts.",
     "If you recreated it under another name, give it the old name and sync to link it back; "
     "otherwise right-click it and choose Remove from Library."},
    {Kind::lastRunFailed, "lastRunFailed", "Last run failed",
     "The last run Thimblecraft knows of ended with an error, so whatever relies on this shortcut "
     "may not have happened.",
     "Select the shortcut and open its run under History to read the error, fix the shortcut in "
     "the Shortcuts app, then run it again."},
    {Kind::notRunRecently, "notRunRecently", "Not run in 180 days",
     "In the library for more than 180 days without a run Thimblecraft knows of. Runs from the "
     "Shortcuts app count once Thimblecraft can read the Shortcuts folder.",
     "If you no longer need it, delete it in the Shortcuts app."},
    {Kind::emptyFolder, "emptyFolders", "Empty folders",
     "No shortcut is in the folder or in any folder inside it.",
     "Drag shortcuts onto it, or right-click it in the sidebar and delete it."},
    {Kind::emptyTag, "emptyTags", "Empty tags", "No shortcut carries the tag or a tag inside it.",
     "Drag shortcuts onto it, or right-click it in the sidebar and delete it."},
};

const KindText &textOf(Kind kind)
{
    for (const KindText &t : kindTexts)
        if (t.kind == kind)
            return t;
    return kindTexts[0];
}

// "1 rule names …" / "3 rules name …".
QString counted(int n, const char *one, const char *many)
{
    return n == 1 ? QString::fromUtf8(one) : QString::fromUtf8(many).arg(n);
}

bool isInvisible(char16_t c)
{
    return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x2028 || c == 0x2029 ||
           (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

QString isoDate(const QDateTime &date)
{
    return date.toUTC().date().toString(Qt::ISODate);
}
} // namespace

QString LibraryHealth::storedName(Kind kind)
{
    return QString::fromLatin1(textOf(kind).stored);
}

QString LibraryHealth::title(Kind kind)
{
    return QString::fromUtf8(textOf(kind).title);
}

QString LibraryHealth::explanation(Kind kind)
{
    return QString::fromUtf8(textOf(kind).explanation);
}

QString LibraryHealth::fix(Kind kind)
{
    return QString::fromUtf8(textOf(kind).fix);
}

QString LibraryHealth::visibleText(const QString &text)
{
    if (std::none_of(text.cbegin(), text.cend(), [](QChar c) { return isInvisible(c.unicode()); }))
        return text;
    QString out;
    out.reserve(text.size() + 8);
    for (const QChar ch : text) {
        const char16_t c = ch.unicode();
        if (c == u'\n')
            out += QLatin1String("\\n");
        else if (c == u'\r')
            out += QLatin1String("\\r");
        else if (c == u'\t')
            out += QLatin1String("\\t");
        else if (isInvisible(c))
            out += QStringLiteral("\\u{") + QString::number(c, 16).toUpper() + u'}';
        else
            out += ch;
    }
    return out;
}

QString HealthFinding::subject() const
{
    QString name;
    switch (record ? record->kind() : Record::Kind::shortcutItem) {
    case Record::Kind::shortcutItem:
        name = record ? static_cast<const ShortcutItem *>(record)->name() : QString();
        // Quoted, so that spaces at the ends and blank names can be seen.
        if (kind == Kind::unsafeName)
            return u'“' + LibraryHealth::visibleText(name) + u'”';
        break;
    case Record::Kind::libraryFolder:
        name = LibraryLookup::pathText(static_cast<const LibraryFolder *>(record));
        break;
    case Record::Kind::tag:
        name = LibraryLookup::pathText(static_cast<const Tag *>(record));
        break;
    case Record::Kind::smartList:
        name = static_cast<const SmartList *>(record)->name();
        break;
    }
    return LibraryHealth::visibleText(name);
}

QString HealthFinding::detail() const
{
    const auto *item = record && record->kind() == Record::Kind::shortcutItem
                           ? static_cast<const ShortcutItem *>(record)
                           : nullptr;
    switch (kind) {
    case Kind::duplicateName:
        return QStringLiteral("%1 · %2").arg(
            counted(number, "1 other shortcut has this name", "%1 other shortcuts have this name"),
            item ? item->identifier() : QString());
    case Kind::unsafeName:
        return NameHazards::describe(unsigned(number)).join(QStringLiteral(", "));
    case Kind::unreadableRules:
        return QStringLiteral("shows every shortcut");
    case Kind::deletedReference: {
        QStringList parts;
        if (number > 0)
            parts.append(
                counted(number, "1 rule names a deleted folder", "%1 rules name a deleted folder"));
        if (extra > 0)
            parts.append(
                counted(extra, "1 rule names a deleted tag", "%1 rules name a deleted tag"));
        return parts.join(QStringLiteral("; "));
    }
    case Kind::unlinkedPlaceholder:
        return item && item->isMissing() ? QStringLiteral("not found by the last sync")
                                         : QStringLiteral("waiting for a sync");
    case Kind::organisedMissing: {
        if (!item)
            return {};
        QStringList kept;
        if (!item->notes().trimmed().isEmpty())
            kept.append(QStringLiteral("notes"));
        if (!item->tags().isEmpty())
            kept.append(counted(int(item->tags().size()), "1 tag", "%1 tags"));
        if (item->folder())
            kept.append(QStringLiteral("folder ") +
                        LibraryHealth::visibleText(LibraryLookup::pathText(item->folder())));
        if (item->isFavorite())
            kept.append(QStringLiteral("favorite mark"));
        return QStringLiteral("keeps ") + kept.join(QStringLiteral(", "));
    }
    case Kind::lastRunFailed:
        if (!item)
            return {};
        return item->lastRunAt() ? QStringLiteral("failed ") + isoDate(*item->lastRunAt())
                                 : QStringLiteral("failed");
    case Kind::notRunRecently:
        if (!item)
            return {};
        if (item->lastRunAt())
            return QStringLiteral("last run ") + isoDate(*item->lastRunAt());
        return QStringLiteral("never run; added ") + isoDate(item->addedDate());
    case Kind::emptyFolder:
        return number == 0 ? QStringLiteral("no shortcuts")
                           : counted(number, "no shortcuts, nor in its subfolder",
                                     "no shortcuts, nor in its %1 subfolders");
    case Kind::emptyTag:
        return number == 0 ? QStringLiteral("no shortcuts")
                           : counted(number, "no shortcuts, nor on its nested tag",
                                     "no shortcuts, nor on its %1 nested tags");
    }
    return {};
}
