#include "model/LibrarySettings.h"

#include "model/AppSettings.h"

namespace {
const QString sortKeyKey = QStringLiteral("sortKey");
const QString sortAscendingKey = QStringLiteral("sortAscending");
const QString includeSubfoldersKey = QStringLiteral("includeSubfolders");
const QString keepRunHistoryKey = QStringLiteral("keepRunHistory");
} // namespace

ShortcutSort LibrarySettings::sortKey()
{
    const QString name = AppSettings::store().value(sortKeyKey).toString();
    return fromStoredName<ShortcutSort>(name).value_or(ShortcutSort::libraryOrder);
}

void LibrarySettings::setSortKey(ShortcutSort key)
{
    AppSettings::store().setValue(sortKeyKey, storedName(key));
}

bool LibrarySettings::sortAscending()
{
    return AppSettings::store().value(sortAscendingKey, true).toBool();
}

void LibrarySettings::setSortAscending(bool ascending)
{
    AppSettings::store().setValue(sortAscendingKey, ascending);
}

bool LibrarySettings::includeSubfolders()
{
    return AppSettings::store().value(includeSubfoldersKey, true).toBool();
}

void LibrarySettings::setIncludeSubfolders(bool include)
{
    AppSettings::store().setValue(includeSubfoldersKey, include);
}

bool LibrarySettings::keepRunHistory()
{
    return AppSettings::store().value(keepRunHistoryKey, true).toBool();
}

void LibrarySettings::setKeepRunHistory(bool keep)
{
    AppSettings::store().setValue(keepRunHistoryKey, keep);
}
