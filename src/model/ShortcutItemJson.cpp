#include "model/ShortcutItemJson.h"

#include "model/LibraryFolder.h"
#include "model/RunEntry.h"
#include "model/ShortcutItem.h"
#include "model/Tag.h"

namespace {
QJsonValue isoDate(const QDateTime &d)
{
    return d.toUTC().toString(Qt::ISODateWithMs);
}

QJsonValue isoDate(const std::optional<QDateTime> &d)
{
    return d ? isoDate(*d) : QJsonValue(QJsonValue::Null);
}
} // namespace

QJsonObject shortcutItemJson(const ShortcutItem &item)
{
    QJsonArray tags;
    for (const Tag *t : item.tags())
        tags.append(t->uuid());
    return QJsonObject{
        {QStringLiteral("identifier"), item.identifier()},
        {QStringLiteral("name"), item.name()},
        {QStringLiteral("subtitle"), item.subtitle()},
        {QStringLiteral("nativeFolderName"), item.nativeFolderName()},
        {QStringLiteral("colorHex"), item.colorHex()},
        {QStringLiteral("hasIcon"), item.hasIconData()},
        {QStringLiteral("iconTopHex"), item.iconTopHex()},
        {QStringLiteral("iconBottomHex"), item.iconBottomHex()},
        {QStringLiteral("libraryOrder"), item.libraryOrder()},
        {QStringLiteral("appBundleID"), item.appBundleID()},
        {QStringLiteral("iconAppBundleID"), item.iconAppBundleID()},
        {QStringLiteral("acceptsInput"), item.acceptsInput()},
        {QStringLiteral("actionCount"), item.actionCount()},
        {QStringLiteral("nativeCreatedAt"), isoDate(item.nativeCreatedAt())},
        {QStringLiteral("nativeModifiedAt"), isoDate(item.nativeModifiedAt())},
        {QStringLiteral("firstSeenAt"), isoDate(item.firstSeenAt())},
        {QStringLiteral("lastChangedAt"), isoDate(item.lastChangedAt())},
        {QStringLiteral("lastSeenAt"), isoDate(item.lastSeenAt())},
        {QStringLiteral("isMissing"), item.isMissing()},
        {QStringLiteral("isFavorite"), item.isFavorite()},
        {QStringLiteral("lastRunAt"), isoDate(item.lastRunAt())},
        {QStringLiteral("lastRunOutcome"), item.lastRunOutcome() == RunOutcome::none
                                               ? QStringLiteral("none")
                                               : storedName(item.lastRunOutcome())},
        {QStringLiteral("runCount"), item.runCount()},
        {QStringLiteral("notes"), item.notes()},
        {QStringLiteral("folder"),
         item.folder() ? QJsonValue(item.folder()->uuid()) : QJsonValue(QJsonValue::Null)},
        {QStringLiteral("tags"), tags},
    };
}

QJsonArray shortcutItemsJson(const QList<ShortcutItem *> &items)
{
    QJsonArray out;
    for (const ShortcutItem *i : items)
        out.append(shortcutItemJson(*i));
    return out;
}
