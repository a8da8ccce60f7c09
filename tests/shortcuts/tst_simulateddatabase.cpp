#include "model/SqliteDatabase.h"
#include "shortcuts/ShortcutsDatabase.h"
#include "shortcuts/ShortcutsEventsBridge.h"
#include "simulator/SimulatedLibrary.h"
#include "simulator/SimulatedShortcutsDatabase.h"
#include "simulator/SimulatedShortcutsEvents.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtConcurrent>
#include <QtTest>

using SimulatedShortcutsDatabase::Entry;

class TestSimulatedDatabase : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_temp.isValid());
        qputenv("TMPDIR", QFile::encodeName(m_temp.path()));
    }

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
};

QTEST_GUILESS_MAIN(TestSimulatedDatabase)
#include "tst_simulateddatabase.moc"
