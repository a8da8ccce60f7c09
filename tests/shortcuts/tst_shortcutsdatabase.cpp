#include "common/ShortcutsSqlite.h"
#include "model/AppSettings.h"
#include "model/SqliteDatabase.h"
#include "shortcuts/FolderChooser.h"
#include "shortcuts/ShortcutsDatabase.h"
#include "shortcuts/ShortcutsEventsBridge.h"
#include "simulator/SimulatedLibrary.h"
#include "simulator/SimulatedShortcutsDatabase.h"
#include "simulator/SimulatedShortcutsEvents.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtConcurrent>
#include <QtTest>

namespace {
using SimulatedShortcutsDatabase::Entry;

QString insert(const QString &id, const QString &rest)
{
    return QStringLiteral("INSERT INTO ZSHORTCUT (ZWORKFLOWID, ZTOMBSTONED, "
                          "ZHASUSERPROVIDEDNAMEORICON, ZASSOCIATEDAPPBUNDLEIDENTIFIER, "
                          "ZCREATIONDATE, ZMODIFICATIONDATE, ZLASTRUNEVENTDATE) VALUES (%1, %2)")
        .arg(id, rest);
}

QDateTime reference(double seconds)
{
    return QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC).addMSecs(qint64(seconds * 1000));
}

class RecordingChooser final : public FolderChooser {
public:
    std::optional<QString> answer;
    QList<Request> requests;
    std::optional<QString> chooseFolder(const Request &request) override
    {
        requests.append(request);
        return answer;
    }
};
} // namespace

class TestShortcutsDatabase : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_temp.isValid() && m_settings.isValid());
        // Keep snapshots out of the shared temporary directory.
        qputenv("TMPDIR", QFile::encodeName(m_temp.path()));
        QCOMPARE(QDir::tempPath(), QDir(m_temp.path()).canonicalPath());
        AppSettings::useDataDirectory(m_settings.path());
    }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(m_folder->isValid());
    }

    void rowsFromTheTable()
    {
        QVERIFY(makeShortcutsDatabase(m_folder->path(),
                                      {
                                          insert("'A'", "0, 1, 'com.example.notes', 10, 20, 30"),
                                          insert("'B'", "NULL, 0, '', NULL, NULL, NULL"),
                                          insert("'C'", "1, 1, 'com.example.gone', 0, 0, 0"),
                                          insert("'D'", "2, NULL, NULL, 0, 0, 0"),
                                          insert("'E'", "0, 2, 'com.example.two', 0, 0, 0"),
                                          insert("NULL", "0, 1, 'com.example.nameless', 0, 0, 0"),
                                          insert("'F'", "0, '1', 'x', 0, 0, 0"),
                                          insert("'A'", "0, 0, NULL, 40, 50, 60"),
                                      }));
        const ShortcutsDatabase::Rows rows = ShortcutsDatabase::readRows(m_folder->path());
        // C (tombstoned), D (tombstone 2) and the row without identifier are left out.
        QCOMPARE(QSet<QString>(rows.keyBegin(), rows.keyEnd()),
                 (QSet<QString>{"A", "B", "E", "F"}));

        // The later of the two A rows wins.
        const ShortcutsDatabase::Row a = rows.value("A");
        QCOMPARE(a.workflowID, QString("A"));
        QVERIFY(!a.appBundleID.has_value());
        QVERIFY(!a.userProvidedIcon);
        QCOMPARE(a.createdAt, std::optional(reference(40)));
        QCOMPARE(a.modifiedAt, std::optional(reference(50)));
        QCOMPARE(a.lastRunAt, std::optional(reference(60)));

        const ShortcutsDatabase::Row b = rows.value("B");
        QVERIFY(!b.appBundleID.has_value()); // empty text
        QVERIFY(!b.userProvidedIcon);
        QVERIFY(!b.createdAt && !b.modifiedAt && !b.lastRunAt);

        QCOMPARE(rows.value("E").appBundleID, std::optional<QString>("com.example.two"));
        QVERIFY(!rows.value("E").userProvidedIcon); // only 1 means true
        QVERIFY(rows.value("F").userProvidedIcon);  // text '1' stored as the integer 1
    }

    void dates_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("present");
        QTest::addColumn<double>("seconds");
        QTest::newRow("zero is the reference instant") << "0" << true << 0.0;
        QTest::newRow("fractions kept") << "1.5" << true << 1.5;
        QTest::newRow("before the reference") << "-31.25" << true << -31.25;
        QTest::newRow("a recent date") << "735000000.125" << true << 735000000.125;
        QTest::newRow("text number") << "'86400'" << true << 86400.0;
        QTest::newRow("exponent") << "'1e3'" << true << 1000.0;
        QTest::newRow("trailing garbage") << "'5s'" << false << 0.0;
        QTest::newRow("comma decimal") << "'1,5'" << false << 0.0;
        QTest::newRow("word") << "'yesterday'" << false << 0.0;
        QTest::newRow("infinite") << "'inf'" << false << 0.0;
        QTest::newRow("far beyond any calendar") << "1e300" << false << 0.0;
        QTest::newRow("blob") << "x'0102'" << false << 0.0;
        QTest::newRow("null") << "NULL" << false << 0.0;
    }

    void dates()
    {
        QFETCH(QString, value);
        QFETCH(bool, present);
        QFETCH(double, seconds);
        QVERIFY(makeShortcutsDatabase(
            m_folder->path(),
            {insert("'X'", "0, 0, NULL, " + value + ", " + value + ", " + value)}));
        const auto rows = ShortcutsDatabase::readRows(m_folder->path());
        QVERIFY(rows.contains("X"));
        const auto row = rows.value("X");
        QCOMPARE(row.createdAt.has_value(), present);
        if (present) {
            QCOMPARE(*row.createdAt, reference(seconds));
            QCOMPARE(row.createdAt->timeSpec(), Qt::UTC);
            QCOMPARE(row.modifiedAt, row.createdAt);
            QCOMPARE(row.lastRunAt, row.createdAt);
        }
        // Numeric columns trim blanks themselves; the parser does not.
        QVERIFY(!ShortcutsDatabase::dateFromReferenceSeconds(" 5").has_value());
        QVERIFY(!ShortcutsDatabase::dateFromReferenceSeconds("5 ").has_value());
        QVERIFY(!ShortcutsDatabase::dateFromReferenceSeconds(".").has_value());
        QCOMPARE(ShortcutsDatabase::dateFromReferenceSeconds(".5"), std::optional(reference(0.5)));
    }

    void unreadableDatabases_data()
    {
        QTest::addColumn<QByteArray>("fileContents");
        QTest::addColumn<QByteArray>("schema");
        QTest::newRow("no database file") << QByteArray() << QByteArray();
        QTest::newRow("random bytes")
            << QByteArray("SQLite format 3\0garbage garbage", 31).repeated(200) << QByteArray();
        QTest::newRow("no ZSHORTCUT table") << QByteArray() << QByteArray("CREATE TABLE OTHER (A)");
        QTest::newRow("no ZTOMBSTONED column")
            << QByteArray()
            << QByteArray("CREATE TABLE ZSHORTCUT (ZWORKFLOWID, ZASSOCIATEDAPPBUNDLEIDENTIFIER, "
                          "ZHASUSERPROVIDEDNAMEORICON, ZCREATIONDATE, ZMODIFICATIONDATE, "
                          "ZLASTRUNEVENTDATE)");
    }

    void unreadableDatabases()
    {
        QFETCH(QByteArray, fileContents);
        QFETCH(QByteArray, schema);
        const QString path = m_folder->filePath("Shortcuts.sqlite");
        if (!fileContents.isEmpty()) {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(fileContents);
        } else if (!schema.isEmpty()) {
            QVERIFY(makeShortcutsDatabase(m_folder->path(), {}, schema.constData()));
        }
        QVERIFY(ShortcutsDatabase::readRows(m_folder->path()).isEmpty());
        // The read-only open never creates a database where there was none.
        if (fileContents.isEmpty() && schema.isEmpty()) {
            QVERIFY(!QFile::exists(ShortcutsDatabase::snapshotDirectory() + "/Shortcuts.sqlite"));
            QVERIFY(!QFile::exists(path));
        }
    }

    void writeAheadLogIsCopied()
    {
        // Shortcuts keeps its database in WAL mode; recent changes live only in the -wal file
        // while the app has the database open.
        SqliteDatabase live;
        QVERIFY(live.open(m_folder->filePath("Shortcuts.sqlite"),
                          SqliteDatabase::Mode::readWriteCreate));
        QVERIFY(live.exec("PRAGMA journal_mode=WAL"));
        QVERIFY(live.exec("PRAGMA wal_autocheckpoint=0"));
        QVERIFY(live.exec(shortcutsSchema));
        QVERIFY(live.exec(insert("'W'", "0, 1, 'com.example.wal', 1, 2, 3")));
        QVERIFY(QFile::exists(m_folder->filePath("Shortcuts.sqlite-wal")));

        const auto rows = ShortcutsDatabase::readRows(m_folder->path());
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows.value("W").appBundleID, std::optional<QString>("com.example.wal"));
        for (const char *name :
             {"Shortcuts.sqlite", "Shortcuts.sqlite-wal", "Shortcuts.sqlite-shm"})
            QVERIFY2(QFile::exists(ShortcutsDatabase::snapshotDirectory() + "/" + name), name);

        // The live database was only copied: its log still holds the change.
        QVERIFY(QFileInfo(m_folder->filePath("Shortcuts.sqlite-wal")).size() > 0);
    }

    void snapshotFolderIsPrivateAndFresh()
    {
        QVERIFY(makeShortcutsDatabase(m_folder->path(), {insert("'S'", "0, 0, NULL, 0, 0, 0")}));
        const QString snapshotDir = ShortcutsDatabase::snapshotDirectory();

        // Leftovers of an earlier snapshot are removed.
        QDir().mkpath(snapshotDir);
        QFile stale(snapshotDir + "/Shortcuts.sqlite-wal");
        QVERIFY(stale.open(QIODevice::WriteOnly));
        stale.write("stale log from an earlier copy");
        stale.close();

        auto snapshot = ShortcutsDatabase::copySnapshot(m_folder->path());
        QVERIFY2(snapshot.ok(), qPrintable(snapshot.error));
        QCOMPARE(snapshot.databasePath, snapshotDir + "/Shortcuts.sqlite");
        QVERIFY(!QFile::exists(snapshotDir + "/Shortcuts.sqlite-wal"));
        // Nobody but the owner may look inside (User bits are the owner's, seen by the owner).
        QCOMPARE(QFileInfo(snapshotDir).permissions() & 0x0777,
                 QFile::ReadUser | QFile::WriteUser | QFile::ExeUser);
        QCOMPARE(ShortcutsDatabase::readRows(m_folder->path()).size(), 1);

        // A link planted where the snapshot goes is replaced, never followed.
        QTemporaryDir victim;
        QFile keep(victim.filePath("keep.txt"));
        QVERIFY(keep.open(QIODevice::WriteOnly));
        keep.close();
        QVERIFY(QDir(snapshotDir).removeRecursively());
        QVERIFY(QFile::link(victim.path(), snapshotDir));
        snapshot = ShortcutsDatabase::copySnapshot(m_folder->path());
        QVERIFY2(snapshot.ok(), qPrintable(snapshot.error));
        QVERIFY(!QFileInfo(snapshotDir).isSymLink());
        QVERIFY(QFile::exists(victim.filePath("keep.txt")));
        QVERIFY(!QFile::exists(victim.filePath("Shortcuts.sqlite")));

        // An empty folder gives an empty snapshot, not an error.
        QTemporaryDir empty;
        snapshot = ShortcutsDatabase::copySnapshot(empty.path());
        QVERIFY(snapshot.ok());
        QVERIFY(!QFile::exists(snapshot.databasePath));

        // Whatever another account left in the shared temporary directory (here a file where
        // the snapshot folder would go, which this user could not remove) does not stop reads.
        QFile theirs(QDir::tempPath() + QStringLiteral("/ShortcutsSnapshot"));
        QDir(theirs.fileName()).removeRecursively(); // an earlier snapshot of this test run
        QVERIFY(theirs.open(QIODevice::WriteOnly));
        theirs.close();
        const auto cleanUp = qScopeGuard([&theirs] { theirs.remove(); });
        QCOMPARE(ShortcutsDatabase::readRows(m_folder->path()).size(), 1);
        QVERIFY(theirs.exists());
    }

    // A blob where a text is expected is damage: no identifier, no app.
    void blobsAreNoIdentifiers()
    {
        QVERIFY(makeShortcutsDatabase(m_folder->path(),
                                      {insert("x'41'", "0, 0, 'com.example.blobid', 0, 0, 0"),
                                       insert("'B'", "0, 0, x'636f6d2e6578616d706c65', 0, 0, 0"),
                                       insert("'C'", "0, 0, 'com.example.c', x'00', 0, 0")}));
        const ShortcutsDatabase::Rows rows = ShortcutsDatabase::readRows(m_folder->path());
        QCOMPARE(QSet<QString>(rows.keyBegin(), rows.keyEnd()), (QSet<QString>{"B", "C"}));
        QVERIFY(!rows.value("B").appBundleID.has_value());
        QCOMPARE(rows.value("C").appBundleID, std::optional<QString>("com.example.c"));
        QVERIFY(!rows.value("C").createdAt.has_value());
    }

    void genericQuery()
    {
        SqliteDatabase db;
        QVERIFY(db.open(":memory:", SqliteDatabase::Mode::readWriteCreate));
        auto rows = ShortcutsDatabase::query(
            db,
            "select NULL as n, x'010203' as b, zeroblob(0) as e, 42 as i, 1.5 as r, 'text' as t, "
            "1 as dup, 2 as dup");
        QCOMPARE(rows.size(), 1);
        const QHash<QString, QString> expected{
            {"n", "NULL"}, {"b", "<blob 3B>"}, {"e", "<blob 0B>"}, {"i", "42"},
            {"r", "1.5"},  {"t", "text"},      {"dup", "2"}};
        QCOMPARE(rows.first(), expected);

        rows = ShortcutsDatabase::query(db, "select 1 as v union all select 2 union all select 3");
        QCOMPARE(rows.size(), 3);
        QCOMPARE(rows.last().value("v"), QString("3"));

        QVERIFY(ShortcutsDatabase::query(db, "select 1 where 0").isEmpty());
        QVERIFY(ShortcutsDatabase::query(db, "select from nowhere").isEmpty());
        QVERIFY(ShortcutsDatabase::query(db, "").isEmpty());
    }

    void folderAccess()
    {
        QSettings &settings = AppSettings::store();
        settings.remove(ShortcutsDatabase::bookmarkKey);
        QVERIFY(!ShortcutsDatabase::hasFolderAccess());
        QVERIFY(!ShortcutsDatabase::loadRows().has_value());

        auto chooser = std::make_unique<RecordingChooser>();
        RecordingChooser *recording = chooser.get();
        FolderChooser::setShared(std::move(chooser));

        // Cancelled: nothing stored.
        QVERIFY(!ShortcutsDatabase::chooseShortcutsFolder());
        QCOMPARE(recording->requests.size(), 1);
        const FolderChooser::Request request = recording->requests.first();
        QCOMPARE(request.startDirectory, QDir::homePath() + "/Library/Shortcuts");
        QCOMPARE(request.message,
                 QString("Select the Shortcuts folder so Thimblecraft can show app "
                         "icons the way Shortcuts does."));
        QCOMPARE(request.prompt, QString("Grant Access"));
        QVERIFY(!ShortcutsDatabase::hasFolderAccess());

        QVERIFY(makeShortcutsDatabase(m_folder->path(),
                                      {insert("'L'", "0, 1, 'com.example.linked', 0, 0, 0")}));
        recording->answer = m_folder->path();
        QVERIFY(ShortcutsDatabase::chooseShortcutsFolder());
        QVERIFY(ShortcutsDatabase::hasFolderAccess());
        auto rows = ShortcutsDatabase::loadRows();
        QVERIFY(rows.has_value());
        QCOMPARE(rows->value("L").appBundleID, std::optional<QString>("com.example.linked"));

        // Cancelling later keeps the earlier folder; the test hook answers without asking.
        FolderChooser::answerNextWith(std::nullopt);
        QVERIFY(!ShortcutsDatabase::chooseShortcutsFolder());
        QCOMPARE(recording->requests.size(), 2);
        QVERIFY(ShortcutsDatabase::loadRows().has_value());

        // A linked folder without a database reads as linked but empty.
        QTemporaryDir other;
        FolderChooser::answerNextWith(other.path());
        QVERIFY(ShortcutsDatabase::chooseShortcutsFolder());
        rows = ShortcutsDatabase::loadRows();
        QVERIFY(rows.has_value());
        QVERIFY(rows->isEmpty());

        // A folder that is gone cannot be reached: no value, and the link stays.
        const QString gone = other.path();
        other.remove();
        QVERIFY(!ShortcutsDatabase::loadRows().has_value());
        QVERIFY(ShortcutsDatabase::hasFolderAccess());
        QCOMPARE(settings.value(ShortcutsDatabase::bookmarkKey).toByteArray(), gone.toUtf8());

        settings.setValue(ShortcutsDatabase::bookmarkKey, QByteArray("relative/path"));
        QVERIFY(!ShortcutsDatabase::loadRows().has_value());
        FolderChooser::setShared(nullptr);
    }

    // The simulated Shortcuts app writes a database the reader reads like the real one.
    void readBackByTheReader()
    {
        QTemporaryDir folder;
        const QDateTime created(QDate(2023, 5, 1), QTime(8, 30, 15, 250), Qt::UTC);
        const QDateTime ran(QDate(2024, 1, 2), QTime(0, 0), Qt::UTC);
        QList<Entry> entries;
        entries.append({"ID-1", "Morning", created, created.addDays(3), ran, "com.example.notes",
                        true, false, 12});
        entries.append({"ID-2", "Gone", created, created, std::nullopt, "", false, true, 1});
        entries.append(
            {"ID-3", "Plain", std::nullopt, std::nullopt, std::nullopt, "", false, false, 0});
        QString error;
        QVERIFY2(SimulatedShortcutsDatabase::write(folder.path(), entries, &error),
                 qPrintable(error));

        const auto rows = ShortcutsDatabase::readRows(folder.path());
        QCOMPARE(rows.size(), 2); // the tombstoned one is left out
        const auto first = rows.value("ID-1");
        QCOMPARE(first.appBundleID, std::optional<QString>("com.example.notes"));
        QVERIFY(first.userProvidedIcon);
        QCOMPARE(first.createdAt, std::optional(created));
        QCOMPARE(first.modifiedAt, std::optional(created.addDays(3)));
        QCOMPARE(first.lastRunAt, std::optional(ran));
        const auto plain = rows.value("ID-3");
        QVERIFY(!plain.appBundleID && !plain.createdAt && !plain.lastRunAt &&
                !plain.userProvidedIcon);
    }

    void rewritesReplaceTheFileWhole()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath("Shortcuts.sqlite");
        // A stale log beside the file would be replayed onto the new database.
        QFile stale(path + "-wal");
        QVERIFY(stale.open(QIODevice::WriteOnly));
        stale.write(QByteArray(4096, 'x'));
        stale.close();

        QList<Entry> entries{
            {"A", "A", std::nullopt, std::nullopt, std::nullopt, "", false, false, 0}};
        QVERIFY(SimulatedShortcutsDatabase::writeIfChanged(folder.path(), entries));
        QVERIFY(!QFile::exists(path + "-wal"));
        QCOMPARE(ShortcutsDatabase::readRows(folder.path()).size(), 1);

        // Unchanged entries leave the file alone; changed ones replace it.
        const QDateTime before = QFileInfo(path).lastModified();
        QVERIFY(SimulatedShortcutsDatabase::writeIfChanged(folder.path(), entries));
        QCOMPARE(QFileInfo(path).lastModified(), before);

        // Readers copying while the library is rewritten see one whole file or the other.
        auto reads = QtConcurrent::run([&] {
            QList<int> sizes;
            for (int i = 0; i < 20; ++i) {
                SqliteDatabase db;
                // Straight at the file: the reader's snapshot folder is not for concurrent use.
                if (db.open(path, SqliteDatabase::Mode::readOnly))
                    sizes.append(ShortcutsDatabase::query(db, "select count(*) as n from ZSHORTCUT")
                                     .value(0)
                                     .value("n", "-1")
                                     .toInt());
            }
            return sizes;
        });
        for (int i = 0; i < 20; ++i) {
            entries.append({QString("X%1").arg(i), "X", std::nullopt, std::nullopt, std::nullopt,
                            "", false, false, 0});
            QVERIFY(SimulatedShortcutsDatabase::writeIfChanged(folder.path(), entries));
        }
        for (int n : reads.result())
            QVERIFY2(n >= 1 && n <= 21, qPrintable(QString::number(n)));
        QCOMPARE(ShortcutsDatabase::readRows(folder.path()).size(), 21);
        const QStringList leftovers = QDir(folder.path()).entryList(QDir::Files | QDir::Hidden);
        QCOMPARE(leftovers, QStringList{"Shortcuts.sqlite"});
    }

    // The sample library written for the reader, and kept current by the simulated app.
    void sampleLibrary()
    {
        QString error;
        auto library = SimulatedLibrary::fromJson(SimulatedLibrary::sampleJson(), &error);
        QVERIFY2(library.has_value(), qPrintable(error));
        QTemporaryDir dir;
        const QString libraryPath = dir.filePath("library.json");
        QVERIFY(SimulatedShortcutsDatabase::updateForLibrary(*library, libraryPath, &error));
        const QString folder = SimulatedShortcutsDatabase::folderFor(libraryPath);
        QCOMPARE(folder, dir.filePath("Shortcuts"));
        auto rows = ShortcutsDatabase::readRows(folder);
        QCOMPARE(rows.size(), library->shortcuts.size());
        for (const SimulatedShortcut &s : library->shortcuts) {
            QVERIFY(rows.contains(s.identifier));
            QCOMPARE(rows.value(s.identifier).appBundleID.value_or(QString()), s.appBundleID);
            QCOMPARE(rows.value(s.identifier).userProvidedIcon, s.customIcon);
        }

        // Editing the library file is seen by the next script.
        QVERIFY(library->save(libraryPath, &error));
        SimulatedShortcutsEvents events(libraryPath);
        library->shortcuts.first().appBundleID = "com.example.edited";
        library->shortcuts.removeLast();
        QTest::qWait(20); // a modification time the file system can tell apart
        QVERIFY(library->save(libraryPath, &error));
        QCOMPARE(events.execute(ShortcutsEventsBridge::listScript()).kind,
                 ScriptHostReply::Kind::reply);
        rows = ShortcutsDatabase::readRows(folder);
        QCOMPARE(rows.size(), library->shortcuts.size());
        QCOMPARE(rows.value(library->shortcuts.first().identifier).appBundleID,
                 std::optional<QString>("com.example.edited"));
    }

private:
    QTemporaryDir m_temp;
    QTemporaryDir m_settings;
    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(TestShortcutsDatabase)
#include "tst_shortcutsdatabase.moc"
