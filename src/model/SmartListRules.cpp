// SmartList's rule set, kept encoded in rulesData.

#include "model/Clock.h"
#include "model/SmartList.h"
#include "model/SmartRuleSet.h"
#include "model/Uuid.h"

SmartList::SmartList(const QString &name, const SmartRuleSet &rules)
    : m_uuid(newIdentifierString()), m_name(name), m_createdAt(Clock::now())
{
    setRuleSet(rules);
}

SmartRuleSet SmartList::ruleSet() const
{
    return SmartRuleSet::decoded(m_rulesData);
}

void SmartList::setRuleSet(const SmartRuleSet &rules)
{
    setRulesData(rules.encoded());
}

std::optional<SmartRuleSet> SmartList::ruleSetIfReadable() const
{
    return SmartRuleSet::decodedIfValid(m_rulesData);
}
