#include "app/AppUpdater.h"
#include "common/Appcast.h"
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
    explicit FeedServer(const QByteArray &body) { serve(body); }
    void serve(const QByteArray &body) { answers[QStringLiteral("/appcast.xml")] = {.body = body}; }
    QUrl url() const { return LoopbackHttp::url(QStringLiteral("/appcast.xml")); }
};
} // namespace

class UpdaterTest : public QObject {
    Q_OBJECT
private slots:
    void init();
    void feedsFromLoopback_data();
    void feedsFromLoopback();
    void userCheckTellsTheResult();
    void automaticChecks();
    void versionOrder_data();
    void versionOrder();
    void evaluatesFeeds_data();
    void evaluatesFeeds();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
};

void UpdaterTest::init()
{
    QStandardPaths::setTestModeEnabled(true);
    m_dir = std::make_unique<QTemporaryDir>();
    AppSettings::useDataDirectory(m_dir->path());
}

// Feeds as served, redirected or hostile: an update, nothing new, or a clear failure that leaves
// the updater free for the next check.
void UpdaterTest::feedsFromLoopback_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("detail");      // the newest version, or how the error begins
    QTest::addColumn<QByteArray>("location"); // a redirect for the feed
    QTest::addColumn<bool>("withLength");
    const int newer = int(AppUpdater::Result::Kind::updateAvailable);
    const int failed = int(AppUpdater::Result::Kind::failed);
    const QString invalid = QStringLiteral("The update feed isn’t valid XML");
    const QString tooLarge = QStringLiteral("The update feed is larger than 1024 KB.");
    QTest::newRow("newer") << appcast({"1.0.0", "1.2.0", "1.1.0"}) << newer << "1.2.0"
                           << QByteArray() << true;
    QTest::newRow("same") << appcast({"0.9.0", "1.0.0"}) << int(AppUpdater::Result::Kind::upToDate)
                          << "1.0.0" << QByteArray() << true;
    QTest::newRow("garbage") << QByteArray("{\"not\": \"xml\"}") << failed
                             << "The update feed isn’t" << QByteArray() << true;
    QTest::newRow("no versions") << appcast({}) << failed << "The update feed lists no versions."
                                 << QByteArray() << true;
    QTest::newRow("huge") << QByteArray(3 * 1024 * 1024, 'x') << failed << tooLarge << QByteArray()
                          << true;

    const QByteArray feed = appcast({"1.2.0"});
    QTest::newRow("redirect within the web")
        << feed << newer << "1.2.0" << QByteArray("/moved") << true;
    const std::pair<const char *, QByteArray> offTheWeb[] = {
        {"redirect to a file", "file:///etc/passwd"},
        {"redirect to data", "data:text/xml,<rss/>"},
        {"redirect to ftp", "ftp://127.0.0.1/appcast.xml"},
        {"endless redirects", "/appcast.xml"},
    };
    for (const auto &[name, location] : offTheWeb)
        QTest::newRow(name) << feed << failed << "The update feed could not be read" << location
                            << true;

    QByteArray laughs = "<?xml version=\"1.0\"?><!DOCTYPE rss [<!ENTITY a \"aaaaaaaaaa\">";
    for (char c = 'b'; c <= 'j'; ++c)
        laughs += QByteArray("<!ENTITY ") + c + " \"" +
                  (QByteArray("&") + char(c - 1) + ";").repeated(10) + "\">";
    laughs += "]><rss xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\">"
              "<channel><item><sparkle:version>&j;</sparkle:version></item></channel></rss>";
    const QByteArray external =
        "<?xml version=\"1.0\"?><!DOCTYPE rss [<!ENTITY x SYSTEM \"file:///etc/passwd\">]><rss "
        "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\"><channel><item>"
        "<sparkle:version>&x;</sparkle:version></item></channel></rss>";
    const QByteArray deep = QByteArray("<x>").repeated(10000);
    const std::pair<const char *, QByteArray> broken[] = {
        {"entity expansion bomb", laughs},
        {"invalid UTF-8", appcastFeed(appcastItem("1.\xFF\xFE"))},
        {"NUL in a version", appcastFeed(appcastItem(QByteArray("1.2\0", 4)))},
        {"unclosed elements 10,000 deep", appcastFeed(deep)},
    };
    for (const auto &[name, body] : broken)
        QTest::newRow(name) << body << failed << invalid << QByteArray() << true;
    // The entity is never read, which leaves the only item without a version.
    QTest::newRow("external entity")
        << external << failed << "The update feed lists no versions." << QByteArray() << true;
    QTest::newRow("items 10,000 elements deep")
        << appcastFeed(deep + appcastItem("1.2.0") + QByteArray("</x>").repeated(10000)) << newer
        << "1.2.0" << QByteArray() << true;
    const QByteArray longVersion = QByteArray("1.").repeated(5000) + "1";
    QTest::newRow("version of 5,001 parts")
        << appcastFeed(appcastItem(longVersion)) << newer << QString::fromLatin1(longVersion)
        << QByteArray() << true;
    QTest::newRow("huge body without a length")
        << feed + QByteArray(3 * 1024 * 1024, ' ') << failed << tooLarge << QByteArray() << false;
}

void UpdaterTest::feedsFromLoopback()
{
    QFETCH(QByteArray, body);
    QFETCH(int, kind);
    QFETCH(QString, detail);
    QFETCH(QByteArray, location);
    QFETCH(bool, withLength);
    FeedServer server(body);
    server.answers[QStringLiteral("/appcast.xml")].withLength = withLength;
    server.answers[QStringLiteral("/moved")] = {.body = body};
    if (location.startsWith('/'))
        location.prepend(server.base().toUtf8());
    if (!location.isEmpty())
        server.answers[QStringLiteral("/appcast.xml")] = {302, {}, location};
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
                 QUrl(QStringLiteral("https://example.org/notes/") + detail));
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

// Off until turned on; then at most once a day, again once a day while the program stays open,
// quiet when there is nothing new and without blocking anything when there is.
void UpdaterTest::automaticChecks()
{
    FeedServer server(appcast({"1.0"}));
    AppUpdater updater;
    updater.setCurrentVersion(QStringLiteral("1.0"));
    updater.setFeedURL(server.url());
    QVERIFY(!updater.automaticallyChecksForUpdates());
    QVERIFY(!updater.checkAutomaticallyIfDue());
    updater.setAutomaticallyChecksForUpdates(true);
    QSignalSpy finished(&updater, &AppUpdater::checkFinished);
    QVERIFY(updater.checkAutomaticallyIfDue());
    QTRY_COMPARE(finished.count(), 1);
    QVERIFY(!updater.resultAlert());
    QVERIFY(!updater.checkAutomaticallyIfDue()); // not again the same day
    AppSettings::store().setValue(AppUpdater::lastCheckTimeKey,
                                  QDateTime::currentDateTime().addDays(-2));
    updater.setAutomaticallyChecksForUpdates(false);
    QVERIFY(!updater.checkAutomaticallyIfDue());
    updater.setAutomaticallyChecksForUpdates(true);
    server.serve(appcast({"2.0"}));
    QVERIFY(updater.checkAutomaticallyIfDue());
    QTRY_COMPARE(finished.count(), 2);
    QVERIFY(updater.resultAlert());
    QVERIFY(updater.resultAlert()->isVisible());
    QCOMPARE(updater.resultAlert()->windowModality(), Qt::NonModal);

    auto *timer = updater.findChild<QTimer *>(QStringLiteral("automaticUpdateCheckTimer"));
    QVERIFY(timer);
    QVERIFY(timer->isActive());
    // The timer's next turn finds the day not yet over, then a day later checks again.
    timer->setInterval(1);
    QTest::qWait(20);
    QCOMPARE(finished.count(), 2);
    AppSettings::store().setValue(AppUpdater::lastCheckTimeKey,
                                  QDateTime::currentDateTime().addDays(-1).addSecs(-1));
    QTRY_COMPARE(finished.count(), 3);
    updater.setAutomaticallyChecksForUpdates(false);
    QVERIFY(!timer->isActive());
}

void UpdaterTest::versionOrder_data()
{
    QTest::addColumn<QString>("older");
    QTest::addColumn<QString>("newer");
    QTest::addColumn<int>("order"); // of older against newer: -1, or 0 for two spellings of one
    const std::tuple<const char *, const char *, const char *, int> rows[] = {
        {"numbers, not text", "1.9", "1.10", -1},
        {"numbers after letters", "1.0a9", "1.0a10", -1},
        {"a missing part is zero", "1.2", "1.2.0", 0},
        {"pre-release before release", "1.2b1", "1.2", -1},
        {"whole numbers", "2", "10", -1},
        {"leading v", "v1.2", "v1.10", -1},
        {"v on one side", "1.9", "v1.10", -1},
        {"pre-release numbers", "1.0.0-beta.2", "1.0.0-beta.10", -1},
        {"dashed pre-release before release", "1.0.0-beta.10", "1.0.0", -1},
        {"letters before numbers", "1.0a1", "1.0.1", -1},
        {"alpha before beta", "2.0a3", "2.0b1", -1},
        {"beta before candidate", "2.0b5", "2.0rc1", -1},
        {"long numbers", "1.99999999999999999999", "1.100000000000000000000", -1},
        {"build numbers", "1233", "1234", -1},
    };
    for (const auto &[name, older, newer, order] : rows)
        QTest::newRow(name) << QString::fromLatin1(older) << QString::fromLatin1(newer) << order;
}

void UpdaterTest::versionOrder()
{
    QFETCH(QString, older);
    QFETCH(QString, newer);
    QFETCH(int, order);
    QCOMPARE(AppUpdater::compareVersions(older, newer), order);
    QCOMPARE(AppUpdater::compareVersions(newer, older), -order);
    QCOMPARE(AppUpdater::compareVersions(newer, newer), 0);
}

// Items for another system, another channel or a newer system than this one are not offered;
// production feeds carry build numbers as enclosure attributes beside a marketing version, links
// wrapped in white space, dates with a double space, deltas, and old items with only a version
// attribute; Sparkle 2 feeds give the version as an element and sign with EdDSA.
void UpdaterTest::evaluatesFeeds_data()
{
    QTest::addColumn<QByteArray>("feed");
    QTest::addColumn<QString>("current");
    QTest::addColumn<QString>("version"); // empty: up to date
    QTest::addColumn<QString>("display");
    QTest::addColumn<QString>("notes");
    QTest::addColumn<QString>("download");
    const QByteArray systems = appcastFeed(
        "<item><title>3.0 for Windows</title><sparkle:version>3.0</sparkle:version>"
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
    QTest::newRow("only items for this system") << systems << "1.0"
                                                << "2.0"
                                                << ""
                                                << ""
                                                << "https://example.org/Thimblecraft-2.0.zip";
    // Nothing for this system: up to date, not an error.
    QTest::newRow("only for another system")
        << appcastFeed("<item><sparkle:version>3.0</sparkle:version><enclosure "
                       "url=\"https://example.org/a.msi\" sparkle:os=\"windows\"/></item>")
        << "1.0"
        << ""
        << ""
        << ""
        << "";
    const QByteArray production = appcastFeed(R"(
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
    QTest::newRow("production feed") << production << "1401"
                                     << "1402"
                                     << "1.4.2"
                                     << "https://thimblecraft.app/releases/1.4.2.html"
                                     << "https://downloads.thimblecraft.app/Thimblecraft-1.4.2.zip";
    QTest::newRow("production feed, newest") << production << "1402"
                                             << ""
                                             << ""
                                             << ""
                                             << "";
    QTest::newRow("Sparkle 2") << appcastFeed(R"(
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
)") << "200"
                               << "210"
                               << "2.1.0"
                               << ""
                               << "https://downloads.thimblecraft.app/Thimblecraft-2.1.0.dmg";
}

void UpdaterTest::evaluatesFeeds()
{
    QFETCH(QByteArray, feed);
    QFETCH(QString, current);
    QFETCH(QString, version);
    QFETCH(QString, display);
    QFETCH(QString, notes);
    QFETCH(QString, download);
    const AppUpdater::Result result = AppUpdater::evaluate(feed, current);
    using Kind = AppUpdater::Result::Kind;
    QCOMPARE(int(result.kind), int(version.isEmpty() ? Kind::upToDate : Kind::updateAvailable));
    if (version.isEmpty())
        return;
    QCOMPARE(result.newest.version, version);
    if (!display.isEmpty())
        QCOMPARE(result.newest.displayVersion, display);
    if (!notes.isEmpty())
        QCOMPARE(result.newest.releaseNotes, QUrl(notes));
    QCOMPARE(result.newest.download, QUrl(download));
}

QTEST_MAIN(UpdaterTest)
#include "tst_updater.moc"
