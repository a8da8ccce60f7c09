#include "model/ColorHex.h"
#include "model/FlattenedTree.h"
#include "model/ModelContext.h"

#include <QSignalSpy>
#include <QTest>
#include <limits>

class RecordsTest : public QObject {
    Q_OBJECT
private slots:
    void colourParsing_data();
    void colourParsing();
    void hexColorStringRoundsHalfAwayFromZero();
    void relationshipsStayConsistentOnBothSides();
    void sortedChildrenUseNaturalOrder();
    void treeWalksStopAfter64Steps();
    void sortedTagsAndDerivedDates();
    void applyProcessedIcon();
    void movesThatWouldCloseACycleAreLeftOut();
    void changesAreCoalescedPerEventLoopTurn();
};

using RGB = RGBComponents;
static const RGB fallback{0.45, 0.45, 0.5};

void RecordsTest::colourParsing_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<int>("r");
    QTest::addColumn<int>("g");
    QTest::addColumn<int>("b");
    QTest::newRow("upper") << "#1E90FF" << true << 30 << 144 << 255;
    QTest::newRow("lower, spaces and tabs") << " \t#1e90ff \t" << true << 30 << 144 << 255;
    QTest::newRow("no number sign") << "1E90FF" << true << 30 << 144 << 255;
    QTest::newRow("leading plus") << "#+1E90F" << true << 0x01 << 0xE9 << 0x0F;
    QTest::newRow("three digits") << "#FFF" << false << 0 << 0 << 0;
    QTest::newRow("non-hex digit") << "#1E90FG" << false << 0 << 0 << 0;
    QTest::newRow("two number signs") << "##1E90FF" << false << 0 << 0 << 0;
    QTest::newRow("empty") << "" << false << 0 << 0 << 0;
    QTest::newRow("line break is not trimmed") << "#1E90FF\n" << false << 0 << 0 << 0;
    QTest::newRow("seven digits") << "#1E90FF0" << false << 0 << 0 << 0;
    QTest::newRow("lone plus") << "+" << false << 0 << 0 << 0;
}

void RecordsTest::colourParsing()
{
    QFETCH(QString, text);
    QFETCH(bool, valid);
    QFETCH(int, r);
    QFETCH(int, g);
    QFETCH(int, b);
    const auto optional = rgbComponentsIfValid(text);
    QCOMPARE(optional.has_value(), valid);
    const RGB expected = valid ? RGB{r / 255.0, g / 255.0, b / 255.0} : fallback;
    QCOMPARE(rgbComponents(text), expected);
    if (valid)
        QCOMPARE(*optional, expected);
}

void RecordsTest::hexColorStringRoundsHalfAwayFromZero()
{
    QCOMPARE(hexColorString(1.0, 0.5, 0.0), QStringLiteral("#FF8000"));
    // Not a number counts as 0; infinities clamp.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    QCOMPARE(hexColorString(nan, 0.5, nan), QStringLiteral("#008000"));
    QCOMPARE(hexColorString(-nan, std::numeric_limits<double>::infinity(), 0),
             QStringLiteral("#00FF00"));
    QCOMPARE(hexColorString(30 / 255.0, 144 / 255.0, 1.0), QStringLiteral("#1E90FF"));
    // 0.5 / 255 scales to exactly 0.5, which rounds up.
    QCOMPARE(hexColorString(0.5 / 255.0, 1.5 / 255.0, 0.49 / 255.0), QStringLiteral("#010200"));
}

void RecordsTest::relationshipsStayConsistentOnBothSides()
{
    ModelContext ctx;
    auto *a = ctx.insert(new LibraryFolder("A"));
    auto *b = ctx.insert(new LibraryFolder("B"));
    auto *sub = ctx.insert(new LibraryFolder("Sub", a));
    QCOMPARE(a->children(), QList<LibraryFolder *>{sub});
    sub->setParent(b);
    QVERIFY(a->children().isEmpty());
    QCOMPARE(b->children(), QList<LibraryFolder *>{sub});

    auto *item = ctx.insert(new ShortcutItem("ID-1", "One"));
    QVERIFY(item->tags().isEmpty());
    item->setFolder(a);
    item->setFolder(b);
    QVERIFY(a->shortcuts().isEmpty());
    QCOMPARE(b->shortcuts(), QList<ShortcutItem *>{item});

    auto *t1 = ctx.insert(new Tag("T1", "#FF0000"));
    auto *t2 = ctx.insert(new Tag("T2", "#00FF00"));
    item->addTag(t1);
    item->addTag(t1); // twice is once
    item->addTag(t2);
    QCOMPARE(item->tags().size(), 2);
    QCOMPARE(t1->shortcuts(), QList<ShortcutItem *>{item});
    item->setTags({t2});
    QVERIFY(t1->shortcuts().isEmpty());
    QCOMPARE(t2->shortcuts(), QList<ShortcutItem *>{item});

    // Inverse lists keep creation order whatever the order of assignment.
    auto *early = ctx.insert(new ShortcutItem("ID-2", "Two"));
    auto *late = ctx.insert(new ShortcutItem("ID-3", "Three"));
    late->setFolder(a);
    early->setFolder(a);
    QCOMPARE(a->shortcuts(), (QList<ShortcutItem *>{early, late}));
}

// Sibling order is sortOrder, then natural name order, then creation; walks go depth first.
void RecordsTest::sortedChildrenUseNaturalOrder()
{
    ModelContext ctx;
    auto *root = ctx.insert(new LibraryFolder("Root"));
    auto *f10 = ctx.insert(new LibraryFolder("Folder 10", root));
    auto *f2 = ctx.insert(new LibraryFolder("folder 2", root));
    auto *first = ctx.insert(new LibraryFolder("Zed", root));
    first->setSortOrder(-1);
    auto *twin = ctx.insert(new LibraryFolder("Folder 10", root));
    auto *deep = ctx.insert(new LibraryFolder("Deep", f2));
    auto *last = ctx.insert(new LibraryFolder("aaa"));
    last->setSortOrder(1);
    QCOMPARE(root->sortedChildren(), (QList<LibraryFolder *>{first, f2, f10, twin}));

    auto item = [&](const char *name, LibraryFolder *f) {
        auto *i = ctx.insert(new ShortcutItem(QString("ID-") + name, name));
        i->setFolder(f);
        return i;
    };
    auto *inTwin = item("inTwin", twin);
    auto *own = item("own", root);
    auto *inDeep = item("inDeep", deep);
    auto *inF2 = item("inF2", f2);
    QCOMPARE(root->allShortcuts(), (QList<ShortcutItem *>{own, inF2, inDeep, inTwin}));

    QStringList titles;
    QList<LibraryFolder *> records;
    for (const auto &e : flattenedTree(ctx.folders())) {
        titles << e.title();
        records << e.record;
    }
    QCOMPARE(titles, (QStringList{"Root", "    Zed", "    folder 2", "        Deep",
                                  "    Folder 10", "    Folder 10", "aaa"}));
    QCOMPARE(records, (QList<LibraryFolder *>{root, first, f2, deep, f10, twin, last}));
}

// Tag walks visit each item once, however many of its tags lie on the way; every walk stops
// after 64 steps, so a corrupted chain with a cycle ends instead of looping.
void RecordsTest::treeWalksStopAfter64Steps()
{
    ModelContext ctx;
    auto *work = ctx.insert(new Tag("Work", "#8E8E93"));
    auto *sub = ctx.insert(new Tag("Meetings", "#8E8E93", work));
    auto *both = ctx.insert(new ShortcutItem("ID-1", "Both"));
    auto *onlySub = ctx.insert(new ShortcutItem("ID-2", "Sub only"));
    onlySub->addTag(sub);
    both->addTag(sub);
    both->addTag(work);
    QList<ShortcutItem *> into;
    QSet<ShortcutItem *> seen;
    work->collectShortcuts(into, seen);
    QCOMPARE(into, (QList<ShortcutItem *>{both, onlySub}));
    QCOMPARE(seen.size(), 2);

    QList<LibraryFolder *> chain{ctx.insert(new LibraryFolder("0"))};
    for (int i = 1; i <= 70; ++i)
        chain.append(ctx.insert(new LibraryFolder(QString::number(i), chain.last())));
    QCOMPARE(chain.first()->pathFromRoot(), QList<LibraryFolder *>{chain.first()});
    const auto path = chain.last()->pathFromRoot();
    QCOMPARE(path.size(), 65);
    QCOMPARE(path.first(), chain[6]);
    QCOMPARE(path.last(), chain.last());
    QVERIFY(chain.last()->isDescendant(chain[6]));
    QVERIFY(!chain.last()->isDescendant(chain[5])); // beyond 64 comparisons
    // The walk under a top-level record stops at the same depth as the climbs.
    const auto flat = flattenedTree(ctx.folders());
    QCOMPARE(flat.size(), 65);
    QCOMPARE(flat.last().record, chain[64]);
    QCOMPARE(flat.last().depth, 64);

    auto *a = ctx.insert(new Tag("a", ""));
    auto *b = ctx.insert(new Tag("b", "", a));
    a->setParent(b);
    QCOMPARE(a->pathFromRoot().size(), 65);
    QVERIFY(a->isDescendant(a)); // its own ancestor through the cycle
    QVERIFY(!a->isDescendant(nullptr));
    into.clear();
    seen.clear();
    a->collectShortcuts(into, seen);
    QVERIFY(into.isEmpty());
    auto *f1 = ctx.insert(new LibraryFolder("f1"));
    auto *f2 = ctx.insert(new LibraryFolder("f2", f1));
    f1->setParent(f2);
    QVERIFY(f1->allShortcuts().isEmpty());
}

void RecordsTest::sortedTagsAndDerivedDates()
{
    ModelContext ctx;
    auto *item = ctx.insert(new ShortcutItem("ID", "Item"));
    auto *t10 = ctx.insert(new Tag("tag 10", ""));
    auto *t2 = ctx.insert(new Tag("Tag 2", ""));
    auto *alpha = ctx.insert(new Tag("alpha", ""));
    alpha->setSortOrder(99); // not used for an item's tags
    for (Tag *t : {t10, t2, alpha})
        item->addTag(t);
    QCOMPARE(item->sortedTags(), (QList<Tag *>{alpha, t2, t10}));

    QCOMPARE(item->addedDate(), item->firstSeenAt());
    QCOMPARE(item->modifiedDate(), item->lastChangedAt());
    const QDateTime created = QDateTime::fromString("2024-01-02T03:04:05Z", Qt::ISODate);
    item->setNativeCreatedAt(created);
    item->setNativeModifiedAt(created.addDays(3));
    QCOMPARE(item->addedDate(), created);
    QCOMPARE(item->modifiedDate(), created.addDays(3));
}

void RecordsTest::applyProcessedIcon()
{
    ModelContext ctx;
    auto *item = ctx.insert(new ShortcutItem("ID", "Item"));
    const IconProcessing::Result glyph{"PNG-1", "#112233", "#445566"};

    item->setIconAppBundleID("com.example.stale"); // no icon bytes: the glyph takes over
    item->applyProcessedIcon(glyph);
    QCOMPARE(item->iconData(), std::optional<QByteArray>("PNG-1"));
    QCOMPARE(item->iconAppBundleID(), QString());
    QCOMPARE(item->iconTopHex(), "#112233");
    QCOMPARE(item->iconBottomHex(), "#445566");

    // An app icon chosen earlier wins; only the colours follow.
    item->setIconData(QByteArray("APP"));
    item->setIconAppBundleID("com.apple.Notes");
    item->applyProcessedIcon({"PNG-2", "#000000", "#FFFFFF"});
    QCOMPARE(item->iconData(), std::optional<QByteArray>("APP"));
    QCOMPARE(item->iconAppBundleID(), "com.apple.Notes");
    QCOMPARE(item->iconTopHex(), "#000000");
    QCOMPARE(item->iconBottomHex(), "#FFFFFF");
}

void RecordsTest::movesThatWouldCloseACycleAreLeftOut()
{
    ModelContext ctx;
    auto *root = ctx.insert(new Tag("root", ""));
    auto *mid = ctx.insert(new Tag("mid", "", root));
    auto *leaf = ctx.insert(new Tag("leaf", "", mid));
    auto *other = ctx.insert(new Tag("other", ""));
    QVERIFY(mid->canMoveUnder(nullptr));
    QVERIFY(mid->canMoveUnder(other));
    QVERIFY(leaf->canMoveUnder(root));
    QVERIFY(!mid->canMoveUnder(mid));
    QVERIFY(!mid->canMoveUnder(leaf));
    QVERIFY(!root->canMoveUnder(leaf));

    const auto titles = [&](const Tag *moving) {
        QStringList out;
        for (const auto &e : flattenedTree(ctx.tags(), moving))
            out << e.title();
        return out;
    };
    QCOMPARE(titles(mid), (QStringList{"other", "root"}));
    QCOMPARE(titles(leaf), (QStringList{"other", "root", "    mid"}));
    QCOMPARE(titles(nullptr), (QStringList{"other", "root", "    mid", "        leaf"}));
    QVERIFY(leaf->isDescendant(root));
    QVERIFY(leaf->isDescendant(mid));
    QVERIFY(!root->isDescendant(leaf));
    QVERIFY(!leaf->isDescendant(leaf));
}

void RecordsTest::changesAreCoalescedPerEventLoopTurn()
{
    ModelContext ctx;
    QSignalSpy spy(&ctx, &ModelContext::changed);
    auto *item = ctx.insert(new ShortcutItem("ID", "Item"));
    auto *other = ctx.insert(new ShortcutItem("ID2", "Other"));
    item->setName("Renamed");
    item->setIsFavorite(true);
    other->setName("Other"); // unchanged value: no change
    QCOMPARE(spy.count(), 0);
    QTRY_COMPARE(spy.count(), 1);
    const auto changes = spy.at(0).at(0).value<ModelChanges>();
    QCOMPARE(changes.inserted.size(), 2);
    QVERIFY(changes.updated.isEmpty()); // changes to new records count as the insertion
    QVERIFY(ctx.hasChanges());
    QVERIFY(ctx.save());
    QVERIFY(!ctx.hasChanges());

    other->setNotes("x");
    QTRY_COMPARE(spy.count(), 2);
    QCOMPARE(spy.at(1).at(0).value<ModelChanges>().updated, QSet<Record *>{other});
    QVERIFY(ctx.hasChanges());
    other->setNotes("x");
    QTest::qWait(0);
    QCOMPARE(spy.count(), 2);
}

QTEST_GUILESS_MAIN(RecordsTest)
#include "tst_records.moc"
