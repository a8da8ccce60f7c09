#include "app/ReadCommands.h"

#include "app/CommandLine.h"
#include "app/ConsoleOutput.h"
#include "app/HistoryCommand.h"
#include "model/FlattenedTree.h"
#include "model/LibraryLookup.h"
#include "model/LibraryQuery.h"
#include "model/ModelContext.h"
#include "model/ShortcutItem.h"
#include "model/ShortcutItemJson.h"
#include "model/SidebarCounts.h"
#include "model/SmartList.h"
#include "model/SmartRuleSet.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {
int printJson(const QJsonValue &value)
{
    const QJsonDocument document =
        value.isArray() ? QJsonDocument(value.toArray()) : QJsonDocument(value.toObject());
    printTo(stdout, QString::fromUtf8(document.toJson(QJsonDocument::Indented)));
    return 0;
}

QString countText(qsizetype direct, qsizetype total, const QString &below)
{
    const QString own =
        direct == 1 ? QStringLiteral("1 shortcut") : QStringLiteral("%1 shortcuts").arg(direct);
    return total == direct ? own
                           : QStringLiteral("%1 (%2 %3)").arg(own, QString::number(total), below);
}

qsizetype visibleCount(const QList<ShortcutItem *> &items)
{
    qsizetype n = 0;
    for (const ShortcutItem *item : items)
        n += item->isMissing() ? 0 : 1;
    return n;
}

// Folders and tags print alike: a tree of names, each with its counts and uuid.
template<typename T>
int printTree(const QList<TreeEntry<T>> &entries, const QHash<QString, qsizetype> &totals,
              const QString &below, bool json)
{
    QJsonArray array;
    QString text;
    for (const TreeEntry<T> &entry : entries) {
        const T *record = entry.record;
        const qsizetype direct = visibleCount(record->shortcuts());
        const qsizetype total = totals.value(record->uuid());
        if (json) {
            array.append(QJsonObject{
                {QStringLiteral("uuid"), record->uuid()},
                {QStringLiteral("title"), record->name()},
                {QStringLiteral("path"), LibraryLookup::pathText(record)},
                {QStringLiteral("depth"), entry.depth},
                {QStringLiteral("parent"),
                 record->parent() ? QJsonValue(record->parent()->uuid()) : QJsonValue()},
                {QStringLiteral("count"), direct},
                {QStringLiteral("totalCount"), total}});
        } else {
            text += QString(entry.depth * 2, u' ') + record->name() + QStringLiteral("  ·  ") +
                    countText(direct, total, below) + QStringLiteral("  ·  ") + record->uuid() +
                    QLatin1Char('\n');
        }
    }
    if (json)
        return printJson(array);
    printTo(stdout, text);
    return 0;
}

QString dateText(const std::optional<QDateTime> &date)
{
    return date ? date->toUTC().toString(Qt::ISODateWithMs) : QStringLiteral("never");
}
} // namespace

ShortcutItem *uniqueShortcut(const ModelContext &context, const QString &reference, int *exitCode,
                             QString *message)
{
    const QList<ShortcutItem *> found = LibraryLookup::shortcutsFor(context, reference);
    if (found.size() == 1)
        return found.first();
    if (found.isEmpty()) {
        *exitCode = 1;
        *message = QStringLiteral("no shortcut is called or identified by \"%1\"").arg(reference);
        return nullptr;
    }
    *exitCode = 2;
    QString list;
    for (const ShortcutItem *item : found)
        list += QStringLiteral("\n  %1  (%2)").arg(item->name(), item->identifier());
    *message = QStringLiteral("\"%1\" names %2 shortcuts; use an identifier:%3")
                   .arg(reference, QString::number(found.size()), list);
    return nullptr;
}

int runFoldersCommand(const ModelContext &context, const CommandLine &commandLine)
{
    return printTree(flattenedTree(context.folders()), SidebarCounts::of(context).folders,
                     QStringLiteral("with subfolders"), commandLine.json);
}

int runTagsCommand(const ModelContext &context, const CommandLine &commandLine)
{
    return printTree(flattenedTree(context.tags()), SidebarCounts::of(context).tags,
                     QStringLiteral("with nested tags"), commandLine.json);
}

int runSmartListsCommand(const ModelContext &context, const CommandLine &commandLine)
{
    const SidebarCounts counts = SidebarCounts::of(context);
    QJsonArray array;
    QString text;
    for (const SmartList *list : context.smartLists()) {
        const SmartRuleSet rules = list->ruleSet();
        QStringList ruleTexts;
        for (const SmartRule &rule : rules.rules)
            ruleTexts.append(LibraryLookup::ruleText(rule, context));
        const qsizetype count = counts.smartLists.value(list->uuid());
        const QString match = rules.matchAll ? QStringLiteral("all") : QStringLiteral("any");
        if (commandLine.json) {
            array.append(
                QJsonObject{{QStringLiteral("uuid"), list->uuid()},
                            {QStringLiteral("name"), list->name()},
                            {QStringLiteral("match"), match},
                            {QStringLiteral("rules"), QJsonArray::fromStringList(ruleTexts)},
                            {QStringLiteral("sort"), storedName(rules.sort)},
                            {QStringLiteral("ascending"), rules.ascending},
                            {QStringLiteral("includeMissing"), rules.includeMissing},
                            {QStringLiteral("count"), count}});
        } else {
            text += QStringLiteral("%1  ·  %2  ·  %3\n  Match %4 of:\n")
                        .arg(list->name(), countText(count, count, QString()), list->uuid(), match);
            for (const QString &rule : std::as_const(ruleTexts))
                text += QStringLiteral("    %1\n").arg(rule);
            text += QStringLiteral("  Sorted by %1\n").arg(title(rules.sort));
        }
    }
    if (commandLine.json)
        return printJson(array);
    printTo(stdout, text);
    return 0;
}

int runShowCommand(const ModelContext &context, const CommandLine &commandLine)
{
    int exitCode = 0;
    QString message;
    const ShortcutItem *item = uniqueShortcut(context, commandLine.shortcut, &exitCode, &message);
    if (!item) {
        printTo(stderr, QStringLiteral("thimblecraft: %1\n").arg(message));
        return exitCode;
    }
    QStringList tagPaths;
    for (const Tag *tag : item->tags())
        tagPaths.append(LibraryLookup::pathText(tag));
    const QString folderPath = LibraryLookup::pathText(item->folder());
    RunHistoryFilter latestRun;
    latestRun.itemId = item->persistentId();
    latestRun.limit = 1;
    const QList<RunEntry> latest = context.runHistory(latestRun);
    if (commandLine.json) {
        QJsonObject object = shortcutItemJson(*item);
        object.insert(QStringLiteral("folderPath"), folderPath);
        object.insert(QStringLiteral("tagPaths"), QJsonArray::fromStringList(tagPaths));
        object.insert(QStringLiteral("latestOutcome"),
                      latest.isEmpty() ? QJsonValue() : runEntryJson(latest.first(), item));
        return printJson(object);
    }
    QString latestText;
    if (!latest.isEmpty()) {
        const RunEntry &run = latest.first();
        latestText = dateText(run.startedAt) + QStringLiteral(", ") + runEntrySummary(run);
        if (!run.firstLine().isEmpty())
            latestText += QStringLiteral(": ") + run.firstLine();
    }
    const QList<std::pair<QString, QString>> rows{
        {QStringLiteral("Identifier"), item->identifier()},
        {QStringLiteral("Subtitle"), item->subtitle()},
        {QStringLiteral("Folder"), folderPath},
        {QStringLiteral("Tags"), tagPaths.join(QStringLiteral(", "))},
        {QStringLiteral("Favorite"),
         item->isFavorite() ? QStringLiteral("yes") : QStringLiteral("no")},
        {QStringLiteral("Missing"),
         item->isMissing() ? QStringLiteral("yes") : QStringLiteral("no")},
        {QStringLiteral("Shortcuts folder"), item->nativeFolderName()},
        {QStringLiteral("Accepts input"),
         item->acceptsInput() ? QStringLiteral("yes") : QStringLiteral("no")},
        {QStringLiteral("Actions"), QString::number(item->actionCount())},
        {QStringLiteral("Color"), item->colorHex()},
        {QStringLiteral("Runs"), QString::number(item->runCount())},
        {QStringLiteral("Last run"), dateText(item->lastRunAt())},
        {QStringLiteral("Latest outcome"), latestText},
        {QStringLiteral("Created"), dateText(item->nativeCreatedAt())},
        {QStringLiteral("Modified"), dateText(item->nativeModifiedAt())},
        {QStringLiteral("Added"), dateText(std::optional<QDateTime>(item->firstSeenAt()))},
    };
    QString text = item->name() + QLatin1Char('\n');
    for (const auto &[label, value] : rows)
        if (!value.isEmpty())
            text += QStringLiteral("  %1: %2\n").arg(label, value);
    if (!item->notes().isEmpty())
        text += QStringLiteral("  Notes:\n    ") +
                QString(item->notes()).replace(QLatin1Char('\n'), QStringLiteral("\n    ")) +
                QLatin1Char('\n');
    printTo(stdout, text);
    return 0;
}
