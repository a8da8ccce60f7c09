#include "PaneTestSupport.h"
#include "common/FakeWorkspace.h"
#include "common/ScriptedHost.h"
#include "model/LibraryLinks.h"
#include "shortcuts/ShortcutRunner.h"
#include "shortcuts/ShortcutsEventsBridge.h"
#include "ui/LibraryNavigation.h"
#include "ui/RunEntryView.h"
#include "ui/RunHistoryModel.h"
#include "ui/RunHistorySection.h"
#include "ui/RunRow.h"
#include "ui/ShortcutContextMenu.h"
#include "ui/ShortcutDetailView.h"
#include "ui/TagChipFlow.h"
#include "ui/TagEditor.h"
#include "ui/TextBlock.h"
#include "ui/WindowSettings.h"

#include <QAbstractItemModelTester>
#include <QClipboard>
#include <QFormLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QToolButton>

class TestDetail : public QObject, PaneFixture {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void headerNotesAndRows();
    void notesAreKeptRowsStayAndInputBelongsToItsShortcut();
    void runArea();
    void organize();
    void contextMenuEntriesAndWrites();
    void historyRowsOpenTheirRuns();
    void showAllFollowsTheHistory();

private:
    ShortcutItem *addShortcut(const QString &name);
    // Runs of the item, oldest first, saved; the history follows from the save.
    void addRuns(ShortcutItem *item, const QList<RunEntry> &runs);
    QString label(const QString &objectName) const
    {
        return m_detail->findChild<TextBlock *>(objectName)->text();
    }

    std::shared_ptr<ScriptedHost> m_host;
    std::unique_ptr<ShortcutsEventsBridge> m_bridge;
    FakeWorkspace m_workspace;
    std::unique_ptr<ShortcutRunner> m_runner;
    std::unique_ptr<LibraryNavigation> m_navigation;
    std::unique_ptr<ShortcutDetailView> m_detail;
};

void TestDetail::init()
{
    QVERIFY(openLibrary());
    m_host = std::make_shared<ScriptedHost>(true);
    m_bridge = std::make_unique<ShortcutsEventsBridge>(m_host);
    m_workspace.opened.clear();
    m_runner = std::make_unique<ShortcutRunner>(m_bridge.get(), &m_workspace);
    m_navigation = std::make_unique<LibraryNavigation>();
    m_detail = std::make_unique<ShortcutDetailView>(*m_context, *m_runner);
    m_detail->resize(360, 800);
    m_detail->show();
    m_detail->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_detail.get()));
}

void TestDetail::cleanup()
{
    m_host->gate.release(100); // never leave the shared queue blocked
    QTRY_VERIFY(m_runner->runningIdentifiers().isEmpty());
    m_detail.reset();
    m_navigation.reset();
    m_runner.reset();
    closeLibrary();
}

ShortcutItem *TestDetail::addShortcut(const QString &name)
{
    auto *item = PaneFixture::addShortcut(name);
    m_context->save();
    return item;
}

void TestDetail::addRuns(ShortcutItem *item, const QList<RunEntry> &runs)
{
    for (RunEntry run : runs) {
        run.itemId = item->persistentId();
        m_context->addRunEntry(run);
    }
    QVERIFY(m_context->save());
}

namespace {
RunEntry run(RunOutcome outcome, const QString &text, int minutesAgo)
{
    RunEntry e;
    e.outcome = outcome;
    e.text = text;
    e.startedAt = QDateTime::currentDateTime().addSecs(-60 * minutesAgo);
    e.durationMs = 1200;
    return e;
}

// What a run can hold that breaks naive display: markup, a word longer than any pane, a
// direction override, escape sequences and many lines.
const QString hostileError = QStringLiteral("<b>Boom</b> ") + QString(3000, u'X') +
                             QStringLiteral("\n\u202Eevil\t\x1b[31m\n") +
                             QStringLiteral("line\n").repeated(500);
} // namespace

void TestDetail::headerNotesAndRows()
{
    ShortcutItem *item = addShortcut(QStringLiteral("Clock"));
    const QDateTime seen(QDate(2024, 3, 5), QTime(9, 41), Qt::LocalTime);
    item->setFirstSeenAt(seen);
    item->setLastChangedAt(seen);
    item->setActionCount(3);
    item->setColorHex(QStringLiteral("#FF8000"));
    m_detail->setItem(item);
    // A note's words while it shows, nothing while it is hidden.
    const auto note = [this](const char *name) {
        const auto *line = m_detail->findChild<QWidget *>(name);
        QString text;
        for (const QLabel *part : line->findChildren<QLabel *>())
            text += part->text();
        return line->isHidden() ? QString() : text;
    };
    QCOMPARE(label("detailName"), QStringLiteral("Clock"));
    QCOMPARE(label("detailSubtitle"), QStringLiteral("3 actions"));
    QCOMPARE(note("detailMissingNote"), QString());
    QCOMPARE(note("detailPlaceholderNote"), QString());
    using Rows = QList<QPair<QString, QString>>;
    const QString date = ShortcutDetailView::formatDate(seen);
    QVERIFY(date.contains(QStringLiteral("2024")));
    QCOMPARE(m_detail->detailRows(), (Rows{{"Shortcuts Folder", "None"},
                                           {"Added to Library", date},
                                           {"Accepts Input", "No"},
                                           {"Actions", "3"},
                                           {"Color", "#FF8000"},
                                           {"Last Changed", date},
                                           {"Last Run", "Never"},
                                           {"Run Count", "0"},
                                           {"Identifier", item->identifier()}}));

    item->setSubtitle(QStringLiteral("Makes images smaller"));
    item->setIsMissing(true);
    item->setIdentifier(QStringLiteral("name:Clock"));
    item->setNativeCreatedAt(seen.addDays(-1));
    item->setNativeModifiedAt(seen.addDays(1));
    item->setLastRunAt(seen);
    item->setNativeFolderName(QStringLiteral("Utilities"));
    PaneTest::settle();
    QCOMPARE(label("detailSubtitle"), QStringLiteral("Makes images smaller"));
    QCOMPARE(note("detailMissingNote"),
             QStringLiteral("Not found in Shortcuts during the last sync"));
    QCOMPARE(note("detailPlaceholderNote"),
             QStringLiteral("Added from iPhone or iPad; a Mac sync will link its identifier"));
    const Rows rows = m_detail->detailRows();
    QCOMPARE(rows.at(0).second, QStringLiteral("Utilities"));
    QCOMPARE(rows.at(5), (QPair<QString, QString>{
                             "Created", ShortcutDetailView::formatDate(seen.addDays(-1))}));
    QCOMPARE(rows.at(6).first, QStringLiteral("Last Modified"));
    QCOMPARE(rows.at(7), (QPair<QString, QString>{"Last Run", date}));
    // A later sync that links a real identifier removes the note.
    item->setIdentifier(QStringLiteral("REAL-ID"));
    PaneTest::settle();
    QCOMPARE(note("detailPlaceholderNote"), QString());
}

void TestDetail::notesAreKeptRowsStayAndInputBelongsToItsShortcut()
{
    ShortcutItem *first = addShortcut(QStringLiteral("<i>First</i> & more"));
    ShortcutItem *second = addShortcut(QStringLiteral("Second"));
    first->setAcceptsInput(true);
    second->setAcceptsInput(true);
    m_detail->setItem(first);
    // Outside text is shown as it is written, never as markup.
    QCOMPARE(m_detail->findChild<TextBlock *>(QStringLiteral("detailName"))->shownLines(),
             QStringList{QStringLiteral("<i>First</i> & more")});

    // A selection in the identifier survives notes being typed: its row is not rebuilt.
    TextBlock *identifier = nullptr;
    for (TextBlock *value : m_detail->findChildren<TextBlock *>(QStringLiteral("detailValue")))
        if (value->text() == first->identifier())
            identifier = value;
    QVERIFY(identifier && identifier->isSelectable());
    identifier->selectAll();
    QPlainTextEdit *notes = m_detail->notesEditor();
    notes->setFocus();
    QTest::keyClicks(notes, QStringLiteral("Runs at 9"));
    QTest::keyClick(notes, Qt::Key_Return); // a new line, not a run
    QTest::keyClicks(notes, QStringLiteral("daily"));
    PaneTest::settle();
    QCOMPARE(identifier->selectedText(), first->identifier());
    QCOMPARE(first->notes(), QStringLiteral("Runs at 9\ndaily"));
    QVERIFY(m_runner->runningIdentifiers().isEmpty());
    QVERIFY(!m_context->hasChanges());
    QCOMPARE(reopen()->shortcuts().first()->notes(), QStringLiteral("Runs at 9\ndaily"));
    // A change from elsewhere shows up.
    first->setNotes(QStringLiteral("From sync"));
    PaneTest::settle();
    QCOMPARE(notes->toPlainText(), QStringLiteral("From sync"));
    first->setRunCount(3);
    PaneTest::settle();
    QVERIFY(m_detail->detailRows().contains({QStringLiteral("Run Count"), QStringLiteral("3")}));
    QCOMPARE(identifier->selectedText(), first->identifier());

    // Typed input is not carried over to the next shortcut.
    QTest::keyClicks(m_detail->inputField(), QStringLiteral("for the first"));
    m_detail->setItem(second);
    QCOMPARE(m_detail->inputField()->text(), QString());
}

void TestDetail::runArea()
{
    ShortcutItem *item = addShortcut(QStringLiteral("Translate"));
    item->setAcceptsInput(true);
    m_detail->setItem(item);
    QVERIFY(!m_detail->inputField()->isHidden());
    QCOMPARE(m_detail->inputField()->placeholderText(),
             QStringLiteral("Input to pass to the shortcut (optional)"));
    m_detail->inputField()->setFocus();
    QTest::keyClicks(m_detail->inputField(), QStringLiteral("bonjour"));
    // Return in the input field runs it: the window's default action.
    QTest::keyClick(m_detail->inputField(), Qt::Key_Return);
    QTRY_VERIFY(m_runner->isRunning(item->identifier()));
    QVERIFY(m_detail->isShowingSpinner());
    QCOMPARE(item->runCount(), qint64(1));
    QTRY_COMPARE(m_host->scripts().size(), 1);
    QCOMPARE(m_host->scripts().first(), ShortcutsEventsBridge::runByIdentifierScript(
                                            item->identifier(), QStringLiteral("bonjour")));
    m_host->gate.release();
    QTRY_VERIFY(!m_runner->isRunning(item->identifier()));
    QVERIFY(!m_detail->isShowingSpinner());
    QCOMPARE(m_detail->inputField()->text(), QStringLiteral("bonjour"));

    // Once it no longer accepts input, the typed text is not passed.
    item->setAcceptsInput(false);
    PaneTest::settle();
    QVERIFY(m_detail->inputField()->isHidden());
    m_detail->runButton()->click();
    QTRY_COMPARE(m_host->scripts().size(), 2);
    QCOMPARE(m_host->scripts().last(),
             ShortcutsEventsBridge::runByIdentifierScript(item->identifier(), std::nullopt));
    m_host->gate.release();

    m_detail->findChild<QPushButton *>("detailOpenButton")->click();
    QCOMPARE(m_workspace.opened, QList<QUrl>{ShortcutRunner::openShortcutURL("Translate")});
}

void TestDetail::organize()
{
    auto *a = m_context->insert(new LibraryFolder(QStringLiteral("Work")));
    auto *b = m_context->insert(new LibraryFolder(QStringLiteral("Clients"), a));
    auto *c = m_context->insert(new LibraryFolder(QStringLiteral("Acme"), b));
    auto *red = m_context->insert(new Tag(QStringLiteral("Red"), QStringLiteral("#FF3B30")));
    auto *blue = m_context->insert(new Tag(QStringLiteral("Blue"), QStringLiteral("#007AFF")));
    // Each chip's dot is its tag's colour, also for chips of one size, which share drawings.
    for (Tag *tag : {red, blue}) {
        TagChip chip(tag);
        chip.resize(80, 24);
        const QImage drawn = chip.grab().toImage();
        QCOMPARE(drawn.pixelColor(13, 12), QColor(tag->colorHex()));
    }
    ShortcutItem *item = addShortcut(QStringLiteral("Invoice"));
    m_detail->setItem(item);
    QCOMPARE(m_detail->folderButton()->text(), QStringLiteral("None"));

    // The folder menu files the shortcut; the button shows the path.
    QMenu *folderMenu = m_detail->folderButton()->menu();
    emit folderMenu->aboutToShow();
    QCOMPARE(displayedTexts(folderMenu),
             (QStringList{"None", "Work", "    Clients", "        Acme"}));
    TRIGGER(folderMenu, QStringLiteral("folder:") + c->uuid());
    PaneTest::settle();
    QCOMPARE(item->folder(), c);
    QCOMPARE(m_detail->folderButton()->text(), QStringLiteral("Work › Clients › Acme"));

    // Add Tag lists the tags the shortcut lacks, then New Tag….
    QMenu *addMenu = m_detail->addTagButton()->menu();
    emit addMenu->aboutToShow();
    QCOMPARE(displayedTexts(addMenu), (QStringList{"Blue", "Red", "-", "New Tag…"}));
    TRIGGER(addMenu, QStringLiteral("addTag:") + red->uuid());
    TRIGGER(addMenu, QStringLiteral("addTag:") + blue->uuid());
    PaneTest::settle();
    QCOMPARE(m_detail->tagFlow()->tags(), (QList<Tag *>{blue, red}));
    emit addMenu->aboutToShow();
    QCOMPARE(displayedTexts(addMenu), (QStringList{"-", "New Tag…"}));

    // A chip's remove control takes the tag off.
    auto *chip = m_detail->tagFlow()->findChildren<TagChip *>().first();
    QCOMPARE(chip->tag(), blue);
    chip->findChild<QToolButton *>("tagChipRemove")->click();
    PaneTest::settle();
    QCOMPARE(item->tags(), QList<Tag *>{red});

    // New Tag… creates the tag and puts it on this shortcut.
    emit addMenu->aboutToShow();
    TRIGGER(addMenu, "newTag");
    TagEditor *editor = m_detail->tagEditor();
    QVERIFY(editor);
    QCOMPARE(editor->applyTo(), item);
    editor->nameField()->setText(QStringLiteral("Billing"));
    editor->saveButton()->click();
    PaneTest::settle();
    QCOMPARE(item->sortedTags().first()->name(), QStringLiteral("Billing"));
    auto stored = reopen();
    QCOMPARE(stored->shortcuts().first()->tags().size(), 2);
    QCOMPARE(stored->shortcuts().first()->folder()->name(), QStringLiteral("Acme"));
}

void TestDetail::contextMenuEntriesAndWrites()
{
    ShortcutItem *item = addShortcut(QStringLiteral("Grocery List"));
    QList<ShortcutItem *> askedForInput;
    const ShortcutContextMenu::Services services{*m_context, *m_runner, *m_navigation,
                                                 [&](ShortcutItem *i) { askedForInput.append(i); }};
    const auto menuFor = [&] {
        auto menu = std::make_unique<QMenu>();
        ShortcutContextMenu::populate(menu.get(), item, services);
        return menu;
    };
    auto menu = menuFor();
    QCOMPARE(displayedTexts(menu.get()),
             (QStringList{"Run", "Run with Input…", "-", "Add to Favorites", "Move to Folder",
                          "Tags", "-", "Open in Shortcuts", "Copy Name", "Copy Link"}));
    QCOMPARE(displayedTexts(PaneTest::findMenu(menu.get(), "tagsMenu")),
             QStringList{"No tags yet"});
    QVERIFY(!PaneTest::findAction(menu.get(), "noTags")->isEnabled());
    TRIGGER(menu.get(), "runWithInput");
    QCOMPARE(askedForInput, QList<ShortcutItem *>{item});

    auto *folder = m_context->insert(new LibraryFolder(QStringLiteral("Inbox")));
    auto *parentTag = m_context->insert(new Tag(QStringLiteral("Home"), QString()));
    auto *childTag = m_context->insert(new Tag(QStringLiteral("Kitchen"), QString(), parentTag));
    menu = menuFor();
    QCOMPARE(displayedTexts(PaneTest::findMenu(menu.get(), "tagsMenu")),
             (QStringList{"Home", "    Kitchen"}));
    TRIGGER(menu.get(), QStringLiteral("tag:") + childTag->uuid());
    QCOMPARE(item->tags(), QList<Tag *>{childTag});
    menu = menuFor();
    QVERIFY(
        PaneTest::findAction(menu.get(), QStringLiteral("tag:") + childTag->uuid())->isChecked());
    TRIGGER(menu.get(), QStringLiteral("tag:") + childTag->uuid());
    QVERIFY(item->tags().isEmpty());

    menu = menuFor();
    TRIGGER(menu.get(), QStringLiteral("folder:") + folder->uuid());
    QCOMPARE(item->folder(), folder);
    menu = menuFor();
    TRIGGER(menu.get(), "folderNone");
    QCOMPARE(item->folder(), nullptr);
    TRIGGER(menu.get(), "toggleFavorite");
    QVERIFY(item->isFavorite());

    QGuiApplication::clipboard()->setText(QStringLiteral("something else"));
    TRIGGER(menu.get(), "copyName");
    QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("Grocery List"));
    TRIGGER(menu.get(), "copyLink");
    const auto link = LibraryLinks::parse(QUrl(QGuiApplication::clipboard()->text()));
    QVERIFY(link);
    QCOMPARE(link->shortcut, item->identifier());

    TRIGGER(menu.get(), "run");
    QTRY_VERIFY(m_runner->isRunning(item->identifier()));
    QCOMPARE(item->runCount(), qint64(1));
    TRIGGER(menu.get(), "openInShortcuts");
    QCOMPARE(m_workspace.opened.size(), 1);
    QVERIFY(!m_context->hasChanges());
    QVERIFY(reopen()->shortcuts().first()->isFavorite());

    // Missing shortcuts can be removed from the library; the selection lets go first.
    m_host->gate.release();
    QTRY_VERIFY(!m_runner->isRunning(item->identifier()));
    item->setIsMissing(true);
    menu = menuFor();
    QCOMPARE(displayedTexts(menu.get()).mid(3, 1), QStringList{"Remove from Favorites"});
    QCOMPARE(displayedTexts(menu.get()).mid(10), (QStringList{"-", "Remove from Library"}));
    m_navigation->setSelectedShortcut(item);
    TRIGGER(menu.get(), "removeFromLibrary");
    QCOMPARE(m_navigation->selectedShortcut(), nullptr);
    QVERIFY(item->isDeleted());
    QCOMPARE(reopen()->shortcuts().size(), 0);
}

void TestDetail::historyRowsOpenTheirRuns()
{
    ShortcutItem *quiet = addShortcut(QStringLiteral("Quiet"));
    ShortcutItem *item = addShortcut(QStringLiteral("Backup"));
    RunEntry withInput = run(RunOutcome::succeeded, QStringLiteral(" \nSaved 3 files\nmore"), 9);
    withInput.input = QStringLiteral("~/Documents");
    QList<RunEntry> runs{withInput};
    for (int i = 0; i < 5; ++i)
        runs.append(run(RunOutcome::succeeded, QString(), 8 - i));
    runs.append(run(RunOutcome::failed, hostileError, 1));
    addRuns(item, runs);
    RunHistorySection *history = m_detail->historySection();

    m_detail->setItem(quiet);
    QVERIFY(history->rows().isEmpty());
    QCOMPARE(history->emptyLine()->text(), QStringLiteral("No runs yet."));
    QVERIFY(history->showAllButton()->isHidden());
    WindowSettings::shared().setKeepRunHistory(false);
    QVERIFY(history->emptyLine()->text().contains(QStringLiteral("off in Settings")));
    WindowSettings::shared().setKeepRunHistory(true);

    // The newest five, newest first, each saying how it ended and what it gave.
    m_detail->setItem(item);
    const QList<RunRowButton *> rows = history->rows();
    QCOMPARE(rows.size(), RunHistorySection::shownRuns);
    QVERIFY(history->emptyLine()->isHidden());
    QCOMPARE(rows.first()->entry().outcome, RunOutcome::failed);
    QVERIFY(rows.first()->accessibleName().startsWith(QStringLiteral("Failed, 1 minute ago · ")));
    QVERIFY(
        RunRow::summaryLine(rows.first()->entry()).startsWith(QStringLiteral("<b>Boom</b> XX")));
    QCOMPARE(RunRow::summaryLine(rows.at(1)->entry()), QStringLiteral("No output"));
    // A row's line cannot turn the text around or hide characters.
    QCOMPARE(RunRow::summaryLine(run(RunOutcome::failed, QStringLiteral("\u202Eevil\x1b[0m"), 0)),
             QStringLiteral("\\u{202E}evil\\u{1B}[0m"));

    // A click opens the whole run; Return on a focused row does too, and runs nothing.
    QTest::mouseClick(rows.first(), Qt::LeftButton);
    RunHistorySheet *sheet = history->sheet();
    QVERIFY(sheet && !sheet->list());
    RunEntryView *view = sheet->entryView();
    QCOMPARE(view->outputText()->toPlainText(), hostileError);
    QCOMPARE(view->facts().at(2), (QPair<QString, QString>{"Source", "Window"}));
    QVERIFY(view->inputText()->isHidden());
    QCoreApplication::processEvents();
    QCOMPARE(LayoutCheck::faults(sheet), QStringList()); // a hostile error stays inside
    view->copyButton()->click();
    QCOMPARE(QGuiApplication::clipboard()->text(), hostileError);
    sheet->close();

    addRuns(item, {withInput}); // the oldest, now the newest
    m_detail->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_detail.get()));
    history->rows().first()->setFocus();
    QTest::keyClick(history->rows().first(), Qt::Key_Return);
    QTRY_VERIFY(history->sheet());
    QCOMPARE(history->sheet()->entryView()->inputText()->toPlainText(),
             QStringLiteral("~/Documents"));
    QCOMPARE(history->sheet()->entryView()->outputText()->toPlainText(),
             QStringLiteral(" \nSaved 3 files\nmore"));
    QCOMPARE(RunRow::summaryLine(history->rows().first()->entry()),
             QStringLiteral("Saved 3 files"));
    QVERIFY(m_host->scripts().isEmpty());
    QCOMPARE(item->runCount(), qint64(0));
}

void TestDetail::showAllFollowsTheHistory()
{
    ShortcutItem *item = addShortcut(QStringLiteral("Backup"));
    QList<RunEntry> runs;
    for (int i = 0; i < 8; ++i)
        runs.append(run(i % 2 ? RunOutcome::failed : RunOutcome::succeeded,
                        QStringLiteral("run %1").arg(i), 10 - i));
    addRuns(item, runs);
    m_detail->setItem(item);
    RunHistorySection *history = m_detail->historySection();
    history->showAllButton()->click();
    RunHistorySheet *sheet = history->sheet();
    QVERIFY(sheet && sheet->list());
    QAbstractItemModelTester tester(sheet->model(),
                                    QAbstractItemModelTester::FailureReportingMode::QtTest);
    QCOMPARE(sheet->model()->rowCount(), 8);
    QCOMPARE(sheet->entryView()->outputText()->toPlainText(), QStringLiteral("run 7"));

    // Choosing a run shows it; a new run keeps it chosen; clearing leaves nothing to show.
    sheet->list()->setCurrentIndex(sheet->model()->index(3, 0));
    QCOMPARE(sheet->entryView()->outputText()->toPlainText(), QStringLiteral("run 4"));
    addRuns(item, {run(RunOutcome::succeeded, QStringLiteral("run 8"), 0)});
    QCOMPARE(sheet->model()->rowCount(), 9);
    QCOMPARE(sheet->entryView()->outputText()->toPlainText(), QStringLiteral("run 4"));
    QCOMPARE(history->rows().first()->entry().text, QStringLiteral("run 8"));
    m_context->clearRunHistory(item);
    QVERIFY(m_context->save());
    QCOMPARE(sheet->model()->rowCount(), 0);
    QVERIFY(!sheet->entryView()->entry());
    QVERIFY(history->rows().isEmpty());
    QVERIFY(!history->emptyLine()->isHidden());
}

QTEST_MAIN(TestDetail)
#include "tst_detail.moc"
