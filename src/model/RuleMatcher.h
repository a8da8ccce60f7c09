#pragma once

#include "model/SmartRule.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>

class ShortcutItem;
struct SmartRuleSet;

// A rule ready to test many items: the needle trimmed and lower-cased once, the date cutoff
// taken from the given "now". It remembers which folders and tags lie under its reference, so
// it is meant for one evaluation pass: make a new one after records change.
class RuleMatcher {
public:
    RuleMatcher(const SmartRule &rule, const QDateTime &now);
    bool matches(const ShortcutItem &item) const;
    bool matchesText(QStringView value) const;

private:
    bool matchesDate(const QDateTime *date) const; // null when absent
    bool hasReference(const ShortcutItem &item) const;
    template<typename Node> bool underReference(const Node *node) const;

    SmartRule::Field m_field;
    SmartRule::TextOp m_textOp;
    SmartRule::NumberOp m_numberOp;
    SmartRule::DateOp m_dateOp;
    bool m_boolValue;
    qint64 m_number;
    qint64 m_cutoffMSecs = 0;
    QString m_needle; // trimmed and lower-cased
    QString m_text;   // as written (the colour family name)
    QString m_reference;
    SmartRule::RunResult m_runResult;
    mutable QHash<const void *, bool> m_underReference;
};

// A rule set ready to test many items. "Now" is read once, when it is made.
class RuleSetMatcher {
public:
    explicit RuleSetMatcher(const SmartRuleSet &set);
    bool selects(const ShortcutItem &item) const;

private:
    bool m_matchAll;
    bool m_includeMissing;
    QList<RuleMatcher> m_rules;
};
