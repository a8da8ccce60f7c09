// Real thimblecraft processes started on one library in random order and overlapping: windowless
// owners, syncs against a slow simulated Shortcuts, helper runs (begin, imports, finish), lists,
// backups, windows and a second spelling of the data directory through a symlink, some of them
// killed with SIGKILL at random moments. After every round the library must be whole.
//
// The same seed every run unless THIMBLECRAFT_STRESS_SEED names one ("random" picks one; a failure
// prints the seed that repeats it); THIMBLECRAFT_STRESS_ROUNDS sets its length.

#include "app/InstanceChannel.h"
#include "common/SimulatedLibraryFile.h"
#include "harness/LibraryProcesses.h"
#include "harness/ProgramRuns.h"
#include "model/SqliteDatabase.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTimer>
#include <QtTest>
#include <csignal>
#include <memory>

namespace {
constexpr int kLibraryShortcuts = 6;

struct Child {
    QString label;
    QStringList arguments;
    std::unique_ptr<QProcess> process;
    bool lingers = false; // a window or owner: stopped at the end of the round, not awaited
};

class StressRound : public QObject {
public:
    StressRound(QRandomGenerator &random, const QString &data, const QString &link,
                const QString &simulatorLibrary, int round)
        : m_random(random), m_data(data), m_link(link), m_library(simulatorLibrary), m_round(round)
    {
    }

    // Identifiers of imports a client was told had succeeded.
    QStringList confirmedImports;
    // What ran, by kind ("sync", "owner", "kill", …).
    QHash<QString, int> started;
    QStringList problems;

    void run()
    {
        const int actions = 4 + int(m_random.bounded(5));
        bool sessionPlanned = false;
        for (int i = 0; i < actions; ++i) {
            const int at = int(m_random.bounded(1500));
            const quint32 kind = m_random.bounded(100);
            if (kind < 15)
                later(at, [this] {
                    start(QStringLiteral("owner"), {QStringLiteral("--background")}, true);
                });
            else if (kind < 40)
                later(at, [this] { start(QStringLiteral("sync"), {QStringLiteral("sync")}); });
            else if (kind < 55 && !sessionPlanned) {
                sessionPlanned = true;
                later(at, [this] { startSession(); });
            } else if (kind < 70)
                later(at, [this] {
                    start(QStringLiteral("list"),
                          {QStringLiteral("list"), QStringLiteral("--json")});
                });
            else if (kind < 80)
                later(at, [this] {
                    start(QStringLiteral("backup"),
                          {QStringLiteral("backup"),
                           QStringLiteral("%1/../backup-%2.store").arg(m_data).arg(m_round),
                           QStringLiteral("--force")});
                });
            else if (kind < 88)
                later(at, [this] { start(QStringLiteral("window"), {}, true); });
            else
                later(at, [this] { killSomeone(); });
        }
        // Watch for two writers while everything runs.
        QTimer watch;
        connect(&watch, &QTimer::timeout, this, [this] {
            const auto writers = LibraryProcesses::storeWriters(m_data);
            if (writers.size() > 1)
                problems << QStringLiteral("%1 processes had the store open for writing: %2")
                                .arg(writers.size())
                                .arg(LibraryProcesses::describe(writers, m_data));
        });
        watch.start(20);
        QElapsedTimer elapsed;
        elapsed.start();
        while ((m_scheduled > 0 || m_sessionRunning || running() > 0) && elapsed.elapsed() < 120000)
            QTest::qWait(20);
        if (elapsed.elapsed() >= 120000)
            problems << QStringLiteral("round did not end within two minutes");
        watch.stop();
        stopLingering();
    }

private:
    void later(int ms, std::function<void()> action)
    {
        ++m_scheduled;
        QTimer::singleShot(ms, this, [this, action] {
            --m_scheduled;
            action();
        });
    }

    QProcess *start(const QString &label, const QStringList &command, bool lingers = false)
    {
        auto child = std::make_unique<Child>();
        child->label = label;
        // Half of them know the library by its symlink.
        const QString dir = m_random.bounded(2) ? m_data : m_link;
        child->arguments = command + libraryArguments(dir, m_library);
        child->lingers = lingers;
        ++started[label];
        child->process = std::make_unique<QProcess>();
        child->process->start(programPath(), child->arguments);
        QProcess *p = child->process.get();
        m_children.push_back(std::move(child));
        return p;
    }

    int running() const
    {
        int n = 0;
        for (const auto &c : m_children)
            if (!c->lingers && c->process->state() != QProcess::NotRunning)
                ++n;
        return n;
    }

    // One helper run: begin, an import of every shortcut the simulated app has and of two it
    // does not have, in random order, then finish; each step when the one before is done.
    void startSession()
    {
        m_sessionRunning = true;
        QList<QStringList> steps{{QStringLiteral("intent"), QStringLiteral("begin")}};
        QList<QStringList> imports;
        for (int i = 1; i <= kLibraryShortcuts + 2; ++i) {
            const bool extra = i > kLibraryShortcuts;
            const QString identifier = extra ? QStringLiteral("X-%1-%2").arg(m_round).arg(i)
                                             : QStringLiteral("ID-%1").arg(i);
            imports.append({QStringLiteral("intent"), QStringLiteral("import"),
                            QStringLiteral("--name"), QStringLiteral("Name %1").arg(identifier),
                            QStringLiteral("--identifier"), identifier});
        }
        while (!imports.isEmpty())
            steps.append(imports.takeAt(int(m_random.bounded(quint32(imports.size())))));
        steps.append({QStringLiteral("intent"), QStringLiteral("finish")});
        nextStep(steps, 0);
    }

    void nextStep(QList<QStringList> steps, int index)
    {
        if (index >= steps.size()) {
            m_sessionRunning = false;
            return;
        }
        QProcess *p = start(QStringLiteral("intent"), steps[index]);
        connect(p, &QProcess::finished, this,
                [this, p, steps, index](int code, QProcess::ExitStatus status) {
                    const QStringList &step = steps[index];
                    if (status != QProcess::NormalExit || code != 0) {
                        // A killed step ends the run here, as a helper whose Shortcuts app quit.
                        m_sessionRunning = false;
                        return;
                    }
                    if (step.value(1) == QLatin1String("import"))
                        confirmedImports << step.value(5);
                    Q_UNUSED(p);
                    nextStep(steps, index + 1);
                });
    }

    void killSomeone()
    {
        QList<qint64> pids;
        for (const auto &c : m_children)
            if (c->process->state() == QProcess::Running)
                pids << c->process->processId();
        // Owners a command started are nobody's child here.
        for (qint64 writer : LibraryProcesses::storeWriters(m_data))
            if (!pids.contains(writer))
                pids << writer;
        if (pids.isEmpty())
            return;
        ++started[QStringLiteral("kill")];
        ::kill(pid_t(pids[int(m_random.bounded(quint32(pids.size())))]), SIGKILL);
    }

    void stopLingering()
    {
        for (const auto &c : m_children) {
            if (c->process->state() == QProcess::NotRunning)
                continue;
            c->process->terminate();
            if (!c->process->waitForFinished(15000)) {
                problems << QStringLiteral("%1 did not end when asked").arg(c->label);
                c->process->kill();
                c->process->waitForFinished();
            }
        }
        if (!LibraryProcesses::dismissOwner(m_data))
            problems << QStringLiteral("the windowless owner did not leave");
        // An owner killed outright leaves its acknowledged imports in the journal; the next
        // owner saves them, so one comes and goes before the library is looked at.
        const QString socket = InstanceChannel::socketPath(m_data);
        for (int attempt = 0; attempt < 3; ++attempt) {
            QProcess next;
            next.start(programPath(), QStringList{QStringLiteral("--background")} +
                                          libraryArguments(m_data, m_library));
            QElapsedTimer waited;
            waited.start();
            bool serving = false;
            while (!serving && waited.elapsed() < 20000 && next.state() != QProcess::NotRunning) {
                serving = InstanceChannel::send(socket, InstanceChannel::activateRequest(), 2000)
                              .status == InstanceChannel::SendResult::Status::delivered;
                if (!serving)
                    QTest::qWait(20);
            }
            if (!serving && next.state() == QProcess::NotRunning)
                continue; // it met another owner on its way out; start it again
            const bool dismissed = LibraryProcesses::dismissOwner(m_data);
            if (!dismissed ||
                (next.state() != QProcess::NotRunning && !next.waitForFinished(20000))) {
                problems << QStringLiteral("the owner after the round did not leave (%1, its "
                                           "errors: %2)")
                                .arg(dismissed ? QStringLiteral("dismissed")
                                               : QStringLiteral("not dismissed"),
                                     QString::fromUtf8(next.readAllStandardError()));
                next.kill();
                next.waitForFinished();
            }
            break;
        }
    }

    QRandomGenerator &m_random;
    QString m_data;
    QString m_link;
    QString m_library;
    int m_round;
    std::vector<std::unique_ptr<Child>> m_children;
    int m_scheduled = 0;
    bool m_sessionRunning = false;
};

// What must hold of the library after a round, as a list of problems.
QStringList checkLibrary(const QString &data, const QStringList &confirmedImports)
{
    QStringList problems;
    const Run listed = runThimblecraft(
        {QStringLiteral("list"), QStringLiteral("--json"), QStringLiteral("--data-dir"), data});
    if (listed.exitCode != 0)
        return {QStringLiteral("list failed: ") + QString::fromUtf8(listed.err)};
    SqliteDatabase db;
    if (!db.open(LibraryStoreContainer::storePath(data), SqliteDatabase::Mode::readOnly))
        return {QStringLiteral("the store does not open: ") + db.lastError()};
    const auto integrity = db.scalar(QStringLiteral("PRAGMA integrity_check"));
    if (!integrity || integrity->toString() != QLatin1String("ok"))
        problems << QStringLiteral("integrity_check: %1")
                        .arg(integrity ? integrity->toString() : db.lastError());

    QHash<QString, int> count;
    QSet<QString> missing;
    for (const QJsonValue &item : QJsonDocument::fromJson(listed.out).array()) {
        const QString identifier = item[QLatin1String("identifier")].toString();
        ++count[identifier];
        if (item[QLatin1String("isMissing")].toBool())
            missing.insert(identifier);
    }
    for (auto it = count.cbegin(); it != count.cend(); ++it)
        if (it.value() > 1)
            problems
                << QStringLiteral("%1 is in the library %2 times").arg(it.key()).arg(it.value());
    for (const QString &identifier : confirmedImports)
        if (!count.contains(identifier))
            problems << QStringLiteral("the confirmed import %1 is gone").arg(identifier);
    for (int i = 1; i <= kLibraryShortcuts; ++i)
        if (missing.contains(QStringLiteral("ID-%1").arg(i)))
            problems << QStringLiteral("ID-%1 is marked missing though Shortcuts has it").arg(i);
    return problems;
}
} // namespace

class TestOwnerStress : public QObject {
    Q_OBJECT

    quint32 m_seed = 0;
    int m_rounds = 6;
    std::unique_ptr<QRandomGenerator> m_random;
    std::unique_ptr<SimulatedLibraryFile> m_shortcuts;
    QString m_data;
    QString m_link;
    QStringList m_confirmed;
    QHash<QString, int> m_started;

private slots:
    void initTestCase()
    {
        const QByteArray seed = qgetenv("THIMBLECRAFT_STRESS_SEED");
        bool seeded = false;
        m_seed = seed.toUInt(&seeded);
        if (seed == "random")
            m_seed = QRandomGenerator::system()->generate();
        else if (!seeded)
            m_seed = 1;
        bool counted = false;
        const int rounds = qEnvironmentVariableIntValue("THIMBLECRAFT_STRESS_ROUNDS", &counted);
        if (counted)
            m_rounds = rounds;
        qInfo("seed %u, %d rounds (THIMBLECRAFT_STRESS_SEED=%u repeats this run)", m_seed, m_rounds,
              m_seed);
        m_random = std::make_unique<QRandomGenerator>(m_seed);
        m_shortcuts = std::make_unique<SimulatedLibraryFile>();
        for (int i = 1; i <= kLibraryShortcuts; ++i)
            m_shortcuts->add(QStringLiteral("ID-%1").arg(i), QStringLiteral("Shortcut %1").arg(i));
        m_data = m_shortcuts->dir.filePath(QStringLiteral("data"));
        m_link = m_shortcuts->dir.filePath(QStringLiteral("link"));
        QVERIFY(QDir().mkpath(m_data));
        QVERIFY(QFile::link(m_data, m_link));
    }

    // One row a round: each round has its own time limit, and a failure names its round.
    void rounds_data()
    {
        QTest::addColumn<int>("round");
        for (int round = 0; round < m_rounds; ++round)
            QTest::addRow("round %d", round) << round;
    }

    void rounds()
    {
        QFETCH(int, round);
        // A slow Shortcuts app some rounds, a quick one others.
        m_shortcuts->library.switches.listDelayMilliseconds = int(m_random->bounded(400));
        m_shortcuts->publish();
        StressRound stress(*m_random, m_data, m_link, m_shortcuts->libraryPath, round);
        stress.run();
        m_confirmed << stress.confirmedImports;
        for (auto it = stress.started.cbegin(); it != stress.started.cend(); ++it)
            m_started[it.key()] += it.value();
        const QStringList problems = stress.problems + checkLibrary(m_data, m_confirmed);
        QVERIFY2(problems.isEmpty(), qPrintable(QStringLiteral("round %1 (seed %2): %3")
                                                    .arg(round)
                                                    .arg(m_seed)
                                                    .arg(problems.join(QStringLiteral("; ")))));
    }

    void cleanupTestCase()
    {
        QStringList counts;
        for (auto it = m_started.cbegin(); it != m_started.cend(); ++it)
            counts << QStringLiteral("%1 %2").arg(it.value()).arg(it.key());
        counts.sort();
        qInfo("seed %u: %s; %lld confirmed imports", m_seed,
              qPrintable(counts.join(QStringLiteral(", "))), qint64(m_confirmed.size()));
    }
};

QTEST_GUILESS_MAIN(TestOwnerStress)
#include "tst_owner_stress.moc"
