#include "ui/LibraryHealthMonitor.h"

#include "model/ModelContext.h"

LibraryHealthMonitor &LibraryHealthMonitor::of(ModelContext &context)
{
    if (auto *existing =
            context.findChild<LibraryHealthMonitor *>(QString(), Qt::FindDirectChildrenOnly))
        return *existing;
    return *new LibraryHealthMonitor(context);
}

LibraryHealthMonitor::LibraryHealthMonitor(ModelContext &context)
    : QObject(&context), m_context(context), m_health(LibraryHealth::of(context))
{
    connect(&context, &ModelContext::changed, this, &LibraryHealthMonitor::contextChanged);
    m_hourly.setInterval(3'600'000);
    connect(&m_hourly, &QTimer::timeout, this, &LibraryHealthMonitor::recheck);
    m_hourly.start();
}

void LibraryHealthMonitor::contextChanged(const ModelChanges &changes)
{
    if (!changes.isEmpty())
        recheck();
}

void LibraryHealthMonitor::recheck()
{
    m_health = LibraryHealth::of(m_context);
    emit checked();
}
