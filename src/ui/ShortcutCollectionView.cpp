#include "ui/ShortcutCollectionView.h"

#include "model/LibraryQuery.h"
#include "model/LowercaseMatch.h"
#include "model/ModelContext.h"
#include "shortcuts/ShortcutRunner.h"
#include "shortcuts/SymbolTable.h"
#include "sync/LibrarySyncController.h"
#include "ui/CollectionToolbar.h"
#include "ui/EmptyStatePanel.h"
#include "ui/HealthReportView.h"
#include "ui/LibraryHealthMonitor.h"
#include "ui/LibraryNavigation.h"
#include "ui/ShortcutGridView.h"
#include "ui/ShortcutListModel.h"
#include "ui/SymbolIcon.h"
#include "ui/SyncStatusLine.h"
#include "ui/TextBlock.h"
#include "ui/WindowSettings.h"

#include <QAction>
#include <QButtonGroup>
#include <QDialog>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMenu>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

ShortcutCollectionView::ShortcutCollectionView(ModelContext &context, LibraryNavigation &navigation,
                                               ShortcutRunner &runner,
                                               LibrarySyncController &syncer, QWidget *parent)
    : QWidget(parent), m_context(context), m_navigation(navigation), m_runner(runner),
      m_syncer(syncer), m_model(new ShortcutListModel(this)), m_view(new ShortcutGridView(this)),
      m_stack(new QStackedWidget(this)), m_empty(new EmptyStatePanel(this)),
      m_health(new HealthReportView(context, this)),
      m_status(new SyncStatusLine(syncer, context, this)), m_title(new TextBlock(this)),
      m_subtitle(new QLabel(this)),
      m_toolbar(new CollectionToolbar(context, navigation, syncer, this)),
      m_search(new QLineEdit(this)), m_adoption(context)
{
    setObjectName(QStringLiteral("shortcutCollection"));
    m_view->setObjectName(QStringLiteral("shortcutGrid"));
    m_title->setObjectName(QStringLiteral("collectionTitle"));
    m_subtitle->setObjectName(QStringLiteral("collectionSubtitle"));
    m_search->setObjectName(QStringLiteral("searchField"));
    m_stack->setObjectName(QStringLiteral("collectionStack"));
    m_view->setListModel(m_model);

    QFont titleFont = m_title->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.3);
    titleFont.setBold(true);
    m_title->setFont(titleFont);
    // The title takes what the toolbar leaves and cuts a long name with an ellipsis.
    m_title->setMaximumLines(1);
    m_title->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_title->setMinimumWidth(60);
    QPalette secondary = m_subtitle->palette();
    QColor colour = secondary.color(QPalette::WindowText);
    colour.setAlphaF(0.6f);
    secondary.setColor(QPalette::WindowText, colour);
    m_subtitle->setPalette(secondary);

    m_search->setPlaceholderText(QStringLiteral("Search shortcuts, tags, notes"));
    m_search->setClearButtonEnabled(true);
    if (SymbolTable::contains(QStringLiteral("magnifyingglass")))
        m_search->addAction(SymbolIcon::icon(QStringLiteral("magnifyingglass")),
                            QLineEdit::LeadingPosition);
    // Its width follows the column's (see resizeEvent), never the text typed into it.
    m_search->setFixedWidth(searchWidth());
    auto *find = new QAction(QStringLiteral("Find"), this);
    find->setObjectName(QStringLiteral("findAction"));
    find->setShortcut(QKeySequence::Find);
    find->setShortcutContext(Qt::WindowShortcut);
    connect(find, &QAction::triggered, this, [this] {
        m_search->setFocus(Qt::ShortcutFocusReason);
        m_search->selectAll();
    });
    addAction(find);

    auto *titles = new QVBoxLayout;
    titles->setSpacing(0);
    titles->addWidget(m_title);
    titles->addWidget(m_subtitle);
    auto *header = new QHBoxLayout;
    header->setContentsMargins(16, 10, 10, 6);
    header->addLayout(titles, 1);
    header->addWidget(m_toolbar);
    header->addWidget(m_search);

    m_stack->addWidget(m_view);
    m_stack->addWidget(m_empty);
    m_stack->addWidget(m_health);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(header);
    layout->addWidget(m_stack, 1);
    auto *divider = new QFrame(this);
    divider->setFrameShape(QFrame::HLine);
    divider->setFrameShadow(QFrame::Plain);
    divider->setStyleSheet(QStringLiteral("color: rgba(128,128,128,60);"));
    layout->addWidget(divider);
    layout->addWidget(m_status);

    // Date-based sections (Recently Run, smart lists over dates) and relative dates in rows move
    // on with the clock, even when nothing else changes.
    m_clock.setInterval(60'000);
    connect(&m_clock, &QTimer::timeout, this, [this] {
        refresh(false);
        m_view->viewport()->update();
    });
    m_clock.start();
    m_refreshTimer.setSingleShot(true);
    m_refreshTimer.setInterval(0);
    connect(&m_refreshTimer, &QTimer::timeout, this, [this] { refresh(false); });

    connect(m_search, &QLineEdit::textChanged, this, &ShortcutCollectionView::searchEdited);
    connect(&navigation, &LibraryNavigation::sectionChanged, this,
            &ShortcutCollectionView::sectionChanged);
    connect(&navigation, &LibraryNavigation::selectedShortcutChanged, this,
            [this] { m_view->setSelectedItem(m_navigation.selectedShortcut()); });
    connect(&context, &ModelContext::changed, this, &ShortcutCollectionView::contextChanged);
    connect(&WindowSettings::shared(), &WindowSettings::changed, this,
            &ShortcutCollectionView::settingChanged);
    connect(&runner, &ShortcutRunner::runningIdentifiersChanged, this,
            [this] { m_model->setRunningIdentifiers(m_runner.runningIdentifiers()); });
    connect(m_empty, &EmptyStatePanel::buttonClicked, this, [this] { m_syncer.sync(); });
    connect(m_health, &HealthReportView::recordChosen, this, &ShortcutCollectionView::showRecord);

    connect(m_view, &ShortcutGridView::itemClicked, this,
            [this](ShortcutItem *item) { m_navigation.setSelectedShortcut(item); });
    connect(m_view, &ShortcutGridView::selectionRestored, this,
            [this](ShortcutItem *item) { m_navigation.setSelectedShortcut(item); });
    connect(m_view, &ShortcutGridView::itemDoubleClicked, this,
            &ShortcutCollectionView::itemDoubleClicked);
    connect(m_view, &ShortcutGridView::runRequested, this,
            [this](ShortcutItem *item) { m_runner.run(item); });
    connect(m_view, &ShortcutGridView::contextMenuRequested, this,
            &ShortcutCollectionView::showContextMenu);
    m_view->setOnScreenHandler([this](ShortcutItem *item) { m_syncer.prioritizeIcon(item); });

    m_model->setRunningIdentifiers(runner.runningIdentifiers());
    applyViewMode();
    m_shownSection = section();
    m_adoption.sectionShown(*m_shownSection); // the first section adopts nothing
    refresh(true);
}

ShortcutCollectionView::~ShortcutCollectionView() = default;

int ShortcutCollectionView::searchWidth() const
{
    return std::clamp(width() / 4, 140, 260);
}

void ShortcutCollectionView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    m_search->setFixedWidth(searchWidth());
}

void ShortcutCollectionView::setContextMenuBuilder(ContextMenuBuilder builder)
{
    m_contextMenuBuilder = builder;
    m_toolbar->setMoreMenuBuilder(std::move(builder));
}

LibrarySection ShortcutCollectionView::section() const
{
    return m_navigation.effectiveSection();
}

QString ShortcutCollectionView::title() const
{
    return m_title->text();
}

QString ShortcutCollectionView::subtitle() const
{
    return m_subtitle->text();
}

bool ShortcutCollectionView::isShowingEmptyState() const
{
    return m_stack->currentWidget() == m_empty;
}

void ShortcutCollectionView::sectionChanged()
{
    const LibrarySection now = section();
    if (m_shownSection == now)
        return;
    m_shownSection = now;
    if (m_adoption.sectionShown(now)) {
        // Evaluating a large smart list once is slow enough; the reload must not do it again.
        const QScopedValueRollback adopting(m_adoptingSort, true);
        WindowSettings::shared().reload();
        m_toolbar->showSettings();
    }
    refresh(true);
}

void ShortcutCollectionView::contextChanged(const ModelChanges &changes)
{
    m_narrowing.valid = false;
    QSet<ShortcutItem *> touched;
    for (const QSet<Record *> *set : {&changes.updated, &changes.inserted}) {
        for (Record *record : *set) {
            if (record->kind() == Record::Kind::shortcutItem)
                touched.insert(static_cast<ShortcutItem *>(record));
        }
    }
    // A renamed tag or folder changes how its shortcuts look.
    if (changes.touches(Record::Kind::tag) || changes.touches(Record::Kind::libraryFolder)) {
        for (ShortcutItem *item : m_model->items())
            touched.insert(item);
    }
    m_model->recordsChanged(touched);
    scheduleRefresh();
}

void ShortcutCollectionView::settingChanged(const QString &key)
{
    m_narrowing.valid = false;
    if (key.isEmpty() || key == QLatin1String("viewMode"))
        applyViewMode();
    if (m_adoptingSort)
        return;
    if (key.isEmpty() || key == QLatin1String("sortKey") || key == QLatin1String("sortAscending") ||
        key == QLatin1String("includeSubfolders"))
        refresh(false);
}

namespace {
QString foldedSearch(const QString &text)
{
    return LowercaseMatch::lowered(LowercaseMatch::trimSpacesAndTabs(text));
}
} // namespace

void ShortcutCollectionView::scheduleRefresh()
{
    m_refreshTimer.start();
}

void ShortcutCollectionView::refreshNow()
{
    m_refreshTimer.stop();
    refresh(false);
}

void ShortcutCollectionView::refresh(bool newSection)
{
    m_refreshTimer.stop();
    LibraryQuery::Settings settings;
    settings.sortKey = WindowSettings::shared().sortKey();
    settings.sortAscending = WindowSettings::shared().sortAscending();
    settings.includeSubfolders = WindowSettings::shared().includeSubfolders();
    const QList<ShortcutItem *> items =
        LibraryQuery::visibleItems(m_context, section(), m_search->text(), settings);
    m_narrowing = {foldedSearch(m_search->text()), items, true};
    present(items, newSection);
}

void ShortcutCollectionView::searchEdited()
{
    const QString query = foldedSearch(m_search->text());
    // Whatever matches the longer text also matches any part of it, and filtering keeps the
    // order, so the last results hold every new one in place.
    if (!m_narrowing.valid || m_refreshTimer.isActive() || !query.contains(m_narrowing.query)) {
        refresh(false);
        return;
    }
    const QList<ShortcutItem *> items =
        LibraryQuery::searchFiltered(m_narrowing.items, m_search->text());
    m_narrowing = {query, items, true};
    present(items, false);
}

void ShortcutCollectionView::present(const QList<ShortcutItem *> &items, bool newSection)
{
    if (newSection)
        m_model->reset(items);
    else
        m_model->update(items);
    m_view->setSelectedItem(m_navigation.selectedShortcut());
    updateHeaderAndEmptyState();
    emit refreshed();
}

void ShortcutCollectionView::updateHeaderAndEmptyState()
{
    const LibrarySection current = section();
    QString title;
    switch (current.kind) {
    case LibrarySection::Case::all:
        title = QStringLiteral("All Shortcuts");
        break;
    case LibrarySection::Case::favorites:
        title = QStringLiteral("Favorites");
        break;
    case LibrarySection::Case::recent:
        title = QStringLiteral("Recently Run");
        break;
    case LibrarySection::Case::unfiled:
        title = QStringLiteral("Not in a Folder");
        break;
    case LibrarySection::Case::untagged:
        title = QStringLiteral("Untagged");
        break;
    case LibrarySection::Case::missing:
        title = QStringLiteral("Missing from Shortcuts");
        break;
    case LibrarySection::Case::folder: {
        const LibraryFolder *folder = m_context.folder(current.value);
        title = folder ? folder->name() : QStringLiteral("Folder");
        break;
    }
    case LibrarySection::Case::tag: {
        const Tag *tag = m_context.tag(current.value);
        title = tag ? tag->name() : QStringLiteral("Tag");
        break;
    }
    case LibrarySection::Case::smartList: {
        const SmartList *list = m_context.smartList(current.value);
        title = list ? list->name() : QStringLiteral("Smart List");
        break;
    }
    case LibrarySection::Case::nativeFolder:
        title = current.value;
        break;
    case LibrarySection::Case::health: {
        m_title->setText(QStringLiteral("Library Health"));
        const qsizetype problems = LibraryHealthMonitor::of(m_context).health().problemCount();
        m_subtitle->setText(problems == 1
                                ? QStringLiteral("1 problem")
                                : QLocale().toString(problems) + QStringLiteral(" problems"));
        enableListControls(false);
        m_stack->setCurrentWidget(m_health);
        return;
    }
    }
    enableListControls(true);
    m_title->setText(title);
    const int count = m_model->rowCount();
    m_subtitle->setText(count == 1 ? QStringLiteral("1 shortcut")
                                   : QLocale().toString(count) + QStringLiteral(" shortcuts"));

    if (count > 0) {
        m_stack->setCurrentWidget(m_view);
        return;
    }
    if (m_context.shortcuts().isEmpty()) {
        m_empty->show(QStringLiteral("square.grid.2x2"), QStringLiteral("No Shortcuts Yet"),
                      QStringLiteral("Thimblecraft reads your library from the Shortcuts app. "
                                     "Sync to get started."),
                      QStringLiteral("Sync with Shortcuts"));
    } else if (!m_search->text().isEmpty()) {
        m_empty->show(QStringLiteral("magnifyingglass"),
                      QStringLiteral("No Results for “%1”").arg(m_search->text()),
                      QStringLiteral("Check the spelling or try a new search."));
    } else {
        QString text = QStringLiteral("No shortcuts in this view.");
        switch (current.kind) {
        case LibrarySection::Case::folder:
            text = QStringLiteral(
                "Drag shortcuts onto this folder in the sidebar, or use Move to Folder.");
            break;
        case LibrarySection::Case::tag:
            text = QStringLiteral("Drag shortcuts onto this tag in the sidebar, or use the Tags "
                                  "menu.");
            break;
        case LibrarySection::Case::smartList:
            text = QStringLiteral("No shortcuts match these rules yet.");
            break;
        case LibrarySection::Case::favorites:
            text = QStringLiteral("Star a shortcut to keep it here.");
            break;
        default:
            break;
        }
        m_empty->show(QStringLiteral("tray"), QStringLiteral("Nothing Here"), text);
    }
    m_stack->setCurrentWidget(m_empty);
}

void ShortcutCollectionView::applyViewMode()
{
    const bool list = WindowSettings::shared().viewMode() == WindowSettings::ViewMode::list;
    m_view->setMode(list ? ShortcutItemDelegate::Mode::list : ShortcutItemDelegate::Mode::grid);
}

void ShortcutCollectionView::showContextMenu(ShortcutItem *item, const QPoint &globalPos)
{
    if (!item || !m_contextMenuBuilder)
        return;
    auto *menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("shortcutContextMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    m_contextMenuBuilder(menu, item);
    menu->popup(globalPos);
}

void ShortcutCollectionView::enableListControls(bool enable)
{
    m_toolbar->setListControlsEnabled(enable);
    m_search->setEnabled(enable);
}

void ShortcutCollectionView::showRecord(Record *record)
{
    switch (record->kind()) {
    case Record::Kind::shortcutItem: {
        auto *item = static_cast<ShortcutItem *>(record);
        m_search->clear(); // the search could hide it
        m_navigation.setSection(item->isMissing() ? LibrarySection::missing()
                                                  : LibrarySection::all());
        m_navigation.setSelectedShortcut(item);
        refreshNow();
        m_view->scrollTo(m_model->indexOf(item));
        break;
    }
    case Record::Kind::libraryFolder:
        m_navigation.setSection(
            LibrarySection::folder(static_cast<LibraryFolder *>(record)->uuid()));
        break;
    case Record::Kind::tag:
        m_navigation.setSection(LibrarySection::tag(static_cast<Tag *>(record)->uuid()));
        break;
    case Record::Kind::smartList:
        m_navigation.setSection(
            LibrarySection::smartList(static_cast<SmartList *>(record)->uuid()));
        break;
    }
}

void ShortcutCollectionView::itemDoubleClicked(ShortcutItem *item)
{
    if (item && WindowSettings::shared().doubleClickRuns())
        m_runner.run(item);
}

void ShortcutCollectionView::promptForInput(ShortcutItem *item)
{
    if (!item)
        return;
    if (m_inputAlert)
        m_inputAlert->close();
    const QString identifier = item->identifier();
    auto *alert = new QDialog(window());
    alert->setObjectName(QStringLiteral("runInputAlert"));
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setWindowTitle(
        QStringLiteral("Run %1 with Input")
            .arg(item->name().isEmpty() ? QStringLiteral("Shortcut") : item->name()));
    auto *title = new TextBlock(alert->windowTitle(), alert);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    auto *message =
        new QLabel(QStringLiteral("The text is passed to the shortcut as its input."), alert);
    auto *field = new QLineEdit(alert);
    field->setObjectName(QStringLiteral("runInputField"));
    field->setPlaceholderText(QStringLiteral("Input text"));
    field->setText(QString()); // every opening starts empty
    auto *buttons = new QDialogButtonBox(alert);
    QPushButton *run = buttons->addButton(QStringLiteral("Run"), QDialogButtonBox::AcceptRole);
    run->setObjectName(QStringLiteral("runInputRun"));
    run->setDefault(true);
    QPushButton *cancel =
        buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
    cancel->setObjectName(QStringLiteral("runInputCancel"));
    auto *layout = new QVBoxLayout(alert);
    layout->addWidget(title);
    layout->addWidget(message);
    layout->addWidget(field);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, alert, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, alert, &QDialog::reject);
    connect(alert, &QDialog::accepted, this, [this, identifier, field] {
        // The shortcut is looked up again: it may have been deleted while the alert was open.
        for (ShortcutItem *candidate : m_context.shortcuts()) {
            if (candidate->identifier() == identifier) {
                const QString text = field->text();
                m_runner.run(candidate,
                             text.isEmpty() ? std::nullopt : std::optional<QString>(text));
                break;
            }
        }
    });
    m_inputAlert = alert;
    alert->open();
}
