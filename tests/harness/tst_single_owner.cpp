// One writer per library, seen from outside: real thimblecraft processes on one data directory,
// meeting in the ways a person's scripts, the helper shortcut and the window make them meet.

#include "common/SimulatedLibraryFile.h"
#include "harness/LibraryProcesses.h"
#include "harness/ProgramRuns.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>
#include <csignal>

namespace {
const QByteArray kFatalPrefix = "Could not open the Thimblecraft store: ";
const QStringList kBegin{QStringLiteral("intent"), QStringLiteral("begin")};
const QStringList kFinish{QStringLiteral("intent"), QStringLiteral("finish")};
constexpr int kWaitMs = 20000;

// A library directory, its simulated Shortcuts app with five shortcuts, and the arguments that
// point every command at them.
struct Fixture {
    SimulatedLibraryFile shortcuts;
    QString data = shortcuts.dir.filePath(QStringLiteral("data"));

    explicit Fixture(double listDelaySeconds = 0)
    {
        for (int i = 1; i <= 5; ++i)
            shortcuts.add(QStringLiteral("ID-%1").arg(i), QStringLiteral("Shortcut %1").arg(i));
        shortcuts.library.switches.listDelayMilliseconds = int(listDelaySeconds * 1000);
        shortcuts.publish();
    }
    ~Fixture()
    {
        LibraryProcesses::dismissOwner(data);
        for (QProcess *p : std::as_const(started)) {
            p->kill();
            p->waitForFinished();
            delete p;
        }
    }
    QStringList args(const QStringList &command, const QString &dataDir = {}) const
    {
        return command +
               libraryArguments(dataDir.isEmpty() ? data : dataDir, shortcuts.libraryPath);
    }
    Run run(const QStringList &command, const QString &dataDir = {}) const
    {
        return runThimblecraft(args(command, dataDir));
    }
    QProcess *start(const QStringList &command, const QString &dataDir = {})
    {
        auto *p = new QProcess;
        p->start(programPath(), args(command, dataDir));
        started.append(p);
        return p;
    }
    QStringList importArguments(int i) const
    {
        return {QStringLiteral("intent"),       QStringLiteral("import"),
                QStringLiteral("--name"),       QStringLiteral("Shortcut %1").arg(i),
                QStringLiteral("--identifier"), QStringLiteral("ID-%1").arg(i),
                QStringLiteral("--position"),   QString::number(i)};
    }
    // The library as `list --json` sees it, once its owner has left.
    QJsonArray items() const
    {
        if (!LibraryProcesses::dismissOwner(data))
            return {};
        const Run listed = runThimblecraft(
            {QStringLiteral("list"), QStringLiteral("--json"), QStringLiteral("--data-dir"), data});
        return QJsonDocument::fromJson(listed.out).array();
    }
    QList<QProcess *> started;
};

// Every identifier once, and the missing ones.
void checkIdentifiers(const QJsonArray &items, int expectedCount, QStringList *missing = nullptr)
{
    QSet<QString> seen;
    for (const QJsonValue &item : items) {
        const QString identifier = item[QLatin1String("identifier")].toString();
        QVERIFY2(!seen.contains(identifier), qPrintable(identifier + QStringLiteral(" twice")));
        seen.insert(identifier);
        if (missing && item[QLatin1String("isMissing")].toBool())
            missing->append(identifier);
    }
    QCOMPARE(items.size(), expectedCount);
}
} // namespace

class TestSingleOwner : public QObject {
    Q_OBJECT

private slots:
    // A `sync` with nothing else running owns the library for its sync; the helper's intents
    // that arrive meanwhile are served by it instead of a second writer.
    void syncAndHelperMeet()
    {
        Fixture f(1.5);
        QProcess *sync = f.start({QStringLiteral("sync")});
        QTRY_VERIFY_WITH_TIMEOUT(LibraryProcesses::hasOwner(f.data), kWaitMs);
        QCOMPARE(f.run(kBegin).exitCode, 0);
        for (int i = 1; i <= 5; ++i) {
            const Run imported = f.run(f.importArguments(i));
            QVERIFY2(imported.exitCode == 0, imported.err.constData());
        }
        const Run finished = f.run(kFinish);
        QVERIFY2(finished.exitCode == 0, finished.err.constData());
        QCOMPARE(finished.out, QByteArray("5 shortcuts\n"));
        const Run synced = finishedRun(*sync, 60000);
        QVERIFY2(synced.exitCode == 0, synced.err.constData());
        QVERIFY2(synced.out.startsWith("5 shortcuts"), synced.out.constData());

        QStringList missing;
        checkIdentifiers(f.items(), 5, &missing);
        QCOMPARE(missing, QStringList());
    }

    // Symlinks, ".." and trailing slashes name the same library: one owner serves them all. A
    // window takes the library over from a windowless owner, which leaves; a second window, even
    // through a symlink, brings the first one forward instead.
    void oneOwnerWhateverTheSpelling()
    {
        Fixture f;
        QVERIFY(QDir().mkpath(f.data));
        const QString link = f.shortcuts.dir.filePath(QStringLiteral("link"));
        QVERIFY(QFile::link(f.data, link));
        const QString dotted = f.shortcuts.dir.filePath(QStringLiteral("data/../link/"));
        QCOMPARE(InstanceChannel::socketPath(link), InstanceChannel::socketPath(f.data));
        QCOMPARE(InstanceChannel::socketPath(dotted), InstanceChannel::socketPath(f.data));

        // The windowless owner a command starts keeps none of its output open, so a captured
        // command returns with its answer; in a session of its own, a terminal's hang-up or
        // Ctrl-C does not reach it.
        QProcess begin;
        begin.start(programPath(), f.args(kBegin));
        QVERIFY2(begin.waitForFinished(15000), "the command waited for the owner it started");
        QCOMPARE(begin.exitCode(), 0);
        const qint64 background = LibraryProcesses::ownerPid(f.data);
        QVERIFY(background > 0);
        QCOMPARE(::getsid(pid_t(background)), pid_t(background));
        const Run synced = f.run({QStringLiteral("sync")}, link);
        QVERIFY2(synced.exitCode == 0, synced.err.constData());
        QCOMPARE(LibraryProcesses::ownerPid(f.data), background);
        QCOMPARE(LibraryProcesses::storeWriters(f.data), QSet<qint64>{background});
        // The owner's own Finish counts every shortcut the handed sync saw.
        QCOMPARE(f.run(kFinish, dotted).out, QByteArray("5 shortcuts\n"));

        QCOMPARE(f.run(kBegin).exitCode, 0);
        QProcess *window = f.start({});
        QTRY_VERIFY_WITH_TIMEOUT(LibraryProcesses::ownerPid(f.data) == window->processId(),
                                 kWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(::kill(pid_t(background), 0) != 0, kWaitMs);
        QTRY_VERIFY_WITH_TIMEOUT(InstanceChannel::send(InstanceChannel::socketPath(f.data),
                                                       InstanceChannel::activateRequest())
                                     .reply.ok,
                                 kWaitMs);
        // The helper run that the windowless owner began is finished by the window.
        const Run finished = f.run(kFinish);
        QVERIFY2(finished.exitCode == 0, finished.err.constData());
        QCOMPARE(f.run({}, link).exitCode, 0);
        QCOMPARE(LibraryProcesses::storeWriters(f.data), QSet<qint64>{window->processId()});
        window->terminate();
        QVERIFY(window->waitForFinished(kWaitMs));
    }

    // A sync handed over while another runs reports a sync that began after it was asked.
    void handedSyncReportsItsOwnSync()
    {
        Fixture f(1.0);
        QCOMPARE(f.run(kBegin).exitCode, 0);
        QProcess *first = f.start({QStringLiteral("sync")});
        QTest::qWait(400); // the first sync is waiting for Shortcuts' list now
        f.shortcuts.add(QStringLiteral("ID-6"), QStringLiteral("Late"));
        f.shortcuts.publish();
        QProcess *second = f.start({QStringLiteral("sync")});
        const Run a = finishedRun(*first, 60000);
        const Run b = finishedRun(*second, 60000);
        QVERIFY2(a.exitCode == 0, a.err.constData());
        QCOMPARE(a.out, QByteArray("5 shortcuts · 5 new\n"));
        QVERIFY2(b.exitCode == 0, b.err.constData());
        QCOMPARE(b.out, QByteArray("6 shortcuts · 1 new\n"));
    }

    // An owner that cannot open the store says so to the command that started it, at once, and
    // nobody writes into a directory that cannot be used.
    void unusableLibraries_data()
    {
        QTest::addColumn<QByteArray>("storeBytes");
        QTest::newRow("damaged store") << QByteArray("this is not an SQLite file at all.....");
        QTest::newRow("store is a folder") << QByteArray();
    }
    void unusableLibraries()
    {
        QFETCH(QByteArray, storeBytes);
        Fixture f;
        QVERIFY(QDir().mkpath(f.data));
        const QString store = LibraryStoreContainer::storePath(f.data);
        if (storeBytes.isEmpty()) {
            QVERIFY(QDir().mkpath(store));
        } else {
            QFile file(store);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(storeBytes);
        }
        const QStringList before = QDir(f.data).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        const QList<QStringList> commands{
            kBegin, {QStringLiteral("sync")}, {QStringLiteral("list")}, {}};
        for (const QStringList &command : commands) {
            const Run r = f.run(command);
            QVERIFY2(!r.crashed, qPrintable(command.join(u' ')));
            QCOMPARE(r.exitCode, 70);
            QVERIFY2(r.err.contains(kFatalPrefix), r.err.constData());
        }
        QCOMPARE(QDir(f.data).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), before);
        QVERIFY(!LibraryProcesses::hasOwner(f.data));
    }

    // Readers never make a library; writers refuse a data directory that is not a folder.
    void dataDirectoriesThatAreNotLibraries()
    {
        Fixture f;
        const QString absent = f.shortcuts.dir.filePath(QStringLiteral("absent"));
        for (const QString &reader : {QStringLiteral("list"), QStringLiteral("backup")}) {
            QStringList command{reader};
            if (reader == QLatin1String("backup"))
                command << f.shortcuts.dir.filePath(QStringLiteral("copy.store"));
            const Run r = f.run(command, absent);
            QCOMPARE(r.exitCode, 66);
            QVERIFY2(r.err.contains(absent.toUtf8()), r.err.constData());
        }
        QVERIFY(!QFileInfo::exists(absent));

        const QString file = f.shortcuts.dir.filePath(QStringLiteral("a file"));
        QFile plain(file);
        QVERIFY(plain.open(QIODevice::WriteOnly));
        plain.write("text");
        plain.close();
        const QString loop = f.shortcuts.dir.filePath(QStringLiteral("loop"));
        QVERIFY(QFile::link(loop, loop));
        for (const QString &dir : {file, loop}) {
            QCOMPARE(f.run({QStringLiteral("list")}, dir).exitCode, 66);
            const Run synced = f.run({QStringLiteral("sync")}, dir);
            QCOMPARE(synced.exitCode, 70);
            QVERIFY2(synced.err.contains(kFatalPrefix), synced.err.constData());
            const Run window = f.run({}, dir);
            QCOMPARE(window.exitCode, 70);
        }
        QCOMPARE(QFileInfo(file).size(), 4);
    }

    // backup copies through the owner while one runs and from the file otherwise; it never
    // overwrites without --force, and the copy is a library list can read.
    void backups()
    {
        Fixture f;
        QVERIFY(f.run({QStringLiteral("sync")}).exitCode == 0);
        QCOMPARE(f.run(kBegin).exitCode, 0);
        QVERIFY(LibraryProcesses::hasOwner(f.data));
        const QString copyDir = f.shortcuts.dir.filePath(QStringLiteral("copy"));
        QVERIFY(QDir().mkpath(copyDir));
        const QString copy = LibraryStoreContainer::storePath(copyDir);
        const Run made = f.run({QStringLiteral("backup"), copy});
        QVERIFY2(made.exitCode == 0, made.err.constData());
        // The owner's newest saves are in the copy: a kept WAL is not left behind.
        QVERIFY(!QFileInfo::exists(copy + QStringLiteral("-wal")));
        const Run again = f.run({QStringLiteral("backup"), copy});
        QCOMPARE(again.exitCode, 1);
        QVERIFY2(again.err.contains("--force"), again.err.constData());
        const QStringList listCopy{QStringLiteral("list"), QStringLiteral("--data-dir"), copyDir};
        const Run fromCopy = runThimblecraft(listCopy);
        QCOMPARE(fromCopy.exitCode, 0);
        QCOMPARE(fromCopy.out.count('\n'), 5);

        // Without an owner the copy comes from the file; --force replaces the old one.
        QVERIFY(LibraryProcesses::dismissOwner(f.data));
        f.shortcuts.add(QStringLiteral("ID-6"), QStringLiteral("Added"));
        f.shortcuts.publish();
        QCOMPARE(f.run({QStringLiteral("sync")}).exitCode, 0);
        const Run forced = f.run({QStringLiteral("backup"), copy, QStringLiteral("--force")});
        QVERIFY2(forced.exitCode == 0, forced.err.constData());
        QCOMPARE(runThimblecraft(listCopy).out.count('\n'), 6);
        // The library itself is never the target.
        const Run self = f.run({QStringLiteral("backup"), LibraryStoreContainer::storePath(f.data),
                                QStringLiteral("--force")});
        QCOMPARE(self.exitCode, 1);
    }

    // An owner killed right after it acknowledged imports loses none of them, and the next
    // command finds its way to a new owner without help.
    void killedOwnerLosesNothing()
    {
        Fixture f;
        QCOMPARE(f.run(kBegin).exitCode, 0);
        for (int i = 1; i <= 3; ++i)
            QCOMPARE(f.run(f.importArguments(i)).exitCode, 0);
        const qint64 owner = LibraryProcesses::ownerPid(f.data);
        QVERIFY(owner > 0);
        QCOMPARE(::kill(pid_t(owner), SIGKILL), 0); // within the batch's 0.8 s
        QTRY_VERIFY_WITH_TIMEOUT(!LibraryProcesses::hasOwner(f.data), kWaitMs);
        for (int i = 4; i <= 5; ++i)
            QCOMPARE(f.run(f.importArguments(i)).exitCode, 0);
        const Run finished = f.run(kFinish);
        QCOMPARE(finished.out, QByteArray("5 shortcuts\n"));
        QStringList missing;
        checkIdentifiers(f.items(), 5, &missing);
        QCOMPARE(missing, QStringList());
    }

    // A disk that fills up during a save: the save fails as a whole, the person is told, and the
    // library is as it was (file size capped for the child, as a full disk would).
    void diskFullDuringSave()
    {
        Fixture f;
        QCOMPARE(f.run({QStringLiteral("sync")}).exitCode, 0);
        const qint64 size = QFileInfo(LibraryStoreContainer::storePath(f.data)).size();
        for (int i = 0; i < 2000; ++i)
            f.shortcuts.add(QStringLiteral("BIG-%1").arg(i),
                            QStringLiteral("Big %1 ").arg(i) + QString(300, u'x'));
        f.shortcuts.publish();
        const Run full = runProgram(
            QStringLiteral("sh"),
            QStringList{QStringLiteral("-c"),
                        QStringLiteral("trap '' XFSZ; exec prlimit --fsize=%1 \"$0\" \"$@\"")
                            .arg(size + 64 * 1024),
                        programPath()} +
                f.args({QStringLiteral("sync")}));
        QVERIFY(!full.crashed);
        QCOMPARE(full.exitCode, 1);
        QVERIFY2(full.err.contains("disk") || full.err.contains("full"), full.err.constData());
        checkIdentifiers(f.items(), 5);
        // With room again, the same sync goes through.
        const Run synced = f.run({QStringLiteral("sync")});
        QVERIFY2(synced.out.startsWith("2005 shortcuts"), synced.out.constData());
    }

    // Owners started in the same moment: one owns, the others leave without a word.
    void ownersStartedTogether()
    {
        Fixture f;
        QVERIFY(QDir().mkpath(f.data));
        QList<QProcess *> owners;
        for (int i = 0; i < 4; ++i)
            owners.append(f.start({QStringLiteral("--background")}));
        QTRY_VERIFY_WITH_TIMEOUT(LibraryProcesses::hasOwner(f.data), kWaitMs);
        // Read from the state: waitForFinished() is false for one that ended meanwhile.
        auto left = [&] {
            return std::count_if(owners.cbegin(), owners.cend(), [](const QProcess *p) {
                return p->state() == QProcess::NotRunning;
            });
        };
        QTRY_VERIFY_WITH_TIMEOUT(left() >= 3, kWaitMs);
        QTest::qWait(200);
        QCOMPARE(left(), 3);
        for (const QProcess *p : owners)
            if (p->state() == QProcess::NotRunning)
                QCOMPARE(p->exitCode(), 0);
        QCOMPARE(LibraryProcesses::storeWriters(f.data).size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestSingleOwner)
#include "tst_single_owner.moc"
