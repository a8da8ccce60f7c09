// The library health check: each finding on a library built here, and none on a healthy one
// that holds the look-alikes of every problem.

#include "model/Clock.h"
#include "model/LibraryHealth.h"
#include "model/ModelContext.h"
#include "model/SmartRuleSet.h"

#include <QTest>
#include <functional>

namespace {
const QDateTime pinnedNow = QDateTime(QDate(2024, 5, 1), QTime(12, 0), Qt::UTC);

QDateTime daysAgo(int days)
{
    return pinnedNow.addDays(-days);
}

// Each finding as "kind: subject · detail", in report order.
QStringList report(const ModelContext &context)
{
    QStringList lines;
    for (const HealthGroup &group : LibraryHealth::of(context).groups)
        for (const HealthFinding &finding : group.findings)
            lines.append(LibraryHealth::storedName(group.kind) + QStringLiteral(": ") +
                         finding.subject() + QStringLiteral(" · ") + finding.detail());
    return lines;
}

ShortcutItem *add(ModelContext &ctx, const QString &name, const QString &identifier = {})
{
    auto *item = ctx.insert(new ShortcutItem(
        identifier.isEmpty() ? QStringLiteral("ID-") + QString::number(ctx.shortcuts().size())
                             : identifier,
        name));
    item->setFirstSeenAt(daysAgo(10));
    return item;
}

struct Case {
    const char *name;
    std::function<void(ModelContext &)> build;
    QStringList expected;
};

const QList<Case> &cases()
{
    static const QList<Case> all = {
        {"shared name",
         [](ModelContext &c) {
             add(c, QStringLiteral("Lights"), QStringLiteral("L1"));
             add(c, QStringLiteral("Lights"), QStringLiteral("L2"));
         },
         {"duplicateNames: Lights · 1 other shortcut has this name · L1",
          "duplicateNames: Lights · 1 other shortcut has this name · L2"}},
        {"spaces at the ends",
         [](ModelContext &c) { add(c, QStringLiteral(" Timer ")); },
         {"unsafeNames: “ Timer ” · starts with a space, ends with a space"}},
        {"line break and escape",
         [](ModelContext &c) { add(c, QStringLiteral("Two\nlines \x1b[31m")); },
         {"unsafeNames: “Two\\nlines \\u{1B}[31m” · has a line break, has a control character"}},
        {"direction override",
         [](ModelContext &c) { add(c, QString::fromUtf8("txt\u202Eexe")); },
         {"unsafeNames: “txt\\u{202E}exe” · has a control character"}},
        {"quote and backslash",
         [](ModelContext &c) { add(c, QStringLiteral("Say \"hi\" \\ now")); },
         {"unsafeNames: “Say \"hi\" \\ now” · has a double quote, has a backslash"}},
        {"blank",
         [](ModelContext &c) { add(c, QStringLiteral(" \t ")); },
         {"unsafeNames: “ \\t ” · nothing left after trimming spaces"}},
        {"placeholder",
         [](ModelContext &c) { add(c, QStringLiteral("Later"), QStringLiteral("name:Later")); },
         {"unlinkedPlaceholders: Later · waiting for a sync"}},
        {"placeholder not found, organised",
         [](ModelContext &c) {
             ShortcutItem *item = add(c, QStringLiteral("Later"), QStringLiteral("name:Later"));
             item->setIsMissing(true);
             item->setIsFavorite(true);
         },
         {"unlinkedPlaceholders: Later · not found by the last sync"}},
        {"missing and organised",
         [](ModelContext &c) {
             ShortcutItem *item = add(c, QStringLiteral("Gone"));
             item->setIsMissing(true);
             item->setNotes(QStringLiteral("why"));
             item->addTag(c.tags().first());
             item->setFolder(c.folders().first());
             item->setIsFavorite(true);
         },
         {"organisedMissing: Gone · keeps notes, 1 tag, folder Home, favorite mark"}},
        {"not run in 180 days",
         [](ModelContext &c) {
             add(c, QStringLiteral("Forgotten"))->setFirstSeenAt(daysAgo(181));
             ShortcutItem *dormant = add(c, QStringLiteral("Dormant"));
             dormant->setNativeCreatedAt(daysAgo(400));
             dormant->setLastRunAt(daysAgo(181));
         },
         {"notRunRecently: Forgotten · never run; added 2023-11-02",
          "notRunRecently: Dormant · last run 2023-11-02"}},
        {"last run failed",
         [](ModelContext &c) {
             ShortcutItem *broken = add(c, QStringLiteral("Backup"));
             broken->setLastRunAt(daysAgo(1));
             broken->setLastRunOutcome(RunOutcome::failed);
             // Gone from Shortcuts: its failure is no longer anyone's problem.
             ShortcutItem *gone = add(c, QStringLiteral("Old Backup"));
             gone->setIsMissing(true);
             gone->setLastRunOutcome(RunOutcome::failed);
         },
         {"lastRunFailed: Backup · failed 2024-04-30"}},
        {"unreadable rules",
         [](ModelContext &c) {
             c.insert(new SmartList(QStringLiteral("Damaged"), SmartRuleSet()))
                 ->setRulesData("{\"matchAll\":true}");
         },
         {"unreadableRules: Damaged · shows every shortcut"}},
        {"deleted folder and tags",
         [](ModelContext &c) {
             auto *folder = c.insert(new LibraryFolder(QStringLiteral("Doomed")));
             auto *tag = c.insert(new Tag(QStringLiteral("Doomed"), QString()));
             SmartRuleSet rules;
             rules.rules[0].field = SmartRule::Field::folder;
             rules.rules[0].referenceUUID = folder->uuid();
             for (bool has : {true, false}) {
                 SmartRule rule;
                 rule.field = SmartRule::Field::tag;
                 rule.boolValue = has;
                 rule.referenceUUID = tag->uuid();
                 rules.rules.append(rule);
             }
             c.insert(new SmartList(QStringLiteral("Stale"), rules));
             c.deleteRecord(folder);
             c.deleteRecord(tag);
         },
         {"deletedReferences: Stale · 1 rule names a deleted folder; 2 rules name a deleted tag"}},
        {"empty folder with a subfolder, and an empty tag",
         [](ModelContext &c) {
             auto *outer = c.insert(new LibraryFolder(QStringLiteral("Outer")));
             c.insert(new LibraryFolder(QStringLiteral("Inner"), outer));
             // Under a folder in use, an empty one is named with its path.
             c.insert(new LibraryFolder(QStringLiteral("Spare"), c.folders().first()));
             c.insert(new Tag(QStringLiteral("Unused"), QString()));
         },
         {"emptyFolders: Home › Spare · no shortcuts",
          "emptyFolders: Outer · "
          "no shortcuts, nor in its subfolder",
          "emptyTags: Unused · no shortcuts"}},
    };
    return all;
}

// A library with no problem, holding what looks like one but is not.
void buildHealthy(ModelContext &c)
{
    auto *home = c.insert(new LibraryFolder(QStringLiteral("Home")));
    auto *lights = c.insert(new LibraryFolder(QStringLiteral("Lights"), home));
    auto *tag = c.insert(new Tag(QStringLiteral("Daily"), QString()));
    auto *child = c.insert(new Tag(QStringLiteral("Morning"), QString(), tag));
    ShortcutItem *a = add(c, QStringLiteral("Dad’s \"Timer\"").replace(u'"', u'”'));
    a->setFolder(lights); // the parent folder holds nothing itself
    a->addTag(child);
    add(c, QString::fromUtf8("👨‍👩‍👧 Family"))->setFolder(home);
    add(c, QStringLiteral("Dad's Alarm"))->addTag(tag); // an apostrophe is not a quote
    // Added long ago but run a minute inside the quiet bound; never run but added lately.
    ShortcutItem *old = add(c, QStringLiteral("Old"));
    old->setFirstSeenAt(daysAgo(900));
    old->setLastRunAt(daysAgo(LibraryHealth::quietDays).addSecs(60));
    add(c, QStringLiteral("New"));
    // Missing with nothing of the user's, and missing under the name of a present one.
    add(c, QStringLiteral("Gone"))->setIsMissing(true);
    add(c, QStringLiteral("New"))->setIsMissing(true);
    ShortcutItem *blankNotes = add(c, QStringLiteral("Gone too"));
    blankNotes->setIsMissing(true);
    blankNotes->setNotes(QStringLiteral("  \n"));
    SmartRuleSet rules;
    rules.rules[0].field = SmartRule::Field::tag;
    rules.rules[0].referenceUUID = tag->uuid();
    SmartRule anyFolder;
    anyFolder.field = SmartRule::Field::folder;
    rules.rules.append(anyFolder);
    c.insert(new SmartList(QStringLiteral("Daily"), rules));
}
} // namespace

class TestHealth : public QObject {
    Q_OBJECT
private slots:
    void initTestCase()
    {
        Clock::setOverride([] { return pinnedNow; });
    }
    void cleanupTestCase() { Clock::setOverride({}); }

    void healthyLibraryHasNoFindings()
    {
        ModelContext empty;
        QCOMPARE(LibraryHealth::of(empty).problemCount(), 0);
        ModelContext c;
        buildHealthy(c);
        QCOMPARE(report(c), QStringList());
    }

    void eachFinding_data()
    {
        QTest::addColumn<int>("row");
        for (int i = 0; i < cases().size(); ++i)
            QTest::newRow(cases()[i].name) << i;
    }
    void eachFinding()
    {
        QFETCH(int, row);
        ModelContext c;
        buildHealthy(c);
        cases()[row].build(c);
        QCOMPARE(report(c), cases()[row].expected);
        QCOMPARE(LibraryHealth::of(c).problemCount(), cases()[row].expected.size());
    }

    // Unreadable rules are told apart, while the list still shows what it showed.
    void unreadableRulesKeepTheirFallback()
    {
        ModelContext c;
        SmartList *list = c.insert(new SmartList(QStringLiteral("L"), SmartRuleSet()));
        QVERIFY(list->ruleSetIfReadable().has_value());
        list->setRulesData("not json");
        QVERIFY(!list->ruleSetIfReadable());
        QCOMPARE(list->ruleSet().rules.size(), 1);
        QCOMPARE(list->ruleSet().rules[0].text, QString());
    }

    // Groups follow the order of their kinds, whatever order the records came in.
    void groupsInKindOrder()
    {
        ModelContext c;
        c.insert(new Tag(QStringLiteral("Unused"), QString()));
        add(c, QStringLiteral("Later"), QStringLiteral("name:Later"));
        add(c, QStringLiteral(" x"));
        QList<HealthFinding::Kind> kinds;
        for (const HealthGroup &group : LibraryHealth::of(c).groups)
            kinds.append(group.kind);
        QCOMPARE(kinds, (QList<HealthFinding::Kind>{HealthFinding::Kind::unsafeName,
                                                    HealthFinding::Kind::unlinkedPlaceholder,
                                                    HealthFinding::Kind::emptyTag}));
    }
};

QTEST_GUILESS_MAIN(TestHealth)
#include "tst_health.moc"
