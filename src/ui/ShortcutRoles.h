#pragma once

#include <Qt>

// Every custom item role of the window's models. Delegates paint from these.
namespace ShortcutRoles {
enum Role {
    // ShortcutItem * (as a void pointer in the QVariant; use ShortcutListModel::itemAt()).
    item = Qt::UserRole + 1,
    identifier,
    isFavorite,
    isMissing,
    isRunning,
    // Bumped whenever the model hears that the record changed: keys decoded-icon caches.
    revision,
};
} // namespace ShortcutRoles
