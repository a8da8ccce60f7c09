#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <optional>

struct SimulatedLibrary;

// The simulated Shortcuts app's own database: a real "Shortcuts.sqlite" in its Shortcuts folder,
// with a ZSHORTCUT table shaped like the real one, so that linking that folder works here.
namespace SimulatedShortcutsDatabase {
struct Entry {
    QString identifier;
    QString name;
    std::optional<QDateTime> createdAt;
    std::optional<QDateTime> modifiedAt;
    std::optional<QDateTime> lastRunAt;
    QString appBundleID; // empty: no associated app
    bool userProvidedIcon = false;
    bool tombstoned = false;
    qint64 actionCount = 0;

    bool operator==(const Entry &) const = default;
};

// The Shortcuts folder of a simulated library: "Shortcuts" next to the library file.
QString folderFor(const QString &libraryPath);

// (Re)writes <folder>/Shortcuts.sqlite from the entries, atomically: a reader sees the old file
// or the new one, never a half-written one. Creates the folder when needed.
bool write(const QString &folder, const QList<Entry> &entries, QString *error = nullptr);

// write(), skipped when this process already wrote the same entries to that folder and the file
// is still there.
bool writeIfChanged(const QString &folder, const QList<Entry> &entries, QString *error = nullptr);

QList<Entry> entriesFor(const SimulatedLibrary &library);

// Keeps the database next to a library file current with that library; skipped while the
// library file keeps the size and modification time it had at the last write.
bool updateForLibrary(const SimulatedLibrary &library, const QString &libraryPath,
                      QString *error = nullptr);
} // namespace SimulatedShortcutsDatabase
