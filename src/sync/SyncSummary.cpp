#include "sync/SyncSummary.h"

#include <QStringList>

QString SyncSummary::text() const
{
    QStringList parts{QString::number(total) + QStringLiteral(" shortcuts")};
    if (added > 0)
        parts.append(QString::number(added) + QStringLiteral(" new"));
    if (updated > 0)
        parts.append(QString::number(updated) + QStringLiteral(" changed"));
    if (missing > 0)
        parts.append(QString::number(missing) + QStringLiteral(" missing"));
    return parts.join(QStringLiteral(" \u00B7 "));
}
