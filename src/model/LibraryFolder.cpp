#include "model/LibraryFolder.h"

#include "model/Clock.h"
#include "model/ModelContext.h"
#include "model/ShortcutItem.h"
#include "model/Uuid.h"

LibraryFolder::LibraryFolder(const QString &name, LibraryFolder *parent)
    : m_uuid(newIdentifierString()), m_name(name), m_createdAt(Clock::now())
{
    setParent(parent);
}

LibraryFolder::~LibraryFolder() = default;

void LibraryFolder::setUuid(const QString &v)
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
    void LibraryFolder::set##Name(Type v)                                                          \
    {                                                                                              \
        if (member == v)                                                                           \
            return;                                                                                \
        member = v;                                                                                \
        didChange();                                                                               \
    }
SETTER(Name, m_name, const QString &)
SETTER(SymbolName, m_symbolName, const QString &)
SETTER(ColorHex, m_colorHex, const QString &)
SETTER(SortOrder, m_sortOrder, qint64)
#undef SETTER

QList<ShortcutItem *> LibraryFolder::allShortcuts() const
{
    QList<ShortcutItem *> result;
    walk([&result](const LibraryFolder *folder, int) { result += folder->m_shortcuts; });
    return result;
}
