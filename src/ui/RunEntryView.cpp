#include "ui/RunEntryView.h"

#include "ui/EmptyStatePanel.h"
#include "ui/RelativeDate.h"
#include "ui/RunOutcomeMark.h"
#include "ui/ShortcutDetailView.h"
#include "ui/SymbolIcon.h"
#include "ui/TextBlock.h"

#include <QClipboard>
#include <QFormLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace {
const QStringList factTitles{QStringLiteral("Started"), QStringLiteral("Duration"),
                             QStringLiteral("Source")};

QPlainTextEdit *readOnlyText(const QString &objectName, QWidget *parent)
{
    auto *text = new QPlainTextEdit(parent);
    text->setObjectName(objectName);
    text->setReadOnly(true);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    text->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    text->setTabChangesFocus(true);
    return text;
}

QLabel *boldLabel(QWidget *parent)
{
    auto *label = new QLabel(parent);
    QFont font = label->font();
    font.setBold(true);
    label->setFont(font);
    return label;
}
} // namespace

RunEntryView::RunEntryView(QWidget *parent)
    : QWidget(parent), m_stack(new QStackedWidget(this)), m_empty(new EmptyStatePanel(this))
{
    setObjectName(QStringLiteral("runEntryView"));
    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(m_stack);
    auto *page = new QWidget(m_stack);
    auto *column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(8);

    auto *header = new QHBoxLayout;
    header->setSpacing(6);
    m_mark = new QLabel(page);
    m_title = boldLabel(page);
    m_title->setObjectName(QStringLiteral("runEntryTitle"));
    header->addWidget(m_mark);
    header->addWidget(m_title, 1);
    column->addLayout(header);

    auto *facts = new QFormLayout;
    facts->setLabelAlignment(Qt::AlignLeft | Qt::AlignTop);
    facts->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    facts->setHorizontalSpacing(16);
    facts->setVerticalSpacing(4);
    for (const QString &title : factTitles) {
        auto *label = new QLabel(title, page);
        label->setForegroundRole(QPalette::PlaceholderText);
        auto *value = new TextBlock(page);
        value->setSelectable(true);
        facts->addRow(label, value);
        m_factValues.append(value);
    }
    column->addLayout(facts);

    m_inputLabel = boldLabel(page);
    column->addWidget(m_inputLabel);
    m_input = readOnlyText(QStringLiteral("runEntryInput"), page);
    m_input->setMaximumHeight(m_input->fontMetrics().lineSpacing() * 4 + 12);
    m_input->setPlaceholderText(QStringLiteral("Empty text"));
    column->addWidget(m_input);

    auto *outputHeader = new QHBoxLayout;
    m_outputLabel = boldLabel(page);
    outputHeader->addWidget(m_outputLabel, 1);
    m_copy = new QPushButton(SymbolIcon::icon(QStringLiteral("doc.on.doc")), QStringLiteral("Copy"),
                             page);
    m_copy->setObjectName(QStringLiteral("runEntryCopyButton"));
    m_copy->setAutoDefault(false);
    outputHeader->addWidget(m_copy);
    column->addLayout(outputHeader);
    m_output = readOnlyText(QStringLiteral("runEntryOutput"), page);
    m_output->setMinimumHeight(m_output->fontMetrics().lineSpacing() * 3 + 12);
    column->addWidget(m_output, 1);
    connect(m_copy, &QPushButton::clicked, this, [this] {
        if (m_entry)
            QGuiApplication::clipboard()->setText(m_entry->text);
    });

    m_stack->addWidget(page);
    m_stack->addWidget(m_empty);
}

QList<QPair<QString, QString>> RunEntryView::facts() const
{
    if (!m_entry)
        return {};
    const RunEntry &e = *m_entry;
    return {
        {factTitles[0], ShortcutDetailView::formatDate(e.startedAt) + QStringLiteral(" (") +
                            RelativeDate::named(e.startedAt) + u')'},
        {factTitles[1], e.durationMs ? runDurationText(*e.durationMs) : QStringLiteral("Unknown")},
        {factTitles[2], title(e.source)},
    };
}

void RunEntryView::setEntry(const RunEntry &entry)
{
    const bool sameRun = m_entry && m_entry->id == entry.id;
    m_entry = entry;
    m_mark->setPixmap(SymbolIcon::pixmap(
        RunOutcomeMark::symbol(entry.outcome),
        RunOutcomeMark::color(entry.outcome, palette().color(QPalette::PlaceholderText)), 16,
        devicePixelRatioF()));
    m_title->setText(RunOutcomeMark::title(entry.outcome));
    const auto shown = facts();
    for (int row = 0; row < shown.size(); ++row)
        m_factValues.at(row)->setText(shown.at(row).second);

    m_inputLabel->setText(entry.input ? QStringLiteral("Input") : QStringLiteral("No input"));
    m_input->setVisible(entry.input.has_value());
    m_input->setPlainText(entry.input.value_or(QString()));
    const bool failed = entry.outcome == RunOutcome::failed;
    m_outputLabel->setText(failed ? QStringLiteral("Error") : QStringLiteral("Output"));
    // The same run read again (it finished meanwhile) keeps what the person selected.
    if (!sameRun || m_output->toPlainText() != entry.text)
        m_output->setPlainText(entry.text);
    m_output->setPlaceholderText(RunOutcomeMark::emptyText(entry.outcome));
    m_copy->setEnabled(!entry.text.isEmpty());
    m_stack->setCurrentIndex(0);
}

void RunEntryView::showNothing(const QString &title, const QString &text)
{
    m_entry.reset();
    m_empty->show(QStringLiteral("clock.arrow.circlepath"), title, text);
    m_stack->setCurrentIndex(1);
}
