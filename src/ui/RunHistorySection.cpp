#include "ui/RunHistorySection.h"

#include "model/ModelContext.h"
#include "ui/RunRow.h"
#include "ui/WindowSettings.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

RunHistorySection::RunHistorySection(ModelContext &context, QWidget *parent)
    : QWidget(parent), m_context(context), m_rowLayout(new QVBoxLayout), m_empty(new QLabel(this)),
      m_showAll(new QPushButton(QStringLiteral("Show All…"), this))
{
    setObjectName(QStringLiteral("detailHistorySection"));
    m_empty->setObjectName(QStringLiteral("detailHistoryEmpty"));
    m_empty->setWordWrap(true);
    m_empty->setForegroundRole(QPalette::PlaceholderText);
    m_showAll->setObjectName(QStringLiteral("detailHistoryShowAll"));
    m_showAll->setAutoDefault(false);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    m_rowLayout->setSpacing(0);
    layout->addLayout(m_rowLayout);
    layout->addWidget(m_empty);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_showAll);
    layout->addLayout(buttons);

    connect(m_showAll, &QPushButton::clicked, this, &RunHistorySection::showAll);
    connect(&context, &ModelContext::runHistoryChanged, this, &RunHistorySection::reload);
    connect(&WindowSettings::shared(), &WindowSettings::changed, this,
            &RunHistorySection::refreshEmptyLine);
    reload();
}

void RunHistorySection::setItem(ShortcutItem *item)
{
    if (m_item == item)
        return;
    m_item = item;
    reload();
}

QList<RunRowButton *> RunHistorySection::rows() const
{
    QList<RunRowButton *> shown;
    for (RunRowButton *row : m_rows)
        if (!row->isHidden())
            shown.append(row);
    return shown;
}

void RunHistorySection::reload()
{
    RunHistoryFilter filter;
    filter.itemId = m_item && !m_item->isDeleted() ? m_item->persistentId() : 0;
    filter.limit = shownRuns;
    // An item id of 0 would read every shortcut's runs.
    const QList<RunEntry> entries =
        filter.itemId > 0 ? m_context.runHistory(filter) : QList<RunEntry>();
    while (m_rows.size() < entries.size()) {
        auto *row = new RunRowButton(this);
        row->setObjectName(QStringLiteral("detailHistoryRow"));
        connect(row, &RunRowButton::clicked, this, [this, row] { openEntry(row->entry()); });
        m_rowLayout->addWidget(row);
        m_rows.append(row);
    }
    for (int i = 0; i < m_rows.size(); ++i) {
        if (i < entries.size())
            m_rows.at(i)->setEntry(entries.at(i));
        m_rows.at(i)->setVisible(i < entries.size());
    }
    m_empty->setVisible(entries.isEmpty());
    m_showAll->setVisible(!entries.isEmpty());
    refreshEmptyLine();
}

void RunHistorySection::refreshEmptyLine()
{
    m_empty->setText(WindowSettings::shared().keepRunHistory()
                         ? QStringLiteral("No runs yet.")
                         : QStringLiteral("No runs yet. Keeping run history is off in Settings."));
}

void RunHistorySection::openSheet(RunHistorySheet *sheet)
{
    if (m_sheet)
        m_sheet->close();
    m_sheet = sheet;
    sheet->open();
}

void RunHistorySection::openEntry(const RunEntry &entry)
{
    if (m_item && !m_item->isDeleted())
        openSheet(new RunHistorySheet(m_context, m_item, entry.id, window()));
}

void RunHistorySection::showAll()
{
    if (m_item && !m_item->isDeleted())
        openSheet(new RunHistorySheet(m_context, m_item, window()));
}
