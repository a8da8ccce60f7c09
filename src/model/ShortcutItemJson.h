#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QList>

class ShortcutItem;

// The command line's JSON form of an item: record field names as keys, dates as ISO 8601 UTC,
// folder and tags by uuid, and hasIcon instead of the icon bytes.
QJsonObject shortcutItemJson(const ShortcutItem &item);
QJsonArray shortcutItemsJson(const QList<ShortcutItem *> &items);
