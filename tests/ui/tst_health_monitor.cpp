// The window's health check, kept through changes that skip the check when they leave what it
// reads alone, must always equal a fresh check.

#include "../common/RandomEdits.h"
#include "model/Clock.h"
#include "model/ModelContext.h"
#include "ui/LibraryHealthMonitor.h"

#include <QSignalSpy>
#include <QTest>

namespace {
const QDateTime pinned = QDateTime(QDate(2024, 5, 1), QTime(12, 0), Qt::UTC);

QStringList described(const LibraryHealth &health)
{
    QStringList lines;
    for (const HealthGroup &group : health.groups)
        for (const HealthFinding &f : group.findings)
            lines << QStringLiteral("%1 %2 %3 %4 %5")
                         .arg(int(f.kind))
                         .arg(quintptr(f.record))
                         .arg(f.number)
                         .arg(f.extra)
                         .arg(f.detail());
    return lines;
}
} // namespace

class TestHealthMonitor : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        Clock::setOverride([] { return pinned; });
    }
    void cleanup() { Clock::setOverride({}); }

    void keptHealthEqualsAFreshCheck()
    {
        ModelContext ctx;
        RandomEdits edits(ctx, 11);
        edits.addFoldersAndTags(9);
        edits.addShortcuts(120, pinned);
        LibraryHealthMonitor &monitor = LibraryHealthMonitor::of(ctx);
        for (int round = 0; round < 400; ++round) {
            edits.round(round, pinned);
            QCoreApplication::sendPostedEvents(&ctx, QEvent::MetaCall);
            QCOMPARE(described(monitor.health()), described(LibraryHealth::of(ctx)));
        }
    }

    // A favourite toggled on a present shortcut is not what the check reads; on a missing one
    // it is (a missing shortcut that keeps organisation is a finding).
    void favouriteTogglesCheckOnlyWhenTheyMatter()
    {
        ModelContext ctx;
        auto *present = ctx.insert(new ShortcutItem(QStringLiteral("a"), QStringLiteral("A")));
        auto *missing = ctx.insert(new ShortcutItem(QStringLiteral("b"), QStringLiteral("B")));
        missing->setIsMissing(true);
        LibraryHealthMonitor &monitor = LibraryHealthMonitor::of(ctx);
        QSignalSpy checks(&monitor, &LibraryHealthMonitor::checked);
        QCoreApplication::sendPostedEvents(&ctx, QEvent::MetaCall);
        const qsizetype first = checks.size();

        present->setIsFavorite(true);
        QCoreApplication::sendPostedEvents(&ctx, QEvent::MetaCall);
        QCOMPARE(checks.size(), first);
        missing->setIsFavorite(true);
        QCoreApplication::sendPostedEvents(&ctx, QEvent::MetaCall);
        QCOMPARE(checks.size(), first + 1);
        QCOMPARE(monitor.health().problemCount(), 1);
    }
};

QTEST_MAIN(TestHealthMonitor)
#include "tst_health_monitor.moc"
