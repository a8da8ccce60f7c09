// The run history: what each kind of run records, its bounds, and how it lives with the
// library's records (re-link, missing, deletion, clearing, migration of older libraries).

#include "common/FakeWorkspace.h"
#include "common/ScriptedHost.h"
#include "model/AppSettings.h"
#include "model/Clock.h"
#include "model/LibrarySettings.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "shortcuts/ShortcutRunner.h"
#include "shortcuts/ShortcutsEventsBridge.h"

#include <QTemporaryDir>
#include <QTest>

using Desc = AppleEventDescriptor;

class TestRunHistory : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { AppSettings::useDataDirectory(m_dir.path()); }
    void init()
    {
        Clock::setOverride([this] { return m_now; });
        LibrarySettings::setKeepRunHistory(true);
        m_host = std::make_shared<ScriptedHost>(true);
        m_host->answer = [](const QString &script) {
            if (script.contains(QStringLiteral("ID-2")))
                return ScriptHostReply::failure(-1728, QStringLiteral("Can’t get shortcut."));
            return ScriptHostReply::success(
                Desc::list({Desc::text(QStringLiteral("done\nmore")), Desc::null()}));
        };
        m_bridge = std::make_unique<ShortcutsEventsBridge>(m_host);
        m_runner = std::make_unique<ShortcutRunner>(m_bridge.get(), &m_workspace);
        QFile::remove(LibraryStoreContainer::storePath(m_dir.path()));
        QString error;
        m_context = LibraryStoreContainer::open(m_dir.path(), &error);
        QVERIFY2(m_context, qPrintable(error));
        m_runner->setCallbackContext(m_context.get());
    }

    void cleanup()
    {
        m_host->gate.release(100);
        m_runner.reset();
        m_context.reset();
        Clock::setOverride({});
    }

    void everySourceRecordsOnce()
    {
        auto *item = add("ID-1", "Ok");
        auto *broken = add("ID-2", "Broken");
        QVERIFY(m_context->save());

        // The count and an unfinished entry are saved together, before the run starts.
        m_runner->run(item, QStringLiteral("in"), RunSource::link);
        QVERIFY(!m_context->hasChanges());
        QList<RunEntry> entries = historyOf(item);
        QCOMPARE(entries.size(), 1);
        QCOMPARE(entries[0].outcome, RunOutcome::none);
        QCOMPARE(entries[0].input, std::optional<QString>(QStringLiteral("in")));
        QCOMPARE(entries[0].source, RunSource::link);
        QCOMPARE(item->runCount(), 1);
        m_host->gate.release();
        QTRY_VERIFY(m_runner->runningIdentifiers().isEmpty());
        entries = historyOf(item);
        QCOMPARE(entries.size(), 1);
        QCOMPARE(entries[0].outcome, RunOutcome::succeeded);
        QCOMPARE(entries[0].text, QStringLiteral("done\nmore"));
        QCOMPARE(entries[0].firstLine(), QStringLiteral("done"));
        QVERIFY(entries[0].durationMs.has_value());
        QCOMPARE(entries[0].startedAt, m_now);
        QCOMPARE(item->lastRunOutcome(), RunOutcome::succeeded);

        const RunEntry failed = runAndWait(broken, std::nullopt, RunSource::commandLine);
        QCOMPARE(failed.outcome, RunOutcome::failed);
        QVERIFY(failed.text.contains(QStringLiteral("Can’t get shortcut")));
        QVERIFY(!failed.input.has_value());
        QCOMPARE(failed.source, RunSource::commandLine);
        QCOMPARE(broken->lastRunOutcome(), RunOutcome::failed);

        runAndWait(item, std::nullopt, RunSource::window);
        m_runner->handleCallbackURL(
            QStringLiteral("thimblecraft://run-error?name=Ok&errorMessage=No"));
        entries = historyOf(item);
        QCOMPARE(entries.size(), 3);
        QCOMPARE(entries[0].source, RunSource::callback);
        QCOMPARE(entries[0].outcome, RunOutcome::failed);
        QCOMPARE(entries[0].text, QStringLiteral("No"));
        QVERIFY(!entries[0].durationMs.has_value());
        QCOMPARE(entries[1].source, RunSource::window);
        QCOMPARE(item->lastRunOutcome(), RunOutcome::failed);

        RunHistoryFilter failedOnly;
        failedOnly.failedOnly = true;
        QCOMPARE(m_context->runHistory(failedOnly).size(), 2);
        RunHistoryFilter since;
        since.since = m_now.addSecs(1);
        QVERIFY(m_context->runHistory(since).isEmpty());
    }

    void keptOnlyWhenAsked()
    {
        auto *item = add("ID-1", "Ok");
        LibrarySettings::setKeepRunHistory(false);
        runAndWait(item, std::nullopt, RunSource::window);
        m_runner->handleCallbackURL(QStringLiteral("thimblecraft://run-error?name=Ok"));
        QVERIFY(historyOf(item).isEmpty());
        // The outcome of the last run is the shortcut's own, kept either way.
        QCOMPARE(item->lastRunOutcome(), RunOutcome::failed);
        QCOMPARE(item->runCount(), 1);
    }

    void callbacksNameOneShortcut()
    {
        auto *a = add("ID-1", "Twin");
        auto *b = add("ID-2", "Twin");
        auto *c = add("ID-3", "twin");
        QVERIFY(m_context->save());
        m_runner->handleCallbackURL(QStringLiteral("thimblecraft://run-success?name=Twin"));
        m_runner->handleCallbackURL(QStringLiteral("thimblecraft://run-success?name=Nobody"));
        QVERIFY(historyOf(a).isEmpty());
        QVERIFY(historyOf(b).isEmpty());
        QCOMPARE(a->lastRunOutcome(), RunOutcome::none);
        m_runner->handleCallbackURL(
            QStringLiteral("thimblecraft://run-success?name=twin&result=x"));
        QCOMPARE(historyOf(c).size(), 1);
        QCOMPARE(historyOf(c).first().text, QStringLiteral("x"));
        QCOMPARE(c->runCount(), 0); // the run was counted by whoever started it
    }

    void boundsAndTruncation()
    {
        auto *busy = add("ID-1", "A");
        auto *other = add("ID-2", "B");
        QVERIFY(m_context->save());
        auto addRuns = [&](ShortcutItem *item, int count) {
            for (int i = 0; i < count; ++i) {
                RunEntry e;
                e.itemId = item->persistentId();
                e.startedAt = m_now.addSecs(i);
                e.text = QString::number(i);
                e.outcome = RunOutcome::succeeded;
                m_context->addRunEntry(e);
            }
            QVERIFY(m_context->save());
        };
        addRuns(busy, RunEntry::maxPerShortcut + 5);
        QList<RunEntry> kept = historyOf(busy);
        QCOMPARE(kept.size(), RunEntry::maxPerShortcut);
        QCOMPARE(kept.first().text, QString::number(RunEntry::maxPerShortcut + 4));
        QCOMPARE(kept.last().text, QStringLiteral("5"));

        // Over the whole library the oldest go, whichever shortcut they belong to.
        for (int i = 0; i < RunEntry::maxEntries / RunEntry::maxPerShortcut; ++i) {
            auto *item = add(QStringLiteral("F-%1").arg(i), "F");
            addRuns(item, RunEntry::maxPerShortcut);
        }
        QVERIFY(historyOf(busy).isEmpty());
        QCOMPARE(m_context->runHistory({}).size(), RunEntry::maxEntries);
        QVERIFY(historyOf(other).isEmpty());

        // Texts are cut on a character boundary, the marker included in the bound.
        const QString emoji = QStringLiteral("🧵");
        for (const QString &unit : {QStringLiteral("a"), QStringLiteral("é"), emoji}) {
            const QString huge = unit.repeated(RunEntry::maxTextBytes + 1);
            const QString capped = RunEntry::capped(huge);
            QVERIFY(capped.toUtf8().size() <= RunEntry::maxTextBytes);
            QVERIFY(capped.toUtf8().size() > RunEntry::maxTextBytes - 8);
            QVERIFY(capped.endsWith(QStringLiteral("…(truncated)")));
            QVERIFY(!capped.chopped(12).back().isHighSurrogate());
        }
        const QString fits = QStringLiteral("é").repeated(RunEntry::maxTextBytes / 2);
        QCOMPARE(RunEntry::capped(fits), fits);
        RunEntry big;
        big.itemId = other->persistentId();
        big.input = emoji.repeated(RunEntry::maxTextBytes);
        big.text = big.input.value();
        m_context->addRunEntry(big);
        QVERIFY(m_context->save());
        const RunEntry stored = historyOf(other).first();
        QVERIFY(stored.input->endsWith(QStringLiteral("…(truncated)")));
        QVERIFY(stored.text.endsWith(QStringLiteral("…(truncated)")));
    }

    void followsTheRecord()
    {
        auto *placeholder = add("name:Lights", "Lights");
        auto *gone = add("ID-9", "Gone");
        QVERIFY(m_context->save());
        runAndWait(placeholder, std::nullopt, RunSource::window);
        runAndWait(gone, std::nullopt, RunSource::window);
        runAndWait(gone, std::nullopt, RunSource::window);

        // Re-linked and then missing: the same record, the same history, after reopening too.
        placeholder->setIdentifier(QStringLiteral("ID-1"));
        placeholder->setIsMissing(true);
        QVERIFY(m_context->save());
        m_context.reset();
        QString error;
        m_context = LibraryStoreContainer::open(m_dir.path(), &error);
        QVERIFY2(m_context, qPrintable(error));
        ShortcutItem *relinked = m_context->shortcuts().first();
        QCOMPARE(historyOf(relinked).size(), 1);
        QCOMPARE(relinked->lastRunOutcome(), RunOutcome::succeeded);

        gone = m_context->shortcuts().last();
        m_context->clearRunHistory(gone);
        QVERIFY(m_context->save());
        QVERIFY(historyOf(gone).isEmpty());
        QCOMPARE(historyOf(relinked).size(), 1);
        RunEntry e;
        e.itemId = gone->persistentId();
        m_context->addRunEntry(e);
        m_context->deleteRecord(gone);
        QVERIFY(m_context->save());
        QCOMPARE(m_context->runHistory({}).size(), 1); // a deleted record takes its history along
        m_context->clearRunHistory();
        QVERIFY(m_context->save());
        QVERIFY(m_context->runHistory({}).isEmpty());
    }

    void olderLibrariesMigrate()
    {
        m_context.reset();
        const QString path = LibraryStoreContainer::storePath(m_dir.path());
        QFile::remove(path);
        {
            SqliteDatabase db;
            QVERIFY(db.open(path, SqliteDatabase::Mode::readWriteCreate));
            for (int v = 1; v <= 2; ++v)
                QVERIFY(db.exec(LibraryStore::migrationSql(v)));
            QVERIFY(db.exec(QStringLiteral(
                "PRAGMA user_version=2;"
                "INSERT INTO shortcut_items (id, identifier, name, subtitle, native_folder_name, "
                "color_hex, icon_top_hex, icon_bottom_hex, app_bundle_id, icon_app_bundle_id, "
                "accepts_input, action_count, first_seen_at, last_changed_at, is_favorite, "
                "last_run_at, run_count, notes, has_icon) VALUES (7, 'ID-7', 'Old', '', '', '', "
                "'', "
                "'', '', '', 0, 3, 0, 0, 1, 100, 12, 'kept', 0);"
                "INSERT INTO shortcut_sync_state VALUES (7, 0, 0, 0);")));
        }
        QString error;
        m_context = LibraryStoreContainer::open(m_dir.path(), &error);
        QVERIFY2(m_context, qPrintable(error));
        QCOMPARE(m_context->shortcuts().size(), 1);
        ShortcutItem *old = m_context->shortcuts().first();
        QCOMPARE(old->runCount(), 12);
        QCOMPARE(old->notes(), QStringLiteral("kept"));
        QVERIFY(old->isFavorite());
        QCOMPARE(old->lastRunOutcome(), RunOutcome::none);
        QVERIFY(historyOf(old).isEmpty());
        runAndWait(old, std::nullopt, RunSource::window);
        QCOMPARE(historyOf(old).size(), 1);
    }

private:
    RunEntry runAndWait(ShortcutItem *item, const std::optional<QString> &input, RunSource source)
    {
        m_runner->run(item, input, source);
        m_host->gate.release();
        [&] { QTRY_VERIFY(m_runner->runningIdentifiers().isEmpty()); }();
        const QList<RunEntry> entries = historyOf(item);
        return entries.isEmpty() ? RunEntry() : entries.first();
    }

    ShortcutItem *add(const QString &identifier, const QString &name)
    {
        return m_context->insert(new ShortcutItem(identifier, name));
    }

    QList<RunEntry> historyOf(const ShortcutItem *item) const
    {
        RunHistoryFilter filter;
        filter.itemId = item->persistentId();
        return m_context->runHistory(filter);
    }

    QTemporaryDir m_dir;
    std::shared_ptr<ScriptedHost> m_host;
    std::unique_ptr<ShortcutsEventsBridge> m_bridge;
    FakeWorkspace m_workspace;
    std::unique_ptr<ShortcutRunner> m_runner;
    std::unique_ptr<ModelContext> m_context;
    QDateTime m_now = QDateTime(QDate(2026, 5, 6), QTime(7, 8, 9), Qt::UTC);
};

QTEST_GUILESS_MAIN(TestRunHistory)
#include "tst_runhistory.moc"
