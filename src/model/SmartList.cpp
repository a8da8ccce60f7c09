#include "model/SmartList.h"

#include "model/Clock.h"
#include "model/ModelContext.h"
#include "model/Uuid.h"

// The constructor taking a rule set and ruleSet()/setRuleSet() live beside the rule codec.

SmartList::~SmartList() = default;

void SmartList::setUuid(const QString &v)
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
    void SmartList::set##Name(Type v)                                                              \
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
SETTER(RulesData, m_rulesData, const QByteArray &)
#undef SETTER
