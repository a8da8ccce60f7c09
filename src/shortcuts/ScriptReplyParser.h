#pragma once

#include "shortcuts/AppleEventDescriptor.h"

#include <QByteArray>
#include <QString>
#include <optional>

// Reads AppleScript's source form of a value (what `osascript -s s` prints) into a descriptor:
// lists, records, texts with their escapes, integers, reals, true/false, null, missing value,
// «data XXXX…» raw data, «class …»/«constant …», dates, and file, alias and POSIX file values.
// Bounded: deeper nesting than maximumDepth or more than maximumBytes fails cleanly.
namespace ScriptReplyParser {
constexpr int maximumDepth = 512;
constexpr qsizetype maximumBytes = 16 * 1024 * 1024;

struct Options {
    // Name of the startup disk: its HFS paths ("Macintosh HD:Users:…") map to "/Users/…";
    // other disks map to "/Volumes/NAME/…".
    QString startupVolume = QStringLiteral("Macintosh HD");
};

// Empty output (only white space) is a null reply. On failure *error says why.
std::optional<AppleEventDescriptor> parse(const QByteArray &utf8, QString *error = nullptr,
                                          const Options &options = {});
// The POSIX path of an HFS path.
QString posixPathFromHfs(const QString &hfsPath, const QString &startupVolume);
} // namespace ScriptReplyParser
