#include "app/AppUpdater.h"
#include "common/AwaitTask.h"
#include "common/LoopbackHttp.h"
#include "model/AppSettings.h"

#include <QMessageBox>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace {
// Serves one feed at /appcast.xml.
struct FeedServer : LoopbackHttp {
    explicit FeedServer(const QByteArray &body)
    {
        answers[QStringLiteral("/appcast.xml")] = {.body = body};
    }
    QUrl url() const { return LoopbackHttp::url(QStringLiteral("/appcast.xml")); }
};

QByteArray appcast(const QStringList &versions)
{
    QByteArray items;
    for (const QString &v : versions)
        items += "<item><title>Version " + v.toUtf8() +
                 "</title>"
                 "<sparkle:version>" +
                 v.toUtf8() +
                 "</sparkle:version>"
                 "<sparkle:releaseNotesLink>https://example.org/notes/" +
                 v.toUtf8() +
                 "</sparkle:releaseNotesLink>"
                 "<enclosure url=\"https://example.org/Thimblecraft-" +
                 v.toUtf8() + ".zip\" length=\"1\" type=\"application/octet-stream\"/></item>";
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?><rss version=\"2.0\" "
           "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\"><channel>"
           "<title>Thimblecraft</title>" +
           items + "</channel></rss>";
}
} // namespace

class UpdaterTest : public QObject {
    Q_OBJECT
private slots:
    void init();
    void feedsFromLoopback_data();
    void feedsFromLoopback();
    void userCheckTellsTheResult();
    void automaticChecksAtMostDaily();
    void versionOrder();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
};

void UpdaterTest::init()
{
    QStandardPaths::setTestModeEnabled(true);
    m_dir = std::make_unique<QTemporaryDir>();
    AppSettings::useDataDirectory(m_dir->path());
}

void UpdaterTest::feedsFromLoopback_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("detail");
    using Kind = AppUpdater::Result::Kind;
    QTest::newRow("newer") << appcast({"1.0.0", "1.2.0", "1.1.0"}) << int(Kind::updateAvailable)
                           << "1.2.0";
    QTest::newRow("same") << appcast({"0.9.0", "1.0.0"}) << int(Kind::upToDate) << "1.0.0";
    QTest::newRow("garbage") << QByteArray("{\"not\": \"xml\"}") << int(Kind::failed)
                             << "The update feed isn’t";
    QTest::newRow("no versions") << appcast({}) << int(Kind::failed)
                                 << "The update feed lists no versions.";
    QTest::newRow("huge") << QByteArray(3 * 1024 * 1024, 'x') << int(Kind::failed)
                          << "The update feed is larger than 1024 KB.";
}

void UpdaterTest::feedsFromLoopback()
{
    QFETCH(QByteArray, body);
    QFETCH(int, kind);
    QFETCH(QString, detail);
    FeedServer server(body);
    AppUpdater updater;
    updater.setCurrentVersion(QStringLiteral("1.0.0"));
    updater.setFeedURL(server.url());
    QVERIFY(updater.canCheckForUpdates());
    const AppUpdater::Result result = awaitTask(updater.check());
    QCOMPARE(int(result.kind), kind);
    if (result.kind == AppUpdater::Result::Kind::failed)
        QVERIFY2(result.error.startsWith(detail), qPrintable(result.error));
    else
        QCOMPARE(result.newest.version, detail);
    if (result.kind == AppUpdater::Result::Kind::updateAvailable)
        QCOMPARE(result.newest.releaseNotes,
                 QUrl(QStringLiteral("https://example.org/notes/1.2.0")));
    QVERIFY(updater.canCheckForUpdates()); // free again afterwards
}

void UpdaterTest::userCheckTellsTheResult()
{
    FeedServer server(appcast({"2.0"}));
    AppUpdater updater;
    updater.setCurrentVersion(QStringLiteral("1.0"));
    updater.setFeedURL(server.url());
    QWidget parent;
    updater.checkForUpdates(&parent);
    QVERIFY(!updater.canCheckForUpdates()); // one check at a time
    QTRY_VERIFY(updater.resultAlert());
    QCOMPARE(updater.resultAlert()->text(),
             QStringLiteral("A new version of Thimblecraft is available!"));
    QVERIFY(updater.resultAlert()->informativeText().contains(
        QStringLiteral("Thimblecraft 2.0 is now available—you have 1.0.")));
    QVERIFY(updater.resultAlert()->informativeText().contains(
        QStringLiteral("https://example.org/notes/2.0")));
}

void UpdaterTest::automaticChecksAtMostDaily()
{
    FeedServer server(appcast({"1.0"}));
    AppUpdater updater;
    updater.setFeedURL(server.url());
    QVERIFY(!updater.automaticallyChecksForUpdates()); // off until turned on
    QVERIFY(!updater.checkAutomaticallyIfDue());
    updater.setAutomaticallyChecksForUpdates(true);
    QSignalSpy finished(&updater, &AppUpdater::checkFinished);
    QVERIFY(updater.checkAutomaticallyIfDue());
    QTRY_COMPARE(finished.count(), 1);
    QVERIFY(!updater.resultAlert());             // automatic checks are quiet
    QVERIFY(!updater.checkAutomaticallyIfDue()); // not again the same day
    AppSettings::store().setValue(AppUpdater::lastCheckTimeKey,
                                  QDateTime::currentDateTime().addDays(-2));
    updater.setAutomaticallyChecksForUpdates(false);
    QVERIFY(!updater.checkAutomaticallyIfDue());
    updater.setAutomaticallyChecksForUpdates(true);
    QVERIFY(updater.checkAutomaticallyIfDue());
    QTRY_COMPARE(finished.count(), 2);
}

void UpdaterTest::versionOrder()
{
    QCOMPARE(AppUpdater::compareVersions("1.10", "1.9"), 1);
    QCOMPARE(AppUpdater::compareVersions("1.2", "1.2.0"), 0);
    QCOMPARE(AppUpdater::compareVersions("1.2b1", "1.2"), -1);
    QCOMPARE(AppUpdater::compareVersions("2", "10"), -1);
}

QTEST_MAIN(UpdaterTest)
#include "tst_updater.moc"
