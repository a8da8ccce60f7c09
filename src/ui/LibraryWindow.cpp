#include "ui/LibraryWindow.h"

#include "model/ModelContext.h"
#include "shortcuts/ShortcutRunner.h"
#include "sync/LibrarySyncController.h"
#include "ui/AppIcon.h"
#include "ui/DetailColumn.h"
#include "ui/EditorSheet.h"
#include "ui/LibraryNavigation.h"
#include "ui/OutcomeBanner.h"
#include "ui/PlainText.h"
#include "ui/QuickRunPalette.h"
#include "ui/ShortcutCollectionView.h"
#include "ui/ShortcutContextMenu.h"
#include "ui/ShortcutDetailView.h"
#include "ui/ShortcutIconView.h"
#include "ui/SidebarView.h"
#include "ui/TagEditor.h"
#include "ui/WindowSettings.h"

#include <QGuiApplication>
#include <QMessageBox>
#include <QScreen>
#include <QSplitter>
#include <QVBoxLayout>

namespace {
struct ColumnWidths {
    int minimum, ideal, maximum;
};
constexpr ColumnWidths sidebarWidths{210, 250, 360};
constexpr ColumnWidths contentWidths{440, 820, QWIDGETSIZE_MAX};
constexpr ColumnWidths inspectorWidths{320, 360, 520};

void applyWidths(QWidget *widget, const ColumnWidths &widths)
{
    widget->setMinimumWidth(widths.minimum);
    widget->setMaximumWidth(widths.maximum);
}
} // namespace

LibraryWindow::LibraryWindow(ModelContext &context, LibraryNavigation &navigation,
                             ShortcutRunner &runner, LibrarySyncController &syncer, QWidget *parent)
    : QMainWindow(parent), m_context(context), m_navigation(navigation), m_runner(runner),
      m_syncer(syncer), m_splitter(new QSplitter(Qt::Horizontal)), m_sidebar(new QWidget),
      m_collection(new ShortcutCollectionView(context, navigation, runner, syncer)),
      m_inspector(new InspectorPane), m_banner(nullptr), m_quickRun(nullptr)
{
    setObjectName(QStringLiteral("libraryWindow"));
    setWindowTitle(QStringLiteral("Thimblecraft"));
    AppIcon::applyToApplication();
    setWindowIcon(QGuiApplication::windowIcon());
    setMinimumSize(1000, 560);
    navigation.watch(context);

    m_splitter->setObjectName(QStringLiteral("librarySplitter"));
    m_splitter->setChildrenCollapsible(false);
    m_sidebar->setObjectName(QStringLiteral("sidebarPlaceholder"));
    applyWidths(m_sidebar, sidebarWidths);
    applyWidths(m_collection, contentWidths);
    applyWidths(m_inspector, inspectorWidths);
    m_splitter->addWidget(m_sidebar);
    m_splitter->addWidget(m_collection);
    m_splitter->addWidget(m_inspector);
    m_splitter->setStretchFactor(0, 0);
    m_splitter->setStretchFactor(1, 1);
    m_splitter->setStretchFactor(2, 0);
    m_splitter->setCollapsible(2, true);
    m_splitter->setSizes({sidebarWidths.ideal, contentWidths.ideal, inspectorWidths.ideal});
    // Dragging the inspector shut is the same as switching it off.
    connect(m_splitter, &QSplitter::splitterMoved, this, [this] {
        if (m_navigation.showInspector() && m_splitter->sizes().value(2) == 0)
            m_navigation.setShowInspector(false);
    });

    auto *central = new QWidget(this);
    central->setObjectName(QStringLiteral("libraryCentral"));
    auto *layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_splitter);
    setCentralWidget(central);
    m_banner = new OutcomeBanner(runner, central);
    m_quickRun = new QuickRunPalette(context, runner, central);

    setSidebar(new SidebarView(context, navigation));
    auto *detail = new ShortcutDetailView(context, runner);
    m_inspector->setDetailView(detail, [detail](ShortcutItem *item) { detail->setItem(item); });
    m_collection->setContextMenuBuilder([this](QMenu *menu, ShortcutItem *item) {
        ShortcutContextMenu::populate(
            menu, item, {m_context, m_runner, m_navigation, [this](ShortcutItem *target) {
                             m_collection->promptForInput(target);
                         }});
    });
    m_inspector->setItem(navigation.selectedShortcut());
    connect(&navigation, &LibraryNavigation::selectedShortcutChanged, m_inspector,
            &InspectorPane::setItem);
    connect(&navigation, &LibraryNavigation::showInspectorChanged, this,
            &LibraryWindow::applyInspectorVisibility);
    applyInspectorVisibility();

    connect(&syncer, &LibrarySyncController::lastErrorChanged, this,
            &LibraryWindow::lastErrorChanged);
    ShortcutIconView::setOnScreenHandler(
        [syncer = QPointer<LibrarySyncController>(&syncer)](ShortcutItem *item) {
            if (syncer)
                syncer->prioritizeIcon(item);
        });
    // The usual size, but never larger than the screen it opens on (a small laptop, a projector).
    QSize size(1280, 800);
    if (const QScreen *screen = QGuiApplication::primaryScreen())
        size = size.boundedTo(screen->availableGeometry().size()).expandedTo(minimumSize());
    resize(size);
}

LibraryWindow::~LibraryWindow()
{
    ShortcutIconView::setOnScreenHandler({});
}

void LibraryWindow::setSidebar(QWidget *sidebar)
{
    if (!sidebar)
        return;
    const QList<int> sizes = m_splitter->sizes();
    applyWidths(sidebar, sidebarWidths);
    m_splitter->replaceWidget(0, sidebar);
    m_sidebar->deleteLater();
    m_sidebar = sidebar;
    m_splitter->setCollapsible(0, false);
    m_splitter->setSizes(sizes);
}

void LibraryWindow::applyInspectorVisibility()
{
    const bool show = m_navigation.showInspector();
    if (show == m_inspector->isVisibleTo(this) && m_inspector->parentWidget())
        return;
    m_inspector->setVisible(show);
    if (show) {
        QList<int> sizes = m_splitter->sizes();
        if (sizes.value(2) < inspectorWidths.minimum && sizes.size() == 3) {
            const int take = inspectorWidths.ideal - sizes[2];
            sizes[1] = std::max(contentWidths.minimum, sizes[1] - take);
            sizes[2] = inspectorWidths.ideal;
            m_splitter->setSizes(sizes);
        }
    }
}

void LibraryWindow::bringForward()
{
    if (isMinimized())
        setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

void LibraryWindow::openQuickRun()
{
    bringForward();
    m_quickRun->open();
}

void LibraryWindow::openURL(const QUrl &url)
{
    m_runner.handleCallbackURL(url);
}

void LibraryWindow::openURL(const QString &urlText)
{
    m_runner.handleCallbackURL(urlText);
}

void LibraryWindow::lastErrorChanged()
{
    const QString error = m_syncer.lastError();
    if (error.isEmpty()) {
        if (m_syncFailedAlert)
            m_syncFailedAlert->close();
        return;
    }
    // Alert titles are not shown on every platform: "Sync Failed" is the alert's text and the
    // error its informative text.
    if (m_syncFailedAlert) {
        PlainText::setInformativeText(m_syncFailedAlert, error);
        return;
    }
    auto *alert = new QMessageBox(QMessageBox::Warning, QStringLiteral("Sync Failed"),
                                  QStringLiteral("Sync Failed"), QMessageBox::Ok, this);
    alert->setTextFormat(Qt::PlainText);
    PlainText::setInformativeText(alert, error);
    alert->setObjectName(QStringLiteral("syncFailedAlert"));
    alert->setAttribute(Qt::WA_DeleteOnClose);
    // Dismissing it by any means clears the error, so it comes back only with the next one.
    connect(alert, &QMessageBox::finished, this, [this] { m_syncer.setLastError(QString()); });
    m_syncFailedAlert = alert;
    alert->open();
}

void LibraryWindow::showEvent(QShowEvent *event)
{
    QMainWindow::showEvent(event);
    if (m_launched)
        return;
    m_launched = true;
    emit firstShown();
    launchTask();
}

QCoro::Task<> LibraryWindow::launchTask()
{
    QPointer<LibraryWindow> self(this);
    QPointer<LibrarySyncController> syncer(&m_syncer);
    co_await syncer->upgradeStoredIcons();
    if (!syncer)
        co_return;
    if (WindowSettings::shared().syncOnLaunch())
        co_await syncer->sync();
    else
        syncer->startIconFetch();
    if (self)
        emit self->launchTaskFinished();
}
