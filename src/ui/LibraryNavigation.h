#pragma once

#include "model/LibrarySection.h"
#include "model/ShortcutItem.h"

#include <QObject>
#include <QPointer>
#include <optional>

class ModelContext;
struct ModelChanges;

// The window's shared selection state: the sidebar's section, the collection's selected
// shortcut and whether the inspector is shown. "showInspector" is written back at once.
class LibraryNavigation : public QObject {
    Q_OBJECT
    Q_PROPERTY(
        bool showInspector READ showInspector WRITE setShowInspector NOTIFY showInspectorChanged)
    Q_PROPERTY(ShortcutItem *selectedShortcut READ selectedShortcut WRITE setSelectedShortcut NOTIFY
                   selectedShortcutChanged)
public:
    // Reads "showInspector" from AppSettings::store() (false when absent).
    explicit LibraryNavigation(QObject *parent = nullptr);

    // The application's one instance, made on first use.
    static LibraryNavigation &shared();

    // Absent means `all`; effectiveSection() applies that rule.
    const std::optional<LibrarySection> &section() const { return m_section; }
    LibrarySection effectiveSection() const { return m_section.value_or(LibrarySection::all()); }
    void setSection(const std::optional<LibrarySection> &section);

    ShortcutItem *selectedShortcut() const { return m_selected; }
    void setSelectedShortcut(ShortcutItem *item);

    bool showInspector() const { return m_showInspector; }
    void setShowInspector(bool show);
    void toggleInspector() { setShowInspector(!m_showInspector); }

    // Forgets the selected shortcut when the context deletes it. One context at a time.
    void watch(ModelContext &context);

signals:
    void sectionChanged();
    void selectedShortcutChanged(ShortcutItem *item);
    void showInspectorChanged(bool show);

private:
    void contextChanged(const ModelChanges &changes);

    std::optional<LibrarySection> m_section = LibrarySection::all();
    ShortcutItem *m_selected = nullptr;
    bool m_showInspector = false;
    QPointer<ModelContext> m_context;
    QMetaObject::Connection m_contextConnection;
};
