// The read commands, run and the ambiguous-name refusal, through the real program on a library
// this test builds, with the simulated Shortcuts app answering runs.

#include "app/InstanceChannel.h"
#include "common/SimulatedLibraryFile.h"
#include "harness/LibraryProcesses.h"
#include "harness/ProgramRuns.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "model/SmartRuleSet.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>
#include <csignal>

class TestCommands : public QObject {
    Q_OBJECT
    SimulatedLibraryFile shortcuts;
    QString data = shortcuts.dir.filePath(QStringLiteral("data"));
    QString clients;
    QString errands;

    Run thimblecraft(const QStringList &command, const QString &dataDir = {})
    {
        return runThimblecraft(
            command + libraryArguments(dataDir.isEmpty() ? data : dataDir, shortcuts.libraryPath));
    }
    QJsonDocument json(const QStringList &command, const QString &dataDir = {})
    {
        return QJsonDocument::fromJson(
            thimblecraft(command + QStringList{QStringLiteral("--json")}, dataDir).out);
    }

private slots:
    void initTestCase()
    {
        shortcuts.add(QStringLiteral("ECHO"), QStringLiteral("Echo")).run.outputs = {
            QStringLiteral("got {input}")};
        auto &broken = shortcuts.add(QStringLiteral("BROKEN"), QStringLiteral("Broken"));
        broken.run.errorNumber = -1;
        broken.run.errorMessage = QStringLiteral("It broke.");
        shortcuts.publish();

        QString error;
        auto context = LibraryStoreContainer::open(data, &error);
        QVERIFY2(context, qPrintable(error));
        auto *work = context->insert(new LibraryFolder(QStringLiteral("Work")));
        auto *clientsFolder = context->insert(new LibraryFolder(QStringLiteral("Clients"), work));
        clients = clientsFolder->uuid();
        auto *home = context->insert(new Tag(QStringLiteral("Home"), QString()));
        auto *errandsTag = context->insert(new Tag(QStringLiteral("Errands"), QString(), home));
        errands = errandsTag->uuid();
        auto *echo =
            context->insert(new ShortcutItem(QStringLiteral("ECHO"), QStringLiteral("Echo")));
        echo->setFolder(clientsFolder);
        echo->addTag(errandsTag);
        echo->setNotes(QStringLiteral("repeats what it is given"));
        context->insert(new ShortcutItem(QStringLiteral("BROKEN"), QStringLiteral("Broken")))
            ->setFolder(work);
        context->insert(new ShortcutItem(QStringLiteral("T1"), QStringLiteral("Twin")));
        context->insert(new ShortcutItem(QStringLiteral("T2"), QStringLiteral("Twin")));
        SmartRuleSet rules;
        rules.rules.first().text = QStringLiteral("o");
        context->insert(new SmartList(QStringLiteral("Has an o"), rules));
        QVERIFY(context->save(&error));
    }

    void cleanupTestCase()
    {
        InstanceChannel::send(InstanceChannel::socketPath(data), InstanceChannel::quitRequest());
    }

    // Trees with paths, depths and counts, direct and with what lies below.
    void foldersAndTags()
    {
        const QJsonArray folders = json({QStringLiteral("folders")}).array();
        QCOMPARE(folders.size(), 2);
        QCOMPARE(folders[1]["path"].toString(), QStringLiteral("Work › Clients"));
        QCOMPARE(folders[1]["depth"].toInt(), 1);
        QCOMPARE(folders[1]["uuid"].toString(), clients);
        QCOMPARE(folders[0]["count"].toInt(), 1);
        QCOMPARE(folders[0]["totalCount"].toInt(), 2);
        const Run text = thimblecraft({QStringLiteral("folders")});
        QVERIFY2(text.out.startsWith("Work  ·  1 shortcut (2 with subfolders)  ·  "),
                 text.out.constData());
        QVERIFY(text.out.contains("\n  Clients  ·  1 shortcut  ·  " + clients.toUtf8()));

        const QJsonArray tags = json({QStringLiteral("tags")}).array();
        QCOMPARE(tags.size(), 2);
        QCOMPARE(tags[1]["path"].toString(), QStringLiteral("Home › Errands"));
        QCOMPARE(tags[0]["count"].toInt(), 0);
        QCOMPARE(tags[0]["totalCount"].toInt(), 1);
    }

    void smartListsInWords()
    {
        const QJsonArray lists = json({QStringLiteral("smart-lists")}).array();
        QCOMPARE(lists.size(), 1);
        QCOMPARE(lists[0]["match"].toString(), QStringLiteral("all"));
        QCOMPARE(lists[0]["rules"].toArray().first().toString(),
                 QStringLiteral("Name contains “o”"));
        QCOMPARE(lists[0]["count"].toInt(), 2); // Echo and Broken
    }

    // Sections by path and by name, as well as by uuid.
    void sectionsByPath()
    {
        for (const QString &section :
             {QStringLiteral("folder:Work/Clients"), QStringLiteral("folder:work › clients"),
              QStringLiteral("folder:") + clients, QStringLiteral("tag:Home/Errands"),
              QStringLiteral("smart:Has an o")}) {
            const Run r =
                thimblecraft({QStringLiteral("list"), QStringLiteral("--section"), section});
            QCOMPARE(r.exitCode, 0);
            QVERIFY2(r.out.split('\n').contains("Echo"), qPrintable(section + u' ' + r.out));
        }
        QCOMPARE(thimblecraft({QStringLiteral("list"), QStringLiteral("--section"),
                               QStringLiteral("folder:Work/Nowhere")})
                     .out,
                 QByteArray());
    }

    // show and run take an identifier, a name or name:NAME; a shared name is refused with the
    // candidates.
    void shortcutReferences()
    {
        const Run byName = thimblecraft({QStringLiteral("show"), QStringLiteral("Echo")});
        QVERIFY2(byName.out.contains("  Folder: Work › Clients\n"), byName.out.constData());
        QVERIFY(byName.out.contains("  Tags: Home › Errands\n"));
        const QJsonDocument shown = json({QStringLiteral("show"), QStringLiteral("ECHO")});
        QCOMPARE(shown["notes"].toString(), QStringLiteral("repeats what it is given"));
        QCOMPARE(shown["folderPath"].toString(), QStringLiteral("Work › Clients"));

        for (const QString &command : {QStringLiteral("show"), QStringLiteral("run")}) {
            const Run twin = thimblecraft({command, QStringLiteral("Twin")});
            QCOMPARE(twin.exitCode, 2);
            QVERIFY2(twin.err.contains("T1") && twin.err.contains("T2"), twin.err.constData());
        }
        QCOMPARE(thimblecraft({QStringLiteral("show"), QStringLiteral("T2")}).exitCode, 0);
        QCOMPARE(thimblecraft({QStringLiteral("show"), QStringLiteral("Nobody")}).exitCode, 1);
    }

    // The health check reports the shared name and exits 1 for scripts; a healthy library 0.
    void health()
    {
        const Run found = thimblecraft({QStringLiteral("health"), QStringLiteral("--json")});
        QCOMPARE(found.exitCode, 1);
        const QJsonObject report = QJsonDocument::fromJson(found.out).object();
        QCOMPARE(report["problemCount"].toInt(), 2);
        const QJsonArray groups = report["groups"].toArray();
        QCOMPARE(groups.size(), 1);
        QCOMPARE(groups[0]["kind"].toString(), QStringLiteral("duplicateNames"));
        QVERIFY(!groups[0]["fix"].toString().isEmpty());
        const QJsonArray findings = groups[0]["findings"].toArray();
        QCOMPARE(findings[1]["record"].toString(), QStringLiteral("shortcut"));
        QCOMPARE(findings[1]["name"].toString(), QStringLiteral("Twin"));
        QCOMPARE(findings[1]["identifier"].toString(), QStringLiteral("T2"));
        const Run text = thimblecraft({QStringLiteral("health")});
        QVERIFY2(text.out.startsWith("Library health: 2 problems\n\nNames shared by several "
                                     "shortcuts (2)\n"),
                 text.out.constData());

        const QString healthy = shortcuts.dir.filePath(QStringLiteral("healthy"));
        {
            QString error;
            auto context = LibraryStoreContainer::open(healthy, &error);
            QVERIFY2(context, qPrintable(error));
            context->insert(new ShortcutItem(QStringLiteral("ONE"), QStringLiteral("One")));
            QVERIFY(context->save(&error));
        }
        const Run none =
            runThimblecraft({QStringLiteral("health"), QStringLiteral("--data-dir"), healthy});
        QCOMPARE(none.exitCode, 0);
        QCOMPARE(none.out, QByteArray("No problems found.\n"));
    }

    // A run happens in the owner, counts like a run from the window and reports its outcome.
    void runsThroughTheOwner()
    {
        const Run echoed = thimblecraft({QStringLiteral("run"), QStringLiteral("name:Echo"),
                                         QStringLiteral("--input"), QStringLiteral("a %1 & b")});
        QVERIFY2(echoed.exitCode == 0, echoed.err.constData());
        QCOMPARE(echoed.out, QByteArray("got a %1 & b\n"));

        const Run broken = thimblecraft(
            {QStringLiteral("run"), QStringLiteral("Broken"), QStringLiteral("--json")});
        QCOMPARE(broken.exitCode, 1);
        const QJsonDocument outcome = QJsonDocument::fromJson(broken.out);
        QCOMPARE(outcome["ok"].toBool(), false);
        QVERIFY2(outcome["error"].toString().contains(QLatin1String("It broke.")),
                 broken.out.constData());
        QCOMPARE(outcome["identifier"].toString(), QStringLiteral("BROKEN"));

        // The owner counted both; a reader sees it once the owner has saved.
        QTRY_VERIFY_WITH_TIMEOUT(
            json({QStringLiteral("show"), QStringLiteral("ECHO")})["runCount"].toInt() == 1, 10000);
    }

    // open and quick-run start the window when none shows the library (taking it over from the
    // windowless owner a run starts) and leave at once; while it shows the library they go to it.
    void commandsReachTheWindow_data()
    {
        QTest::addColumn<QStringList>("first");
        QTest::addColumn<QString>("request"); // a kind the window answers once it is up
        QTest::addColumn<QStringList>("again");
        QTest::addColumn<QStringList>("refused");
        QTest::newRow("open") << QStringList{"open", "folder:Work/Clients"} << "activate"
                              << QStringList{"open", "--shortcut", "Echo"}
                              << QStringList{"open", "nowhere"};
        QTest::newRow("quick-run")
            << QStringList{"quick-run"} << "quick-run" << QStringList{"quick-run"} << QStringList();
    }
    void commandsReachTheWindow()
    {
        QFETCH(QStringList, first);
        QFETCH(QString, request);
        QFETCH(QStringList, again);
        QFETCH(QStringList, refused);
        QVERIFY(thimblecraft({QStringLiteral("run"), QStringLiteral("Echo")}).exitCode == 0);
        QCOMPARE(thimblecraft(first).exitCode, 0);
        const QString socket = InstanceChannel::socketPath(data);
        const QJsonObject ask{{QStringLiteral("kind"), request}};
        QTRY_VERIFY_WITH_TIMEOUT(InstanceChannel::send(socket, ask, 2000).reply.ok, 30000);
        const qint64 window = LibraryProcesses::ownerPid(data);
        QVERIFY(window > 0);
        QCOMPARE(thimblecraft(again).exitCode, 0);
        QCOMPARE(LibraryProcesses::ownerPid(data), window);
        if (!refused.isEmpty())
            QCOMPARE(thimblecraft(refused).exitCode, 2);
        ::kill(pid_t(window), SIGTERM);
        QTRY_VERIFY_WITH_TIMEOUT(!LibraryProcesses::hasOwner(data), 20000);
    }

    // The organisation leaves through export and comes back through import, in the owner; a
    // file that is not one changes nothing.
    void exportAndImport()
    {
        const QString file = shortcuts.dir.filePath(QStringLiteral("organisation.json"));
        QCOMPARE(thimblecraft({QStringLiteral("export"), file}).exitCode, 0);
        const QString other = shortcuts.dir.filePath(QStringLiteral("other"));
        const Run dry =
            thimblecraft({QStringLiteral("import"), file, QStringLiteral("--dry-run")}, other);
        QVERIFY2(dry.exitCode == 0, dry.err.constData());
        QVERIFY2(dry.out.startsWith("Dry run"), dry.out.constData());
        QVERIFY(LibraryProcesses::dismissOwner(other));
        QCOMPARE(thimblecraft({QStringLiteral("folders")}, other).out, QByteArray());

        const QJsonDocument applied = json({QStringLiteral("import"), file}, other);
        QCOMPARE(applied["folders"]["added"].toInt(), 2);
        QVERIFY(LibraryProcesses::dismissOwner(other));
        const QJsonArray folders = json({QStringLiteral("folders")}, other).array();
        QCOMPARE(folders.size(), 2);
        QCOMPARE(folders[1]["path"].toString(), QStringLiteral("Work › Clients"));
        // Shortcuts the other library does not have yet wait as placeholders for a sync.
        const QJsonDocument echo =
            json({QStringLiteral("show"), QStringLiteral("name:Echo")}, other);
        QCOMPARE(echo["folderPath"].toString(), QStringLiteral("Work › Clients"));
        QCOMPARE(echo["notes"].toString(), QStringLiteral("repeats what it is given"));

        QFile truncated(shortcuts.dir.filePath(QStringLiteral("truncated.json")));
        QVERIFY(truncated.open(QIODevice::WriteOnly));
        QFile whole(file);
        QVERIFY(whole.open(QIODevice::ReadOnly));
        truncated.write(whole.readAll().chopped(40));
        truncated.close();
        const QJsonDocument before = json({QStringLiteral("list")}, other);
        const Run refused = thimblecraft({QStringLiteral("import"), truncated.fileName()}, other);
        QCOMPARE(refused.exitCode, 1);
        QVERIFY(!refused.err.isEmpty());
        QVERIFY(LibraryProcesses::dismissOwner(other));
        QCOMPARE(json({QStringLiteral("list")}, other), before);
    }

    void helpPerCommand()
    {
        const Run help = thimblecraft({QStringLiteral("run"), QStringLiteral("--help")});
        QCOMPARE(help.exitCode, 0);
        QVERIFY(help.out.startsWith("Usage: thimblecraft run SHORTCUT"));
        QVERIFY(help.out.contains("66  there is no library"));
        const Run overview = runThimblecraft({QStringLiteral("--help")});
        for (const char *command : {"list", "folders", "tags", "smart-lists", "show", "health",
                                    "run", "open", "quick-run", "sync", "backup", "intent"})
            QVERIFY2(overview.out.contains(QByteArray("  thimblecraft ") + command), command);
    }
};

QTEST_GUILESS_MAIN(TestCommands)
#include "tst_commands.moc"
