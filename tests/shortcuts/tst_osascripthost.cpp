#include "common/AwaitTask.h"
#include "common/FakeOsascript.h"
#include "shortcuts/OsascriptHost.h"
#include "shortcuts/ScriptReplyParser.h"
#include "shortcuts/ShortcutsEventsBridge.h"

#include <QTest>

using Desc = AppleEventDescriptor;

namespace {
QByteArray nested(int depth)
{
    return QByteArray(depth, '{') + "1" + QByteArray(depth, '}');
}
} // namespace

class TestOsascriptHost : public QObject {
    Q_OBJECT
private slots:
    void scriptsReachOsascriptByteForByte()
    {
        QCOMPARE(ShortcutsEventsBridge::listScript().toUtf8().size(), 742);
        QCOMPARE(ShortcutsEventsBridge::listScript().count(QLatin1Char('\n')), 14);
        QVERIFY(!ShortcutsEventsBridge::listScript().endsWith(QLatin1Char('\n')));

        FakeOsascript fake;
        fake.replay("");
        OsascriptHost host(fake.program());
        const QStringList scripts = {
            ShortcutsEventsBridge::listScript(),
            ShortcutsEventsBridge::iconScript(QStringLiteral("A\"B\\C")),
            ShortcutsEventsBridge::runByIdentifierScript(QStringLiteral("ID"),
                                                         QStringLiteral("zwei\nZeilen – ü")),
            ShortcutsEventsBridge::runByNameScript(QStringLiteral("Café"), std::nullopt),
        };
        for (const QString &script : scripts) {
            const ScriptHostReply r = host.execute(script);
            QCOMPARE(r.kind, ScriptHostReply::Kind::reply);
            QCOMPARE(fake.recorded(QStringLiteral("stdin")), script.toUtf8());
            QCOMPARE(fake.recorded(QStringLiteral("args")), QByteArray("-s\ns\n"));
        }
        QCOMPARE(
            fake.recorded(QStringLiteral("stdin")),
            QByteArray("tell application \"Shortcuts Events\" to run shortcut \"Caf\xC3\xA9\""));

        // Without a program of its own the host follows THIMBLECRAFT_OSASCRIPT.
        qputenv("THIMBLECRAFT_OSASCRIPT", fake.program().toLocal8Bit());
        fake.replay("\"via environment\"\n");
        const ScriptHostReply r = OsascriptHost().execute(QStringLiteral("return 1"));
        qunsetenv("THIMBLECRAFT_OSASCRIPT");
        QCOMPARE(*r.descriptor.stringValue(), QStringLiteral("via environment"));
        QCOMPARE(fake.recorded(QStringLiteral("stdin")), QByteArray("return 1"));
    }

    void listThroughOsascript()
    {
        // A recorded reply of two shortcuts in one folder, as osascript -s s prints it.
        FakeOsascript fake;
        fake.replay("{{\"Morning \\\"Routine\\\"\", \"Log Water\"}, {\"9F1C-1\", \"9F1C-2\"}, "
                    "{\"\", \"Add a glass\"}, {{65535, 32768, 0}, «data rdat00000000FFFF»}, "
                    "{false, true}, {12, 2}, {\"Health\"}, {{\"9F1C-2\"}}}\n");
        ShortcutsEventsBridge bridge(std::make_shared<OsascriptHost>(fake.program()));
        const auto r = awaitTask(bridge.listShortcuts());
        QVERIFY(r);
        QCOMPARE(r.value(), (QList<ShortcutSnapshot>{{.identifier = "9F1C-1",
                                                      .name = "Morning \"Routine\"",
                                                      .colorHex = "#FF8000",
                                                      .actionCount = 12},
                                                     {.identifier = "9F1C-2",
                                                      .name = "Log Water",
                                                      .subtitle = "Add a glass",
                                                      .colorHex = "#0000FF",
                                                      .acceptsInput = true,
                                                      .actionCount = 2,
                                                      .folderName = "Health"}}));
        QCOMPARE(fake.recorded(QStringLiteral("stdin")),
                 ShortcutsEventsBridge::listScript().toUtf8());

        // A reply of the wrong shape is not understood.
        fake.replay("{{}, {}}\n");
        const auto wrong = awaitTask(bridge.listShortcuts());
        QCOMPARE(wrong.error().localizedDescription(),
                 QStringLiteral("Shortcuts returned a reply Thimblecraft didn't understand."));
    }

    void sourceForm_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<Desc>("expected");
        QTest::newRow("empty") << QByteArray("\n") << Desc::null();
        QTest::newRow("null") << QByteArray("null") << Desc::null();
        QTest::newRow("text escapes") << QByteArray("\"a \\\"q\\\" \\\\ b\\nc\\td\"")
                                      << Desc::text(QStringLiteral("a \"q\" \\ b\nc\td"));
        QTest::newRow("literal line break")
            << QByteArray("\"a\nb\"\n") << Desc::text(QStringLiteral("a\nb"));
        QTest::newRow("unicode") << QByteArray("\"Caf\xC3\xA9 \xE2\x80\x99\"")
                                 << Desc::text(QStringLiteral("Café ’"));
        QTest::newRow("integer") << QByteArray("-42") << Desc::integer(-42);
        QTest::newRow("big integer is real")
            << QByteArray("4294967296") << Desc::real(4294967296.0);
        QTest::newRow("real") << QByteArray("3.25") << Desc::real(3.25);
        QTest::newRow("exponent") << QByteArray("1.0E+20") << Desc::real(1e20);
        QTest::newRow("negative exponent") << QByteArray("-2.5E-3") << Desc::real(-2.5e-3);
        QTest::newRow("booleans") << QByteArray("{true, false}")
                                  << Desc::list({Desc::boolean(true), Desc::boolean(false)});
        QTest::newRow("missing value") << QByteArray("missing value") << Desc::missingValue();
        QTest::newRow("nested lists")
            << QByteArray("{{}, {1, {\"x\"}}}")
            << Desc::list(
                   {Desc::list({}),
                    Desc::list({Desc::integer(1), Desc::list({Desc::text(QStringLiteral("x"))})})});
        QTest::newRow("record")
            << QByteArray("{name:\"N\", accepts input:true, |odd key|:1, «class ID  »:2}")
            << Desc::record({{QStringLiteral("name"), Desc::text(QStringLiteral("N"))},
                             {QStringLiteral("accepts input"), Desc::boolean(true)},
                             {QStringLiteral("odd key"), Desc::integer(1)},
                             {QStringLiteral("ID  "), Desc::integer(2)}});
        QTest::newRow("raw data") << QByteArray("«data PNGf89504E47»")
                                  << Desc::data(fourCharCode("PNGf"),
                                                QByteArray::fromHex("89504E47"));
        QTest::newRow("lower-case hex")
            << QByteArray("«data rdatff00»")
            << Desc::data(fourCharCode("rdat"), QByteArray::fromHex("ff00"));
        QTest::newRow("POSIX file")
            << QByteArray("POSIX file \"/Users/me/a b.txt\"")
            << Desc::fileURL(QUrl::fromLocalFile(QStringLiteral("/Users/me/a b.txt")));
        QTest::newRow("file on startup disk")
            << QByteArray("file \"Macintosh HD:Users:me:notes/old.txt\"")
            << Desc::fileURL(QUrl::fromLocalFile(QStringLiteral("/Users/me/notes:old.txt")));
        QTest::newRow("alias on other disk")
            << QByteArray("alias \"Backup:Photos:\"")
            << Desc::fileURL(QUrl::fromLocalFile(QStringLiteral("/Volumes/Backup/Photos/")));
        QTest::newRow("date") << QByteArray("date \"Monday, 4 March 2024 at 09:00:00\"")
                              << Desc::date(QStringLiteral("Monday, 4 March 2024 at 09:00:00"));
        QTest::newRow("constant") << QByteArray("«constant ****yes »")
                                  << Desc::constant(fourCharCode("enum"), fourCharCode("yes "));
        // Codes are MacRoman bytes: "ƒ" is 0xC4, "≠" 0xAD.
        QTest::newRow("code beyond Latin-1") << QByteArray("«class \xC6\x92x\xE2\x89\xA0y»")
                                             << Desc::constant(fourCharCode("type"), 0xC478AD79);
    }

    void sourceForm()
    {
        QFETCH(QByteArray, output);
        QFETCH(Desc, expected);
        QString error;
        const auto parsed = ScriptReplyParser::parse(output, &error);
        QVERIFY2(parsed, qPrintable(error));
        QCOMPARE(parsed->toSourceForm(), expected.toSourceForm());
        QVERIFY(*parsed == expected);
        // What the descriptor writes back reads as the same value.
        QVERIFY(*ScriptReplyParser::parse(expected.toSourceForm().toUtf8()) == expected);
    }

    void unreadableReplies_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::newRow("unterminated text") << QByteArray("\"abc");
        QTest::newRow("unterminated list") << QByteArray("{1, 2");
        QTest::newRow("trailing comma") << QByteArray("{1,}");
        QTest::newRow("two values") << QByteArray("1 2");
        QTest::newRow("term then a number") << QByteArray("ask 2 3}");
        QTest::newRow("unterminated reference") << QByteArray("shortcut id \"X");
        QTest::newRow("odd hex") << QByteArray("«data rdatABC»");
        QTest::newRow("bad hex") << QByteArray("«data rdatZZ»");
        QTest::newRow("short code") << QByteArray("«data ab»");
        QTest::newRow("unterminated data") << QByteArray("«data rdat00");
        QTest::newRow("bare minus") << QByteArray("-");
        QTest::newRow("half a keyword") << QByteArray("missing");
        QTest::newRow("record missing key") << QByteArray("{a:1, 2}");
        QTest::newRow("too deep") << nested(ScriptReplyParser::maximumDepth + 1);
    }

    void unreadableReplies()
    {
        QFETCH(QByteArray, output);
        QString error;
        QVERIFY(!ScriptReplyParser::parse(output, &error));
        QVERIFY(!error.isEmpty());

        FakeOsascript fake;
        fake.replay(output);
        QCOMPARE(OsascriptHost(fake.program()).execute(QStringLiteral("x")).kind,
                 ScriptHostReply::Kind::notUnderstood);
    }

    void failures_data()
    {
        QTest::addColumn<QByteArray>("standardError");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<bool>("hasNumber");
        QTest::addColumn<qint64>("number");
        QTest::addColumn<QString>("message");
        QTest::newRow("execution error")
            << QByteArray(
                   "58:96: execution error: Shortcuts Events got an error: Can\xE2\x80\x99t get "
                   "shortcut id \"X\". (-1728)\n")
            << 1 << true << qint64(-1728)
            << "Shortcuts Events got an error: Can’t get shortcut id \"X\".";
        QTest::newRow("automation")
            << QByteArray("0:40: execution error: Not authorized to send Apple "
                          "events to Shortcuts Events. (-1743)\n")
            << 1 << true << qint64(-1743)
            << "Not authorized to send Apple events to Shortcuts Events.";
        QTest::newRow("syntax error")
            << QByteArray(
                   "12:20: syntax error: Expected end of line but found identifier. (-2741)\n")
            << 1 << true << qint64(-2741) << "Expected end of line but found identifier.";
        QTest::newRow("message with parentheses")
            << QByteArray("1:2: execution error: Failed (see log) (-1)\n") << 1 << true
            << qint64(-1) << "Failed (see log)";
        QTest::newRow("no number") << QByteArray("1:2: execution error: Something broke.\n") << 1
                                   << false << qint64(0) << "Something broke.";
        QTest::newRow("other text") << QByteArray("osascript: couldn't open\n") << 2 << false
                                    << qint64(0) << "osascript: couldn't open";
        QTest::newRow("silent") << QByteArray() << 1 << false << qint64(0) << QString();
    }

    void failures()
    {
        QFETCH(QByteArray, standardError);
        QFETCH(int, exitCode);
        QFETCH(bool, hasNumber);
        QFETCH(qint64, number);
        QFETCH(QString, message);
        FakeOsascript fake;
        fake.replay("\"ignored\"", standardError, exitCode);
        const ScriptHostReply r = OsascriptHost(fake.program()).execute(QStringLiteral("x"));
        QCOMPARE(r.kind, ScriptHostReply::Kind::error);
        QCOMPARE(r.errorNumber.has_value(), hasNumber);
        if (hasNumber)
            QCOMPARE(*r.errorNumber, number);
        QCOMPARE(r.errorMessage.has_value(), !message.isEmpty());
        if (!message.isEmpty())
            QCOMPARE(*r.errorMessage, message);
        // What the user finally reads.
        const auto e = ShortcutsEventsBridge::interpret(r).error();
        QCOMPARE(e.localizedDescription(),
                 message.isEmpty() && !hasNumber
                     ? QStringLiteral("Unknown AppleScript error (0)")
                     : (e.number() == -1743 ? e.localizedDescription()
                                            : QStringLiteral("%1 (%2)").arg(message).arg(number)));
    }

    void programThatCannotStart()
    {
        QTemporaryDir dir;
        const ScriptHostReply r = OsascriptHost(dir.filePath(QStringLiteral("no-such-osascript")))
                                      .execute(QStringLiteral("x"));
        QCOMPARE(r.kind, ScriptHostReply::Kind::error);
        QCOMPARE(r.errorNumber, std::optional<qint64>(-600));
        QVERIFY(r.errorMessage && !r.errorMessage->isEmpty());
        QCOMPARE(ShortcutsEventsBridge::interpret(r).error().localizedDescription(),
                 QStringLiteral("Shortcuts Events isn't available on this Mac."));
    }

    void boundedReplies()
    {
        QVERIFY(ScriptReplyParser::parse(nested(ScriptReplyParser::maximumDepth)));

        // Deeper replies are in the hostile-input harness. 50 MB of one long text: cut off, not
        // parsed.
        QByteArray huge(50 * 1024 * 1024, 'a');
        huge[0] = '"';
        huge[huge.size() - 1] = '"';
        QVERIFY(!ScriptReplyParser::parse(huge));
        FakeOsascript fake;
        fake.replay(huge);
        QCOMPARE(OsascriptHost(fake.program()).execute(QStringLiteral("x")).kind,
                 ScriptHostReply::Kind::notUnderstood);
    }

    void termsKeepTheirSourceText_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("sourceForm");
        QTest::newRow("enumeration") << QByteArray("yes") << "yes";
        QTest::newRow("two words") << QByteArray("current application\n") << "current application";
        QTest::newRow("class name in a record")
            << QByteArray("{class:shortcut, name:\"N\"}") << "{class:shortcut, name:\"N\"}";
        QTest::newRow("reference with a quoted comma")
            << QByteArray("shortcut id \"X, }\" of application \"Shortcuts Events\"")
            << "shortcut id \"X, }\" of application \"Shortcuts Events\"";
        QTest::newRow("references in a list")
            << QByteArray("{ask, item 1 of {1, 2}, «class scut» id \"A\" of application \"S\"}")
            << "{ask, item 1 of {1, 2}, «class scut» id \"A\" of application \"S\"}";
        QTest::newRow("piped identifier") << QByteArray("|my thing| of me") << "|my thing| of me";
    }

    void termsKeepTheirSourceText()
    {
        QFETCH(QByteArray, output);
        QFETCH(QString, sourceForm);
        QString error;
        const auto parsed = ScriptReplyParser::parse(output, &error);
        QVERIFY2(parsed, qPrintable(error));
        QCOMPARE(parsed->toSourceForm(), sourceForm);
        if (parsed->numberOfItems() == 0)
            QCOMPARE(parsed->stringValue(), std::optional(sourceForm));
        QVERIFY(parsed->data().isEmpty());
        QVERIFY(*ScriptReplyParser::parse(sourceForm.toUtf8()) == *parsed);
    }

    void runResultsThatAreTerms()
    {
        FakeOsascript fake;
        ShortcutsEventsBridge bridge(std::make_shared<OsascriptHost>(fake.program()));
        fake.replay("shortcut id \"A1\" of application \"Shortcuts Events\"\n");
        const auto ran =
            awaitTask(bridge.run(QStringLiteral("A1"), QStringLiteral("A"), std::nullopt));
        QVERIFY(ran);
        QCOMPARE(*ran.value(),
                 QStringLiteral("shortcut id \"A1\" of application \"Shortcuts Events\""));

        // Lists and icons still need their own shapes.
        fake.replay("current application\n");
        QCOMPARE(awaitTask(bridge.listShortcuts()).error(), BridgeError::unexpectedReply());
        const auto icon = awaitTask(bridge.iconData(QStringLiteral("A1")));
        QVERIFY(icon);
        QVERIFY(!icon.value());
    }
};

QTEST_GUILESS_MAIN(TestOsascriptHost)
#include "tst_osascripthost.moc"
