#pragma once

#include "model/ShortcutSort.h"

// The settings that steer the collection's sections, read from AppSettings::store().
namespace LibrarySettings {
// "sortKey": a ShortcutSort stored name; libraryOrder when absent or unknown.
ShortcutSort sortKey();
void setSortKey(ShortcutSort key);
// "sortAscending": true when absent.
bool sortAscending();
void setSortAscending(bool ascending);
// "includeSubfolders": folder sections also show the shortcuts of sub-folders; true when absent.
bool includeSubfolders();
void setIncludeSubfolders(bool include);
// "keepRunHistory": runs are recorded in the run history; true when absent.
bool keepRunHistory();
void setKeepRunHistory(bool keep);
} // namespace LibrarySettings
