#include "ui/CollectionToolbar.h"

#include "model/ModelContext.h"
#include "model/ShortcutItem.h"
#include "model/ShortcutSort.h"
#include "sync/LibrarySyncController.h"
#include "ui/LibraryNavigation.h"
#include "ui/SymbolIcon.h"
#include "ui/WindowSettings.h"

#include <QActionGroup>
#include <QMenu>
#include <QToolButton>

namespace {
const ShortcutSort allSortKeys[] = {ShortcutSort::libraryOrder, ShortcutSort::name,
                                    ShortcutSort::dateAdded,    ShortcutSort::modified,
                                    ShortcutSort::lastRun,      ShortcutSort::actionCount,
                                    ShortcutSort::runCount};

QString sortLabel(ShortcutSort key)
{
    switch (key) {
    case ShortcutSort::libraryOrder:
        return QStringLiteral("Shortcuts Order");
    case ShortcutSort::name:
        return QStringLiteral("Name");
    case ShortcutSort::dateAdded:
        return QStringLiteral("Date Added");
    case ShortcutSort::modified:
        return QStringLiteral("Last Modified");
    case ShortcutSort::lastRun:
        return QStringLiteral("Last Run");
    case ShortcutSort::actionCount:
        return QStringLiteral("Action Count");
    case ShortcutSort::runCount:
        return QStringLiteral("Run Count");
    }
    return {};
}
} // namespace

CollectionToolbar::CollectionToolbar(ModelContext &context, LibraryNavigation &navigation,
                                     LibrarySyncController &syncer, QWidget *parent)
    : QToolBar(parent), m_context(context), m_navigation(navigation), m_syncer(syncer),
      m_star(SymbolIcon::icon(QStringLiteral("star"))),
      m_starFilled(SymbolIcon::icon(QStringLiteral("star.fill")))
{
    setObjectName(QStringLiteral("collectionToolbar"));
    setIconSize(QSize(18, 18));
    setToolButtonStyle(Qt::ToolButtonIconOnly);
    addViewModes();
    addSeparator();

    QAction *sync = addAction(SymbolIcon::icon(QStringLiteral("arrow.triangle.2.circlepath")),
                              QStringLiteral("Sync"));
    sync->setObjectName(QStringLiteral("syncAction"));
    sync->setToolTip(
        QStringLiteral("Sync with Shortcuts (%1)")
            .arg(QKeySequence(Qt::CTRL | Qt::Key_R).toString(QKeySequence::NativeText)));
    sync->setEnabled(!syncer.phase().isSyncing());
    connect(sync, &QAction::triggered, this, [this] { m_syncer.sync(); });
    connect(&syncer, &LibrarySyncController::phaseChanged, sync,
            [this, sync] { sync->setEnabled(!m_syncer.phase().isSyncing()); });

    QAction *details =
        addAction(SymbolIcon::icon(QStringLiteral("sidebar.trailing")), QStringLiteral("Details"));
    details->setObjectName(QStringLiteral("detailsAction"));
    details->setToolTip(QStringLiteral("Show or hide the details pane"));
    details->setCheckable(true);
    details->setChecked(navigation.showInspector());
    connect(details, &QAction::triggered, this, [this] { m_navigation.toggleInspector(); });
    connect(&navigation, &LibraryNavigation::showInspectorChanged, details, &QAction::setChecked);

    m_favoriteAction = addAction(m_star, QStringLiteral("Favorite"));
    m_favoriteAction->setObjectName(QStringLiteral("favoriteAction"));
    connect(m_favoriteAction, &QAction::triggered, this, [this] {
        ShortcutItem *item = m_navigation.selectedShortcut();
        if (!item)
            return;
        item->setIsFavorite(!item->isFavorite());
        m_context.save();
        updateSelectionActions();
    });

    auto *more = new QMenu(QStringLiteral("More"), this);
    more->setObjectName(QStringLiteral("moreMenu"));
    more->setIcon(SymbolIcon::icon(QStringLiteral("ellipsis.circle")));
    m_moreAction = more->menuAction();
    m_moreAction->setObjectName(QStringLiteral("moreAction"));
    m_moreAction->setToolTip(QStringLiteral("More"));
    connect(more, &QMenu::aboutToShow, this, [this, more] {
        more->clear();
        if (ShortcutItem *item = m_navigation.selectedShortcut(); item && m_moreMenuBuilder)
            m_moreMenuBuilder(more, item);
    });
    addAction(m_moreAction);
    addSort();

    // Menus open on a click, and every button takes the keyboard focus in turn.
    for (QAction *action : actions()) {
        if (auto *button = qobject_cast<QToolButton *>(widgetForAction(action))) {
            button->setFocusPolicy(Qt::TabFocus);
            button->setAccessibleName(action->text());
            if (action->menu())
                button->setPopupMode(QToolButton::InstantPopup);
        }
    }

    connect(&navigation, &LibraryNavigation::selectedShortcutChanged, this,
            &CollectionToolbar::updateSelectionActions);
    connect(&context, &ModelContext::changed, this, &CollectionToolbar::updateSelectionActions);
    connect(&WindowSettings::shared(), &WindowSettings::changed, this,
            &CollectionToolbar::settingChanged);
    showSettings();
    updateSelectionActions();
}

// Plain checkable actions, so that a narrow window lists them in the toolbar's overflow menu
// like every other command.
void CollectionToolbar::addViewModes()
{
    auto *modes = new QActionGroup(this);
    modes->setExclusive(true);
    for (auto [action, symbol, name, title] :
         {std::tuple{&m_gridAction, "square.grid.2x2", "viewGridAction", "Grid"},
          std::tuple{&m_listAction, "list.bullet", "viewListAction", "List"}}) {
        *action =
            addAction(SymbolIcon::icon(QString::fromLatin1(symbol)), QString::fromLatin1(title));
        (*action)->setObjectName(QString::fromLatin1(name));
        (*action)->setCheckable(true);
        (*action)->setToolTip(QStringLiteral("Grid or list"));
        modes->addAction(*action);
    }
    connect(m_gridAction, &QAction::triggered, this,
            [] { WindowSettings::shared().setViewMode(WindowSettings::ViewMode::grid); });
    connect(m_listAction, &QAction::triggered, this,
            [] { WindowSettings::shared().setViewMode(WindowSettings::ViewMode::list); });
}

void CollectionToolbar::addSort()
{
    auto *sortMenu = new QMenu(QStringLiteral("Sort"), this);
    sortMenu->setObjectName(QStringLiteral("sortMenu"));
    sortMenu->setIcon(SymbolIcon::icon(QStringLiteral("arrow.up.arrow.down")));
    m_sortAction = sortMenu->menuAction();
    m_sortAction->setObjectName(QStringLiteral("sortAction"));
    m_sortAction->setToolTip(QStringLiteral("Sort"));
    sortMenu->addSection(QStringLiteral("Sort By"));
    m_sortKeys = new QActionGroup(sortMenu);
    for (ShortcutSort key : allSortKeys) {
        QAction *action = sortMenu->addAction(sortLabel(key));
        action->setObjectName(QStringLiteral("sortBy_") + storedName(key));
        action->setCheckable(true);
        action->setData(storedName(key));
        m_sortKeys->addAction(action);
        connect(action, &QAction::triggered, this,
                [key] { WindowSettings::shared().setSortKey(key); });
    }
    sortMenu->addSection(QStringLiteral("Order"));
    auto *order = new QActionGroup(sortMenu);
    m_ascending = sortMenu->addAction(QString());
    m_ascending->setObjectName(QStringLiteral("sortAscending"));
    m_descending = sortMenu->addAction(QString());
    m_descending->setObjectName(QStringLiteral("sortDescending"));
    for (QAction *action : {m_ascending, m_descending}) {
        action->setCheckable(true);
        order->addAction(action);
    }
    connect(m_ascending, &QAction::triggered, this,
            [] { WindowSettings::shared().setSortAscending(true); });
    connect(m_descending, &QAction::triggered, this,
            [] { WindowSettings::shared().setSortAscending(false); });
    addAction(m_sortAction);
}

void CollectionToolbar::setMoreMenuBuilder(MenuBuilder builder)
{
    m_moreMenuBuilder = std::move(builder);
    updateSelectionActions();
}

void CollectionToolbar::setListControlsEnabled(bool enable)
{
    for (QAction *action : {m_gridAction, m_listAction, m_sortAction})
        action->setEnabled(enable);
}

void CollectionToolbar::settingChanged(const QString &key)
{
    if (key.isEmpty() || key == QLatin1String("viewMode") || key == QLatin1String("sortKey") ||
        key == QLatin1String("sortAscending"))
        showSettings();
}

void CollectionToolbar::showSettings()
{
    const WindowSettings &settings = WindowSettings::shared();
    const bool list = settings.viewMode() == WindowSettings::ViewMode::list;
    m_gridAction->setChecked(!list);
    m_listAction->setChecked(list);
    const ShortcutSort key = settings.sortKey();
    for (QAction *action : m_sortKeys->actions())
        action->setChecked(action->data().toString() == storedName(key));
    const auto [up, down] = orderTitles(key);
    m_ascending->setText(up);
    m_descending->setText(down);
    m_ascending->setChecked(settings.sortAscending());
    m_descending->setChecked(!settings.sortAscending());
}

void CollectionToolbar::updateSelectionActions()
{
    ShortcutItem *item = m_navigation.selectedShortcut();
    const bool favorite = item && item->isFavorite();
    m_favoriteAction->setEnabled(item != nullptr);
    m_favoriteAction->setIcon(favorite ? m_starFilled : m_star);
    m_favoriteAction->setToolTip(favorite ? QStringLiteral("Remove from Favorites")
                                          : QStringLiteral("Add to Favorites"));
    m_moreAction->setEnabled(item != nullptr);
}
