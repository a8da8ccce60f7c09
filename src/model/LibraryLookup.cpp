#include "model/LibraryLookup.h"

#include "model/LibraryFolder.h"
#include "model/ModelContext.h"
#include "model/ShortcutItem.h"
#include "model/SmartList.h"
#include "model/SmartRule.h"
#include "model/Tag.h"

namespace {
const QString kPlaceholderPrefix = QStringLiteral("name:");
const QString kPathSeparator = QStringLiteral(" › ");

QStringList pathNames(const QString &reference)
{
    QString path = reference;
    path.replace(kPathSeparator, QStringLiteral("/"));
    QStringList names = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (QString &name : names)
        name = name.trimmed();
    return names;
}

// The record at a path of names among records with parent() and name(), or null.
template<typename T>
T *recordAtPath(const QList<T *> &all, const QString &reference, Qt::CaseSensitivity cs)
{
    const QStringList names = pathNames(reference);
    if (names.isEmpty())
        return nullptr;
    T *parent = nullptr;
    for (const QString &name : names) {
        T *found = nullptr;
        for (T *record : all) {
            if (record->parent() == parent && record->name().compare(name, cs) == 0) {
                found = record;
                break;
            }
        }
        if (!found)
            return nullptr;
        parent = found;
    }
    return parent;
}

template<typename T> T *recordFor(const QList<T *> &all, const QString &reference)
{
    for (T *record : all)
        if (record->uuid() == reference)
            return record;
    if (T *exact = recordAtPath(all, reference, Qt::CaseSensitive))
        return exact;
    return recordAtPath(all, reference, Qt::CaseInsensitive);
}

template<typename T> QString pathOf(const T *record)
{
    QStringList names;
    for (const T *step : record->pathFromRoot())
        names.append(step->name());
    return names.join(kPathSeparator);
}
} // namespace

QList<ShortcutItem *> LibraryLookup::shortcutsFor(const ModelContext &context,
                                                  const QString &reference)
{
    const QList<ShortcutItem *> &items = context.shortcuts();
    for (ShortcutItem *item : items)
        if (item->identifier() == reference)
            return {item};
    const bool byName = reference.startsWith(kPlaceholderPrefix);
    const QString name = byName ? reference.mid(kPlaceholderPrefix.size()) : reference;
    QList<ShortcutItem *> found = shortcutsNamed(context, name);
    if (found.isEmpty())
        for (ShortcutItem *item : items)
            if (item->name().compare(name, Qt::CaseInsensitive) == 0)
                found.append(item);
    return found;
}

QList<ShortcutItem *> LibraryLookup::shortcutsNamed(const ModelContext &context,
                                                    const QString &name)
{
    QList<ShortcutItem *> found;
    for (ShortcutItem *item : context.shortcuts())
        if (item->name() == name)
            found.append(item);
    return found;
}

LibraryFolder *LibraryLookup::folderFor(const ModelContext &context, const QString &reference)
{
    return recordFor(context.folders(), reference);
}

Tag *LibraryLookup::tagFor(const ModelContext &context, const QString &reference)
{
    return recordFor(context.tags(), reference);
}

SmartList *LibraryLookup::smartListFor(const ModelContext &context, const QString &reference)
{
    for (SmartList *list : context.smartLists())
        if (list->uuid() == reference)
            return list;
    for (Qt::CaseSensitivity cs : {Qt::CaseSensitive, Qt::CaseInsensitive})
        for (SmartList *list : context.smartLists())
            if (list->name().compare(reference.trimmed(), cs) == 0)
                return list;
    return nullptr;
}

std::optional<LibrarySection> LibraryLookup::sectionFor(const ModelContext &context,
                                                        const QString &text)
{
    auto section = LibrarySection::fromText(text);
    if (!section)
        return std::nullopt;
    switch (section->kind) {
    case LibrarySection::Case::folder:
        if (const LibraryFolder *folder = folderFor(context, section->value))
            section->value = folder->uuid();
        break;
    case LibrarySection::Case::tag:
        if (const Tag *tag = tagFor(context, section->value))
            section->value = tag->uuid();
        break;
    case LibrarySection::Case::smartList:
        if (const SmartList *list = smartListFor(context, section->value))
            section->value = list->uuid();
        break;
    default:
        break;
    }
    return section;
}

QString LibraryLookup::pathText(const LibraryFolder *folder)
{
    return folder ? pathOf(folder) : QString();
}

QString LibraryLookup::pathText(const Tag *tag)
{
    return tag ? pathOf(tag) : QString();
}

QString LibraryLookup::ruleText(const SmartRule &rule, const ModelContext &context)
{
    const QString field = title(rule.field);
    switch (SmartRule::kind(rule.field)) {
    case SmartRule::Kind::text:
        return QStringLiteral("%1 %2 “%3”").arg(field, label(rule.textOp), rule.text);
    case SmartRule::Kind::number:
        return QStringLiteral("%1 %2 %3")
            .arg(field, label(rule.numberOp), QString::number(rule.number));
    case SmartRule::Kind::date:
        if (rule.dateOp == SmartRule::DateOp::never)
            return QStringLiteral("%1 %2").arg(field, label(rule.dateOp));
        return QStringLiteral("%1 %2 %3 %4")
            .arg(field, label(rule.dateOp), QString::number(rule.days),
                 SmartRule::dayUnit(rule.days));
    case SmartRule::Kind::flag:
        return QStringLiteral("%1 %2").arg(field, SmartRule::boolLabel(rule.field, rule.boolValue));
    case SmartRule::Kind::outcome:
        return QStringLiteral("%1 is %2").arg(field, label(rule.runResult));
    case SmartRule::Kind::color:
        return QStringLiteral("%1 %2 %3")
            .arg(field, SmartRule::boolLabel(rule.field, rule.boolValue), rule.text);
    case SmartRule::Kind::reference: {
        QString target = SmartRule::anyReferenceTitle(rule.field);
        if (!rule.referenceUUID.isEmpty()) {
            if (rule.field == SmartRule::Field::folder) {
                for (const LibraryFolder *f : context.folders())
                    if (f->uuid() == rule.referenceUUID)
                        target = pathOf(f);
            } else {
                for (const Tag *t : context.tags())
                    if (t->uuid() == rule.referenceUUID)
                        target = pathOf(t);
            }
        }
        return QStringLiteral("%1 %2 %3")
            .arg(field, SmartRule::boolLabel(rule.field, rule.boolValue), target);
    }
    }
    return field;
}
