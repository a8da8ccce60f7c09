#pragma once

#include "model/RunOutcome.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <optional>

// Where a run came from.
enum class RunSource { window, commandLine, link, callback };

// One run of one shortcut in the run history.
struct RunEntry {
    // Bounds: the oldest entries go first.
    static constexpr int maxPerShortcut = 100;
    static constexpr int maxEntries = 20000;
    // Input and output texts are cut to this many UTF-8 bytes, marker included.
    static constexpr int maxTextBytes = 64 * 1024;

    qint64 id = 0;
    qint64 itemId = 0; // the shortcut record's persistent id: survives re-links
    QDateTime startedAt;
    std::optional<qint64> durationMs;      // unknown for callbacks and unfinished runs
    std::optional<QString> input;          // absent when the run had no input
    RunOutcome outcome = RunOutcome::none; // none: still running, or the program ended meanwhile
    QString text;                          // the output, or the error
    RunSource source = RunSource::window;

    bool operator==(const RunEntry &) const = default;

    // text cut to maxTextBytes with a visible "…(truncated)" at the end.
    static QString capped(const QString &text);
    // The first line of the text that is not blank, for a one-line summary.
    QString firstLine() const;
};

// "window", "commandLine", "link", "callback"; nothing for an unknown name.
QString storedName(RunSource source);
std::optional<RunSource> runSourceFromStoredName(const QString &name);
// "Window", "Command Line", "Link", "Callback".
QString title(RunSource source);
// "succeeded", "failed", "unfinished".
QString storedName(RunOutcome outcome);
// "450 ms", "1.2 s", "2 min 5 s".
QString runDurationText(qint64 ms);
// "succeeded in 1.2 s", "failed after 300 ms", "unfinished".
QString runEntrySummary(const RunEntry &entry);

// Which entries to read, newest first.
struct RunHistoryFilter {
    qint64 itemId = 0;  // 0: every shortcut
    qint64 entryId = 0; // 0: every entry
    std::optional<QDateTime> since;
    bool failedOnly = false;
    int limit = -1; // -1: all
};

// What a save writes to the run history beside the records.
struct RunHistoryChanges {
    QList<RunEntry> added;
    QList<RunEntry> finished; // by id: outcome, text and duration
    QList<qint64> clearedItems;
    bool clearedAll = false;
    bool isEmpty() const
    {
        return added.isEmpty() && finished.isEmpty() && clearedItems.isEmpty() && !clearedAll;
    }
};
