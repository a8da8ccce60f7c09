#include "ui/ShortcutDetailView.h"

#include "model/FlattenedTree.h"
#include "model/ModelContext.h"
#include "shortcuts/ShortcutRunner.h"
#include "ui/DetailWidgets.h"
#include "ui/PlainText.h"
#include "ui/ProminentButton.h"
#include "ui/RunHistorySection.h"
#include "ui/ShortcutContextMenu.h"
#include "ui/ShortcutIconView.h"
#include "ui/ShortcutPainter.h"
#include "ui/SymbolIcon.h"
#include "ui/TagChipFlow.h"
#include "ui/TagEditor.h"
#include "ui/TextBlock.h"

#include <QFormLayout>
#include <QGraphicsDropShadowEffect>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QToolButton>
#include <QVBoxLayout>

using namespace DetailWidgets;

ShortcutDetailView::ShortcutDetailView(ModelContext &context, ShortcutRunner &runner,
                                       QWidget *parent)
    : QWidget(parent), m_context(context), m_runner(runner)
{
    setObjectName(QStringLiteral("shortcutDetail"));
    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    m_scroll = new QScrollArea(this);
    m_scroll->setWidgetResizable(true);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    outer->addWidget(m_scroll);
    auto *content = new QWidget(m_scroll);
    auto *column = new QVBoxLayout(content);
    column->setContentsMargins(18, 18, 18, 18);
    column->setSpacing(12);
    m_scroll->setWidget(content);

    // Header.
    auto *header = new QHBoxLayout;
    header->setSpacing(14);
    m_icon = new ShortcutIconView(76, ShortcutIconView::Style::standalone, content);
    m_icon->setObjectName(QStringLiteral("detailIcon"));
    auto *shadow = new QGraphicsDropShadowEffect(m_icon);
    shadow->setColor(QColor(0, 0, 0, 38));
    shadow->setBlurRadius(10);
    shadow->setOffset(0, 2);
    m_icon->setGraphicsEffect(shadow);
    header->addWidget(m_icon, 0, Qt::AlignTop);
    auto *titles = new QVBoxLayout;
    titles->setSpacing(3);
    m_name = new TextBlock(content);
    m_name->setObjectName(QStringLiteral("detailName"));
    m_name->setSelectable(true);
    // A name of hundreds of letters would fill the pane; the rest is in its tooltip.
    m_name->setMaximumLines(4);
    QFont nameFont = m_name->font();
    nameFont.setBold(true);
    nameFont.setPointSizeF(nameFont.pointSizeF() * 1.55);
    m_name->setFont(nameFont);
    titles->addWidget(m_name);
    m_subtitle = secondary(new TextBlock(content));
    m_subtitle->setObjectName(QStringLiteral("detailSubtitle"));
    titles->addWidget(m_subtitle);
    m_missingNote =
        captionLine(QStringLiteral("detailMissingNote"),
                    QStringLiteral("exclamationmark.triangle.fill"), QColor(0xFF, 0x95, 0x00),
                    QStringLiteral("Not found in Shortcuts during the last sync"), content);
    titles->addWidget(m_missingNote);
    m_placeholderNote = captionLine(
        QStringLiteral("detailPlaceholderNote"), QStringLiteral("iphone"),
        secondaryColor(palette()),
        QStringLiteral("Added from iPhone or iPad; a Mac sync will link its identifier"), content);
    titles->addWidget(m_placeholderNote);
    titles->addStretch(1);
    header->addLayout(titles, 1);
    column->addLayout(header);

    // Run area.
    m_input = new QLineEdit(content);
    m_input->setObjectName(QStringLiteral("detailInput"));
    m_input->setPlaceholderText(QStringLiteral("Input to pass to the shortcut (optional)"));
    m_input->setClearButtonEnabled(true);
    column->addWidget(m_input);
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    m_run = new QPushButton(SymbolIcon::icon(QStringLiteral("play.fill"), Qt::white),
                            QStringLiteral("Run Shortcut"), content);
    m_run->setObjectName(QStringLiteral("detailRunButton"));
    const QColor accent = ShortcutPainter::accentColor();
    ProminentButton::apply(m_run);
    m_run->setMinimumWidth(m_run->sizeHint().width());
    m_spinner = new BusySpinner(m_run);
    m_spinner->hide();
    buttons->addWidget(m_run);
    m_open = new QPushButton(SymbolIcon::icon(QStringLiteral("arrow.up.forward.app")),
                             QStringLiteral("Open in Shortcuts"), content);
    m_open->setObjectName(QStringLiteral("detailOpenButton"));
    buttons->addWidget(m_open);
    buttons->addStretch(1);
    column->addLayout(buttons);
    connect(m_run, &QPushButton::clicked, this, &ShortcutDetailView::runShortcut);
    connect(m_open, &QPushButton::clicked, this, [this] {
        if (m_item && !m_item->isDeleted())
            m_runner.openInShortcuts(m_item);
    });
    // "Run Shortcut" is the window's default action: Return runs it unless a text editor that
    // takes Return has the focus.
    m_returnKey = new QShortcut(QKeySequence(Qt::Key_Return), this);
    m_enterKey = new QShortcut(QKeySequence(Qt::Key_Enter), this);
    m_returnKey->setObjectName(QStringLiteral("detailReturnKey"));
    for (QShortcut *key : {m_returnKey, m_enterKey})
        connect(key, &QShortcut::activated, this, &ShortcutDetailView::runShortcut);
    // Only one of the two sees a given key press: the field's own signal covers a window that
    // is not active, where window shortcuts do not fire.
    connect(m_input, &QLineEdit::returnPressed, this, &ShortcutDetailView::runShortcut);

    // Organize.
    QVBoxLayout *organize =
        addGroup(column, QStringLiteral("Organize"), QStringLiteral("detailOrganize"));
    auto *organizeForm = new QFormLayout;
    organizeForm->setLabelAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    organizeForm->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    organize->addLayout(organizeForm);
    m_folderButton = new ElidingButton(content);
    m_folderButton->setObjectName(QStringLiteral("detailFolderButton"));
    m_folderButton->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    auto *folderMenu = new QMenu(m_folderButton);
    folderMenu->setObjectName(QStringLiteral("detailFolderMenu"));
    connect(folderMenu, &QMenu::aboutToShow, this, [this, folderMenu] {
        folderMenu->clear();
        if (m_item)
            ShortcutContextMenu::populateFolderMenu(folderMenu, m_item, m_context);
    });
    m_folderButton->setMenu(folderMenu);
    organizeForm->addRow(QStringLiteral("Folder"), m_folderButton);

    m_tags = new TagChipFlow(content);
    m_tags->setObjectName(QStringLiteral("detailTagFlow"));
    m_addTag = new QToolButton;
    m_addTag->setObjectName(QStringLiteral("detailAddTagButton"));
    m_addTag->setText(QStringLiteral("Add Tag"));
    m_addTag->setIcon(SymbolIcon::icon(QStringLiteral("plus.circle.fill"), accent));
    m_addTag->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_addTag->setPopupMode(QToolButton::InstantPopup);
    m_addTag->setAutoRaise(true);
    m_addTag->setStyleSheet(QStringLiteral("QToolButton::menu-indicator { image: none; }"));
    auto *addTagMenu = new QMenu(m_addTag);
    addTagMenu->setObjectName(QStringLiteral("detailAddTagMenu"));
    connect(addTagMenu, &QMenu::aboutToShow, this, [this, addTagMenu] {
        addTagMenu->clear();
        populateAddTagMenu(addTagMenu);
    });
    m_addTag->setMenu(addTagMenu);
    m_tags->setTrailing(m_addTag);
    connect(m_tags, &TagChipFlow::removeRequested, this, [this](Tag *tag) {
        if (m_item && !m_item->isDeleted())
            ShortcutContextMenu::removeTag(m_context, m_item, tag);
    });
    organizeForm->addRow(QStringLiteral("Tags"), m_tags);

    // Notes.
    QVBoxLayout *notes =
        addGroup(column, QStringLiteral("Notes"), QStringLiteral("detailNotesGroup"));
    m_notes = new QPlainTextEdit(content);
    m_notes->setObjectName(QStringLiteral("detailNotes"));
    m_notes->setFrameShape(QFrame::NoFrame);
    m_notes->setMinimumHeight(90);
    m_notes->setMaximumHeight(160);
    m_notes->setTabChangesFocus(true);
    m_notes->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    notes->addWidget(m_notes);
    connect(m_notes, &QPlainTextEdit::textChanged, this, &ShortcutDetailView::notesEdited);

    // Details.
    QVBoxLayout *details =
        addGroup(column, QStringLiteral("Details"), QStringLiteral("detailDetails"));
    m_details = new QFormLayout;
    m_details->setLabelAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_details->setHorizontalSpacing(16);
    m_details->setVerticalSpacing(6);
    details->addLayout(m_details);
    for (const QString &title : detailTitles()) {
        auto *name = secondary(new QLabel(title));
        auto *value = new TextBlock;
        value->setObjectName(QStringLiteral("detailValue"));
        if (title == QStringLiteral("Identifier")) {
            secondary(value);
            value->setSelectable(true);
        }
        m_details->addRow(name, value);
        m_detailLabels.append(name);
        m_detailValues.append(value);
    }

    // History.
    QVBoxLayout *history =
        addGroup(column, QStringLiteral("History"), QStringLiteral("detailHistory"));
    m_history = new RunHistorySection(context, content);
    history->addWidget(m_history);
    column->addStretch(1);

    connect(&m_context, &ModelContext::changed, this, &ShortcutDetailView::contextChanged);
    connect(&m_runner, &ShortcutRunner::runningIdentifiersChanged, this,
            &ShortcutDetailView::refreshRunState);
    refresh();
}

ShortcutDetailView::~ShortcutDetailView()
{
    if (m_tagEditor)
        delete m_tagEditor.data();
}

void ShortcutDetailView::setItem(ShortcutItem *item)
{
    if (item && item->isDeleted())
        item = nullptr;
    if (m_item == item)
        return;
    m_item = item;
    // Typed input belongs to the shortcut it was typed for.
    m_input->clear();
    m_icon->setItem(item);
    refresh();
    m_history->setItem(item);
}

QString ShortcutDetailView::formatDate(const QDateTime &date)
{
    const QLocale locale;
    const QDateTime local = date.toLocalTime();
    // The locale's short time, without seconds even where its short format carries them.
    QString timeFormat = locale.timeFormat(QLocale::ShortFormat);
    timeFormat.remove(QStringLiteral(":ss")).remove(QStringLiteral(".ss"));
    return locale.toString(local.date(), QStringLiteral("MMM d, yyyy")) + QStringLiteral(" at ") +
           locale.toString(local.time(), timeFormat);
}

QStringList ShortcutDetailView::detailTitles()
{
    return {QStringLiteral("Shortcuts Folder"),
            QStringLiteral("Added to Library"),
            QStringLiteral("Accepts Input"),
            QStringLiteral("Actions"),
            QStringLiteral("Color"),
            QStringLiteral("Created"),
            QStringLiteral("Last Modified"),
            QStringLiteral("Last Run"),
            QStringLiteral("Run Count"),
            QStringLiteral("Identifier")};
}

QString ShortcutDetailView::folderTitle() const
{
    if (!m_item || !m_item->folder())
        return QStringLiteral("None");
    QStringList names;
    for (const LibraryFolder *folder : m_item->folder()->pathFromRoot())
        names.append(folder->name());
    return names.join(QStringLiteral(" › "));
}

QList<QPair<QString, QString>> ShortcutDetailView::detailRows() const
{
    QList<QPair<QString, QString>> rows;
    if (!m_item)
        return rows;
    const ShortcutItem &item = *m_item;
    rows.append({QStringLiteral("Shortcuts Folder"), item.nativeFolderName().isEmpty()
                                                         ? QStringLiteral("None")
                                                         : item.nativeFolderName()});
    rows.append({QStringLiteral("Added to Library"), formatDate(item.firstSeenAt())});
    rows.append({QStringLiteral("Accepts Input"),
                 item.acceptsInput() ? QStringLiteral("Yes") : QStringLiteral("No")});
    rows.append({QStringLiteral("Actions"), QString::number(item.actionCount())});
    rows.append({QStringLiteral("Color"), item.colorHex()});
    if (item.nativeCreatedAt())
        rows.append({QStringLiteral("Created"), formatDate(*item.nativeCreatedAt())});
    if (item.nativeModifiedAt())
        rows.append({QStringLiteral("Last Modified"), formatDate(*item.nativeModifiedAt())});
    else
        rows.append({QStringLiteral("Last Changed"), formatDate(item.lastChangedAt())});
    rows.append({QStringLiteral("Last Run"),
                 item.lastRunAt() ? formatDate(*item.lastRunAt()) : QStringLiteral("Never")});
    rows.append({QStringLiteral("Run Count"), QString::number(item.runCount())});
    rows.append({QStringLiteral("Identifier"), item.identifier()});
    return rows;
}

void ShortcutDetailView::populateAddTagMenu(QMenu *menu)
{
    if (!m_item)
        return;
    ShortcutItem *item = m_item;
    for (const auto &entry : flattenedTree(m_context.tags())) {
        Tag *tag = entry.record;
        if (item->hasTag(tag))
            continue;
        QAction *action =
            menu->addAction(SymbolIcon::icon(QStringLiteral("tag.fill"),
                                             ShortcutPainter::colorOrFallback(
                                                 tag->colorHex(), ShortcutPainter::accentColor())),
                            PlainText::menuTitle(entry.title()));
        action->setObjectName(QStringLiteral("addTag:") + tag->uuid());
        connect(action, &QAction::triggered, this, [this, item, tag] {
            if (!item->isDeleted() && !tag->isDeleted())
                ShortcutContextMenu::addTag(m_context, item, tag);
        });
    }
    menu->addSeparator();
    QAction *create =
        menu->addAction(SymbolIcon::icon(QStringLiteral("plus")), QStringLiteral("New Tag…"));
    create->setObjectName(QStringLiteral("newTag"));
    connect(create, &QAction::triggered, this, &ShortcutDetailView::newTag);
}

void ShortcutDetailView::newTag()
{
    if (!m_item)
        return;
    if (m_tagEditor) {
        if (m_tagEditor->applyTo() == m_item) {
            m_tagEditor->raise();
            m_tagEditor->activateWindow();
            return;
        }
        delete m_tagEditor.data();
    }
    m_tagEditor = new TagEditor(m_context, TagEditTarget::makeNew(nullptr), m_item, window());
    m_tagEditor->open();
}

void ShortcutDetailView::runShortcut()
{
    if (!m_item || m_item->isDeleted())
        return;
    std::optional<QString> input;
    if (m_item->acceptsInput())
        input = m_input->text();
    m_runner.run(m_item, input);
}

bool ShortcutDetailView::isShowingSpinner() const
{
    return !m_spinner->isHidden();
}

void ShortcutDetailView::refreshRunState()
{
    const bool running = m_item && m_runner.isRunning(m_item->identifier());
    if (running == isShowingSpinner())
        return;
    m_spinner->setVisible(running);
    if (running) {
        m_run->setText(QString());
        m_run->setIcon(QIcon());
        m_spinner->move((m_run->width() - m_spinner->width()) / 2,
                        (m_run->height() - m_spinner->height()) / 2);
    } else {
        m_run->setText(QStringLiteral("Run Shortcut"));
        m_run->setIcon(SymbolIcon::icon(QStringLiteral("play.fill"), Qt::white));
    }
}

void ShortcutDetailView::contextChanged(const ModelChanges &)
{
    if (m_item && m_item->isDeleted()) {
        setItem(nullptr);
        return;
    }
    refresh();
}

void ShortcutDetailView::notesEdited()
{
    if (m_settingNotes || !m_item || m_item->isDeleted())
        return;
    m_item->setNotes(m_notes->toPlainText());
    m_context.save();
}

void ShortcutDetailView::refresh()
{
    const bool hasItem = m_item != nullptr;
    for (QWidget *widget :
         std::initializer_list<QWidget *>{m_run, m_open, m_folderButton, m_addTag, m_notes})
        widget->setEnabled(hasItem);
    m_returnKey->setEnabled(hasItem);
    m_enterKey->setEnabled(hasItem);
    if (!hasItem) {
        m_name->clear();
        m_subtitle->clear();
        m_missingNote->hide();
        m_placeholderNote->hide();
        m_input->hide();
        m_tags->setTags({});
        QSignalBlocker blocker(m_notes);
        m_notes->clear();
        for (int row = 0; row < m_details->rowCount(); ++row)
            m_details->setRowVisible(row, false);
        refreshRunState();
        return;
    }
    const ShortcutItem &item = *m_item;
    m_icon->refresh();
    m_name->setText(item.name());
    m_subtitle->setText(item.subtitle().isEmpty()
                            ? QString::number(item.actionCount()) + QStringLiteral(" actions")
                            : item.subtitle());
    m_missingNote->setVisible(item.isMissing());
    m_placeholderNote->setVisible(item.identifier().startsWith(QStringLiteral("name:")));
    m_input->setVisible(item.acceptsInput());

    static_cast<ElidingButton *>(m_folderButton)->setTitle(folderTitle());
    m_folderButton->setIcon(item.folder() ? QIcon() : SymbolIcon::icon(QStringLiteral("folder")));

    const QList<Tag *> tags = item.sortedTags();
    if (tags != m_tags->tags())
        m_tags->setTags(tags);

    if (m_notes->toPlainText() != item.notes()) {
        m_settingNotes = true;
        m_notes->setPlainText(item.notes());
        m_settingNotes = false;
    }

    // The rows stay in place and only change their texts, so a selection in one survives edits
    // elsewhere.
    const auto rows = detailRows();
    const QStringList titles = detailTitles();
    for (int row = 0; row < titles.size(); ++row) {
        const QString &title = titles.at(row);
        const auto shown = std::find_if(rows.cbegin(), rows.cend(), [&](const auto &entry) {
            return entry.first == title || (title == QStringLiteral("Last Modified") &&
                                            entry.first == QStringLiteral("Last Changed"));
        });
        m_details->setRowVisible(row, shown != rows.cend());
        if (shown == rows.cend())
            continue;
        m_detailLabels.at(row)->setText(shown->first);
        m_detailValues.at(row)->setText(shown->second);
    }
    refreshRunState();
}
