// The instance channel and the intents' entry point, in-process and through the real program.
#include "app/InstanceChannel.h"
#include "common/LocalSocketClient.h"
#include "harness/ProgramRuns.h"
#include "simulator/SimulatedLibrary.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QTemporaryDir>
#include <QtConcurrent>
#include <sys/stat.h>

class TestIntentChannel : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;

private slots:
    void permissions()
    {
        QString error;
        const QString dir = InstanceChannel::socketDirectory(&error);
        QVERIFY2(!dir.isEmpty(), qPrintable(error));
        struct stat st {};
        QCOMPARE(::lstat(QFile::encodeName(dir).constData(), &st), 0);
        QCOMPARE(st.st_mode & 0777, 0700u);
        QCOMPARE(st.st_uid, getuid());

        // A folder someone loosened is made private again.
        QCOMPARE(::chmod(QFile::encodeName(dir).constData(), 0755), 0);
        QVERIFY(!InstanceChannel::socketDirectory().isEmpty());
        ::lstat(QFile::encodeName(dir).constData(), &st);
        QCOMPARE(st.st_mode & 0777, 0700u);

        InstanceChannel channel;
        const QString path = InstanceChannel::socketPath(m_dir.filePath("perm"));
        QVERIFY(path.startsWith(dir));
        QVERIFY(channel.listen(path, &error));
        QCOMPARE(::stat(QFile::encodeName(path).constData(), &st), 0);
        QVERIFY(S_ISSOCK(st.st_mode));
        QCOMPARE(st.st_mode & 0077, 0u);

        // A second instance for the same data directory is refused; a stale socket is replaced.
        InstanceChannel second;
        QVERIFY(!second.listen(path, &error));
        channel.close();
        QVERIFY(second.listen(path, &error));
    }

    // Each kind of request reaches its own handler; one without a handler gets an error reply.
    void requestsReachTheirHandlers()
    {
        InstanceChannel channel;
        const QString path = InstanceChannel::socketPath(m_dir.filePath("handlers"));
        QVERIFY(channel.listen(path));
        channel.setIntentHandler(
            [](QString action, QStringList arguments) -> QCoro::Task<InstanceChannel::Reply> {
                co_return InstanceChannel::Reply{true, action + u':' + arguments.join(',')};
            });
        const QJsonObject reply = awaitFuture(
            QtConcurrent::run(exchange, path, framed("{\"kind\":\"activate\"}"), false, 3000));
        QVERIFY(reply.contains("ok") && !reply.value("ok").toBool());

        const auto sent = awaitFuture(QtConcurrent::run([path] {
            return InstanceChannel::send(path,
                                         InstanceChannel::intentRequest("import", {"--name", "N"}));
        }));
        QCOMPARE(sent.status, InstanceChannel::SendResult::Status::delivered);
        QCOMPARE(sent.reply.text, QStringLiteral("import:--name,N"));

        bool activated = false;
        channel.setActivateHandler([&] { activated = true; });
        QUrl opened;
        channel.setUrlHandler([&](const QString &url) { opened = QUrl(url); });
        awaitFuture(QtConcurrent::run([path] {
            InstanceChannel::send(path, InstanceChannel::activateRequest());
            return InstanceChannel::send(
                path, InstanceChannel::openUrlRequest(QUrl("thimblecraft://run-success?name=A")));
        }));
        QVERIFY(activated);
        QCOMPARE(opened.host(), QStringLiteral("run-success"));
    }

#ifdef THIMBLECRAFT_PATH
    // Begin, Import and Finish through the program, which starts a background instance.
    void intentsThroughProgram()
    {
        const QString data = m_dir.filePath("program-data");
        const QString libraryPath = m_dir.filePath("library.json");
        QVERIFY(SimulatedLibrary::ensureFile(libraryPath));
        const QStringList common = libraryArguments(data, libraryPath);
        auto run = [&](const QStringList &arguments) {
            return runProgram(QStringLiteral(THIMBLECRAFT_PATH), arguments + common, 60000);
        };
        QCOMPARE(run({"intent", "begin"}).exitCode, 0);
        const Run imported = run({"intent", "import", "--name", "Morning", "--identifier", "ID-1",
                                  "--position", "3", "--created", "2021-03-04T05:06:07Z"});
        QCOMPARE(imported.exitCode, 0);
        QCOMPARE(imported.out, QByteArray("Morning\n"));
        QCOMPARE(run({"intent", "import", "--identifier", "X"}).exitCode, 2);
        QCOMPARE(run({"intent", "finish"}).out, QByteArray("1 shortcuts\n"));

        // Hand the library back before reading it from another process.
        const QString socket = InstanceChannel::socketPath(data);
        QCOMPARE(InstanceChannel::send(socket, InstanceChannel::quitRequest()).reply.ok, true);
        QTRY_COMPARE_WITH_TIMEOUT(
            InstanceChannel::send(socket, InstanceChannel::activateRequest()).status,
            InstanceChannel::SendResult::Status::noInstance, 10000);
        // The store is the running instance's alone until that process has gone.
        Run listed;
        QTRY_COMPARE_WITH_TIMEOUT((listed = run({"list", "--json"})).exitCode, 0, 10000);
        const QJsonArray items = QJsonDocument::fromJson(listed.out).array();
        QCOMPARE(items.size(), 1);
        QCOMPARE(items[0]["identifier"].toString(), QStringLiteral("ID-1"));
        QCOMPARE(items[0]["libraryOrder"].toInt(), 2);
        QCOMPARE(items[0]["nativeCreatedAt"].toString(),
                 QStringLiteral("2021-03-04T05:06:07.000Z"));

        // The headless sync, then a failing one.
        const Run synced = run({"sync"});
        QCOMPARE(synced.exitCode, 0);
        QVERIFY2(synced.out.endsWith(" new\n") || synced.out.contains(" shortcuts"),
                 synced.out.constData());
        const QJsonArray all = QJsonDocument::fromJson(run({"list", "--json"}).out).array();
        QVERIFY(all.size() > 1);
        for (const QJsonValue &item : all) {
            // The imported shortcut the simulated app does not have is missing, not deleted.
            const bool morning = item["identifier"].toString() == QLatin1String("ID-1");
            QCOMPARE(item["isMissing"].toBool(), morning);
            QCOMPARE(item["iconTopHex"].toString().isEmpty(), morning);
        }
        auto library = *SimulatedLibrary::load(libraryPath, nullptr);
        library.switches.automationAllowed = false;
        QVERIFY(library.save(libraryPath));
        const Run refused = run({"sync"});
        QCOMPARE(refused.exitCode, 1);
        QVERIFY(refused.out.isEmpty());
        QVERIFY2(refused.err.contains("Privacy & Security"), refused.err.constData());

        // With an instance running, sync happens there: the instance's own Finish then counts
        // every shortcut the sync saw, which it could not if another process had written them.
        library.switches.automationAllowed = true;
        QVERIFY(library.save(libraryPath));
        QCOMPARE(run({"intent", "begin"}).exitCode, 0);
        const Run handed = run({"sync"});
        QCOMPARE(handed.exitCode, 0);
        const int syncedCount = handed.out.split(' ').first().toInt();
        QVERIFY2(syncedCount > 1, handed.out.constData());
        const QByteArray finished = run({"intent", "finish"}).out;
        QVERIFY2(finished.startsWith(QByteArray::number(syncedCount) + " shortcuts"),
                 finished.constData());
        QCOMPARE(InstanceChannel::send(socket, InstanceChannel::quitRequest()).reply.ok, true);
    }
#endif
};

QTEST_GUILESS_MAIN(TestIntentChannel)
#include "tst_intent_channel.moc"
