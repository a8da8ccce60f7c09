#include "common/FakeWorkspace.h"
#include "common/LoopbackHttp.h"
#include "common/TestImages.h"
#include "shortcuts/AppIconProvider.h"
#include "shortcuts/DesktopWorkspace.h"
#include "shortcuts/SymbolTable.h"

#include <QRawFont>
#include <QTemporaryDir>
#include <QtTest>

namespace {
QImage solid(const QColor &colour, int edge = 300)
{
    return solidImage(colour, edge);
}

bool near(QRgb px, const QColor &c, int tolerance = 3)
{
    return qAbs(qRed(px) - c.red()) <= tolerance && qAbs(qGreen(px) - c.green()) <= tolerance &&
           qAbs(qBlue(px) - c.blue()) <= tolerance && qAlpha(px) == 255;
}

QByteArray lookupJson(const QString &artworkUrl)
{
    return QStringLiteral("{\"resultCount\":1,\"results\":[{\"trackName\":\"X\","
                          "\"artworkUrl100\":\"%1\"}]}")
        .arg(artworkUrl)
        .toUtf8();
}
} // namespace

class TestAppIconProvider : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY2(!SymbolTable::fontFamily().isEmpty(), "the symbol font could not be loaded");
    }

    void init()
    {
        auto workspace = std::make_unique<FakeWorkspace>();
        m_workspace = workspace.get();
        Workspace::setShared(std::move(workspace));
    }

    void installedApps()
    {
        AppIconProvider provider;
        const QColor notesYellow(250, 200, 40);
        m_workspace->installed.insert("com.apple.Notes", solid(notesYellow, 512));
        m_workspace->installed.insert("com.apple.PhotoBooth", solid(Qt::darkRed, 64));

        // Through the alias table, unrounded, 128 x 128.
        const QImage notes = decodedPng(provider.icon("com.apple.mobilenotes"));
        QCOMPARE(notes.size(), QSize(128, 128));
        QVERIFY(near(notes.pixel(0, 0), notesYellow));
        QVERIFY(near(notes.pixel(64, 64), notesYellow));
        QCOMPARE(m_workspace->asked, (QStringList{"com.apple.mobilenotes", "com.apple.Notes"}));

        // The installed Photo Booth wins over the drawn camera.
        const QImage camera = decodedPng(provider.icon("com.apple.camera"));
        QVERIFY(near(camera.pixel(0, 0), QColor(Qt::darkRed)));

        // Served from the cache afterwards, even when the app is gone.
        m_workspace->installed.clear();
        m_workspace->asked.clear();
        QVERIFY(provider.icon("com.apple.mobilenotes").has_value());
        QVERIFY(m_workspace->asked.isEmpty());
        QCOMPARE(provider.cachedIcon("com.apple.mobilenotes"),
                 provider.icon("com.apple.mobilenotes"));
        QVERIFY(!provider.cachedIcon("com.apple.Notes").has_value()); // keyed by the request
    }

    void drawnSymbols()
    {
        AppIconProvider provider;
        const QImage heart = decodedPng(provider.icon("com.apple.Health"));
        QCOMPARE(heart.size(), QSize(128, 128));
        QCOMPARE(qAlpha(heart.pixel(0, 0)), 0); // rounded corner
        QVERIFY(near(heart.pixel(64, 3), Qt::white));
        const auto [heartPixels, heartBox] = pixelsWhere(
            heart, [](QRgb px) { return near(px, QColor::fromRgbF(1.0, 0.23, 0.4), 4); });
        QVERIFY2(heartPixels > 1000, qPrintable(QString::number(heartPixels)));
        // Centred, about 0.46 of the edge.
        QVERIFY(qAbs(heartBox.center().x() - 64) <= 2 && qAbs(heartBox.center().y() - 64) <= 2);
        QVERIFY(heartBox.width() > 30 && heartBox.width() <= 64);

        // Without Photo Booth, the camera is drawn on grey 0.35.
        const QImage camera = decodedPng(provider.icon("com.apple.camera"));
        QVERIFY(near(camera.pixel(64, 3), QColor::fromRgbF(0.35, 0.35, 0.35)));
        QCOMPARE(m_workspace->asked,
                 (QStringList{"com.apple.Health", "com.apple.camera", "com.apple.PhotoBooth"}));

        QVERIFY(!AppIconProvider::drawnSymbolIcon("no.such.symbol", Qt::black, Qt::white));
    }

    void unknownAppsAreNotCached()
    {
        AppIconProvider provider;
        QVERIFY(!provider.icon("com.example.unknown").has_value());
        QVERIFY(!provider.cachedIcon("com.example.unknown").has_value());
        // Installed later: found on the next request.
        m_workspace->installed.insert("com.example.unknown", solid(Qt::blue));
        QVERIFY(provider.icon("com.example.unknown").has_value());
        QCOMPARE(m_workspace->asked.count("com.example.unknown"), 2);
        // Keys are case-sensitive.
        QVERIFY(!provider.icon("com.example.Unknown").has_value());
    }

    void symbolTable()
    {
        for (const auto &s : AppIconProvider::symbolSubstitutes())
            QVERIFY2(SymbolTable::contains(s.symbol), qPrintable(s.symbol));
        // Every glyph of the table exists in the font that is actually loaded.
        const QRawFont raw = QRawFont::fromFont(SymbolTable::font(32));
        QVERIFY(raw.isValid());
        for (const QString &name : SymbolTable::names())
            QVERIFY2(raw.supportsCharacter(SymbolTable::glyph(name).at(0)), qPrintable(name));
        QVERIFY(!SymbolTable::glyphIfKnown("no.such.symbol").has_value());
        QVERIFY(raw.supportsCharacter(SymbolTable::glyph("no.such.symbol").at(0)));
        QVERIFY(SymbolTable::glyph("folder") != SymbolTable::glyph("folder.fill"));
    }

    void desktopEntries()
    {
        QTemporaryDir apps;
        QVERIFY(apps.isValid());
        const QString iconPath = apps.filePath("thing.png");
        QVERIFY(solid(Qt::green, 48).save(iconPath));
        auto write = [&](const QString &name, const QByteArray &text) {
            QFile f(apps.filePath(name));
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write(text);
        };
        write("com.example.Thing.desktop",
              "[Desktop Entry]\nName=Thing\nIcon[de]=other\nIcon=" + iconPath.toUtf8() +
                  "\n[Desktop Action x]\nIcon=nope\n");
        write("com.example.Hidden.desktop",
              "[Desktop Entry]\nIcon=" + iconPath.toUtf8() + "\nHidden=true\n");
        write("com.example.Themed.desktop", "[Desktop Entry]\nIcon=no-such-theme-icon-anywhere\n");

        DesktopWorkspace workspace({apps.path()});
        QCOMPARE(workspace.desktopEntryIcon("com.example.Thing"), iconPath);
        const QImage icon = workspace.applicationIcon("com.example.Thing");
        QVERIFY(!icon.isNull());
        QCOMPARE(icon.pixelColor(icon.width() / 2, icon.height() / 2), QColor(Qt::green));
        QVERIFY(workspace.applicationIcon("com.example.Hidden").isNull());
        QVERIFY(workspace.applicationIcon("com.example.Themed").isNull());
        QVERIFY(workspace.applicationIcon("com.example.Missing").isNull());
        QVERIFY(
            workspace
                .desktopEntryIcon("../" + QFileInfo(apps.path()).fileName() + "/com.example.Thing")
                .isEmpty());
    }

    void artworkLookup()
    {
        LoopbackHttp server;
        server.answers["/lookup"] = {200, lookupJson(server.base() + "/art/100x100bb.png")};
        server.answers["/art/256x256bb.png"] = {200, encodedImage(solid(QColor(200, 30, 30)))};
        server.answers["/plain/lookup"] = {200, lookupJson(server.base() + "/art/plain.png")};
        server.answers["/art/plain.png"] = {500, encodedImage(solid(QColor(30, 30, 200)))};

        AppIconProvider provider;
        provider.setLookupUrl(QUrl(server.base() + "/lookup"));
        const auto bytes = QCoro::waitFor(provider.remoteIcon("com.example.app"));
        const QImage icon = decodedPng(bytes);
        QCOMPARE(icon.size(), QSize(128, 128));
        QCOMPARE(qAlpha(icon.pixel(0, 0)), 0); // rounded
        QVERIFY(near(icon.pixel(64, 64), QColor(200, 30, 30)));
        QCOMPARE(server.requests, (QStringList{"/lookup?bundleId=com.example.app&country=us",
                                               "/art/256x256bb.png"}));

        // Cached: neither icon() nor remoteIcon() asks again.
        QCOMPARE(provider.icon("com.example.app"), bytes);
        QCOMPARE(QCoro::waitFor(provider.remoteIcon("com.example.app")), bytes);
        QCOMPARE(server.requests.size(), 2);

        // An address without the size marker is fetched unchanged; the status is not examined.
        provider.setLookupUrl(QUrl(server.base() + "/plain/lookup"));
        const QImage plain = decodedPng(QCoro::waitFor(provider.remoteIcon("com.example.plain")));
        QVERIFY(near(plain.pixel(64, 64), QColor(30, 30, 200)));
        QCOMPARE(server.requests.last(), QString("/art/plain.png"));
    }

    void lookupFailures_data()
    {
        QTest::addColumn<QByteArray>("lookupBody");
        QTest::addColumn<QByteArray>("artworkBody");
        QTest::addColumn<bool>("silentServer");
        const QByteArray art = "ART";
        const QByteArray png = encodedImage(solid(Qt::red, 64));
        QTest::newRow("not JSON") << QByteArray("<html>busy</html>") << png << false;
        QTest::newRow("array at top") << QByteArray("[{\"results\":[]}]") << png << false;
        QTest::newRow("results missing") << QByteArray("{\"resultCount\":0}") << png << false;
        QTest::newRow("results empty") << QByteArray("{\"results\":[]}") << png << false;
        QTest::newRow("results not an array") << QByteArray("{\"results\":{}}") << png << false;
        QTest::newRow("first result not an object")
            << QByteArray("{\"results\":[7]}") << png << false;
        QTest::newRow("artwork missing")
            << QByteArray("{\"results\":[{\"trackName\":\"X\"}]}") << png << false;
        QTest::newRow("artwork not text")
            << QByteArray("{\"results\":[{\"artworkUrl100\":5}]}") << png << false;
        QTest::newRow("artwork on the file system")
            << QByteArray("{\"results\":[{\"artworkUrl100\":\"file:///etc/hostname\"}]}") << png
            << false;
        QTest::newRow("artwork not an image")
            << QByteArray() << QByteArray("GIF89a-not-really") << false;
        QTest::newRow("huge lookup answer")
            << lookupJson("ART").append(QByteArray(3 * 1024 * 1024, ' ')) << png << false;
        QTest::newRow("huge artwork")
            << QByteArray() << png + QByteArray(9 * 1024 * 1024, '\0') << false;
        QTest::newRow("no answer at all") << QByteArray() << png << true;
    }

    void lookupFailures()
    {
        QFETCH(QByteArray, lookupBody);
        QFETCH(QByteArray, artworkBody);
        QFETCH(bool, silentServer);
        LoopbackHttp server;
        const QString artworkUrl = server.base() + "/art/100x100bb.png";
        if (lookupBody.isEmpty())
            lookupBody = lookupJson(artworkUrl);
        lookupBody.replace("\"ART\"", "\"" + artworkUrl.toUtf8() + "\"");
        server.answers["/lookup"] = {.body = lookupBody, .never = silentServer};
        server.answers["/art/256x256bb.png"] = {200, artworkBody};

        AppIconProvider provider;
        provider.setTransferTimeout(std::chrono::milliseconds(700));
        provider.setLookupUrl(QUrl(server.base() + "/lookup"));
        QVERIFY(!QCoro::waitFor(provider.remoteIcon("com.example.app")).has_value());
        QVERIFY(!provider.cachedIcon("com.example.app").has_value());
        QVERIFY(!provider.isLookingUp("com.example.app"));
        // Nothing remembered: the next request asks again.
        QVERIFY(!QCoro::waitFor(provider.remoteIcon("com.example.app")).has_value());
        QCOMPARE(server.count("/lookup"), 2);
    }

    void concurrentLookupsShareOneRequest()
    {
        LoopbackHttp server;
        server.answers["/lookup"] = {.body = lookupJson(server.base() + "/art/100x100bb.jpg"),
                                     .delayMs = 300};
        server.answers["/art/256x256bb.jpg"] = {200, encodedImage(solid(Qt::darkGreen))};

        AppIconProvider provider;
        provider.setLookupUrl(QUrl(server.base() + "/lookup"));
        auto first = provider.remoteIcon("com.example.same");
        auto second = provider.remoteIcon("com.example.same");
        auto other = provider.remoteIcon("com.example.other");
        QVERIFY(provider.isLookingUp("com.example.same"));
        const auto a = QCoro::waitFor(first);
        const auto b = QCoro::waitFor(second);
        const auto c = QCoro::waitFor(other);
        QVERIFY(a.has_value());
        QCOMPARE(a, b);
        QCOMPARE(a, c);
        QCOMPARE(server.count("/lookup"), 2); // one per bundle identifier
        QVERIFY(!provider.isLookingUp("com.example.same"));
        QCOMPARE(QCoro::waitFor(provider.remoteIcon("com.example.same")), a);
        QCOMPARE(server.count("/lookup"), 2);
    }

    void missingGlyphDrawsNothing()
    {
        const QString heart = SymbolTable::glyph(QStringLiteral("heart.fill"));
        const QFont symbols = SymbolTable::font(58.88);
        QVERIFY(AppIconProvider::drawnGlyphIcon(heart, symbols, Qt::white, Qt::red));
        // A text font has no such glyph, and a family that is not installed stands in with another
        // font: a box in the symbol's place is no icon.
        for (const QString &family :
             {QStringLiteral("DejaVu Sans"), QStringLiteral("No Such Font")}) {
            QFont font(family);
            font.setPixelSize(58);
            font.setStyleStrategy(QFont::NoFontMerging);
            QVERIFY2(!AppIconProvider::drawnGlyphIcon(heart, font, Qt::white, Qt::red),
                     qPrintable(family));
        }
        QVERIFY(!AppIconProvider::drawnGlyphIcon(QString(), symbols, Qt::white, Qt::red));
    }

private:
    FakeWorkspace *m_workspace = nullptr;
};

QTEST_MAIN(TestAppIconProvider)
#include "tst_appiconprovider.moc"
