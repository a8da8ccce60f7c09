#pragma once

#include <QString>

// What opening a file and reading or writing its records agree on about the current schema.
namespace LibraryStoreSchema {
// The columns of shortcut_items that load() reads and write() fills, in that order.
extern const QString itemColumns;
constexpr int itemColumnCount = 23;
} // namespace LibraryStoreSchema
