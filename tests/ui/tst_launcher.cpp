// Quick Run driven by real key events in the window, the tray menu following favourites and
// runs, and the window closing to the tray until Quit.

#include "MenuText.h"
#include "WindowTestSupport.h"
#include "app/AppUpdater.h"
#include "app/LibraryCommands.h"
#include "app/SettingsDialog.h"
#include "app/TrayPresence.h"
#include "common/FakeWorkspace.h"
#include "common/ItemNames.h"
#include "model/Clock.h"
#include "ui/OutcomeBanner.h"
#include "ui/QuickRunPalette.h"
#include "ui/TrayMenu.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QSignalSpy>
#include <QTimer>

namespace {
// What a key did: the run's outcome title, the URL opened, the text copied, or "closed".
QString effect(const WindowFixture &f, const FakeWorkspace &workspace)
{
    if (f.runner->latestOutcome())
        return OutcomeBanner::titleFor(*f.runner->latestOutcome());
    if (!workspace.opened.isEmpty())
        return QStringLiteral("opened ") + workspace.opened.last().toString(QUrl::FullyEncoded);
    if (!QGuiApplication::clipboard()->text().isEmpty())
        return QStringLiteral("copied ") + QGuiApplication::clipboard()->text();
    return QStringLiteral("closed");
}
} // namespace

class TestLauncher : public QObject {
    Q_OBJECT
    std::unique_ptr<WindowFixture> f;
    FakeWorkspace workspace;
    std::unique_ptr<AppUpdater> updater;
    std::unique_ptr<LibraryCommands> commands;

    QuickRunPalette *palette() const { return f->window->quickRun(); }
    void keys(const QString &text) { QTest::keyClicks(palette()->searchField(), text); }

private slots:
    void init()
    {
        f = std::make_unique<WindowFixture>();
        f->add(QStringLiteral("S1"), QStringLiteral("Take a Break")).run.outputs = {
            QStringLiteral("Rested")};
        f->add(QStringLiteral("S2"), QStringLiteral("Table Tennis"));
        f->add(QStringLiteral("S3"), QStringLiteral("Echo")).run.outputs = {
            QStringLiteral("got {input}")};
        f->publish();
        workspace.opened.clear();
        QGuiApplication::clipboard()->clear();
        f->runner = std::make_unique<ShortcutRunner>(f->bridge.get(), &workspace);
        LibraryWindow &window = f->open();
        f->sync();
        updater = std::make_unique<AppUpdater>();
        commands = std::make_unique<LibraryCommands>(window, *updater);
        QApplication::setActiveWindow(&window);
        QVERIFY(QTest::qWaitForWindowActive(&window));
    }
    void cleanup()
    {
        TrayPresence::setAvailableForTesting(std::nullopt);
        Clock::setOverride({});
        QTRY_VERIFY(f->runner->runningIdentifiers().isEmpty());
        commands.reset();
        f.reset();
    }

    void keysActOnTheChosenResult_data()
    {
        QTest::addColumn<int>("downs");
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, int downs, int key, Qt::KeyboardModifiers mods,
                            const char *expected) {
            QTest::newRow(name) << downs << key << int(mods) << QString::fromUtf8(expected);
        };
        row("Enter runs the first", 0, Qt::Key_Return, Qt::NoModifier, "Ran Take a Break");
        row("keypad Enter", 0, Qt::Key_Enter, Qt::KeypadModifier, "Ran Take a Break");
        row("Down moves", 1, Qt::Key_Return, Qt::NoModifier, "Ran Table Tennis");
        row("Down stops at the end", 5, Qt::Key_Return, Qt::NoModifier, "Ran Table Tennis");
        row("Up stops at the top", -1, Qt::Key_Return, Qt::NoModifier, "Ran Take a Break");
        row("Ctrl+Enter opens in Shortcuts", 0, Qt::Key_Return, Qt::ControlModifier,
            "opened shortcuts://open-shortcut?name=Take%20a%20Break");
        row("Ctrl+C copies the name", 1, Qt::Key_C, Qt::ControlModifier, "copied Table Tennis");
        row("Escape closes", 0, Qt::Key_Escape, Qt::NoModifier, "closed");
    }
    // Ctrl+K opens Quick Run over the window; "tb" puts Take a Break first, Table Tennis next.
    void keysActOnTheChosenResult()
    {
        QFETCH(int, downs);
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(QString, expected);
        // A selection the window's Ctrl+Return would run: the panel keeps that key.
        ShortcutItem *echo = f->item(QStringLiteral("Echo"));
        f->navigation->setSelectedShortcut(echo);
        QTest::keyClick(f->window.get(), Qt::Key_K, Qt::ControlModifier);
        QVERIFY(palette()->isOpen());
        QTRY_VERIFY(palette()->searchField()->hasFocus());
        keys(QStringLiteral("tb"));
        QCOMPARE(names(palette()->results()),
                 (QStringList{QStringLiteral("Take a Break"), QStringLiteral("Table Tennis")}));
        for (int i = 0; i < std::abs(downs); ++i)
            QTest::keyClick(palette()->searchField(), downs > 0 ? Qt::Key_Down : Qt::Key_Up);
        QTest::keyClick(palette()->searchField(), Qt::Key(key), Qt::KeyboardModifiers(modifiers));
        QVERIFY(!palette()->isOpen());
        QTRY_COMPARE(effect(*f, workspace), expected);
        QCOMPARE(echo->runCount(), 0);
        if (expected.startsWith(QLatin1String("Ran ")))
            QTRY_COMPARE(f->window->banner()->titleText(), expected);
    }

    // Shift+Enter asks for input in the panel; Escape leaves the input line first, then the
    // panel; Enter in it runs with the text.
    void shiftEnterRunsWithInput()
    {
        TRIGGER_ACTION(commands->quickRun());
        keys(QStringLiteral("echo"));
        QLineEdit *input = palette()->inputField();
        QTest::keyClick(palette()->searchField(), Qt::Key_Return, Qt::ShiftModifier);
        QVERIFY(input->isVisible());
        QTRY_VERIFY(input->hasFocus());
        QCOMPARE(input->placeholderText(), QStringLiteral("Input for “Echo”"));
        QTest::keyClick(input, Qt::Key_Escape);
        QVERIFY(palette()->isOpen());
        QVERIFY(!input->isVisible());
        QTest::keyClick(palette()->searchField(), Qt::Key_Return, Qt::ShiftModifier);
        QTest::keyClicks(input, QStringLiteral("a & b"));
        QTest::keyClick(input, Qt::Key_Return);
        QVERIFY(!palette()->isOpen());
        QTRY_COMPARE(effect(*f, workspace), QStringLiteral("Ran Echo"));
        QCOMPARE(OutcomeBanner::detailFor(*f->runner->latestOutcome()),
                 QStringLiteral("got a & b"));
        // A click beside the panel closes it.
        TRIGGER_ACTION(commands->quickRun());
        QTest::mouseClick(f->window->sidebar(), Qt::LeftButton, {}, QPoint(5, 5));
        QVERIFY(!palette()->isOpen());
    }

    // Favourites by name (at most 15) and the last five runs, newest first, follow the library.
    void trayMenuFollowsFavoritesAndRuns()
    {
        TrayMenu tray(*f->context, *f->runner);
        auto entries = [&] {
            settle();
            return displayedTexts(tray.menu());
        };
        const QStringList fixed{"Quick Run…", "Sync with Shortcuts", "Open Thimblecraft", "-",
                                "Quit"};
        QCOMPARE(entries(), fixed);
        for (int i = 0; i < 20; ++i)
            f->insert(QStringLiteral("Fav %1").arg(i, 2, 10, QLatin1Char('0')))
                ->setIsFavorite(true);
        f->item(QStringLiteral("Fav 00"))->setIsMissing(true);
        QStringList favorites{QStringLiteral("Favorites")};
        for (int i = 1; i <= 15; ++i)
            favorites.append(QStringLiteral("Fav %1").arg(i, 2, 10, QLatin1Char('0')));
        QCOMPARE(entries(), favorites + QStringList{"-"} + fixed);

        // A minute between runs, so that their order is plain.
        Clock::setOverride([minutes = 0]() mutable {
            return QDateTime(QDate(2024, 5, 1), QTime(12, 0), Qt::UTC).addSecs(60 * minutes++);
        });
        for (const char *name :
             {"Echo", "Fav 03", "Table Tennis", "Take a Break", "Fav 07", "Fav 11"})
            f->runner->run(f->item(QString::fromUtf8(name)));
        QTRY_VERIFY(f->runner->runningIdentifiers().isEmpty());
        const QStringList recent{"Recently Run", "Fav 11",       "Fav 07",
                                 "Take a Break", "Table Tennis", "Fav 03"};
        QCOMPARE(entries(), favorites + QStringList{"-"} + recent + QStringList{"-"} + fixed);

        f->item(QStringLiteral("Fav 01"))->setIsFavorite(false);
        QVERIFY(!entries().contains(QStringLiteral("Fav 01")));
        QVERIFY(entries().contains(QStringLiteral("Fav 16")));
        // An entry runs its shortcut.
        QAction *entry = tray.menu()->actions().at(1);
        QCOMPARE(entry->text(), QStringLiteral("Fav 02"));
        entry->trigger();
        QCOMPARE(f->item(QStringLiteral("Fav 02"))->runCount(), 1);
    }

    void trayOnlyWhereThereIsOne_data()
    {
        QTest::addColumn<bool>("available");
        QTest::addColumn<bool>("setting");
        QTest::newRow("tray, on") << true << true;
        QTest::newRow("tray, off") << true << false;
        QTest::newRow("no tray") << false << true;
    }
    // Without a tray nothing breaks and the switch says why it is off.
    void trayOnlyWhereThereIsOne()
    {
        QFETCH(bool, available);
        QFETCH(bool, setting);
        TrayPresence::setAvailableForTesting(available);
        WindowSettings::shared().setShowInTray(setting);
        TrayPresence tray(*f->window);
        QSignalSpy notices(&tray, &TrayPresence::messageShown);
        QCOMPARE(tray.isShown(), available && setting);
        SettingsDialog dialog(*updater);
        QCOMPARE(dialog.showInTray()->text(), QStringLiteral("Show in the menu bar / system tray"));
        QCOMPARE(dialog.showInTray()->isEnabled(), available);
        QCOMPARE(dialog.showInTray()->isChecked(), available && setting);
        QCOMPARE(dialog.showInTray()->toolTip().isEmpty(), available);
        f->window->close(); // kept running in the tray, with its notice, or closed for good
        QCOMPARE(notices.size(), available && setting ? 1 : 0);
        QCOMPARE(QApplication::quitOnLastWindowClosed(), !(available && setting));
    }

    void closeToTrayUntilQuit_data()
    {
        QTest::addColumn<QString>("quit");
        QTest::newRow("the tray's Quit") << QStringLiteral("trayQuit");
        QTest::newRow("the window's Quit Thimblecraft") << QStringLiteral("quitAction");
    }
    // With the tray, closing hides the window (the first time with a notice) and Quit quits.
    void closeToTrayUntilQuit()
    {
        QFETCH(QString, quit);
        TrayPresence::setAvailableForTesting(true);
        TrayPresence tray(*f->window);
        QSignalSpy messages(&tray, &TrayPresence::messageShown);
        TRIGGER_ACTION(commands->quickRun());
        f->window->close();
        QVERIFY(!f->window->isVisible());
        QVERIFY(!palette()->isOpen());
        QCOMPARE(messages.size(), 1);
        QCOMPARE(messages.first().at(1).toString(), TrayPresence::keepsRunningNotice());

        // A run while hidden reports beside the icon.
        f->runner->run(f->item(QStringLiteral("Take a Break")));
        QTRY_COMPARE(messages.size(), 2);
        QCOMPARE(messages.last().at(0).toString(), QStringLiteral("Ran Take a Break"));

        tray.menu().quickRunAction()->trigger();
        QVERIFY(f->window->isVisible());
        QVERIFY(palette()->isOpen());
        f->window->close();
        QVERIFY(!f->window->isVisible());
        QCOMPARE(messages.size(), 2); // the notice only once

        tray.menu().openAction()->trigger();
        QVERIFY(f->window->isVisible());
        QAction *quitting = tray.findChild<QAction *>(quit);
        if (!quitting)
            quitting = f->window->findChild<QAction *>(quit);
        QVERIFY(quitting);
        QTimer::singleShot(0, quitting, &QAction::trigger);
        QTimer stuck;
        connect(&stuck, &QTimer::timeout, [] { QCoreApplication::exit(1); });
        stuck.start(20000);
        QCOMPARE(QCoreApplication::exec(), 0);
        QVERIFY(!f->window->isVisible());
    }
};

QTEST_MAIN(TestLauncher)
#include "tst_launcher.moc"
