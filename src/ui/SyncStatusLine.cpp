#include "ui/SyncStatusLine.h"

#include "model/ModelContext.h"
#include "shortcuts/ShortcutsDatabase.h"
#include "sync/LibrarySyncController.h"
#include "ui/FlowLayout.h"
#include "ui/RelativeDate.h"
#include "ui/ShortcutsFolderLink.h"
#include "ui/TextBlock.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>

namespace {
QPushButton *linkButton(const QString &title, const QString &name, QWidget *parent)
{
    auto *button = new QPushButton(title, parent);
    button->setObjectName(name);
    button->setFlat(true);
    button->setCursor(Qt::PointingHandCursor);
    button->setStyleSheet(
        QStringLiteral("QPushButton { border: none; padding: 0; color: palette(link); }"
                       "QPushButton:hover { text-decoration: underline; }"));
    return button;
}

QCoro::Task<> linkDatabase(QPointer<LibrarySyncController> syncer, QWidget *parent)
{
    if (!ShortcutsFolderLink::shared().choose(parent) || !syncer)
        co_return;
    co_await syncer->refreshFromDatabase();
}
} // namespace

SyncStatusLine::SyncStatusLine(LibrarySyncController &syncer, ModelContext &context,
                               QWidget *parent)
    : QWidget(parent), m_syncer(syncer), m_context(context), m_spinner(new QProgressBar(this)),
      m_progress(new QProgressBar(this)), m_label(new TextBlock(this)),
      m_linkSeparator(new QLabel(QStringLiteral("·"), this)),
      m_linkDatabase(linkButton(QStringLiteral("Link Shortcuts database for app icons"),
                                QStringLiteral("linkDatabasePrompt"), this)),
      m_helperSeparator(new QLabel(QStringLiteral("·"), this)),
      m_helper(linkButton(QStringLiteral("Get icons with the helper shortcut"),
                          QStringLiteral("helperShortcutPrompt"), this))
{
    setObjectName(QStringLiteral("syncStatusLine"));
    m_label->setObjectName(QStringLiteral("syncStatusText"));
    m_spinner->setObjectName(QStringLiteral("syncSpinner"));
    m_progress->setObjectName(QStringLiteral("iconProgress"));
    m_spinner->setRange(0, 0);
    m_spinner->setTextVisible(false);
    m_spinner->setFixedSize(60, 8);
    m_progress->setTextVisible(false);
    m_progress->setFixedSize(120, 8);
    QFont caption = font();
    caption.setPointSizeF(caption.pointSizeF() * 0.88);
    for (QWidget *w : std::initializer_list<QWidget *>{m_label, m_linkSeparator, m_linkDatabase,
                                                       m_helperSeparator, m_helper})
        w->setFont(caption);
    setAutoFillBackground(true);

    // A narrow column wraps the prompts onto a second line instead of cutting them off; the
    // status text itself stays on one line, with an ellipsis when even that is too narrow.
    m_label->setMaximumLines(1);
    auto *layout = new FlowLayout(this, 6);
    layout->setContentsMargins(12, 5, 12, 5);
    for (QWidget *w :
         std::initializer_list<QWidget *>{m_spinner, m_progress, m_label, m_linkSeparator,
                                          m_linkDatabase, m_helperSeparator, m_helper})
        layout->addWidget(w);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);

    connect(m_linkDatabase, &QPushButton::clicked, this,
            [this] { linkDatabase(QPointer<LibrarySyncController>(&m_syncer), window()); });
    // Linked from here or from the menu: the prompt goes at once.
    connect(&ShortcutsFolderLink::shared(), &ShortcutsFolderLink::linked, this,
            &SyncStatusLine::refresh);
    connect(m_helper, &QPushButton::clicked, this, [this] { m_syncer.runHelperShortcut(); });
    for (auto signal :
         {&LibrarySyncController::phaseChanged, &LibrarySyncController::lastSummaryChanged,
          &LibrarySyncController::lastSyncDateChanged,
          &LibrarySyncController::iconFetchBlockedChanged})
        connect(&syncer, signal, this, &SyncStatusLine::refresh);
    connect(&context, &ModelContext::changed, this, [this](const ModelChanges &changes) {
        if (m_syncer.iconFetchBlocked() && changes.touches(Record::Kind::shortcutItem))
            refresh();
    });
    // The relative date moves on by itself.
    m_clock.setInterval(30'000);
    connect(&m_clock, &QTimer::timeout, this, &SyncStatusLine::refresh);
    m_clock.start();
    refresh();
}

QString SyncStatusLine::text() const
{
    return m_label->text();
}

void SyncStatusLine::refresh()
{
    const SyncPhase phase = m_syncer.phase();
    const QLocale locale;
    bool prompts = false;
    m_spinner->setVisible(phase.isSyncing());
    m_progress->setVisible(phase.isIcons());
    if (phase.isSyncing()) {
        m_label->setText(QStringLiteral("Syncing with Shortcuts…"));
    } else if (phase.isIcons()) {
        m_progress->setRange(0, int(std::max<qint64>(1, phase.total)));
        m_progress->setValue(int(std::min(phase.done, phase.total)));
        m_label->setText(QStringLiteral("Loading icons %1 of %2")
                             .arg(locale.toString(phase.done), locale.toString(phase.total)));
    } else if (m_syncer.lastSyncDate().isValid()) {
        QString text = QStringLiteral("Synced ") + RelativeDate::named(m_syncer.lastSyncDate());
        if (const auto summary = m_syncer.lastSummary())
            text += QStringLiteral(" · ") + summary->text();
        m_label->setText(text);
        prompts = true;
    } else {
        m_label->setText(QStringLiteral("Not synced yet"));
    }
    const bool showLink = prompts && !ShortcutsDatabase::hasFolderAccess();
    bool showHelper = false;
    if (prompts && m_syncer.iconFetchBlocked()) {
        const auto &items = m_context.shortcuts();
        showHelper = std::any_of(items.cbegin(), items.cend(),
                                 [](const ShortcutItem *item) { return !item->hasIconData(); });
    }
    m_linkSeparator->setVisible(showLink);
    m_linkDatabase->setVisible(showLink);
    m_helperSeparator->setVisible(showHelper);
    m_helper->setVisible(showHelper);
}
