// The helper shortcut's imports, the icon queue, the database pass and the icon upgrades.
#include "SyncTestSupport.h"
#include "common/TestImages.h"
#include "model/Clock.h"
#include "shortcuts/IconProcessing.h"
#include "simulator/SimulatedHelperShortcut.h"
#include "simulator/SimulatedIconRenderer.h"
#include "simulator/SimulatedWorkspace.h"
#include "sync/SyncIntents.h"

#include <QCoro/QCoroSignal>
#include <QCoro/QCoroTimer>
#include <QFile>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTimer>

namespace {
class FakeAppIcons final : public AppIconSource {
public:
    QHash<QString, QByteArray> local;
    QHash<QString, QByteArray> remote;
    QStringList localAsked;
    QStringList remoteAsked;
    std::optional<QByteArray> icon(const QString &bundleID) override
    {
        localAsked.append(bundleID);
        return local.contains(bundleID) ? std::optional(local[bundleID]) : std::nullopt;
    }
    QCoro::Task<std::optional<QByteArray>> remoteIcon(QString bundleID) override
    {
        remoteAsked.append(bundleID);
        co_return remote.contains(bundleID) ? std::optional(remote[bundleID]) : std::nullopt;
    }
    bool isDrawnSymbolIcon(const QString &bundleID) const override
    {
        return bundleID == QLatin1String("com.apple.Health");
    }
};

} // namespace

class TestSyncHelperIcons : public QObject {
    Q_OBJECT
    QDateTime m_now;

private slots:
    void init()
    {
        m_now = QDateTime(QDate(2024, 1, 1), QTime(8, 0), Qt::UTC);
        Clock::setOverride([this] { return m_now; });
    }
    void cleanup()
    {
        Clock::setOverride({});
        SimulatedHelperShortcut::setIntentSender({});
    }

    // What an import turns into before it is merged.
    void importSnapshots()
    {
        SyncFixture f;
        QString error;
        auto request = ImportShortcutRequest::fromArguments(
            {"--name", " Morning ", "--identifier", " \t\n", "--position", "1"}, &error);
        QVERIFY2(request, qPrintable(error));
        ShortcutSnapshot s = QCoro::waitFor(SyncIntents::snapshot(*request));
        QCOMPARE(s.identifier, QString());
        QCOMPARE(s.name, QStringLiteral(" Morning ")); // names are taken as given
        QCOMPARE(s.libraryOrder, 0);
        for (const char *position : {"0", "-3", "-9223372036854775808"}) {
            request = ImportShortcutRequest::fromArguments({"--name", "N", "--position", position},
                                                           &error);
            QVERIFY2(request, qPrintable(error));
            QCOMPARE(QCoro::waitFor(SyncIntents::snapshot(*request)).libraryOrder, 0);
        }
        request->position = std::numeric_limits<qint64>::max();
        QCOMPARE(QCoro::waitFor(SyncIntents::snapshot(*request)).libraryOrder,
                 std::numeric_limits<qint64>::max() - 1);

        const QString icon = f.dir.filePath(QStringLiteral("icon.png"));
        QFile file(icon);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(SimulatedIconRenderer::renderPNG(QStringLiteral("star"), QColor(Qt::red),
                                                    QColor(255, 149, 0)));
        file.close();
        request = ImportShortcutRequest::fromArguments({"--name", "N", "--icon", icon}, &error);
        s = QCoro::waitFor(SyncIntents::snapshot(*request));
        QVERIFY(s.processedIcon);
        QCOMPARE(s.colorHex, s.processedIcon->topHex);
        // An unreadable icon leaves the import without icon.
        request->iconPath = f.dir.filePath(QStringLiteral("nothing.png"));
        QVERIFY(!QCoro::waitFor(SyncIntents::snapshot(*request)).processedIcon);

        for (const QStringList &bad : {QStringList{"--identifier", "X"},
                                       {"--name"},
                                       {"--name", "N", "--position", "one"},
                                       {"--name", "N", "--created", "yesterday"},
                                       {"--name", "N", "--colour", "red"}})
            QVERIFY(!ImportShortcutRequest::fromArguments(bad, &error));
        // No nameless records: an empty or blank name is refused, saying why.
        for (const char *blank : {"", " ", "\t \n"}) {
            error.clear();
            QVERIFY2(!ImportShortcutRequest::fromArguments({"--name", blank}, &error), blank);
            QCOMPARE(error, QStringLiteral("--name needs a name that is not blank"));
        }
    }

    // Imports within 0.8 s of the first of a batch are merged together.
    void batching()
    {
        SyncFixture f;
        auto &c = *f.controller;
        c.enqueueImport(snapshot("A", "Alpha"));
        QVERIFY(c.isFlushScheduled());
        QTest::qWait(300);
        c.enqueueImport(snapshot("B", "Beta"));
        QCOMPARE(c.pendingImportCount(), 2);
        QVERIFY(f.context->shortcuts().isEmpty());
        m_now = m_now.addSecs(1); // the merge's time, taken once for the batch
        QTRY_COMPARE_WITH_TIMEOUT(c.pendingImportCount(), 0, 2000);
        QCOMPARE(f.context->shortcuts().size(), 2);
        QCOMPARE(f.item("A")->lastSeenAt(), m_now);
        QCOMPARE(f.item("B")->lastSeenAt(), m_now);
        QVERIFY(!c.isFlushScheduled());
    }

    // Begin, imports and Finish, including the odd orders a helper can produce.
    void finishing()
    {
        SyncFixture f;
        auto &c = *f.controller;
        c.merge({snapshot("A", "Alpha"), snapshot("B", "Beta"), snapshot("C", "Gamma")});

        // Finish without Begin: nothing missing, the total is every record.
        auto summary = c.finishIncrementalSync();
        QCOMPARE(*summary, (SyncSummary{0, 0, 0, 3}));

        m_now = m_now.addSecs(10);
        c.beginIncrementalSync();
        QVERIFY(f.settings->contains(LibrarySyncController::incrementalSyncStartedAtKey));
        m_now = m_now.addSecs(1);
        c.enqueueImport(snapshot("A", "Alpha"));
        c.enqueueImport(snapshot("", "Gamma"));
        // Finish right after the burst: the queued imports are merged first.
        summary = c.finishIncrementalSync();
        QCOMPARE(*summary, (SyncSummary{0, 0, 1, 2}));
        QCOMPARE(c.lastSummaryText(), QStringLiteral("2 shortcuts \u00B7 1 missing"));
        QVERIFY(f.item("B")->isMissing());
        QVERIFY(!f.item("A")->isMissing() && !f.item("C")->isMissing());
        QVERIFY(!f.settings->contains(LibrarySyncController::incrementalSyncStartedAtKey));
        QCOMPARE(c.lastSyncDate(), m_now);
        QCOMPARE(c.pendingImportCount(), 0);
        // A second Finish uses the distant past and marks nothing more.
        summary = c.finishIncrementalSync();
        QCOMPARE(*summary, (SyncSummary{0, 0, 0, 3}));
    }

    // The helper shortcut: install through the workspace, run through the intent sender.
    void helperShortcut()
    {
        SyncFixture f;
        f.add("A", "Alpha").createdAt = QDateTime(QDate(2021, 3, 4), QTime(5, 6), Qt::UTC);
        f.add("B", "Beta");
        f.publish();
        auto &c = *f.controller;
        c.setImportBatchInterval(std::chrono::milliseconds(50));

        runToEnd(c.runHelperShortcut());
        QCOMPARE(c.lastError(), QStringLiteral("The \u201CSync Thimblecraft\u201D shortcut isn't "
                                               "installed yet. Use File \u203A Install Helper "
                                               "Shortcut first."));

        SimulatedWorkspace workspace(f.dir.filePath(QStringLiteral("workspace.log")));
        SimulatedHelperShortcut::setLibraryPath(f.libraryPath);
        c.setWorkspace(&workspace);
        c.setHelperShortcutPath(QString()); // the bundled file
        c.installHelperShortcut();
        QVERIFY(c.helperShortcutPath().endsWith(QLatin1String("Sync Thimblecraft.shortcut")));
        QCOMPARE(workspace.entries().size(), 1);
        QVERIFY(SimulatedLibrary::load(f.libraryPath, nullptr)->shortcutNamed("Sync Thimblecraft"));

        // The intents run on the main thread; the helper calls them from the bridge's queue.
        LibrarySyncController *controller = &c;
        SimulatedHelperShortcut::setIntentSender([controller](const QString &action,
                                                              const QStringList &arguments) {
            SyncIntents::Outcome outcome;
            QMetaObject::invokeMethod(
                controller,
                [&] {
                    outcome = QCoro::waitFor(SyncIntents::perform(*controller, action, arguments));
                },
                Qt::BlockingQueuedConnection);
            return SimulatedHelperShortcut::IntentResult{outcome.ok, outcome.text};
        });
        runToEnd(c.runHelperShortcut());
        QCOMPARE(c.lastError(), QString());
        QCOMPARE(c.lastSummaryText(), QStringLiteral("3 shortcuts"));
        QCOMPARE(f.item("A")->nativeCreatedAt(), f.library.shortcuts[0].createdAt);
        QCOMPARE(f.item("B")->libraryOrder(), 1);
        QVERIFY(f.item("B")->hasIconData());
        QCOMPARE(f.item("A")->colorHex(), f.item("A")->iconTopHex());

        // Shortcuts Events not running: the bridge's own text.
        auto library = *SimulatedLibrary::load(f.libraryPath, nullptr);
        library.switches.running = false;
        QVERIFY(library.save(f.libraryPath));
        runToEnd(c.runHelperShortcut());
        QCOMPARE(c.lastError(), QStringLiteral("Shortcuts Events isn't available on this Mac."));
    }

    // Where the helper file comes from, and a copy that cannot be written.
    void helperShortcutFile()
    {
        QStandardPaths::setTestModeEnabled(true);
        SyncFixture f;
        auto &c = *f.controller;
        SimulatedWorkspace workspace(f.dir.filePath(QStringLiteral("workspace.log")));
        c.setWorkspace(&workspace);
        c.setHelperShortcutPath(QString()); // the bundled file
        // Something that is not a file stands where the copy goes.
        const QString copy = QStandardPaths::writableLocation(QStandardPaths::CacheLocation) +
                             QStringLiteral("/Sync Thimblecraft.shortcut");
        QFile::remove(copy);
        QVERIFY(QDir().mkpath(copy + QStringLiteral("/in the way")));
        const auto cleanUp = qScopeGuard([copy] { QDir(copy).removeRecursively(); });
        c.installHelperShortcut();
        QVERIFY2(
            c.lastError().startsWith(QStringLiteral("The helper shortcut couldn't be copied to ")),
            qPrintable(c.lastError()));
        QVERIFY(workspace.entries().isEmpty());

        // The file shipped in the bundle's Resources is used as it is.
        c.setBundleResourcesPath(f.dir.path());
        QFile shipped(f.dir.filePath(QStringLiteral("Sync Thimblecraft.shortcut")));
        QVERIFY(shipped.open(QIODevice::WriteOnly));
        shipped.write("signed helper");
        shipped.close();
        QCOMPARE(c.helperShortcutPath(), QFileInfo(shipped).canonicalFilePath());
        c.installHelperShortcut();
        QCOMPARE(workspace.entries().size(), 1);
        QCOMPARE(workspace.entries().constFirst().value(QLatin1String("target")).toString(),
                 QFileInfo(shipped).canonicalFilePath());
        // Without it, the built-in copy.
        QVERIFY(shipped.remove());
        QDir(copy).removeRecursively();
        QVERIFY(c.helperShortcutPath().endsWith(QLatin1String("Sync Thimblecraft.shortcut")));
        QVERIFY(QFileInfo(c.helperShortcutPath()).isFile());
    }

    // Cycles of eight with their phases; duplicates, priorities and placeholders.
    void iconQueue()
    {
        SyncFixture f;
        QList<ShortcutSnapshot> list;
        for (const QString &id : ids(0, 20)) {
            f.add(id, id);
            list.append(snapshot(id, id));
        }
        list.append(snapshot("", "Placeholder"));
        f.publish();
        auto &c = *f.controller;
        c.merge(list);

        QList<SyncPhase> phases;
        connect(&c, &LibrarySyncController::phaseChanged, this, [&] { phases.append(c.phase()); });
        c.startIconFetch();
        QCOMPARE(c.iconsTotal(), 20);
        c.enqueueIcons({"ID3", "ID19"}); // already queued: nothing changes
        QCOMPARE(c.iconsTotal(), 20);
        QCOMPARE(c.iconQueue().size(), 19); // the worker took the first one
        c.prioritizeIcon(f.item("ID17"));
        c.prioritizeIcon(f.item("name:Placeholder"));
        QCOMPARE(c.priorityIdentifiers(), QStringList{"ID17"});
        runToEnd(c.iconFetchFinished());
        QCOMPARE(phases, (QList<SyncPhase>{SyncPhase::icons(8, 20), SyncPhase::icons(16, 20),
                                           SyncPhase::icons(20, 20), SyncPhase::idle()}));
        QCOMPARE(c.iconsTotal(), 0);
        QCOMPARE(c.iconsCompleted(), 0);
        for (const QString &id : ids(0, 20))
            QVERIFY2(f.item(id)->hasIconData(), qPrintable(id));
        QVERIFY(!f.item("name:Placeholder")->hasIconData());

        // A record that already has an icon is not prioritized.
        c.enqueueIcons({"ID1"});
        c.prioritizeIcon(f.item("ID1"));
        QVERIFY(c.priorityIdentifiers().isEmpty());
        runToEnd(c.iconFetchFinished());
    }

    // Refused scripted icons block the queue until a retry, also across a restart.
    void blockedIcons()
    {
        SyncFixture f;
        for (const QString &id : ids(0, 5))
            f.add(id, id);
        f.library.switches.scriptedIconsAllowed = false;
        f.publish();
        runToEnd(f.controller->sync());
        runToEnd(f.controller->iconFetchFinished());
        QVERIFY(f.controller->iconFetchBlocked());
        QVERIFY(f.controller->iconQueue().isEmpty());
        QVERIFY(f.controller->phase().isIdle());
        QVERIFY(f.controller->lastError().isEmpty());

        f.restart();
        QVERIFY(f.controller->iconFetchBlocked());
        f.library.switches.scriptedIconsAllowed = true;
        f.publish();
        runToEnd(f.controller->sync());
        QVERIFY(!f.controller->iconFetchRunning()); // nothing queued while blocked
        QVERIFY(!f.item("ID0")->hasIconData());

        f.item("ID4")->setIconData(QByteArray("old"));
        f.controller->retryIcons();
        QVERIFY(!f.controller->iconFetchBlocked());
        QCOMPARE(f.controller->iconsTotal(), 5); // those with icons too
        runToEnd(f.controller->iconFetchFinished());
        QVERIFY(f.item("ID4")->iconData() != QByteArray("old"));
        QCOMPARE(f.settings->value(LibrarySyncController::iconFetchBlockedKey).toBool(), false);
    }

    // Dates, last runs and app icons from the Shortcuts database.
    void databasePass()
    {
        SyncFixture f;
        auto &c = *f.controller;
        c.merge({snapshot("A", "Mail 1"), snapshot("B", "Mail 2"), snapshot("C", "Own icon"),
                 snapshot("D", "Unknown app"), snapshot("E", "Health")});
        auto icons = std::make_shared<FakeAppIcons>();
        icons->local.insert(QStringLiteral("com.apple.mail"), QByteArray("mail-png"));
        icons->remote.insert(QStringLiteral("com.example.remote"), QByteArray("remote-png"));
        c.setAppIconSource(icons);
        f.item("C")->setIconData(QByteArray("app-icon"));
        f.item("C")->setIconAppBundleID(QStringLiteral("com.apple.notes"));
        f.item("E")->setIconData(QByteArray("old-drawing"));
        f.item("E")->setIconAppBundleID(QStringLiteral("com.apple.Health"));
        const QDateTime ran(QDate(2024, 2, 2), QTime(2, 2), Qt::UTC);
        f.item("A")->setLastRunAt(ran.addDays(1)); // later than the database's: kept

        ShortcutsDatabase::Rows rows;
        auto row = [&](const char *id, std::optional<QString> app, bool own = false) {
            ShortcutsDatabase::Row r;
            r.workflowID = QString::fromLatin1(id);
            r.appBundleID = app;
            r.userProvidedIcon = own;
            r.createdAt = QDateTime(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC);
            r.lastRunAt = ran;
            rows.insert(r.workflowID, r);
        };
        row("A", QStringLiteral("com.apple.mail"));
        row("B", QStringLiteral("com.apple.mail"));
        row("C", QStringLiteral("com.apple.notes"), true);
        row("D", QStringLiteral("com.example.nowhere"));
        row("E", QStringLiteral("com.example.remote"));
        c.setDatabaseRowsLoader(
            [rows]() -> QCoro::Task<std::optional<ShortcutsDatabase::Rows>> { co_return rows; });
        runToEnd(c.refreshFromDatabase());

        QCOMPARE(f.item("A")->iconData(), QByteArray("mail-png"));
        QCOMPARE(f.item("B")->iconAppBundleID(), QStringLiteral("com.apple.mail"));
        QCOMPARE(icons->localAsked.count(QStringLiteral("com.apple.mail")), 1); // one per app
        QCOMPARE(f.item("A")->lastRunAt(), ran.addDays(1));
        QCOMPARE(f.item("B")->lastRunAt(), ran);
        QCOMPARE(f.item("B")->nativeCreatedAt(), rows["B"].createdAt);
        // The user's own icon: no app, and the app icon goes so the glyph is fetched again.
        QCOMPARE(f.item("C")->appBundleID(), QString());
        QVERIFY(!f.item("C")->hasIconData());
        // Found nowhere: no app icon.
        QCOMPARE(f.item("D")->appBundleID(), QStringLiteral("com.example.nowhere"));
        QCOMPARE(f.item("D")->iconAppBundleID(), QString());
        // An old drawing is made again; here the remote artwork wins.
        QCOMPARE(f.item("E")->iconData(), QByteArray("remote-png"));
        QCOMPARE(f.settings->value(LibrarySyncController::drawnAppIconVersionKey).toInt(), 2);

        // A glyph fetched later keeps the app icon's image; only the colours change.
        SyncMerge::apply(
            [] {
                ShortcutSnapshot s = snapshot("A", "Mail 1");
                s.processedIcon = IconProcessing::Result{"glyph", "#111111", "#222222"};
                return s;
            }(),
            f.item("A"), QDateTime::currentDateTimeUtc());
        QCOMPARE(f.item("A")->iconData(), QByteArray("mail-png"));
        QCOMPARE(f.item("A")->iconTopHex(), QStringLiteral("#111111"));
    }

    // A database pass asked for while one reads shares that read.
    void overlappingDatabasePassesShareOneRead()
    {
        SyncFixture f;
        auto &c = *f.controller;
        c.merge({snapshot("A", "Alpha")});
        int reads = 0;
        c.setDatabaseRowsLoader([&reads]() -> QCoro::Task<std::optional<ShortcutsDatabase::Rows>> {
            ++reads;
            // Long enough for the second pass to be asked for while this one reads.
            auto reading = QCoro::sleepFor(std::chrono::milliseconds(50));
            co_await reading;
            ShortcutsDatabase::Rows rows;
            ShortcutsDatabase::Row row;
            row.workflowID = QStringLiteral("A");
            row.lastRunAt = QDateTime(QDate(2024, 1, 1), QTime(0, 0), Qt::UTC);
            rows.insert(row.workflowID, row);
            co_return rows;
        });
        auto first = c.refreshFromDatabase();
        auto second = c.refreshFromDatabase();
        runToEnd(std::move(first));
        runToEnd(std::move(second));
        QCOMPARE(reads, 1);
        QVERIFY(f.item("A")->lastRunAt().has_value());

        // Once it has ended, the next pass reads afresh.
        runToEnd(c.refreshFromDatabase());
        QCOMPARE(reads, 2);
    }

    void iconUpgrades()
    {
        SyncFixture f;
        f.controller->merge({snapshot("A", "Alpha"), snapshot("B", "Beta")});
        const QByteArray png = SimulatedIconRenderer::renderPNG(QStringLiteral("star"),
                                                                QColor(Qt::red), QColor(Qt::blue));
        f.item("A")->setIconData(png);
        f.item("A")->setIconTopHex(QStringLiteral("#AAAAAA"));
        f.item("A")->setIconBottomHex(QStringLiteral("#BBBBBB"));

        // From format 3 only the colours are exchanged (the stored image is a sound one).
        f.settings->setValue(LibrarySyncController::iconFormatVersionKey, 3);
        runToEnd(f.controller->upgradeStoredIcons());
        QCOMPARE(f.item("A")->iconTopHex(), QStringLiteral("#BBBBBB"));
        QCOMPARE(f.item("A")->iconData(), png);
        QCOMPARE(f.settings->value(LibrarySyncController::iconFormatVersionKey).toInt(), 5);

        // From nothing: processed, cropped, then exchanged.
        f.item("A")->setIconTopHex(QString());
        f.settings->remove(LibrarySyncController::iconFormatVersionKey);
        runToEnd(f.controller->upgradeStoredIcons());
        const auto processed = IconProcessing::process(png);
        QVERIFY(processed);
        QCOMPARE(f.item("A")->iconTopHex(), processed->bottomHex);
        QCOMPARE(f.item("A")->iconBottomHex(), processed->topHex);
        QVERIFY(f.item("A")->iconData() != png);
        QVERIFY(!f.item("B")->hasIconData());
    }

    // Glyphs that the earlier crop cut away or shifted are fetched again; sound ones stay.
    void glyphsOfTheOldCropAreFetchedAgain()
    {
        SyncFixture f;
        for (const char *id : {"Empty", "Shifted", "Sound", "App"})
            f.add(id, id);
        f.publish();
        f.controller->merge({snapshot("Empty", "Empty"), snapshot("Shifted", "Shifted"),
                             snapshot("Sound", "Sound"), snapshot("App", "App")});
        auto glyph = [](QRect ink) {
            QImage image(40, 40, QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::transparent);
            QPainter(&image).fillRect(ink, Qt::white);
            return encodedImage(image);
        };
        QImage clear(30, 30, QImage::Format_ARGB32_Premultiplied);
        clear.fill(Qt::transparent);
        const QByteArray shifted = glyph(QRect(0, 0, 40, 12));
        const QByteArray sound = glyph(QRect(0, 14, 40, 12));
        f.item("Empty")->setIconData(encodedImage(clear));
        f.item("Shifted")->setIconData(shifted);
        f.item("Sound")->setIconData(sound);
        f.item("App")->setIconData(shifted);
        f.item("App")->setIconAppBundleID(QStringLiteral("com.example.app"));
        for (const char *id : {"Empty", "Shifted", "Sound"}) {
            f.item(id)->setIconTopHex(QStringLiteral("#102030"));
            f.item(id)->setIconBottomHex(QStringLiteral("#405060"));
        }
        f.settings->setValue(LibrarySyncController::iconFormatVersionKey, 4);
        runToEnd(f.controller->upgradeStoredIcons());
        QCOMPARE(f.settings->value(LibrarySyncController::iconFormatVersionKey).toInt(),
                 LibrarySyncController::currentIconFormatVersion);
        QVERIFY(!f.item("Empty")->hasIconData());
        QVERIFY(!f.item("Shifted")->hasIconData());
        QCOMPARE(f.item("Shifted")->iconTopHex(), QStringLiteral("#102030")); // colours stay
        QCOMPARE(f.item("Sound")->iconData(), sound);
        QCOMPARE(f.item("App")->iconData(), shifted); // an app's icon is no glyph

        // The queue brings them back.
        f.controller->startIconFetch();
        runToEnd(f.controller->iconFetchFinished());
        QVERIFY(f.item("Empty")->hasIconData());
        QVERIFY(f.item("Shifted")->hasIconData());
    }
};

QTEST_GUILESS_MAIN(TestSyncHelperIcons)
#include "tst_sync_helper_icons.moc"
