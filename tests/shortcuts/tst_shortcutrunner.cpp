#include "common/FakeWorkspace.h"
#include "common/ScriptedHost.h"
#include "model/Clock.h"
#include "model/ModelContext.h"
#include "shortcuts/FileOpenEvents.h"
#include "shortcuts/ShortcutRunner.h"
#include "shortcuts/ShortcutsEventsBridge.h"

#include <QFileOpenEvent>
#include <QSignalSpy>
#include <QTest>

using Desc = AppleEventDescriptor;

class TestShortcutRunner : public QObject {
    Q_OBJECT
private slots:
    void init()
    {
        Clock::setOverride([this] { return m_now; });
        m_host = std::make_shared<ScriptedHost>(true);
        m_bridge = std::make_unique<ShortcutsEventsBridge>(m_host);
        m_workspace.opened.clear();
        m_runner = std::make_unique<ShortcutRunner>(m_bridge.get(), &m_workspace);
    }

    void cleanup()
    {
        m_host->gate.release(100); // never leave the shared queue blocked
        m_runner.reset();
        Clock::setOverride({});
    }

    void runCountsSavesAndReportsSuccess()
    {
        ModelContext context;
        auto *item =
            context.insert(new ShortcutItem(QStringLiteral("ID-1"), QStringLiteral("Backup")));
        item->setRunCount(4);
        context.save();
        QSignalSpy running(m_runner.get(), &ShortcutRunner::runningIdentifiersChanged);
        QSignalSpy outcome(m_runner.get(), &ShortcutRunner::latestOutcomeChanged);
        m_host->answer = [](const QString &script) {
            return ScriptHostReply::success(Desc::list({Desc::text(script), Desc::null()}));
        };

        m_runner->run(item, QStringLiteral("payload"));
        // Counted and saved before the run has even started.
        QCOMPARE(item->runCount(), 5);
        QCOMPARE(item->lastRunAt(), std::optional(m_now));
        QVERIFY(!context.hasChanges());
        QVERIFY(m_runner->isRunning(QStringLiteral("ID-1")));
        QCOMPARE(running.count(), 1);
        QVERIFY(!m_runner->latestOutcome());

        m_host->gate.release();
        QTRY_VERIFY(m_runner->latestOutcome().has_value());
        const ShortcutRunner::Outcome o = *m_runner->latestOutcome();
        QCOMPARE(o.shortcutName, QStringLiteral("Backup"));
        QCOMPARE(o.output, std::optional<QString>(QStringLiteral(
                               "tell application \"Shortcuts Events\" to run shortcut id \"ID-1\" "
                               "with input \"payload\"")));
        QVERIFY(!o.error);
        QCOMPARE(o.date, m_now);
        QVERIFY(!o.id.isNull());
        QVERIFY(!m_runner->isRunning(QStringLiteral("ID-1")));
        QCOMPARE(running.count(), 2);
        QCOMPARE(outcome.count(), 1);

        // No output at all: neither output nor error; a new outcome each time.
        m_host->answer = [](const QString &) { return ScriptHostReply::success(Desc::null()); };
        m_runner->run(item);
        m_host->gate.release();
        QTRY_COMPARE(outcome.count(), 2);
        QVERIFY(!m_runner->latestOutcome()->output && !m_runner->latestOutcome()->error);
        QVERIFY(m_runner->latestOutcome()->id != o.id);
        QCOMPARE(item->runCount(), 6);
    }

    void runFailuresBecomeOutcomes()
    {
        ModelContext context;
        auto *item =
            context.insert(new ShortcutItem(QStringLiteral("ID-2"), QStringLiteral("Lights")));
        m_host->answer = [](const QString &) {
            return ScriptHostReply::failure(-600, QStringLiteral("Application isn’t running."));
        };
        m_runner->run(item);
        m_host->gate.release();
        QTRY_VERIFY(m_runner->latestOutcome().has_value());
        QCOMPARE(m_runner->latestOutcome()->error,
                 std::optional<QString>(
                     QStringLiteral("Shortcuts Events isn't available on this Mac.")));
        QVERIFY(!m_runner->latestOutcome()->output);
        QCOMPARE(item->runCount(), 1);
        QCOMPARE(item->lastRunAt(), std::optional(m_now));
        QVERIFY(m_runner->runningIdentifiers().isEmpty());

        // A placeholder runs by name.
        m_host->answer = [](const QString &) {
            return ScriptHostReply::failure(std::nullopt, std::nullopt);
        };
        auto *placeholder = context.insert(
            new ShortcutItem(QStringLiteral("name:Lights"), QStringLiteral("Lights")));
        m_runner->run(placeholder, QString());
        m_host->gate.release();
        QTRY_VERIFY(m_runner->runningIdentifiers().isEmpty());
        QCOMPARE(
            m_host->scripts().last(),
            QStringLiteral("tell application \"Shortcuts Events\" to run shortcut \"Lights\""));
        QCOMPARE(m_runner->latestOutcome()->error,
                 std::optional<QString>(QStringLiteral("Unknown AppleScript error (0)")));
    }

    void overlappingRuns()
    {
        ModelContext context;
        auto *a = context.insert(new ShortcutItem(QStringLiteral("A"), QStringLiteral("First")));
        auto *b = context.insert(new ShortcutItem(QStringLiteral("B"), QStringLiteral("Second")));
        m_host->answer = [](const QString &script) {
            return ScriptHostReply::success(Desc::text(script.section(QLatin1Char('"'), 3, 3)));
        };
        m_runner->run(a);
        m_runner->run(a);
        m_runner->run(b);
        QCOMPARE(m_runner->runningIdentifiers(),
                 (QSet<QString>{QStringLiteral("A"), QStringLiteral("B")}));
        QCOMPARE(a->runCount(), 2);
        // The first run of A ends: A leaves the set although its second run is still going.
        m_host->gate.release();
        QTRY_COMPARE(m_runner->runningIdentifiers(), QSet<QString>{QStringLiteral("B")});
        QCOMPARE(m_runner->latestOutcome()->output, std::optional<QString>(QStringLiteral("A")));
        m_host->gate.release(2);
        QTRY_VERIFY(m_runner->runningIdentifiers().isEmpty());
        QCOMPARE(m_runner->latestOutcome()->shortcutName, QStringLiteral("Second"));
    }

    void openInShortcuts_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("url");
        QTest::newRow("plain") << "Backup" << QByteArray("shortcuts://open-shortcut?name=Backup");
        QTest::newRow("spaces") << "Good Morning"
                                << QByteArray("shortcuts://open-shortcut?name=Good%20Morning");
        QTest::newRow("ampersand")
            << "Rock & Roll" << QByteArray("shortcuts://open-shortcut?name=Rock%20%26%20Roll");
        QTest::newRow("equals, plus, hash")
            << "a=b+c#d" << QByteArray("shortcuts://open-shortcut?name=a%3Db%2Bc%23d");
        QTest::newRow("unicode") << "Café"
                                 << QByteArray("shortcuts://open-shortcut?name=Caf%C3%A9");
    }

    void openInShortcuts()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, url);
        ModelContext context;
        auto *item = context.insert(new ShortcutItem(QStringLiteral("X"), name));
        m_runner->openInShortcuts(item);
        QCOMPARE(m_workspace.opened.size(), 1);
        const QUrl opened = m_workspace.opened.first();
        QCOMPARE(opened.toEncoded(), url);
        // Read back the way a receiver splits it: one item carrying the whole name.
        const QString query = opened.query(QUrl::FullyEncoded);
        QCOMPARE(query.count(QLatin1Char('&')), 0);
        QCOMPARE(QUrl::fromPercentEncoding(query.mid(5).toUtf8()), name);
        QCOMPARE(item->runCount(), 0);
    }

    void callbackURLs_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QVariant>("output"); // null: none
        QTest::addColumn<QVariant>("error");
        const QVariant none;
        QTest::newRow("success") << "thimblecraft://run-success?name=Backup&result=Done%20ok"
                                 << "Backup" << QVariant(QStringLiteral("Done ok")) << none;
        QTest::newRow("success without query") << "thimblecraft://run-success"
                                               << "Shortcut" << none << none;
        QTest::newRow("result without value") << "thimblecraft://run-success?name=A&result"
                                              << "A" << none << none;
        QTest::newRow("empty result") << "thimblecraft://run-success?name=A&result="
                                      << "A" << QVariant(QString()) << none;
        QTest::newRow("first of repeated items")
            << "thimblecraft://run-success?name=A&name=B&result=1&result=2"
            << "A" << QVariant(QStringLiteral("1")) << none;
        QTest::newRow("error with message")
            << "thimblecraft://run-error?name=Backup&errorMessage=Disk%20full"
            << "Backup" << none << QVariant(QStringLiteral("Disk full"));
        QTest::newRow("error with only a name")
            << "thimblecraft://run-error?name=Backup"
            << "Backup" << none << QVariant(QStringLiteral("The shortcut reported an error."));
        QTest::newRow("doubly encoded name") << "thimblecraft://run-success?name=Good%2520Morning"
                                             << "Good Morning" << none << none;
        QTest::newRow("lone percent") << "thimblecraft://run-success?name=100%25"
                                      << "Shortcut" << none << none;
        QTest::newRow("name without value")
            << "thimblecraft://run-error?name"
            << "Shortcut" << none << QVariant(QStringLiteral("The shortcut reported an error."));
        QTest::newRow("plus stays plus") << "thimblecraft://run-success?name=a+b"
                                         << "a+b" << none << none;
        QTest::newRow("UTF-8 name") << "thimblecraft://run-success?name=Caf%C3%A9"
                                    << "Café" << none << none;
        QTest::newRow("name not UTF-8") << "thimblecraft://run-success?name=%FF%FE"
                                        << "Shortcut" << none << none;
        QTest::newRow("message not UTF-8")
            << "thimblecraft://run-error?name=A&errorMessage=%C3"
            << "A" << none << QVariant(QStringLiteral("The shortcut reported an error."));
    }

    void callbackURLs()
    {
        QFETCH(QString, url);
        QFETCH(QString, name);
        QFETCH(QVariant, output);
        QFETCH(QVariant, error);
        QSignalSpy spy(m_runner.get(), &ShortcutRunner::latestOutcomeChanged);
        QSignalSpy running(m_runner.get(), &ShortcutRunner::runningIdentifiersChanged);
        m_runner->handleCallbackURL(url);
        QCOMPARE(running.count(), 0);
        QCOMPARE(spy.count(), 1);
        const ShortcutRunner::Outcome &o = *m_runner->latestOutcome();
        QCOMPARE(o.shortcutName, name);
        QCOMPARE(o.output.has_value(), !output.isNull());
        if (o.output)
            QCOMPARE(*o.output, output.toString());
        QCOMPARE(o.error.has_value(), !error.isNull());
        if (o.error)
            QCOMPARE(*o.error, error.toString());
        QCOMPARE(o.date, m_now);
    }

    // Scheme and host are compared as they were sent, case and all; anything else is no callback.
    void foreignURLsAreNoCallbacks()
    {
        QSignalSpy spy(m_runner.get(), &ShortcutRunner::latestOutcomeChanged);
        for (const char *url :
             {"shortcuts://run-success?name=A", "thimblecraft://run-later?name=A",
              "thimblecraft:run-success?name=A", "run-success?name=A",
              "THIMBLECRAFT://run-success?name=A", "Thimblecraft://run-success?name=A",
              "thimblecraft://Run-Success?name=A"}) {
            m_runner->handleCallbackURL(QString::fromLatin1(url));
            QVERIFY2(spy.isEmpty() && !m_runner->latestOutcome(), url);
        }
    }

    // How a URL reaches the program on macOS: an Apple event that Qt turns into a QFileOpenEvent.
    void callbackURLsAsFileOpenEvents()
    {
        ShortcutRunner *runner = m_runner.get();
        auto *filter =
            FileOpenEvents::install(QCoreApplication::instance(), [runner](const QString &url) {
                runner->handleCallbackURL(url);
            });
        QCoreApplication::postEvent(QCoreApplication::instance(),
                                    new QFileOpenEvent(QUrl(QStringLiteral(
                                        "thimblecraft://run-success?name=Backup&result=Done"))));
        QTRY_VERIFY(m_runner->latestOutcome());
        QCOMPARE(m_runner->latestOutcome()->shortcutName, QStringLiteral("Backup"));
        QCOMPARE(m_runner->latestOutcome()->output, std::optional(QStringLiteral("Done")));

        // A document is left to the application.
        QFileOpenEvent document(QStringLiteral("/tmp/notes.txt"));
        QVERIFY(!filter->eventFilter(QCoreApplication::instance(), &document));
        QFileOpenEvent otherScheme(QUrl(QStringLiteral("shortcuts://run-success?name=X")));
        QVERIFY(!filter->eventFilter(QCoreApplication::instance(), &otherScheme));
        QCOMPARE(m_runner->latestOutcome()->shortcutName, QStringLiteral("Backup"));
        delete filter;
    }

private:
    std::shared_ptr<ScriptedHost> m_host;
    std::unique_ptr<ShortcutsEventsBridge> m_bridge;
    FakeWorkspace m_workspace;
    std::unique_ptr<ShortcutRunner> m_runner;
    const QDateTime m_now = QDateTime(QDate(2024, 5, 6), QTime(7, 8, 9), Qt::UTC);
};

QTEST_GUILESS_MAIN(TestShortcutRunner)
#include "tst_shortcutrunner.moc"
