// Rule evaluation, colour families and sorting.

#include "common/ItemNames.h"
#include "model/Clock.h"
#include "model/ColorFamily.h"
#include "model/ColorHex.h"
#include "model/ModelContext.h"
#include "model/ShortcutSort.h"
#include "model/SmartRuleSet.h"

#include <QTest>

namespace {
const QDateTime pinnedNow = QDateTime(QDate(2024, 5, 1), QTime(12, 0), Qt::UTC);

SmartRule rule(SmartRule::Field field)
{
    SmartRule r;
    r.field = field;
    return r;
}

} // namespace

class TestEvaluation : public QObject {
    Q_OBJECT
    ModelContext *ctx = nullptr;

    ShortcutItem *item(const QString &name)
    {
        return ctx->insert(new ShortcutItem(QStringLiteral("id-") + name, name));
    }
    // The names of the items the rule selects, in creation order.
    QStringList matching(const SmartRule &r) const
    {
        QStringList out;
        for (const ShortcutItem *i : ctx->shortcuts())
            if (r.matches(*i))
                out << i->name();
        return out;
    }

private slots:
    void initTestCase()
    {
        Clock::setOverride([] { return pinnedNow; });
    }
    void cleanupTestCase() { Clock::setOverride({}); }
    void init() { ctx = new ModelContext; }
    void cleanup() { delete ctx; }

    void colorFamilies_data()
    {
        QTest::addColumn<QString>("hex");
        QTest::addColumn<QString>("family");
        // Gray border: delta 30/255 = 0.1176 is under 0.12, 31/255 = 0.1216 over. Ties for the
        // maximum: red over green over blue. Dark muted orange is brown only below max 0.6.
        const char *cases[][3] = {
            {"red", "#FF0000", "Red"},
            {"orange h30", "#FF8000", "Orange"},
            {"olive h60", "#808000", "Yellow"},
            {"saddle brown is saturated", "#8B4513", "Orange"},
            {"brown", "#7F5F3F", "Brown"},
            {"pink h329.9", "#FF0080", "Pink"},
            {"gray", "#777777", "Gray"},
            {"empty is fallback gray", "", "Gray"},
            {"malformed is fallback gray", "#12345", "Gray"},
            {"delta below gray border", "#1E0000", "Gray"},
            {"delta above gray border", "#1F0000", "Red"},
            {"blue", "#0000FF", "Blue"},
            {"tie red and green: red wins, h60", "#FFFF00", "Yellow"},
            {"tie green and blue: green wins, h180", "#00FFFF", "Teal"},
            {"tie red and blue: red wins, h300", "#FF00FF", "Pink"},
            {"h335 is red", "#FF0044", "Red"},
            {"h270 purple", "#8000FF", "Purple"},
            {"h255 indigo", "#4000FF", "Indigo"},
            {"h120 green", "#00FF00", "Green"},
            {"muted at max 0.6 stays orange", "#996633", "Orange"},
        };
        for (const auto &c : cases)
            QTest::newRow(c[0]) << QString(c[1]) << QString(c[2]);
    }

    void colorFamilies()
    {
        QFETCH(QString, hex);
        QFETCH(QString, family);
        const RGBComponents c = rgbComponents(hex);
        QCOMPARE(colorFamilyName(c.red, c.green, c.blue), family);
        QVERIFY(colorFamilyNames().contains(family));

        ShortcutItem *i = item(QStringLiteral("x"));
        i->setColorHex(hex);
        SmartRule r = rule(SmartRule::Field::color);
        r.text = family;
        QVERIFY(r.matches(*i));
        r.boolValue = false;
        QVERIFY(!r.matches(*i));
        r.text = family.toLower(); // exact comparison
        QVERIFY(r.matches(*i));
    }

    void textRules_data()
    {
        QTest::addColumn<int>("op");
        QTest::addColumn<QString>("needle");
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("matches");
        using Op = SmartRule::TextOp;
        const struct {
            const char *row;
            Op op;
            const char *needle, *value;
            bool matches;
        } cases[] = {
            {"only spaces matches all", Op::contains, " \t ", "Mail", true},
            {"empty notContains matches", Op::notContains, "", "Mail", true},
            {"equals ignores case", Op::equals, "mail", "Mail", true},
            {"no diacritic folding", Op::equals, "Cafe", "Café", false},
            {"non-ascii lower-cased", Op::equals, "CAFÉ", "café", true},
            {"non-ascii value contains", Op::contains, "ÉT", "Été", true},
            {"needle trimmed", Op::equals, "  mail\t", "Mail", true},
            {"value not trimmed", Op::equals, "mail", " Mail", false},
            {"line break not trimmed", Op::equals, "mail\n", "Mail", false},
            {"contains", Op::contains, "AIL", "Send Mail", true},
            {"notContains", Op::notContains, "ail", "Send Mail", false},
            {"beginsWith", Op::beginsWith, "send", "Send Mail", true},
            {"beginsWith no", Op::beginsWith, "mail", "Send Mail", false},
            {"endsWith", Op::endsWith, "MAIL", "Send Mail", true},
            {"endsWith longer needle", Op::endsWith, "a send mail", "Send Mail", false},
            {"empty value", Op::contains, "a", "", false},
        };
        for (const auto &c : cases)
            QTest::newRow(c.row) << int(c.op) << QString::fromUtf8(c.needle)
                                 << QString::fromUtf8(c.value) << c.matches;
    }

    void textRules()
    {
        QFETCH(int, op);
        QFETCH(QString, needle);
        QFETCH(QString, value);
        QFETCH(bool, matches);
        SmartRule r;
        r.textOp = SmartRule::TextOp(op);
        r.text = needle;
        QCOMPARE(r.matchesText(value), matches);
        // Each text field tests its own property; the others are empty.
        const QList<std::pair<SmartRule::Field, void (ShortcutItem::*)(const QString &)>> fields{
            {SmartRule::Field::name, &ShortcutItem::setName},
            {SmartRule::Field::subtitle, &ShortcutItem::setSubtitle},
            {SmartRule::Field::notes, &ShortcutItem::setNotes},
            {SmartRule::Field::nativeFolder, &ShortcutItem::setNativeFolderName}};
        for (const auto &[field, setter] : fields) {
            ShortcutItem *i = ctx->insert(new ShortcutItem(QString(), QString()));
            (i->*setter)(value);
            r.field = field;
            QCOMPARE(r.matches(*i), matches);
        }
    }

    void flagAndNumberRules()
    {
        ShortcutItem *i = item(QStringLiteral("a"));
        i->setActionCount(3);
        i->setRunCount(0);
        i->setIsFavorite(true);
        SmartRule r = rule(SmartRule::Field::actionCount);
        r.number = 3;
        QVERIFY(!r.matches(*i)); // strictly greater
        r.numberOp = SmartRule::NumberOp::equals;
        QVERIFY(r.matches(*i));
        r.numberOp = SmartRule::NumberOp::lessThan;
        QVERIFY(!r.matches(*i));
        r.field = SmartRule::Field::runCount;
        QVERIFY(r.matches(*i));

        SmartRule flag = rule(SmartRule::Field::favorite);
        QVERIFY(flag.matches(*i));
        flag.field = SmartRule::Field::acceptsInput;
        QVERIFY(!flag.matches(*i));
        flag.boolValue = false;
        QVERIFY(flag.matches(*i));
        flag.field = SmartRule::Field::missing;
        QVERIFY(flag.matches(*i));
    }

    void dateRules()
    {
        const QDateTime weekAgo = pinnedNow.addDays(-7);
        const std::pair<const char *, QDateTime> runs[] = {{"now", pinnedNow},
                                                           {"earlier", pinnedNow.addSecs(-1)},
                                                           {"week", weekAgo},
                                                           {"long ago", weekAgo.addMSecs(-1)}};
        for (const auto &[name, at] : runs)
            item(QString::fromLatin1(name))->setLastRunAt(at);
        ShortcutItem *never = item(QStringLiteral("never"));
        const QList<ShortcutItem *> all = ctx->shortcuts();

        SmartRuleSet set;
        SmartRule &r = set.rules.first();
        r.field = SmartRule::Field::lastRun;
        QCOMPARE(names(set.items(all)),
                 QStringList({"now", "earlier", "week"})); // 7 days, inclusive
        r.dateOp = SmartRule::DateOp::notWithinDays;
        QCOMPARE(names(set.items(all)), QStringList({"long ago", "never"}));
        r.dateOp = SmartRule::DateOp::never;
        QCOMPARE(names(set.items(all)), QStringList({"never"}));

        // A negative count acts as 0: the cutoff is now itself.
        r.days = -5;
        r.dateOp = SmartRule::DateOp::withinDays;
        QCOMPARE(names(set.items(all)), QStringList({"now"}));
        r.days = 0;
        QCOMPARE(names(set.items(all)), QStringList({"now"}));
        // A count too large to subtract reaches back to every date.
        r.days = std::numeric_limits<qint64>::max();
        QCOMPARE(set.items(all).size(), 4);

        // Added and modified dates are never absent: they fall back to first seen / last change.
        never->setFirstSeenAt(pinnedNow.addDays(-30));
        never->setNativeCreatedAt(pinnedNow.addDays(-1));
        SmartRule added = rule(SmartRule::Field::dateAdded);
        QVERIFY(added.matches(*never)); // native creation date wins
        added.dateOp = SmartRule::DateOp::never;
        QVERIFY(!added.matches(*never));
        SmartRule modified = rule(SmartRule::Field::modified);
        modified.dateOp = SmartRule::DateOp::notWithinDays;
        never->setLastChangedAt(pinnedNow.addDays(-8));
        QVERIFY(modified.matches(*never));
        never->setNativeModifiedAt(pinnedNow);
        QVERIFY(!modified.matches(*never));
    }

    void referenceRules()
    {
        Tag *x = ctx->insert(new Tag(QStringLiteral("X"), QString()));
        Tag *child = ctx->insert(new Tag(QStringLiteral("child"), QString(), x));
        Tag *grandchild = ctx->insert(new Tag(QStringLiteral("grandchild"), QString(), child));
        Tag *other = ctx->insert(new Tag(QStringLiteral("other"), QString()));
        LibraryFolder *top = ctx->insert(new LibraryFolder(QStringLiteral("Top")));
        LibraryFolder *deep = ctx->insert(new LibraryFolder(
            QStringLiteral("Deep"), ctx->insert(new LibraryFolder(QStringLiteral("Mid"), top))));
        ShortcutItem *inGrandchild = item(QStringLiteral("grandchild tagged"));
        inGrandchild->addTag(other);
        inGrandchild->addTag(grandchild);
        inGrandchild->setFolder(deep);
        item(QStringLiteral("plain"));
        ShortcutItem *onlyOther = item(QStringLiteral("other tagged"));
        onlyOther->addTag(other);
        onlyOther->setFolder(top);

        const QStringList all{"grandchild tagged", "plain", "other tagged"};
        SmartRule tag = rule(SmartRule::Field::tag);
        tag.referenceUUID = x->uuid();
        QCOMPARE(matching(tag), QStringList{"grandchild tagged"});
        tag.boolValue = false;
        QCOMPARE(matching(tag), QStringList({"plain", "other tagged"}));
        tag.referenceUUID.clear(); // "any tag", negated: untagged items
        QCOMPARE(matching(tag), QStringList{"plain"});
        tag.boolValue = true;
        QCOMPARE(matching(tag), QStringList({"grandchild tagged", "other tagged"}));
        // A child's uuid does not select items tagged with its parent only.
        tag.referenceUUID = grandchild->uuid();
        QCOMPARE(matching(tag), QStringList{"grandchild tagged"});

        SmartRule folder = rule(SmartRule::Field::folder);
        QCOMPARE(matching(folder), QStringList({"grandchild tagged", "other tagged"}));
        folder.boolValue = false;
        QCOMPARE(matching(folder), QStringList{"plain"});
        folder.referenceUUID = top->uuid(); // the first item is in Top at depth 2
        QCOMPARE(matching(folder), QStringList{"plain"});
        folder.boolValue = true;
        QCOMPARE(matching(folder), QStringList({"grandchild tagged", "other tagged"}));
        folder.referenceUUID = deep->uuid();
        QCOMPARE(matching(folder), QStringList{"grandchild tagged"});

        // A deleted reference finds nothing.
        const QString xUuid = x->uuid();
        ctx->deleteRecord(x);
        tag.referenceUUID = xUuid;
        QVERIFY(matching(tag).isEmpty());
        tag.boolValue = false;
        QCOMPARE(matching(tag), all);
    }

    // One matcher tests many items and keeps its answers per colour and per folder or tag: an
    // answer kept for one item must never be handed to another that differs.
    void matcherAnswersAgreeWithFreshOnes()
    {
        const QStringList colors{
            QStringLiteral("#FF0000"),      QStringLiteral("#FF9500"), QString(),
            QStringLiteral("  #ff9500\t "), QStringLiteral("#FF950"),  QStringLiteral("FF9500"),
            QStringLiteral("#FF9500 "),     QStringLiteral("#0000FF")};
        Tag *top = ctx->insert(new Tag(QStringLiteral("Top"), QString()));
        Tag *below = ctx->insert(new Tag(QStringLiteral("Below"), QString(), top));
        // Another library whose records have the same ids but other places in their trees.
        ModelContext other;
        Tag *otherTop = other.insert(new Tag(QStringLiteral("Top"), QString()));
        Tag *otherBelow = other.insert(new Tag(QStringLiteral("Below"), QString()));
        QCOMPARE(otherBelow->persistentId(), below->persistentId());
        QList<ShortcutItem *> all;
        for (int i = 0; i < 32; ++i) {
            ModelContext &owner = i % 2 ? other : *ctx;
            auto *shortcut = owner.insert(new ShortcutItem(QString::number(i), QString::number(i)));
            shortcut->setColorHex(colors[i % colors.size()]);
            shortcut->addTag(i % 2 ? (i % 4 == 1 ? otherTop : otherBelow) : (i % 4 ? below : top));
            all.append(shortcut);
        }
        SmartRule orange = rule(SmartRule::Field::color);
        orange.text = QStringLiteral("Orange");
        SmartRule inTop = rule(SmartRule::Field::tag);
        inTop.referenceUUID = top->uuid();
        for (const SmartRule &r : {orange, inTop}) {
            SmartRuleSet set;
            set.rules = {r};
            QList<ShortcutItem *> expected;
            for (ShortcutItem *shortcut : all)
                if (r.matches(*shortcut))
                    expected.append(shortcut);
            QCOMPARE(set.items(all), expected);
            QVERIFY(!expected.isEmpty() && expected.size() < all.size());
        }
    }

    void ruleSetSelection()
    {
        ShortcutItem *mail = item(QStringLiteral("Mail"));
        ShortcutItem *notes = item(QStringLiteral("Notes"));
        notes->setIsFavorite(true);
        ShortcutItem *gone = item(QStringLiteral("Gone Mail"));
        gone->setIsMissing(true);
        const QList<ShortcutItem *> all = ctx->shortcuts();

        SmartRuleSet set;
        set.rules.clear();
        QCOMPARE(set.items(all), QList<ShortcutItem *>({mail, notes}));
        set.includeMissing = true;
        QCOMPARE(set.items(all), all);
        QCOMPARE(SmartRuleSet().items(all), QList<ShortcutItem *>({mail, notes}));

        SmartRule name = rule(SmartRule::Field::name);
        name.text = QStringLiteral("mail");
        SmartRule favorite = rule(SmartRule::Field::favorite);
        set.rules = {name, favorite};
        QVERIFY(set.items(all).isEmpty());
        set.matchAll = false;
        QCOMPARE(set.items(all), QList<ShortcutItem *>({mail, notes, gone}));
        QVERIFY(set.selects(*gone));
        set.includeMissing = false;
        QVERIFY(!set.selects(*gone));
        // A missing rule cannot bring back missing items while they are excluded.
        set.rules = {rule(SmartRule::Field::missing)};
        QVERIFY(set.items(all).isEmpty());
    }

    void sorting()
    {
        ShortcutItem *upperB = item(QStringLiteral("B"));
        ShortcutItem *lowerA = item(QStringLiteral("a"));
        QCOMPARE(sorted({upperB, lowerA}, ShortcutSort::libraryOrder, true),
                 QList<ShortcutItem *>({upperB, lowerA})); // code points: "B" < "a"
        QCOMPARE(sorted({upperB, lowerA}, ShortcutSort::name, true),
                 QList<ShortcutItem *>({lowerA, upperB}));

        // Natural order; code points above U+FFFF after U+FFxx in Shortcuts order.
        ShortcutItem *ten = item(QStringLiteral("Item 10"));
        ShortcutItem *two = item(QStringLiteral("item 2"));
        QCOMPARE(sorted({ten, two}, ShortcutSort::name, true), QList<ShortcutItem *>({two, ten}));
        ShortcutItem *emoji = item(QString::fromUtf8("\xF0\x9F\x98\x80")); // U+1F600
        ShortcutItem *halfwidth = item(QString::fromUtf8("\xEF\xBD\xA1")); // U+FF61
        QCOMPARE(sorted({emoji, halfwidth}, ShortcutSort::libraryOrder, true),
                 QList<ShortcutItem *>({halfwidth, emoji}));

        // Ties keep input order ascending and come out reversed descending.
        ShortcutItem *a1 = item(QStringLiteral("A1"));
        ShortcutItem *a2 = item(QStringLiteral("A2"));
        ShortcutItem *big = item(QStringLiteral("Big"));
        a1->setActionCount(2);
        a2->setActionCount(2);
        big->setActionCount(9);
        QCOMPARE(sorted({a1, big, a2}, ShortcutSort::actionCount, true),
                 QList<ShortcutItem *>({a1, a2, big}));
        QCOMPARE(sorted({a1, big, a2}, ShortcutSort::actionCount, false),
                 QList<ShortcutItem *>({big, a2, a1}));
        QCOMPARE(sorted({a1, a2}, ShortcutSort::runCount, false), QList<ShortcutItem *>({a2, a1}));

        // Never run is the most distant past.
        a1->setLastRunAt(pinnedNow);
        big->setLastRunAt(pinnedNow.addDays(-1));
        QCOMPARE(sorted({a1, a2, big}, ShortcutSort::lastRun, true),
                 QList<ShortcutItem *>({a2, big, a1}));
        QCOMPARE(sorted({a1, a2, big}, ShortcutSort::lastRun, false),
                 QList<ShortcutItem *>({a1, big, a2}));

        // Dates: the native dates take precedence.
        a1->setFirstSeenAt(pinnedNow.addDays(-1));
        a2->setFirstSeenAt(pinnedNow.addDays(-2));
        a1->setNativeCreatedAt(pinnedNow.addDays(-3));
        QCOMPARE(sorted({a1, a2}, ShortcutSort::dateAdded, true), QList<ShortcutItem *>({a1, a2}));
        a1->setLastChangedAt(pinnedNow);
        a2->setLastChangedAt(pinnedNow.addDays(-1));
        QCOMPARE(sorted({a1, a2}, ShortcutSort::modified, true), QList<ShortcutItem *>({a2, a1}));
        a2->setNativeModifiedAt(pinnedNow.addDays(1));
        QCOMPARE(sorted({a1, a2}, ShortcutSort::modified, true), QList<ShortcutItem *>({a1, a2}));
    }

    void sortingMirrorsOnLargeLists()
    {
        // Many ties in every key: descending must be exactly the reversed ascending list.
        QList<ShortcutItem *> items;
        for (int n = 0; n < 500; ++n) {
            ShortcutItem *i = item(QStringLiteral("Name %1").arg(n % 7));
            i->setLibraryOrder(n % 5);
            i->setActionCount(n % 3);
            i->setRunCount(n % 4);
            i->setFirstSeenAt(pinnedNow.addSecs(n % 6));
            if (n % 2)
                i->setLastRunAt(pinnedNow.addSecs(n % 9));
            items.append(i);
        }
        for (ShortcutSort key : allCases<ShortcutSort>()) {
            QList<ShortcutItem *> ascending = sorted(items, key, true);
            std::reverse(ascending.begin(), ascending.end());
            QCOMPARE(sorted(items, key, false), ascending);
        }
        // Equal names keep input order in name order too.
        const QList<ShortcutItem *> byName = sorted(items, ShortcutSort::name, true);
        QCOMPARE(byName[0], items[0]);
        QCOMPARE(byName[1], items[7]);
    }
};

QTEST_GUILESS_MAIN(TestEvaluation)
#include "tst_evaluation.moc"
