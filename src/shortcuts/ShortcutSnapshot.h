#pragma once

#include "model/ProcessedIcon.h"

#include <QByteArray>
#include <QDateTime>
#include <QHashFunctions>
#include <QString>
#include <optional>

// One shortcut as the Shortcuts app reports it, before it is merged into the library.
struct ShortcutSnapshot {
    QString identifier; // may be empty when only the name is known
    QString name;
    QString subtitle;
    QString colorHex;
    bool acceptsInput = false;
    qint64 actionCount = 0; // 0 or less: unknown
    QString folderName;
    std::optional<QDateTime> createdAt;
    std::optional<QDateTime> modifiedAt;
    std::optional<QByteArray> iconImageData;
    std::optional<IconProcessing::Result> processedIcon;
    std::optional<qint64> libraryOrder;

    bool operator==(const ShortcutSnapshot &) const = default;
};

size_t qHash(const ShortcutSnapshot &snapshot, size_t seed = 0);
