#include "model/RuleMatcher.h"

#include "model/Clock.h"
#include "model/ColorFamily.h"
#include "model/ColorHex.h"
#include "model/LibraryFolder.h"
#include "model/LowercaseMatch.h"
#include "model/ShortcutItem.h"
#include "model/SmartRuleSet.h"
#include "model/Tag.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {
constexpr qint64 msecsPerDay = 86'400'000;
// Records with ids above this are remembered by address, so that a store edited by hand to
// hold huge ids cannot make a matcher's table large.
constexpr qint64 maxDenseId = 1 << 16;
constexpr size_t colorAnswerSlots = 32;

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

// The record or one of its ancestors (within the bound of pathFromRoot) carries the uuid. Random
// uuids nearly always differ in their first character, so that is looked at before the whole text.
template<typename Node> bool inPath(const Node *node, const QString &uuid)
{
    const QChar first = uuid.front();
    for (int step = 0; node && step <= Node::maxTreeSteps; ++step, node = node->parent()) {
        const QString &candidate = node->uuid();
        if (!candidate.isEmpty() && candidate.front() == first && candidate == uuid)
            return true;
    }
    return false;
}

// Relative cost of testing a rule of the field's kind; cheap rules go first.
int cost(SmartRule::Field field)
{
    switch (SmartRule::kind(field)) {
    case SmartRule::Kind::flag:
    case SmartRule::Kind::number:
    case SmartRule::Kind::outcome:
        return 0;
    case SmartRule::Kind::date:
        return 1;
    case SmartRule::Kind::color:
        return 2;
    case SmartRule::Kind::text:
        return 3;
    case SmartRule::Kind::reference:
        return 4;
    }
    return 4;
}
} // namespace

RuleMatcher::RuleMatcher(const SmartRule &rule, const QDateTime &now)
    : m_field(rule.field), m_textOp(rule.textOp), m_numberOp(rule.numberOp), m_dateOp(rule.dateOp),
      m_boolValue(rule.boolValue), m_number(rule.number), m_text(rule.text),
      m_reference(rule.referenceUUID), m_runResult(rule.runResult)
{
    switch (SmartRule::kind(rule.field)) {
    case SmartRule::Kind::text:
        m_needle = LowercaseMatch::lowered(LowercaseMatch::trimSpacesAndTabs(rule.text));
        break;
    case SmartRule::Kind::date:
        m_cutoffMSecs = cutoffMSecs(now, rule.days);
        break;
    case SmartRule::Kind::color:
        m_colorAnswers.resize(colorAnswerSlots);
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

bool RuleMatcher::matchesDate(const QDateTime *date) const
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

bool RuleMatcher::inColorFamily(const QString &hex) const
{
    auto answer = [&] {
        const RGBComponents c = rgbComponents(hex);
        return colorFamilyName(c.red, c.green, c.blue) == m_text;
    };
    // Up to eight code units ("#RRGGBB" has seven) are a key of two words.
    if (hex.size() > 8)
        return answer();
    quint64 units[2] = {0, 0};
    std::memcpy(units, hex.utf16(), size_t(hex.size()) * sizeof(char16_t));
    const quint64 mixed =
        (units[0] ^ (units[1] * 0x9E37'79B9'7F4A'7C15ULL)) * 0xFF51'AFD7'ED55'8CCDULL;
    ColorAnswer &slot = m_colorAnswers[size_t(mixed >> 59) % colorAnswerSlots];
    if (slot.size != hex.size() || slot.units[0] != units[0] || slot.units[1] != units[1]) {
        slot.units[0] = units[0];
        slot.units[1] = units[1];
        slot.size = hex.size();
        slot.inFamily = answer();
    }
    return slot.inFamily;
}

template<typename Node> bool RuleMatcher::underReference(const Node *node) const
{
    // Many items share few folders and tags: each record's answer is worked out once per
    // matcher, which lives for one evaluation pass. A matcher tests one kind of record, whose
    // ids are unique within a context: the answers for the first context met are kept by id.
    const qint64 id = node->persistentId();
    if (node->context() == m_underReferenceContext && quint64(id) < m_underReferenceById.size()) {
        const quint8 known = m_underReferenceById[size_t(id)];
        if (known)
            return known == 2;
    }
    return workOutUnderReference(node);
}

template<typename Node> bool RuleMatcher::workOutUnderReference(const Node *node) const
{
    const qint64 id = node->persistentId();
    if (id > 0 && id <= maxDenseId && node->context() &&
        (!m_underReferenceContext || m_underReferenceContext == node->context())) {
        m_underReferenceContext = node->context();
        if (size_t(id) >= m_underReferenceById.size())
            m_underReferenceById.resize(std::max(size_t(id) + 1, 2 * m_underReferenceById.size()));
        quint8 &slot = m_underReferenceById[size_t(id)];
        if (!slot)
            slot = inPath(node, m_reference) ? 2 : 1;
        return slot == 2;
    }
    const auto known = m_underReference.constFind(node);
    if (known != m_underReference.cend())
        return *known;
    const bool found = inPath(node, m_reference);
    m_underReference.insert(node, found);
    return found;
}

bool RuleMatcher::hasReference(const ShortcutItem &item) const
{
    if (m_field == SmartRule::Field::tag) {
        if (m_reference.isEmpty())
            return !item.tags().isEmpty();
        for (const Tag *tag : item.tags())
            if (underReference(tag))
                return true;
        return false;
    }
    if (m_reference.isEmpty() || !item.folder())
        return item.folder() != nullptr;
    return underReference(item.folder());
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
    // The dates by reference: addedDate() and modifiedDate() would copy.
    case Field::dateAdded:
        return matchesDate(item.nativeCreatedAt() ? &*item.nativeCreatedAt() : &item.firstSeenAt());
    case Field::modified:
        return matchesDate(item.nativeModifiedAt() ? &*item.nativeModifiedAt()
                                                   : &item.lastChangedAt());
    case Field::lastRun:
        return matchesDate(item.lastRunAt() ? &*item.lastRunAt() : nullptr);
    case Field::color:
        return inColorFamily(item.colorHex()) == m_boolValue;
    case Field::lastRunOutcome:
        switch (m_runResult) {
        case SmartRule::RunResult::succeeded:
            return item.lastRunOutcome() == RunOutcome::succeeded;
        case SmartRule::RunResult::failed:
            return item.lastRunOutcome() == RunOutcome::failed;
        case SmartRule::RunResult::never:
            return !item.lastRunAt() && item.lastRunOutcome() == RunOutcome::none;
        }
        return false;
    }
    return false;
}

RuleSetMatcher::RuleSetMatcher(const SmartRuleSet &set)
    : m_matchAll(set.matchAll), m_includeMissing(set.includeMissing)
{
    // Rules have no side effects, so all-of and any-of give the same answer in any order: the
    // cheap tests run first and settle most items before a text or tree walk is needed.
    QList<SmartRule> rules = set.rules;
    std::stable_sort(rules.begin(), rules.end(), [](const SmartRule &a, const SmartRule &b) {
        return cost(a.field) < cost(b.field);
    });
    const QDateTime now = Clock::now();
    m_rules.reserve(rules.size());
    for (const SmartRule &rule : std::as_const(rules))
        m_rules.emplace_back(rule, now);
}

bool RuleMatcher::readsClock() const
{
    return SmartRule::kind(m_field) == SmartRule::Kind::date;
}

int RuleMatcher::testKind() const
{
    int op = 0;
    switch (SmartRule::kind(m_field)) {
    case SmartRule::Kind::text:
        op = int(m_textOp);
        break;
    case SmartRule::Kind::number:
        op = int(m_numberOp);
        break;
    case SmartRule::Kind::date:
        op = int(m_dateOp);
        break;
    default:
        break;
    }
    return int(m_field) * 8 + op;
}

bool RuleSetMatcher::readsClock() const
{
    return std::any_of(m_rules.cbegin(), m_rules.cend(),
                       [](const RuleMatcher &rule) { return rule.readsClock(); });
}

bool RuleSetMatcher::testsBefore(const RuleSetMatcher &other) const
{
    return std::lexicographical_compare(
        m_rules.cbegin(), m_rules.cend(), other.m_rules.cbegin(), other.m_rules.cend(),
        [](const RuleMatcher &a, const RuleMatcher &b) { return a.testKind() < b.testKind(); });
}

bool RuleSetMatcher::selects(const ShortcutItem &item) const
{
    if (!m_includeMissing && item.isMissing())
        return false;
    if (m_rules.empty())
        return true;
    for (const RuleMatcher &rule : m_rules)
        if (rule.matches(item) != m_matchAll)
            return !m_matchAll;
    return m_matchAll;
}
