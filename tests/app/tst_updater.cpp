#include "app/AppUpdater.h"
#include "common/AwaitTask.h"
#include "common/FakeWorkspace.h"
#include "common/LoopbackHttp.h"
#include "model/AppSettings.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimer>

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
    void versionOrderOfAppcasts_data();
    void versionOrderOfAppcasts();
    void onlyItemsForThisSystem();
    void productionFeed();
    void sparkle2Feed();
    void automaticChecksWhileOpen();

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
    auto workspace = std::make_unique<FakeWorkspace>();
    FakeWorkspace *opened = workspace.get();
    Workspace::setShared(std::move(workspace));
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
    // "Download" beside the release notes opens the enclosure.
    QAbstractButton *download = nullptr;
    for (QAbstractButton *button : updater.resultAlert()->buttons()) {
        if (button->text() == QLatin1String("Download"))
            download = button;
    }
    QVERIFY(download);
    download->click();
    QCOMPARE(opened->opened,
             QList<QUrl>{QUrl(QStringLiteral("https://example.org/Thimblecraft-2.0.zip"))});
}

void UpdaterTest::automaticChecksAtMostDaily()
{
    FeedServer server(appcast({"1.0"}));
    AppUpdater updater;
    updater.setCurrentVersion(QStringLiteral("1.0"));
    updater.setFeedURL(server.url());
    QVERIFY(!updater.automaticallyChecksForUpdates()); // off until turned on
    QVERIFY(!updater.checkAutomaticallyIfDue());
    updater.setAutomaticallyChecksForUpdates(true);
    QSignalSpy finished(&updater, &AppUpdater::checkFinished);
    QVERIFY(updater.checkAutomaticallyIfDue());
    QTRY_COMPARE(finished.count(), 1);
    QVERIFY(!updater.resultAlert());             // quiet when there is nothing new
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

void UpdaterTest::versionOrderOfAppcasts_data()
{
    QTest::addColumn<QString>("older");
    QTest::addColumn<QString>("newer");
    QTest::newRow("numbers, not text") << "1.0a9"
                                       << "1.0a10";
    QTest::newRow("leading v") << "v1.2"
                               << "v1.10";
    QTest::newRow("v on one side") << "1.9"
                                   << "v1.10";
    QTest::newRow("pre-release numbers") << "1.0.0-beta.2"
                                         << "1.0.0-beta.10";
    QTest::newRow("pre-release before release") << "1.0.0-beta.10"
                                                << "1.0.0";
    QTest::newRow("letters before numbers") << "1.0a1"
                                            << "1.0.1";
    QTest::newRow("alpha before beta") << "2.0a3"
                                       << "2.0b1";
    QTest::newRow("beta before candidate") << "2.0b5"
                                           << "2.0rc1";
    QTest::newRow("long numbers") << "1.99999999999999999999"
                                  << "1.100000000000000000000";
    QTest::newRow("build numbers") << "1233"
                                   << "1234";
}

void UpdaterTest::versionOrderOfAppcasts()
{
    QFETCH(QString, older);
    QFETCH(QString, newer);
    QCOMPARE(AppUpdater::compareVersions(older, newer), -1);
    QCOMPARE(AppUpdater::compareVersions(newer, older), 1);
    QCOMPARE(AppUpdater::compareVersions(newer, newer), 0);
}

namespace {
QByteArray feedOf(const QByteArray &items)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<rss version=\"2.0\" "
           "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\" "
           "xmlns:dc=\"http://purl.org/dc/elements/1.1/\">\n<channel>\n<title>Thimblecraft</"
           "title>\n" +
           items + "</channel>\n</rss>\n";
}
} // namespace

// Items for another system, another channel or a newer system than this one are not offered.
void UpdaterTest::onlyItemsForThisSystem()
{
    const QByteArray feed =
        feedOf("<item><title>3.0 for Windows</title><sparkle:version>3.0</sparkle:version>"
               "<enclosure url=\"https://example.org/Thimblecraft-3.0.msi\" sparkle:os=\"windows\" "
               "length=\"1\" type=\"application/octet-stream\"/></item>"
               "<item><title>2.9 beta</title><sparkle:version>2.9</sparkle:version>"
               "<sparkle:channel>beta</sparkle:channel>"
               "<enclosure url=\"https://example.org/Thimblecraft-2.9.zip\" length=\"1\" "
               "type=\"application/octet-stream\"/></item>"
               "<item><title>2.8</title><sparkle:version>2.8</sparkle:version>"
               "<sparkle:minimumSystemVersion>999.0</sparkle:minimumSystemVersion>"
               "<enclosure url=\"https://example.org/Thimblecraft-2.8.zip\" length=\"1\" "
               "type=\"application/octet-stream\"/></item>"
               "<item><title>2.0</title><sparkle:version>2.0</sparkle:version>"
               "<sparkle:minimumSystemVersion>1.0</sparkle:minimumSystemVersion>"
               "<enclosure url=\"https://example.org/Thimblecraft-2.0.zip\" length=\"1\" "
               "type=\"application/octet-stream\"/></item>");
    AppUpdater::Result result = AppUpdater::evaluate(feed, QStringLiteral("1.0"));
    QCOMPARE(int(result.kind), int(AppUpdater::Result::Kind::updateAvailable));
    QCOMPARE(result.newest.version, QStringLiteral("2.0"));
    QCOMPARE(result.newest.download,
             QUrl(QStringLiteral("https://example.org/Thimblecraft-2.0.zip")));

    // Nothing for this system: up to date, not an error.
    const QByteArray windowsOnly = feedOf(
        "<item><sparkle:version>3.0</sparkle:version><enclosure url=\"https://example.org/a.msi\" "
        "sparkle:os=\"windows\"/></item>");
    result = AppUpdater::evaluate(windowsOnly, QStringLiteral("1.0"));
    QCOMPARE(int(result.kind), int(AppUpdater::Result::Kind::upToDate));
}

// A long-running production feed: build numbers as enclosure attributes with a marketing version,
// links wrapped in white space, dates with a double space, deltas, and old items that carry only
// a version attribute.
void UpdaterTest::productionFeed()
{
    const QByteArray feed = feedOf(R"(
<item>
    <title>Thimblecraft 1.4.2</title>
    <sparkle:releaseNotesLink>
        https://thimblecraft.app/releases/1.4.2.html
    </sparkle:releaseNotesLink>
    <pubDate>Wed,  3 Jan 2024 09:14:00 +0000</pubDate>
    <enclosure url="https://downloads.thimblecraft.app/Thimblecraft-1.4.2.zip"
               sparkle:version="1402" sparkle:shortVersionString="1.4.2"
               length="9038211" type="application/octet-stream"
               sparkle:dsaSignature="MC0CFQCBbq3dm0ZuW1J1dRIVlTF+dPGnAwIUbHTzsOfW7Y1w9Xr6gmmGLi+mqyA=" />
    <sparkle:deltas>
        <enclosure url="https://downloads.thimblecraft.app/1402-1401.delta"
                   sparkle:version="1402" sparkle:deltaFrom="1401"
                   length="204100" type="application/octet-stream" />
    </sparkle:deltas>
</item>
<item>
    <title>Thimblecraft 1.4.1</title>
    <sparkle:releaseNotesLink>https://thimblecraft.app/releases/1.4.1.html</sparkle:releaseNotesLink>
    <pubDate>Sat, 25 Nov 2023 18:02:11 +0000</pubDate>
    <enclosure url="https://downloads.thimblecraft.app/Thimblecraft-1.4.1.zip"
               sparkle:version="1401" sparkle:shortVersionString="1.4.1"
               length="9031002" type="application/octet-stream" />
</item>
<item>
    <title>Thimblecraft 1.0</title>
    <pubDate>Mon,  2 Jan 2023 08:00:00 +0000</pubDate>
    <enclosure url="https://downloads.thimblecraft.app/Thimblecraft-1.0.zip" sparkle:version="100"
               length="8800123" type="application/octet-stream" />
</item>
)");
    AppUpdater::Result result = AppUpdater::evaluate(feed, QStringLiteral("1401"));
    QCOMPARE(int(result.kind), int(AppUpdater::Result::Kind::updateAvailable));
    QCOMPARE(result.newest.version, QStringLiteral("1402"));
    QCOMPARE(result.newest.displayVersion, QStringLiteral("1.4.2"));
    QCOMPARE(result.newest.releaseNotes,
             QUrl(QStringLiteral("https://thimblecraft.app/releases/1.4.2.html")));
    QCOMPARE(result.newest.download,
             QUrl(QStringLiteral("https://downloads.thimblecraft.app/Thimblecraft-1.4.2.zip")));
    result = AppUpdater::evaluate(feed, QStringLiteral("1402"));
    QCOMPARE(int(result.kind), int(AppUpdater::Result::Kind::upToDate));
}

// A Sparkle 2 feed: the version as an element, EdDSA signatures on the enclosures.
void UpdaterTest::sparkle2Feed()
{
    const QByteArray feed = feedOf(R"(
<item>
    <title>2.1.0</title>
    <pubDate>Tue, 14 May 2024 10:00:00 +0200</pubDate>
    <sparkle:version>210</sparkle:version>
    <sparkle:shortVersionString>2.1.0</sparkle:shortVersionString>
    <sparkle:minimumSystemVersion>1.0</sparkle:minimumSystemVersion>
    <sparkle:releaseNotesLink>https://thimblecraft.app/releases/2.1.0.html</sparkle:releaseNotesLink>
    <enclosure url="https://downloads.thimblecraft.app/Thimblecraft-2.1.0.dmg" length="10485760"
               type="application/octet-stream"
               sparkle:edSignature="7cLALFUHSwvEJWSkV8aMreoBe4fhRa4FncC5NoThKxwThL6FDR7hTiPJh1fo2uagnPogisnQsgFgq6mGkt2RBw=="/>
</item>
<item>
    <title>2.0.0</title>
    <sparkle:version>200</sparkle:version>
    <sparkle:shortVersionString>2.0.0</sparkle:shortVersionString>
    <enclosure url="https://downloads.thimblecraft.app/Thimblecraft-2.0.0.dmg" length="10400000"
               type="application/octet-stream" sparkle:edSignature="abc="/>
</item>
)");
    const AppUpdater::Result result = AppUpdater::evaluate(feed, QStringLiteral("200"));
    QCOMPARE(int(result.kind), int(AppUpdater::Result::Kind::updateAvailable));
    QCOMPARE(result.newest.version, QStringLiteral("210"));
    QCOMPARE(result.newest.displayVersion, QStringLiteral("2.1.0"));
    QCOMPARE(result.newest.download,
             QUrl(QStringLiteral("https://downloads.thimblecraft.app/Thimblecraft-2.1.0.dmg")));
}

// While the program stays open, automatic checks come again once a day; a found update is
// shown without blocking anything.
void UpdaterTest::automaticChecksWhileOpen()
{
    FeedServer server(appcast({"2.0"}));
    AppUpdater updater;
    updater.setCurrentVersion(QStringLiteral("1.0"));
    updater.setFeedURL(server.url());
    updater.setAutomaticallyChecksForUpdates(true);
    QSignalSpy finished(&updater, &AppUpdater::checkFinished);
    QVERIFY(updater.checkAutomaticallyIfDue());
    QTRY_COMPARE(finished.count(), 1);
    QVERIFY(updater.resultAlert());
    QVERIFY(updater.resultAlert()->isVisible());
    QCOMPARE(updater.resultAlert()->windowModality(), Qt::NonModal);

    auto *timer = updater.findChild<QTimer *>(QStringLiteral("automaticUpdateCheckTimer"));
    QVERIFY(timer);
    QVERIFY(timer->isActive());
    // The timer's next turn finds the day not yet over, then a day later checks again.
    timer->setInterval(1);
    QTest::qWait(20);
    QCOMPARE(finished.count(), 1);
    AppSettings::store().setValue(AppUpdater::lastCheckTimeKey,
                                  QDateTime::currentDateTime().addDays(-1).addSecs(-1));
    QTRY_COMPARE(finished.count(), 2);
    updater.setAutomaticallyChecksForUpdates(false);
    QVERIFY(!timer->isActive());
}

QTEST_MAIN(UpdaterTest)
#include "tst_updater.moc"
