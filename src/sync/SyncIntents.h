#pragma once

#include "shortcuts/ShortcutSnapshot.h"

#include <QCoro/QCoroTask>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <optional>

class LibrarySyncController;

// The parameters of "Import Shortcut into Thimblecraft", in the command line's form:
// --name N [--identifier I] [--folder F] [--action-count N] [--icon FILE] [--created ISO]
// [--modified ISO] [--position N].
struct ImportShortcutRequest {
    QString name;
    std::optional<QString> identifier;
    std::optional<QString> folder;
    std::optional<qint64> actionCount;
    std::optional<QString> iconPath;
    std::optional<QDateTime> created;
    std::optional<QDateTime> modified;
    std::optional<qint64> position;

    static std::optional<ImportShortcutRequest> fromArguments(const QStringList &arguments,
                                                              QString *error);
    QStringList toArguments() const;
};

// What the helper shortcut calls: Begin, Import, Finish. Each performs on the main thread with
// the given controller.
namespace SyncIntents {
// Icon files larger than this are not read.
inline constexpr qint64 maxIconFileSize = 16 * 1024 * 1024;

struct Outcome {
    bool ok = false;
    QString text; // the result text, or the error's
};

// The snapshot an import stands for; the icon file is read and processed off the main thread.
QCoro::Task<ShortcutSnapshot> snapshot(ImportShortcutRequest request);

// action: "begin" (empty result), "import" (the name), "finish" (the summary text).
QCoro::Task<Outcome> perform(LibrarySyncController &controller, QString action,
                             QStringList arguments);
} // namespace SyncIntents
