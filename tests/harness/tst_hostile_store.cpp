// Hands the real program store files it did not write (or cannot use) and checks that it either
// refuses them cleanly, leaving them byte for byte as they were, or reads them without crashing.

#include "harness/ProgramRuns.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "model/SqliteDatabase.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>
#include <unistd.h>

namespace {

const QByteArray kFatalPrefix = "Could not open the Thimblecraft store: ";

Run runList(const QString &dataDir, const QStringList &extra = {})
{
    return runProgram(programPath(),
                      QStringList{QStringLiteral("list"), QStringLiteral("--data-dir"), dataDir} +
                          extra);
}

// Root writes through permissions, so the directory is made read-only by a read-only bind mount
// in a mount namespace of the child's own.
const QString kReadOnlyScript =
    QStringLiteral("d=\"$1\"; p=\"$2\"; shift 2; mount --bind \"$d\" \"$d\" && "
                   "mount -o remount,bind,ro \"$d\" && exec \"$p\" \"$@\" --data-dir \"$d\"");

Run runReadOnly(const QString &dataDir, const QStringList &arguments)
{
    return runProgram(QStringLiteral("unshare"),
                      QStringList{QStringLiteral("-m"), QStringLiteral("sh"), QStringLiteral("-c"),
                                  kReadOnlyScript, QStringLiteral("sh"), dataDir, programPath()} +
                          arguments);
}

bool canMountReadOnly()
{
    QTemporaryDir probe;
    const Run r = runProgram(
        QStringLiteral("unshare"),
        {QStringLiteral("-m"), QStringLiteral("sh"), QStringLiteral("-c"),
         QStringLiteral("mount --bind \"$1\" \"$1\" && mount -o remount,bind,ro \"$1\" && "
                        "! touch \"$1/x\" 2>/dev/null"),
         QStringLiteral("sh"), probe.path()});
    return !r.crashed && r.exitCode == 0;
}

// The store and everything beside it that SQLite could make for it (-wal, -shm, -journal), with
// the hash of their bytes: what "unchanged" means here. Other files of the data directory belong
// to other parts of the program.
QMap<QString, QByteArray> snapshot(const QString &root)
{
    QMap<QString, QByteArray> entries;
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString name = QDir(root).relativeFilePath(path);
        if (!name.startsWith(QLatin1String("Thimblecraft.store")))
            continue;
        if (it.fileInfo().isDir()) {
            entries.insert(name, "directory");
            continue;
        }
        QFile f(path);
        entries.insert(name, f.open(QIODevice::ReadOnly)
                                 ? QCryptographicHash::hash(f.readAll(), QCryptographicHash::Sha256)
                                 : QByteArray("unreadable"));
    }
    return entries;
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
}

// A genuine store with a few records of each kind, closed cleanly (no -wal or -shm left).
void makeRealStore(const QString &dataDir)
{
    QString error;
    auto ctx = LibraryStoreContainer::open(dataDir, &error);
    QVERIFY2(ctx, qPrintable(error));
    auto *folder = ctx->insert(new LibraryFolder(QStringLiteral("Work")));
    ctx->insert(new LibraryFolder(QStringLiteral("Inner"), folder));
    auto *tag = ctx->insert(new Tag(QStringLiteral("Daily"), QStringLiteral("#FF0000")));
    for (int n = 0; n < 40; ++n) {
        auto *item = ctx->insert(
            new ShortcutItem(QStringLiteral("ID-%1").arg(n), QStringLiteral("Shortcut %1").arg(n)));
        item->setIconData(QByteArray(3000, char('a' + n % 26)));
        item->setNotes(QString(200, u'n'));
        item->setFolder(n % 2 ? folder : nullptr);
        if (n % 3 == 0)
            item->addTag(tag);
    }
    QVERIFY2(ctx->save(&error), qPrintable(error));
}

// Runs SQL on a database file with a connection of our own.
void execOn(const QString &path, const QString &sql)
{
    SqliteDatabase db;
    QVERIFY2(db.open(path, SqliteDatabase::Mode::readWriteCreate), qPrintable(db.lastError()));
    QVERIFY2(db.exec(sql), qPrintable(db.lastError() + QStringLiteral(" in ") + sql));
}

} // namespace

class TestHostileStore : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void refusesAndLeavesUntouched_data();
    void refusesAndLeavesUntouched();
    void readsOddButReadableStores_data();
    void readsOddButReadableStores();
    void unwritableDataDirectory_data();
    void unwritableDataDirectory();
    void uncreatableDataDirectory();
};

void TestHostileStore::initTestCase()
{
    QVERIFY2(QFileInfo(programPath()).isExecutable(), qPrintable(programPath()));
}

// Each store starts as random bytes (with or without SQLite's header), a folder, or a real store
// or an empty database, then has SQL run on it and its file cut or scribbled over.
void TestHostileStore::refusesAndLeavesUntouched_data()
{
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("sql");
    QTest::addColumn<QString>("damage");
    const QString toDelete = QStringLiteral("PRAGMA journal_mode=DELETE");
    const QString notes =
        QStringLiteral("CREATE TABLE notes (id INTEGER PRIMARY KEY, body TEXT);"
                       "INSERT INTO notes (body) VALUES ('keep me'), ('and me');");
    const std::tuple<const char *, QString, QString, QString> rows[] = {
        {"garbage", "random", "", ""},
        {"garbageWithSqliteHeader", "random with header", "", ""},
        {"truncated", "real", "", "truncate"},
        {"truncatedWal", "real", toDelete, "truncate"},
        {"otherProgram", "", notes, ""},
        {"otherProgramWal", "", "PRAGMA journal_mode=WAL;" + notes, ""},
        {"otherProgramUserVersion1", "", notes + "PRAGMA user_version=1;", ""},
        {"newerSchema", "real", "PRAGMA user_version=99", ""},
        {"negativeSchema", "real", "PRAGMA user_version=-2", ""},
        {"storeIsDirectory", "folder", "", ""},
        {"missingTable", "real", "DROP TABLE tags", ""},
        {"missingColumn", "real", "ALTER TABLE shortcut_items DROP COLUMN notes", ""},
        {"corruptPage", "real", toDelete, "scribble"},
    };
    for (const auto &[name, start, sql, damage] : rows)
        QTest::newRow(name) << start << sql << damage;
}

void TestHostileStore::refusesAndLeavesUntouched()
{
    QFETCH(QString, start);
    QFETCH(QString, sql);
    QFETCH(QString, damage);
    QTemporaryDir tmp;
    QVERIFY(tmp.isValid());
    const QString dir = tmp.path();
    const QString store = LibraryStoreContainer::storePath(dir);
    if (start.startsWith(QLatin1String("random"))) {
        QRandomGenerator rng(42);
        QByteArray bytes(8192, Qt::Uninitialized);
        for (char &c : bytes)
            c = char(rng.bounded(256));
        if (start.endsWith(QLatin1String("header")))
            bytes.replace(0, 16, QByteArray("SQLite format 3\0", 16));
        QVERIFY(writeFile(store, bytes));
    } else if (start == QLatin1String("folder")) {
        QVERIFY(QDir().mkpath(store));
        QVERIFY(writeFile(store + QStringLiteral("/inside"), "x"));
    } else if (start == QLatin1String("real")) {
        makeRealStore(dir);
    }
    if (!sql.isEmpty())
        execOn(store, sql);
    if (!damage.isEmpty()) {
        QFile f(store);
        QVERIFY(f.open(QIODevice::ReadWrite));
        QVERIFY(f.size() > 16384);
        if (damage == QLatin1String("truncate"))
            QVERIFY(f.resize(f.size() / 2 + 100));
        // Scribbled over every page but the first: the header still reads, the tables do not.
        QByteArray bytes = f.readAll();
        if (damage == QLatin1String("scribble"))
            for (qsizetype i = 4096; i < bytes.size(); i += 7)
                bytes[i] = char(0xA5);
        QVERIFY(f.seek(0));
        QCOMPARE(f.write(bytes), bytes.size());
    }
    const auto before = snapshot(dir);
    QVERIFY(!before.isEmpty());

    const Run r = runList(dir);
    QVERIFY2(!r.crashed, r.err.constData());
    QCOMPARE(r.exitCode, 70);
    QVERIFY2(r.err.startsWith(kFatalPrefix), r.err.constData());
    QVERIFY2(r.err.size() > kFatalPrefix.size() + 1, "the error says nothing after the prefix");
    QVERIFY(r.out.isEmpty());
    // Same files with the same bytes, and no -wal, -shm or journal left next to them.
    QCOMPARE(snapshot(dir), before);
}

void TestHostileStore::readsOddButReadableStores_data()
{
    QTest::addColumn<QString>("sql");
    QTest::addColumn<int>("items");

    QTest::newRow("wrong types")
        << QStringLiteral(
               "UPDATE shortcut_items SET run_count = 'lots', "
               "first_seen_at = 'yesterday', native_created_at = 1e300, native_modified_at = "
               "-1e300, "
               "last_run_at = 9e999, name = x'FFFE00C0', "
               "is_favorite = 'yes', folder_id = 'abc', action_count = 9.9e18, notes = 12.5, "
               "accepts_input = x'' WHERE id % 2 = 0;"
               "UPDATE shortcut_sync_state SET library_order = x'DEADBEEF', last_seen_at = "
               "-9e999, is_missing = 'maybe' WHERE item_id % 3 = 0;"
               "DELETE FROM shortcut_sync_state WHERE item_id BETWEEN 20 AND 24;"
               "UPDATE library_folders SET sort_order = 'x', created_at = 1e308, name = x'00';"
               "UPDATE tags SET created_at = 'never', sort_order = -9223372036854775808;"
               "UPDATE smart_lists SET rules_data = 'not a rule set', created_at = x'00';"
               "UPDATE shortcut_icons SET data = 'text, not bytes' WHERE item_id < 5;"
               "DELETE FROM shortcut_icons WHERE item_id BETWEEN 5 AND 9;")
        << 40;
    QTest::newRow("broken relationships")
        << QStringLiteral("UPDATE library_folders SET parent_id = id;" // its own parent
                          "UPDATE tags SET parent_id = (SELECT max(id) FROM tags) WHERE id = "
                          "(SELECT min(id) FROM "
                          "tags);"
                          "UPDATE tags SET parent_id = (SELECT min(id) FROM tags) WHERE id = "
                          "(SELECT max(id) FROM "
                          "tags);" // a cycle of two
                          "UPDATE shortcut_items SET folder_id = 999999 WHERE id < 10;"
                          "INSERT INTO shortcut_tags VALUES (1, 424242), (424242, 1), (-1, -1);"
                          "UPDATE shortcut_items SET has_icon = 1;")
        << 40;
    // Same columns, no types and no constraints: every field may be NULL.
    const QString untyped = QStringLiteral(
        "DROP TABLE shortcut_items;"
        "CREATE TABLE shortcut_items (id, identifier, name, subtitle, native_folder_name, "
        "color_hex, icon_top_hex, icon_bottom_hex, app_bundle_id, "
        "icon_app_bundle_id, accepts_input, action_count, native_created_at, "
        "native_modified_at, first_seen_at, last_changed_at, is_favorite, "
        "last_run_at, run_count, notes, folder_id, has_icon, last_run_outcome);");
    QTest::newRow("untyped table")
        << untyped + "INSERT INTO shortcut_items (id) VALUES (1), (1), (NULL), ('x'), (2.5);" << 5;
    // Ids far apart are read in one pass too, since halves by id would miss the NULL.
    QTest::newRow("untyped table, ids far apart")
        << untyped + "INSERT INTO shortcut_items (id) VALUES (1), (NULL), (2.5), (100000);" << 4;
    // What a kill leaves right after SQLite created the file: an empty library.
    QTest::newRow("zero-byte file") << QString() << 0;
}

void TestHostileStore::readsOddButReadableStores()
{
    QFETCH(QString, sql);
    QFETCH(int, items);
    QTemporaryDir tmp;
    QVERIFY(tmp.isValid());
    if (sql.isEmpty()) {
        QVERIFY(writeFile(LibraryStoreContainer::storePath(tmp.path()), {}));
    } else {
        makeRealStore(tmp.path());
        execOn(LibraryStoreContainer::storePath(tmp.path()), sql);
    }
    const auto before = snapshot(tmp.path());

    const Run names = runList(tmp.path());
    QVERIFY2(!names.crashed && names.exitCode == 0, names.err.constData());
    QCOMPARE(names.out.count('\n'), items);
    const Run json = runList(tmp.path(), {QStringLiteral("--json")});
    QVERIFY2(!json.crashed && json.exitCode == 0, json.err.constData());
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(json.out, &error);
    QVERIFY2(error.error == QJsonParseError::NoError, qPrintable(error.errorString()));
    QCOMPARE(doc.array().size(), items);
    // Listing writes nothing, and the program still opens the store.
    QCOMPARE(snapshot(tmp.path()), before);
    QString openError;
    QVERIFY2(LibraryStoreContainer::open(tmp.path(), &openError), qPrintable(openError));
}

void TestHostileStore::unwritableDataDirectory_data()
{
    QTest::addColumn<QString>("journal");
    QTest::newRow("wal store") << QStringLiteral("WAL");
    // SQLite would open this one read-only without a word, and every save would then fail.
    QTest::newRow("rollback-journal store") << QStringLiteral("DELETE");
}

void TestHostileStore::unwritableDataDirectory()
{
    QFETCH(QString, journal);
    const bool root = geteuid() == 0;
    if (root && !canMountReadOnly())
        QSKIP("running as root without mount namespaces: nothing here can make a directory "
              "read-only for root");
    QTemporaryDir tmp;
    QVERIFY(tmp.isValid());
    makeRealStore(tmp.path());
    execOn(LibraryStoreContainer::storePath(tmp.path()),
           QStringLiteral("PRAGMA journal_mode=%1").arg(journal));
    // Used once while writable, so everything else the program keeps there exists already.
    const Run first = runList(tmp.path());
    QVERIFY2(!first.crashed && first.exitCode == 0, first.err.constData());
    const auto before = snapshot(tmp.path());

    // Reading needs nothing written: list reads it; sync, which would write, is refused.
    Run listed, synced;
    const QStringList sync{QStringLiteral("sync"), QStringLiteral("--script-host"),
                           QStringLiteral("simulator")};
    if (root) {
        listed = runReadOnly(tmp.path(), {QStringLiteral("list")});
        synced = runReadOnly(tmp.path(), sync);
    } else {
        QVERIFY(QFile::setPermissions(tmp.path(), QFile::ReadOwner | QFile::ExeOwner));
        QVERIFY(
            QFile::setPermissions(LibraryStoreContainer::storePath(tmp.path()), QFile::ReadOwner));
        listed = runList(tmp.path());
        synced =
            runProgram(programPath(), sync + QStringList{QStringLiteral("--data-dir"), tmp.path()});
        QFile::setPermissions(tmp.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QVERIFY2(!listed.crashed && listed.exitCode == 0, listed.err.constData());
    QCOMPARE(listed.out, first.out);
    QVERIFY2(!synced.crashed, synced.err.constData());
    QCOMPARE(synced.exitCode, 70);
    QVERIFY2(synced.err.contains(kFatalPrefix), synced.err.constData());
    QCOMPARE(snapshot(tmp.path()), before);
}

// A data directory that cannot even be created ends the program cleanly, whichever part of it
// notices first.
void TestHostileStore::uncreatableDataDirectory()
{
    const Run r = runList(QStringLiteral("/proc/self/thimblecraft-data"));
    QVERIFY2(!r.crashed, r.err.constData());
    QVERIFY(r.exitCode != 0);
    QVERIFY(!r.err.isEmpty());
    QString error;
    QVERIFY(!LibraryStoreContainer::open(QStringLiteral("/proc/self/thimblecraft-data"), &error));
    QVERIFY2(error.contains(QLatin1String("/proc/self/thimblecraft-data")), qPrintable(error));
}

QTEST_GUILESS_MAIN(TestHostileStore)
#include "tst_hostile_store.moc"
