#include "model/ShortcutItem.h"

#include "model/Clock.h"
#include "model/LibraryFolder.h"
#include "model/ModelContext.h"
#include "model/NaturalOrder.h"
#include "model/Tag.h"

ShortcutItem::ShortcutItem(const QString &identifier, const QString &name)
    : m_identifier(identifier), m_name(name)
{
    const QDateTime now = Clock::now();
    m_firstSeenAt = now;
    m_lastChangedAt = now;
    m_lastSeenAt = now;
}

ShortcutItem::~ShortcutItem() = default;

#define SETTER(Name, member, Type)                                                                 \
    void ShortcutItem::set##Name(Type v)                                                           \
    {                                                                                              \
        if (member == v)                                                                           \
            return;                                                                                \
        member = v;                                                                                \
        m_rowDirty = true;                                                                         \
        didChange();                                                                               \
    }

// The fields every sync touches: a record whose row changed only here is saved with a narrow
// update instead of a rewrite of the whole row.
#define SEEN_SETTER(Name, member, Type, flag)                                                      \
    void ShortcutItem::set##Name(Type v)                                                           \
    {                                                                                              \
        if (member == v)                                                                           \
            return;                                                                                \
        member = v;                                                                                \
        flag = true;                                                                               \
        didChange();                                                                               \
    }

SETTER(Identifier, m_identifier, const QString &)
SETTER(Name, m_name, const QString &)
SETTER(Subtitle, m_subtitle, const QString &)
SETTER(NativeFolderName, m_nativeFolderName, const QString &)
SETTER(ColorHex, m_colorHex, const QString &)
SETTER(IconTopHex, m_iconTopHex, const QString &)
SETTER(IconBottomHex, m_iconBottomHex, const QString &)
SEEN_SETTER(LibraryOrder, m_libraryOrder, qint64, m_orderDirty)
SETTER(AppBundleID, m_appBundleID, const QString &)
SETTER(IconAppBundleID, m_iconAppBundleID, const QString &)
SETTER(AcceptsInput, m_acceptsInput, bool)
SETTER(ActionCount, m_actionCount, qint64)
SETTER(NativeCreatedAt, m_nativeCreatedAt, const std::optional<QDateTime> &)
SETTER(NativeModifiedAt, m_nativeModifiedAt, const std::optional<QDateTime> &)
SETTER(FirstSeenAt, m_firstSeenAt, const QDateTime &)
SETTER(LastChangedAt, m_lastChangedAt, const QDateTime &)
SEEN_SETTER(LastSeenAt, m_lastSeenAt, const QDateTime &, m_seenDirty)
SEEN_SETTER(IsMissing, m_isMissing, bool, m_seenDirty)
SETTER(IsFavorite, m_isFavorite, bool)
SETTER(LastRunAt, m_lastRunAt, const std::optional<QDateTime> &)
SETTER(RunCount, m_runCount, qint64)
SETTER(LastRunOutcome, m_lastRunOutcome, RunOutcome)
SETTER(Notes, m_notes, const QString &)
#undef SETTER
#undef SEEN_SETTER

std::optional<QByteArray> ShortcutItem::iconData() const
{
    if (!m_hasIcon)
        return std::nullopt;
    if (!m_iconLoaded) {
        m_iconBytes = context() ? context()->loadIconData(this) : QByteArray();
        m_iconLoaded = true;
    }
    return m_iconBytes;
}

void ShortcutItem::setIconData(const std::optional<QByteArray> &v)
{
    if (v.has_value() == m_hasIcon && (!v || *iconData() == *v))
        return;
    m_hasIcon = v.has_value();
    m_iconBytes = v.value_or(QByteArray());
    m_iconLoaded = true;
    m_iconDirty = true;
    m_rowDirty = true;
    didChange();
}

void ShortcutItem::setFolder(LibraryFolder *folder)
{
    if (m_folder == folder)
        return;
    if (m_folder) {
        RecordLists::remove(m_folder->m_shortcuts, this);
        m_folder->didChange();
    }
    m_folder = folder;
    if (folder) {
        RecordLists::insertOrdered(folder->m_shortcuts, this);
        folder->didChange();
    }
    m_rowDirty = true;
    didChange();
}

void ShortcutItem::addTag(Tag *tag)
{
    if (!tag || m_tags.contains(tag))
        return;
    RecordLists::insertOrdered(m_tags, tag);
    RecordLists::insertOrdered(tag->m_shortcuts, this);
    m_tagsDirty = true;
    tag->didChange();
    didChange();
}

void ShortcutItem::removeTag(Tag *tag)
{
    if (!tag || !m_tags.contains(tag))
        return;
    RecordLists::remove(m_tags, tag);
    RecordLists::remove(tag->m_shortcuts, this);
    m_tagsDirty = true;
    tag->didChange();
    didChange();
}

void ShortcutItem::setTags(const QList<Tag *> &tags)
{
    const QList<Tag *> current = m_tags;
    for (Tag *t : current)
        if (!tags.contains(t))
            removeTag(t);
    for (Tag *t : tags)
        addTag(t);
}

QList<Tag *> ShortcutItem::sortedTags() const
{
    QList<Tag *> sorted = m_tags;
    std::stable_sort(sorted.begin(), sorted.end(), [](const Tag *a, const Tag *b) {
        return naturalCompare(a->name(), b->name()) < 0;
    });
    return sorted;
}

void ShortcutItem::applyProcessedIcon(const IconProcessing::Result &result)
{
    const bool appIconWins = !m_iconAppBundleID.isEmpty() && m_hasIcon;
    if (!appIconWins) {
        if (!m_hasIcon || *iconData() != result.glyphPNG)
            setIconData(result.glyphPNG);
        setIconAppBundleID(QString());
    }
    setIconTopHex(result.topHex);
    setIconBottomHex(result.bottomHex);
}
