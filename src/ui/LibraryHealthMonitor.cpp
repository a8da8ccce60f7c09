#include "ui/LibraryHealthMonitor.h"

#include "model/ModelContext.h"
#include "model/ShortcutItem.h"

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
    if (!changes.isEmpty() && !leavesFindings(changes))
        recheck();
}

bool LibraryHealthMonitor::leavesFindings(const ModelChanges &changes)
{
    if (m_inputs.isEmpty()) {
        // Nothing kept yet: what the changed shortcuts were is gone, so check, and keep from now.
        m_inputs.reserve(m_context.shortcuts().size());
        for (const ShortcutItem *item : m_context.shortcuts())
            m_inputs.insert(item, LibraryHealth::inputsOf(*item));
        return false;
    }
    bool leaves = changes.inserted.isEmpty() && changes.deleted.isEmpty();
    for (const Record *record : changes.deleted)
        if (record->kind() == Record::Kind::shortcutItem)
            m_inputs.remove(static_cast<const ShortcutItem *>(record));
    for (const QSet<Record *> *set : {&changes.updated, &changes.inserted})
        for (const Record *record : *set) {
            if (record->kind() != Record::Kind::shortcutItem) {
                leaves = false;
                continue;
            }
            const auto *item = static_cast<const ShortcutItem *>(record);
            LibraryHealth::Inputs inputs = LibraryHealth::inputsOf(*item);
            auto kept = m_inputs.find(item);
            if (kept == m_inputs.end()) {
                leaves = false;
                m_inputs.insert(item, std::move(inputs));
            } else if (!(*kept == inputs)) {
                leaves = false;
                *kept = std::move(inputs);
            }
        }
    return leaves;
}

void LibraryHealthMonitor::recheck()
{
    m_health = LibraryHealth::of(m_context);
    emit checked();
}
