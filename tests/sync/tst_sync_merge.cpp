// The merge rules shared by the full sync and the helper's imports, and the full sync itself.
#include "SyncTestSupport.h"
#include "common/RandomOrganisation.h"
#include "model/Clock.h"
#include "model/LibraryFolder.h"
#include "model/OrganisationDocument.h"
#include "model/Tag.h"

#include <QRandomGenerator>
#include <QSignalSpy>

class TestSyncMerge : public QObject {
    Q_OBJECT
    QDateTime m_now = QDateTime(QDate(2024, 5, 1), QTime(9, 0), Qt::UTC);

private slots:
    void init()
    {
        Clock::setOverride([this] { return m_now; });
    }
    void cleanup() { Clock::setOverride({}); }

    void summaryText_data()
    {
        QTest::addColumn<SyncSummary>("summary");
        QTest::addColumn<QString>("text");
        QTest::newRow("total only") << SyncSummary{0, 0, 0, 7} << "7 shortcuts";
        QTest::newRow("all parts")
            << SyncSummary{3, 4, 2, 120}
            << "120 shortcuts \u00B7 3 new \u00B7 4 changed \u00B7 2 missing";
        QTest::newRow("new and missing")
            << SyncSummary{3, 0, 2, 120} << "120 shortcuts \u00B7 3 new \u00B7 2 missing";
        QTest::newRow("no grouping")
            << SyncSummary{0, 1234, 0, 10000} << "10000 shortcuts \u00B7 1234 changed";
    }
    void summaryText()
    {
        QFETCH(SyncSummary, summary);
        QFETCH(QString, text);
        QCOMPARE(summary.text(), text);
    }

    // Re-linking, placeholders, twins and duplicates inside one list.
    void matching()
    {
        SyncFixture f;
        auto &c = *f.controller;
        c.merge({snapshot("A", "Alpha"), snapshot("B", "Beta"), snapshot("", "Gamma")});
        QCOMPARE(f.context->shortcuts().size(), 3);
        QVERIFY(f.item("name:Gamma"));

        // Beta disappears, then returns under a new identifier: same record, re-linked.
        auto summary = c.merge({snapshot("A", "Alpha"), snapshot("", "Gamma")});
        QCOMPARE(summary->missing, 1);
        ShortcutItem *beta = f.item("B");
        QVERIFY(beta->isMissing());
        beta->setNotes(QStringLiteral("keep me"));
        summary = c.merge({snapshot("A", "Alpha"), snapshot("B2", "Beta"), snapshot("", "Gamma")});
        QCOMPARE(summary->added, 0);
        QCOMPARE(summary->updated, 0); // re-linking alone is no change
        QCOMPARE(f.item("B2"), beta);
        QVERIFY(!beta->isMissing());
        QCOMPARE(beta->notes(), QStringLiteral("keep me"));

        // The placeholder gets its real identifier the first time one arrives.
        ShortcutItem *gamma = f.item("name:Gamma");
        c.merge({snapshot("A", "Alpha"), snapshot("B2", "Beta"), snapshot("G", "Gamma")});
        QCOMPARE(f.item("G"), gamma);
        QCOMPARE(f.context->shortcuts().size(), 3);

        // A name-only snapshot finds a record by name and never inserts a twin.
        summary = c.merge({snapshot("A", "Alpha"), snapshot("B2", "Beta"), snapshot("", "Gamma")});
        QCOMPARE(summary->added, 0);
        QCOMPARE(f.context->shortcuts().size(), 3);
        QCOMPARE(gamma->identifier(), QStringLiteral("G"));

        // Two shortcuts sharing a name, both with identifiers: two records.
        summary = c.merge({snapshot("A", "Alpha"), snapshot("A2", "Alpha")});
        QCOMPARE(summary->added, 1);
        QVERIFY(f.item("A2") && f.item("A2") != f.item("A"));

        // Duplicates in one list land on one record, which ends at the later position.
        summary = c.merge({snapshot("A", "Alpha"), snapshot("X", "Xi"), snapshot("X", "Xi")});
        QCOMPARE(summary->added, 1);
        QCOMPARE(summary->total, 3);
        QCOMPARE(f.item("X")->libraryOrder(), 2);
        QCOMPARE(f.context->shortcuts().size(), 5);
        summary = c.merge({snapshot("", "Nu"), snapshot("", "Nu")});
        QCOMPARE(summary->added, 1);
    }

    // Fields a snapshot leaves empty must not clear what the store has.
    void emptyFieldsKeepStoredValues()
    {
        SyncFixture f;
        ShortcutSnapshot full = snapshot("A", "Alpha");
        full.subtitle = QStringLiteral("Sub");
        full.colorHex = QStringLiteral("#112233");
        full.actionCount = 5;
        full.acceptsInput = true;
        full.folderName = QStringLiteral("Work");
        f.controller->merge({full});
        ShortcutItem *a = f.item("A");

        // The same shortcut, known only by name (as an import without identifier sends it).
        ShortcutSnapshot bare = snapshot("", "Alpha");
        bare.folderName = QStringLiteral("Work");
        QVERIFY(!SyncMerge::apply(bare, a, m_now));
        QCOMPARE(a->subtitle(), QStringLiteral("Sub"));
        QCOMPARE(a->colorHex(), QStringLiteral("#112233"));
        QCOMPARE(a->actionCount(), 5);
        QVERIFY(a->acceptsInput());

        // With an identifier, "does not accept input" is a fact; an empty folder clears.
        const auto summary = f.controller->merge({snapshot("A", "Alpha")});
        QCOMPARE(summary->updated, 1);
        QVERIFY(!a->acceptsInput());
        QCOMPARE(a->nativeFolderName(), QString());
        QCOMPARE(a->subtitle(), QStringLiteral("Sub"));
    }

    // Order-only changes and which date a change is stamped with.
    void orderAndChangeDates()
    {
        SyncFixture f;
        auto &c = *f.controller;
        c.merge({snapshot("A", "Alpha"), snapshot("B", "Beta")});
        const QDateTime created = m_now;
        m_now = m_now.addSecs(60);
        auto summary = c.merge({snapshot("B", "Beta"), snapshot("A", "Alpha")});
        QCOMPARE(summary->updated, 0);
        QCOMPARE(f.item("A")->libraryOrder(), 1);
        QCOMPARE(f.item("A")->lastChangedAt(), created);
        QCOMPARE(f.item("A")->lastSeenAt(), m_now);

        ShortcutSnapshot renamed = snapshot("A", "Alpha 2");
        renamed.modifiedAt = QDateTime(QDate(2020, 1, 2), QTime(3, 4), Qt::UTC);
        m_now = m_now.addSecs(60);
        summary = c.merge({snapshot("B", "Beta"), renamed});
        QCOMPARE(summary->updated, 1);
        QCOMPARE(f.item("A")->lastChangedAt(), *renamed.modifiedAt);
        summary = c.merge({snapshot("B", "Beta"), snapshot("A", "Alpha 3")});
        QCOMPARE(f.item("A")->lastChangedAt(), m_now);
    }

    void missingMarking()
    {
        SyncFixture f;
        f.controller->merge({snapshot("A", "Alpha"), snapshot("B", "Beta")});
        auto summary = f.controller->merge({});
        QCOMPARE(*summary, (SyncSummary{0, 0, 2, 0}));
        QVERIFY(f.item("A")->isMissing());
        QCOMPARE(f.context->shortcuts().size(), 2);
        // Still absent: counted again, not rewritten.
        QVERIFY(f.context->save());
        summary = f.controller->merge({});
        QCOMPARE(summary->missing, 2);
        QVERIFY(!f.context->hasChanges());
    }

    // The whole flow through the simulated Shortcuts app.
    void fullSync()
    {
        SyncFixture f;
        f.add("A", "Alpha").subtitle = QStringLiteral("First");
        f.add("B", "Beta");
        f.publish();
        auto &c = *f.controller;
        QSignalSpy phases(&c, &LibrarySyncController::phaseChanged);
        auto first = c.sync();
        auto second = c.sync(); // ignored: one is running
        QVERIFY(c.phase().isSyncing());
        runToEnd(std::move(first));
        runToEnd(std::move(second));
        runToEnd(c.iconFetchFinished());
        QCOMPARE(c.lastSummary()->text(), QStringLiteral("2 shortcuts \u00B7 2 new"));
        QCOMPARE(c.lastSyncDate(), m_now);
        QVERIFY(f.item("A")->hasIconData());
        QCOMPARE(f.item("A")->subtitle(), QStringLiteral("First"));
        QVERIFY(c.phase().isIdle());

        // A refusing Shortcuts app keeps the last summary and date and reports its text.
        f.library.switches.running = false;
        f.publish();
        const QDateTime before = m_now;
        m_now = m_now.addSecs(3600);
        runToEnd(c.sync());
        QCOMPARE(c.lastError(), QStringLiteral("Shortcuts Events isn't available on this Mac."));
        QCOMPARE(c.lastSummary()->total, 2);
        QCOMPARE(c.lastSyncDate(), before);
        QVERIFY(c.phase().isIdle());

        // The date survives a restart; a new sync clears the error.
        f.restart();
        QCOMPARE(f.controller->lastSyncDate(), before);
        f.library.switches.running = true;
        f.publish();
        runToEnd(f.controller->sync());
        QVERIFY(f.controller->lastError().isEmpty());
    }

    // Whatever the order of full syncs, imports and finishes: no record is ever deleted and the
    // user's own fields stay as the user left them.
    void randomizedSyncsKeepUserFields()
    {
        SyncFixture f;
        auto &c = *f.controller;
        c.setImportBatchInterval(std::chrono::milliseconds(0));
        QRandomGenerator rng(20240501);
        auto *folder = f.context->insert(new LibraryFolder(QStringLiteral("Mine"), nullptr));
        auto *tag =
            f.context->insert(new Tag(QStringLiteral("t"), QStringLiteral("#8E8E93"), nullptr));
        const QStringList names{"Alpha", "Beta", "Gamma", "Delta", "Alpha", "Eps"};
        auto randomSnapshot = [&] {
            const int k = rng.bounded(int(names.size()));
            ShortcutSnapshot s = snapshot(
                rng.bounded(3) == 0 ? QString() : QStringLiteral("ID%1").arg(rng.bounded(8)),
                names[k]);
            s.subtitle = rng.bounded(2) ? QStringLiteral("s%1").arg(rng.bounded(3)) : QString();
            s.actionCount = rng.bounded(4);
            s.folderName = rng.bounded(2) ? QStringLiteral("F") : QString();
            if (rng.bounded(2))
                s.libraryOrder = rng.bounded(10);
            return s;
        };
        struct UserFields {
            bool favorite;
            QString notes;
            LibraryFolder *folder;
            QList<Tag *> tags;
            qint64 runs;
        };
        QHash<ShortcutItem *, UserFields> expected;
        for (int step = 0; step < 400; ++step) {
            m_now = m_now.addSecs(1);
            const int action = rng.bounded(5);
            QList<ShortcutSnapshot> list;
            for (int n = rng.bounded(6); n > 0; --n)
                list.append(randomSnapshot());
            if (action == 0)
                QVERIFY(c.merge(list));
            else if (action == 1)
                c.beginIncrementalSync();
            else if (action == 2)
                for (const auto &s : list)
                    c.enqueueImport(s);
            else if (action == 3)
                QVERIFY(c.finishIncrementalSync());
            else
                c.flushImports();
            // Every record seen so far is still here, with the user's fields untouched.
            for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
                QVERIFY(f.context->shortcuts().contains(it.key()));
                QCOMPARE(it.key()->isFavorite(), it->favorite);
                QCOMPARE(it.key()->notes(), it->notes);
                QCOMPARE(it.key()->folder(), it->folder);
                QCOMPARE(it.key()->tags(), it->tags);
                QCOMPARE(it.key()->runCount(), it->runs);
            }
            // The user edits some records between syncs.
            for (ShortcutItem *i : f.context->shortcuts()) {
                if (!expected.contains(i) || rng.bounded(4) == 0) {
                    i->setIsFavorite(rng.bounded(2));
                    i->setNotes(QStringLiteral("n%1").arg(step));
                    i->setFolder(rng.bounded(2) ? folder : nullptr);
                    i->setTags(rng.bounded(2) ? QList<Tag *>{tag} : QList<Tag *>{});
                    i->setRunCount(step);
                    expected[i] = {i->isFavorite(), i->notes(), i->folder(), i->tags(),
                                   i->runCount()};
                }
            }
        }
        QVERIFY(expected.size() >= 6);
    }

    // An exported organisation imported into an empty library comes back whole once a sync has
    // linked the placeholders the import left.
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

QTEST_GUILESS_MAIN(TestSyncMerge)
#include "tst_sync_merge.moc"
