#include "model/Tag.h"

#include "model/Clock.h"
#include "model/ModelContext.h"
#include "model/ShortcutItem.h"
#include "model/Uuid.h"

Tag::Tag(const QString &name, const QString &colorHex, Tag *parent)
    : m_uuid(newIdentifierString()), m_name(name), m_colorHex(colorHex), m_createdAt(Clock::now())
{
    setParent(parent);
}

Tag::~Tag() = default;

void Tag::setUuid(const QString &v)
{
    if (m_uuid == v)
        return;
    const QString old = m_uuid;
    m_uuid = v;
    if (context())
        context()->uuidChanged(this, old);
    didChange();
}

#define SETTER(Name, member, Type)                                                                 \
    void Tag::set##Name(Type v)                                                                    \
    {                                                                                              \
        if (member == v)                                                                           \
            return;                                                                                \
        member = v;                                                                                \
        didChange();                                                                               \
    }
SETTER(Name, m_name, const QString &)
SETTER(ColorHex, m_colorHex, const QString &)
SETTER(SortOrder, m_sortOrder, qint64)
#undef SETTER

void Tag::collectShortcuts(QList<ShortcutItem *> &into, QSet<ShortcutItem *> &seen) const
{
    walk([&](const Tag *tag, int) {
        for (ShortcutItem *item : tag->m_shortcuts) {
            if (!seen.contains(item)) {
                seen.insert(item);
                into.append(item);
            }
        }
    });
}
