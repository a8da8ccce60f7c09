#include "model/RuleMatcher.h"

#include "model/Clock.h"
#include "model/ColorFamily.h"
#include "model/ColorHex.h"
#include "model/LibraryFolder.h"
#include "model/LowercaseMatch.h"
#include "model/ShortcutItem.h"
#include "model/SmartRuleSet.h"
#include "model/Tag.h"

#include <limits>

namespace {
constexpr int maxAncestorSteps = 64;
constexpr qint64 msecsPerDay = 86'400'000;

// now − days, where a negative count acts as 0 and a huge one reaches back to the beginning
// of time instead of overflowing.
qint64 cutoffMSecs(const QDateTime &now, qint64 days)
{
    const qint64 nowMSecs = now.toMSecsSinceEpoch();
    if (days <= 0)
        return nowMSecs;
    qint64 span;
    qint64 cutoff;
    if (__builtin_mul_overflow(days, msecsPerDay, &span) ||
        __builtin_sub_overflow(nowMSecs, span, &cutoff))
        return std::numeric_limits<qint64>::min();
    return cutoff;
}

// The record or one of its ancestors (at most 64 steps up) carries the uuid.
template<typename Node> bool inPath(const Node *node, const QString &uuid)
{
    for (int step = 0; node && step <= maxAncestorSteps; ++step, node = node->parent())
        if (node->uuid() == uuid)
            return true;
    return false;
}
} // namespace

RuleMatcher::RuleMatcher(const SmartRule &rule, const QDateTime &now)
    : m_field(rule.field), m_textOp(rule.textOp), m_numberOp(rule.numberOp), m_dateOp(rule.dateOp),
      m_boolValue(rule.boolValue), m_number(rule.number), m_text(rule.text),
      m_reference(rule.referenceUUID)
{
    switch (SmartRule::kind(rule.field)) {
    case SmartRule::Kind::text:
        m_needle = LowercaseMatch::lowered(LowercaseMatch::trimSpacesAndTabs(rule.text));
        break;
    case SmartRule::Kind::date:
        m_cutoffMSecs = cutoffMSecs(now, rule.days);
        break;
    default:
        break;
    }
}

bool RuleMatcher::matchesText(QStringView value) const
{
    if (m_needle.isEmpty())
        return true;
    switch (m_textOp) {
    case SmartRule::TextOp::contains:
        return LowercaseMatch::contains(value, m_needle);
    case SmartRule::TextOp::notContains:
        return !LowercaseMatch::contains(value, m_needle);
    case SmartRule::TextOp::equals:
        return LowercaseMatch::equals(value, m_needle);
    case SmartRule::TextOp::beginsWith:
        return LowercaseMatch::beginsWith(value, m_needle);
    case SmartRule::TextOp::endsWith:
        return LowercaseMatch::endsWith(value, m_needle);
    }
    return false;
}

bool RuleMatcher::matchesDate(const std::optional<QDateTime> &date) const
{
    switch (m_dateOp) {
    case SmartRule::DateOp::withinDays:
        return date && date->toMSecsSinceEpoch() >= m_cutoffMSecs;
    case SmartRule::DateOp::notWithinDays:
        return !date || date->toMSecsSinceEpoch() < m_cutoffMSecs;
    case SmartRule::DateOp::never:
        return !date;
    }
    return false;
}

bool RuleMatcher::hasReference(const ShortcutItem &item) const
{
    if (m_field == SmartRule::Field::tag) {
        if (m_reference.isEmpty())
            return !item.tags().isEmpty();
        for (const Tag *tag : item.tags())
            if (inPath(tag, m_reference))
                return true;
        return false;
    }
    if (m_reference.isEmpty() || !item.folder())
        return item.folder() != nullptr;
    return inPath(item.folder(), m_reference);
}

bool RuleMatcher::matches(const ShortcutItem &item) const
{
    using Field = SmartRule::Field;
    auto number = [&](qint64 value) {
        switch (m_numberOp) {
        case SmartRule::NumberOp::equals:
            return value == m_number;
        case SmartRule::NumberOp::greaterThan:
            return value > m_number;
        case SmartRule::NumberOp::lessThan:
            return value < m_number;
        }
        return false;
    };
    switch (m_field) {
    case Field::name:
        return matchesText(item.name());
    case Field::subtitle:
        return matchesText(item.subtitle());
    case Field::notes:
        return matchesText(item.notes());
    case Field::nativeFolder:
        return matchesText(item.nativeFolderName());
    case Field::tag:
    case Field::folder:
        return hasReference(item) == m_boolValue;
    case Field::favorite:
        return item.isFavorite() == m_boolValue;
    case Field::acceptsInput:
        return item.acceptsInput() == m_boolValue;
    case Field::missing:
        return item.isMissing() == m_boolValue;
    case Field::actionCount:
        return number(item.actionCount());
    case Field::runCount:
        return number(item.runCount());
    case Field::dateAdded:
        return matchesDate(item.addedDate());
    case Field::modified:
        return matchesDate(item.modifiedDate());
    case Field::lastRun:
        return matchesDate(item.lastRunAt());
    case Field::color: {
        const RGBComponents c = rgbComponents(item.colorHex());
        return (colorFamilyName(c.red, c.green, c.blue) == m_text) == m_boolValue;
    }
    }
    return false;
}

RuleSetMatcher::RuleSetMatcher(const SmartRuleSet &set)
    : m_matchAll(set.matchAll), m_includeMissing(set.includeMissing)
{
    const QDateTime now = Clock::now();
    m_rules.reserve(set.rules.size());
    for (const SmartRule &rule : set.rules)
        m_rules.append(RuleMatcher(rule, now));
}

bool RuleSetMatcher::selects(const ShortcutItem &item) const
{
    if (!m_includeMissing && item.isMissing())
        return false;
    if (m_rules.isEmpty())
        return true;
    for (const RuleMatcher &rule : m_rules)
        if (rule.matches(item) != m_matchAll)
            return !m_matchAll;
    return m_matchAll;
}
