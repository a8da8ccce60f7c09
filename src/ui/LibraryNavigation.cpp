#include "ui/LibraryNavigation.h"

#include "model/AppSettings.h"
#include "model/ModelContext.h"

namespace {
const QString showInspectorKey = QStringLiteral("showInspector");
}

LibraryNavigation::LibraryNavigation(QObject *parent)
    : QObject(parent), m_showInspector(AppSettings::store().value(showInspectorKey, false).toBool())
{
}

LibraryNavigation &LibraryNavigation::shared()
{
    static LibraryNavigation *instance = new LibraryNavigation;
    return *instance;
}

void LibraryNavigation::setSection(const std::optional<LibrarySection> &section)
{
    if (m_section == section)
        return;
    m_section = section;
    emit sectionChanged();
}

void LibraryNavigation::setSelectedShortcut(ShortcutItem *item)
{
    if (item && item->isDeleted())
        item = nullptr;
    if (m_selected == item)
        return;
    m_selected = item;
    emit selectedShortcutChanged(item);
}

void LibraryNavigation::setShowInspector(bool show)
{
    if (m_showInspector == show)
        return;
    m_showInspector = show;
    AppSettings::store().setValue(showInspectorKey, show);
    AppSettings::store().sync();
    emit showInspectorChanged(show);
}

void LibraryNavigation::watch(ModelContext &context)
{
    if (m_context == &context)
        return;
    disconnect(m_contextConnection);
    m_context = &context;
    m_contextConnection =
        connect(&context, &ModelContext::changed, this, &LibraryNavigation::contextChanged);
}

void LibraryNavigation::contextChanged(const ModelChanges &changes)
{
    if (m_selected && changes.deleted.contains(m_selected))
        setSelectedShortcut(nullptr);
}
