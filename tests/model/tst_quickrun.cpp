// Quick Run's ranking: queries and the shortcut they put first on a library built here, and
// the index following renames, missing marks and deletions.

#include "common/ItemNames.h"
#include "model/ModelContext.h"
#include "model/QuickRunIndex.h"

#include <QTest>

namespace {
const QDateTime now = QDateTime(QDate(2024, 5, 1), QTime(12, 0), Qt::UTC);
} // namespace

class TestQuickRun : public QObject {
    Q_OBJECT
    ModelContext context;
    QuickRunIndex index;

    ShortcutItem *add(const QString &name)
    {
        return context.insert(new ShortcutItem(QStringLiteral("ID-") + name, name));
    }
    ShortcutItem *ran(ShortcutItem *item, int count, qint64 secondsAgo)
    {
        item->setRunCount(count);
        item->setLastRunAt(now.addSecs(-secondsAgo));
        return item;
    }
    QStringList ranked(const QString &query, int limit = 10)
    {
        return names(index.rank(query, now, limit));
    }

private slots:
    void initTestCase()
    {
        auto *work = context.insert(new LibraryFolder(QStringLiteral("Work")));
        auto *clients = context.insert(new LibraryFolder(QStringLiteral("Clients"), work));
        auto *home = context.insert(new Tag(QStringLiteral("Home"), QString()));
        add(QStringLiteral("Toolbox"));
        add(QStringLiteral("Table Tennis Score"));
        add(QStringLiteral("Text to Bullet List"));
        add(QStringLiteral("Take a Break"));
        add(QStringLiteral("Café Finder"));
        add(QStringLiteral("Résumé Builder"));
        add(QStringLiteral("Łódź Weather"));
        auto *morning = add(QStringLiteral("Morning Routine"));
        morning->addTag(home);
        morning->setNotes(QStringLiteral("a short break for coffee"));
        add(QStringLiteral("Send Invoice"))->setFolder(clients);
        add(QStringLiteral("Backup Photos"))
            ->setNotes(QStringLiteral("copies the camera roll to the NAS"));
        add(QStringLiteral("Take a Bath"))->setIsMissing(true);
        add(QStringLiteral("Open Maps"));
        ran(add(QStringLiteral("Open Mail")), 40, 2 * 86400);
        add(QStringLiteral("Timer 5 min"));
        ran(add(QStringLiteral("Timer 10 min")), 3, 3600);
        add(QStringLiteral("a").repeated(300));
        add(QStringLiteral("🚀 Launch"));
        add(QStringLiteral("שלום עולם"));
        index.rebuild(context);
    }

    void firstResult_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("first");
        const QList<std::pair<const char *, const char *>> rows = {
            // Abbreviations: word starts in order.
            {"tb", "Take a Break"},
            {"tts", "Table Tennis Score"},
            {"TxBu", "Text to Bullet List"},
            {"take brk", "Take a Break"},
            // A name beats notes that say the same.
            {"break", "Take a Break"},
            // Accents and stroked letters either way.
            {"cafe", "Café Finder"},
            {"CAFÉ", "Café Finder"},
            {"resume", "Résumé Builder"},
            {"lodz", "Łódź Weather"},
            // Then the folder path, tags and notes, and words spread over them.
            {"clients", "Send Invoice"},
            {"home", "Morning Routine"},
            {"nas", "Backup Photos"},
            {"invoice work", "Send Invoice"},
            // Runs lift equal matches; an empty query ranks by them alone.
            {"timer", "Timer 10 min"},
            {"open ma", "Open Mail"},
            {"maps", "Open Maps"},
            {"", "Open Mail"},
            {"launch", "🚀 Launch"},
            {"עולם", "שלום עולם"},
            // Missing shortcuts are never offered; nonsense finds nothing.
            {"take a bath", ""},
            {"zzqx", ""},
        };
        for (const auto &[query, first] : rows)
            QTest::newRow(*query ? query : "(empty)")
                << QString::fromUtf8(query) << QString::fromUtf8(first);
        QTest::newRow("longer than any name") << QStringLiteral("a").repeated(400) << QString();
    }
    void firstResult()
    {
        QFETCH(QString, query);
        QFETCH(QString, first);
        QCOMPARE(ranked(query).value(0), first);
    }

    void limitsAndNeverMissing()
    {
        QCOMPARE(ranked(QString(), 10).size(), 10);
        QCOMPARE(ranked(QString(), 100).size(), int(context.shortcuts().size()) - 1);
        QVERIFY(!ranked(QString(), 100).contains(QStringLiteral("Take a Bath")));
        QVERIFY(ranked(QStringLiteral("t"), 0).isEmpty());
    }

    // Announced changes reach the index: renames, missing marks, folder renames, deletions.
    void followsChanges()
    {
        QuickRunIndex live;
        live.rebuild(context);
        connect(&context, &ModelContext::changed, this,
                [&](const ModelChanges &changes) { live.apply(context, changes); });
        auto after = [&](auto change) -> const QuickRunIndex & {
            change();
            QTest::qWait(0);
            return live;
        };
        ShortcutItem *toolbox = context.shortcuts().at(0);
        QCOMPARE(names(after([&] {
                           toolbox->setName(QStringLiteral("Tool Chest"));
                       }).rank(QStringLiteral("tool chest"), now, 1)),
                 QStringList{QStringLiteral("Tool Chest")});
        QVERIFY(after([&] { toolbox->setIsMissing(true); })
                    .rank(QStringLiteral("tool chest"), now, 1)
                    .isEmpty());
        QCOMPARE(names(after([&] {
                           context.folders().at(1)->setName(QStringLiteral("Customers"));
                       }).rank(QStringLiteral("customers"), now, 1)),
                 QStringList{QStringLiteral("Send Invoice")});
        QVERIFY(after([&] { context.deleteRecord(context.shortcuts().at(1)); })
                    .rank(QStringLiteral("table tennis"), now, 1)
                    .isEmpty());
        disconnect(&context, nullptr, this, nullptr);
    }
};

QTEST_GUILESS_MAIN(TestQuickRun)
#include "tst_quickrun.moc"
