#include "sync/SyncPhase.h"

QString SyncPhase::description() const
{
    switch (kind) {
    case Kind::idle:
        return QStringLiteral("idle");
    case Kind::syncing:
        return QStringLiteral("syncing");
    case Kind::icons:
        return QStringLiteral("icons(%1, %2)").arg(done).arg(total);
    }
    return {};
}
