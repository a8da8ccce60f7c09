#include "ui/SidebarView.h"

#include "model/FlattenedTree.h"
#include "model/LibraryLinks.h"
#include "model/ModelContext.h"
#include "ui/CopyLinkAction.h"
#include "ui/FolderEditor.h"
#include "ui/LibraryNavigation.h"
#include "ui/PlainText.h"
#include "ui/ShortcutPainter.h"
#include "ui/SidebarDelegate.h"
#include "ui/SidebarModel.h"
#include "ui/SidebarOperations.h"
#include "ui/SmartListEditor.h"
#include "ui/SymbolIcon.h"
#include "ui/TagEditor.h"

#include <QDragMoveEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

namespace {
// Headers carry no disclosure triangle; the one collapsible header draws its own chevron and
// toggles on a click anywhere in its row.
class SidebarTreeView : public QTreeView {
public:
    using QTreeView::QTreeView;

protected:
    void drawBranches(QPainter *painter, const QRect &rect, const QModelIndex &index) const override
    {
        if (!index.parent().isValid())
            return;
        QTreeView::drawBranches(painter, rect, index);
    }

    void mousePressEvent(QMouseEvent *event) override
    {
        // A right-click opens the row's menu; it never navigates to the row.
        if (event->button() == Qt::RightButton) {
            event->accept();
            return;
        }
        const QModelIndex index = indexAt(event->position().toPoint());
        const auto *sidebar = static_cast<SidebarModel *>(model());
        if (index.isValid() && event->button() == Qt::LeftButton &&
            sidebar->header(index) == SidebarModel::Header::nativeFolders) {
            setExpanded(index, !isExpanded(index));
            return;
        }
        QTreeView::mousePressEvent(event);
    }

    // Without a drop indicator the base class only accepts drops on the viewport; accept them
    // on the rows that take shortcuts instead.
    void dragMoveEvent(QDragMoveEvent *event) override
    {
        QTreeView::dragMoveEvent(event);
        const QModelIndex index = indexAt(event->position().toPoint());
        if (index.isValid() &&
            model()->canDropMimeData(event->mimeData(), event->dropAction(), -1, -1, index))
            event->acceptProposedAction();
        else
            event->ignore();
    }

    // The arrow keys step over section headers and hints to the next row that selects something.
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override
    {
        const QModelIndex start = currentIndex();
        QModelIndex index = QTreeView::moveCursor(action, modifiers);
        const bool upwards =
            action == MoveUp || action == MovePageUp || action == MoveEnd || action == MovePrevious;
        while (index.isValid() && !(model()->flags(index) & Qt::ItemIsSelectable))
            index = upwards ? indexAbove(index) : indexBelow(index);
        return index.isValid() ? index : start;
    }

    void resizeEvent(QResizeEvent *event) override
    {
        QTreeView::resizeEvent(event);
        // Wrapped hints change height with the width.
        scheduleDelayedItemsLayout();
    }
};

QColor destructiveColor()
{
    return {0xFF, 0x3B, 0x30};
}
// "Move To" with the top level and every place the record can go without closing a cycle (its
// current parent checked), then "Move Out of" its parent when it has one.
template<typename T, typename SymbolOf, typename Move, typename MoveOut>
void addMoveActions(QMenu *menu, QObject *receiver, const QList<T *> &all, T *record,
                    SymbolOf symbolOf, Move move, MoveOut moveOut)
{
    QMenu *moveTo = menu->addMenu(SymbolIcon::icon(QStringLiteral("arrow.right.doc.on.clipboard")),
                                  QStringLiteral("Move To"));
    moveTo->setObjectName(QStringLiteral("moveToMenu"));
    QAction *top =
        moveTo->addAction(SymbolIcon::icon(record->parent() ? QStringLiteral("rectangle.split.3x1")
                                                            : QStringLiteral("checkmark")),
                          QStringLiteral("Top Level"));
    top->setObjectName(QStringLiteral("moveToTopLevel"));
    QObject::connect(top, &QAction::triggered, receiver, [move, record] { move(record, nullptr); });
    for (const auto &entry : flattenedTree(all, record)) {
        T *target = entry.record;
        QAction *action = moveTo->addAction(SymbolIcon::icon(target == record->parent()
                                                                 ? QStringLiteral("checkmark")
                                                                 : symbolOf(target)),
                                            PlainText::menuTitle(entry.title()));
        action->setObjectName(QStringLiteral("moveTo:") + target->uuid());
        QObject::connect(action, &QAction::triggered, receiver,
                         [move, record, target] { move(record, target); });
    }
    if (T *parent = record->parent()) {
        QAction *out =
            menu->addAction(SymbolIcon::icon(QStringLiteral("arrow.up.left")),
                            PlainText::menuTitle(QStringLiteral("Move Out of ") + parent->name()));
        out->setObjectName(QStringLiteral("moveOut"));
        QObject::connect(out, &QAction::triggered, receiver,
                         [moveOut, record] { moveOut(record); });
    }
}
} // namespace

SidebarView::SidebarView(ModelContext &context, LibraryNavigation &navigation, QWidget *parent)
    : QWidget(parent), m_context(context), m_navigation(navigation)
{
    setObjectName(QStringLiteral("sidebar"));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    auto *bar = new QHBoxLayout;
    bar->setContentsMargins(12, 8, 8, 4);
    auto *title = new QLabel(QStringLiteral("Thimblecraft"), this);
    title->setObjectName(QStringLiteral("sidebarTitle"));
    QFont titleFont = title->font();
    titleFont.setBold(true);
    title->setFont(titleFont);
    bar->addWidget(title);
    bar->addStretch(1);

    m_newMenu = new QMenu(QStringLiteral("New"), this);
    m_newMenu->setObjectName(QStringLiteral("sidebarNewMenu"));
    m_newSmartList = m_newMenu->addAction(SymbolIcon::icon(QStringLiteral("sparkles")),
                                          QStringLiteral("New Smart List"));
    m_newSmartList->setObjectName(QStringLiteral("newSmartList"));
    m_newFolder = m_newMenu->addAction(SymbolIcon::icon(QStringLiteral("folder.badge.plus")),
                                       QStringLiteral("New Folder"));
    m_newFolder->setObjectName(QStringLiteral("newFolder"));
    m_newTag =
        m_newMenu->addAction(SymbolIcon::icon(QStringLiteral("tag")), QStringLiteral("New Tag"));
    m_newTag->setObjectName(QStringLiteral("newTag"));
    connect(m_newSmartList, &QAction::triggered, this,
            [this] { editSmartList(SmartListEditTarget::makeNew()); });
    connect(m_newFolder, &QAction::triggered, this,
            [this] { editFolder(FolderEditTarget::makeNew(nullptr)); });
    connect(m_newTag, &QAction::triggered, this,
            [this] { editTag(TagEditTarget::makeNew(nullptr)); });

    m_newButton = new QToolButton(this);
    m_newButton->setObjectName(QStringLiteral("sidebarNewButton"));
    m_newButton->setIcon(SymbolIcon::icon(QStringLiteral("plus")));
    m_newButton->setText(QStringLiteral("New"));
    m_newButton->setToolTip(QStringLiteral("New Smart List, Folder, or Tag"));
    m_newButton->setAccessibleName(QStringLiteral("New"));
    m_newButton->setAutoRaise(true);
    m_newButton->setPopupMode(QToolButton::InstantPopup);
    m_newButton->setMenu(m_newMenu);
    m_newButton->setStyleSheet(QStringLiteral("QToolButton::menu-indicator { image: none; }"));
    bar->addWidget(m_newButton);
    layout->addLayout(bar);

    m_model = new SidebarModel(context, this);
    m_tree = new SidebarTreeView(this);
    m_tree->setObjectName(QStringLiteral("sidebarTree"));
    m_tree->setAccessibleName(QStringLiteral("Thimblecraft"));
    m_tree->setModel(m_model);
    m_tree->setItemDelegate(new SidebarDelegate(m_tree));
    m_tree->header()->hide();
    m_tree->setRootIsDecorated(false);
    m_tree->setIndentation(14);
    m_tree->setUniformRowHeights(false);
    m_tree->setFrameShape(QFrame::NoFrame);
    m_tree->setSelectionMode(QAbstractItemView::SingleSelection);
    m_tree->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_tree->setExpandsOnDoubleClick(false);
    m_tree->setContextMenuPolicy(Qt::CustomContextMenu);
    // Drops land on a row itself and show no indicator.
    m_tree->setAcceptDrops(true);
    m_tree->setDragDropMode(QAbstractItemView::DropOnly);
    m_tree->setDragDropOverwriteMode(true);
    m_tree->setDropIndicatorShown(false);
    m_tree->setDefaultDropAction(Qt::CopyAction);
    QPalette treePalette = m_tree->palette();
    treePalette.setColor(QPalette::Base, treePalette.color(QPalette::Window));
    m_tree->setPalette(treePalette);
    layout->addWidget(m_tree, 1);

    for (int row = 0; row < m_model->rowCount(); ++row)
        rowsInserted({}, row, row);

    connect(m_model, &QAbstractItemModel::rowsInserted, this, &SidebarView::rowsInserted);
    // While the model catches up with a change, rows are removed, moved and re-inserted under
    // the selection; the view would select a neighbour of a removed row. The section decides
    // which row is selected, so the selection is put back from it once the model is done.
    connect(m_model, &SidebarModel::reconcileStarted, this, [this] { m_applyingSelection = true; });
    connect(m_model, &SidebarModel::reconcileFinished, this, [this] {
        m_applyingSelection = false;
        selectSection(m_navigation.section());
    });
    connect(m_tree->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &SidebarView::selectionChanged);
    connect(m_tree, &QWidget::customContextMenuRequested, this, &SidebarView::showContextMenu);
    connect(&m_navigation, &LibraryNavigation::sectionChanged, this,
            [this] { selectSection(m_navigation.section()); });
    // After the model has caught up with a change, the selection follows the section again
    // (its row may have moved, or appeared).
    connect(&m_context, &ModelContext::changed, this,
            [this] { selectSection(m_navigation.section()); });
    selectSection(m_navigation.section());
}

SidebarView::~SidebarView()
{
    if (m_sheet)
        delete m_sheet.data();
}

void SidebarView::rowsInserted(const QModelIndex &parent, int first, int last)
{
    for (int row = first; row <= last; ++row) {
        const QModelIndex index = m_model->index(row, 0, parent);
        if (m_model->header(index) == SidebarModel::Header::nativeFolders)
            m_tree->setExpanded(index, m_showNativeFolders);
        else
            m_tree->expandRecursively(index);
    }
}

void SidebarView::setShowNativeFolders(bool show)
{
    m_showNativeFolders = show;
    const QModelIndex header = m_model->headerIndex(SidebarModel::Header::nativeFolders);
    if (header.isValid())
        m_tree->setExpanded(header, show);
}

void SidebarView::selectSection(const std::optional<LibrarySection> &section)
{
    const QModelIndex index = m_model->indexOf(section.value_or(LibrarySection::all()));
    QItemSelectionModel *selection = m_tree->selectionModel();
    if (index.isValid() && selection->isSelected(index))
        return;
    m_applyingSelection = true;
    if (index.isValid()) {
        selection->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
        m_tree->scrollTo(index);
    } else {
        // A section whose row is gone (its record was deleted) keeps the section but shows no
        // selected row.
        selection->clearSelection();
    }
    m_applyingSelection = false;
}

void SidebarView::selectionChanged()
{
    if (m_applyingSelection)
        return;
    const QModelIndexList selected = m_tree->selectionModel()->selectedIndexes();
    if (selected.isEmpty())
        return; // rows removed under the selection: the section stays as it is
    if (const auto section = m_model->section(selected.constFirst()))
        m_navigation.setSection(section);
}

void SidebarView::showContextMenu(const QPoint &pos)
{
    QMenu *menu = createContextMenu(m_tree->indexAt(pos), this);
    if (!menu)
        return;
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(m_tree->viewport()->mapToGlobal(pos));
}

QMenu *SidebarView::createContextMenu(const QModelIndex &index, QWidget *parent)
{
    LibraryFolder *folder = m_model->folderAt(index);
    Tag *tag = m_model->tagAt(index);
    SmartList *list = m_model->smartListAt(index);
    if (!folder && !tag && !list)
        return nullptr;
    auto *menu = new QMenu(parent);
    menu->setObjectName(QStringLiteral("sidebarContextMenu"));
    if (folder)
        addFolderMenu(menu, folder);
    else if (tag)
        addTagMenu(menu, tag);
    else
        addSmartListMenu(menu, list);
    return menu;
}

void SidebarView::addFolderMenu(QMenu *menu, LibraryFolder *folder)
{
    QAction *inside = menu->addAction(SymbolIcon::icon(QStringLiteral("folder.badge.plus")),
                                      QStringLiteral("New Folder Inside…"));
    inside->setObjectName(QStringLiteral("newFolderInside"));
    connect(inside, &QAction::triggered, this,
            [this, folder] { editFolder(FolderEditTarget::makeNew(folder)); });
    QAction *edit =
        menu->addAction(SymbolIcon::icon(QStringLiteral("pencil")), QStringLiteral("Edit Folder…"));
    edit->setObjectName(QStringLiteral("editFolder"));
    connect(edit, &QAction::triggered, this,
            [this, folder] { editFolder(FolderEditTarget::edit(folder)); });
    addCopyLinkAction(menu, LibraryLinks::openSection(LibrarySection::folder(folder->uuid())));
    menu->addSeparator();

    addMoveActions(
        menu, this, m_context.folders(), folder,
        [](const LibraryFolder *target) { return target->symbolName(); },
        [this](LibraryFolder *moved, LibraryFolder *target) {
            SidebarOperations::moveFolder(m_context, moved, target);
        },
        [this](LibraryFolder *moved) { SidebarOperations::moveFolderOut(m_context, moved); });
    menu->addSeparator();
    QAction *remove = menu->addAction(SymbolIcon::icon(QStringLiteral("trash"), destructiveColor()),
                                      QStringLiteral("Delete Folder"));
    remove->setObjectName(QStringLiteral("deleteFolder"));
    connect(remove, &QAction::triggered, this,
            [this, folder] { SidebarOperations::deleteFolder(m_context, m_navigation, folder); });
}

void SidebarView::addTagMenu(QMenu *menu, Tag *tag)
{
    QAction *inside =
        menu->addAction(SymbolIcon::icon(QStringLiteral("tag")), QStringLiteral("New Tag Inside…"));
    inside->setObjectName(QStringLiteral("newTagInside"));
    connect(inside, &QAction::triggered, this,
            [this, tag] { editTag(TagEditTarget::makeNew(tag)); });
    QAction *edit =
        menu->addAction(SymbolIcon::icon(QStringLiteral("pencil")), QStringLiteral("Edit Tag…"));
    edit->setObjectName(QStringLiteral("editTag"));
    connect(edit, &QAction::triggered, this, [this, tag] { editTag(TagEditTarget::edit(tag)); });
    addCopyLinkAction(menu, LibraryLinks::openSection(LibrarySection::tag(tag->uuid())));
    menu->addSeparator();

    addMoveActions(
        menu, this, m_context.tags(), tag, [](const Tag *) { return QStringLiteral("tag"); },
        [this](Tag *moved, Tag *target) { SidebarOperations::moveTag(m_context, moved, target); },
        [this](Tag *moved) { SidebarOperations::moveTagOut(m_context, moved); });
    menu->addSeparator();
    QAction *remove = menu->addAction(SymbolIcon::icon(QStringLiteral("trash"), destructiveColor()),
                                      QStringLiteral("Delete Tag"));
    remove->setObjectName(QStringLiteral("deleteTag"));
    connect(remove, &QAction::triggered, this,
            [this, tag] { SidebarOperations::deleteTag(m_context, m_navigation, tag); });
}

void SidebarView::addSmartListMenu(QMenu *menu, SmartList *list)
{
    QAction *edit = menu->addAction(SymbolIcon::icon(QStringLiteral("pencil")),
                                    QStringLiteral("Edit Smart List…"));
    edit->setObjectName(QStringLiteral("editSmartList"));
    connect(edit, &QAction::triggered, this,
            [this, list] { editSmartList(SmartListEditTarget::edit(list)); });
    QAction *duplicate = menu->addAction(SymbolIcon::icon(QStringLiteral("plus.square.on.square")),
                                         QStringLiteral("Duplicate"));
    duplicate->setObjectName(QStringLiteral("duplicateSmartList"));
    connect(duplicate, &QAction::triggered, this,
            [this, list] { SidebarOperations::duplicateSmartList(m_context, list); });
    addCopyLinkAction(menu, LibraryLinks::openSection(LibrarySection::smartList(list->uuid())));
    QAction *remove = menu->addAction(SymbolIcon::icon(QStringLiteral("trash"), destructiveColor()),
                                      QStringLiteral("Delete"));
    remove->setObjectName(QStringLiteral("deleteSmartList"));
    connect(remove, &QAction::triggered, this,
            [this, list] { SidebarOperations::deleteSmartList(m_context, m_navigation, list); });
}

void SidebarView::presentSheet(EditorSheet *sheet, const QString &identity)
{
    if (m_sheet) {
        m_sheet->close();
        delete m_sheet.data();
    }
    m_sheet = sheet;
    m_sheetIdentity = identity;
    connect(sheet, &QDialog::finished, this, [this, sheet] {
        if (m_sheet == sheet)
            m_sheetIdentity.clear();
    });
    sheet->open();
}

void SidebarView::editFolder(const FolderEditTarget &target)
{
    const QString identity = QStringLiteral("folder-") + target.identity();
    if (m_sheet && m_sheet->isVisible() && m_sheetIdentity == identity) {
        m_sheet->raise();
        m_sheet->activateWindow();
        return;
    }
    presentSheet(new FolderEditor(m_context, target, window()), identity);
}

void SidebarView::editTag(const TagEditTarget &target)
{
    const QString identity = QStringLiteral("tag-") + target.identity();
    if (m_sheet && m_sheet->isVisible() && m_sheetIdentity == identity) {
        m_sheet->raise();
        m_sheet->activateWindow();
        return;
    }
    presentSheet(new TagEditor(m_context, target, nullptr, window()), identity);
}

void SidebarView::editSmartList(const SmartListEditTarget &target)
{
    const QString identity = QStringLiteral("smartList-") + target.identity();
    if (m_sheet && m_sheet->isVisible() && m_sheetIdentity == identity) {
        m_sheet->raise();
        m_sheet->activateWindow();
        return;
    }
    presentSheet(new SmartListEditor(m_context, target, window()), identity);
}

FolderEditor *SidebarView::folderEditor() const
{
    return qobject_cast<FolderEditor *>(m_sheet.data());
}

TagEditor *SidebarView::tagEditor() const
{
    return qobject_cast<TagEditor *>(m_sheet.data());
}

SmartListEditor *SidebarView::smartListEditor() const
{
    return qobject_cast<SmartListEditor *>(m_sheet.data());
}
