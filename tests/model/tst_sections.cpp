// Library sections: which items each shows, the search filter, the order, the settings that
// steer them, and the sidebar counts.

#include "common/ItemNames.h"
#include "model/AppSettings.h"
#include "model/Clock.h"
#include "model/LibraryQuery.h"
#include "model/LibrarySettings.h"
#include "model/ModelContext.h"
#include "model/SidebarCounts.h"
#include "model/SmartListSortAdoption.h"
#include "model/SmartRuleSet.h"

#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace {
const QDateTime pinnedNow = QDateTime(QDate(2024, 5, 1), QTime(12, 0), Qt::UTC);

} // namespace

class TestSections : public QObject {
    Q_OBJECT
    QTemporaryDir dataDir;
    ModelContext *ctx = nullptr;

    // Items take their place in the Shortcuts order as they are made.
    ShortcutItem *item(const QString &name)
    {
        auto *i = new ShortcutItem(QStringLiteral("id-") + name, name);
        i->setLibraryOrder(ctx->shortcuts().size());
        return ctx->insert(i);
    }
    QStringList shown(const LibrarySection &section, const QString &search = {})
    {
        return names(LibraryQuery::visibleItems(*ctx, section, search));
    }
    QStringList shown(const LibrarySection &section, const LibraryQuery::Settings &settings)
    {
        return names(LibraryQuery::visibleItems(*ctx, section, {}, settings));
    }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(dataDir.isValid());
        AppSettings::useDataDirectory(dataDir.path());
        Clock::setOverride([] { return pinnedNow; });
    }
    void cleanupTestCase() { Clock::setOverride({}); }
    void init()
    {
        AppSettings::store().clear();
        ctx = new ModelContext;
    }
    void cleanup() { delete ctx; }

    void sectionText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("valid");
        for (const char *t :
             {"all", "favorites", "recent", "unfiled", "untagged", "missing", "folder:ABC",
              "tag:ABC", "smart:ABC", "native:Work Stuff", "native:", "native:a:b", "health"})
            QTest::addRow("%s", t) << QString::fromLatin1(t) << true;
        for (const char *t :
             {"", "All", "folder", "folder:", "smart", "smartList:ABC", "all:x", " all", "native"})
            QTest::addRow("bad '%s'", t) << QString::fromLatin1(t) << false;
    }

    void sectionText()
    {
        QFETCH(QString, text);
        QFETCH(bool, valid);
        const auto section = LibrarySection::fromText(text);
        QCOMPARE(section.has_value(), valid);
        if (valid)
            QCOMPARE(section->toText(), text);
        QCOMPARE(LibrarySection::fromText(QStringLiteral("smart:X")),
                 LibrarySection::smartList(QStringLiteral("X")));
        QVERIFY(LibrarySection::tag(QStringLiteral("X")) !=
                LibrarySection::folder(QStringLiteral("X")));
    }

    void settingsDefaultsAndStoredNames()
    {
        const auto defaults = LibraryQuery::Settings::current();
        QCOMPARE(defaults.sortKey, ShortcutSort::libraryOrder);
        QCOMPARE(defaults.sortAscending, true);
        QCOMPARE(defaults.includeSubfolders, true);
        LibrarySettings::setSortKey(ShortcutSort::dateAdded);
        QCOMPARE(AppSettings::store().value(QStringLiteral("sortKey")).toString(),
                 QStringLiteral("dateAdded"));
        AppSettings::store().setValue(QStringLiteral("sortKey"), QStringLiteral("bogus"));
        QCOMPARE(LibrarySettings::sortKey(), ShortcutSort::libraryOrder);
        AppSettings::store().setValue(QStringLiteral("sortAscending"), false);
        AppSettings::store().setValue(QStringLiteral("includeSubfolders"), false);
        QCOMPARE(LibraryQuery::Settings::current().sortAscending, false);
        QCOMPARE(LibraryQuery::Settings::current().includeSubfolders, false);
    }

    void fixedSectionsHideMissing()
    {
        LibraryFolder *folder = ctx->insert(new LibraryFolder(QStringLiteral("F")));
        Tag *tag = ctx->insert(new Tag(QStringLiteral("T"), QString()));
        ShortcutItem *plain = item(QStringLiteral("plain"));
        plain->setNativeFolderName(QStringLiteral("Work"));
        // Organised alike, one present and one missing.
        for (const char *name : {"rich", "gone"}) {
            ShortcutItem *i = item(QString::fromLatin1(name));
            i->setIsFavorite(true);
            i->setLastRunAt(pinnedNow);
            i->setFolder(folder);
            i->addTag(tag);
            i->setNativeFolderName(QStringLiteral("Work"));
            i->setIsMissing(i->name() == QLatin1String("gone"));
        }
        ShortcutItem *lower = item(QStringLiteral("lower"));
        lower->setNativeFolderName(QStringLiteral("work"));
        ShortcutItem *goneBare = item(QStringLiteral("gone bare"));
        goneBare->setIsMissing(true);

        QCOMPARE(shown(LibrarySection::all()), QStringList({"plain", "rich", "lower"}));
        QCOMPARE(shown(LibrarySection::favorites()), QStringList({"rich"}));
        QCOMPARE(shown(LibrarySection::recent()), QStringList({"rich"}));
        QCOMPARE(shown(LibrarySection::unfiled()), QStringList({"plain", "lower"}));
        QCOMPARE(shown(LibrarySection::untagged()), QStringList({"plain", "lower"}));
        QCOMPARE(shown(LibrarySection::missing()), QStringList({"gone", "gone bare"}));
        QCOMPARE(shown(LibrarySection::folder(folder->uuid())), QStringList({"rich"}));
        QCOMPARE(shown(LibrarySection::tag(tag->uuid())), QStringList({"rich"}));
        QCOMPARE(shown(LibrarySection::nativeFolder(QStringLiteral("Work"))),
                 QStringList({"plain", "rich"}));
        QCOMPARE(shown(LibrarySection::nativeFolder(QString())), QStringList());
        plain->setNativeFolderName(QString());
        QCOMPARE(shown(LibrarySection::nativeFolder(QString())), QStringList({"plain"}));

        SmartRuleSet everything;
        everything.rules.clear();
        SmartList *withMissing = ctx->insert(new SmartList(QStringLiteral("S"), everything));
        QCOMPARE(shown(LibrarySection::smartList(withMissing->uuid())),
                 QStringList({"plain", "rich", "lower"}));
        everything.includeMissing = true;
        withMissing->setRuleSet(everything);
        QCOMPARE(shown(LibrarySection::smartList(withMissing->uuid())).size(), 5);
        // Undecodable rules act as the default set: every present item.
        withMissing->setRulesData("{\"matchAll\":true}");
        QCOMPARE(shown(LibrarySection::smartList(withMissing->uuid())).size(), 3);

        // Sections naming records that do not exist show nothing.
        const QString folderUuid = folder->uuid();
        ctx->deleteRecord(folder);
        QVERIFY(shown(LibrarySection::folder(folderUuid)).isEmpty());
        QVERIFY(shown(LibrarySection::tag(QStringLiteral("nope"))).isEmpty());
        QVERIFY(shown(LibrarySection::smartList(QStringLiteral("nope"))).isEmpty());
    }

    void foldersAndTagsThroughDescendants()
    {
        LibraryFolder *top = ctx->insert(new LibraryFolder(QStringLiteral("Top")));
        LibraryFolder *sub10 = ctx->insert(new LibraryFolder(QStringLiteral("Sub 10"), top));
        LibraryFolder *sub2 = ctx->insert(new LibraryFolder(QStringLiteral("Sub 2"), top));
        LibraryFolder *deep = ctx->insert(new LibraryFolder(QStringLiteral("Deep"), sub2));
        item(QStringLiteral("in 10"))->setFolder(sub10);
        item(QStringLiteral("in deep"))->setFolder(deep);
        item(QStringLiteral("in 2"))->setFolder(sub2);
        ShortcutItem *goneDeep = item(QStringLiteral("gone deep"));
        goneDeep->setFolder(deep);
        goneDeep->setIsMissing(true);

        // Folder-tree order (Sub 2 before Sub 10), before any sorting; a sort with every item
        // tied keeps it.
        LibraryQuery::Settings settings;
        settings.sortKey = ShortcutSort::runCount;
        QCOMPARE(names(LibraryQuery::items(*ctx, LibrarySection::folder(top->uuid()), true)),
                 QStringList({"in 2", "in deep", "in 10"}));
        QCOMPARE(shown(LibrarySection::folder(top->uuid()), settings),
                 QStringList({"in 2", "in deep", "in 10"}));
        settings.includeSubfolders = false;
        QVERIFY(shown(LibrarySection::folder(top->uuid()), settings).isEmpty());
        // The stored setting is what the plain query reads.
        LibrarySettings::setIncludeSubfolders(false);
        QCOMPARE(shown(LibrarySection::folder(sub2->uuid())), QStringList({"in 2"}));
        LibrarySettings::setIncludeSubfolders(true);
        QCOMPARE(shown(LibrarySection::folder(sub2->uuid())), QStringList({"in deep", "in 2"}));

        // Tags always include descendants, whatever includeSubfolders says, each item once.
        LibrarySettings::setIncludeSubfolders(false);
        Tag *parent = ctx->insert(new Tag(QStringLiteral("Parent"), QString()));
        Tag *child = ctx->insert(new Tag(QStringLiteral("Child"), QString(), parent));
        ShortcutItem *both = item(QStringLiteral("both"));
        both->addTag(child);
        both->addTag(parent);
        item(QStringLiteral("child only"))->addTag(child);
        QCOMPARE(shown(LibrarySection::tag(parent->uuid())), QStringList({"both", "child only"}));

        const SidebarCounts counts = SidebarCounts::of(*ctx);
        QCOMPARE(counts.count(LibrarySection::folder(top->uuid())), 3);
        QCOMPARE(counts.count(LibrarySection::folder(sub2->uuid())), 2);
        QCOMPARE(counts.count(LibrarySection::folder(deep->uuid())), 1);
        QCOMPARE(counts.count(LibrarySection::tag(parent->uuid())), 2);
        QCOMPARE(counts.count(LibrarySection::tag(child->uuid())), 2);
        QCOMPARE(counts.count(LibrarySection::folder(QStringLiteral("nope"))), 0);
    }

    void search_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<QStringList>("found");
        QTest::newRow("empty") << "" << QStringList{"Send",   "Notes",    "Native",
                                                    "Tagged", "Subtitle", "Unicode"};
        QTest::newRow("spaces only")
            << " \t " << QStringList{"Send", "Notes", "Native", "Tagged", "Subtitle", "Unicode"};
        QTest::newRow("mail, padded") << "  mail\t" << QStringList{"Notes", "Native", "Tagged"};
        QTest::newRow("name") << "SEN" << QStringList{"Send"};
        QTest::newRow("lower-cased non-ascii") << "ÉTÉ" << QStringList{"Unicode"};
        QTest::newRow("no match") << "zzz" << QStringList{};
    }

    void search()
    {
        QFETCH(QString, query);
        QFETCH(QStringList, found);
        item(QStringLiteral("Send"));
        item(QStringLiteral("Notes"))->setNotes(QStringLiteral("uses Mail daily"));
        item(QStringLiteral("Native"))->setNativeFolderName(QStringLiteral("Mailing"));
        Tag *tag = ctx->insert(new Tag(QStringLiteral("E-Mail"), QString()));
        item(QStringLiteral("Tagged"))->addTag(tag);
        item(QStringLiteral("Subtitle"))->setSubtitle(QStringLiteral("mail"));
        item(QStringLiteral("Unicode"))->setNotes(QStringLiteral("Été"));
        ShortcutItem *gone = item(QStringLiteral("Gone"));
        gone->setNotes(QStringLiteral("mail"));
        gone->setIsMissing(true);
        QCOMPARE(shown(LibrarySection::all(), query), found);
    }

    void recentOrdering()
    {
        ShortcutItem *old = item(QStringLiteral("A old"));
        old->setLastRunAt(pinnedNow.addDays(-3));
        old->setRunCount(9);
        ShortcutItem *newest = item(QStringLiteral("B newest"));
        newest->setLastRunAt(pinnedNow);
        newest->setRunCount(5);
        ShortcutItem *middle = item(QStringLiteral("C middle"));
        middle->setLastRunAt(pinnedNow.addDays(-1));
        middle->setRunCount(1);
        item(QStringLiteral("D never"));
        const QStringList byLastRun{"B newest", "C middle", "A old"};

        LibraryQuery::Settings settings;
        for (ShortcutSort key : {ShortcutSort::libraryOrder, ShortcutSort::name}) {
            for (bool ascending : {true, false}) {
                settings.sortKey = key;
                settings.sortAscending = ascending;
                QCOMPARE(shown(LibrarySection::recent(), settings), byLastRun);
            }
        }
        settings.sortKey = ShortcutSort::runCount;
        settings.sortAscending = true;
        QCOMPARE(shown(LibrarySection::recent(), settings),
                 QStringList({"C middle", "B newest", "A old"}));
        // Elsewhere the name key sorts by name, following the direction.
        settings.sortKey = ShortcutSort::name;
        settings.sortAscending = false;
        QCOMPARE(shown(LibrarySection::all(), settings),
                 QStringList({"D never", "C middle", "B newest", "A old"}));
        // The stored settings drive the plain query.
        LibrarySettings::setSortKey(ShortcutSort::runCount);
        LibrarySettings::setSortAscending(false);
        QCOMPARE(shown(LibrarySection::all()),
                 QStringList({"A old", "B newest", "C middle", "D never"}));
    }

    void smartListSortIsAdoptedOnChange()
    {
        SmartRuleSet byDate;
        byDate.sort = ShortcutSort::dateAdded;
        byDate.ascending = false;
        SmartList *list = ctx->insert(new SmartList(QStringLiteral("Recent additions"), byDate));
        SmartList *other = ctx->insert(new SmartList(QStringLiteral("Other"), SmartRuleSet()));

        SmartListSortAdoption adoption(*ctx);
        // The first section shown adopts nothing, even a smart list.
        QVERIFY(!adoption.sectionShown(LibrarySection::smartList(list->uuid())));
        QCOMPARE(LibrarySettings::sortKey(), ShortcutSort::libraryOrder);
        QVERIFY(!adoption.sectionShown(LibrarySection::all()));
        QVERIFY(adoption.sectionShown(LibrarySection::smartList(list->uuid())));
        QCOMPARE(LibrarySettings::sortKey(), ShortcutSort::dateAdded);
        QCOMPARE(LibrarySettings::sortAscending(), false);
        // The user's later change is kept while the section stays, and not written back.
        LibrarySettings::setSortKey(ShortcutSort::name);
        QVERIFY(!adoption.sectionShown(LibrarySection::smartList(list->uuid())));
        QCOMPARE(LibrarySettings::sortKey(), ShortcutSort::name);
        QCOMPARE(list->ruleSet().sort, ShortcutSort::dateAdded);
        QVERIFY(adoption.sectionShown(LibrarySection::smartList(other->uuid())));
        QCOMPARE(LibrarySettings::sortKey(), ShortcutSort::libraryOrder);
        QCOMPARE(LibrarySettings::sortAscending(), true);
        QVERIFY(!adoption.sectionShown(LibrarySection::smartList(QStringLiteral("deleted"))));
    }

    void sidebarCountsAgreeWithSections()
    {
        // A mixed library: every count must equal the size of what its section yields, with
        // folders counted through their sub-folders whatever includeSubfolders says.
        LibrarySettings::setIncludeSubfolders(false);
        QList<LibraryFolder *> folders;
        QList<Tag *> tags;
        for (int n = 0; n < 12; ++n) {
            folders.append(ctx->insert(new LibraryFolder(QStringLiteral("F%1").arg(n),
                                                         n < 3 ? nullptr : folders[n / 3 - 1])));
            tags.append(ctx->insert(new Tag(QStringLiteral("T%1").arg(n), QString(),
                                            n < 2 ? nullptr : tags[n / 2 - 1])));
        }
        for (int n = 0; n < 300; ++n) {
            ShortcutItem *i = item(QStringLiteral("S%1").arg(n));
            i->setIsMissing(n % 11 == 0);
            i->setIsFavorite(n % 4 == 0);
            if (n % 3)
                i->setLastRunAt(pinnedNow.addDays(-(n % 20)));
            if (n % 5)
                i->setFolder(folders[n % folders.size()]);
            if (n % 7)
                i->addTag(tags[n % tags.size()]);
            if (n % 13 == 0)
                i->addTag(tags[(n + 5) % tags.size()]);
            i->setNativeFolderName(n % 6 ? QStringLiteral("Native %1").arg(n % 4) : QString());
            i->setActionCount(n % 10);
        }
        SmartRuleSet recentOrBig;
        recentOrBig.matchAll = false;
        recentOrBig.includeMissing = true;
        SmartRule recent;
        recent.field = SmartRule::Field::lastRun;
        SmartRule big;
        big.field = SmartRule::Field::actionCount;
        big.number = 7;
        recentOrBig.rules = {recent, big};
        ctx->insert(new SmartList(QStringLiteral("Recent or big"), recentOrBig));
        SmartRuleSet inTag;
        inTag.rules.first().field = SmartRule::Field::tag;
        inTag.rules.first().referenceUUID = tags[1]->uuid();
        ctx->insert(new SmartList(QStringLiteral("In T1"), inTag));

        const SidebarCounts counts = SidebarCounts::of(*ctx);
        QList<LibrarySection> sections{LibrarySection::all(),      LibrarySection::favorites(),
                                       LibrarySection::recent(),   LibrarySection::unfiled(),
                                       LibrarySection::untagged(), LibrarySection::missing()};
        for (const Tag *t : ctx->tags())
            sections.append(LibrarySection::tag(t->uuid()));
        for (const SmartList *s : ctx->smartLists())
            sections.append(LibrarySection::smartList(s->uuid()));
        for (const LibrarySection &section : sections)
            QCOMPARE(counts.count(section), LibraryQuery::items(*ctx, section).size());
        for (const LibraryFolder *f : ctx->folders())
            QCOMPARE(counts.count(LibrarySection::folder(f->uuid())),
                     LibraryQuery::items(*ctx, LibrarySection::folder(f->uuid()), true).size());
        QCOMPARE(counts.nativeFolders.size(), 4);
        for (const auto &[name, n] : counts.nativeFolders)
            QCOMPARE(n, LibraryQuery::items(*ctx, LibrarySection::nativeFolder(name)).size());
        QCOMPARE(counts.nativeFolders.first().first, QStringLiteral("Native 0"));
        QVERIFY(counts.smartLists.size() == 2);
    }
};

QTEST_GUILESS_MAIN(TestSections)
#include "tst_sections.moc"
