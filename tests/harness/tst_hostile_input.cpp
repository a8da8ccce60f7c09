// Hostile input from every outside source the program reads, one test per source. Each case
// complements the per-subsystem tests (which hold the ordinary malformed shapes): here are the
// encodings, NUL bytes, depths, sizes, redirects and half-finished conversations.
#include "app/InstanceChannel.h"
#include "common/AwaitTask.h"
#include "common/FakeOsascript.h"
#include "common/FakeWorkspace.h"
#include "common/LocalSocketClient.h"
#include "common/LoopbackHttp.h"
#include "common/ShortcutsSqlite.h"
#include "common/TestImages.h"
#include "model/AppSettings.h"
#include "model/SmartRuleSet.h"
#include "model/SqliteDatabase.h"
#include "shortcuts/AppIconProvider.h"
#include "shortcuts/IconProcessing.h"
#include "shortcuts/OsascriptHost.h"
#include "shortcuts/ShortcutRunner.h"
#include "shortcuts/ShortcutsDatabase.h"
#include "shortcuts/ShortcutsEventsBridge.h"

#include <QColorSpace>
#include <QJsonArray>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtConcurrent>

namespace {
// A list reply with the given source text as the only name.
QByteArray listReply(const QByteArray &name)
{
    return "{{" + name + "}, {\"ID-1\"}, {}, {}, {}, {}, {}, {}}";
}

// A Shortcuts-style icon: a vertical gradient with a white disc.
QImage discIcon(const QColor &top, const QColor &bottom)
{
    return gradientIcon(128, top, bottom, [](QPainter &p, int) {
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::white);
        p.drawEllipse(QRect(34, 34, 60, 60));
    });
}

void appendLe16(QByteArray &out, int v)
{
    out.append(char(v & 0xFF)).append(char((v >> 8) & 0xFF));
}

// LZW image data that never grows past 9-bit codes: a clear code every 250 literals.
QByteArray gifImageData(const QImage &indexed)
{
    QByteArray packed;
    quint32 bits = 0;
    int count = 0;
    auto emitCode = [&](int code) {
        bits |= quint32(code) << count;
        count += 9;
        while (count >= 8) {
            packed.append(char(bits & 0xFF));
            bits >>= 8;
            count -= 8;
        }
    };
    int sinceClear = 250;
    for (int y = 0; y < indexed.height(); ++y) {
        for (int x = 0; x < indexed.width(); ++x) {
            if (sinceClear == 250) {
                emitCode(256);
                sinceClear = 0;
            }
            emitCode(indexed.pixelIndex(x, y));
            ++sinceClear;
        }
    }
    emitCode(257);
    if (count > 0)
        packed.append(char(bits & 0xFF));
    QByteArray out(1, char(8));
    for (qsizetype i = 0; i < packed.size(); i += 255) {
        const QByteArray block = packed.mid(i, 255);
        out.append(char(block.size())).append(block);
    }
    return out.append(char(0));
}

// An endlessly looping GIF of frames that share the first frame's 256-colour palette.
QByteArray animatedGif(const QList<QImage> &frames, QSize screen = {})
{
    const QImage first = frames.first().convertToFormat(QImage::Format_Indexed8);
    QList<QRgb> palette = first.colorTable();
    palette.resize(256);
    if (!screen.isValid())
        screen = first.size();
    QByteArray gif("GIF89a");
    appendLe16(gif, screen.width());
    appendLe16(gif, screen.height());
    gif.append(char(0xF7)).append(char(0)).append(char(0));
    for (QRgb c : palette)
        gif.append(char(qRed(c))).append(char(qGreen(c))).append(char(qBlue(c)));
    gif.append("\x21\xFF\x0BNETSCAPE2.0\x03\x01\x00\x00\x00", 19);
    for (const QImage &frame : frames) {
        const QImage indexed = frame.convertToFormat(QImage::Format_Indexed8, palette);
        gif.append("\x21\xF9\x04\x04\x0A\x00\x00\x00", 8);
        gif.append(char(0x2C));
        appendLe16(gif, 0);
        appendLe16(gif, 0);
        appendLe16(gif, indexed.width());
        appendLe16(gif, indexed.height());
        gif.append(char(0));
        gif.append(gifImageData(indexed));
    }
    return gif.append(char(0x3B));
}

QByteArray deepJson(int depth)
{
    return QByteArray(depth, '[') + QByteArray(depth, ']');
}
} // namespace

class TestHostileInput : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;

private slots:
    void initTestCase();
    void scriptReplies_data();
    void scriptReplies();
    void rulesData_data();
    void rulesData();
    void callbackUrls_data();
    void callbackUrls();
    void intentRequests_data();
    void intentRequests();
    void shortcutsDatabase_data();
    void shortcutsDatabase();
    void images_data();
    void images();
    void appStoreReplies_data();
    void appStoreReplies();
};

void TestHostileInput::initTestCase()
{
    QVERIFY(m_dir.isValid());
    QStandardPaths::setTestModeEnabled(true);
    AppSettings::useDataDirectory(m_dir.filePath(QStringLiteral("settings")));
    // Keep database snapshots out of the shared temporary directory.
    QVERIFY(QDir().mkpath(m_dir.filePath(QStringLiteral("tmp"))));
    qputenv("TMPDIR", QFile::encodeName(m_dir.filePath(QStringLiteral("tmp"))));
}

// Replies the scripting system prints, through the real osascript host and the bridge: names
// keep what can be read (replacement characters for bytes that are not UTF-8); anything else
// is an unexpected reply, never a crash or a runaway recursion.
void TestHostileInput::scriptReplies_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<bool>("understood");
    QTest::addColumn<QString>("name");
    const QString replacement(QChar::ReplacementCharacter);
    QTest::newRow("invalid UTF-8 in a name")
        << listReply("\"Caf\xE9 \xFF\"") << true
        << QStringLiteral("Caf") + replacement + " " + replacement;
    QTest::newRow("overlong slash") << listReply("\"a\xC0\xAF"
                                                 "b\"")
                                    << true
                                    << QString::fromUtf8("a\xC0\xAF"
                                                         "b");
    QTest::newRow("encoded surrogate")
        << listReply("\"\xED\xA0\x80\"") << true << QString::fromUtf8("\xED\xA0\x80");
    QTest::newRow("sequence cut at the quote")
        << listReply("\"ab\xE2\x80\"") << true << QString::fromUtf8("ab\xE2\x80");
    QTest::newRow("NUL inside a text")
        << listReply(QByteArray("\"a\0b\"", 5)) << true << QString::fromUtf16(u"a\0b", 3);
    const std::pair<const char *, QByteArray> unexpected[] = {
        {"NUL between items",
         QByteArray("{{\"A\"},") + QByteArray(1, '\0') + " {\"ID-1\"}, {}, {}, {}, {}, {}, {}}"},
        {"NUL before the reply", QByteArray(1, '\0') + listReply("\"A\"")},
        {"records 10,000 deep", QByteArray("{a:").repeated(10000) + "1" + QByteArray(10000, '}')},
        {"records in lists 10,000 deep",
         QByteArray("{{a:").repeated(5000) + "1" + QByteArray("}}").repeated(5000)},
        {"10,000 unclosed texts", QByteArray("{\"").repeated(10000)},
        {"2 MB of commas", "{" + QByteArray(2 * 1024 * 1024, ',') + "}"},
    };
    for (const auto &[name, reply] : unexpected)
        QTest::newRow(name) << reply << false << QString();
}

void TestHostileInput::scriptReplies()
{
    QFETCH(QByteArray, reply);
    QFETCH(bool, understood);
    QFETCH(QString, name);
    FakeOsascript fake;
    fake.replay(reply);
    ShortcutsEventsBridge bridge(std::make_shared<OsascriptHost>(fake.program()));
    const auto listed = awaitTask(bridge.listShortcuts());
    QCOMPARE(listed.ok(), understood);
    if (!understood) {
        QVERIFY(!listed.error().localizedDescription().isEmpty());
        return;
    }
    QCOMPARE(listed.value().size(), 1);
    QCOMPARE(listed.value().first().name, name);
    QCOMPARE(listed.value().first().identifier, QStringLiteral("ID-1"));
    QVERIFY(!name.contains(u'/'));
}

// rulesData from the store: every broken form gives the default rule set as a whole; a few
// odd but well-formed ones decode.
void TestHostileInput::rulesData_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<qint64>("number");
    QTest::addColumn<QString>("text");
    const QJsonObject sample = QJsonDocument::fromJson(SmartRuleSet().encoded()).object();
    auto with = [&sample](const QString &key, const QJsonValue &value) {
        QJsonObject o = sample;
        o[key] = value;
        return QJsonDocument(o).toJson(QJsonDocument::Compact);
    };
    auto ruleWith = [&sample](const QString &key, const QByteArray &rawValue) {
        QJsonObject o = sample;
        QJsonObject rule = o[QLatin1String("rules")].toArray().first().toObject();
        rule[key] = QStringLiteral("@@");
        o[QLatin1String("rules")] = QJsonArray{rule};
        return QJsonDocument(o).toJson(QJsonDocument::Compact).replace("\"@@\"", rawValue);
    };
    const QByteArray good = SmartRuleSet().encoded();

    QTest::newRow("number is -2^63") << ruleWith("number", "-9223372036854775808") << true
                                     << std::numeric_limits<qint64>::min() << QString();
    QTest::newRow("days is -0") << ruleWith("days", "-0") << true << qint64(0) << QString();
    QTest::newRow("escaped NUL in text")
        << ruleWith("text", "\"a\\u0000b\"") << true << qint64(0) << QString::fromUtf16(u"a\0b", 3);
    // Qt's reader takes raw control characters inside texts.
    QTest::newRow("raw NUL in text") << ruleWith("text", QByteArray("\"a\0b\"", 5)) << true
                                     << qint64(0) << QString::fromUtf16(u"a\0b", 3);
    QTest::newRow("lone surrogate escape in text")
        << ruleWith("text", "\"\\uD800\"") << true << qint64(0) << QString(QChar(0xD800));
    QTest::newRow("byte order mark") << "\xEF\xBB\xBF" + good << true << qint64(0) << QString();

    const QByteArray utf16(reinterpret_cast<const char *>(QString::fromUtf8(good).utf16()),
                           good.size() * 2);
    const std::pair<const char *, QByteArray> broken[] = {
        {"number is 2^63", ruleWith("number", "9223372036854775808")},
        {"number is 1e300", ruleWith("number", "1e300")},
        {"days beyond a double", ruleWith("days", "1e400")},
        {"invalid UTF-8 in text", ruleWith("text", "\"\xFF\xFE\"")},
        {"text 10,000 arrays deep", ruleWith("text", deepJson(10000))},
        {"document 10,000 arrays deep", deepJson(10000)},
        {"objects 10,000 deep",
         QByteArray("{\"a\":").repeated(10000) + "1" + QByteArray(10000, '}')},
        {"rules an object", with("rules", QJsonObject())},
        {"rules null", with("rules", QJsonValue::Null)},
        {"matchAll as text", with("matchAll", QStringLiteral("true"))},
        {"sort as number", with("sort", 0)},
        {"NUL after the object", good + QByteArray(1, '\0')},
        {"second object after the first", good + good},
        {"UTF-16", utf16},
    };
    for (const auto &[name, data] : broken)
        QTest::newRow(name) << data << false << qint64(0) << QString();
}

void TestHostileInput::rulesData()
{
    QFETCH(QByteArray, data);
    QFETCH(bool, valid);
    QFETCH(qint64, number);
    QFETCH(QString, text);
    const std::optional<SmartRuleSet> set = SmartRuleSet::decodedIfValid(data);
    QCOMPARE(set.has_value(), valid);
    if (!valid) {
        QCOMPARE(SmartRuleSet::decoded(data).rules.size(), 1);
        QCOMPARE(SmartRuleSet::decoded(data).rules.first().text, QString());
        return;
    }
    QCOMPARE(set->rules.size(), 1);
    QCOMPARE(set->rules.first().number, number);
    QCOMPARE(set->rules.first().text, text);
    // What decodes is written back in a form that decodes to the same set.
    const QByteArray again = set->encoded();
    QVERIFY(!again.isEmpty());
    QCOMPARE(SmartRuleSet::decodedIfValid(again), set);
}

// Callback URLs handed over by the system: the name falls back to "Shortcut" when its second
// decoding fails; sizes and control characters change nothing else.
void TestHostileInput::callbackUrls_data()
{
    QTest::addColumn<QByteArray>("url");
    QTest::addColumn<bool>("outcome");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariant>("output"); // null: none
    const QVariant none;
    const std::pair<const char *, QByteArray> unnamed[] = {
        {"second decoding is not UTF-8", "thimblecraft://run-success?name=%25FF%25FE"},
        {"second decoding meets a non-ASCII byte", "thimblecraft://run-success?name=%25%C3%A9"},
        {"second decoding gives an overlong slash", "thimblecraft://run-success?name=%25C0%25AF"},
        {"percent at the very end", "thimblecraft://run-success?name=A%25"},
        {"only separators", "thimblecraft://run-success?&&&=&==&"},
        {"name in the fragment", "thimblecraft://run-success#name=A"},
    };
    for (const auto &[row, url] : unnamed)
        QTest::newRow(row) << url << true << "Shortcut" << none;
    QTest::newRow("NUL in the name") << QByteArray("thimblecraft://run-success?name=a%2500b")
                                     << true << QString::fromUtf16(u"a\0b", 3) << none;
    QTest::newRow("NUL in the result")
        << QByteArray("thimblecraft://run-success?name=A&result=x%00y") << true << "A"
        << QVariant(QString::fromUtf16(u"x\0y", 3));
    QTest::newRow("line breaks in the result")
        << QByteArray("thimblecraft://run-success?name=A&result=1%0D%0A2") << true << "A"
        << QVariant(QStringLiteral("1\r\n2"));
    QTest::newRow("1 MB name") << "thimblecraft://run-success?name=" + QByteArray(1 << 20, 'n')
                               << true << QString(1 << 20, u'n') << none;
    QTest::newRow("20,000 query items")
        << "thimblecraft://run-success?" + QByteArray("x=1&").repeated(20000) + "name=Z" << true
        << "Z" << none;
    for (const char *url : {"", "thimblecraft:", "thimblecraft://run success?name=A"})
        QTest::newRow(*url ? url : "empty URL") << QByteArray(url) << false << "" << none;
}

void TestHostileInput::callbackUrls()
{
    QFETCH(QByteArray, url);
    QFETCH(bool, outcome);
    QFETCH(QString, name);
    QFETCH(QVariant, output);
    FakeWorkspace workspace;
    ShortcutsEventsBridge bridge(std::make_shared<OsascriptHost>(QStringLiteral("/nonexistent")));
    ShortcutRunner runner(&bridge, &workspace);
    QSignalSpy changed(&runner, &ShortcutRunner::latestOutcomeChanged);
    runner.handleCallbackURL(QUrl::fromEncoded(url));
    QCOMPARE(changed.count(), outcome ? 1 : 0);
    QVERIFY(runner.runningIdentifiers().isEmpty());
    if (!outcome)
        return;
    QCOMPARE(runner.latestOutcome()->shortcutName, name);
    QCOMPARE(runner.latestOutcome()->output.has_value(), !output.isNull());
    if (!output.isNull())
        QCOMPARE(*runner.latestOutcome()->output, output.toString());
    QVERIFY(!runner.latestOutcome()->error);
}

// Requests on the local socket: each bad one gets an error reply or is dropped, and the next
// client is served while a silent one still waits for its deadline.
void TestHostileInput::intentRequests_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("hangUp");
    QTest::addColumn<bool>("answered");
    // Each of these gets an error reply.
    const std::pair<const char *, QByteArray> refused[] = {
        {"invalid UTF-8", framed("{\"kind\":\"intent\",\"action\":\"\xFF\",\"arguments\":[]}")},
        {"NUL after the object", framed("{\"kind\":\"activate\"}" + QByteArray(1, '\0'))},
        {"10,000 arrays deep", framed(deepJson(10000))},
        {"arguments 10,000 deep",
         framed("{\"kind\":\"intent\",\"action\":\"x\",\"arguments\":" + deepJson(10000) + "}")},
        {"empty message", framed({}, 0)},
        {"2 MB message", framed(QByteArray(2 * 1024 * 1024, 'x'))},
        {"length announces 4 GB", framed({}, 0xFFFFFFFFu)},
        {"not JSON", framed("not json")},
        {"an array", framed("[1,2]")},
        {"intent without action", framed("{\"kind\":\"intent\"}")},
        {"argument not text", framed("{\"kind\":\"intent\",\"action\":\"x\",\"arguments\":[1]}")},
        {"unknown kind", framed("{\"kind\":\"teleport\"}")},
        {"action not text", framed("{\"kind\":\"intent\",\"action\":{},\"arguments\":[]}")},
        {"url not a URL", framed("{\"kind\":\"open-url\",\"url\":7}")},
        {"a second request behind the first",
         framed("{\"kind\":\"bogus\"}") + framed("{\"kind\":\"quit\"}")},
    };
    for (const auto &[name, bytes] : refused)
        QTest::newRow(name) << bytes << false << true;
    QTest::newRow("body half sent, then silence") << framed("{\"kind\"", 40) << false << false;
    QTest::newRow("body half sent, then gone") << framed("{\"kind\"", 40) << true << false;
    QTest::newRow("just connects and leaves") << QByteArray() << true << false;
}

void TestHostileInput::intentRequests()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, hangUp);
    QFETCH(bool, answered);
    InstanceChannel channel;
    channel.setReceiveTimeout(3000);
    QSignalSpy ended(&channel, &InstanceChannel::requestHandled);
    const QString path = InstanceChannel::socketPath(
        m_dir.filePath(QStringLiteral("channel-") + QString::number(qHash(bytes))));
    QVERIFY(channel.listen(path));
    QStringList handled;
    channel.setIntentHandler(
        [&handled](QString action, QStringList arguments) -> QCoro::Task<InstanceChannel::Reply> {
            handled.append(action + u':' + arguments.join(u','));
            co_return InstanceChannel::Reply{true, action};
        });
    bool quit = false;
    channel.setQuitHandler([&quit] { quit = true; });
    int activated = 0;
    channel.setActivateHandler([&activated] { ++activated; });
    QUrl opened;
    channel.setUrlHandler([&opened](const QString &url) { opened = QUrl(url); });

    // The hostile client runs alongside; a silent one is still connected while the next is served.
    QFuture<QJsonObject> hostile = QtConcurrent::run(exchange, path, bytes, hangUp, 60000);
    if (answered) {
        const QJsonObject reply = awaitFuture(hostile);
        QVERIFY(reply.contains(QLatin1String("ok")));
        QCOMPARE(reply.value(QLatin1String("ok")).toBool(true), false);
    } else if (hangUp) {
        QTest::qWait(50);
    } else {
        QTRY_VERIFY(channel.findChild<QLocalSocket *>());
    }
    const auto sent = awaitFuture(QtConcurrent::run([path] {
        return InstanceChannel::send(
            path, InstanceChannel::intentRequest("import", {"--name", "N"}), 5000);
    }));
    QCOMPARE(sent.status, InstanceChannel::SendResult::Status::delivered);
    QCOMPARE(sent.reply.text, QStringLiteral("import"));
    if (!answered && !hangUp) {
        QCOMPARE(ended.count(), 1); // the next client's, not the silent one's
        // The silent client would wait a minute: its deadline on the channel ends it.
        QTRY_COMPARE(ended.count(), 2);
    }
    if (!answered)
        awaitFuture(hostile);
    QCOMPARE(handled, QStringList{QStringLiteral("import:--name,N")});
    QVERIFY(!quit);
    QCOMPARE(activated, 0);
    QVERIFY(opened.isEmpty());
}

// Copies of Shortcuts.sqlite in odd states: nothing or only the rows that are really there,
// never a crash; odd column types give no value rather than a wrong one.
void TestHostileInput::shortcutsDatabase_data()
{
    QTest::addColumn<QString>("state");
    QTest::newRow("empty file") << "empty";
    QTest::newRow("truncated after the first page") << "truncated";
    QTest::newRow("every page after the first overwritten") << "overwritten";
    QTest::newRow("garbage write-ahead log") << "garbage wal";
    QTest::newRow("a folder in the file's place") << "folder";
    QTest::newRow("a view over a missing table") << "broken view";
    QTest::newRow("hostile column types") << "types";
}

void TestHostileInput::shortcutsDatabase()
{
    QFETCH(QString, state);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("Shortcuts.sqlite"));
    auto build = [&](const QStringList &statements) {
        QVERIFY(makeShortcutsDatabase(folder.path(), statements));
    };
    // Enough rows, with padding, to fill several pages.
    QStringList many;
    QSet<QString> possible;
    for (int i = 0; i < 200; ++i) {
        many << QStringLiteral("INSERT INTO ZSHORTCUT (ZTOMBSTONED, ZWORKFLOWID, ZACTIONS, "
                               "ZCREATIONDATE) VALUES (0, 'ID-%1', zeroblob(400), 10)")
                    .arg(i);
        possible.insert(QStringLiteral("ID-%1").arg(i));
    }
    std::optional<QSet<QString>> expected = QSet<QString>();

    if (state == "empty") {
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
    } else if (state == "truncated" || state == "overwritten") {
        build(many);
        QFile f(path);
        QVERIFY(f.open(QIODevice::ReadWrite));
        const qint64 size = f.size();
        QVERIFY(size > 8192);
        if (state == "truncated") {
            QVERIFY(f.resize(4096));
        } else {
            f.seek(4096);
            QByteArray noise(size - 4096, '\0');
            for (qsizetype i = 0; i < noise.size(); ++i)
                noise[i] = char((i * 7919 + 13) & 0xFF);
            f.write(noise);
        }
        expected.reset(); // whatever survives, nothing invented
    } else if (state == "garbage wal") {
        build(many);
        QFile wal(path + QStringLiteral("-wal"));
        QVERIFY(wal.open(QIODevice::WriteOnly));
        wal.write(QByteArray("\x37\x7f\x06\x82garbage", 11).repeated(500));
        expected = possible;
    } else if (state == "folder") {
        QVERIFY(QDir().mkdir(path));
    } else if (state == "broken view") {
        SqliteDatabase db;
        QVERIFY(db.open(path, SqliteDatabase::Mode::readWriteCreate));
        QVERIFY(db.exec(QStringLiteral("CREATE TABLE GONE (A)")));
        QVERIFY(
            db.exec(QStringLiteral("CREATE VIEW ZSHORTCUT AS SELECT A AS ZWORKFLOWID FROM GONE")));
        QVERIFY(db.exec(QStringLiteral("DROP TABLE GONE")));
    } else if (state == "types") {
        build({
            // Text identifiers holding NUL and bytes that are not UTF-8.
            "INSERT INTO ZSHORTCUT (ZTOMBSTONED, ZWORKFLOWID, ZASSOCIATEDAPPBUNDLEIDENTIFIER, "
            "ZCREATIONDATE, ZMODIFICATIONDATE, ZLASTRUNEVENTDATE, ZHASUSERPROVIDEDNAMEORICON) "
            "VALUES (0, 'GOOD', x'00FF', x'3130', 'NaN', '-1e999', x'01')",
            "INSERT INTO ZSHORTCUT (ZTOMBSTONED, ZWORKFLOWID, ZCREATIONDATE, "
            "ZHASUSERPROVIDEDNAMEORICON) VALUES ('0', CAST(x'41FF42' AS TEXT), 1e308, 1.0)",
            "INSERT INTO ZSHORTCUT (ZTOMBSTONED, ZWORKFLOWID, ZCREATIONDATE) "
            "VALUES (x'00', 'HIDDEN', 0)",
            "INSERT INTO ZSHORTCUT (ZTOMBSTONED, ZWORKFLOWID) VALUES (0, x'4142')",
            "INSERT INTO ZSHORTCUT (ZTOMBSTONED, ZWORKFLOWID, ZMODIFICATIONDATE) VALUES (0.0, "
            "'REAL-TOMBSTONE', 20)",
        });
        expected.reset();
    }

    const ShortcutsDatabase::Rows rows = ShortcutsDatabase::readRows(folder.path());
    const QSet<QString> ids(rows.keyBegin(), rows.keyEnd());
    if (expected) {
        QCOMPARE(ids, *expected);
    } else if (state != "types") {
        QVERIFY(QSet<QString>(ids).subtract(possible).isEmpty());
    } else {
        // A blob is no bundle identifier, no date and no flag; NaN and overflow are no dates.
        const ShortcutsDatabase::Row good = rows.value(QStringLiteral("GOOD"));
        QCOMPARE(good.workflowID, QStringLiteral("GOOD"));
        QVERIFY(!good.createdAt && !good.modifiedAt && !good.lastRunAt);
        QVERIFY(!good.userProvidedIcon);
        QVERIFY(!good.appBundleID);
        QVERIFY(!ids.contains(QStringLiteral("HIDDEN")));
        QCOMPARE(rows.value(QStringLiteral("REAL-TOMBSTONE")).modifiedAt,
                 std::optional(QDateTime(QDate(2001, 1, 1), QTime(0, 0, 20), Qt::UTC)));
        const QString odd = QString::fromUtf8("A\xFF"
                                              "B");
        QVERIFY(ids.contains(odd));
        QVERIFY(!rows.value(odd).createdAt);
        QCOMPARE(ids.size(), 3);
    }
}

// Icon images: tiny, animated or lying about their size. No value or the icon of the first frame.
void TestHostileInput::images_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("sameAs"); // empty: no value expected
    const QImage icon = discIcon(QColor(0xFF, 0x3B, 0x30), QColor(0xFF, 0x95, 0x00));
    const QImage other = discIcon(QColor(0x00, 0x7A, 0xFF), QColor(0x5A, 0xC8, 0xFA));
    // A still GIF of the first frame, in the same palette.
    const QByteArray firstFrame = animatedGif({icon});
    const QByteArray gif = animatedGif({icon, other});

    // A palette image with a profile of its own reads as its colours converted to sRGB.
    QImage palette = icon.convertToFormat(QImage::Format_Indexed8);
    palette.setColorSpace(QColorSpace(QColorSpace::AdobeRgb));
    QImage converted = palette.convertToFormat(QImage::Format_ARGB32);
    converted.convertToColorSpace(QColorSpace(QColorSpace::SRgb));
    converted.setColorSpace(QColorSpace());
    QTest::newRow("palette with a profile")
        << encodedImage(palette, "PNG") << encodedImage(converted, "PNG");

    for (const QColor &colour :
         {QColor(0xFF, 0x3B, 0x30), QColor(Qt::white), QColor(Qt::transparent)}) {
        QImage pixel(1, 1, QImage::Format_ARGB32);
        pixel.fill(colour);
        QTest::addRow("1 x 1 %s", qPrintable(colour.name(QColor::HexArgb)))
            << encodedImage(pixel, "PNG") << QByteArray();
    }
    QTest::newRow("animated GIF") << gif << firstFrame;
    QTest::newRow("animated GIF, second frame cut off")
        << gif.left(gif.size() - 2000) << firstFrame;
    QTest::newRow("GIF screen 65535 x 65535")
        << animatedGif({icon}, QSize(65535, 65535)) << QByteArray();
    QTest::newRow("GIF cut inside the palette") << gif.left(300) << QByteArray();
    QTest::newRow("JPEG cut in half") << encodedImage(icon, "JPEG").left(600) << QByteArray();
    QTest::newRow("BMP claims 40000 x 40000")
        << encodedImage(icon, "BMP")
               .replace(18, 8, QByteArray("\x40\x9C\x00\x00\x40\x9C\x00\x00", 8))
        << QByteArray();
    QTest::newRow("PPM claims 40000 x 40000")
        << QByteArray("P6 40000 40000 255\n") + "\xFF\xFF\xFF" << QByteArray();
    QTest::newRow("XPM claims 40000 x 40000")
        << QByteArray("/* XPM */\nstatic char *x[] = {\n\"40000 40000 1 1\",\n\"a c #FF0000\",\n"
                      "\"aaaa\"};\n")
        << QByteArray();
}

void TestHostileInput::images()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, sameAs);
    const auto result = IconProcessing::process(bytes);
    if (sameAs.isEmpty()) {
        QVERIFY(!result);
        return;
    }
    const auto reference = IconProcessing::process(sameAs);
    QVERIFY(reference);
    QVERIFY(result);
    QCOMPARE(result->topHex, reference->topHex);
    QCOMPARE(result->bottomHex, reference->bottomHex);
    QImage glyph, expectedGlyph;
    QVERIFY(glyph.loadFromData(result->glyphPNG, "PNG"));
    QVERIFY(expectedGlyph.loadFromData(reference->glyphPNG, "PNG"));
    QCOMPARE(glyph.convertToFormat(QImage::Format_ARGB32),
             expectedGlyph.convertToFormat(QImage::Format_ARGB32));
}

// App Store lookups: bad encodings, depth, unbounded bodies and redirects off the web give no
// icon and leave nothing cached; a redirect within the web still works.
void TestHostileInput::appStoreReplies_data()
{
    QTest::addColumn<QString>("lookupLocation"); // redirect for /lookup; "" for none
    QTest::addColumn<QByteArray>("lookupBody");
    QTest::addColumn<QString>("artLocation"); // redirect for the artwork
    QTest::addColumn<bool>("withLength");
    QTest::addColumn<bool>("found");
    const QByteArray good = "{\"results\":[{\"artworkUrl100\":\"ART/art/100x100bb.png\"}]}";
    QTest::newRow("redirect within the web") << "/moved" << good << "" << true << true;
    QTest::newRow("artwork redirect within the web") << "" << good << "/png" << true << true;
    QTest::newRow("redirect to a file") << "file:///etc/hostname" << good << "" << true << false;
    QTest::newRow("redirect to data")
        << "data:application/json,{\"results\":[]}" << good << "" << true << false;
    QTest::newRow("redirect to ftp") << "ftp://127.0.0.1/lookup" << good << "" << true << false;
    QTest::newRow("redirect to javascript") << "javascript:alert(1)" << good << "" << true << false;
    QTest::newRow("redirect without a target") << "%%" << good << "" << true << false;
    QTest::newRow("endless redirects") << "/lookup" << good << "" << true << false;
    QTest::newRow("artwork redirect to a file")
        << "" << good << "file:///etc/hostname" << true << false;
    QTest::newRow("invalid UTF-8")
        << "" << QByteArray("{\"results\":[{\"artworkUrl100\":\"\xFF\"}]}") << "" << true << false;
    QTest::newRow("10,000 arrays deep") << "" << deepJson(10000) << "" << true << false;
    QTest::newRow("NUL after the object")
        << "" << good + QByteArray(1, '\0') << "" << true << false;
    QTest::newRow("huge body without a length")
        << "" << good + QByteArray(3 * 1024 * 1024, ' ') << "" << false << false;
}

void TestHostileInput::appStoreReplies()
{
    QFETCH(QString, lookupLocation);
    QFETCH(QByteArray, lookupBody);
    QFETCH(QString, artLocation);
    QFETCH(bool, withLength);
    QFETCH(bool, found);
    LoopbackHttp server;
    QImage art(64, 64, QImage::Format_ARGB32);
    art.fill(QColor(200, 30, 30));
    const QByteArray png = encodedImage(art, "PNG");
    lookupBody.replace("ART", server.base().toUtf8());
    auto location = [&server](const QString &l) {
        return (l.startsWith(u'/') ? server.base() + l : l).toUtf8();
    };
    server.answers["/lookup"] = {200, lookupBody, {}, withLength};
    if (!lookupLocation.isEmpty())
        server.answers["/lookup"] = {302, {}, location(lookupLocation), true};
    server.answers["/moved"] = {200, lookupBody, {}, true};
    server.answers["/art/256x256bb.png"] = {200, png, {}, true};
    if (!artLocation.isEmpty())
        server.answers["/art/256x256bb.png"] = {301, {}, location(artLocation), true};
    server.answers["/png"] = {200, png, {}, true};

    AppIconProvider provider;
    // A case left to the transfer timeout would hang the test rather than pass.
    provider.setTransferTimeout(std::chrono::hours(1));
    provider.setLookupUrl(QUrl(server.base() + "/lookup"));
    const auto icon = QCoro::waitFor(provider.remoteIcon(QStringLiteral("com.example.app")));
    QCOMPARE(icon.has_value(), found);
    QCOMPARE(provider.cachedIcon(QStringLiteral("com.example.app")).has_value(), found);
    QVERIFY(!provider.isLookingUp(QStringLiteral("com.example.app")));
    QVERIFY(server.requests.size() <= 8); // redirects are capped
}

QTEST_MAIN(TestHostileInput)
#include "tst_hostile_input.moc"
