// Counts kept up to date change by change must always equal a fresh count of the library.

#include "../common/RandomEdits.h"
#include "model/Clock.h"
#include "model/ModelContext.h"
#include "model/SidebarCounts.h"
#include "model/SidebarTally.h"
#include "model/SmartRuleSet.h"

#include <QTest>

namespace {
QDateTime pinned = QDateTime(QDate(2024, 5, 1), QTime(12, 0), Qt::UTC);

SmartRuleSet rules(SmartRule::Field field, const QString &text = {}, bool includeMissing = false)
{
    SmartRuleSet set;
    set.rules.first().field = field;
    set.rules.first().text = text;
    set.rules.first().referenceUUID = text;
    set.includeMissing = includeMissing;
    return set;
}
} // namespace

class TestSidebarTally : public QObject {
    Q_OBJECT
    std::unique_ptr<ModelContext> ctx;
    std::unique_ptr<RandomEdits> edits;
    std::unique_ptr<SidebarTally> tally;

    // Hands the pending changes to the tally, as the sidebar gets them, then counts afresh.
    void check()
    {
        QCoreApplication::sendPostedEvents(ctx.get(), QEvent::MetaCall);
        compare(tally->counts(), SidebarCounts::of(*ctx));
    }
    void compare(const SidebarCounts &kept, const SidebarCounts &fresh)
    {
        QCOMPARE(kept.all, fresh.all);
        QCOMPARE(kept.favorites, fresh.favorites);
        QCOMPARE(kept.recent, fresh.recent);
        QCOMPARE(kept.unfiled, fresh.unfiled);
        QCOMPARE(kept.untagged, fresh.untagged);
        QCOMPARE(kept.missing, fresh.missing);
        QCOMPARE(kept.folders, fresh.folders);
        QCOMPARE(kept.tags, fresh.tags);
        QCOMPARE(kept.smartLists, fresh.smartLists);
        QCOMPARE(kept.nativeFolders, fresh.nativeFolders);
    }

private slots:
    void init()
    {
        Clock::setOverride([] { return pinned; });
        ctx = std::make_unique<ModelContext>();
        edits = std::make_unique<RandomEdits>(*ctx, 7);
        edits->addFoldersAndTags(12);
        const QString f0 = edits->folders.first()->uuid(), t0 = edits->tags.first()->uuid();
        ctx->insert(new SmartList(QStringLiteral("Mail"), rules(SmartRule::Field::name, "mail")));
        ctx->insert(new SmartList(QStringLiteral("Favourites"), rules(SmartRule::Field::favorite)));
        ctx->insert(new SmartList(QStringLiteral("Missing too"),
                                  rules(SmartRule::Field::name, "mail", true)));
        ctx->insert(new SmartList(QStringLiteral("Under F0"), rules(SmartRule::Field::folder, f0)));
        ctx->insert(new SmartList(QStringLiteral("Under T0"), rules(SmartRule::Field::tag, t0)));
        ctx->insert(new SmartList(QStringLiteral("Run lately"), rules(SmartRule::Field::lastRun)));
        edits->addShortcuts(150, pinned);
        QCoreApplication::sendPostedEvents(ctx.get(), QEvent::MetaCall);
        tally = std::make_unique<SidebarTally>(*ctx);
        connect(ctx.get(), &ModelContext::changed, this,
                [this](const ModelChanges &changes) { tally->apply(changes); });
    }

    void cleanup()
    {
        tally.reset();
        edits.reset();
        ctx.reset();
        Clock::setOverride({});
    }

    void keptCountsEqualAFreshCount()
    {
        for (int round = 0; round < 400; ++round) {
            edits->round(round, pinned);
            check();
            if (QTest::currentTestFailed())
                QFAIL(qPrintable(QStringLiteral("round %1").arg(round)));
        }
    }

    // A shortcut tagged with a tag and its parent counts once in the parent, and leaves it once.
    void nestedTagsCountOnce()
    {
        ShortcutItem *item = ctx->shortcuts().first();
        item->setIsMissing(false);
        item->setTags({edits->tags[1], edits->tags[0]});
        check();
        for (const bool missing : {true, false}) {
            item->setIsMissing(missing);
            check();
        }
        ctx->deleteRecord(item);
        check();
    }

    // A change to every shortcut at once, as a sync makes.
    void manyChangesAtOnce()
    {
        for (ShortcutItem *item : ctx->shortcuts())
            item->setIsFavorite(!item->isFavorite());
        check();
        edits->editOne(ctx->shortcuts().first(), pinned);
        check();
    }

    // A large library is counted in parts on several threads; the parts add up to one pass.
    void partsAddUpToOnePass()
    {
        edits->addShortcuts(60'000, pinned);
        const auto onePass = SidebarCounts::of(*ctx, SidebarCounts::listsOf(*ctx),
                                               [](const ShortcutItem &, const auto &) {});
        QVERIFY(onePass.all > 0 && onePass.missing > 0 && onePass.nativeFolders.size() == 3);
        compare(SidebarCounts::of(*ctx), onePass);
    }

    // Date rules are counted again once the clock has moved on, even for shortcuts that did
    // not change.
    void dateRulesFollowTheClock()
    {
        ShortcutItem *untouched = ctx->shortcuts().last();
        untouched->setIsMissing(false);
        untouched->setLastRunAt(pinned.addDays(-6));
        check();
        ctx->shortcuts().first()->setIsFavorite(!ctx->shortcuts().first()->isFavorite());
        check();
        pinned = pinned.addDays(2);
        ctx->shortcuts().first()->setIsFavorite(!ctx->shortcuts().first()->isFavorite());
        check();
        pinned = pinned.addDays(-2);
    }
};

QTEST_GUILESS_MAIN(TestSidebarTally)
#include "tst_sidebar_tally.moc"
