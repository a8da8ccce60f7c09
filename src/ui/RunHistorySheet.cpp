#include "ui/RunHistorySheet.h"

#include "model/LibraryHealth.h"
#include "model/ModelContext.h"
#include "ui/RunEntryView.h"
#include "ui/RunHistoryModel.h"
#include "ui/RunRow.h"
#include "ui/TextBlock.h"

#include <QDialogButtonBox>
#include <QListView>
#include <QPushButton>
#include <QSplitter>
#include <QVBoxLayout>

RunHistorySheet::RunHistorySheet(ModelContext &context, ShortcutItem *item, QWidget *parent)
    : RunHistorySheet(context, item, 0, true, parent)
{
}

RunHistorySheet::RunHistorySheet(ModelContext &context, ShortcutItem *item, qint64 entryId,
                                 QWidget *parent)
    : RunHistorySheet(context, item, entryId, false, parent)
{
}

RunHistorySheet::RunHistorySheet(ModelContext &context, ShortcutItem *item, qint64 entryId,
                                 bool whole, QWidget *parent)
    : QDialog(parent), m_context(context), m_item(item), m_entryId(entryId),
      m_entryView(new RunEntryView(this))
{
    setObjectName(whole ? QStringLiteral("runHistorySheet") : QStringLiteral("runEntrySheet"));
    // Names can hold line breaks and controls; a title shows them escaped.
    const QString name = LibraryHealth::visibleText(item->name());
    setWindowTitle(whole ? QStringLiteral("History of “%1”").arg(name)
                         : QStringLiteral("Run of “%1”").arg(name));
    setWindowFlag(Qt::Sheet);
    setWindowModality(Qt::WindowModal);
    setAttribute(Qt::WA_DeleteOnClose);
    setMinimumSize(whole ? QSize(600, 400) : QSize(400, 360));
    resize(whole ? QSize(760, 500) : QSize(520, 460));

    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(20, 14, 20, 14);
    outer->setSpacing(10);
    auto *title = new TextBlock(windowTitle(), this);
    title->setObjectName(QStringLiteral("runHistorySheetTitle"));
    title->setMaximumLines(2);
    title->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    QFont titleFont = title->font();
    titleFont.setBold(true);
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.1);
    title->setFont(titleFont);
    outer->addWidget(title);

    if (whole) {
        auto *splitter = new QSplitter(Qt::Horizontal, this);
        splitter->setChildrenCollapsible(false);
        m_model = new RunHistoryModel(this);
        m_list = new QListView(splitter);
        m_list->setObjectName(QStringLiteral("runHistorySheetList"));
        m_list->setAccessibleName(QStringLiteral("Runs"));
        m_list->setModel(m_model);
        m_list->setItemDelegate(new RunRow::Delegate(m_list));
        m_list->setUniformItemSizes(true);
        m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        m_list->setMouseTracking(true);
        m_list->viewport()->setAttribute(Qt::WA_Hover);
        m_list->setMinimumWidth(220);
        m_list->setSelectionMode(QAbstractItemView::SingleSelection);
        m_entryView->setParent(splitter);
        m_entryView->setMinimumWidth(300);
        splitter->addWidget(m_list);
        splitter->addWidget(m_entryView);
        splitter->setStretchFactor(1, 1);
        splitter->setSizes({280, 440});
        outer->addWidget(splitter, 1);
    } else {
        outer->addWidget(m_entryView, 1);
    }

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    buttons->button(QDialogButtonBox::Close)->setObjectName(QStringLiteral("runHistoryClose"));
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    outer->addWidget(buttons);

    connect(&context, &ModelContext::runHistoryChanged, this, &RunHistorySheet::reload);
    connect(&context, &ModelContext::changed, this, [this] {
        if (m_item->isDeleted())
            close();
    });
    reload();
    if (m_list) {
        connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this,
                &RunHistorySheet::showCurrent);
        m_list->setFocus();
    }
}

void RunHistorySheet::reload()
{
    RunHistoryFilter filter;
    filter.itemId = m_item->persistentId();
    filter.entryId = m_list ? 0 : m_entryId;
    const QList<RunEntry> entries = filter.itemId > 0 && !m_item->isDeleted()
                                        ? m_context.runHistory(filter)
                                        : QList<RunEntry>();
    if (!m_list) {
        if (entries.isEmpty())
            m_entryView->showNothing(QStringLiteral("Run Not Found"),
                                     QStringLiteral("This run is no longer in the history."));
        else
            m_entryView->setEntry(entries.first());
        return;
    }
    // The chosen run stays chosen; a new list starts at the newest.
    const QSignalBlocker blocker(m_list->selectionModel());
    m_model->setEntries(entries);
    const int row = std::max(0, m_model->rowOf(m_entryId));
    m_list->setCurrentIndex(m_model->index(row, 0));
    showCurrent();
}

void RunHistorySheet::showCurrent()
{
    const RunEntry *entry = m_model->entryAt(m_list->currentIndex());
    if (!entry) {
        m_entryView->showNothing(QStringLiteral("No Runs"),
                                 QStringLiteral("This shortcut has no runs in the history."));
        return;
    }
    m_entryId = entry->id;
    m_entryView->setEntry(*entry);
}
