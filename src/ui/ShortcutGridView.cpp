#include "ui/ShortcutGridView.h"

#include "ui/PlainText.h"
#include "ui/ShortcutGridAccessible.h"
#include "ui/ShortcutListModel.h"
#include "ui/ShortcutPainter.h"
#include "ui/ShortcutRoles.h"

#include <QAccessible>
#include <QApplication>
#include <QDrag>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <QToolTip>

using Mode = ShortcutItemDelegate::Mode;

ShortcutGridView::ShortcutGridView(QWidget *parent)
    : QAbstractItemView(parent), m_delegate(new ShortcutItemDelegate(this))
{
    setItemDelegate(m_delegate);
    setSelectionMode(SingleSelection);
    setSelectionBehavior(SelectRows);
    setMouseTracking(true);
    setDragEnabled(true);
    setDragDropMode(DragOnly);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setFrameShape(QFrame::NoFrame);
    setAttribute(Qt::WA_Hover);
    viewport()->setAttribute(Qt::WA_Hover);
    setVerticalScrollMode(ScrollPerPixel);
    static const bool accessible = [] {
        QAccessible::installFactory(&ShortcutGridAccessible::factory);
        return true;
    }();
    Q_UNUSED(accessible);

    m_spinTimer.setInterval(80);
    connect(&m_spinTimer, &QTimer::timeout, this, [this] {
        m_delegate->setSpinnerAngle(qreal(m_spinClock.elapsed() % 1000) * 0.36);
        viewport()->update();
    });
}

void ShortcutGridView::setListModel(ShortcutListModel *model)
{
    if (m_model)
        disconnect(m_model, nullptr, this, nullptr);
    m_model = model;
    setModel(model);
    if (!model)
        return;
    connect(model, &QAbstractItemModel::rowsAboutToBeRemoved, this,
            &ShortcutGridView::beginAnchoring);
    connect(model, &QAbstractItemModel::rowsAboutToBeInserted, this,
            &ShortcutGridView::beginAnchoring);
    connect(model, &QAbstractItemModel::layoutAboutToBeChanged, this,
            &ShortcutGridView::beginAnchoring);
    const auto settle = [this] {
        updateGeometries();
        if (m_anchor)
            restore(*m_anchor);
        viewport()->update();
    };
    connect(model, &QAbstractItemModel::rowsRemoved, this, settle);
    connect(model, &QAbstractItemModel::rowsInserted, this, settle);
    connect(model, &QAbstractItemModel::layoutChanged, this, settle);
    connect(model, &QAbstractItemModel::modelReset, this, [this] {
        m_anchor.reset();
        m_shownItems.clear();
        updateGeometries();
        verticalScrollBar()->setValue(0);
        viewport()->update();
    });
    connect(model, &QAbstractItemModel::dataChanged, this, &ShortcutGridView::updateSpinner);
    connect(model, &QAbstractItemModel::modelReset, this, &ShortcutGridView::updateSpinner);
}

void ShortcutGridView::setMode(Mode mode)
{
    if (m_delegate->mode() == mode)
        return;
    const Anchor kept = anchor();
    m_delegate->setMode(mode);
    updateGeometries();
    restore(kept);
    if (ShortcutItem *selected = selectedItem())
        scrollTo(m_model->indexOf(selected));
    viewport()->update();
}

void ShortcutGridView::setOnScreenHandler(std::function<void(ShortcutItem *)> handler)
{
    m_onScreen = std::move(handler);
}

void ShortcutGridView::setSelectedItem(ShortcutItem *item)
{
    if (!selectionModel() || !m_model)
        return;
    const QModelIndex index = item ? m_model->indexOf(item) : QModelIndex();
    if (!index.isValid()) {
        selectionModel()->clearSelection();
        selectionModel()->setCurrentIndex(QModelIndex(), QItemSelectionModel::NoUpdate);
        return;
    }
    if (selectionModel()->isSelected(index) && currentIndex() == index)
        return;
    // Showing the selection never scrolls: a new section starts at its top.
    m_quietSelection = true;
    selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
    m_quietSelection = false;
}

ShortcutItem *ShortcutGridView::selectedItem() const
{
    if (!selectionModel())
        return nullptr;
    const QModelIndexList rows = selectionModel()->selectedIndexes();
    return rows.isEmpty() ? nullptr : ShortcutItemDelegate::item(rows.first());
}

GridGeometry ShortcutGridView::gridGeometry() const
{
    return {mode(), viewport()->width(), m_model ? m_model->rowCount() : 0};
}

QRect ShortcutGridView::itemRect(int row) const
{
    return gridGeometry().itemRect(row);
}

int ShortcutGridView::verticalOffset() const
{
    return verticalScrollBar()->value();
}

QRect ShortcutGridView::visualRect(const QModelIndex &index) const
{
    if (!index.isValid() || index.model() != model())
        return {};
    return itemRect(index.row()).translated(0, -verticalOffset());
}

QRect ShortcutGridView::runButtonRect(const QModelIndex &index) const
{
    return m_delegate->runButtonRect(visualRect(index)).toAlignedRect();
}

QModelIndex ShortcutGridView::indexAt(const QPoint &point) const
{
    const int row = gridGeometry().rowAt(point + QPoint(0, verticalOffset()));
    return row < 0 ? QModelIndex() : m_model->index(row);
}

void ShortcutGridView::scrollTo(const QModelIndex &index, ScrollHint hint)
{
    if (!index.isValid() || m_quietSelection)
        return;
    const QRect rect = itemRect(index.row());
    const int margin = gridGeometry().top();
    const int height = viewport()->height();
    int value = verticalScrollBar()->value();
    if (hint == PositionAtTop)
        value = rect.top() - margin;
    else if (hint == PositionAtBottom)
        value = rect.bottom() + margin - height;
    else if (hint == PositionAtCenter)
        value = rect.center().y() - height / 2;
    else if (rect.top() - margin < value)
        value = rect.top() - margin;
    else if (rect.bottom() + margin > value + height)
        value = rect.bottom() + margin - height;
    verticalScrollBar()->setValue(value);
}

QModelIndex ShortcutGridView::moveCursor(CursorAction action, Qt::KeyboardModifiers)
{
    if (!m_model || m_model->rowCount() == 0)
        return {};
    const GridGeometry grid = gridGeometry();
    const int count = grid.count;
    const int columns = grid.columnCount();
    int row = currentIndex().isValid() ? currentIndex().row() : -1;
    if (row < 0)
        return m_model->index(0);
    const int pageRows = std::max(1, viewport()->height() / grid.linePitch());
    switch (action) {
    case MoveLeft:
    case MovePrevious:
        row -= 1;
        break;
    case MoveRight:
    case MoveNext:
        row += 1;
        break;
    case MoveUp:
        row -= columns;
        break;
    case MoveDown:
        row += columns;
        break;
    case MovePageUp:
        row -= pageRows * columns;
        break;
    case MovePageDown:
        row += pageRows * columns;
        break;
    case MoveHome:
        row = 0;
        break;
    case MoveEnd:
        row = count - 1;
        break;
    }
    return m_model->index(std::clamp(row, 0, count - 1));
}

void ShortcutGridView::setSelection(const QRect &rect, QItemSelectionModel::SelectionFlags command)
{
    const QModelIndex index = indexAt(rect.center());
    if (index.isValid())
        selectionModel()->select(index, command);
}

QRegion ShortcutGridView::visualRegionForSelection(const QItemSelection &selection) const
{
    QRegion region;
    for (const QItemSelectionRange &range : selection) {
        for (int row = range.top(); row <= range.bottom(); ++row)
            region += visualRect(m_model->index(row));
    }
    return region;
}

void ShortcutGridView::updateGeometries()
{
    const GridGeometry grid = gridGeometry();
    const int height = viewport()->height();
    verticalScrollBar()->setSingleStep(std::max(20, grid.linePitch() / 3));
    verticalScrollBar()->setPageStep(height);
    verticalScrollBar()->setRange(0, std::max(0, grid.contentHeight() - height));
    QAbstractItemView::updateGeometries();
}

void ShortcutGridView::resizeEvent(QResizeEvent *event)
{
    const Anchor kept = anchor();
    QAbstractItemView::resizeEvent(event);
    updateGeometries();
    restore(kept);
}

ShortcutGridView::Anchor ShortcutGridView::anchor() const
{
    Anchor result;
    result.scrollValue = verticalOffset();
    if (!m_model || result.scrollValue == 0)
        return result;
    const GridGeometry grid = gridGeometry();
    const QModelIndex first = indexAt(QPoint(grid.firstColumnLeft() + 1, 0));
    int row = first.isValid() ? first.row() : -1;
    if (row < 0) {
        // The point fell into spacing: take the first row of the next line.
        row = std::max(0, (result.scrollValue - grid.top()) / grid.linePitch() + 1) *
              grid.columnCount();
    }
    if (row >= m_model->rowCount())
        return result;
    result.item = m_model->itemAt(row);
    result.offset = itemRect(row).top() - result.scrollValue;
    return result;
}

void ShortcutGridView::restore(const Anchor &anchor)
{
    updateGeometries();
    int value = anchor.scrollValue;
    if (anchor.item && m_model) {
        const int row = m_model->rowOf(anchor.item);
        if (row >= 0)
            value = itemRect(row).top() - anchor.offset;
    }
    verticalScrollBar()->setValue(value);
}

void ShortcutGridView::beginAnchoring()
{
    if (m_anchor)
        return;
    m_anchor = anchor();
    QTimer::singleShot(0, this, [this] { m_anchor.reset(); });
}

void ShortcutGridView::paintEvent(QPaintEvent *event)
{
    QPainter painter(viewport());
    if (!m_model)
        return;
    const GridGeometry grid = gridGeometry();
    const int count = grid.count;
    const int columns = grid.columnCount();
    const int lineHeight = grid.linePitch();
    const int offset = verticalOffset();
    const int firstLine = std::max(0, (offset - grid.top()) / lineHeight);
    const int lastLine = (offset + viewport()->height() - grid.top()) / lineHeight;
    const int first = std::min(count, firstLine * columns);
    const int last = std::min(count - 1, (lastLine + 1) * columns - 1);

    // Only what was exposed is drawn: a scroll blits the rest, a hover or a toggle repaints one
    // tile. Every tile in view still counts as shown.
    const QRegion exposed = event->region();
    QSet<const ShortcutItem *> shown;
    QList<QStyleOptionViewItem> options;
    QModelIndexList indexes;
    const QModelIndex current = currentIndex();
    for (int row = first; row <= last; ++row) {
        const QModelIndex index = m_model->index(row);
        const QRect rect = visualRect(index);
        if (!rect.intersects(viewport()->rect()))
            continue;
        ShortcutItem *item = m_model->itemAt(row);
        shown.insert(item);
        if (m_onScreen && !m_shownItems.contains(item))
            m_onScreen(item);
        if (!exposed.intersects(rect))
            continue;
        QStyleOptionViewItem option;
        initViewItemOption(&option);
        option.rect = rect;
        option.state |= QStyle::State_Enabled;
        if (selectionModel() && selectionModel()->isSelected(index))
            option.state |= QStyle::State_Selected;
        if (index == m_hovered)
            option.state |= QStyle::State_MouseOver;
        if (index == current && hasFocus())
            option.state |= QStyle::State_HasFocus;
        options.append(option);
        indexes.append(index);
    }
    m_delegate->prepare(options, indexes, viewport()->devicePixelRatioF());
    for (qsizetype i = 0; i < indexes.size(); ++i)
        m_delegate->paint(&painter, options.at(i), indexes.at(i));
    m_shownItems = std::move(shown);
}

void ShortcutGridView::setHovered(const QModelIndex &index)
{
    if (QModelIndex(m_hovered) == index)
        return;
    if (m_hovered.isValid())
        viewport()->update(visualRect(m_hovered));
    m_hovered = index;
    if (index.isValid())
        viewport()->update(visualRect(index));
}

void ShortcutGridView::updateSpinner()
{
    // Runs on every change of a row, so it must not visit every row.
    const bool anyRunning = m_model && m_model->listsRunning();
    if (anyRunning && !m_spinTimer.isActive()) {
        m_spinClock.start();
        m_spinTimer.start();
    } else if (!anyRunning) {
        m_spinTimer.stop();
    }
}

void ShortcutGridView::mousePressEvent(QMouseEvent *event)
{
    setFocus(Qt::MouseFocusReason);
    const QModelIndex index = indexAt(event->position().toPoint());
    m_pressed = index;
    m_pressPos = event->position().toPoint();
    m_pressOnRunButton = false;
    if (event->button() != Qt::LeftButton || !index.isValid())
        return;
    const bool running = index.data(ShortcutRoles::isRunning).toBool();
    if (index == m_hovered && !running && runButtonRect(index).contains(m_pressPos)) {
        m_pressOnRunButton = true;
        emit runRequested(ShortcutItemDelegate::item(index));
    }
}

void ShortcutGridView::mouseMoveEvent(QMouseEvent *event)
{
    const QPoint pos = event->position().toPoint();
    setHovered(indexAt(pos));
    if ((event->buttons() & Qt::LeftButton) && m_pressed.isValid() && !m_pressOnRunButton &&
        (pos - m_pressPos).manhattanLength() >= QApplication::startDragDistance()) {
        startDrag(Qt::CopyAction);
        m_pressed = QPersistentModelIndex();
    }
}

void ShortcutGridView::mouseReleaseEvent(QMouseEvent *event)
{
    const QModelIndex index = indexAt(event->position().toPoint());
    if (event->button() == Qt::LeftButton && index.isValid() && index == m_pressed &&
        !m_pressOnRunButton) {
        // Selects at once; should this turn out to be the first half of a double-click, the
        // selection from before it is put back.
        if (!m_clickedAt.isValid() || m_clickedAt.elapsed() > QApplication::doubleClickInterval())
            m_beforeClick = selectedItem();
        m_clickedAt.start();
        m_lastClicked = index;
        emit itemClicked(ShortcutItemDelegate::item(index));
    }
    m_pressed = QPersistentModelIndex();
    m_pressOnRunButton = false;
}

void ShortcutGridView::mouseDoubleClickEvent(QMouseEvent *event)
{
    const QModelIndex index = indexAt(event->position().toPoint());
    if (event->button() != Qt::LeftButton || !index.isValid())
        return;
    if (runButtonRect(index).contains(event->position().toPoint()) && index == m_hovered)
        return; // the second press of a fast double-click on the run button
    // A double-click leaves the selection as it was before its first click.
    if (index == m_lastClicked && m_beforeClick != ShortcutItemDelegate::item(index)) {
        ShortcutItem *before = m_beforeClick;
        if (before && m_model && m_model->rowOf(before) < 0)
            before = nullptr;
        emit selectionRestored(before);
    }
    m_clickedAt.invalidate();
    m_lastClicked = QPersistentModelIndex();
    emit itemDoubleClicked(ShortcutItemDelegate::item(index));
}

bool ShortcutGridView::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::ToolTip) {
        const auto *help = static_cast<QHelpEvent *>(event);
        const QString tip = toolTipAt(help->pos());
        if (tip.isEmpty())
            QToolTip::hideText();
        else
            QToolTip::showText(help->globalPos(), PlainText::markupSafe(tip), viewport(),
                               visualRect(indexAt(help->pos())));
        return true;
    }
    return QAbstractItemView::viewportEvent(event);
}

QString ShortcutGridView::toolTipAt(const QPoint &point) const
{
    const QModelIndex index = indexAt(point);
    if (!index.isValid())
        return {};
    const QString name = index.data(Qt::DisplayRole).toString();
    const bool running = index.data(ShortcutRoles::isRunning).toBool();
    if (index == m_hovered && !running && runButtonRect(index).contains(point))
        return QStringLiteral("Run ") + name;
    if (index.data(ShortcutRoles::lastRunFailed).toBool())
        return name + QStringLiteral("\nLast run failed");
    return name;
}

void ShortcutGridView::leaveEvent(QEvent *event)
{
    setHovered(QModelIndex());
    QAbstractItemView::leaveEvent(event);
}

void ShortcutGridView::contextMenuEvent(QContextMenuEvent *event)
{
    const QModelIndex index = indexAt(event->pos());
    if (!index.isValid())
        return;
    emit contextMenuRequested(ShortcutItemDelegate::item(index), event->globalPos());
}

void ShortcutGridView::keyPressEvent(QKeyEvent *event)
{
    const QModelIndex before = currentIndex();
    QAbstractItemView::keyPressEvent(event);
    const QModelIndex after = currentIndex();
    if (after.isValid() && after != before)
        emit itemClicked(ShortcutItemDelegate::item(after));
}

void ShortcutGridView::startDrag(Qt::DropActions)
{
    if (!m_pressed.isValid() || !m_model)
        return;
    QMimeData *data = m_model->mimeData({m_pressed});
    if (!data)
        return;
    auto *drag = new QDrag(this);
    drag->setMimeData(data);
    // A small, slightly transparent picture that leaves the drop target in sight: the tile at
    // half size, or the row's leading part (icon and name) instead of the whole width.
    const QRect rect = visualRect(m_pressed);
    const bool list = mode() == Mode::list;
    const QSize paintSize = list ? QSize(std::min(rect.width(), 280), rect.height()) : rect.size();
    const qreal scale = list ? 1.0 : 0.5;
    const qreal ratio = devicePixelRatioF();
    QPixmap pixmap((QSizeF(paintSize) * scale * ratio).toSize());
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    {
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setOpacity(0.85);
        painter.scale(scale, scale);
        QStyleOptionViewItem option;
        initViewItemOption(&option);
        option.rect = QRect(QPoint(), paintSize);
        option.state |= QStyle::State_Enabled;
        m_delegate->paint(&painter, option, m_pressed);
    }
    drag->setPixmap(pixmap);
    const QPoint hotSpot = m_pressPos - rect.topLeft();
    drag->setHotSpot(QPoint(std::min(int(hotSpot.x() * scale), int(paintSize.width() * scale) - 1),
                            int(hotSpot.y() * scale)));
    drag->exec(Qt::CopyAction);
}
