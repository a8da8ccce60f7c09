#include "LayoutCheck.h"
#include "WindowTestSupport.h"
#include "model/LibraryFolder.h"
#include "model/SmartList.h"
#include "model/SmartRuleSet.h"
#include "model/Tag.h"
#include "ui/DetailColumn.h"
#include "ui/EmptyStatePanel.h"
#include "ui/FolderEditor.h"
#include "ui/OutcomeBanner.h"
#include "ui/QuickRunPalette.h"
#include "ui/ShortcutCollectionView.h"
#include "ui/ShortcutDetailView.h"
#include "ui/ShortcutGridView.h"
#include "ui/SidebarView.h"
#include "ui/SmartListEditor.h"
#include "ui/TagEditor.h"
#include "ui/TextBlock.h"

#include <QDir>
#include <QLineEdit>
#include <QSplitter>
#include <QToolBar>
#include <QToolButton>
#include <QWidgetAction>

// Every pane of the window, at the minimum size and a large one, over a library of texts that
// break naive layouts: nothing may leave its parent, scroll sideways or cut its text.
class LayoutTest : public QObject {
    Q_OBJECT
private slots:
    void panes_data();
    void panes();
};

namespace {
const QString longWord = QString(200, u'W');
const QString longTag = QStringLiteral("Tag") + QString(77, u'x');
const QString rtlName = QStringLiteral("اختصار طويل جدا لتجربة النص من اليمين إلى اليسار");
const QString emojiName = QStringLiteral("Morning ☀️🌈🚀 Routine 👩‍💻");
const QString identifier = QStringLiteral("3F2504E0-4F89-11D3-9A0C-0305E82C3301");

struct Hostile {
    ShortcutItem *longName = nullptr;
    ShortcutItem *manyTags = nullptr;
    LibraryFolder *deepest = nullptr;
    LibraryFolder *empty = nullptr;
    Tag *longTag = nullptr;
    SmartList *list = nullptr;
};

Hostile fillHostile(WindowFixture &f)
{
    Hostile h;
    ModelContext &context = *f.context;
    LibraryFolder *parent = nullptr;
    for (int level = 0; level < 5; ++level) {
        parent = context.insert(new LibraryFolder(
            QStringLiteral("Level %1 folder with a rather long descriptive name").arg(level),
            parent));
    }
    h.deepest = parent;
    h.empty = context.insert(new LibraryFolder(QStringLiteral("Empty"), nullptr));
    h.longTag = context.insert(new Tag(longTag, QStringLiteral("#F36F74")));
    QList<Tag *> tags{h.longTag};
    for (int i = 0; i < 29; ++i)
        tags.append(context.insert(new Tag(QStringLiteral("tag-%1").arg(i), QString())));

    h.longName = context.insert(new ShortcutItem(identifier, longWord));
    h.longName->setSubtitle(QString(120, u's'));
    h.longName->setFolder(h.deepest);
    h.longName->setTags(tags);
    h.longName->setAcceptsInput(true);
    h.longName->setNotes(QString(300, u'n'));
    h.longName->setNativeFolderName(QString(90, u'f'));
    h.longName->setIsFavorite(true);
    h.longName->setLastRunAt(QDateTime::currentDateTime().addDays(-3));
    h.manyTags = context.insert(new ShortcutItem(QStringLiteral("name:") + rtlName, rtlName));
    h.manyTags->setTags(tags);
    h.manyTags->setIsMissing(true);
    context.insert(new ShortcutItem(QStringLiteral("emoji"), emojiName))->setTags(tags.mid(0, 3));
    context.insert(new ShortcutItem(QStringLiteral("html"), QStringLiteral("<i>Italic</i> name")));
    for (int i = 0; i < 12; ++i)
        context.insert(new ShortcutItem(QStringLiteral("plain-%1").arg(i),
                                        QStringLiteral("Shortcut number %1").arg(i)));

    SmartRuleSet rules;
    rules.rules.clear();
    for (SmartRule::Field field : allCases<SmartRule::Field>()) {
        SmartRule rule;
        rule.field = field;
        rule.text = longWord;
        rules.rules.append(rule);
    }
    h.list = context.insert(new SmartList(QString(90, u'L'), rules));
    return h;
}

QString report(const QString &pane, const QStringList &faults)
{
    return pane + QStringLiteral(":\n  ") + faults.join(QStringLiteral("\n  "));
}

// With THIMBLECRAFT_SCREENSHOT_DIR set, each checked pane is also saved as a picture.
void savePicture(QWidget *widget, const QString &pane)
{
    const QString dir = qEnvironmentVariable("THIMBLECRAFT_SCREENSHOT_DIR");
    if (dir.isEmpty())
        return;
    QString name = QStringLiteral("layout-%1x%2-%3.png")
                       .arg(widget->width())
                       .arg(widget->height())
                       .arg(pane.left(40));
    name.replace(u' ', u'-');
    widget->grab().save(QDir(dir).filePath(name));
}

#define CHECK_LAYOUT(widget, pane)                                                                 \
    do {                                                                                           \
        settle();                                                                                  \
        const QStringList faults_ = LayoutCheck::faults(widget);                                   \
        savePicture(widget, pane);                                                                 \
        QVERIFY2(faults_.isEmpty(), qPrintable(report(pane, faults_)));                            \
    } while (false)
} // namespace

void LayoutTest::panes_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("minimum") << QSize(1000, 560);
    QTest::newRow("large") << QSize(1600, 1000);
}

void LayoutTest::panes()
{
    QFETCH(QSize, size);
    WindowFixture f;
    f.navigation->setShowInspector(true);
    LibraryWindow &window = f.open();
    window.resize(size);
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    settle();
    QCOMPARE(window.size(), size);
    QCOMPARE(window.collection()->emptyState()->title(), QStringLiteral("No Shortcuts Yet"));
    CHECK_LAYOUT(&window, QStringLiteral("No Shortcuts Yet"));

    // The library arrives as from a first sync.
    const Hostile h = fillHostile(f);
    f.navigation->setSelectedShortcut(nullptr);
    CHECK_LAYOUT(&window, QStringLiteral("grid, nothing selected"));
    QVERIFY(window.inspector()->isShowingEmptyState());

    for (ShortcutItem *item : {h.longName, h.manyTags}) {
        f.navigation->setSelectedShortcut(item);
        CHECK_LAYOUT(&window, QStringLiteral("inspector of ") + item->name().left(20));
    }
    WindowSettings::shared().setViewMode(WindowSettings::ViewMode::list);
    CHECK_LAYOUT(&window, QStringLiteral("list"));
    WindowSettings::shared().setViewMode(WindowSettings::ViewMode::grid);

    // Each toolbar command is on the bar itself or in its overflow menu, which lists plain
    // actions only; typing a search never moves the bar.
    f.navigation->setSelectedShortcut(h.longName);
    settle();
    auto *toolbar = window.findChild<QToolBar *>(QStringLiteral("collectionToolbar"));
    QVERIFY(toolbar);
    auto *overflow = toolbar->findChild<QToolButton *>(QStringLiteral("qt_toolbar_ext_button"));
    for (QAction *action : toolbar->actions()) {
        QWidget *widget = toolbar->widgetForAction(action);
        QVERIFY(widget);
        if (widget->isVisible())
            continue;
        QVERIFY2(overflow && overflow->isVisible(), qPrintable(action->text()));
        QVERIFY2(!qobject_cast<QWidgetAction *>(action), qPrintable(widget->objectName()));
    }
    QLineEdit *search = window.collection()->searchField();
    const int before = search->width();
    QTest::keyClicks(search, QStringLiteral("abc"));
    settle();
    QCOMPARE(search->width(), before);
    search->clear();

    // The editor sheets, each at its minimum size and a large one.
    const auto checkSheet = [](EditorSheet *sheet, const QString &name) {
        QVERIFY(sheet);
        QVERIFY(QTest::qWaitForWindowExposed(sheet));
        for (const QSize &size : {sheet->minimumSize(), QSize(900, 800)}) {
            sheet->resize(size);
            CHECK_LAYOUT(
                sheet, name + QStringLiteral(" at %1x%2").arg(sheet->width()).arg(sheet->height()));
        }
    };
    auto *sidebar = qobject_cast<SidebarView *>(window.sidebar());
    QVERIFY(sidebar);
    sidebar->editFolder(FolderEditTarget::edit(h.deepest));
    checkSheet(sidebar->openSheet(), QStringLiteral("folder editor"));
    sidebar->editFolder(FolderEditTarget::makeNew(h.deepest));
    checkSheet(sidebar->openSheet(), QStringLiteral("new folder"));
    sidebar->editTag(TagEditTarget::edit(h.longTag));
    checkSheet(sidebar->openSheet(), QStringLiteral("tag editor"));
    sidebar->editSmartList(SmartListEditTarget::edit(h.list));
    checkSheet(sidebar->openSheet(), QStringLiteral("smart list editor"));
    sidebar->openSheet()->close();
    auto *detail = window.findChild<ShortcutDetailView *>();
    QVERIFY(detail);
    detail->newTag();
    checkSheet(detail->tagEditor(), QStringLiteral("new tag from the inspector"));
    detail->tagEditor()->close();
    settle();

    const std::pair<LibrarySection, QString> sections[] = {
        {LibrarySection::folder(h.deepest->uuid()), QStringLiteral("deep folder")},
        {LibrarySection::tag(h.longTag->uuid()), QStringLiteral("long tag")},
        {LibrarySection::smartList(h.list->uuid()), QStringLiteral("smart list")},
        {LibrarySection::nativeFolder(h.longName->nativeFolderName()),
         QStringLiteral("Shortcuts folder")},
        {LibrarySection::favorites(), QStringLiteral("favorites")},
    };
    for (const auto &[section, name] : sections) {
        f.navigation->setSection(section);
        CHECK_LAYOUT(&window, name);
    }

    // Empty states: an empty section and a search without results, with and without an
    // inspector item.
    f.navigation->setSection(LibrarySection::folder(h.empty->uuid()));
    settle();
    QVERIFY(window.collection()->isShowingEmptyState());
    CHECK_LAYOUT(&window, QStringLiteral("Nothing Here"));
    f.navigation->setSection(LibrarySection::all());
    window.collection()->searchField()->setText(QString(150, u'Q'));
    settle();
    QVERIFY(window.collection()->isShowingEmptyState());
    CHECK_LAYOUT(&window, QStringLiteral("No Results"));
    window.collection()->searchField()->clear();

    // The banner with an error of many lines and with a one-word output.
    f.runner->handleCallbackURL(
        QUrl(QStringLiteral("thimblecraft://run-error?name=%1&"
                            "errorMessage=%2")
                 .arg(longWord, QStringLiteral("Something%20went%20wrong%20").repeated(20))));
    QTRY_VERIFY(window.banner()->isVisible() && window.banner()->isSettled());
    const QRect card = window.banner()->geometry();
    // Centred, 20 above the bottom edge (the shadow's margin of 8 lies below the card).
    QVERIFY(std::abs(card.left() + card.right() + 1 - window.centralWidget()->width()) <= 1);
    QCOMPARE(card.bottom() + 1 - 8, window.centralWidget()->height() - 20);
    QCOMPARE(
        window.findChild<TextBlock *>(QStringLiteral("outcomeBannerDetail"))->shownLines().size(),
        4);
    CHECK_LAYOUT(&window, QStringLiteral("banner with a long error"));
    CHECK_LAYOUT(window.banner(), QStringLiteral("banner content"));
    f.runner->handleCallbackURL(QUrl(QStringLiteral("thimblecraft://run-success?name=Short&"
                                                    "result=ok")));
    QTRY_VERIFY(window.banner()->isSettled());
    // A one-word output gets a card of two lines, not the height of the last one.
    QVERIFY(window.banner()->height() < card.height());
    CHECK_LAYOUT(&window, QStringLiteral("banner with a short output"));

    // Quick Run over it all: results, its input line, a search without results.
    QuickRunPalette *palette = window.quickRun();
    palette->open();
    QVERIFY(palette->results().contains(h.longName));
    CHECK_LAYOUT(&window, QStringLiteral("Quick Run"));
    QTest::keyClick(palette->searchField(), Qt::Key_Return, Qt::ShiftModifier);
    QVERIFY(palette->inputField()->isVisible());
    CHECK_LAYOUT(&window, QStringLiteral("Quick Run input"));
    palette->searchField()->setText(QString(150, u'Q'));
    QVERIFY(palette->results().isEmpty());
    CHECK_LAYOUT(&window, QStringLiteral("Quick Run without results"));
}

QTEST_MAIN(LayoutTest)
#include "tst_layout.moc"
