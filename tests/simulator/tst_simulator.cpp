#include "common/AwaitTask.h"
#include "common/TestImages.h"
#include "model/AppSettings.h"
#include "model/ShortcutItem.h"
#include "shortcuts/IconProcessing.h"
#include "shortcuts/ShortcutRunner.h"
#include "shortcuts/ShortcutsEventsBridge.h"
#include "simulator/PlatformSetup.h"
#include "simulator/SimulatedIconRenderer.h"
#include "simulator/SimulatedLibrary.h"
#include "simulator/SimulatedShortcutsEvents.h"
#include "simulator/SimulatedWorkspace.h"

#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

namespace {
const char *smallLibrary = "{\n"
                           "  \"folders\": [\"Home\", \"Work\"],\n"
                           "  \"shortcuts\": [\n"
                           "    {\"identifier\": \"ID-1\", \"name\": \"Lights \\\"Off\\\"\", "
                           "\"color\": \"#FF8000\", \"acceptsInput\": false,\n"
                           "     \"actionCount\": 3, \"folder\": \"Home\", \"icon\": {\"glyph\": "
                           "\"moon\", \"top\": \"#FF0000\", \"bottom\": \"#FF9900\"},\n"
                           "     \"run\": {\"output\": \"All off\"}},\n"
                           "    {\"identifier\": \"ID-2\", \"name\": \"Translate\", \"subtitle\": "
                           "\"To English\", \"color\": \"#0A84FF\",\n"
                           "     \"acceptsInput\": true, \"actionCount\": 2, \"folder\": \"Work\", "
                           "\"run\": {\"output\": \"Got: {input}\"}},\n"
                           "    {\"identifier\": \"ID-3\", \"name\": \"Broken\", \"run\": "
                           "{\"error\": {\"number\": -1, \"message\": \"It broke.\"}}},\n"
                           "    {\"identifier\": \"ID-4\", \"name\": \"Report\", \"folder\": "
                           "\"Later\", \"run\": {\"output\": [\"A\", \"B\"]}}\n"
                           "  ]\n"
                           "}";
} // namespace

class TestSimulator : public QObject {
    Q_OBJECT
private slots:
    void init()
    {
        m_path = m_dir.filePath(QStringLiteral("library.json"));
        writeLibrary(smallLibrary);
        m_bridge = std::make_unique<ShortcutsEventsBridge>(
            std::make_shared<SimulatedShortcutsEvents>(m_path));
    }

    void listAnswersTheBridge()
    {
        for (bool asData : {false, true}) {
            editLibrary([&](QJsonObject &root) {
                root[QStringLiteral("shortcutsEvents")] =
                    QJsonObject{{QStringLiteral("colorsAsData"), asData}};
            });
            const auto r = awaitTask(m_bridge->listShortcuts());
            QVERIFY(r);
            const QList<ShortcutSnapshot> &s = r.value();
            QCOMPARE(s.size(), 4);
            QCOMPARE(s.mid(0, 2), (QList<ShortcutSnapshot>{{.identifier = "ID-1",
                                                            .name = "Lights \"Off\"",
                                                            .colorHex = "#FF8000",
                                                            .actionCount = 3,
                                                            .folderName = "Home"},
                                                           {.identifier = "ID-2",
                                                            .name = "Translate",
                                                            .subtitle = "To English",
                                                            .colorHex = "#0A84FF",
                                                            .acceptsInput = true,
                                                            .actionCount = 2,
                                                            .folderName = "Work"}}));
            QCOMPARE(s[2].folderName, QString());
            QCOMPARE(s[3].folderName, QStringLiteral("Later")); // folders not listed come last
        }
        const auto reply =
            SimulatedShortcutsEvents::listReply(*SimulatedLibrary::load(m_path, nullptr));
        QCOMPARE(reply.descriptorAtIndex(7)->numberOfItems(), 3);
    }

    void iconsAreGradientsWithWhiteGlyphs()
    {
        const auto r = awaitTask(m_bridge->iconData(QStringLiteral("ID-1")));
        QVERIFY(r && r.value());
        QImage image;
        QVERIFY(image.loadFromData(*r.value()));
        QCOMPARE(image.size(), QSize(128, 128));
        QCOMPARE(QColor(image.pixel(64, 4)).red(), 255);
        QVERIFY(QColor(image.pixel(64, 4)).green() < 20);
        // What the icon queue will make of it: the gradient's two ends and a glyph.
        const auto processed = IconProcessing::process(*r.value());
        QVERIFY(processed);
        QCOMPARE(processed->topHex.left(3), QStringLiteral("#FF"));
        QVERIFY(!processed->glyphPNG.isEmpty());

        // Every glyph draws something white in the middle of the tile.
        for (const QString &glyph : SimulatedIconRenderer::glyphNames()) {
            const QImage icon = SimulatedIconRenderer::render(glyph, Qt::darkBlue, Qt::blue);
            const int white = pixelsWhere(icon.copy(20, 20, 88, 88), [](QRgb px) {
                                  return QColor(px).lightness() > 200;
                              }).first;
            QVERIFY2(white > 150, qPrintable(glyph));
        }

        const auto unknown = awaitTask(m_bridge->iconData(QStringLiteral("NOPE")));
        QCOMPARE(unknown.error().localizedDescription(),
                 QStringLiteral(
                     "Shortcuts Events got an error: Can’t get shortcut id \"NOPE\". (-1728)"));
    }

    void runs()
    {
        auto r = awaitTask(m_bridge->run(QStringLiteral("ID-2"), QStringLiteral("Translate"),
                                         QStringLiteral("Hallo \"Welt\" \\o/")));
        QCOMPARE(*r.value(), QStringLiteral("Got: Hallo \"Welt\" \\o/"));
        r = awaitTask(
            m_bridge->run(QStringLiteral("ID-2"), QStringLiteral("Translate"), QString()));
        QCOMPARE(*r.value(), QStringLiteral("Got: "));
        r = awaitTask(m_bridge->run(QStringLiteral("name:Lights"), QStringLiteral("Lights \"Off\""),
                                    std::nullopt));
        QCOMPARE(*r.value(), QStringLiteral("All off"));
        r = awaitTask(
            m_bridge->run(QStringLiteral("ID-4"), QStringLiteral("Report"), std::nullopt));
        QCOMPARE(*r.value(), QStringLiteral("A\nB"));
        r = awaitTask(
            m_bridge->run(QStringLiteral("ID-3"), QStringLiteral("Broken"), std::nullopt));
        QCOMPARE(r.error().localizedDescription(), QStringLiteral("It broke. (-1)"));
        r = awaitTask(m_bridge->runShortcut(QStringLiteral("Nobody")));
        QCOMPARE(r.error(),
                 BridgeError::script(-1728, QStringLiteral("Shortcuts Events got an error: "
                                                           "Can’t get shortcut \"Nobody\".")));
        r = awaitTask(m_bridge->run(QStringLiteral("GONE"), QStringLiteral("Gone"), std::nullopt));
        QCOMPARE(r.error().number(), -1728);
    }

    void platformFailureSwitches()
    {
        auto setSwitch = [&](const char *name, bool value) {
            editLibrary([&](QJsonObject &root) {
                root[QStringLiteral("shortcutsEvents")] = QJsonObject{{QLatin1String(name), value}};
            });
        };
        setSwitch("running", false);
        QCOMPARE(awaitTask(m_bridge->listShortcuts()).error().localizedDescription(),
                 QStringLiteral("Shortcuts Events isn't available on this Mac."));
        setSwitch("automationAllowed", false);
        QCOMPARE(awaitTask(m_bridge->runShortcut(QStringLiteral("Broken"))).error().number(),
                 -1743);

        setSwitch("scriptedIconsAllowed", false);
        QCOMPARE(
            awaitTask(m_bridge->iconData(QStringLiteral("ID-1"))).error().localizedDescription(),
            QStringLiteral("Shortcuts doesn't allow this from a sandboxed app."));
        QVERIFY(awaitTask(m_bridge->listShortcuts()));

        // Refused by id, the bridge's retry by name gets through.
        setSwitch("runByIdentifierAllowed", false);
        const auto r = awaitTask(
            m_bridge->run(QStringLiteral("ID-1"), QStringLiteral("Lights \"Off\""), std::nullopt));
        QCOMPARE(*r.value(), QStringLiteral("All off"));
    }

    void otherScriptsErr_data()
    {
        QTest::addColumn<QString>("script");
        QTest::newRow("empty") << "";
        QTest::newRow("other app") << "tell application \"Finder\" to get name of every disk";
        QTest::newRow("list script plus a line") << ShortcutsEventsBridge::listScript() + "\n";
        QTest::newRow("other property") << "tell application \"Shortcuts Events\" to get name of "
                                           "shortcut id \"ID-1\"";
        QTest::newRow("unescaped quote")
            << "tell application \"Shortcuts Events\" to run shortcut id "
               "\"ID-1\"\" & \"x\"";
        QTest::newRow("trailing text")
            << "tell application \"Shortcuts Events\" to run shortcut id "
               "\"ID-1\" with input \"a\" and more";
        QTest::newRow("unknown escape") << "tell application \"Shortcuts Events\" to run shortcut "
                                           "\"a\\qb\"";
        QTest::newRow("unquoted") << "tell application \"Shortcuts Events\" to run shortcut ID-1";
    }

    void otherScriptsErr()
    {
        QFETCH(QString, script);
        SimulatedShortcutsEvents host(m_path);
        const ScriptHostReply r = host.execute(script);
        QCOMPARE(r.kind, ScriptHostReply::Kind::error);
        QCOMPARE(r.errorNumber, std::optional<qint64>(-1708));
    }

    void libraryIsReadForEveryScript()
    {
        QCOMPARE(awaitTask(m_bridge->listShortcuts()).value().size(), 4);
        editLibrary([](QJsonObject &root) {
            QJsonArray list = root[QStringLiteral("shortcuts")].toArray();
            list.removeAt(0);
            root[QStringLiteral("shortcuts")] = list;
        });
        QCOMPARE(awaitTask(m_bridge->listShortcuts()).value().size(), 3);
        // Rewritten in place at once with the same size: neither inode, size nor (often) the
        // modification time tells this edit apart, the bytes do.
        QByteArray sameSize = smallLibrary;
        sameSize.replace("Translate", "Interpret");
        writeLibrary(sameSize);
        QCOMPARE(awaitTask(m_bridge->listShortcuts()).value().at(1).name, "Interpret");
        writeLibrary(smallLibrary);
        QCOMPARE(awaitTask(m_bridge->listShortcuts()).value().at(1).name, "Translate");
        writeLibrary("{ not json");
        const auto broken = awaitTask(m_bridge->listShortcuts());
        QCOMPARE(broken.error().number(), -2700);
        QVERIFY(broken.error().message().contains(m_path));
        QFile::remove(m_path);
        QCOMPARE(awaitTask(m_bridge->listShortcuts()).error().number(), -2700);
    }

    void libraryFileErrors_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("complaint");
        QTest::newRow("not an object") << QByteArray("[]") << "top level";
        QTest::newRow("shortcuts not a list")
            << QByteArray("{\"shortcuts\": {}}") << "\"shortcuts\"";
        QTest::newRow("no identifier") << QByteArray("{\"shortcuts\": [{\"name\": \"A\"}]}")
                                       << "shortcut 1 has no \"identifier\"";
        QTest::newRow("no name") << QByteArray("{\"shortcuts\": [{\"identifier\": \"A\"}]}")
                                 << "shortcut 1 has no \"name\"";
        QTest::newRow("repeated identifier")
            << QByteArray(
                   "{\"shortcuts\": [{\"identifier\": \"A\", \"name\": \"A\"}, {\"identifier\": "
                   "\"A\", \"name\": \"B\"}]}")
            << "shortcut 2 repeats";
        QTest::newRow("bad colour") << QByteArray("{\"shortcuts\": [{\"identifier\": \"A\", "
                                                  "\"name\": \"A\", \"color\": \"red\"}]}")
                                    << "\"color\"";
        QTest::newRow("bad date") << QByteArray(
                                         "{\"shortcuts\": [{\"identifier\": \"A\", \"name\": "
                                         "\"A\", \"createdAt\": \"yesterday\"}]}")
                                  << "dates";
        QTest::newRow("bad output")
            << QByteArray("{\"shortcuts\": [{\"identifier\": \"A\", \"name\": "
                          "\"A\", \"run\": {\"output\": 3}}]}")
            << "\"output\"";
    }

    void libraryFileErrors()
    {
        QFETCH(QByteArray, json);
        QFETCH(QString, complaint);
        QString error;
        QVERIFY(!SimulatedLibrary::fromJson(json, &error));
        QVERIFY2(error.contains(complaint), qPrintable(error));
    }

    void sampleLibrary()
    {
        QString error;
        const auto sample = SimulatedLibrary::fromJson(SimulatedLibrary::sampleJson(), &error);
        QVERIFY2(sample, qPrintable(error));
        QVERIFY(sample->shortcuts.size() >= 60);
        QVERIFY(sample->folders.size() >= 5);
        QSet<QString> glyphs, colors, apps;
        int input = 0, failing = 0, dated = 0;
        for (const SimulatedShortcut &s : sample->shortcuts) {
            QVERIFY2(SimulatedIconRenderer::hasGlyph(s.glyph), qPrintable(s.glyph));
            glyphs.insert(s.glyph);
            colors.insert(s.color.name());
            if (!s.appBundleID.isEmpty())
                apps.insert(s.appBundleID);
            input += s.acceptsInput;
            failing += s.run.errorNumber.has_value();
            dated += s.createdAt && s.modifiedAt && *s.createdAt <= *s.modifiedAt;
        }
        QVERIFY(glyphs.size() >= 20 && colors.size() >= 15);
        QVERIFY(apps.contains(QStringLiteral("com.apple.mobilesafari")) &&
                apps.contains(QStringLiteral("com.apple.Notes")) &&
                apps.contains(QStringLiteral("com.spotify.client")));
        QVERIFY(input >= 5 && failing >= 3);
        QCOMPARE(dated, int(sample->shortcuts.size()));

        // Copied on first use, never over a file a person may have edited.
        const QString copy = m_dir.filePath(QStringLiteral("first use/library.json"));
        QVERIFY(SimulatedLibrary::ensureFile(copy));
        QCOMPARE(SimulatedLibrary::load(copy, nullptr)->shortcuts.size(), sample->shortcuts.size());
        QFile(copy).open(QIODevice::WriteOnly | QIODevice::Truncate);
        QVERIFY(SimulatedLibrary::ensureFile(copy));
        QCOMPARE(QFileInfo(copy).size(), 0);
    }

    void platformSetupAndWorkspace()
    {
        QCOMPARE(PlatformSetup::scriptHostKindFromName(QStringLiteral("simulator")),
                 std::optional(PlatformSetup::ScriptHostKind::simulator));
        QVERIFY(!PlatformSetup::scriptHostKindFromName(QStringLiteral("applescript")));

        // With no library given, the sample goes to <data dir>/Simulated Shortcuts/library.json.
        AppSettings::useDataDirectory(m_dir.filePath(QStringLiteral("data")));
        QVERIFY(PlatformSetup::install(PlatformSetup::ScriptHostKind::simulator, QString()));
        const QString defaultPath =
            m_dir.filePath(QStringLiteral("data/Simulated Shortcuts/library.json"));
        QCOMPARE(SimulatedLibrary::defaultPath(), defaultPath);
        QVERIFY(QFileInfo::exists(defaultPath));
        ShortcutsEventsBridge shared;
        QVERIFY(awaitTask(shared.listShortcuts()).value().size() >= 60);

        // The simulated workspace records what was opened and knows no apps.
        QVERIFY(PlatformSetup::install(PlatformSetup::ScriptHostKind::simulator, m_path));
        QCOMPARE(awaitTask(shared.listShortcuts()).value().size(), 4);
        ShortcutItem item(QStringLiteral("ID-1"), QStringLiteral("Rock & Roll"));
        ShortcutRunner runner;
        runner.openInShortcuts(&item);
        QVERIFY(Workspace::shared().openFile(m_path));
        QVERIFY(!Workspace::shared().openFile(m_dir.filePath(QStringLiteral("missing"))));
        QVERIFY(Workspace::shared().applicationIcon(QStringLiteral("com.apple.Notes")).isNull());
        const auto entries = SimulatedWorkspace(PlatformSetup::workspaceLogPath(m_path)).entries();
        QCOMPARE(entries.size(), 2);
        QCOMPARE(entries[0].value(QLatin1String("kind")).toString(), QStringLiteral("url"));
        QCOMPARE(entries[0].value(QLatin1String("target")).toString(),
                 QStringLiteral("shortcuts://open-shortcut?name=Rock%20%26%20Roll"));
        QCOMPARE(entries[1].value(QLatin1String("target")).toString(), m_path);
    }

private:
    void writeLibrary(const QByteArray &json)
    {
        QFile f(m_path);
        QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write(json);
    }

    void editLibrary(const std::function<void(QJsonObject &)> &edit)
    {
        QFile f(m_path);
        QVERIFY(f.open(QIODevice::ReadOnly));
        QJsonObject root = QJsonDocument::fromJson(f.readAll()).object();
        f.close();
        edit(root);
        writeLibrary(QJsonDocument(root).toJson());
    }

    QTemporaryDir m_dir;
    QString m_path;
    std::unique_ptr<ShortcutsEventsBridge> m_bridge;
};

QTEST_GUILESS_MAIN(TestSimulator)
#include "tst_simulator.moc"
