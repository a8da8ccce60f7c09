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
    // The last run the library knows of ended in an error.
    lastRunFailed,
};
} // namespace ShortcutRoles

// Roles of the sidebar's model (SidebarModel).
namespace SidebarRoles {
enum Role {
    // SidebarModel::RowKind as an int: header, entry or hint.
    rowKind = Qt::UserRole + 100,
    // The section an entry selects, in LibrarySection's text form.
    section,
    // Shortcuts counted for the entry (absent for headers and hints).
    count,
    // Symbol name of the entry's icon.
    symbolName,
    // Tint of the icon; absent means the accent colour.
    tint,
    // uuid of the folder, tag or smart list behind the entry.
    uuid,
};
} // namespace SidebarRoles

// Roles of the health report's model (HealthReportModel).
namespace HealthReportRoles {
enum Role {
    // HealthReportModel::RowKind as an int: heading, note or entry.
    rowKind = Qt::UserRole + 200,
    // Symbol name of a heading or of the record an entry names.
    symbolName,
    // Tint of the symbol; absent means the accent colour.
    tint,
    // A heading's number of findings; an entry's detail text.
    secondaryText,
};
} // namespace HealthReportRoles

// Roles of the run history's model (RunHistoryModel). The display role is the first line of the
// output or error, with invisible characters escaped.
namespace RunHistoryRoles {
enum Role {
    // RunOutcome as an int.
    outcome = Qt::UserRole + 300,
    // When it started, relative to now, and how long it took: "5 minutes ago · 1.2 s".
    when,
};
} // namespace RunHistoryRoles
