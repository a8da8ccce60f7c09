#pragma once

#include "model/LibrarySection.h"
#include "model/ShortcutSort.h"
#include "model/SmartListSortAdoption.h"

#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <optional>

class CollectionToolbar;
class EmptyStatePanel;
class HealthReportView;
class LibraryNavigation;
class LibrarySyncController;
class ModelContext;
class QAction;
#include <QDialog>
class QLabel;
class QLineEdit;
class QMenu;
class QStackedWidget;
class QToolButton;
class Record;
class ShortcutGridView;
class ShortcutItem;
class ShortcutListModel;
class ShortcutRunner;
class SyncStatusLine;
class TextBlock;
struct ModelChanges;

// The middle column: the section's shortcuts as a grid or list with its title, search field,
// toolbar (CollectionToolbar), empty states and sync status line. It follows the records, the
// navigation's section and selection and the stored settings, and keeps the selection and scroll
// position across record changes.
class ShortcutCollectionView : public QWidget {
    Q_OBJECT
public:
    ShortcutCollectionView(ModelContext &context, LibraryNavigation &navigation,
                           ShortcutRunner &runner, LibrarySyncController &syncer,
                           QWidget *parent = nullptr);
    ~ShortcutCollectionView() override;

    // Fills a menu with the per-shortcut commands (the context menu and "More").
    using ContextMenuBuilder = std::function<void(QMenu *menu, ShortcutItem *item)>;
    void setContextMenuBuilder(ContextMenuBuilder builder);

    // Opens the run-input alert for a shortcut (from "Run with Input…").
    void promptForInput(ShortcutItem *item);
    // Test hook: the open run-input alert, or null.
    QDialog *inputAlert() const { return m_inputAlert; }

    QString title() const;
    QString subtitle() const;
    ShortcutListModel *model() const { return m_model; }
    ShortcutGridView *view() const { return m_view; }
    QLineEdit *searchField() const { return m_search; }
    EmptyStatePanel *emptyState() const { return m_empty; }
    // Shown instead of the shortcuts in the health section.
    HealthReportView *healthReport() const { return m_health; }
    SyncStatusLine *statusLine() const { return m_status; }
    bool isShowingEmptyState() const;

    // Recomputes the list now instead of on the next turn of the event loop.
    void refreshNow();

signals:
    // After the list was recomputed and shown.
    void refreshed();

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    int searchWidth() const;
    void sectionChanged();
    void contextChanged(const ModelChanges &changes);
    void settingChanged(const QString &key);
    void scheduleRefresh();
    void refresh(bool newSection);
    // A search that narrows the last one filters the last results instead of the section.
    void searchEdited();
    void present(const QList<ShortcutItem *> &items, bool newSection);
    void updateHeaderAndEmptyState();
    void applyViewMode();
    void showContextMenu(ShortcutItem *item, const QPoint &globalPos);
    void itemDoubleClicked(ShortcutItem *item);
    // Goes to a record the health report names: a shortcut selected among all (or the missing)
    // shortcuts, or the section of a folder, tag or smart list.
    void showRecord(Record *record);
    // Sort, view mode and search have nothing to act on in the health report.
    void enableListControls(bool enable);
    LibrarySection section() const;

    ModelContext &m_context;
    LibraryNavigation &m_navigation;
    ShortcutRunner &m_runner;
    LibrarySyncController &m_syncer;
    ShortcutListModel *m_model;
    ShortcutGridView *m_view;
    QStackedWidget *m_stack;
    EmptyStatePanel *m_empty;
    HealthReportView *m_health;
    SyncStatusLine *m_status;
    TextBlock *m_title;
    QLabel *m_subtitle;
    CollectionToolbar *m_toolbar;
    QLineEdit *m_search;
    ContextMenuBuilder m_contextMenuBuilder;
    QPointer<QDialog> m_inputAlert;
    SmartListSortAdoption m_adoption;
    std::optional<LibrarySection> m_shownSection;
    // While a smart list's sort is adopted: the section's own refresh follows.
    bool m_adoptingSort = false;
    QTimer m_refreshTimer;
    // What the last refresh showed and for which search; emptied by any change of the records
    // or the settings, which only a full refresh may follow.
    struct Narrowing {
        QString query;
        QList<ShortcutItem *> items;
        bool valid = false;
    } m_narrowing;
    QTimer m_clock;
};
