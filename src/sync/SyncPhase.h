#pragma once

#include <QMetaType>
#include <QObject>
#include <QString>

// What the sync controller is doing: nothing, a full sync, or the icon queue with its progress.
struct SyncPhase {
    Q_GADGET
    Q_PROPERTY(Kind kind MEMBER kind)
    Q_PROPERTY(qint64 done MEMBER done)
    Q_PROPERTY(qint64 total MEMBER total)

public:
    enum class Kind { idle, syncing, icons };
    Q_ENUM(Kind)

    Kind kind = Kind::idle;
    qint64 done = 0;  // icons only
    qint64 total = 0; // icons only

    static SyncPhase idle() { return {}; }
    static SyncPhase syncing() { return {Kind::syncing, 0, 0}; }
    static SyncPhase icons(qint64 done, qint64 total) { return {Kind::icons, done, total}; }

    bool isIdle() const { return kind == Kind::idle; }
    bool isSyncing() const { return kind == Kind::syncing; }
    bool isIcons() const { return kind == Kind::icons; }
    // "idle", "syncing" or "icons(done, total)".
    QString description() const;
    bool operator==(const SyncPhase &other) const
    {
        return kind == other.kind &&
               (kind != Kind::icons || (done == other.done && total == other.total));
    }
};
Q_DECLARE_METATYPE(SyncPhase)
