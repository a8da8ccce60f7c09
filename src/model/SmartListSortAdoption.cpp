#include "model/SmartListSortAdoption.h"

#include "model/LibrarySettings.h"
#include "model/ModelContext.h"
#include "model/SmartRuleSet.h"

bool SmartListSortAdoption::sectionShown(const LibrarySection &section)
{
    const bool changed = m_shown.has_value() && *m_shown != section;
    m_shown = section;
    if (!changed || section.kind != LibrarySection::Case::smartList)
        return false;
    for (const SmartList *list : m_context.smartLists()) {
        if (list->uuid() != section.value)
            continue;
        const SmartRuleSet rules = list->ruleSet();
        LibrarySettings::setSortKey(rules.sort);
        LibrarySettings::setSortAscending(rules.ascending);
        return true;
    }
    return false;
}
