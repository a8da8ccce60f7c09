// `thimblecraft list --section …`, run as a separate process on a store filled here.

#include "harness/ProgramRuns.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "model/SmartRuleSet.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

class TestListCommand : public QObject {
    Q_OBJECT
    QTemporaryDir dataDir;
    QString folderUuid;
    QString smartUuid;

    Run list(const QStringList &arguments)
    {
        Run r = runThimblecraft(
            QStringList{QStringLiteral("list"), QStringLiteral("--data-dir"), dataDir.path()} +
            arguments);
        if (r.crashed)
            r.exitCode = -1;
        return r;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(dataDir.isValid());
        QString error;
        auto context = LibraryStoreContainer::open(dataDir.path(), &error);
        QVERIFY2(context, qPrintable(error));
        LibraryFolder *folder = context->insert(new LibraryFolder(QStringLiteral("Work")));
        LibraryFolder *sub = context->insert(new LibraryFolder(QStringLiteral("Sub"), folder));
        folderUuid = folder->uuid();
        const QStringList names{"Zeta", "Alpha", "Mail Merge", "Gone", "Beta"};
        for (int n = 0; n < names.size(); ++n) {
            auto *item = context->insert(new ShortcutItem(QStringLiteral("ID%1").arg(n), names[n]));
            item->setLibraryOrder(names.size() - n); // Shortcuts order is the reverse of creation
            item->setIsMissing(names[n] == QLatin1String("Gone"));
            item->setFolder(n % 2 ? sub : folder);
        }
        context->shortcuts()[0]->setNotes(QStringLiteral("sends the MAIL"));
        SmartRuleSet rules;
        rules.rules.first().text = QStringLiteral("a");
        rules.rules.first().textOp = SmartRule::TextOp::endsWith;
        smartUuid = context->insert(new SmartList(QStringLiteral("Ends in a"), rules))->uuid();
        QVERIFY2(context->save(&error), qPrintable(error));
    }

    void sectionsAsText()
    {
        Run r = list({QStringLiteral("--section"), QStringLiteral("all")});
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out, QByteArray("Beta\nMail Merge\nAlpha\nZeta\n"));
        r = list({QStringLiteral("--section"), QStringLiteral("missing")});
        QCOMPARE(r.out, QByteArray("Gone\n"));
        r = list({QStringLiteral("--section"), "folder:" + folderUuid, QStringLiteral("--search"),
                  QStringLiteral(" mail ")});
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out, QByteArray("Mail Merge\nZeta\n"));
        r = list({QStringLiteral("--section"), "smart:" + smartUuid});
        QCOMPARE(r.out, QByteArray("Beta\nAlpha\nZeta\n"));
        // Without a section: every item in creation order, missing ones too.
        r = list({});
        QCOMPARE(r.out, QByteArray("Zeta\nAlpha\nMail Merge\nGone\nBeta\n"));
    }

    void sectionAsJson()
    {
        const Run r =
            list({QStringLiteral("--section"), "smart:" + smartUuid, QStringLiteral("--json")});
        QCOMPARE(r.exitCode, 0);
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(r.out, &error);
        QCOMPARE(error.error, QJsonParseError::NoError);
        const QJsonArray items = document.array();
        QCOMPARE(items.size(), 3);
        QCOMPARE(items[0].toObject()[QLatin1String("name")].toString(), QStringLiteral("Beta"));
        QCOMPARE(items[0].toObject()[QLatin1String("identifier")].toString(),
                 QStringLiteral("ID4"));
        QCOMPARE(items[2].toObject()[QLatin1String("folder")].toString(), folderUuid);
    }

    void missingRecordsAndBadSections()
    {
        for (const char *section :
             {"folder:NO-SUCH-FOLDER", "tag:NO-SUCH-TAG", "smart:NO-SUCH-LIST", "native:Nowhere"}) {
            const Run r = list({QStringLiteral("--section"), QLatin1String(section)});
            QCOMPARE(r.exitCode, 0);
            QVERIFY(r.out.isEmpty());
        }
        const Run json = list({QStringLiteral("--section"), QStringLiteral("tag:NO-SUCH-TAG"),
                               QStringLiteral("--json")});
        QCOMPARE(QJsonDocument::fromJson(json.out).array().size(), 0);
        for (const char *section : {"everything", "folder", "smartList:X", ""}) {
            const Run r = list({QStringLiteral("--section"), QLatin1String(section)});
            QCOMPARE(r.exitCode, 2);
            QVERIFY(r.out.isEmpty());
            QVERIFY(r.err.contains("section"));
        }
    }
};

QTEST_GUILESS_MAIN(TestListCommand)
#include "tst_listcommand.moc"
