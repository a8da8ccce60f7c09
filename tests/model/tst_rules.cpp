// Rule sets: names and titles, the rulesData codec and its fallback, SmartList's rule set.

#include "model/LibraryStoreContainer.h"
#include "model/LowercaseMatch.h"
#include "model/ModelContext.h"
#include "model/ShortcutItem.h"
#include "model/ShortcutSort.h"
#include "model/SmartList.h"
#include "model/SmartRuleSet.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

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
        QCOMPARE(storedName(SmartRule::Field::nativeFolder), QStringLiteral("nativeFolder"));
        QCOMPARE(title(SmartRule::Field::nativeFolder), QStringLiteral("Shortcuts Folder"));
        QCOMPARE(title(SmartRule::Field::modified), QStringLiteral("Last Modified"));
        QCOMPARE(title(SmartRule::Field::missing), QStringLiteral("Missing from Shortcuts"));
        QCOMPARE(label(SmartRule::TextOp::notContains), QStringLiteral("does not contain"));
        QCOMPARE(label(SmartRule::TextOp::equals), QStringLiteral("is"));
        QCOMPARE(label(SmartRule::NumberOp::greaterThan), QStringLiteral("is greater than"));
        QCOMPARE(label(SmartRule::DateOp::notWithinDays), QStringLiteral("not in the last"));
        QCOMPARE(title(ShortcutSort::libraryOrder), QStringLiteral("Shortcuts Order"));
        QCOMPARE(SmartRule::boolLabel(SmartRule::Field::missing, false),
                 QStringLiteral("is present"));
        QCOMPARE(SmartRule::boolLabel(SmartRule::Field::acceptsInput, false),
                 QStringLiteral("is off"));
        QCOMPARE(SmartRule::boolLabel(SmartRule::Field::tag, false),
                 QStringLiteral("does not have"));
        QCOMPARE(SmartRule::boolLabel(SmartRule::Field::folder, true), QStringLiteral("is in"));
        QCOMPARE(SmartRule::anyReferenceTitle(SmartRule::Field::folder),
                 QStringLiteral("any folder"));
        QCOMPARE(SmartRule::dayUnit(1), QStringLiteral("day"));
        QCOMPARE(SmartRule::dayUnit(0), QStringLiteral("days"));
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
            QJsonObject o = sampleJson();
            QJsonArray rules = o[QLatin1String("rules")].toArray();
            QJsonObject r = rules.last().toObject();
            if (value.isUndefined())
                r.remove(key);
            else
                r[key] = value;
            rules[rules.size() - 1] = r;
            o[QLatin1String("rules")] = rules;
            return QJsonDocument(o).toJson();
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
            QJsonObject o = QJsonDocument::fromJson(set.encoded()).object();
            QJsonArray rules = o[QLatin1String("rules")].toArray();
            QJsonObject r = rules.first().toObject();
            if (result.isUndefined())
                r.remove(QLatin1String("runResult"));
            else
                r[QLatin1String("runResult")] = result;
            rules[0] = r;
            o[QLatin1String("rules")] = rules;
            return QJsonDocument(o).toJson();
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
        QJsonObject o = sampleJson();
        QJsonArray rules = o[QLatin1String("rules")].toArray();
        QJsonObject r = rules.first().toObject();
        r[QLatin1String("days")] = 30.0;
        rules[0] = r;
        o[QLatin1String("rules")] = rules;
        const auto decoded = SmartRuleSet::decodedIfValid(QJsonDocument(o).toJson());
        QVERIFY(decoded);
        QCOMPARE(decoded->rules.first().days, 30);
    }

    void smartListKeepsItsRules()
    {
        SmartList empty(QStringLiteral("Empty"), SmartRuleSet());
        empty.setRulesData({});
        QCOMPARE(empty.ruleSet().rules.size(), 1);
        QCOMPARE(empty.ruleSet().rules.first().text, QString());

        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const SmartRuleSet rules = sampleSet();
        QByteArray written;
        QString uuid;
        {
            QString error;
            auto context = LibraryStoreContainer::open(dir.path(), &error);
            QVERIFY2(context, qPrintable(error));
            SmartList *list = context->insert(new SmartList(QStringLiteral("Recent work"), rules));
            QCOMPARE(list->name(), QStringLiteral("Recent work"));
            QCOMPARE(list->uuid().size(), 36);
            QCOMPARE(list->uuid(), list->uuid().toUpper());
            QVERIFY(list->createdAt().isValid());
            QCOMPARE(list->symbolName(), QStringLiteral("sparkles"));
            QCOMPARE(list->colorHex(), QStringLiteral("#AF52DE"));
            QCOMPARE(list->ruleSet(), rules);
            written = list->rulesData();
            uuid = list->uuid();
            QVERIFY(context->save(&error));
        }
        QString error;
        auto reopened = LibraryStoreContainer::open(dir.path(), &error);
        QVERIFY2(reopened, qPrintable(error));
        QCOMPARE(reopened->smartLists().size(), 1);
        const SmartList *loaded = reopened->smartLists().first();
        QCOMPARE(loaded->uuid(), uuid);
        QCOMPARE(loaded->rulesData(), written);
        QCOMPARE(loaded->ruleSet(), rules);
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
            for (const QString &needle : needles + QStringList{lower}) {
                QCOMPARE(LowercaseMatch::contains(value, needle), lower.contains(needle));
                QCOMPARE(LowercaseMatch::equals(value, needle), lower == needle);
                QCOMPARE(LowercaseMatch::beginsWith(value, needle), lower.startsWith(needle));
                QCOMPARE(LowercaseMatch::endsWith(value, needle), lower.endsWith(needle));
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestRules)
#include "tst_rules.moc"
