// Evaluation entry points of single rules and rule sets.

#include "model/Clock.h"
#include "model/RuleMatcher.h"
#include "model/ShortcutItem.h"
#include "model/SmartRuleSet.h"

bool SmartRule::matches(const ShortcutItem &item) const
{
    return RuleMatcher(*this, Clock::now()).matches(item);
}

bool SmartRule::matchesText(const QString &value) const
{
    // Only a text rule prepares its needle, so test as one whatever the field.
    SmartRule asText = *this;
    asText.field = Field::name;
    return RuleMatcher(asText, QDateTime()).matchesText(value);
}

bool SmartRuleSet::selects(const ShortcutItem &item) const
{
    return RuleSetMatcher(*this).selects(item);
}

QList<ShortcutItem *> SmartRuleSet::items(const QList<ShortcutItem *> &from) const
{
    const RuleSetMatcher matcher(*this);
    QList<ShortcutItem *> result;
    for (ShortcutItem *item : from)
        if (matcher.selects(*item))
            result.append(item);
    return result;
}

size_t qHash(const SmartRuleSet &set, size_t seed)
{
    return qHashMulti(seed, set.matchAll, qHashRange(set.rules.begin(), set.rules.end()),
                      int(set.sort), set.ascending, set.includeMissing);
}
