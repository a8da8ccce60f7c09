#include "ui/TrayMenu.h"

#include "model/LibraryQuery.h"
#include "model/ModelContext.h"
#include "model/ShortcutSort.h"
#include "shortcuts/ShortcutRunner.h"
#include "ui/PlainText.h"
#include "ui/ShortcutPainter.h"

#include <QMenu>
#include <algorithm>

namespace {
// Menus do not cut long names short themselves.
constexpr int maximumTitleWidth = 320;
} // namespace

TrayMenu::TrayMenu(ModelContext &context, ShortcutRunner &runner, QObject *parent)
    : QObject(parent), m_context(context), m_runner(runner), m_menu(std::make_unique<QMenu>()),
      m_quickRun(new QAction(QStringLiteral("Quick Run…"), this)),
      m_sync(new QAction(QStringLiteral("Sync with Shortcuts"), this)),
      m_open(new QAction(QStringLiteral("Open Thimblecraft"), this)),
      m_quit(new QAction(QStringLiteral("Quit"), this))
{
    m_menu->setObjectName(QStringLiteral("trayMenu"));
    m_quickRun->setObjectName(QStringLiteral("trayQuickRun"));
    m_sync->setObjectName(QStringLiteral("traySync"));
    m_open->setObjectName(QStringLiteral("trayOpen"));
    m_quit->setObjectName(QStringLiteral("trayQuit"));
    m_quit->setMenuRole(QAction::NoRole); // stays in this menu on a Mac
    connect(&context, &ModelContext::changed, this, &TrayMenu::contextChanged);
}

TrayMenu::~TrayMenu() = default;

QMenu *TrayMenu::menu()
{
    if (!m_built) {
        m_built = true;
        rebuild();
    }
    return m_menu.get();
}

QList<ShortcutItem *> TrayMenu::favorites(const ModelContext &context)
{
    return sorted(LibraryQuery::items(context, LibrarySection::favorites()), ShortcutSort::name,
                  true)
        .mid(0, maximumFavorites);
}

QList<ShortcutItem *> TrayMenu::recentlyRun(const ModelContext &context)
{
    return sorted(LibraryQuery::items(context, LibrarySection::recent()), ShortcutSort::lastRun,
                  false)
        .mid(0, maximumRecent);
}

void TrayMenu::contextChanged(const ModelChanges &changes)
{
    if (!m_built)
        return; // built from the records as they are when first asked for
    // Only a shown shortcut, a favourite or one that has run can change the menu (an icon
    // fetched for anything else cannot).
    bool shownChanged = false, mayEnter = false;
    for (const QSet<Record *> *set : {&changes.inserted, &changes.updated, &changes.deleted}) {
        for (Record *record : *set) {
            if (record->kind() != Record::Kind::shortcutItem)
                continue;
            auto *item = static_cast<ShortcutItem *>(record);
            shownChanged = shownChanged || m_shown.contains(item);
            mayEnter = mayEnter || item->isFavorite() || item->lastRunAt().has_value();
        }
    }
    if (shownChanged) {
        rebuild();
        return;
    }
    if (!mayEnter)
        return;
    const QList<ShortcutItem *> now = favorites(m_context) + recentlyRun(m_context);
    // Not QList's operator==, which hands memcmp a null pointer for empty lists (Qt 6.4).
    if (!std::equal(now.cbegin(), now.cend(), m_shown.cbegin(), m_shown.cend()))
        rebuild();
}

void TrayMenu::rebuild()
{
    ++m_revision;
    m_menu->clear(); // deletes the shortcut entries; the fixed actions belong to this object
    const QList<ShortcutItem *> favorite = favorites(m_context);
    const QList<ShortcutItem *> recent = recentlyRun(m_context);
    m_shown = favorite + recent;
    addShortcuts(QStringLiteral("Favorites"), favorite);
    addShortcuts(QStringLiteral("Recently Run"), recent);
    m_menu->addAction(m_quickRun);
    m_menu->addAction(m_sync);
    m_menu->addAction(m_open);
    m_menu->addSeparator();
    m_menu->addAction(m_quit);
}

void TrayMenu::addShortcuts(const QString &title, const QList<ShortcutItem *> &items)
{
    if (items.isEmpty())
        return;
    // A plain disabled entry, not a section: tray hosts drop section titles.
    m_menu->addAction(title)->setEnabled(false);
    const QFontMetrics metrics = m_menu->fontMetrics();
    for (ShortcutItem *item : items) {
        const QString title = PlainText::menuTitle(
            metrics.elidedText(item->name(), Qt::ElideRight, maximumTitleWidth));
        QAction *action = m_menu->addAction(ShortcutPainter::menuIcon(*item, m_revision), title);
        action->setObjectName(QStringLiteral("trayRun:") + item->identifier());
        connect(action, &QAction::triggered, this, [this, item] {
            if (!item->isDeleted() && !item->isMissing())
                m_runner.run(item);
        });
    }
    m_menu->addSeparator();
}
