// An exported organisation imported into an empty library comes back whole once a sync has
// linked the placeholders the import left.
#include "SyncTestSupport.h"
#include "common/RandomOrganisation.h"
#include "model/OrganisationDocument.h"

#include <QRandomGenerator>

class TestOrganisationSync : public QObject {
    Q_OBJECT

private slots:
    void exportImportSyncReproducesTheOrganisation_data()
    {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed : {4u, 8u, 15u})
            QTest::addRow("seed %u", seed) << seed;
    }
    void exportImportSyncReproducesTheOrganisation()
    {
        QFETCH(quint32, seed);
        ModelContext original;
        fillRandomOrganisation(original, seed, 80);
        const QByteArray exported = exportDocument(original);

        SyncFixture f;
        QString error;
        const auto imported = importDocument(*f.context, exported, ImportMode::apply, &error);
        QVERIFY2(imported, qPrintable(error));
        QVERIFY(f.context->save());

        // The Shortcuts app reports every shortcut, in an order of its own.
        QList<ShortcutSnapshot> snapshots;
        for (const ShortcutItem *i : original.shortcuts())
            snapshots.append(snapshot(i->identifier(), i->name()));
        std::shuffle(snapshots.begin(), snapshots.end(), QRandomGenerator(seed));
        const auto summary = f.controller->merge(snapshots, &error);
        QVERIFY2(summary, qPrintable(error));
        QCOMPARE(summary->added, original.shortcuts().size() - imported->shortcuts.added);
        QCOMPARE(summary->missing, 0);
        QCOMPARE(f.context->shortcuts().size(), original.shortcuts().size());

        QCOMPARE(exportDocument(*f.context), exported);
    }
};

QTEST_GUILESS_MAIN(TestOrganisationSync)
#include "tst_organisation_sync.moc"
