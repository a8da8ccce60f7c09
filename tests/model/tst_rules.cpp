// Rule sets: names and titles, the rulesData codec and its fallback, SmartList's rule set, and
// the lower-casing text rules match with.

#include "model/LowercaseMatch.h"
#include "model/ShortcutItem.h"
#include "model/ShortcutSort.h"
#include "model/SmartList.h"
#include "model/SmartRuleSet.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

namespace {
// The set's JSON with one key of one rule replaced, or removed when value is undefined.
QByteArray withRuleValue(QJsonObject set, int rule, const QString &key, const QJsonValue &value)
{
    QJsonArray rules = set[QLatin1String("rules")].toArray();
    QJsonObject r = rules[rule].toObject();
    if (value.isUndefined())
        r.remove(key);
    else
        r[key] = value;
    rules[rule] = r;
    set[QLatin1String("rules")] = rules;
    return QJsonDocument(set).toJson();
}

// Matching lower-cases on the fly: every answer must be that of lowering the value first.
void checkAgreesWithLowering(const QString &value, const QString &needle, const QString &lower)
{
    QCOMPARE(LowercaseMatch::contains(value, needle), lower.contains(needle));
    QCOMPARE(LowercaseMatch::equals(value, needle), lower == needle);
    QCOMPARE(LowercaseMatch::beginsWith(value, needle), lower.startsWith(needle));
    QCOMPARE(LowercaseMatch::endsWith(value, needle), lower.endsWith(needle));
}
} // namespace

class TestRules : public QObject {
    Q_OBJECT
private:
    static SmartRuleSet sampleSet()
    {
        SmartRuleSet set;
        set.matchAll = false;
        set.sort = ShortcutSort::dateAdded;
        set.ascending = false;
        set.includeMissing = true;
        set.rules.clear();
        SmartRule text;
        text.field = SmartRule::Field::notes;
        text.textOp = SmartRule::TextOp::endsWith;
        text.text = QStringLiteral("  Café \"quoted\"\n");
        SmartRule reference;
        reference.field = SmartRule::Field::tag;
        reference.boolValue = false;
        reference.referenceUUID = QStringLiteral("0A1B2C3D-0000-4000-8000-000000000001");
        SmartRule number;
        number.field = SmartRule::Field::runCount;
        number.numberOp = SmartRule::NumberOp::lessThan;
        number.number = -9'000'000'000'000'000'000;
        number.days = -5;
        SmartRule date;
        date.field = SmartRule::Field::lastRun;
        date.dateOp = SmartRule::DateOp::never;
        date.id = QUuid(); // the nil UUID is still a UUID
        set.rules = {text, reference, number, date};
        return set;
    }

    static QJsonObject sampleJson()
    {
        return QJsonDocument::fromJson(sampleSet().encoded()).object();
    }

private slots:
    void enumerationsListNamesAndTitles()
    {
        QCOMPARE(allCases<SmartRule::Field>().size(), 16);
        QCOMPARE(allCases<ShortcutSort>().first(), ShortcutSort::libraryOrder);
        QCOMPARE(allCases<ShortcutSort>().last(), ShortcutSort::runCount);
        const std::pair<QString, const char *> texts[] = {
            {storedName(SmartRule::Field::nativeFolder), "nativeFolder"},
            {title(SmartRule::Field::nativeFolder), "Shortcuts Folder"},
            {title(SmartRule::Field::modified), "Last Modified"},
            {title(SmartRule::Field::missing), "Missing from Shortcuts"},
            {label(SmartRule::TextOp::notContains), "does not contain"},
            {label(SmartRule::TextOp::equals), "is"},
            {label(SmartRule::NumberOp::greaterThan), "is greater than"},
            {label(SmartRule::DateOp::notWithinDays), "not in the last"},
            {title(ShortcutSort::libraryOrder), "Shortcuts Order"},
            {SmartRule::boolLabel(SmartRule::Field::missing, false), "is present"},
            {SmartRule::boolLabel(SmartRule::Field::acceptsInput, false), "is off"},
            {SmartRule::boolLabel(SmartRule::Field::tag, false), "does not have"},
            {SmartRule::boolLabel(SmartRule::Field::folder, true), "is in"},
            {SmartRule::anyReferenceTitle(SmartRule::Field::folder), "any folder"},
            {SmartRule::dayUnit(1), "day"},
            {SmartRule::dayUnit(0), "days"}};
        for (const auto &[text, expected] : texts)
            QCOMPARE(text, QString::fromUtf8(expected));
        // Every stored name reads back as its case; names are case-sensitive.
        for (SmartRule::Field f : allCases<SmartRule::Field>())
            QCOMPARE(fromStoredName<SmartRule::Field>(storedName(f)), f);
        for (ShortcutSort s : allCases<ShortcutSort>())
            QCOMPARE(fromStoredName<ShortcutSort>(storedName(s)), s);
        QVERIFY(!fromStoredName<ShortcutSort>(QStringLiteral("LibraryOrder")));
    }

    void defaultsAndRoundTrip()
    {
        const SmartRuleSet defaults;
        QCOMPARE(defaults.rules.size(), 1);
        const SmartRule &rule = defaults.rules.first();
        QCOMPARE(rule.field, SmartRule::Field::name);
        QCOMPARE(rule.numberOp, SmartRule::NumberOp::greaterThan);
        QCOMPARE(rule.days, 7);
        QVERIFY(!rule.id.isNull());
        QVERIFY(SmartRule().id != SmartRule().id);

        for (const SmartRuleSet &set :
             {defaults, sampleSet(), SmartRuleSet{true, {}, ShortcutSort::name, true, false}}) {
            const auto decoded = SmartRuleSet::decodedIfValid(set.encoded());
            QVERIFY(decoded);
            QCOMPARE(*decoded, set);
            QCOMPARE(qHash(*decoded), qHash(set));
        }
        // The id is written as upper-case text.
        const QJsonObject first = sampleJson()[QLatin1String("rules")].toArray().first().toObject();
        const QString id = first[QLatin1String("id")].toString();
        QCOMPARE(id, id.toUpper());
        QCOMPARE(id.size(), 36);
    }

    void decodeFallsBackAsAWhole_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("malformed") << QByteArray("{\"matchAll\":");
        QTest::newRow("array") << QByteArray("[]");
        auto without = [](const QString &key) {
            QJsonObject o = sampleJson();
            o.remove(key);
            return QJsonDocument(o).toJson();
        };
        for (const char *key : {"matchAll", "rules", "sort", "ascending", "includeMissing"})
            QTest::addRow("no %s", key) << without(QLatin1String(key));
        auto ruleEdited = [](const QString &key, const QJsonValue &value) {
            return withRuleValue(sampleJson(), 3, key, value);
        };
        for (const char *key : {"id", "field", "textOp", "numberOp", "dateOp", "boolValue", "text",
                                "number", "days", "referenceUUID"})
            QTest::addRow("rule without %s", key)
                << ruleEdited(QLatin1String(key), QJsonValue::Undefined);
        QTest::newRow("unknown field")
            << ruleEdited(QStringLiteral("field"), QStringLiteral("Name"));
        QTest::newRow("unknown dateOp")
            << ruleEdited(QStringLiteral("dateOp"), QStringLiteral("ever"));
        QTest::newRow("id not a uuid")
            << ruleEdited(QStringLiteral("id"), QStringLiteral("not-a-uuid"));
        QTest::newRow("id in braces") << ruleEdited(
            QStringLiteral("id"), QStringLiteral("{0A1B2C3D-0000-4000-8000-000000000001}"));
        QTest::newRow("days as text") << ruleEdited(QStringLiteral("days"), QStringLiteral("7"));
        QTest::newRow("number fractional") << ruleEdited(QStringLiteral("number"), 2.5);
        QTest::newRow("boolValue as number") << ruleEdited(QStringLiteral("boolValue"), 1);
        auto outcomeRule = [](const QJsonValue &result) {
            SmartRuleSet set;
            set.rules.first().field = SmartRule::Field::lastRunOutcome;
            return withRuleValue(QJsonDocument::fromJson(set.encoded()).object(), 0,
                                 QStringLiteral("runResult"), result);
        };
        QTest::newRow("outcome rule without runResult") << outcomeRule(QJsonValue::Undefined);
        QTest::newRow("unknown runResult") << outcomeRule(QStringLiteral("crashed"));
        QJsonObject badSort = sampleJson();
        badSort[QLatin1String("sort")] = QStringLiteral("size");
        QTest::newRow("unknown sort") << QJsonDocument(badSort).toJson();
        QJsonObject ruleNotObject = sampleJson();
        ruleNotObject[QLatin1String("rules")] = QJsonArray{1};
        QTest::newRow("rule not an object") << QJsonDocument(ruleNotObject).toJson();
    }

    void decodeFallsBackAsAWhole()
    {
        QFETCH(QByteArray, data);
        QVERIFY(!SmartRuleSet::decodedIfValid(data));
        const SmartRuleSet decoded = SmartRuleSet::decoded(data);
        const SmartRuleSet defaults;
        QCOMPARE(decoded.matchAll, defaults.matchAll);
        QCOMPARE(decoded.sort, ShortcutSort::libraryOrder);
        QCOMPARE(decoded.ascending, true);
        QCOMPARE(decoded.includeMissing, false);
        QCOMPARE(decoded.rules.size(), 1);
        QCOMPARE(decoded.rules.first().field, SmartRule::Field::name);
        QCOMPARE(decoded.rules.first().text, QString());
    }

    // The last run's outcome: a field older releases do not know, so a rule set using it is one
    // they refuse whole (as any unknown field, above); sets without it read and write as before.
    void lastRunOutcomeRule()
    {
        const QByteArray before =
            R"({"ascending":true,"includeMissing":false,"matchAll":true,"rules":[{"boolValue":true,)"
            R"("dateOp":"never","days":7,"field":"lastRun","id":"0A1B2C3D-0000-4000-8000-000000000001",)"
            R"("number":0,"numberOp":"greaterThan","referenceUUID":"","text":"","textOp":"contains"}],)"
            R"("sort":"lastRun"})";
        const auto old = SmartRuleSet::decodedIfValid(before);
        QVERIFY(old);
        QCOMPARE(old->encoded(), before);

        ShortcutItem never(QStringLiteral("A"), QStringLiteral("A"));
        ShortcutItem ok(QStringLiteral("B"), QStringLiteral("B"));
        ok.setLastRunAt(QDateTime::currentDateTimeUtc());
        ok.setLastRunOutcome(RunOutcome::succeeded);
        ShortcutItem failed(QStringLiteral("C"), QStringLiteral("C"));
        failed.setLastRunAt(QDateTime::currentDateTimeUtc());
        failed.setLastRunOutcome(RunOutcome::failed);
        ShortcutItem unknown(QStringLiteral("D"), QStringLiteral("D")); // ran, outcome not kept
        unknown.setLastRunAt(QDateTime::currentDateTimeUtc());
        const QList<std::pair<SmartRule::RunResult, QString>> cases{
            {SmartRule::RunResult::succeeded, QStringLiteral("B")},
            {SmartRule::RunResult::failed, QStringLiteral("C")},
            {SmartRule::RunResult::never, QStringLiteral("A")}};
        for (const auto &[result, selected] : cases) {
            SmartRuleSet set;
            set.rules.first().field = SmartRule::Field::lastRunOutcome;
            set.rules.first().runResult = result;
            const auto decoded = SmartRuleSet::decodedIfValid(set.encoded());
            QVERIFY(decoded);
            QCOMPARE(*decoded, set);
            QStringList names;
            for (const ShortcutItem *item : {&never, &ok, &failed, &unknown})
                if (decoded->selects(*item))
                    names << item->name();
            QCOMPARE(names, QStringList{selected});
        }
    }

    void integralNumbersWrittenAsDoublesDecode()
    {
        const auto decoded = SmartRuleSet::decodedIfValid(
            withRuleValue(sampleJson(), 0, QStringLiteral("days"), 30.0));
        QVERIFY(decoded);
        QCOMPARE(decoded->rules.first().days, 30);
        // An empty rulesData falls back to the default set.
        SmartList empty(QStringLiteral("Empty"), SmartRuleSet());
        empty.setRulesData({});
        QCOMPARE(empty.ruleSet().rules.size(), 1);
        QCOMPARE(empty.ruleSet().rules.first().text, QString());
    }

    // Lowering on the fly gives the answers of lowering the whole value first, for every
    // character of the Basic Multilingual Plane and for text whose lowering changes its length.
    void lowercaseMatchingAgreesWithLoweringFirst()
    {
        for (char32_t c = 0x80; c <= 0xFFFF; ++c) {
            const QChar unit{char16_t(c)};
            if (unit.isSurrogate() || c == 0x130)
                continue;
            const QString value = QStringLiteral("x") + unit + QStringLiteral("Y");
            const QString lower = LowercaseMatch::lowered(value);
            if (!LowercaseMatch::equals(value, lower) || !LowercaseMatch::contains(value, lower))
                QFAIL(qPrintable(QStringLiteral("U+%1").arg(quint32(c), 4, 16, QLatin1Char('0'))));
        }
        const QStringList values{QStringLiteral("İstanbul Trip"),  QStringLiteral("CAFÉ ΣΟΦΙΑ"),
                                 QStringLiteral("Straße 🎵 MUSIC"), QStringLiteral("Ǆungla"),
                                 QStringLiteral("plain ascii"),    QString()};
        const QStringList needles{QStringLiteral("i̇stanbul"), QStringLiteral("é σ"),
                                  QStringLiteral("🎵 music"),  QStringLiteral("ǆ"),
                                  QStringLiteral("ascii"),    QStringLiteral("trip")};
        for (const QString &value : values) {
            const QString lower = LowercaseMatch::lowered(value);
            for (const QString &needle : needles + QStringList{lower})
                checkAgreesWithLowering(value, needle, lower);
        }
    }

    // Latin-1 text is lower-cased one code unit at a time, without toLower(): every pair of
    // value and needle code units around that range must answer as toLower() would.
    void latin1TextMatchesAsLowerCased()
    {
        for (char16_t v = 1; v < 0x180; ++v) {
            const QString value = QStringLiteral("a") + QChar(v);
            const QString lowered = value.toLower();
            for (char16_t n = 1; n < 0x180; ++n) {
                const QString needle = QString(QChar(n)).toLower();
                checkAgreesWithLowering(value, needle, lowered);
                checkAgreesWithLowering(value, QStringLiteral("a") + needle, lowered);
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestRules)
#include "tst_rules.moc"
