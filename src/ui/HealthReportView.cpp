#include "ui/HealthReportView.h"

#include "ui/EmptyStatePanel.h"
#include "ui/HealthReportDelegate.h"
#include "ui/HealthReportModel.h"
#include "ui/LibraryHealthMonitor.h"

#include <QListView>
#include <QScrollBar>
#include <QStackedWidget>
#include <QVBoxLayout>

HealthReportView::HealthReportView(ModelContext &context, QWidget *parent)
    : QWidget(parent), m_monitor(LibraryHealthMonitor::of(context)),
      m_model(new HealthReportModel(this)), m_list(new QListView(this)),
      m_empty(new EmptyStatePanel(this)), m_stack(new QStackedWidget(this))
{
    setObjectName(QStringLiteral("healthReport"));
    m_list->setObjectName(QStringLiteral("healthReportList"));
    m_list->setAccessibleName(QStringLiteral("Library Health"));
    m_list->setModel(m_model);
    m_list->setItemDelegate(new HealthReportDelegate(m_list));
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    // Wrapped notes change height with the width.
    m_list->setResizeMode(QListView::Adjust);
    m_list->setUniformItemSizes(false);
    QPalette palette = m_list->palette();
    palette.setColor(QPalette::Base, palette.color(QPalette::Window));
    m_list->setPalette(palette);

    m_stack->addWidget(m_list);
    m_stack->addWidget(m_empty);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_stack);

    const auto choose = [this](const QModelIndex &index) {
        if (Record *record = m_model->recordAt(index))
            emit recordChosen(record);
    };
    connect(m_list, &QListView::clicked, this, choose);
    connect(m_list, &QListView::activated, this, choose);
    connect(&m_monitor, &LibraryHealthMonitor::checked, this, [this] {
        if (isVisible())
            rebuild();
    });
}

void HealthReportView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    rebuild();
}

void HealthReportView::rebuild()
{
    const int scroll = m_list->verticalScrollBar()->value();
    m_model->setHealth(m_monitor.health());
    m_list->doItemsLayout(); // so that the old position exists again
    m_list->verticalScrollBar()->setValue(scroll);
    if (m_model->rowCount() > 0) {
        m_stack->setCurrentWidget(m_list);
        return;
    }
    m_empty->show(QStringLiteral("checkmark.circle"), QStringLiteral("No Problems Found"),
                  QStringLiteral("No shared or troublesome names, stray placeholders, broken "
                                 "smart lists, or empty folders and tags."));
    m_stack->setCurrentWidget(m_empty);
}
