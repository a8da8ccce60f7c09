#include "PaneTestSupport.h"
#include "common/RandomEdits.h"
#include "model/Clock.h"
#include "model/SmartRuleSet.h"
#include "ui/ColorSwatchPicker.h"
#include "ui/FolderEditor.h"
#include "ui/LibraryHealthMonitor.h"
#include "ui/LibraryNavigation.h"
#include "ui/ShortcutDrag.h"
#include "ui/ShortcutRoles.h"
#include "ui/SidebarModel.h"
#include "ui/SidebarOperations.h"
#include "ui/SidebarView.h"
#include "ui/SmartListEditor.h"
#include "ui/TagEditor.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QSignalSpy>
#include <QToolButton>
#include <QTreeView>

using Header = SidebarModel::Header;

// Triggers an action of a row's context menu and lets the change arrive.
#define ROW_ACTION(header, title, action)                                                          \
    do {                                                                                           \
        std::unique_ptr<QMenu> menu_(m_sidebar->createContextMenu(row(header, title)));            \
        TRIGGER(menu_.get(), action);                                                              \
        PaneTest::settle();                                                                        \
    } while (false)

class TestSidebar : public QObject, PaneFixture {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void sectionsRowsAndCounts();
    void missingAndHealthRowsFollowTheLibrary();
    void rowsAfterEditsEqualAFreshModel();
    void foldersThroughMenusAndSheets();
    void moveToGuardsAndMoveOut();
    void deleteFolderMovesContentsUp();
    void tagsThroughMenus();
    void smartListDuplicateAndDelete();
    void dropsOnFoldersAndTags();
    void selectionFollowsClicksKeysAndNavigation();
    void selectionNeverMovesByItself();
    void sheetsReplaceEachOther();

private:
    QStringList rowTitles(const QModelIndex &parent) const;
    QModelIndex row(Header header, const QString &title) const;
    int count(const QModelIndex &index) const { return index.data(SidebarRoles::count).toInt(); }

    std::unique_ptr<LibraryNavigation> m_navigation;
    std::unique_ptr<SidebarView> m_sidebar;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
};

void TestSidebar::init()
{
    QVERIFY(openLibrary());
    m_navigation = std::make_unique<LibraryNavigation>();
    m_sidebar = std::make_unique<SidebarView>(*m_context, *m_navigation);
    m_sidebar->resize(260, 700);
    m_sidebar->show();
    m_tester = std::make_unique<QAbstractItemModelTester>(
        m_sidebar->model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
}

void TestSidebar::cleanup()
{
    m_tester.reset();
    m_sidebar.reset();
    m_navigation.reset();
    closeLibrary();
}

QStringList TestSidebar::rowTitles(const QModelIndex &parent) const
{
    QStringList titles;
    const QAbstractItemModel *model = m_sidebar->model();
    for (int r = 0; r < model->rowCount(parent); ++r)
        titles.append(model->index(r, 0, parent).data().toString());
    return titles;
}

QModelIndex TestSidebar::row(Header header, const QString &title) const
{
    const SidebarModel *model = m_sidebar->model();
    QModelIndexList stack{model->headerIndex(header)};
    while (!stack.isEmpty()) {
        const QModelIndex parent = stack.takeFirst();
        for (int r = 0; r < model->rowCount(parent); ++r) {
            const QModelIndex index = model->index(r, 0, parent);
            if (index.data().toString() == title)
                return index;
            stack.append(index);
        }
    }
    return {};
}

void TestSidebar::sectionsRowsAndCounts()
{
    SidebarModel *model = m_sidebar->model();
    // An empty library: fixed rows with zero counts, hints instead of folders and tags, no
    // smart lists and no Shortcuts-app folders.
    QCOMPARE(rowTitles({}), (QStringList{"Library", "Folders", "Tags"}));
    QCOMPARE(
        rowTitles(model->headerIndex(Header::library)),
        (QStringList{"All Shortcuts", "Favorites", "Recently Run", "Not in a Folder", "Untagged"}));
    QCOMPARE(model->headerIndex(Header::library).data(SidebarRoles::count), QVariant());
    QCOMPARE(row(Header::library, "Favorites").data(SidebarRoles::count), QVariant(0));
    QCOMPARE(rowTitles(model->headerIndex(Header::folders)),
             QStringList{"Use + above to create a folder, then drag shortcuts onto it."});
    QCOMPARE(rowTitles(model->headerIndex(Header::tags)),
             QStringList{"Use + above to create a tag."});

    auto *work = m_context->insert(new LibraryFolder(QStringLiteral("Work")));
    auto *reports = m_context->insert(new LibraryFolder(QStringLiteral("Reports"), work));
    auto *home = m_context->insert(new LibraryFolder(QStringLiteral("home")));
    home->setSortOrder(-1);
    auto *errands = m_context->insert(new Tag(QStringLiteral("Errands"), QString()));
    auto *urgent =
        m_context->insert(new Tag(QStringLiteral("Urgent"), QStringLiteral("#FF0000"), errands));
    ShortcutItem *a = addShortcut(QStringLiteral("A"));
    ShortcutItem *b = addShortcut(QStringLiteral("B"));
    ShortcutItem *c = addShortcut(QStringLiteral("C"));
    ShortcutItem *gone = addShortcut(QStringLiteral("Gone"));
    a->setFolder(work);
    b->setFolder(reports);
    gone->setFolder(reports);
    gone->setIsMissing(true);
    a->setIsFavorite(true);
    b->setLastRunAt(QDateTime::currentDateTimeUtc());
    a->addTag(errands);
    a->addTag(urgent);
    c->addTag(urgent);
    a->setNativeFolderName(QStringLiteral("Folder 10"));
    b->setNativeFolderName(QStringLiteral("Folder 2"));
    c->setNativeFolderName(QStringLiteral("Folder 2"));
    SmartRuleSet rules;
    rules.rules.first().text = QStringLiteral("a");
    m_context->insert(new SmartList(QStringLiteral("Has A"), rules));
    PaneTest::settle();

    QCOMPARE(rowTitles({}),
             (QStringList{"Library", "Smart Lists", "Folders", "Tags", "Shortcuts App Folders"}));
    QCOMPARE(count(row(Header::library, "All Shortcuts")), 3);
    QCOMPARE(count(row(Header::library, "Favorites")), 1);
    QCOMPARE(count(row(Header::library, "Recently Run")), 1);
    QCOMPARE(count(row(Header::library, "Not in a Folder")), 1);
    QCOMPARE(count(row(Header::library, "Untagged")), 1);
    QCOMPARE(count(row(Header::library, "Missing from Shortcuts")), 1);
    QCOMPARE(count(row(Header::smartLists, "Has A")), 1);
    // Top level by sortOrder, then name; a folder counts its sub-folders' visible shortcuts.
    QCOMPARE(rowTitles(model->headerIndex(Header::folders)), (QStringList{"home", "Work"}));
    QCOMPARE(rowTitles(row(Header::folders, "Work")), QStringList{"Reports"});
    QCOMPARE(count(row(Header::folders, "Work")), 2);
    QCOMPARE(count(row(Header::folders, "Reports")), 1);
    QCOMPARE(count(row(Header::folders, "home")), 0);
    // A shortcut carrying a tag and its sub-tag counts once.
    QCOMPARE(count(row(Header::tags, "Errands")), 2);
    QCOMPARE(count(row(Header::tags, "Urgent")), 2);
    QCOMPARE(row(Header::tags, "Errands").data(SidebarRoles::tint), QVariant());
    QCOMPARE(row(Header::tags, "Urgent").data(SidebarRoles::tint).value<QColor>(), QColor(Qt::red));
    QCOMPARE(rowTitles(model->headerIndex(Header::nativeFolders)),
             (QStringList{"Folder 2", "Folder 10"}));
    QCOMPARE(count(row(Header::nativeFolders, "Folder 2")), 2);
    QCOMPARE(model->section(row(Header::nativeFolders, "Folder 2")).value_or(LibrarySection::all()),
             LibrarySection::nativeFolder(QStringLiteral("Folder 2")));
    // The Shortcuts-app group starts collapsed, the folder tree expanded.
    QVERIFY(!m_sidebar->treeView()->isExpanded(model->headerIndex(Header::nativeFolders)));
    QVERIFY(m_sidebar->treeView()->isExpanded(row(Header::folders, "Work")));
}

void TestSidebar::missingAndHealthRowsFollowTheLibrary()
{
    const QModelIndex library = m_sidebar->model()->headerIndex(Header::library);
    const auto health = [&] { return row(Header::library, QStringLiteral("Library Health")); };
    ShortcutItem *item = addShortcut(QStringLiteral("Lamp"));
    PaneTest::settle();
    QVERIFY(!health().isValid());
    // The missing row comes and goes with what sync finds.
    QCOMPARE(m_sidebar->model()->rowCount(library), 5);
    item->setIsMissing(true);
    PaneTest::settle();
    QCOMPARE(m_sidebar->model()->rowCount(library), 6);
    QCOMPARE(count(row(Header::library, "All Shortcuts")), 0);
    item->setIsMissing(false);
    PaneTest::settle();
    QCOMPARE(m_sidebar->model()->rowCount(library), 5);
    QCOMPARE(count(row(Header::library, "All Shortcuts")), 1);

    // Last in the Library section, after the missing row, counting every problem.
    auto *tag = m_context->insert(new Tag(QStringLiteral("Spare"), QString()));
    addShortcut(QStringLiteral(" Lamp"));
    addShortcut(QStringLiteral("Gone"))->setIsMissing(true);
    PaneTest::settle();
    QCOMPARE(rowTitles(library).mid(5), (QStringList{"Missing from Shortcuts", "Library Health"}));
    QCOMPARE(count(health()), 2);
    QCOMPARE(m_sidebar->model()->section(health()), LibrarySection::health());
    m_sidebar->treeView()->setCurrentIndex(health());
    QCOMPARE(m_navigation->section(), LibrarySection::health());

    item->addTag(tag);
    PaneTest::settle();
    QCOMPARE(count(health()), 1);
    m_context->shortcuts()[1]->setName(QStringLiteral("Lamp 2"));
    PaneTest::settle();
    QVERIFY(!health().isValid());

    // Time alone makes shortcuts quiet; the hourly check notices.
    const QDateTime later = QDateTime::currentDateTimeUtc().addDays(LibraryHealth::quietDays + 1);
    Clock::setOverride([later] { return later; });
    LibraryHealthMonitor::of(*m_context).recheck();
    Clock::setOverride({});
    QCOMPARE(count(health()), 2);
}

// A change of shortcuts alone moves counts in place; rows that come and go with a count (Missing,
// Library Health, the Shortcuts app's folders) and changes of folders, tags and lists rebuild.
// Either way the rows are those of a model built afresh.
void TestSidebar::rowsAfterEditsEqualAFreshModel()
{
    RandomEdits edits(*m_context, 3);
    edits.addFoldersAndTags(6);
    SmartRuleSet mail;
    mail.rules[0].field = SmartRule::Field::name;
    mail.rules[0].text = QStringLiteral("mail 1");
    m_context->insert(new SmartList(QStringLiteral("Mail"), mail));
    edits.addShortcuts(60, Clock::now());
    PaneTest::settle();
    const auto rows = [](const QAbstractItemModel &model) {
        QStringList rows;
        const std::function<void(const QModelIndex &, int)> walk = [&](const QModelIndex &parent,
                                                                       int depth) {
            for (int r = 0; r < model.rowCount(parent); ++r) {
                const QModelIndex index = model.index(r, 0, parent);
                rows.append(QStringLiteral("%1%2 %3").arg(
                    QString(depth, QLatin1Char(' ')), index.data().toString(),
                    index.data(SidebarRoles::count).toString()));
                walk(index, depth + 1);
            }
        };
        walk({}, 0);
        return rows;
    };
    // The Shortcuts app's folders go, then the first one comes back.
    const std::function<void()> noNatives = [&] {
        for (ShortcutItem *item : m_context->shortcuts())
            item->setNativeFolderName(QString());
    };
    const std::function<void()> oneNative = [&] {
        m_context->shortcuts().first()->setNativeFolderName(QStringLiteral("Work"));
    };
    for (const std::function<void()> &change : {noNatives, oneNative}) {
        change();
        PaneTest::settle();
        const SidebarModel fresh(*m_context);
        QCOMPARE(rows(*m_sidebar->model()), rows(fresh));
    }
    for (int round = 0; round < 150; ++round) {
        edits.round(round, Clock::now());
        PaneTest::settle();
        const SidebarModel fresh(*m_context);
        QCOMPARE(rows(*m_sidebar->model()), rows(fresh));
        if (QTest::currentTestFailed())
            QFAIL(qPrintable(QStringLiteral("round %1").arg(round)));
    }
}

void TestSidebar::foldersThroughMenusAndSheets()
{
    // "New Folder" from the New menu, with a name that needs trimming.
    TRIGGER(m_sidebar.get(), "newFolder");
    FolderEditor *editor = m_sidebar->folderEditor();
    QVERIFY(editor);
    QCOMPARE(editor->windowTitle(), QStringLiteral("New Folder"));
    QVERIFY(!editor->saveButton()->isEnabled());
    editor->nameField()->setText(QStringLiteral(" \t "));
    QVERIFY(!editor->saveButton()->isEnabled());
    editor->nameField()->setText(QStringLiteral("  Projects\t"));
    QVERIFY(editor->saveButton()->isEnabled());
    editor->saveButton()->click();
    QTRY_VERIFY(!m_sidebar->folderEditor());
    PaneTest::settle();
    QCOMPARE(m_context->folders().size(), 1);
    LibraryFolder *projects = m_context->folders().first();
    QCOMPARE(projects->name(), QStringLiteral("Projects"));
    QCOMPARE(projects->symbolName(), QStringLiteral("folder"));
    QCOMPARE(projects->colorHex(), QStringLiteral("#24BAF7"));

    // "New Folder Inside…" from the row's context menu.
    std::unique_ptr<QMenu> menu(m_sidebar->createContextMenu(row(Header::folders, "Projects")));
    QVERIFY(menu);
    QCOMPARE(displayedTexts(menu.get()),
             (QStringList{"New Folder Inside…", "Edit Folder…", "Copy Link", "-", "Move To", "-",
                          "Delete Folder"}));
    TRIGGER(menu.get(), "newFolderInside");
    editor = m_sidebar->folderEditor();
    QVERIFY(editor);
    QCOMPARE(editor->parentPicker()->currentText(), QStringLiteral("Projects"));
    editor->nameField()->setText(QStringLiteral("Archive"));
    editor->saveButton()->click();
    PaneTest::settle();
    QCOMPARE(rowTitles(row(Header::folders, "Projects")), QStringList{"Archive"});

    // "Edit Folder…": rename and clear the colour with the Default swatch.
    menu.reset(m_sidebar->createContextMenu(row(Header::folders, "Archive")));
    TRIGGER(menu.get(), "editFolder");
    editor = m_sidebar->folderEditor();
    QCOMPARE(editor->windowTitle(), QStringLiteral("Edit Folder"));
    QCOMPARE(editor->nameField()->text(), QStringLiteral("Archive"));
    editor->nameField()->setText(QStringLiteral("Old Stuff"));
    editor->colorPicker()->setHex(QString());
    editor->saveButton()->click();
    PaneTest::settle();
    QVERIFY(row(Header::folders, "Old Stuff").isValid());
    QCOMPARE(row(Header::folders, "Old Stuff").data(SidebarRoles::tint), QVariant());

    // Cancel writes nothing.
    menu.reset(m_sidebar->createContextMenu(row(Header::folders, "Old Stuff")));
    TRIGGER(menu.get(), "editFolder");
    m_sidebar->folderEditor()->nameField()->setText(QStringLiteral("Never Saved"));
    m_sidebar->folderEditor()->cancelButton()->click();
    PaneTest::settle();
    QVERIFY(row(Header::folders, "Old Stuff").isValid());

    // What the store keeps.
    auto stored = reopen();
    QCOMPARE(stored->folders().size(), 2);
    LibraryFolder *storedProjects = nullptr;
    for (LibraryFolder *f : stored->folders())
        if (f->name() == QStringLiteral("Projects"))
            storedProjects = f;
    QVERIFY(storedProjects);
    QCOMPARE(storedProjects->children().size(), 1);
    QCOMPARE(storedProjects->children().first()->name(), QStringLiteral("Old Stuff"));
    QCOMPARE(storedProjects->children().first()->colorHex(), QString());
}

void TestSidebar::moveToGuardsAndMoveOut()
{
    auto *a = m_context->insert(new LibraryFolder(QStringLiteral("A")));
    auto *b = m_context->insert(new LibraryFolder(QStringLiteral("B"), a));
    auto *c = m_context->insert(new LibraryFolder(QStringLiteral("C"), b));
    auto *d = m_context->insert(new LibraryFolder(QStringLiteral("D")));
    saveAndSettle();

    // "Move To" of B: Top Level, then the flattened tree without B and what lies below it.
    std::unique_ptr<QMenu> menu(m_sidebar->createContextMenu(row(Header::folders, "B")));
    QMenu *moveTo = PaneTest::findMenu(menu.get(), "moveToMenu");
    QVERIFY(moveTo);
    QCOMPARE(displayedTexts(moveTo), (QStringList{"Top Level", "A", "D"}));
    QVERIFY(PaneTest::findAction(menu.get(), "moveOut"));
    QCOMPARE(PaneTest::findAction(menu.get(), "moveOut")->text(), QStringLiteral("Move Out of A"));
    // Titles are indented four spaces per level.
    menu.reset(m_sidebar->createContextMenu(row(Header::folders, "D")));
    QCOMPARE(displayedTexts(PaneTest::findMenu(menu.get(), "moveToMenu")),
             (QStringList{"Top Level", "A", "    B", "        C"}));
    QVERIFY(!PaneTest::findAction(menu.get(), "moveOut"));

    // The guard itself: no folder goes below itself.
    QVERIFY(!SidebarOperations::moveFolder(*m_context, a, c));
    QVERIFY(!SidebarOperations::moveFolder(*m_context, a, a));
    QCOMPARE(a->parent(), nullptr);

    ROW_ACTION(Header::folders, "D", QStringLiteral("moveTo:") + c->uuid());
    QCOMPARE(d->parent(), c);
    QCOMPARE(rowTitles(row(Header::folders, "C")), QStringList{"D"});
    QCOMPARE(reopen()->folder(d->uuid())->parent()->uuid(), c->uuid());
    ROW_ACTION(Header::folders, "D", "moveOut");
    QCOMPARE(d->parent(), b);
    ROW_ACTION(Header::folders, "D", "moveToTopLevel");
    QCOMPARE(d->parent(), nullptr);
    QCOMPARE(rowTitles(m_sidebar->model()->headerIndex(Header::folders)), (QStringList{"A", "D"}));
    QCOMPARE(reopen()->folder(d->uuid())->parent(), nullptr);
}

void TestSidebar::deleteFolderMovesContentsUp()
{
    auto *top = m_context->insert(new LibraryFolder(QStringLiteral("Top")));
    auto *middle = m_context->insert(new LibraryFolder(QStringLiteral("Middle"), top));
    auto *leaf = m_context->insert(new LibraryFolder(QStringLiteral("Leaf"), middle));
    ShortcutItem *inMiddle = addShortcut(QStringLiteral("In Middle"));
    ShortcutItem *inTop = addShortcut(QStringLiteral("In Top"));
    inMiddle->setFolder(middle);
    inTop->setFolder(top);
    saveAndSettle();

    // Deleting the selected folder's parent leaves the selection alone.
    m_navigation->setSection(LibrarySection::folder(leaf->uuid()));
    ROW_ACTION(Header::folders, "Middle", "deleteFolder");
    QCOMPARE(m_navigation->effectiveSection(), LibrarySection::folder(leaf->uuid()));
    QCOMPARE(leaf->parent(), top);
    QCOMPARE(inMiddle->folder(), top);
    QCOMPARE(rowTitles(row(Header::folders, "Top")), QStringList{"Leaf"});

    // Deleting the selected top-level folder selects all shortcuts and unfiles its shortcuts.
    m_navigation->setSection(LibrarySection::folder(top->uuid()));
    ROW_ACTION(Header::folders, "Top", "deleteFolder");
    QCOMPARE(m_navigation->effectiveSection(), LibrarySection::all());
    QCOMPARE(inTop->folder(), nullptr);
    QCOMPARE(inMiddle->folder(), nullptr);
    QCOMPARE(leaf->parent(), nullptr);

    auto stored = reopen();
    QCOMPARE(stored->folders().size(), 1);
    QCOMPARE(stored->shortcuts().size(), 2);
    for (ShortcutItem *item : stored->shortcuts())
        QCOMPARE(item->folder(), nullptr);
}

void TestSidebar::tagsThroughMenus()
{
    TRIGGER(m_sidebar.get(), "newTag");
    TagEditor *editor = m_sidebar->tagEditor();
    QVERIFY(editor);
    QVERIFY(!editor->colorPicker()->allowNone());
    editor->nameField()->setText(QStringLiteral("Home "));
    editor->saveButton()->click();
    PaneTest::settle();
    QCOMPARE(m_context->tags().size(), 1);
    Tag *homeTag = m_context->tags().first();
    QCOMPARE(homeTag->name(), QStringLiteral("Home"));
    QCOMPARE(homeTag->colorHex(), QStringLiteral("#24BAF7"));
    QCOMPARE(homeTag->shortcuts().size(), 0);
    QCOMPARE(reopen()->tags().size(), 1); // the editor saved it

    std::unique_ptr<QMenu> menu(m_sidebar->createContextMenu(row(Header::tags, "Home")));
    QCOMPARE(displayedTexts(menu.get()), (QStringList{"New Tag Inside…", "Edit Tag…", "Copy Link",
                                                      "-", "Move To", "-", "Delete Tag"}));
    TRIGGER(menu.get(), "newTagInside");
    QCOMPARE(m_sidebar->tagEditor()->windowTitle(), QStringLiteral("New Tag"));
    QCOMPARE(m_sidebar->tagEditor()->parentPicker()->currentText(), QStringLiteral("Home"));
    m_sidebar->tagEditor()->nameField()->setText(QStringLiteral("Kitchen"));
    m_sidebar->tagEditor()->saveButton()->click();
    PaneTest::settle();
    Tag *kitchen = m_context->tags().last();
    QCOMPARE(kitchen->parent(), homeTag);
    ShortcutItem *item = addShortcut(QStringLiteral("Timer"));
    item->addTag(kitchen);
    item->addTag(homeTag);
    saveAndSettle();

    // The parent cannot move below its own child, by menu or editor; the child moves out again.
    homeTag->setColorHex(QStringLiteral("#9099A3"));
    menu.reset(m_sidebar->createContextMenu(row(Header::tags, "Home")));
    QCOMPARE(displayedTexts(PaneTest::findMenu(menu.get(), "moveToMenu")),
             QStringList{"Top Level"});
    TRIGGER(menu.get(), "editTag");
    QCOMPARE(m_sidebar->tagEditor()->windowTitle(), QStringLiteral("Edit Tag"));
    QCOMPARE(m_sidebar->tagEditor()->parentPicker()->count(), 1);
    QCOMPARE(m_sidebar->tagEditor()->colorPicker()->hex(), QStringLiteral("#9099A3"));
    m_sidebar->tagEditor()->cancelButton()->click();
    menu.reset(m_sidebar->createContextMenu(row(Header::tags, "Kitchen")));
    QCOMPARE(PaneTest::findAction(menu.get(), "moveOut")->text(),
             QStringLiteral("Move Out of Home"));
    TRIGGER(menu.get(), "moveOut");
    PaneTest::settle();
    QCOMPARE(kitchen->parent(), nullptr);
    QVERIFY(!SidebarOperations::moveTag(*m_context, kitchen, kitchen));

    // Deleting a tag with a child: the child moves up, shortcuts just lose the tag.
    kitchen->setParent(homeTag);
    saveAndSettle();
    ROW_ACTION(Header::tags, "Home", "deleteTag");
    QCOMPARE(kitchen->parent(), nullptr);
    QCOMPARE(item->tags(), QList<Tag *>{kitchen});
    auto stored = reopen();
    QCOMPARE(stored->tags().size(), 1);
    QCOMPARE(stored->shortcuts().first()->tags().size(), 1);
}

void TestSidebar::smartListDuplicateAndDelete()
{
    SmartRuleSet rules;
    rules.sort = ShortcutSort::dateAdded;
    rules.ascending = false;
    auto *work = m_context->insert(new SmartList(QStringLiteral("Work"), rules));
    work->setSortOrder(4);
    work->setSymbolName(QStringLiteral("bolt"));
    work->setColorHex(QStringLiteral("#53CD6B"));
    saveAndSettle();

    std::unique_ptr<QMenu> menu(m_sidebar->createContextMenu(row(Header::smartLists, "Work")));
    QCOMPARE(displayedTexts(menu.get()),
             (QStringList{"Edit Smart List…", "Duplicate", "Copy Link", "Delete"}));
    m_navigation->setSection(LibrarySection::smartList(work->uuid()));
    TRIGGER(menu.get(), "duplicateSmartList");
    PaneTest::settle();
    QCOMPARE(m_context->smartLists().size(), 2);
    SmartList *copy = m_context->smartLists().last();
    QCOMPARE(copy->name(), QStringLiteral("Work Copy"));
    QCOMPARE(copy->sortOrder(), qint64(5));
    QCOMPARE(copy->symbolName(), QStringLiteral("bolt"));
    QCOMPARE(copy->colorHex(), QStringLiteral("#53CD6B"));
    QCOMPARE(copy->ruleSet().sort, ShortcutSort::dateAdded);
    QCOMPARE(m_navigation->effectiveSection(), LibrarySection::smartList(work->uuid()));
    QCOMPARE(rowTitles(m_sidebar->model()->headerIndex(Header::smartLists)),
             (QStringList{"Work", "Work Copy"}));

    ROW_ACTION(Header::smartLists, "Work", "deleteSmartList");
    QCOMPARE(m_navigation->effectiveSection(), LibrarySection::all());
    ROW_ACTION(Header::smartLists, "Work Copy", "deleteSmartList");
    QVERIFY(!m_sidebar->model()->headerIndex(Header::smartLists).isValid());
    QCOMPARE(reopen()->smartLists().size(), 0);
}

void TestSidebar::dropsOnFoldersAndTags()
{
    auto *inbox = m_context->insert(new LibraryFolder(QStringLiteral("Inbox")));
    auto *done = m_context->insert(new LibraryFolder(QStringLiteral("Done")));
    auto *tag = m_context->insert(new Tag(QStringLiteral("Later"), QString()));
    ShortcutItem *one = addShortcut(QStringLiteral("One"));
    ShortcutItem *two = addShortcut(QStringLiteral("Two"));
    one->setFolder(done);
    saveAndSettle();
    SidebarModel *model = m_sidebar->model();

    // Through the model: our own type, unknown identifiers ignored, and reported as done.
    const QModelIndex inboxRow = row(Header::folders, "Inbox");
    std::unique_ptr<QMimeData> data(
        ShortcutDrag::mimeData({one->identifier(), QStringLiteral("NOPE"), two->identifier()}));
    QVERIFY(!model->canDropMimeData(data.get(), Qt::CopyAction, 0, 0, inboxRow));
    QVERIFY(!model->canDropMimeData(data.get(), Qt::CopyAction, -1, -1,
                                    row(Header::library, "Favorites")));
    QVERIFY(model->dropMimeData(data.get(), Qt::CopyAction, -1, -1, inboxRow));
    QCOMPARE(one->folder(), inbox);
    QCOMPARE(two->folder(), inbox);
    QVERIFY(done->shortcuts().isEmpty());
    std::unique_ptr<QMimeData> unknown(ShortcutDrag::mimeData({QStringLiteral("NOPE")}));
    QVERIFY(
        model->dropMimeData(unknown.get(), Qt::CopyAction, -1, -1, row(Header::folders, "Done")));

    // Plain text, one identifier a line; twice on the same tag leaves one copy.
    QMimeData text;
    text.setText(one->identifier() + QStringLiteral("\r\n"));
    QVERIFY(model->dropMimeData(&text, Qt::CopyAction, -1, -1, row(Header::tags, "Later")));
    QVERIFY(model->dropMimeData(&text, Qt::CopyAction, -1, -1, row(Header::tags, "Later")));
    QCOMPARE(one->tags(), QList<Tag *>{tag});
    PaneTest::settle();
    QCOMPARE(count(row(Header::tags, "Later")), 1);
    QCOMPARE(count(row(Header::folders, "Inbox")), 2);

    // A real drop event on the row of the Done folder.
    QTreeView *tree = m_sidebar->treeView();
    const QRect target = tree->visualRect(row(Header::folders, "Done"));
    QVERIFY(target.isValid());
    std::unique_ptr<QMimeData> dragged(ShortcutDrag::mimeData({two->identifier()}));
    QDragEnterEvent enter(target.center(), Qt::CopyAction, dragged.get(), Qt::LeftButton,
                          Qt::NoModifier);
    QCoreApplication::sendEvent(tree->viewport(), &enter);
    QDragMoveEvent move(target.center(), Qt::CopyAction, dragged.get(), Qt::LeftButton,
                        Qt::NoModifier);
    QCoreApplication::sendEvent(tree->viewport(), &move);
    QVERIFY(move.isAccepted());
    QDropEvent drop(target.center(), Qt::CopyAction, dragged.get(), Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(tree->viewport(), &drop);
    QCOMPARE(two->folder(), done);

    auto stored = reopen();
    for (ShortcutItem *item : stored->shortcuts())
        QCOMPARE(item->folder()->name(), item->name() == QStringLiteral("One")
                                             ? QStringLiteral("Inbox")
                                             : QStringLiteral("Done"));
}

void TestSidebar::selectionFollowsClicksKeysAndNavigation()
{
    auto *folder = m_context->insert(new LibraryFolder(QStringLiteral("Work")));
    addShortcut(QStringLiteral("Filed"))->setFolder(folder); // no Library Health row
    saveAndSettle();
    QTreeView *tree = m_sidebar->treeView();
    const auto selectedTitle = [tree] {
        const QModelIndexList selected = tree->selectionModel()->selectedIndexes();
        return selected.isEmpty() ? QString() : selected.first().data().toString();
    };
    QCOMPARE(selectedTitle(), QStringLiteral("All Shortcuts"));

    // A right-click selects nothing. Down from the last Library row passes over the "Folders"
    // header (and the missing "Smart Lists") to the folder; up comes back.
    m_navigation->setSection(LibrarySection::untagged());
    QTest::mouseClick(tree->viewport(), Qt::RightButton, {},
                      tree->visualRect(m_sidebar->model()->indexOf(folder)).center());
    QCOMPARE(m_navigation->effectiveSection(), LibrarySection::untagged());
    tree->setFocus();
    QTest::keyClick(tree, Qt::Key_Down);
    QCOMPARE(m_navigation->effectiveSection(), LibrarySection::folder(folder->uuid()));
    QTest::keyClick(tree, Qt::Key_Up);
    QCOMPARE(m_navigation->effectiveSection(), LibrarySection::untagged());
    // At the top, Up stays on the first row instead of the "Library" header.
    m_navigation->setSection(LibrarySection::all());
    QTest::keyClick(tree, Qt::Key_Up);
    QCOMPARE(m_navigation->effectiveSection(), LibrarySection::all());
    QCOMPARE(tree->currentIndex(), m_sidebar->model()->indexOf(LibrarySection::all()));

    // A click on a row sets the section; headers and hints select nothing.
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {},
                      tree->visualRect(row(Header::library, "Untagged")).center());
    QCOMPARE(m_navigation->effectiveSection(), LibrarySection::untagged());
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {},
                      tree->visualRect(m_sidebar->model()->headerIndex(Header::tags)).center());
    QCOMPARE(m_navigation->effectiveSection(), LibrarySection::untagged());

    // The navigation drives the selection, and a row that moves keeps it.
    m_navigation->setSection(LibrarySection::folder(folder->uuid()));
    QCOMPARE(selectedTitle(), QStringLiteral("Work"));
    m_context->insert(new LibraryFolder(QStringLiteral("Alpha")));
    saveAndSettle();
    QCOMPARE(selectedTitle(), QStringLiteral("Work"));
    folder->setName(QStringLiteral("Zed"));
    PaneTest::settle();
    QCOMPARE(selectedTitle(), QStringLiteral("Zed"));
    QCOMPARE(m_navigation->effectiveSection(), LibrarySection::folder(folder->uuid()));
}

void TestSidebar::selectionNeverMovesByItself()
{
    auto *work = m_context->insert(new LibraryFolder(QStringLiteral("Work")));
    auto *home = m_context->insert(new LibraryFolder(QStringLiteral("Home")));
    auto *deep = m_context->insert(new LibraryFolder(QStringLiteral("Deep"), work));
    auto *other = m_context->insert(new LibraryFolder(QStringLiteral("Other"), work));
    ShortcutItem *item = addShortcut(QStringLiteral("Backup"));
    saveAndSettle();
    QTreeView *tree = m_sidebar->treeView();
    QSignalSpy sections(m_navigation.get(), &LibraryNavigation::sectionChanged);
    const auto expectSelected = [&](const LibrarySection &section, const QString &title) {
        PaneTest::settle();
        QCOMPARE(m_navigation->effectiveSection(), section);
        const QModelIndexList selected = tree->selectionModel()->selectedIndexes();
        QCOMPARE(selected.size(), 1);
        QCOMPARE(selected.first().data().toString(), title);
    };

    m_navigation->setSection(LibrarySection::folder(deep->uuid()));
    sections.clear();
    const LibrarySection deepSection = LibrarySection::folder(deep->uuid());
    // Moved to another parent (its row is removed and inserted elsewhere), to the top level,
    // back inside; renamed; its neighbours renamed, moved and deleted; counts changing.
    SidebarOperations::moveFolder(*m_context, deep, home);
    expectSelected(deepSection, QStringLiteral("Deep"));
    SidebarOperations::moveFolder(*m_context, deep, nullptr);
    expectSelected(deepSection, QStringLiteral("Deep"));
    SidebarOperations::moveFolder(*m_context, deep, work);
    expectSelected(deepSection, QStringLiteral("Deep"));
    deep->setName(QStringLiteral("A deep one"));
    expectSelected(deepSection, QStringLiteral("A deep one"));
    other->setName(QStringLiteral("0 first"));
    SidebarOperations::moveFolder(*m_context, other, home);
    item->setFolder(deep);
    expectSelected(deepSection, QStringLiteral("A deep one"));
    SidebarOperations::deleteFolder(*m_context, *m_navigation, other);
    SidebarOperations::moveFolder(*m_context, work, home); // the selected row's parent moves
    expectSelected(deepSection, QStringLiteral("A deep one"));
    QCOMPARE(sections.count(), 0);

    // The Missing row appearing and going away while it is the selection.
    item->setIsMissing(true);
    PaneTest::settle();
    m_navigation->setSection(LibrarySection::missing());
    expectSelected(LibrarySection::missing(), QStringLiteral("Missing from Shortcuts"));
    sections.clear();
    item->setIsMissing(false);
    PaneTest::settle();
    QCOMPARE(m_navigation->effectiveSection(), LibrarySection::missing());
    QVERIFY(tree->selectionModel()->selectedIndexes().isEmpty());
    item->setIsMissing(true);
    expectSelected(LibrarySection::missing(), QStringLiteral("Missing from Shortcuts"));
    QCOMPARE(sections.count(), 0);
}

void TestSidebar::sheetsReplaceEachOther()
{
    TRIGGER(m_sidebar.get(), "newFolder");
    QPointer<EditorSheet> first = m_sidebar->openSheet();
    QVERIFY(first);
    // The same target keeps the open sheet.
    m_sidebar->editFolder(FolderEditTarget::makeNew(nullptr));
    QCOMPARE(m_sidebar->openSheet(), first.data());
    // Another one replaces it.
    TRIGGER(m_sidebar.get(), "newSmartList");
    QTRY_VERIFY(!first);
    QVERIFY(m_sidebar->smartListEditor());
    QCOMPARE(m_sidebar->smartListEditor()->windowTitle(), QStringLiteral("New Smart List"));
    // The New button carries the menu and its help text.
    QCOMPARE(m_sidebar->newButton()->toolTip(), QStringLiteral("New Smart List, Folder, or Tag"));
    QCOMPARE(displayedTexts(m_sidebar->newMenu()),
             (QStringList{"New Smart List", "New Folder", "New Tag"}));
}

QTEST_MAIN(TestSidebar)
#include "tst_sidebar.moc"
