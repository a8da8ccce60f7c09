#pragma once

#include "model/SmartRule.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>
#include <vector>

class ModelContext;
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
    // Which code the test runs: the field, and the operator where the field has several.
    int testKind() const;
    // Whether the answer can change as time passes (a date rule).
    bool readsClock() const;

private:
    bool matchesDate(const QDateTime *date) const; // null when absent
    bool inColorFamily(const QString &hex) const;
    bool hasReference(const ShortcutItem &item) const;
    template<typename Node> bool underReference(const Node *node) const;
    template<typename Node> bool workOutUnderReference(const Node *node) const;

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
    // Each folder's or tag's answer, worked out once: by persistent id for the records of one
    // context (ids are small and dense, so this is a short array, read without hashing), by
    // address for any other. 0 unknown, 1 no, 2 yes.
    mutable std::vector<quint8> m_underReferenceById;
    mutable const ModelContext *m_underReferenceContext = nullptr;
    mutable QHash<const void *, bool> m_underReference;
    // A library uses a handful of colours: the last answers for short hex texts, by their code
    // units (colour rules only).
    struct ColorAnswer {
        quint64 units[2] = {0, 0};
        qsizetype size = -1;
        bool inFamily = false;
    };
    mutable std::vector<ColorAnswer> m_colorAnswers;
};

// A rule set ready to test many items. "Now" is read once, when it is made.
class RuleSetMatcher {
public:
    explicit RuleSetMatcher(const SmartRuleSet &set);
    bool selects(const ShortcutItem &item) const;
    // An order for testing one item against many rule sets: sets whose rules run the same tests
    // in the same order come together, so that the processor, which learns where each test
    // leads, is seldom wrong. The answers do not depend on the order.
    bool testsBefore(const RuleSetMatcher &other) const;
    bool readsClock() const;

private:
    bool m_matchAll;
    bool m_includeMissing;
    // Held by value: a copy (one per counting thread) must not share the answers kept inside.
    std::vector<RuleMatcher> m_rules;
};
