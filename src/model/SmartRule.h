#pragma once

#include <QHashFunctions>
#include <QList>
#include <QString>
#include <QUuid>
#include <optional>

class ShortcutItem;

// One condition of a smart list. A rule keeps every operand whatever its field; only the
// operands of the field's kind are read when it is evaluated.
struct SmartRule {
    enum class Field {
        name,
        subtitle,
        notes,
        nativeFolder,
        tag,
        folder,
        favorite,
        acceptsInput,
        actionCount,
        runCount,
        dateAdded,
        modified,
        lastRun,
        color,
        missing,
        lastRunOutcome,
    };
    enum class TextOp { contains, notContains, equals, beginsWith, endsWith };
    enum class NumberOp { equals, greaterThan, lessThan };
    enum class DateOp { withinDays, notWithinDays, never };
    // How the last run ended, or that there never was one.
    enum class RunResult { succeeded, failed, never };
    // How a field is tested, and so which operands it reads.
    enum class Kind { text, reference, flag, number, date, color, outcome };

    QUuid id = QUuid::createUuid();
    Field field = Field::name;
    TextOp textOp = TextOp::contains;
    NumberOp numberOp = NumberOp::greaterThan;
    DateOp dateOp = DateOp::withinDays;
    bool boolValue = true;
    QString text;
    qint64 number = 0;
    qint64 days = 7;
    QString referenceUUID;
    RunResult runResult = RunResult::failed;

    bool operator==(const SmartRule &) const = default;

    bool matches(const ShortcutItem &item) const;
    // The text test alone: trimmed needle, lower-cased both sides.
    bool matchesText(const QString &value) const;

    static Kind kind(Field field);
    // The words after the field in a rule row for the flag, reference and colour kinds:
    // "is on"/"is off", "has"/"does not have", … by boolValue.
    static QString boolLabel(Field field, bool value);
    // Shown for a reference rule whose referenceUUID is empty.
    static QString anyReferenceTitle(Field field);
    // "day" or "days", after the day count.
    static QString dayUnit(qint64 days);
};

size_t qHash(const SmartRule &rule, size_t seed = 0);

// Stored names (the case names), display titles and labels of the rule enumerations, and of
// ShortcutSort (ShortcutSort.h). allCases<E>() lists the cases in declaration order;
// fromStoredName<E>() answers nothing for an unknown name.
QString storedName(SmartRule::Field value);
QString storedName(SmartRule::TextOp value);
QString storedName(SmartRule::NumberOp value);
QString storedName(SmartRule::DateOp value);
QString storedName(SmartRule::RunResult value);
QString title(SmartRule::Field value);
QString label(SmartRule::TextOp value);
QString label(SmartRule::NumberOp value);
QString label(SmartRule::DateOp value);
QString label(SmartRule::RunResult value);

template<typename E> QList<E> allCases();
template<typename E> std::optional<E> fromStoredName(const QString &name);
