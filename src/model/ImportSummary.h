#pragma once

#include <QJsonObject>
#include <QMetaType>
#include <QString>

// What an organisation import added or changed (or, in a dry run, would).
struct ImportSummary {
    struct Counts {
        qint64 added = 0;
        qint64 changed = 0;
        qint64 unchanged = 0;
        bool operator==(const Counts &) const = default;
    };
    bool dryRun = false;
    Counts folders;
    Counts tags;
    Counts smartLists;
    // Added shortcuts are placeholders ("name:" + name) until a sync links them.
    Counts shortcuts;
    // Notes or folders that differed between the file and the library; the library's were kept.
    qint64 conflicts = 0;

    bool operator==(const ImportSummary &) const = default;

    // A few lines for people, e.g. "Folders: 2 new · 10 unchanged".
    QString text() const;
    // {"dryRun": …, "folders": {"added": …, "changed": …, "unchanged": …}, …, "conflicts": …}
    QJsonObject json() const;
};
Q_DECLARE_METATYPE(ImportSummary)
