#include "MenuText.h"
#include "WindowTestSupport.h"
#include "app/AppUpdater.h"
#include "app/LibraryCommands.h"
#include "app/SettingsDialog.h"
#include "common/ItemNames.h"
#include "model/LibraryFolder.h"
#include "model/LibraryQuery.h"
#include "model/LibrarySettings.h"
#include "model/SmartList.h"
#include "model/SmartRuleSet.h"
#include "shortcuts/FolderChooser.h"
#include "shortcuts/ShortcutsDatabase.h"
#include "ui/DetailColumn.h"
#include "ui/EmptyStatePanel.h"
#include "ui/FileDialogFolderChooser.h"
#include "ui/HealthReportModel.h"
#include "ui/HealthReportView.h"
#include "ui/OutcomeBanner.h"
#include "ui/ShortcutCollectionView.h"
#include "ui/ShortcutGridView.h"
#include "ui/ShortcutListModel.h"
#include "ui/ShortcutRoles.h"
#include "ui/SyncStatusLine.h"
#include "ui/TextBlock.h"

#include <QAbstractItemModelTester>
#include <QAccessible>
#include <QCheckBox>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QToolBar>
#include <QToolButton>

namespace {
QStringList names(const ShortcutListModel *model)
{
    return ::names(model->items());
}

QAction *namedAction(QObject *root, const QString &name)
{
    return root->findChild<QAction *>(name);
}
} // namespace

class WindowTest : public QObject {
    Q_OBJECT
private slots:
    void sectionsFillTheCollection();
    void searchNarrowsAndEmptyStates();
    void sortMenuOrdersAndLabels();
    void doubleClickRunsAndBannerReports();
    void bannerTimingAndClose();
    void syncErrorRaisesAlertOnce();
    void settingsTogglesPersist();
    void menuCommandsAndShortcutsFolder();
    void tilesAreAccessibleButtons();
    void newSectionStartsAtTheTop();
    void inspectorFavoriteAndKeyboard();
    void healthReportSelectsWhatItNames();
    void failedRunsAreMarkedAndHistoryClears();
};

void WindowTest::sectionsFillTheCollection()
{
    WindowFixture f;
    ShortcutItem *a = f.insert(QStringLiteral("Alpha"), 1);
    ShortcutItem *b = f.insert(QStringLiteral("Beta"), 2);
    ShortcutItem *c = f.insert(QStringLiteral("Gamma"), 3);
    a->setIsFavorite(true);
    c->setIsMissing(true);
    auto *folder = f.context->insert(new LibraryFolder(QStringLiteral("Work"), nullptr));
    b->setFolder(folder);
    LibraryWindow &window = f.open();
    ShortcutCollectionView *collection = window.collection();
    QAbstractItemModelTester tester(collection->model(),
                                    QAbstractItemModelTester::FailureReportingMode::QtTest);
    settle();

    QCOMPARE(collection->title(), QStringLiteral("All Shortcuts"));
    QCOMPARE(names(collection->model()), (QStringList{"Alpha", "Beta"}));
    QCOMPARE(collection->subtitle(), QStringLiteral("2 shortcuts"));

    const struct {
        LibrarySection section;
        QString title;
        QStringList items;
    } cases[] = {
        {LibrarySection::favorites(), "Favorites", {"Alpha"}},
        {LibrarySection::missing(), "Missing from Shortcuts", {"Gamma"}},
        {LibrarySection::unfiled(), "Not in a Folder", {"Alpha"}},
        {LibrarySection::folder(folder->uuid()), "Work", {"Beta"}},
        {LibrarySection::folder(QStringLiteral("gone")), "Folder", {}},
        {LibrarySection::recent(), "Recently Run", {}},
    };
    for (const auto &c : cases) {
        f.navigation->setSection(c.section);
        QCOMPARE(collection->title(), c.title);
        QCOMPARE(names(collection->model()), c.items);
        QCOMPARE(collection->isShowingEmptyState(), c.items.isEmpty());
    }
    QCOMPARE(collection->subtitle(), QStringLiteral("0 shortcuts"));
    QCOMPARE(collection->emptyState()->title(), QStringLiteral("Nothing Here"));
    QCOMPARE(collection->emptyState()->text(), QStringLiteral("No shortcuts in this view."));
    f.navigation->setSection(LibrarySection::favorites());
    QCOMPARE(collection->subtitle(), QStringLiteral("1 shortcut"));
    // Absent means all.
    f.navigation->setSection(std::nullopt);
    QCOMPARE(collection->title(), QStringLiteral("All Shortcuts"));

    // A record edit reaches the open section without a reset.
    QSignalSpy resets(collection->model(), &QAbstractItemModel::modelReset);
    b->setIsFavorite(true);
    f.navigation->setSection(LibrarySection::favorites());
    resets.clear();
    b->setIsFavorite(false);
    settle();
    QCOMPARE(names(collection->model()), (QStringList{"Alpha"}));
    QCOMPARE(resets.count(), 0);
}

void WindowTest::searchNarrowsAndEmptyStates()
{
    {
        WindowFixture empty;
        LibraryWindow &window = empty.open();
        settle();
        QCOMPARE(window.collection()->emptyState()->title(), QStringLiteral("No Shortcuts Yet"));
        QVERIFY(window.collection()->emptyState()->button()->isVisibleTo(window.collection()));
        QCOMPARE(window.collection()->emptyState()->button()->text(),
                 QStringLiteral("Sync with Shortcuts"));
    }
    WindowFixture f;
    f.insert(QStringLiteral("Mail Digest"), 1);
    f.insert(QStringLiteral("Backup"), 2)->setNotes(QStringLiteral("nightly MAIL copy"));
    f.insert(QStringLiteral("Timer"), 3)->setSubtitle(QStringLiteral("mail"));
    LibraryWindow &window = f.open();
    ShortcutCollectionView *collection = window.collection();
    QAbstractItemModelTester tester(collection->model(),
                                    QAbstractItemModelTester::FailureReportingMode::QtTest);
    settle();
    QCOMPARE(collection->searchField()->placeholderText(),
             QStringLiteral("Search shortcuts, tags, notes"));
    QTest::keyClicks(collection->searchField(), QStringLiteral(" mail "));
    QCOMPARE(names(collection->model()), (QStringList{"Mail Digest", "Backup"}));
    collection->searchField()->clear();
    QCOMPARE(collection->model()->rowCount(), 3);
    QTest::keyClicks(collection->searchField(), QStringLiteral("zzz"));
    QVERIFY(collection->isShowingEmptyState());
    QCOMPARE(collection->emptyState()->title(), QStringLiteral("No Results for “zzz”"));

    // Typing on from the last results, backing up, and records changing between keystrokes
    // always show what the whole query shows.
    collection->searchField()->clear();
    const QString typed = QStringLiteral("mail digest");
    for (int step = 0; step < 40; ++step) {
        QLineEdit *field = collection->searchField();
        if (step % 5 == 2) // a shortcut comes to match the text typed so far, or stops matching
            f.context->shortcuts().at(step % 3)->setName(step % 2 ? QStringLiteral("Mail Digest B")
                                                                  : QStringLiteral("Backup"));
        if (step % 7 == 3)
            field->backspace();
        else
            QTest::keyClick(field, typed.at(field->text().size() % typed.size()).toLatin1());
        settle();
        QCOMPARE(collection->model()->items(),
                 LibraryQuery::visibleItems(*f.context, LibrarySection::all(), field->text()));
    }
}

void WindowTest::sortMenuOrdersAndLabels()
{
    WindowFixture f;
    ShortcutItem *b = f.insert(QStringLiteral("Bravo"), 1);
    ShortcutItem *a = f.insert(QStringLiteral("alpha"), 2);
    ShortcutItem *c = f.insert(QStringLiteral("Charlie"), 3);
    b->setRunCount(5);
    a->setRunCount(1);
    c->setRunCount(9);
    auto *list = f.context->insert(new SmartList(QStringLiteral("Busy"), [] {
        SmartRuleSet rules;
        rules.sort = ShortcutSort::runCount;
        rules.ascending = false;
        return rules;
    }()));
    LibraryWindow &window = f.open();
    ShortcutCollectionView *collection = window.collection();
    settle();
    QAction *ascending = namedAction(collection, QStringLiteral("sortAscending"));
    QAction *descending = namedAction(collection, QStringLiteral("sortDescending"));
    QCOMPARE(ascending->text(), QStringLiteral("As in Shortcuts"));
    QCOMPARE(descending->text(), QStringLiteral("Reversed"));
    QCOMPARE(names(collection->model()), (QStringList{"Bravo", "alpha", "Charlie"}));

    collection->view()->setSelectedItem(a);
    f.navigation->setSelectedShortcut(a);
    TRIGGER_ACTION(namedAction(collection, QStringLiteral("sortBy_name")));
    QCOMPARE(names(collection->model()), (QStringList{"alpha", "Bravo", "Charlie"}));
    QCOMPARE(ascending->text(), QStringLiteral("A to Z"));
    QCOMPARE(descending->text(), QStringLiteral("Z to A"));
    QCOMPARE(collection->view()->selectedItem(), a); // the selection follows its record
    TRIGGER_ACTION(descending);
    QCOMPARE(names(collection->model()), (QStringList{"Charlie", "Bravo", "alpha"}));
    TRIGGER_ACTION(namedAction(collection, QStringLiteral("sortBy_runCount")));
    QCOMPARE(ascending->text(), QStringLiteral("Oldest First"));
    QCOMPARE(descending->text(), QStringLiteral("Newest First"));
    TRIGGER_ACTION(ascending);
    QCOMPARE(names(collection->model()), (QStringList{"alpha", "Bravo", "Charlie"}));
    QCOMPARE(AppSettings::store().value("sortKey").toString(), QStringLiteral("runCount"));

    // Moving to a smart list adopts its sort.
    TRIGGER_ACTION(namedAction(collection, QStringLiteral("sortBy_name")));
    f.navigation->setSection(LibrarySection::smartList(list->uuid()));
    QVERIFY(namedAction(collection, QStringLiteral("sortBy_runCount"))->isChecked());
    QVERIFY(descending->isChecked());
    QCOMPARE(descending->text(), QStringLiteral("Newest First"));
    QCOMPARE(names(collection->model()), (QStringList{"Charlie", "Bravo", "alpha"}));
}

void WindowTest::doubleClickRunsAndBannerReports()
{
    WindowFixture f;
    f.add(QStringLiteral("S1"), QStringLiteral("Greeter")).run.outputs = {QStringLiteral("Hi")};
    f.add(QStringLiteral("S2"), QStringLiteral("Other"));
    f.publish();
    LibraryWindow &window = f.open();
    f.sync();
    settle();
    ShortcutGridView *view = window.collection()->view();
    QTRY_COMPARE(view->listModel()->rowCount(), 2);
    ShortcutItem *greeter = f.item(QStringLiteral("Greeter"));
    ShortcutItem *other = f.item(QStringLiteral("Other"));
    f.navigation->setSelectedShortcut(other);

    const QPoint centre = view->visualRect(view->listModel()->indexOf(greeter)).center();
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, centre);
    QTRY_VERIFY(f.runner->latestOutcome().has_value());
    QCOMPARE(greeter->runCount(), 1);
    QTRY_VERIFY(!window.banner()->visibleID().isNull());
    QCOMPARE(window.banner()->titleText(), QStringLiteral("Ran Greeter"));
    QCOMPARE(window.banner()->detailText(), QStringLiteral("Hi"));
    QTest::qWait(QApplication::doubleClickInterval() + 50);
    QCOMPARE(f.navigation->selectedShortcut(), other); // the double-click did not select

    // Switched off: nothing runs, a single click still selects.
    WindowSettings::shared().setDoubleClickRuns(false);
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, centre);
    QTest::qWait(QApplication::doubleClickInterval() + 50);
    QCOMPARE(greeter->runCount(), 1);
    QCOMPARE(f.navigation->selectedShortcut(), other);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, centre);
    QTRY_COMPARE(f.navigation->selectedShortcut(), greeter);
    QCOMPARE(view->selectedItem(), greeter);
}

void WindowTest::bannerTimingAndClose()
{
    WindowFixture f;
    LibraryWindow &window = f.open();
    QVERIFY(!window.windowIcon().isNull());
    QCOMPARE(QGuiApplication::desktopFileName(), QStringLiteral("com.thimblecraft.Thimblecraft"));
    OutcomeBanner *banner = window.banner();
    QVERIFY(banner->visibleID().isNull());

    // A callback URL reaches the runner; its texts are shown as written, never as markup.
    window.openURL(QUrl(QStringLiteral(
        "thimblecraft://run-success?name=%3Cb%3EBold%3C/b%3E&result=%3Ch1%3EBig%3C/h1%3E")));
    QCOMPARE(f.runner->latestOutcome()->shortcutName, QStringLiteral("<b>Bold</b>"));
    QCOMPARE(f.runner->latestOutcome()->output,
             std::optional<QString>(QStringLiteral("<h1>Big</h1>")));
    QCOMPARE(banner->titleText(), QStringLiteral("Ran <b>Bold</b>"));
    auto *detail = banner->findChild<TextBlock *>(QStringLiteral("outcomeBannerDetail"));
    QCOMPARE(detail->shownLines(), QStringList{QStringLiteral("<h1>Big</h1>")});

    f.runner->handleCallbackURL(QUrl(QStringLiteral("thimblecraft://run-error?name=Backup")));
    const QUuid first = banner->visibleID();
    QVERIFY(!first.isNull());
    QCOMPARE(banner->titleText(), QStringLiteral("Backup failed"));
    QCOMPARE(banner->detailText(), QStringLiteral("The shortcut reported an error."));
    QVERIFY(banner->hideTimer().isActive());
    QCOMPARE(banner->hideTimer().interval(), 6000);
    QTest::qWait(400);
    const int remaining = banner->hideTimer().remainingTime();
    QVERIFY(remaining < 6000);
    f.runner->handleCallbackURL(QUrl(QStringLiteral("thimblecraft://run-success?name=Next")));
    QVERIFY(banner->visibleID() != first);
    QVERIFY(banner->hideTimer().remainingTime() > remaining); // restarted by the new outcome
    QCOMPARE(banner->titleText(), QStringLiteral("Ran Next"));

    QTest::mouseClick(banner->closeButton(), Qt::LeftButton);
    QVERIFY(banner->visibleID().isNull());
    QTRY_VERIFY(!banner->isVisible());
    f.runner->handleCallbackURL(QUrl(QStringLiteral("thimblecraft://run-success?name=Again")));
    QVERIFY(!banner->visibleID().isNull());
    QTRY_VERIFY(banner->isVisible());
    // The timer's end hides it.
    banner->hideTimer().setInterval(10);
    f.runner->handleCallbackURL(QUrl(QStringLiteral("thimblecraft://run-success?name=Last")));
    QTRY_VERIFY(banner->visibleID().isNull());
}

void WindowTest::syncErrorRaisesAlertOnce()
{
    WindowFixture f;
    f.library.switches.running = false;
    f.publish();
    LibraryWindow &window = f.open();
    f.sync();
    QVERIFY(!f.syncer->lastError().isEmpty());
    QTRY_VERIFY(window.syncFailedAlert());
    QMessageBox *alert = window.syncFailedAlert();
    // The title is not shown on every platform: the text says it, the error follows as plain
    // informative text.
    QCOMPARE(alert->text(), QStringLiteral("Sync Failed"));
    QCOMPARE(alert->informativeText(), f.syncer->lastError());
    QCOMPARE(alert->textFormat(), Qt::PlainText);
    alert->button(QMessageBox::Ok)->click();
    QVERIFY(f.syncer->lastError().isEmpty());
    QTRY_VERIFY(!window.syncFailedAlert());
    settle();
    QVERIFY(!window.syncFailedAlert());
}

void WindowTest::settingsTogglesPersist()
{
    WindowFixture f;
    AppUpdater updater;
    // Each switch with its stored key and how it starts (the fixture turned sync on launch off;
    // update checks wait until asked for).
    const struct {
        QCheckBox *(SettingsDialog::*box)() const;
        const char *key;
        bool initially;
    } toggles[] = {
        {&SettingsDialog::doubleClickRuns, "doubleClickRuns", true},
        {&SettingsDialog::includeSubfolders, "includeSubfolders", true},
        {&SettingsDialog::syncOnLaunch, "syncOnLaunch", false},
        {&SettingsDialog::automaticUpdates, AppUpdater::automaticChecksKey, false},
        {&SettingsDialog::keepRunHistory, "keepRunHistory", true},
    };
    {
        SettingsDialog dialog(updater);
        QCOMPARE(dialog.syncOnLaunch()->text(),
                 QStringLiteral("Sync with Shortcuts when Thimblecraft opens"));
        QCOMPARE(dialog.keepRunHistory()->text(), QStringLiteral("Keep run history"));
        for (const auto &toggle : toggles) {
            QVERIFY2((dialog.*toggle.box)()->isChecked() == toggle.initially, toggle.key);
            (dialog.*toggle.box)()->click();
        }
        QVERIFY(!LibrarySettings::keepRunHistory());
    }
    QSettings reread(f.dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat);
    SettingsDialog again(updater);
    for (const auto &toggle : toggles) {
        QVERIFY2(reread.value(toggle.key).toBool() != toggle.initially, toggle.key);
        QVERIFY2((again.*toggle.box)()->isChecked() != toggle.initially, toggle.key);
    }
    WindowSettings::shared().setKeepRunHistory(true);
    QVERIFY(again.keepRunHistory()->isChecked());
}

void WindowTest::menuCommandsAndShortcutsFolder()
{
    WindowFixture f;
    f.add(QStringLiteral("S1"), QStringLiteral("Greeter"));
    f.publish();
    LibraryWindow &window = f.open();
    AppUpdater updater;
    LibraryCommands commands(window, updater);
    // The texts as a person reads them (mnemonics resolved), not as stored.
    QCOMPARE(displayedText(commands.fileMenu()->title()), QStringLiteral("File"));
    QCOMPARE(displayedText(commands.applicationMenu()->title()), QStringLiteral("Thimblecraft"));
    QCOMPARE(displayedTexts(commands.fileMenu()),
             (QStringList{"Sync with Shortcuts", "Run Selected Shortcut", "Quick Run…", "-",
                          "Install Helper Shortcut…", "Run Helper Shortcut (Icons & Dates)",
                          "Retry Icons from Shortcuts Events", "-",
                          "Link Shortcuts Database for App Icons…", "-", "Export Organisation…",
                          "Import Organisation…", "-", "Clear Run History"}));
    QCOMPARE(commands.sync()->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_R));
    QCOMPARE(commands.runSelected()->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Return));
    QCOMPARE(commands.quickRun()->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_K));
    QVERIFY(commands.sync()->isEnabled());
    QVERIFY(!commands.runSelected()->isEnabled());
    QVERIFY(commands.checkForUpdates()->isEnabled()); // the built-in https feed
    updater.setFeedURL(QUrl(QStringLiteral("http://updates.example.org/appcast.xml")));
    QVERIFY(!commands.checkForUpdates()->isEnabled()); // plain http only to this machine
    updater.setFeedURL(QUrl(QStringLiteral("https://updates.example.org/appcast.xml")));
    QVERIFY(commands.checkForUpdates()->isEnabled());

    TRIGGER_ACTION(commands.sync());
    QTRY_COMPARE(f.context->shortcuts().size(), 1);
    QTRY_VERIFY(!f.syncer->phase().isSyncing());
    f.navigation->setSelectedShortcut(f.item(QStringLiteral("Greeter")));
    QVERIFY(commands.runSelected()->isEnabled());
    QApplication::setActiveWindow(&window);
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(&window, Qt::Key_Return, Qt::ControlModifier);
    QTRY_COMPARE(f.item(QStringLiteral("Greeter"))->runCount(), 1);
    f.navigation->setSelectedShortcut(nullptr);
    QVERIFY(!commands.runSelected()->isEnabled());

    // The Shortcuts folder is checked before it is linked, and can change afterwards.
    QVERIFY(!ShortcutsDatabase::hasFolderAccess());

    // A folder without the database is refused with a message, and nothing is stored.
    QTemporaryDir empty;
    FolderChooser::answerNextWith(empty.path());
    TRIGGER_ACTION(commands.database());
    QTRY_VERIFY(window.findChild<QMessageBox *>(QStringLiteral("noShortcutsDatabaseAlert")));
    auto *alert = window.findChild<QMessageBox *>(QStringLiteral("noShortcutsDatabaseAlert"));
    QVERIFY(alert->informativeText().contains(QDir::toNativeSeparators(empty.path())));
    alert->close();
    QVERIFY(!ShortcutsDatabase::hasFolderAccess());
    QVERIFY(!commands.chooseFolder()->isVisible());

    // A folder with one is linked; then another can be chosen.
    QTemporaryDir shortcuts;
    QFile database(QDir(shortcuts.path()).filePath(QStringLiteral("Shortcuts.sqlite")));
    QVERIFY(database.open(QIODevice::WriteOnly));
    database.close();
    FolderChooser::answerNextWith(shortcuts.path());
    TRIGGER_ACTION(commands.database());
    QVERIFY(ShortcutsDatabase::hasFolderAccess());
    QCOMPARE(
        displayedTexts(commands.fileMenu()).mid(8),
        (QStringList{"Refresh App Icons from Shortcuts Database", "Choose Shortcuts Folder…", "-",
                     "Export Organisation…", "Import Organisation…", "-", "Clear Run History"}));
    FolderChooser::answerNextWith(std::nullopt);
    TRIGGER_ACTION(commands.chooseFolder()); // cancelled: the link stays
    QVERIFY(ShortcutsDatabase::hasFolderAccess());
    QCOMPARE(FileDialogFolderChooser::startDirectory(shortcuts.path()), shortcuts.path());
    QCOMPARE(FileDialogFolderChooser::startDirectory(QStringLiteral("/no/such/folder")),
             QDir::homePath());
}

void WindowTest::tilesAreAccessibleButtons()
{
    WindowFixture f;
    for (const QString &name :
         {QStringLiteral("Alpha"), QStringLiteral("Beta & Co"), QStringLiteral("<b>Gamma</b>")})
        f.insert(name, f.context->shortcuts().size());
    LibraryWindow &window = f.open();
    settle();
    ShortcutGridView *view = window.collection()->view();
    for (const auto mode : {WindowSettings::ViewMode::grid, WindowSettings::ViewMode::list}) {
        WindowSettings::shared().setViewMode(mode);
        QAccessibleInterface *grid = QAccessible::queryAccessibleInterface(view);
        QVERIFY(grid);
        QCOMPARE(grid->childCount(), 3);
        for (int row = 0; row < 3; ++row) {
            QAccessibleInterface *tile = grid->child(row);
            QVERIFY(tile && tile->isValid());
            QCOMPARE(tile->role(), QAccessible::Button);
            QCOMPARE(tile->text(QAccessible::Name), view->listModel()->itemAt(row)->name());
            QCOMPARE(tile->parent(), grid);
            QCOMPARE(grid->indexOfChild(tile), row);
            QCOMPARE(grid->childAt(tile->rect().center().x(), tile->rect().center().y()), tile);
        }
    }
    // The button's press selects the shortcut, as a click does.
    QAccessibleInterface *second = QAccessible::queryAccessibleInterface(view)->child(1);
    second->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    QCOMPARE(f.navigation->selectedShortcut(), view->listModel()->itemAt(1));
    QVERIFY(second->state().selected);

    // The run button's tooltip names what it runs; elsewhere the tile's tooltip is the name.
    const QModelIndex index = view->listModel()->index(1);
    QTest::mouseMove(view->viewport(), view->visualRect(index).center());
    QTRY_COMPARE(view->hoveredIndex(), index);
    QCOMPARE(view->toolTipAt(view->runButtonRect(index).center()), QStringLiteral("Run Beta & Co"));
    QCOMPARE(view->toolTipAt(view->visualRect(index).bottomLeft() + QPoint(4, -4)),
             QStringLiteral("Beta & Co"));
}

void WindowTest::newSectionStartsAtTheTop()
{
    WindowFixture f;
    ShortcutItem *last = nullptr;
    for (int i = 0; i < 80; ++i)
        last = f.insert(QStringLiteral("Shortcut %1").arg(i, 2, 10, QLatin1Char('0')), i);
    last->setIsFavorite(true);
    f.insert(QStringLiteral("Zz favourite"), 100)->setIsFavorite(true);
    LibraryWindow &window = f.open();
    settle();
    ShortcutGridView *view = window.collection()->view();
    f.navigation->setSelectedShortcut(last);
    view->verticalScrollBar()->setValue(view->verticalScrollBar()->maximum());
    f.navigation->setSection(LibrarySection::favorites());
    settle();
    QCOMPARE(view->selectedItem(), last);
    QCOMPARE(view->verticalScrollBar()->value(), 0);
}

void WindowTest::inspectorFavoriteAndKeyboard()
{
    WindowFixture f;
    ShortcutItem *a = f.insert(QStringLiteral("Alpha"), 1);
    f.insert(QStringLiteral("Beta"), 2);
    QVERIFY(!AppSettings::store().contains("showInspector"));
    LibraryWindow &window = f.open();
    settle();
    QApplication::setActiveWindow(&window);
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QVERIFY(!window.inspector()->isVisible());
    TRIGGER_ACTION(namedAction(window.collection(), QStringLiteral("detailsAction")));
    QVERIFY(window.inspector()->isVisible());
    QCOMPARE(AppSettings::store().value("showInspector").toBool(), true);
    QVERIFY(window.inspector()->isShowingEmptyState());
    QCOMPARE(window.inspector()->emptyState()->title(), QStringLiteral("No Shortcut Selected"));
    QVERIFY(LibraryNavigation().showInspector()); // the next launch restores it

    QAction *favorite = namedAction(window.collection(), QStringLiteral("favoriteAction"));
    QVERIFY(!favorite->isEnabled());
    QCOMPARE(favorite->toolTip(), QStringLiteral("Add to Favorites"));
    // One click selects at once, without waiting out the double-click interval.
    ShortcutGridView *view = window.collection()->view();
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {},
                      view->visualRect(view->listModel()->indexOf(a)).center());
    QCOMPARE(f.navigation->selectedShortcut(), a);
    QVERIFY(!window.inspector()->isShowingEmptyState());

    QTest::keyClick(&window, Qt::Key_F, Qt::ControlModifier);
    QTRY_VERIFY(window.collection()->searchField()->hasFocus());
    // Sync, Details and Favorite are in the Tab chain.
    auto *toolbar = window.findChild<QToolBar *>(QStringLiteral("collectionToolbar"));
    for (const QString &name : {QStringLiteral("syncAction"), QStringLiteral("detailsAction"),
                                QStringLiteral("favoriteAction")}) {
        QWidget *button = toolbar->widgetForAction(namedAction(&window, name));
        QVERIFY2(button && (button->focusPolicy() & Qt::TabFocus), qPrintable(name));
    }
    QWidget *favoriteButton = toolbar->widgetForAction(favorite);
    favoriteButton->setFocus(Qt::TabFocusReason);
    QTest::keyClick(favoriteButton, Qt::Key_Space);
    QVERIFY(a->isFavorite());
    QCOMPARE(favorite->toolTip(), QStringLiteral("Remove from Favorites"));

    // Deleting the selected record clears the selection and the inspector.
    f.context->deleteRecord(a);
    settle();
    QCOMPARE(f.navigation->selectedShortcut(), nullptr);
    QVERIFY(window.inspector()->isShowingEmptyState());
    QVERIFY(!favorite->isEnabled());
}

void WindowTest::healthReportSelectsWhatItNames()
{
    WindowFixture f;
    f.insert(QStringLiteral("Twin"), 1);
    ShortcutItem *twin =
        f.context->insert(new ShortcutItem(QStringLiteral("T2"), QStringLiteral("Twin")));
    for (int i = 0; i < 60; ++i)
        f.insert(QStringLiteral("Filler %1").arg(i), 10 + i);
    auto *spare = f.context->insert(new LibraryFolder(QStringLiteral("Spare")));
    LibraryWindow &window = f.open();
    settle();
    ShortcutCollectionView *collection = window.collection();
    HealthReportView *report = collection->healthReport();
    QAbstractItemModelTester tester(report->model(),
                                    QAbstractItemModelTester::FailureReportingMode::QtTest);

    f.navigation->setSection(LibrarySection::health());
    settle();
    QVERIFY(report->isVisible());
    QCOMPARE(collection->title(), QStringLiteral("Library Health"));
    QCOMPARE(collection->subtitle(), QStringLiteral("3 problems"));
    QVERIFY(!collection->searchField()->isEnabled());
    const auto click = [&](const QString &subject, const QString &detailPart) {
        HealthReportModel *model = report->model();
        for (int r = 0; r < model->rowCount(); ++r) {
            const QModelIndex index = model->index(r, 0);
            if (model->rowKind(index) == HealthReportModel::RowKind::entry &&
                index.data().toString() == subject &&
                index.data(HealthReportRoles::secondaryText).toString().contains(detailPart)) {
                report->list()->scrollTo(index);
                QTest::mouseClick(report->list()->viewport(), Qt::LeftButton, {},
                                  report->list()->visualRect(index).center());
                return true;
            }
        }
        return false;
    };

    QVERIFY(click(QStringLiteral("Spare"), QStringLiteral("no shortcuts")));
    QCOMPARE(f.navigation->section(), LibrarySection::folder(spare->uuid()));
    QVERIFY(!report->isVisible());

    // A shortcut is selected among all of them, scrolled into view, whatever was searched.
    collection->searchField()->setText(QStringLiteral("Filler"));
    f.navigation->setSection(LibrarySection::health());
    settle();
    QVERIFY(click(QStringLiteral("Twin"), QStringLiteral("T2")));
    QCOMPARE(f.navigation->section(), LibrarySection::all());
    QCOMPARE(f.navigation->selectedShortcut(), twin);
    QCOMPARE(collection->searchField()->text(), QString());
    ShortcutGridView *view = collection->view();
    QVERIFY(
        view->viewport()->rect().intersects(view->visualRect(view->listModel()->indexOf(twin))));

    // Fixed, the report says so.
    twin->setName(QStringLiteral("Twin 2"));
    f.context->deleteRecord(spare);
    f.navigation->setSection(LibrarySection::health());
    settle();
    QCOMPARE(collection->subtitle(), QStringLiteral("0 problems"));
    QCOMPARE(report->emptyState()->title(), QStringLiteral("No Problems Found"));
}

void WindowTest::failedRunsAreMarkedAndHistoryClears()
{
    WindowFixture f(false, true);
    SimulatedShortcut &broken = f.add(QStringLiteral("B1"), QStringLiteral("Backup"));
    broken.run.errorNumber = -1;
    broken.run.errorMessage = QStringLiteral("The disk is full.");
    f.publish();
    f.sync();
    ShortcutItem *item = f.item(QStringLiteral("Backup"));
    LibraryWindow &window = f.open();
    AppUpdater updater;
    LibraryCommands commands(window, updater);
    ShortcutGridView *view = window.collection()->view();
    const auto marked = [&] {
        const QModelIndex index = view->listModel()->indexOf(item);
        QAccessibleInterface *tile =
            QAccessible::queryAccessibleInterface(view)->child(index.row());
        const QString name = tile->text(QAccessible::Name);
        const QString tip = view->toolTipAt(view->visualRect(index).bottomLeft() + QPoint(4, -4));
        return name == QStringLiteral("Backup, last run failed") &&
               tip == QStringLiteral("Backup\nLast run failed");
    };
    settle();
    QVERIFY(!marked());
    emit commands.fileMenu()->aboutToShow();
    QVERIFY(!commands.clearRunHistory()->isEnabled());

    // The mark comes with a failed run and goes with the next one that succeeds, in both views.
    f.runner->run(item);
    QTRY_COMPARE(item->lastRunOutcome(), RunOutcome::failed);
    for (const auto mode : {WindowSettings::ViewMode::grid, WindowSettings::ViewMode::list}) {
        WindowSettings::shared().setViewMode(mode);
        settle();
        QVERIFY(marked());
    }
    f.library.shortcuts.first().run = {};
    f.publish();
    f.runner->run(item);
    QTRY_COMPARE(item->lastRunOutcome(), RunOutcome::succeeded);
    settle();
    QVERIFY(!marked());

    // Clear Run History asks first; only its own button clears, and the counts stay.
    RunHistoryFilter all;
    QCOMPARE(f.context->runHistory(all).size(), 2);
    for (const QMessageBox::ButtonRole answer :
         {QMessageBox::RejectRole, QMessageBox::DestructiveRole}) {
        emit commands.fileMenu()->aboutToShow();
        TRIGGER_ACTION(commands.clearRunHistory());
        QMessageBox *question =
            window.findChild<QMessageBox *>(QStringLiteral("clearRunHistoryQuestion"));
        QVERIFY(question);
        QCOMPARE(question->defaultButton(), question->button(QMessageBox::Cancel));
        for (QAbstractButton *button : question->buttons())
            if (question->buttonRole(button) == answer)
                button->click();
        QTRY_VERIFY(!window.findChild<QMessageBox *>(QStringLiteral("clearRunHistoryQuestion")));
        QCOMPARE(f.context->runHistory(all).isEmpty(), answer == QMessageBox::DestructiveRole);
    }
    QCOMPARE(item->runCount(), qint64(2));
    emit commands.fileMenu()->aboutToShow();
    QVERIFY(!commands.clearRunHistory()->isEnabled());
}

QTEST_MAIN(WindowTest)
#include "tst_window.moc"
