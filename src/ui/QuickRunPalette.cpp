#include "ui/QuickRunPalette.h"

#include "model/Clock.h"
#include "model/ModelContext.h"
#include "shortcuts/ShortcutRunner.h"
#include "shortcuts/SymbolTable.h"
#include "ui/FloatingCard.h"
#include "ui/QuickRunRowDelegate.h"
#include "ui/ShortcutContextMenu.h"
#include "ui/ShortcutListModel.h"
#include "ui/SymbolIcon.h"
#include "ui/TextBlock.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListView>
#include <QPainter>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace {
constexpr int padding = 10;
constexpr int spacing = 6;
constexpr int cardWidth = 620;
constexpr int sideGap = 20;
constexpr int maximumTopGap = 56;
// At least this many rows when the window is too short for all of them (the list scrolls).
constexpr int minimumRows = 3;

bool isEnter(int key)
{
    return key == Qt::Key_Return || key == Qt::Key_Enter;
}
} // namespace

QuickRunPalette::QuickRunPalette(ModelContext &context, ShortcutRunner &runner, QWidget *parent)
    : QWidget(parent), m_context(context), m_runner(runner), m_search(new QLineEdit),
      m_stack(new QStackedWidget), m_results(new QListView), m_empty(new TextBlock),
      m_input(new QLineEdit), m_content(new QWidget(this)), m_model(new ShortcutListModel(this))
{
    setObjectName(QStringLiteral("quickRunPalette"));
    setAttribute(Qt::WA_TranslucentBackground);
    m_search->setObjectName(QStringLiteral("quickRunSearch"));
    m_results->setObjectName(QStringLiteral("quickRunResults"));
    m_empty->setObjectName(QStringLiteral("quickRunEmpty"));
    m_input->setObjectName(QStringLiteral("quickRunInput"));

    m_search->setPlaceholderText(QStringLiteral("Run a shortcut…"));
    m_search->setAccessibleName(QStringLiteral("Quick Run"));
    m_search->setFrame(false);
    QFont larger = m_search->font();
    larger.setPointSizeF(larger.pointSizeF() * 1.3);
    m_search->setFont(larger);
    m_search->setMinimumHeight(36);
    m_stack->setFixedHeight(maximumResults * QuickRunRowDelegate::rowHeight);
    if (SymbolTable::contains(QStringLiteral("magnifyingglass")))
        m_search->addAction(SymbolIcon::icon(QStringLiteral("magnifyingglass")),
                            QLineEdit::LeadingPosition);

    m_results->setModel(m_model);
    m_results->setItemDelegate(new QuickRunRowDelegate(m_results));
    m_results->setUniformItemSizes(true);
    m_results->setFrameShape(QFrame::NoFrame);
    m_results->setFocusPolicy(Qt::NoFocus); // the keys stay in the search field
    m_results->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_results->setSelectionMode(QAbstractItemView::SingleSelection);
    connect(m_results, &QListView::clicked, this,
            [this](const QModelIndex &index) { run(m_model->itemAt(index), std::nullopt); });

    m_empty->setAlignment(Qt::AlignCenter);
    m_empty->setMaximumLines(2);
    auto *emptyPage = new QWidget;
    auto *emptyLayout = new QVBoxLayout(emptyPage);
    emptyLayout->addStretch();
    emptyLayout->addWidget(m_empty);
    emptyLayout->addStretch();
    m_stack->addWidget(m_results);
    m_stack->addWidget(emptyPage);

    m_input->setClearButtonEnabled(true);
    m_input->hide();

    m_content->setObjectName(QStringLiteral("quickRunContent"));
    applyCardColour();
    auto *inner = new QVBoxLayout(m_content);
    inner->setContentsMargins(0, 0, 0, 0);
    inner->setSpacing(spacing);
    inner->addWidget(m_search);
    inner->addWidget(m_stack);
    inner->addWidget(m_input);
    auto *layout = new QVBoxLayout(this);
    const int margin = FloatingCard::shadowMargin + padding;
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->addWidget(m_content);

    connect(m_search, &QLineEdit::textChanged, this, [this] {
        hideInput();
        search();
    });
    connect(&context, &ModelContext::changed, this, &QuickRunPalette::contextChanged);
    m_search->installEventFilter(this);
    m_input->installEventFilter(this);
    parent->installEventFilter(this);
    hide();
}

QuickRunPalette::~QuickRunPalette()
{
    qApp->removeEventFilter(this);
}

const QList<ShortcutItem *> &QuickRunPalette::results() const
{
    return m_model->items();
}

ShortcutItem *QuickRunPalette::currentItem() const
{
    return m_model->itemAt(m_results->currentIndex());
}

QString QuickRunPalette::emptyText() const
{
    const QString query = m_search->text().trimmed();
    return query.isEmpty() ? QStringLiteral("There are no shortcuts to run yet.")
                           : QStringLiteral("No shortcut matches “") + query + u'”';
}

void QuickRunPalette::open()
{
    if (!m_indexBuilt) {
        m_index.rebuild(m_context);
        m_indexBuilt = true;
    }
    hideInput();
    if (m_search->text().isEmpty())
        search();
    else
        m_search->clear();
    if (!isVisible()) {
        QWidget *focus = QApplication::focusWidget();
        m_returnFocus = focus && !isAncestorOf(focus) ? focus : nullptr;
        qApp->installEventFilter(this);
    }
    reposition();
    raise();
    show();
    m_search->setFocus(Qt::ShortcutFocusReason);
    emit opened();
}

void QuickRunPalette::dismiss()
{
    if (!isVisible())
        return;
    qApp->removeEventFilter(this);
    hideInput();
    hide();
    if (m_returnFocus)
        m_returnFocus->setFocus(Qt::OtherFocusReason);
    emit dismissed();
}

void QuickRunPalette::search()
{
    showResults(m_index.rank(m_search->text(), Clock::now(), maximumResults), nullptr);
}

void QuickRunPalette::contextChanged(const ModelChanges &changes)
{
    if (!m_indexBuilt)
        return;
    m_index.apply(m_context, changes);
    if (isVisible())
        showResults(m_index.rank(m_search->text(), Clock::now(), maximumResults), currentItem());
    if (m_inputTarget && (m_inputTarget->isDeleted() || m_inputTarget->isMissing()))
        hideInput();
}

void QuickRunPalette::showResults(const QList<ShortcutItem *> &items, ShortcutItem *keepCurrent)
{
    m_model->reset(items);
    const int kept = keepCurrent ? m_model->rowOf(keepCurrent) : -1;
    if (!items.isEmpty())
        m_results->setCurrentIndex(m_model->index(std::max(0, kept)));
    m_empty->setText(emptyText());
    m_stack->setCurrentIndex(items.isEmpty() ? 1 : 0);
}

void QuickRunPalette::moveCurrent(int delta)
{
    const int rows = m_model->rowCount();
    if (rows == 0)
        return;
    const int row = std::clamp(m_results->currentIndex().row() + delta, 0, rows - 1);
    m_results->setCurrentIndex(m_model->index(row));
}

QuickRunPalette::Command QuickRunPalette::commandFor(const QKeyEvent *event, bool inInput) const
{
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    const int key = event->key();
    if (key == Qt::Key_Escape)
        return inInput ? Command::closeInput : Command::close;
    if (inInput)
        return isEnter(key) && modifiers == Qt::NoModifier ? Command::runWithTypedInput
                                                           : Command::none;
    if (isEnter(key)) {
        if (modifiers == Qt::NoModifier)
            return Command::run;
        if (modifiers == Qt::ShiftModifier)
            return Command::askForInput;
        if (modifiers == Qt::ControlModifier)
            return Command::openInShortcuts;
        return Command::none;
    }
    if (modifiers == Qt::NoModifier && (key == Qt::Key_Up || key == Qt::Key_Down))
        return key == Qt::Key_Up ? Command::moveUp : Command::moveDown;
    if (key == Qt::Key_Tab || key == Qt::Key_Backtab)
        return key == Qt::Key_Backtab ? Command::moveUp : Command::moveDown;
    // Text selected in the field is copied as usual; otherwise the shortcut's name.
    if (event->matches(QKeySequence::Copy) && !m_search->hasSelectedText())
        return Command::copyName;
    return Command::none;
}

void QuickRunPalette::perform(Command command)
{
    ShortcutItem *item = currentItem();
    switch (command) {
    case Command::none:
        break;
    case Command::moveUp:
    case Command::moveDown:
        moveCurrent(command == Command::moveUp ? -1 : 1);
        break;
    case Command::run:
        run(item, std::nullopt);
        break;
    case Command::askForInput:
        askForInput();
        break;
    case Command::runWithTypedInput:
        run(m_inputTarget, m_input->text());
        break;
    case Command::openInShortcuts:
        if (item) {
            dismiss();
            m_runner.openInShortcuts(item);
        }
        break;
    case Command::copyName:
        if (item) {
            ShortcutContextMenu::copyName(*item);
            dismiss();
        }
        break;
    case Command::closeInput:
        hideInput();
        m_search->setFocus(Qt::OtherFocusReason);
        break;
    case Command::close:
        dismiss();
        break;
    }
}

void QuickRunPalette::run(ShortcutItem *item, const std::optional<QString> &input)
{
    // Missing or removed meanwhile: never run from here.
    if (!item || item->isDeleted() || item->isMissing())
        return;
    dismiss();
    m_runner.run(item, input);
}

void QuickRunPalette::askForInput()
{
    ShortcutItem *item = currentItem();
    if (!item)
        return;
    m_inputTarget = item;
    m_input->clear();
    m_input->setPlaceholderText(QStringLiteral("Input for “") + item->name() + u'”');
    m_input->setAccessibleName(m_input->placeholderText());
    m_input->show();
    reposition(true);
    m_input->setFocus(Qt::OtherFocusReason);
}

void QuickRunPalette::hideInput()
{
    m_inputTarget = nullptr;
    if (m_input->isHidden())
        return;
    m_input->hide();
    m_input->clear();
    reposition(isVisible());
}

void QuickRunPalette::reposition(bool keepTop)
{
    const QWidget *host = parentWidget();
    const int width = std::max(0, std::min(cardWidth, host->width() - 2 * sideGap)) +
                      2 * FloatingCard::shadowMargin;
    // As many rows as fit below the search field (and the input line), at most ten.
    int chrome = 2 * (FloatingCard::shadowMargin + padding) + spacing +
                 std::max(m_search->sizeHint().height(), m_search->minimumHeight());
    if (!m_input->isHidden())
        chrome += spacing + m_input->sizeHint().height();
    const int fitting = (host->height() - chrome) / QuickRunRowDelegate::rowHeight;
    const int rows = std::clamp(fitting, minimumRows, maximumResults);
    m_stack->setFixedHeight(rows * QuickRunRowDelegate::rowHeight);
    const int height = chrome + rows * QuickRunRowDelegate::rowHeight;
    // The input line grows the panel downwards; its top stays where it opened.
    const int top = keepTop ? std::clamp(y(), 0, std::max(0, host->height() - height))
                            : std::clamp((host->height() - height) / 4, 0, maximumTopGap);
    setGeometry((host->width() - width) / 2, top, width, height);
}

bool QuickRunPalette::eventFilter(QObject *watched, QEvent *event)
{
    const QEvent::Type type = event->type();
    if (watched == parentWidget()) {
        if (type == QEvent::Resize && isVisible())
            reposition();
        return false;
    }
    if (type == QEvent::MouseButtonPress) {
        // A click elsewhere in the window closes the panel; its own popups do not.
        auto *widget = qobject_cast<QWidget *>(watched);
        if (widget && widget != this && !isAncestorOf(widget) && widget->window() == window())
            dismiss();
        return false;
    }
    if ((watched == m_search || watched == m_input) &&
        (type == QEvent::ShortcutOverride || type == QEvent::KeyPress)) {
        const Command command = commandFor(static_cast<QKeyEvent *>(event), watched == m_input);
        if (command == Command::none)
            return false;
        // Claimed before the window's own key equivalents (Ctrl+Return runs the selection).
        if (type == QEvent::ShortcutOverride) {
            event->accept();
            return true;
        }
        perform(command);
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void QuickRunPalette::applyCardColour()
{
    // Opaque in the card's colour: what a keystroke or the caret changes is painted alone, not
    // with the window beneath the translucent card.
    QPalette solid = palette();
    QColor card = solid.color(QPalette::Window).toRgb();
    card.setAlpha(255);
    solid.setColor(QPalette::Window, card);
    solid.setColor(QPalette::Base, card);
    for (QWidget *part : {m_content, static_cast<QWidget *>(m_search), m_results->viewport()}) {
        part->setPalette(solid);
        part->setAutoFillBackground(true);
    }
}

void QuickRunPalette::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        applyCardColour(); // a light or dark appearance chosen while running
}

void QuickRunPalette::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    FloatingCard::paint(painter, rect(), palette(), 1.0f);
}
