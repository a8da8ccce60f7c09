#include "ui/DetailColumn.h"

#include "ui/EmptyStatePanel.h"

#include <QStackedWidget>
#include <QVBoxLayout>

InspectorPane::InspectorPane(QWidget *parent)
    : QWidget(parent), m_stack(new QStackedWidget(this)), m_empty(new EmptyStatePanel(this))
{
    setObjectName(QStringLiteral("inspectorPane"));
    m_empty->setObjectName(QStringLiteral("inspectorEmptyState"));
    m_empty->show(QStringLiteral("square.grid.2x2"), QStringLiteral("No Shortcut Selected"),
                  QStringLiteral("Pick a shortcut to see its details, tags, and notes."));
    m_stack->addWidget(m_empty);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_stack);
}

void InspectorPane::setDetailView(QWidget *detail, std::function<void(ShortcutItem *)> showItem)
{
    if (m_detail) {
        m_stack->removeWidget(m_detail);
        m_detail->deleteLater();
    }
    m_detail = detail;
    m_showItem = std::move(showItem);
    if (detail) {
        detail->setMinimumWidth(320);
        m_stack->addWidget(detail);
    }
    ShortcutItem *item = m_item;
    m_item = nullptr;
    setItem(item);
}

void InspectorPane::setItem(ShortcutItem *item)
{
    m_item = item;
    if (item && m_detail) {
        if (m_showItem)
            m_showItem(item);
        m_stack->setCurrentWidget(m_detail);
    } else {
        if (m_detail && m_showItem)
            m_showItem(nullptr);
        m_stack->setCurrentWidget(m_empty);
    }
}

bool InspectorPane::isShowingEmptyState() const
{
    return m_stack->currentWidget() == m_empty;
}
