#include "common/AwaitTask.h"
#include "common/ScriptedHost.h"
#include "common/TestImages.h"
#include "shortcuts/ScriptReplyParser.h"
#include "shortcuts/ShortcutsEventsBridge.h"

#include <QTest>
#include <QThread>
#include <atomic>

using Desc = AppleEventDescriptor;

namespace {
Desc source(const char *text)
{
    QString error;
    const auto d = ScriptReplyParser::parse(QByteArray(text), &error);
    if (!d)
        qFatal("bad test reply %s: %s", text, qPrintable(error));
    return *d;
}

QByteArray pngBytes()
{
    return encodedImage(solidImage(Qt::red, 8));
}
} // namespace

class TestBridge : public QObject {
    Q_OBJECT
private slots:
    void descriptorReadsLikeThePlatform()
    {
        const Desc list = Desc::list({Desc::text(QStringLiteral("a")), Desc::integer(7)});
        QCOMPARE(list.numberOfItems(), 2);
        QCOMPARE(list.descriptorType(), fourCharCode("list"));
        QVERIFY(!list.descriptorAtIndex(0));
        QVERIFY(!list.descriptorAtIndex(3));
        QCOMPARE(list.descriptorAtIndex(2)->int32Value(), 7);
        QVERIFY(!list.stringValue());
        QVERIFY(list.data().isEmpty());

        QCOMPARE(Desc::text(QStringLiteral("abc")).numberOfItems(), 0);
        QCOMPARE(Desc::text(QStringLiteral("abc")).data(), QByteArray("a\0b\0c\0", 6));
        QCOMPARE(Desc::text(QStringLiteral(" 42 ")).int32Value(), 42);
        QCOMPARE(Desc::text(QStringLiteral("x")).int32Value(), 0);
        QCOMPARE(Desc::real(2.5).int32Value(), 2); // halves to even
        QCOMPARE(Desc::real(1e12).int32Value(), 0);
        QCOMPARE(*Desc::integer(-5).stringValue(), QStringLiteral("-5"));
        QCOMPARE(Desc::integer(1).data().size(), 4);
        QVERIFY(Desc::boolean(true).booleanValue());
        QVERIFY(Desc::integer(1).booleanValue());
        QVERIFY(!Desc::integer(2).booleanValue());
        QVERIFY(Desc::text(QStringLiteral("TRUE")).booleanValue());
        QVERIFY(!Desc::null().booleanValue());
        QCOMPARE(Desc().descriptorType(), fourCharCode("null"));
        QVERIFY(Desc::null().data().isEmpty());

        const Desc file = Desc::fileURL(QUrl::fromLocalFile(QStringLiteral("/tmp/a b.txt")));
        QCOMPARE(file.fileURLValue()->toLocalFile(), QStringLiteral("/tmp/a b.txt"));
        QVERIFY(!file.stringValue());
        QVERIFY(!Desc::text(QStringLiteral("/tmp")).fileURLValue());

        const Desc png = Desc::data(fourCharCode("PNGf"), pngBytes());
        const auto tiff = png.coerceToDescriptorType(fourCharCode("TIFF"));
        QVERIFY(tiff);
        QCOMPARE(tiff->descriptorType(), fourCharCode("TIFF"));
        QImage decoded;
        QVERIFY(decoded.loadFromData(tiff->data(), "TIFF"));
        QCOMPARE(decoded.size(), QSize(8, 8));
        QVERIFY(
            !Desc::data(fourCharCode("rdat"), "junk").coerceToDescriptorType(fourCharCode("TIFF")));
        QVERIFY(!Desc::text(QStringLiteral("x")).coerceToDescriptorType(fourCharCode("TIFF")));
        QCOMPARE(Desc::text(QStringLiteral("12"))
                     .coerceToDescriptorType(fourCharCode("long"))
                     ->int32Value(),
                 12);
        QVERIFY(!Desc::text(QStringLiteral("twelve")).coerceToDescriptorType(fourCharCode("long")));
    }

    void quoting_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("quoted");
        QTest::newRow("plain") << "ABC-123"
                               << "\"ABC-123\"";
        QTest::newRow("empty") << ""
                               << "\"\"";
        QTest::newRow("quote") << "say \"hi\""
                               << "\"say \\\"hi\\\"\"";
        QTest::newRow("backslash") << "C:\\temp"
                                   << "\"C:\\\\temp\"";
        QTest::newRow("backslash then quote") << "\\\""
                                              << "\"\\\\\\\"\"";
        QTest::newRow("closing attempt") << "x\" & (do shell script \"rm\") & \""
                                         << "\"x\\\" & (do shell script \\\"rm\\\") & \\\"\"";
        QTest::newRow("unicode") << "Café ☕︎"
                                 << "\"Café ☕︎\"";
    }

    void quoting()
    {
        QFETCH(QString, text);
        QFETCH(QString, quoted);
        QCOMPARE(ShortcutsEventsBridge::quotedScriptString(text), quoted);
        // The literal reads back as exactly one string with the original text.
        const auto reparsed = ScriptReplyParser::parse(quoted.toUtf8());
        QVERIFY(reparsed);
        QCOMPARE(*reparsed->stringValue(), text);
    }

    void errorDescriptions_data()
    {
        QTest::addColumn<bool>("unexpected");
        QTest::addColumn<qint64>("number");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("description");
        QTest::newRow("unexpected") << true << qint64(0) << QString()
                                    << "Shortcuts returned a reply Thimblecraft didn't understand.";
        QTest::newRow("-10004") << false << qint64(-10004) << "A privilege violation occurred."
                                << "Shortcuts doesn't allow this from a sandboxed app.";
        QTest::newRow("-600") << false << qint64(-600) << "Application isn’t running."
                              << "Shortcuts Events isn't available on this Mac.";
        QTest::newRow("-1743")
            << false << qint64(-1743) << "Not authorized."
            << "Thimblecraft isn't allowed to control Shortcuts. Enable it under "
               "System Settings › Privacy & Security › Automation.";
        QTest::newRow("-1728") << false << qint64(-1728) << "Can’t get shortcut id \"X\"."
                               << "Can’t get shortcut id \"X\". (-1728)";
        QTest::newRow("positive") << false << qint64(12) << "Odd"
                                  << "Odd (12)";
        QTest::newRow("zero, empty") << false << qint64(0) << ""
                                     << " (0)";
        // Placeholders in the message are the message's own text.
        QTest::newRow("percent placeholders")
            << false << qint64(-1728) << "Can’t get shortcut \"Dim 50%1\"."
            << "Can’t get shortcut \"Dim 50%1\". (-1728)";
        QTest::newRow("localized placeholders") << false << qint64(-2700) << "%L1 and %2 of 100%"
                                                << "%L1 and %2 of 100% (-2700)";
    }

    void errorDescriptions()
    {
        QFETCH(bool, unexpected);
        QFETCH(qint64, number);
        QFETCH(QString, message);
        QFETCH(QString, description);
        const BridgeError e =
            unexpected ? BridgeError::unexpectedReply() : BridgeError::script(number, message);
        QCOMPARE(e.localizedDescription(), description);
    }

    void listReplyShape_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<bool>("understood");
        QTest::addColumn<int>("count");
        QTest::newRow("7 items") << QByteArray("{{}, {}, {}, {}, {}, {}, {}}") << false << 0;
        QTest::newRow("9 items") << QByteArray("{{}, {}, {}, {}, {}, {}, {}, {}, {}}") << false
                                 << 0;
        QTest::newRow("text") << QByteArray("\"8 items\"") << false << 0;
        QTest::newRow("null") << QByteArray("") << false << 0;
        QTest::newRow("record of 8")
            << QByteArray("{a:{\"N\"}, b:{\"I\"}, c:{}, d:{}, e:{}, f:{}, g:{}, h:{}}") << true
            << 1;
        QTest::newRow("empty names")
            << QByteArray("{{}, {\"I\"}, {}, {}, {}, {}, {}, {}}") << true << 0;
        QTest::newRow("items not lists") << QByteArray("{1, 2, 3, 4, 5, 6, 7, 8}") << true << 0;
    }

    void listReplyShape()
    {
        QFETCH(QByteArray, reply);
        QFETCH(bool, understood);
        QFETCH(int, count);
        const auto r = ShortcutsEventsBridge::decodeShortcutList(*ScriptReplyParser::parse(reply));
        QCOMPARE(r.ok(), understood);
        if (understood)
            QCOMPARE(r.value().size(), count);
        else
            QCOMPARE(r.error(), BridgeError::unexpectedReply());
    }

    void listDecoding()
    {
        // Three names, two identifiers (the second name has none), damaged elements elsewhere.
        const Desc reply =
            source("{{\"Alpha\", \"Beta\", \"Gamma\", \"Extra\"},\n"
                   "        {\"ID-A\", missing value, \"ID-C\"},\n"
                   "        {\"sub A\"},\n"
                   "        {{65535, 32768, 0}, {1, 2, 3}, «data rdat0000FFFF0000»},\n"
                   "        {true, false, 1},\n"
                   "        {12, \"7\", 3.6},\n"
                   "        {\"Home\", \"Work\", missing value},\n"
                   "        {{\"ID-A\", \"ID-C\"}, {\"ID-C\", 5}, {\"ID-A\"}}}");
        const auto r = ShortcutsEventsBridge::decodeShortcutList(reply);
        QVERIFY(r);
        // Listed under "Home" and then under the nameless third folder: the last one wins; 1
        // reads as true.
        QCOMPARE(r.value(), (QList<ShortcutSnapshot>{{.identifier = "ID-A",
                                                      .name = "Alpha",
                                                      .subtitle = "sub A",
                                                      .colorHex = "#FF8000",
                                                      .acceptsInput = true,
                                                      .actionCount = 12},
                                                     {.identifier = "ID-C",
                                                      .name = "Gamma",
                                                      .colorHex = "#00FF00",
                                                      .acceptsInput = true,
                                                      .actionCount = 4,
                                                      .folderName = "Work"}}));
    }

    void colors_data()
    {
        QTest::addColumn<QByteArray>("element");
        QTest::addColumn<QString>("hex");
        QTest::newRow("list") << QByteArray("{65535, 32768, 0}") << "#FF8000";
        QTest::newRow("6 bytes") << QByteArray("«data rdatFFFF80000000»") << "#FF8000";
        QTest::newRow("4 bytes") << QByteArray("«data rdatFFFF8000»") << "";
        QTest::newRow("negative") << QByteArray("{-20, 65535, 65535}") << "#00FFFF";
        QTest::newRow("over range") << QByteArray("{70000, 0, 0}") << "#FF0000";
        QTest::newRow("texts in list") << QByteArray("{\"65535\", \"x\", 0}") << "#FF0000";
        QTest::newRow("two items") << QByteArray("{65535, 0}") << "";
        QTest::newRow("four items") << QByteArray("{1, 2, 3, 4}") << "";
        QTest::newRow("3-char text is 6 bytes") << QByteArray("\"abc\"") << "#616263";
        QTest::newRow("missing value") << QByteArray("missing value") << "";
    }

    void colors()
    {
        QFETCH(QByteArray, element);
        QFETCH(QString, hex);
        QCOMPARE(ShortcutsEventsBridge::decodeColor(*ScriptReplyParser::parse(element)), hex);
        QCOMPARE(ShortcutsEventsBridge::decodeColor(std::nullopt), QString());
    }

    void outputs_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QString>("output");
        QTest::addColumn<bool>("hasOutput");
        QTest::newRow("null") << QByteArray("") << QString() << false;
        QTest::newRow("text") << QByteArray("\"Done\"") << "Done" << true;
        QTest::newRow("empty text") << QByteArray("\"\"") << QString() << false;
        QTest::newRow("two texts") << QByteArray("{\"A\", \"B\"}") << "A\nB" << true;
        QTest::newRow("only empties")
            << QByteArray("{\"\", null, missing value}") << QString() << false;
        QTest::newRow("empty list") << QByteArray("{}") << QString() << false;
        QTest::newRow("nested") << QByteArray("{\"A\", {\"B\", \"\"}, 3}") << "A\nB\n3" << true;
        QTest::newRow("number") << QByteArray("42") << "42" << true;
        QTest::newRow("file") << QByteArray("POSIX file \"/tmp/out.txt\"") << "/tmp/out.txt"
                              << true;
        QTest::newRow("record") << QByteArray("{a:\"x\"}") << QString() << false;
        QTest::newRow("missing value") << QByteArray("missing value") << QString() << false;
        // What a shortcut may return that only the Shortcuts dictionary names.
        QTest::newRow("enumeration") << QByteArray("yes") << "yes" << true;
        QTest::newRow("reference")
            << QByteArray("shortcut id \"X\" of application \"Shortcuts Events\"")
            << "shortcut id \"X\" of application \"Shortcuts Events\"" << true;
        QTest::newRow("list of terms") << QByteArray("{ask, current application, \"t\"}")
                                       << "ask\ncurrent application\nt" << true;
    }

    void outputs()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QString, output);
        QFETCH(bool, hasOutput);
        const auto o = ShortcutsEventsBridge::decodeOutput(*ScriptReplyParser::parse(reply));
        QCOMPARE(o.has_value(), hasOutput);
        if (hasOutput)
            QCOMPARE(*o, output);
    }

    void icons()
    {
        const QByteArray png = pngBytes();
        QCOMPARE(ShortcutsEventsBridge::decodeIcon(Desc::data(fourCharCode("PNGf"), png)), png);
        QVERIFY(!ShortcutsEventsBridge::decodeIcon(Desc::null()));
        QVERIFY(!ShortcutsEventsBridge::decodeIcon(Desc::list({})));
        QVERIFY(!ShortcutsEventsBridge::decodeIcon(Desc::data(fourCharCode("TIFF"), {})));

        auto host = std::make_shared<ScriptedHost>();
        host->answer = [png](const QString &) {
            return ScriptHostReply::success(Desc::data(fourCharCode("PNGf"), png));
        };
        ShortcutsEventsBridge bridge(host);
        const auto r = awaitTask(bridge.iconData(QStringLiteral("I\\D")));
        QVERIFY(r);
        QCOMPARE(*r.value(), png);
        QCOMPARE(
            host->scripts(),
            QStringList{QStringLiteral(
                "tell application \"Shortcuts Events\" to get icon of shortcut id \"I\\\\D\"")});
    }

    void runRetryRule()
    {
        const QString byId =
            QStringLiteral("tell application \"Shortcuts Events\" to run shortcut id ");
        const QString byName =
            QStringLiteral("tell application \"Shortcuts Events\" to run shortcut ");
        auto host = std::make_shared<ScriptedHost>();
        ShortcutsEventsBridge bridge(host);
        auto failing = [](qint64 idError, std::optional<qint64> nameError) {
            return [=](const QString &script) {
                if (script.contains(QLatin1String("shortcut id ")))
                    return ScriptHostReply::failure(idError, QStringLiteral("by id"));
                if (nameError)
                    return ScriptHostReply::failure(*nameError, QStringLiteral("by name"));
                return ScriptHostReply::success(Desc::text(QStringLiteral("ran by name")));
            };
        };

        // Refused by id: tried once more by name, with the same input clause.
        host->answer = failing(-10004, std::nullopt);
        auto r =
            awaitTask(bridge.run(QStringLiteral("ID"), QStringLiteral("Nm"), QStringLiteral("in")));
        QVERIFY(r);
        QCOMPARE(*r.value(), QStringLiteral("ran by name"));
        QCOMPARE(host->scripts(), (QStringList{byId + "\"ID\" with input \"in\"",
                                               byName + "\"Nm\" with input \"in\""}));

        // The retry's own failure reaches the caller.
        host->answer = failing(-10004, -1728);
        r = awaitTask(bridge.run(QStringLiteral("ID"), QStringLiteral("Nm"), std::nullopt));
        QCOMPARE(r.error(), BridgeError::script(-1728, QStringLiteral("by name")));
        QCOMPARE(host->scripts().size(), 4);

        // Other failures are not retried.
        host->answer = failing(-1743, std::nullopt);
        r = awaitTask(bridge.run(QStringLiteral("ID"), QStringLiteral("Nm"), QString()));
        QCOMPARE(r.error().number(), -1743);
        QVERIFY(r.error().localizedDescription().startsWith(
            QLatin1String("Thimblecraft isn't allowed")));
        QCOMPARE(host->scripts().size(), 5);
        QCOMPARE(host->scripts().last(), byId + "\"ID\"");

        // Placeholders and empty identifiers run by name only, and a by-name -10004 is final.
        host->answer = failing(-1, -10004);
        r = awaitTask(bridge.run(QStringLiteral("name:Nm"), QStringLiteral("Nm"), QString()));
        QCOMPARE(r.error().number(), -10004);
        r = awaitTask(bridge.run(QString(), QStringLiteral("Nm"), std::nullopt));
        QCOMPARE(host->scripts().mid(5), (QStringList{byName + "\"Nm\"", byName + "\"Nm\""}));

        host->answer = [](const QString &) { return ScriptHostReply::success(Desc::null()); };
        auto named = awaitTask(bridge.runShortcut(QStringLiteral("Sync Thimblecraft")));
        QVERIFY(named);
        QVERIFY(!named.value());
        QCOMPARE(host->scripts().last(), byName + "\"Sync Thimblecraft\"");
    }

    void scriptsRunOneAtATimeInOrder()
    {
        auto host = std::make_shared<ScriptedHost>();
        std::atomic<int> inside{0};
        std::atomic<int> most{0};
        host->answer = [&](const QString &script) {
            const int now = ++inside;
            most = std::max(most.load(), now);
            QThread::msleep(20);
            --inside;
            return ScriptHostReply::success(Desc::text(script));
        };
        ShortcutsEventsBridge bridge(host);
        QThread *mainThread = QThread::currentThread();
        QStringList finished;
        bool wrongThread = false;
        auto one = [&](QString script) -> QCoro::Task<> {
            auto pending = bridge.execute(script);
            const auto r = co_await pending;
            if (QThread::currentThread() != mainThread)
                wrongThread = true;
            finished.append(*r.value().stringValue());
        };
        QStringList expected;
        std::vector<QCoro::Task<>> tasks;
        for (int i = 0; i < 6; ++i) {
            expected.append(QString::number(i));
            tasks.push_back(one(QString::number(i)));
        }
        QTRY_COMPARE(finished.size(), 6);
        QCOMPARE(finished, expected);
        QCOMPARE(host->scripts(), expected);
        QCOMPARE(most.load(), 1);
        QVERIFY(!wrongThread);
        // One labelled queue, at the priority of work the user asked for.
        QCOMPARE(ShortcutsEventsBridge::queue().maxThreadCount(), 1);
        QCOMPARE(ShortcutsEventsBridge::queue().objectName(),
                 QStringLiteral("com.thimblecraft.Thimblecraft.shortcuts-events"));
        QCOMPARE(ShortcutsEventsBridge::queue().threadPriority(), QThread::HighPriority);
    }
};

QTEST_GUILESS_MAIN(TestBridge)
#include "tst_bridge.moc"
