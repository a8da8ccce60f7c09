#pragma once

#include "model/LibraryHealth.h"

#include <QHash>
#include <QObject>
#include <QTimer>

class ModelContext;
struct ModelChanges;

// The window's up-to-date health check of one library, shared by the sidebar's row and the
// report. It is redone after each (coalesced) change of the records that touches what the check
// reads (a favourite toggled on a present shortcut does not), and every hour, since "not run in
// 180 days" moves with the clock.
class LibraryHealthMonitor : public QObject {
    Q_OBJECT
public:
    // The context's monitor, made on first use and living as long as the context. Made before
    // anything that reads it on a change connects to the context, it is always current when
    // they hear of the change.
    static LibraryHealthMonitor &of(ModelContext &context);

    const LibraryHealth &health() const { return m_health; }

    // Checks again now.
    void recheck();

signals:
    // After each check, whether or not the findings changed (their texts read the records,
    // which may have changed all the same).
    void checked();

private:
    explicit LibraryHealthMonitor(ModelContext &context);
    void contextChanged(const ModelChanges &changes);
    bool leavesFindings(const ModelChanges &changes);

    ModelContext &m_context;
    LibraryHealth m_health;
    QTimer m_hourly;
    // What the check read of each shortcut, kept from the first change on.
    QHash<const ShortcutItem *, LibraryHealth::Inputs> m_inputs;
};
