#include "common/RandomOrganisation.h"
#include "model/LibraryStore.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "model/OrganisationDocument.h"
#include "model/RepeatedTexts.h"
#include "model/ShortcutItemJson.h"
#include "model/SmartRuleSet.h"
#include "model/SqliteDatabase.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class StoreTest : public QObject {
    Q_OBJECT
private slots:
    void everyFieldAndRelationshipSurvivesReopen();
    void iconBytesAreReadOnFirstUse();
    void changesAndDeletesSurviveReopen();
    void seenStampsAndOrderSurviveReopen();
    void failedSaveWritesNothing();
    void newerSchemaIsRefusedUntouched();
    void firstSchemaIsMigrated();
    void itemWithoutSyncRowReadsAndHeals();
    void repeatedTextsAreHeldOnce();
    void largeLibraryReadsInHalves();

private:
    static std::unique_ptr<ModelContext> open(const QTemporaryDir &dir)
    {
        QString error;
        auto ctx = LibraryStoreContainer::open(dir.path(), &error);
        if (!ctx)
            qWarning() << "open failed:" << error;
        return ctx;
    }
};

static QDateTime at(const char *iso)
{
    return QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODateWithMs);
}

// Every field of every item, for comparing a library before and after a reopen.
static QJsonArray snapshot(const ModelContext &ctx)
{
    return shortcutItemsJson(ctx.shortcuts());
}

void StoreTest::everyFieldAndRelationshipSurvivesReopen()
{
    QTemporaryDir dir;
    QJsonArray written;
    QByteArray organisation;
    QString listUuid;
    {
        auto ctx = open(dir);
        QVERIFY(ctx);
        fillRandomOrganisation(*ctx, 4, 20);
        SmartList *list = ctx->insert(new SmartList("Recent work", SmartRuleSet()));
        QCOMPARE(list->uuid().size(), 36);
        QCOMPARE(list->uuid(), list->uuid().toUpper());
        QVERIFY(list->createdAt().isValid());
        QCOMPARE(list->symbolName(), "sparkles");
        QCOMPARE(list->colorHex(), "#AF52DE");
        listUuid = list->uuid();

        auto *item = ctx->insert(new ShortcutItem("5A1B-ID", "Morning Routine ☀️"));
        item->setSubtitle("3 actions");
        item->setNativeFolderName("Starter Shortcuts");
        item->setColorHex("#FF3B30");
        item->setIconData(QByteArray("\x89PNG\0bytes", 10));
        item->setIconTopHex("#FF0000");
        item->setIconBottomHex("#FF8000");
        item->setLibraryOrder(42);
        item->setAppBundleID("com.apple.Notes");
        item->setIconAppBundleID("com.apple.Notes");
        item->setAcceptsInput(true);
        item->setActionCount(7);
        item->setNativeCreatedAt(at("2023-05-06T07:08:09.123Z"));
        item->setNativeModifiedAt(at("2024-01-02T03:04:05.006Z"));
        item->setFirstSeenAt(at("2024-02-01T00:00:00.000Z"));
        item->setLastChangedAt(at("2024-02-02T00:00:00.500Z"));
        item->setLastSeenAt(at("2024-02-03T00:00:00.000Z"));
        item->setIsMissing(true);
        item->setIsFavorite(true);
        item->setLastRunAt(at("2024-02-04T12:00:00.000Z"));
        item->setRunCount(12);
        item->setNotes("Line one\nLine two — with “quotes”");
        item->setFolder(ctx->folders().last());
        item->addTag(ctx->tags().last());

        auto *bare = ctx->insert(new ShortcutItem("name:Bare", "Bare"));
        bare->setIconData(QByteArray()); // present but empty differs from absent
        written = snapshot(*ctx);
        organisation = exportDocument(*ctx);
        QVERIFY(ctx->save());
    }
    auto ctx = open(dir);
    QVERIFY(ctx);
    // Every field of every item, with dates to the millisecond and relationships by uuid; the
    // folders, tags and lists with their names, trees, orders, symbols, colours and rules.
    QCOMPARE(snapshot(*ctx), written);
    QCOMPARE(exportDocument(*ctx), organisation);
    QCOMPARE(written[20][QLatin1String("nativeCreatedAt")].toString(), "2023-05-06T07:08:09.123Z");
    QVERIFY(written[21][QLatin1String("lastRunAt")].isNull());
    QCOMPARE(ctx->shortcuts().at(20)->iconData(),
             std::optional<QByteArray>(QByteArray("\x89PNG\0bytes", 10)));
    QCOMPARE(ctx->shortcuts().at(21)->iconData(), std::optional<QByteArray>(QByteArray()));
    QCOMPARE(ctx->smartList(listUuid)->name(), "Recent work");
    // Both sides of every relationship are rebuilt.
    for (ShortcutItem *i : ctx->shortcuts()) {
        QVERIFY(!i->folder() || i->folder()->shortcuts().contains(i));
        for (const Tag *t : i->tags())
            QVERIFY(t->shortcuts().contains(i));
    }
    for (LibraryFolder *f : ctx->folders())
        QVERIFY(!f->parent() || f->parent()->children().contains(f));
    QVERIFY(!ctx->hasChanges()); // loading is not a change
}

void StoreTest::iconBytesAreReadOnFirstUse()
{
    QTemporaryDir dir;
    {
        auto ctx = open(dir);
        auto *item = ctx->insert(new ShortcutItem("ID", "With icon"));
        item->setIconData(QByteArray(2048, 'x'));
        ctx->insert(new ShortcutItem("ID2", "Without icon"));
        QVERIFY(ctx->save());
    }
    auto ctx = open(dir);
    ShortcutItem *item = ctx->shortcuts().at(0);
    QVERIFY(item->hasIconData());
    QVERIFY(!ctx->shortcuts().at(1)->hasIconData());
    QCOMPARE(ctx->shortcuts().at(1)->iconData(), std::nullopt);
    // The bytes live in their own table, not in the item's row.
    SqliteDatabase &db = ctx->store()->database();
    QCOMPARE(db.scalar("SELECT length(data) FROM shortcut_icons")->toInt(), 2048);
    QCOMPARE(item->iconData()->size(), 2048);
    item->setIconData(std::nullopt);
    QVERIFY(ctx->save());
    QCOMPARE(db.scalar("SELECT count(*) FROM shortcut_icons")->toInt(), 0);
}

// Deleting nullifies: the folder's items and sub-folders move to no folder and the top level
// (not to the deleted folder's parent), a tag leaves its items and sub-tags, in memory and on disk.
void StoreTest::changesAndDeletesSurviveReopen()
{
    QTemporaryDir dir;
    {
        auto ctx = open(dir);
        auto *parent = ctx->insert(new LibraryFolder("Parent"));
        auto *folder = ctx->insert(new LibraryFolder("Doomed", parent));
        auto *kept = ctx->insert(new LibraryFolder("Kept", folder));
        auto *tag = ctx->insert(new Tag("Doomed tag", ""));
        auto *subTag = ctx->insert(new Tag("Sub", "", tag));
        auto *item = ctx->insert(new ShortcutItem("ID", "Item"));
        auto *gone = ctx->insert(new ShortcutItem("ID2", "Gone"));
        item->setFolder(folder);
        item->addTag(tag);
        item->addTag(subTag);
        gone->addTag(subTag);
        QVERIFY(ctx->save());
        const QString folderUuid = folder->uuid();
        ctx->deleteRecord(folder);
        QVERIFY(folder->isDeleted());
        QCOMPARE(item->folder(), nullptr);
        QCOMPARE(kept->parent(), nullptr);
        QVERIFY(parent->children().isEmpty());
        QVERIFY(!ctx->folders().contains(folder));
        QCOMPARE(ctx->folder(folderUuid), nullptr);
        ctx->deleteRecord(tag);
        QCOMPARE(item->tags(), QList<Tag *>{subTag});
        QCOMPARE(subTag->parent(), nullptr);
        ctx->deleteRecord(gone);
        QCOMPARE(subTag->shortcuts(), QList<ShortcutItem *>{item});
        item->setName("Renamed");
        kept->setName("Kept at top");
        QVERIFY(ctx->save());
    }
    auto ctx = open(dir);
    QCOMPARE(ctx->shortcuts().size(), 1);
    const ShortcutItem *item = ctx->shortcuts().at(0);
    QCOMPARE(item->name(), "Renamed");
    QCOMPARE(item->folder(), nullptr);
    QCOMPARE(item->tags().size(), 1);
    QCOMPARE(ctx->tags().size(), 1);
    QCOMPARE(ctx->tags().at(0)->parent(), nullptr);
    QCOMPARE(ctx->folders().size(), 2);
    QCOMPARE(ctx->folders().at(1)->name(), "Kept at top");
    QCOMPARE(ctx->folders().at(1)->parent(), nullptr);
    QCOMPARE(ctx->store()->database().scalar("SELECT count(*) FROM shortcut_tags")->toInt(), 1);

    // Ids are never reused after a delete and reopen.
    auto *fresh = ctx->insert(new ShortcutItem("ID3", "Fresh"));
    QVERIFY(fresh->persistentId() > item->persistentId());
}

// Sync stamps lastSeenAt / isMissing and moves libraryOrder far more often than it changes
// anything else; those saves take narrower paths than a full row and must land on exactly the
// rows they belong to.
void StoreTest::seenStampsAndOrderSurviveReopen()
{
    QTemporaryDir dir;
    const QDateTime before = at("2024-01-01T00:00:00.000Z");
    const QDateTime later = at("2024-02-02T10:20:30.456Z");
    QJsonArray written;
    {
        auto ctx = open(dir);
        for (int i = 1; i <= 7; ++i) {
            auto *item = ctx->insert(new ShortcutItem(QString::number(i), QString::number(i)));
            item->setLastSeenAt(before);
            item->setLibraryOrder(i);
            item->setNotes(QStringLiteral("note %1").arg(i));
        }
        QVERIFY(ctx->save());
        const QList<ShortcutItem *> &s = ctx->shortcuts();
        for (int i : {0, 1, 3}) // stamped alike; 3 is not next to 1
            s[i]->setLastSeenAt(later);
        s[2]->setLibraryOrder(30); // order and stamp
        s[2]->setLastSeenAt(later);
        // 5 stays untouched between stamped neighbours; 6 is stamped and goes missing.
        s[5]->setLastSeenAt(later);
        s[5]->setIsMissing(true);
        s[6]->setName(QStringLiteral("Renamed")); // a full row beside a stamp
        s[6]->setLastSeenAt(later);
        written = snapshot(*ctx);
        QVERIFY(ctx->save());
    }
    auto ctx = open(dir);
    QCOMPARE(snapshot(*ctx), written);
    QCOMPARE(ctx->shortcuts().at(4)->lastSeenAt(), before);
}

// A new store records its schema and journal mode; a save that fails midway writes nothing.
void StoreTest::failedSaveWritesNothing()
{
    QTemporaryDir dir;
    auto ctx = open(dir);
    SqliteDatabase &db = ctx->store()->database();
    QCOMPARE(db.scalar("PRAGMA user_version")->toInt(), LibraryStore::schemaVersion);
    QCOMPARE(db.scalar("SELECT value FROM store_metadata WHERE key = 'schemaVersion'")->toString(),
             LibraryStore::schemaVersionText);
    QCOMPARE(db.scalar("PRAGMA journal_mode")->toString(), "wal");
    QCOMPARE(LibraryStoreContainer::storePath(dir.path()), dir.filePath("Thimblecraft.store"));
    auto *item = ctx->insert(new ShortcutItem("ID", "Before"));
    QVERIFY(ctx->save());
    // Break the icon table behind the context's back so the icon write fails mid-save.
    QVERIFY(db.exec("DROP TABLE shortcut_icons"));
    item->setName("After");
    ctx->insert(new ShortcutItem("ID2", "New"))->setIconData(QByteArray("x"));
    QString error;
    QVERIFY(!ctx->save(&error));
    QVERIFY(!error.isEmpty());
    QVERIFY(ctx->hasChanges()); // nothing is forgotten: a later save can still write it
    QCOMPARE(db.scalar("SELECT name FROM shortcut_items")->toString(), "Before");
    QCOMPARE(db.scalar("SELECT count(*) FROM shortcut_items")->toInt(), 1);
}

void StoreTest::newerSchemaIsRefusedUntouched()
{
    QTemporaryDir dir;
    {
        auto ctx = open(dir);
        ctx->insert(new ShortcutItem("ID", "Item"));
        QVERIFY(ctx->save());
        QVERIFY(ctx->store()->database().exec(
            QStringLiteral("PRAGMA user_version=%1").arg(LibraryStore::schemaVersion + 1)));
    }
    QFile file(LibraryStoreContainer::storePath(dir.path()));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray before = file.readAll();
    file.close();
    QString error;
    QVERIFY(!LibraryStoreContainer::open(dir.path(), &error));
    QVERIFY2(error.contains("newer version"), qPrintable(error));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), before);
}

// A library as the first release wrote it: sync stamps inside the item rows.
void StoreTest::firstSchemaIsMigrated()
{
    QTemporaryDir dir;
    {
        SqliteDatabase db;
        QVERIFY(db.open(LibraryStoreContainer::storePath(dir.path()),
                        SqliteDatabase::Mode::readWriteCreate));
        QVERIFY(db.exec(LibraryStore::migrationSql(1)));
        QVERIFY(db.exec(R"sql(
INSERT INTO shortcut_items VALUES
  (1, 'A', 'Alpha', '', '', '', '', '', 7, '', '', 1, 3, NULL, NULL, 100, 200, 1700000000.5, 0,
   1, NULL, 4, 'kept note', NULL, 0),
  (2, 'B', 'Beta', '', '', '', '', '', 2, '', '', 0, 1, NULL, NULL, 100, 200, 1600000000, 1,
   0, NULL, 0, '', NULL, 0);
PRAGMA user_version = 1;
)sql"));
    }
    {
        auto ctx = open(dir);
        QVERIFY(ctx);
        const QList<ShortcutItem *> &s = ctx->shortcuts();
        QCOMPARE(s.size(), 2);
        QCOMPARE(s[0]->libraryOrder(), 7);
        QCOMPARE(s[0]->lastSeenAt(), QDateTime::fromMSecsSinceEpoch(1700000000500, Qt::UTC));
        QVERIFY(!s[0]->isMissing());
        QCOMPARE(s[0]->notes(), QStringLiteral("kept note"));
        QCOMPARE(s[0]->runCount(), 4);
        QVERIFY(s[0]->isFavorite());
        QCOMPARE(s[1]->libraryOrder(), 2);
        QVERIFY(s[1]->isMissing());
        SqliteDatabase &db = ctx->store()->database();
        QCOMPARE(db.scalar("PRAGMA user_version")->toInt(), LibraryStore::schemaVersion);
        // The stamps live in one place only.
        QVERIFY(!db.prepare("SELECT last_seen_at FROM shortcut_items").isValid());
        s[1]->setIsMissing(false);
        QVERIFY(ctx->save());
    }
    auto ctx = open(dir);
    QVERIFY(!ctx->shortcuts().at(1)->isMissing());
    QCOMPARE(ctx->shortcuts().at(0)->libraryOrder(), 7);
}

void StoreTest::itemWithoutSyncRowReadsAndHeals()
{
    QTemporaryDir dir;
    const QDateTime first = at("2024-01-01T00:00:00.000Z");
    const QDateTime seen = at("2024-03-01T00:00:00.000Z");
    {
        auto ctx = open(dir);
        for (int i = 1; i <= 3; ++i) {
            auto *item = ctx->insert(new ShortcutItem(QString::number(i), QString::number(i)));
            item->setFirstSeenAt(first);
            item->setLastSeenAt(first);
            item->setLibraryOrder(i);
        }
        QVERIFY(ctx->save());
        QVERIFY(ctx->store()->database().exec("DELETE FROM shortcut_sync_state WHERE item_id = 2"));
    }
    {
        auto ctx = open(dir);
        const QList<ShortcutItem *> &s = ctx->shortcuts();
        QCOMPARE(s.size(), 3);
        QCOMPARE(s[1]->lastSeenAt(), first);
        // A sync stamps all three alike; the row-less one must not be lost in a ranged update.
        for (ShortcutItem *item : s)
            item->setLastSeenAt(seen);
        QVERIFY(ctx->save());
    }
    auto ctx = open(dir);
    for (ShortcutItem *item : ctx->shortcuts())
        QCOMPARE(item->lastSeenAt(), seen);
    QCOMPARE(ctx->store()->database().scalar("SELECT count(*) FROM shortcut_sync_state")->toInt(),
             3);
}

QTEST_GUILESS_MAIN(StoreTest)
// From a few thousand shortcuts, the upper half of the ids is read through a second connection.
void StoreTest::largeLibraryReadsInHalves()
{
    QTemporaryDir dir;
    QJsonArray written;
    QByteArray organisation;
    {
        auto ctx = open(dir);
        fillRandomOrganisation(*ctx, 11, 6000);
        QVERIFY(ctx->save());
        // Gaps in the ids, more of them in the lower third, none around the middle.
        const QList<ShortcutItem *> all = ctx->shortcuts();
        for (qsizetype i = 0; i < all.size(); ++i)
            if ((i < 2000 && i % 3 == 0) || (i > 4000 && i % 11 == 0))
                ctx->deleteRecord(all.at(i));
        QVERIFY(ctx->save());
        written = snapshot(*ctx);
        organisation = exportDocument(*ctx);
    }
    QString error;
    for (const bool writable : {true, false}) {
        auto ctx = writable ? open(dir)
                            : LibraryStoreContainer::openReadOnly(dir.path(), &error,
                                                                  LibraryStore::Writers::excluded);
        QVERIFY2(ctx, qPrintable(error));
        QCOMPARE(snapshot(*ctx), written);
        QCOMPARE(exportDocument(*ctx), organisation);
    }

    // A damaged page among the higher ids fails the load, as it would in one pass. (One three
    // quarters along: finding the lowest and highest ids reads the first and last pages.)
    const QString path = LibraryStoreContainer::storePath(dir.path());
    qint64 page = 0, pageSize = 0;
    {
        SqliteDatabase db;
        QVERIFY(db.open(path, SqliteDatabase::Mode::readWrite));
        QVERIFY(db.exec(QStringLiteral("PRAGMA journal_mode=DELETE")));
        page =
            db
                .scalar(QStringLiteral(
                    "SELECT pageno FROM dbstat WHERE name = 'shortcut_items' "
                    "AND pagetype = 'leaf' ORDER BY path LIMIT 1 OFFSET (SELECT count(*) * 3 / 4 "
                    "FROM dbstat WHERE name = 'shortcut_items' AND "
                    "pagetype = 'leaf')"))
                .value_or(0)
                .toLongLong();
        pageSize = db.scalar(QStringLiteral("PRAGMA page_size")).value_or(0).toLongLong();
    }
    QVERIFY(page > 1 && pageSize > 0);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.seek((page - 1) * pageSize));
    QCOMPARE(file.write(QByteArray(pageSize, char(0xA5))), pageSize);
    file.close();
    error.clear();
    QVERIFY(!LibraryStoreContainer::open(dir.path(), &error));
    QVERIFY(!error.isEmpty());
}

#include "tst_store.moc"

void StoreTest::repeatedTextsAreHeldOnce()
{
    QTemporaryDir dir;
    {
        auto ctx = open(dir);
        for (int i = 0; i < 3; ++i) {
            auto *item = ctx->insert(new ShortcutItem(QString::number(i), QString::number(i)));
            item->setColorHex(i < 2 ? "#FF9500" : "#34C759");
            item->setNativeFolderName("Été ☀️");
        }
        QVERIFY(ctx->save());
    }
    auto ctx = open(dir);
    const QList<ShortcutItem *> items = ctx->shortcuts();
    QCOMPARE(items.at(0)->colorHex(), "#FF9500");
    QCOMPARE(items.at(2)->colorHex(), "#34C759");
    QCOMPARE(items.at(2)->nativeFolderName(), "Été ☀️");
    // One copy in memory for every row that holds the text.
    QCOMPARE(items.at(0)->colorHex().constData(), items.at(1)->colorHex().constData());
    QCOMPARE(items.at(0)->nativeFolderName().constData(),
             items.at(2)->nativeFolderName().constData());
    // A change to one row's copy leaves the others as they were.
    items.at(0)->setColorHex("#000000");
    QCOMPARE(items.at(1)->colorHex(), "#FF9500");

    // Past its bound the table stops growing, and texts still convert exactly, bad bytes too.
    RepeatedTexts repeated(2);
    for (const QByteArray &bytes : {QByteArray("a"), QByteArray("b"), QByteArray("c"),
                                    QByteArray("\xff\xfe x"), QByteArray("a\0b", 3)}) {
        QCOMPARE(repeated.text(bytes), QString::fromUtf8(bytes));
        QCOMPARE(repeated.text(bytes), QString::fromUtf8(bytes));
    }
    QCOMPARE(repeated.size(), size_t(2));
}
