#pragma once

#include <QMetaType>
#include <QString>

// The counts of one sync.
struct SyncSummary {
    qint64 added = 0;
    qint64 updated = 0;
    qint64 missing = 0;
    qint64 total = 0;

    // "120 shortcuts · 3 new · 2 missing": the total always, the other counts when non-zero.
    QString text() const;
    bool operator==(const SyncSummary &) const = default;
};
Q_DECLARE_METATYPE(SyncSummary)
