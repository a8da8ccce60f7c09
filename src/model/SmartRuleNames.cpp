// Stored names, titles and labels of the rule enumerations and of ShortcutSort.

#include "model/ShortcutSort.h"
#include "model/SmartRule.h"

#include <array>

namespace {
template<typename E> struct Entry {
    E value;
    const char *stored;
    const char *title; // UTF-8
};

using Field = SmartRule::Field;
using TextOp = SmartRule::TextOp;
using NumberOp = SmartRule::NumberOp;
using DateOp = SmartRule::DateOp;
using RunResult = SmartRule::RunResult;

constexpr std::array<Entry<Field>, 16> fieldEntries{{
    {Field::name, "name", "Name"},
    {Field::subtitle, "subtitle", "Subtitle"},
    {Field::notes, "notes", "Notes"},
    {Field::nativeFolder, "nativeFolder", "Shortcuts Folder"},
    {Field::tag, "tag", "Tag"},
    {Field::folder, "folder", "Folder"},
    {Field::favorite, "favorite", "Favorite"},
    {Field::acceptsInput, "acceptsInput", "Accepts Input"},
    {Field::actionCount, "actionCount", "Action Count"},
    {Field::runCount, "runCount", "Run Count"},
    {Field::dateAdded, "dateAdded", "Date Added"},
    {Field::modified, "modified", "Last Modified"},
    {Field::lastRun, "lastRun", "Last Run"},
    {Field::color, "color", "Color"},
    {Field::missing, "missing", "Missing from Shortcuts"},
    {Field::lastRunOutcome, "lastRunOutcome", "Last Run Outcome"},
}};

constexpr std::array<Entry<TextOp>, 5> textOpEntries{{
    {TextOp::contains, "contains", "contains"},
    {TextOp::notContains, "notContains", "does not contain"},
    {TextOp::equals, "equals", "is"},
    {TextOp::beginsWith, "beginsWith", "begins with"},
    {TextOp::endsWith, "endsWith", "ends with"},
}};

constexpr std::array<Entry<NumberOp>, 3> numberOpEntries{{
    {NumberOp::equals, "equals", "is"},
    {NumberOp::greaterThan, "greaterThan", "is greater than"},
    {NumberOp::lessThan, "lessThan", "is less than"},
}};

constexpr std::array<Entry<DateOp>, 3> dateOpEntries{{
    {DateOp::withinDays, "withinDays", "in the last"},
    {DateOp::notWithinDays, "notWithinDays", "not in the last"},
    {DateOp::never, "never", "never"},
}};

constexpr std::array<Entry<RunResult>, 3> runResultEntries{{
    {RunResult::succeeded, "succeeded", "succeeded"},
    {RunResult::failed, "failed", "failed"},
    {RunResult::never, "never", "never"},
}};

constexpr std::array<Entry<ShortcutSort>, 7> sortEntries{{
    {ShortcutSort::libraryOrder, "libraryOrder", "Shortcuts Order"},
    {ShortcutSort::name, "name", "Name"},
    {ShortcutSort::dateAdded, "dateAdded", "Date Added"},
    {ShortcutSort::modified, "modified", "Last Modified"},
    {ShortcutSort::lastRun, "lastRun", "Last Run"},
    {ShortcutSort::actionCount, "actionCount", "Action Count"},
    {ShortcutSort::runCount, "runCount", "Run Count"},
}};

template<typename E> constexpr const auto &entries();
template<> constexpr const auto &entries<Field>()
{
    return fieldEntries;
}
template<> constexpr const auto &entries<TextOp>()
{
    return textOpEntries;
}
template<> constexpr const auto &entries<NumberOp>()
{
    return numberOpEntries;
}
template<> constexpr const auto &entries<DateOp>()
{
    return dateOpEntries;
}
template<> constexpr const auto &entries<RunResult>()
{
    return runResultEntries;
}
template<> constexpr const auto &entries<ShortcutSort>()
{
    return sortEntries;
}

// The tables list the cases in declaration order, so a case's value is its index.
template<typename E> const Entry<E> &entry(E value)
{
    return entries<E>()[size_t(value)];
}

template<typename E> QString stored(E value)
{
    return QString::fromLatin1(entry(value).stored);
}

template<typename E> QString titled(E value)
{
    return QString::fromUtf8(entry(value).title);
}

constexpr bool tablesInOrder()
{
    auto check = [](const auto &table) {
        for (size_t i = 0; i < table.size(); ++i)
            if (size_t(table[i].value) != i)
                return false;
        return true;
    };
    return check(fieldEntries) && check(textOpEntries) && check(numberOpEntries) &&
           check(dateOpEntries) && check(runResultEntries) && check(sortEntries);
}
static_assert(tablesInOrder());
} // namespace

QString storedName(SmartRule::Field value)
{
    return stored(value);
}
QString storedName(SmartRule::TextOp value)
{
    return stored(value);
}
QString storedName(SmartRule::NumberOp value)
{
    return stored(value);
}
QString storedName(SmartRule::DateOp value)
{
    return stored(value);
}
QString storedName(SmartRule::RunResult value)
{
    return stored(value);
}
QString storedName(ShortcutSort value)
{
    return stored(value);
}

QString title(SmartRule::Field value)
{
    return titled(value);
}
QString title(ShortcutSort value)
{
    return titled(value);
}
std::pair<QString, QString> orderTitles(ShortcutSort value)
{
    switch (value) {
    case ShortcutSort::libraryOrder:
        return {QStringLiteral("As in Shortcuts"), QStringLiteral("Reversed")};
    case ShortcutSort::name:
        return {QStringLiteral("A to Z"), QStringLiteral("Z to A")};
    default:
        return {QStringLiteral("Oldest First"), QStringLiteral("Newest First")};
    }
}
QString label(SmartRule::TextOp value)
{
    return titled(value);
}
QString label(SmartRule::NumberOp value)
{
    return titled(value);
}
QString label(SmartRule::DateOp value)
{
    return titled(value);
}
QString label(SmartRule::RunResult value)
{
    return titled(value);
}

template<typename E> QList<E> allCases()
{
    QList<E> result;
    for (const auto &e : entries<E>())
        result.append(e.value);
    return result;
}

template<typename E> std::optional<E> fromStoredName(const QString &name)
{
    for (const auto &e : entries<E>())
        if (name == QLatin1String(e.stored))
            return e.value;
    return std::nullopt;
}

template QList<Field> allCases<Field>();
template QList<TextOp> allCases<TextOp>();
template QList<NumberOp> allCases<NumberOp>();
template QList<DateOp> allCases<DateOp>();
template QList<RunResult> allCases<RunResult>();
template QList<ShortcutSort> allCases<ShortcutSort>();
template std::optional<Field> fromStoredName<Field>(const QString &);
template std::optional<TextOp> fromStoredName<TextOp>(const QString &);
template std::optional<NumberOp> fromStoredName<NumberOp>(const QString &);
template std::optional<DateOp> fromStoredName<DateOp>(const QString &);
template std::optional<RunResult> fromStoredName<RunResult>(const QString &);
template std::optional<ShortcutSort> fromStoredName<ShortcutSort>(const QString &);

SmartRule::Kind SmartRule::kind(Field field)
{
    switch (field) {
    case Field::name:
    case Field::subtitle:
    case Field::notes:
    case Field::nativeFolder:
        return Kind::text;
    case Field::tag:
    case Field::folder:
        return Kind::reference;
    case Field::favorite:
    case Field::acceptsInput:
    case Field::missing:
        return Kind::flag;
    case Field::actionCount:
    case Field::runCount:
        return Kind::number;
    case Field::dateAdded:
    case Field::modified:
    case Field::lastRun:
        return Kind::date;
    case Field::color:
        return Kind::color;
    case Field::lastRunOutcome:
        return Kind::outcome;
    }
    return Kind::text;
}

QString SmartRule::boolLabel(Field field, bool value)
{
    switch (field) {
    case Field::missing:
        return value ? QStringLiteral("is missing") : QStringLiteral("is present");
    case Field::tag:
        return value ? QStringLiteral("has") : QStringLiteral("does not have");
    case Field::folder:
        return value ? QStringLiteral("is in") : QStringLiteral("is not in");
    case Field::color:
        return value ? QStringLiteral("is") : QStringLiteral("is not");
    default:
        return value ? QStringLiteral("is on") : QStringLiteral("is off");
    }
}

QString SmartRule::anyReferenceTitle(Field field)
{
    return field == Field::folder ? QStringLiteral("any folder") : QStringLiteral("any tag");
}

QString SmartRule::dayUnit(qint64 days)
{
    return days == 1 ? QStringLiteral("day") : QStringLiteral("days");
}

size_t qHash(const SmartRule &rule, size_t seed)
{
    return qHashMulti(seed, rule.id, int(rule.field), int(rule.textOp), int(rule.numberOp),
                      int(rule.dateOp), rule.boolValue, rule.text, rule.number, rule.days,
                      rule.referenceUUID, int(rule.runResult));
}
