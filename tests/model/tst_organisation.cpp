#include "common/RandomOrganisation.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "model/OrganisationDocument.h"
#include "model/SmartRuleSet.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>

class OrganisationTest : public QObject {
    Q_OBJECT
private slots:
    void roundTripOfARandomLibrary_data();
    void roundTripOfARandomLibrary();
    void exportCarriesOnlyTheOrganisation();
    void matchingByUuidThenPathOrName();
    void libraryKeepsItsValuesAndGainsTheFiles();
    void placeholdersSharingANameKeepTheirOwnOrganisation();
    void dryRunChangesNothing();
    void hostileDocumentsChangeNothing_data();
    void hostileDocumentsChangeNothing();
    void treesUpToTheDepthBoundAreRead();
};

namespace {
const QString placeholderPrefix = QStringLiteral("name:");

QByteArray document(const QJsonObject &body)
{
    QJsonObject o = body;
    o.insert(QStringLiteral("format"), QStringLiteral("thimblecraft-organisation"));
    if (!o.contains(QStringLiteral("version")))
        o.insert(QStringLiteral("version"), 1);
    return QJsonDocument(o).toJson();
}

QJsonObject folderJson(const QString &uuid, const QString &name, const QJsonValue &parent = {})
{
    return {
        {"uuid", uuid}, {"name", name}, {"parent", parent.isUndefined() ? QJsonValue() : parent}};
}

// A chain of folders f0 > f1 > … of the given length.
QJsonArray folderChain(int length)
{
    QJsonArray chain;
    for (int i = 0; i < length; ++i)
        chain.append(folderJson(QStringLiteral("f%1").arg(i), QStringLiteral("Level %1").arg(i),
                                i ? QJsonValue(QStringLiteral("f%1").arg(i - 1)) : QJsonValue()));
    return chain;
}

ShortcutItem *named(const ModelContext &c, const QString &name)
{
    for (ShortcutItem *i : c.shortcuts())
        if (i->name() == name)
            return i;
    return nullptr;
}

ImportSummary importOrFail(ModelContext &c, const QByteArray &doc,
                           ImportMode mode = ImportMode::apply)
{
    QString error;
    const auto summary = importDocument(c, doc, mode, &error);
    if (!summary)
        qWarning() << "import refused:" << error;
    return summary.value_or(ImportSummary{});
}

QMap<QString, QByteArray> filesIn(const QString &path)
{
    QMap<QString, QByteArray> files;
    for (const QFileInfo &info : QDir(path).entryInfoList(QDir::Files)) {
        QFile f(info.filePath());
        if (f.open(QIODevice::ReadOnly))
            files.insert(info.fileName(), f.readAll());
    }
    return files;
}
} // namespace

void OrganisationTest::roundTripOfARandomLibrary_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed : {1u, 2u, 3u, 77u})
        QTest::addRow("seed %u", seed) << seed;
}

void OrganisationTest::roundTripOfARandomLibrary()
{
    QFETCH(quint32, seed);
    ModelContext original;
    fillRandomOrganisation(original, seed);
    const QByteArray exported = exportDocument(original);
    QCOMPARE(exportDocument(original), exported);

    // Into a library that has the shortcuts but none of the organisation, made in another
    // order: everything is matched by identifier and the export comes back byte for byte.
    ModelContext synced;
    QList<ShortcutItem *> shuffled = original.shortcuts();
    std::reverse(shuffled.begin(), shuffled.end());
    for (const ShortcutItem *i : shuffled)
        synced.insert(new ShortcutItem(i->identifier(), i->name()));
    const ImportSummary first = importOrFail(synced, exported);
    QCOMPARE(first.shortcuts.added, 0);
    QCOMPARE(exportDocument(synced), exported);
    // A second import finds everything in place.
    QVERIFY(synced.save());
    const ImportSummary again = importOrFail(synced, exported);
    QCOMPARE(again.folders.added + again.tags.added + again.smartLists.added, 0);
    QCOMPARE(again.shortcuts.changed + again.shortcuts.added, 0);
    QVERIFY(!synced.hasChanges());

    // Into an empty library kept in a store: shortcuts become placeholders. After reopening,
    // linking them the way a sync does (by name, to the real identifier) gives the same export.
    QTemporaryDir dir;
    QString error;
    {
        auto empty = LibraryStoreContainer::open(dir.path(), &error);
        QVERIFY2(empty, qPrintable(error));
        const ImportSummary summary = importOrFail(*empty, exported);
        QCOMPARE(summary.shortcuts.added, empty->shortcuts().size());
        QVERIFY(empty->save());
    }
    auto reopened = LibraryStoreContainer::open(dir.path(), &error);
    QVERIFY2(reopened, qPrintable(error));
    for (ShortcutItem *i : reopened->shortcuts()) {
        QCOMPARE(i->identifier(), placeholderPrefix + i->name());
        const ShortcutItem *real = named(original, i->name());
        QVERIFY(real);
        i->setIdentifier(real->identifier());
    }
    QCOMPARE(exportDocument(*reopened), exported);
    // Rules come back as stored; undecodable ones as empty, which reads the same.
    for (SmartList *s : reopened->smartLists()) {
        const SmartList *mine = original.smartList(s->uuid());
        QCOMPARE(s->rulesData(), mine->name() == "Broken" ? QByteArray() : mine->rulesData());
    }
}

void OrganisationTest::exportCarriesOnlyTheOrganisation()
{
    ModelContext c;
    auto *home = c.insert(new LibraryFolder("Home"));
    auto *loopA = c.insert(new LibraryFolder("Loop A"));
    auto *loopB = c.insert(new LibraryFolder("Loop B", loopA));
    loopA->setParent(loopB); // a corrupted chain: no tree walk reaches either
    auto *zeta = c.insert(new Tag("Zeta", "#111111"));
    auto *alpha = c.insert(new Tag("Alpha", "#222222"));
    auto *item = c.insert(new ShortcutItem("ID-1", "Lights"));
    item->setSubtitle("3 actions");
    item->setIconData(QByteArray("PNG"));
    item->setFolder(home);
    item->addTag(zeta);
    item->addTag(alpha);
    c.insert(new ShortcutItem("ID-2", "Unorganised"))->setActionCount(9);

    const QByteArray exported = exportDocument(c);
    QVERIFY(!exported.contains("subtitle") && !exported.contains("icon") &&
            !exported.contains("Unorganised"));
    const QJsonObject doc = QJsonDocument::fromJson(exported).object();
    QCOMPARE(doc.value("format").toString(), "thimblecraft-organisation");
    QCOMPARE(doc.value("version").toInt(), 1);
    const QJsonArray shortcuts = doc.value("shortcuts").toArray();
    QCOMPARE(shortcuts.size(), 1);
    // Tags in the order of the tag tree, not of attachment.
    QCOMPARE(shortcuts[0].toObject().value("tags").toArray(),
             QJsonArray({alpha->uuid(), zeta->uuid()}));
    // The loop is written at the top level, so the export stays importable.
    for (const QJsonValue &f : doc.value("folders").toArray())
        QVERIFY(f.toObject().value("parent").isNull());
    ModelContext empty;
    importOrFail(empty, exported);
    QCOMPARE(empty.folders().size(), 3);
}

void OrganisationTest::matchingByUuidThenPathOrName()
{
    ModelContext c;
    auto *work = c.insert(new LibraryFolder("Work"));
    auto *clients = c.insert(new LibraryFolder("Clients", work));
    auto *other = c.insert(new LibraryFolder("Other"));
    auto *otherClients = c.insert(new LibraryFolder("Clients", other));
    auto *tag = c.insert(new Tag("Urgent", "#FF0000"));
    tag->setUuid("LIB-TAG");
    auto *list = c.insert(new SmartList("Recent", SmartRuleSet()));
    auto *byId = c.insert(new ShortcutItem("ID-1", "Old name"));
    auto *byName = c.insert(new ShortcutItem("LOCAL-ID", "Timer"));
    QVERIFY(c.save());

    SmartRuleSet rules;
    rules.rules[0].field = SmartRule::Field::folder;
    rules.rules[0].referenceUUID = "DOC-CLIENTS";
    const QByteArray doc = document(QJsonObject{
        {"folders", QJsonArray{folderJson(work->uuid(), "Renamed elsewhere"),
                               folderJson("DOC-CLIENTS", "Clients", work->uuid()),
                               folderJson("DOC-NEW", "Archive", "DOC-CLIENTS")}},
        {"tags", QJsonArray{QJsonObject{{"uuid", "DOC-TAG"}, {"name", "Urgent"}}}},
        {"smartLists",
         QJsonArray{QJsonObject{{"uuid", list->uuid()}, {"name", "Other name"}},
                    QJsonObject{{"uuid", "DOC-LIST"},
                                {"name", "Clients list"},
                                {"rules", QJsonDocument::fromJson(rules.encoded()).object()}}}},
        {"shortcuts",
         QJsonArray{QJsonObject{{"identifier", "ID-1"}, {"name", "Another name"}, {"notes", "a"}},
                    QJsonObject{{"identifier", "DOC-ID"}, {"name", "Timer"}, {"notes", "b"}},
                    QJsonObject{{"identifier", "ID-3"}, {"name", "Timer"}, {"notes", "c"}},
                    QJsonObject{{"identifier", "ID-4"}, {"name", "Timer"}, {"notes", "d"}},
                    QJsonObject{{"name", "Name only"}, {"tags", QJsonArray{"DOC-TAG"}}}}}});
    const ImportSummary s = importOrFail(c, doc);

    QCOMPARE(work->name(), "Work"); // matched by uuid, the library's name kept
    QCOMPARE(c.folders().size(), 5);
    LibraryFolder *archive = c.folder("DOC-NEW");
    QVERIFY(archive);
    QCOMPARE(archive->parent(), clients); // by path: Clients under the matched Work
    QVERIFY(otherClients->children().isEmpty());
    QCOMPARE(c.tags().size(), 1);
    QCOMPARE(list->name(), "Recent");
    // A new list's reference follows the folder that "DOC-CLIENTS" matched.
    QCOMPARE(c.smartList("DOC-LIST")->ruleSet().rules[0].referenceUUID, clients->uuid());

    QCOMPARE(byId->notes(), "a");
    QCOMPARE(byName->notes(), "b");
    // Same-named shortcuts the library lacks each get their own placeholder.
    QList<ShortcutItem *> placeholders;
    for (ShortcutItem *i : c.shortcuts())
        if (i->identifier().startsWith(placeholderPrefix))
            placeholders.append(i);
    QCOMPARE(placeholders.size(), 3);
    QCOMPARE(placeholders[0]->identifier(), "name:Timer");
    QCOMPARE(placeholders[0]->notes(), "c");
    QCOMPARE(placeholders[1]->notes(), "d");
    QCOMPARE(placeholders[2]->identifier(), "name:Name only");
    QCOMPARE(placeholders[2]->tags(), QList<Tag *>{tag});

    QCOMPARE(s.folders, (ImportSummary::Counts{1, 0, 2}));
    QCOMPARE(s.tags, (ImportSummary::Counts{0, 0, 1}));
    QCOMPARE(s.smartLists, (ImportSummary::Counts{1, 0, 1}));
    QCOMPARE(s.shortcuts, (ImportSummary::Counts{3, 2, 0}));
}

void OrganisationTest::libraryKeepsItsValuesAndGainsTheFiles()
{
    ModelContext c;
    auto *mine = c.insert(new LibraryFolder("Mine"));
    auto *kept = c.insert(new Tag("Kept", "#000000"));
    auto *full = c.insert(new ShortcutItem("FULL", "Full"));
    full->setNotes("my notes");
    full->setFolder(mine);
    full->addTag(kept);
    full->setIsFavorite(true);
    full->setRunCount(10);
    auto *bare = c.insert(new ShortcutItem("BARE", "Bare"));
    bare->setRunCount(50);
    auto *same = c.insert(new ShortcutItem("SAME", "Same"));
    same->setNotes("same notes");
    same->setFolder(mine);

    const auto entry = [](const char *id, const QJsonValue &favourite, qint64 runs) {
        return QJsonObject{{"identifier", id},        {"notes", "file notes"},
                           {"folder", "THEIRS"},      {"tags", QJsonArray{"ADDED", "ADDED"}},
                           {"isFavorite", favourite}, {"runCount", runs}};
    };
    QJsonObject sameEntry{
        {"identifier", "SAME"}, {"notes", "same notes"}, {"folder", mine->uuid()}};
    const QByteArray doc = document(QJsonObject{
        {"folders", QJsonArray{folderJson("THEIRS", "Theirs")}},
        {"tags", QJsonArray{QJsonObject{{"uuid", "ADDED"}, {"name", "Added"}}}},
        {"shortcuts", QJsonArray{entry("FULL", false, 3), entry("BARE", true, 7), sameEntry}}});
    const ImportSummary s = importOrFail(c, doc);

    Tag *added = c.tag("ADDED");
    QCOMPARE(full->notes(), "my notes");
    QCOMPARE(full->folder(), mine);
    QCOMPARE(QSet<Tag *>(full->tags().cbegin(), full->tags().cend()), (QSet<Tag *>{kept, added}));
    QVERIFY(full->isFavorite());
    QCOMPARE(full->runCount(), 10);
    QCOMPARE(bare->notes(), "file notes");
    QCOMPARE(bare->folder(), c.folder("THEIRS"));
    QCOMPARE(bare->tags(), QList<Tag *>{added});
    QVERIFY(bare->isFavorite());
    QCOMPARE(bare->runCount(), 50);
    QCOMPARE(s.shortcuts, (ImportSummary::Counts{0, 2, 1}));
    QCOMPARE(s.conflicts, 2); // Full's notes and folder

    QCOMPARE(s.text(), "Folders: 1 new\n"
                       "Tags: 1 new\n"
                       "Smart lists: none\n"
                       "Shortcuts: 2 changed · 1 unchanged\n"
                       "2 notes or folders differed from the file; the library's own were kept.");
    QCOMPARE(s.json().value("shortcuts").toObject().value("changed").toInt(), 2);
}

void OrganisationTest::placeholdersSharingANameKeepTheirOwnOrganisation()
{
    ModelContext c;
    c.insert(new ShortcutItem("name:Timer", "Timer")); // organised once, cleared since
    c.insert(new ShortcutItem("name:Timer", "Timer"))->setNotes("second");
    QVERIFY(c.save());
    const ImportSummary s = importOrFail(c, exportDocument(c));
    QCOMPARE(s.shortcuts, (ImportSummary::Counts{0, 0, 1}));
    QVERIFY(!c.hasChanges());

    // An entry with nothing to keep makes no placeholder.
    importOrFail(c, document({{"shortcuts", QJsonArray{QJsonObject{{"name", "Empty"}}}}}));
    QCOMPARE(c.shortcuts().size(), 2);
}

void OrganisationTest::dryRunChangesNothing()
{
    ModelContext c;
    fillRandomOrganisation(c, 5);
    const QByteArray exported = exportDocument(c);
    ModelContext target;
    fillRandomOrganisation(target, 6);
    QVERIFY(target.save());
    const QByteArray before = exportDocument(target);
    QCoreApplication::processEvents(); // the announcement of the filling
    QSignalSpy changed(&target, &ModelContext::changed);

    const ImportSummary dry = importOrFail(target, exported, ImportMode::dryRun);
    QVERIFY(dry.dryRun);
    QVERIFY(dry.text().startsWith("Dry run: nothing was changed."));
    QCoreApplication::processEvents();
    QVERIFY(!target.hasChanges());
    QCOMPARE(changed.count(), 0);
    QCOMPARE(exportDocument(target), before);

    // The dry run foretells exactly what the import then does.
    ImportSummary applied = importOrFail(target, exported);
    applied.dryRun = true;
    QCOMPARE(applied, dry);
    QVERIFY(dry.folders.added > 0 && dry.shortcuts.added > 0);
}

void OrganisationTest::hostileDocumentsChangeNothing_data()
{
    QTest::addColumn<QByteArray>("doc");
    QTest::addColumn<QString>("problem");

    ModelContext sample;
    fillRandomOrganisation(sample, 9);
    const QByteArray valid = exportDocument(sample);
    const auto withFolders = [](const QJsonArray &folders) {
        return document(QJsonObject{{"folders", folders}});
    };
    const auto withShortcut = [](const QJsonObject &shortcut) {
        return document(QJsonObject{{"shortcuts", QJsonArray{shortcut}}});
    };

    QTest::newRow("empty") << QByteArray(" \n") << "empty";
    QTest::newRow("truncated") << valid.left(valid.size() / 2) << "not valid JSON";
    QTest::newRow("trailing garbage") << valid + "}"
                                      << "not valid JSON";
    QTest::newRow("not an object") << QByteArray("[1, 2]") << "not a JSON object";
    QTest::newRow("no format") << QByteArray(R"({"version": 1})") << "no \"format\"";
    QTest::newRow("other format") << QByteArray(R"({"format": "bookmarks", "version": 1})")
                                  << "its format is \"bookmarks\"";
    QTest::newRow("newer version") << document({{"version", 2}}) << "newer Thimblecraft";
    QTest::newRow("version as text") << document({{"version", "1"}}) << "version: must be a whole";
    QTest::newRow("deep JSON nesting")
        << QByteArray(R"({"format": "thimblecraft-organisation", "version": 1, "folders": )") +
               QByteArray(100000, '[') + QByteArray(100000, ']') + "}"
        << "not valid JSON";
    QTest::newRow("over 64 MB") << valid + QByteArray(64 * 1024 * 1024, ' ') << "larger than 64 MB";
    QTest::newRow("huge name") << withFolders({folderJson("u", QString(5000, 'x'))})
                               << "folders[0].name: is longer than 4096 characters";
    QTest::newRow("huge notes") << withShortcut(
                                       {{"name", "n"}, {"notes", QString(1024 * 1024 + 1, 'x')}})
                                << "shortcuts[0].notes: is longer than";
    QTest::newRow("too deep") << withFolders(folderChain(Organisation::maxTreeDepth + 2))
                              << "nested more than 64 levels";
    QTest::newRow("cycle") << withFolders({folderJson("a", "A", "c"), folderJson("b", "B", "a"),
                                           folderJson("c", "C", "b")})
                           << "form a cycle";
    QTest::newRow("own parent")
        << document(
               {{"tags", QJsonArray{QJsonObject{{"uuid", "t"}, {"name", "T"}, {"parent", "t"}}}}})
        << "tags[0]: the parents of tag \"T\" form a cycle";
    QTest::newRow("duplicate uuid") << withFolders({folderJson("a", "A"), folderJson("a", "B")})
                                    << "folders[1].uuid: \"a\" is also the uuid of folders[0]";
    QTest::newRow("duplicate identifier")
        << document({{"shortcuts", QJsonArray{QJsonObject{{"identifier", "X"}},
                                              QJsonObject{{"identifier", "X"}}}}})
        << "is also the identifier of shortcuts[0]";
    QTest::newRow("unknown parent") << withFolders({folderJson("a", "A", "ghost")})
                                    << "folders[0].parent: no folder in the file";
    QTest::newRow("unknown folder of a shortcut")
        << withShortcut({{"name", "n"}, {"folder", "ghost"}})
        << "shortcuts[0].folder: no folder has the uuid \"ghost\"";
    // Every other entry is fine, so a partial import would show.
    QJsonObject late = QJsonDocument::fromJson(valid).object();
    QJsonArray lateShortcuts = late.value("shortcuts").toArray();
    QJsonObject last = lateShortcuts.last().toObject();
    last.insert("tags", QJsonArray{"ghost"});
    lateShortcuts.replace(lateShortcuts.size() - 1, last);
    late.insert("shortcuts", lateShortcuts);
    QTest::newRow("unknown tag after valid entries")
        << QJsonDocument(late).toJson() << "tags: no tag has the uuid \"ghost\"";
    QTest::newRow("sort order as text")
        << withFolders({QJsonObject{{"uuid", "a"}, {"name", "A"}, {"sortOrder", "3"}}})
        << "sortOrder: must be a whole number, not a string";
    QTest::newRow("fractional run count")
        << withShortcut({{"name", "n"}, {"runCount", 1.5}}) << "runCount: must be a whole number";
    QTest::newRow("negative run count")
        << withShortcut({{"name", "n"}, {"runCount", -1}}) << "must not be negative";
    QTest::newRow("favourite as number")
        << withShortcut({{"name", "n"}, {"isFavorite", 1}}) << "must be true or false";
    QTest::newRow("tag not a string") << withShortcut({{"name", "n"}, {"tags", QJsonArray{1}}})
                                      << "shortcuts[0].tags[0]: must be a string";
    QTest::newRow("rules as text")
        << document({{"smartLists",
                      QJsonArray{QJsonObject{{"uuid", "s"}, {"name", "S"}, {"rules", "x"}}}}})
        << "rules: must be an object or null";
    QTest::newRow("list not an array")
        << document({{"folders", QJsonObject{}}}) << "folders: must be an array";
    QTest::newRow("entry not an object") << withFolders({1}) << "folders[0]: must be an object";
    QTest::newRow("nameless shortcut")
        << withShortcut({{"notes", "n"}}) << "neither an identifier nor a name";
}

void OrganisationTest::hostileDocumentsChangeNothing()
{
    QFETCH(QByteArray, doc);
    QFETCH(QString, problem);
    QTemporaryDir dir;
    QString error;
    auto c = LibraryStoreContainer::open(dir.path(), &error);
    QVERIFY2(c, qPrintable(error));
    fillRandomOrganisation(*c, 11);
    QVERIFY(c->save());
    const QByteArray before = exportDocument(*c);
    const auto files = filesIn(dir.path());

    for (const ImportMode mode : {ImportMode::dryRun, ImportMode::apply}) {
        error.clear();
        QVERIFY(!importDocument(*c, doc, mode, &error));
        QVERIFY2(error.contains(problem), qPrintable(error));
    }
    QVERIFY(!c->hasChanges());
    QVERIFY(c->save());
    QCOMPARE(exportDocument(*c), before);
    QVERIFY(filesIn(dir.path()) == files);
}

void OrganisationTest::treesUpToTheDepthBoundAreRead()
{
    ModelContext c;
    const QByteArray doc = document(QJsonObject{
        {"folders", folderChain(Organisation::maxTreeDepth + 1)},
        {"shortcuts", QJsonArray{QJsonObject{
                          {"name", "Deep"},
                          {"folder", QStringLiteral("f%1").arg(Organisation::maxTreeDepth)}}}}});
    importOrFail(c, doc);
    ShortcutItem *deep = named(c, "Deep");
    QVERIFY(deep && deep->folder());
    QCOMPARE(deep->folder()->pathFromRoot().size(), Organisation::maxTreeDepth + 1);
    // What the walks reach is what an export writes back.
    QCOMPARE(exportDocument(c), exportDocument(c));
    ModelContext again;
    importOrFail(again, exportDocument(c));
    QCOMPARE(exportDocument(again), exportDocument(c));
}

QTEST_GUILESS_MAIN(OrganisationTest)
#include "tst_organisation.moc"
