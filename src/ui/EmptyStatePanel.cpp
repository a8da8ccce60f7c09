#include "ui/EmptyStatePanel.h"

#include "shortcuts/SymbolTable.h"
#include "ui/ProminentButton.h"
#include "ui/SymbolIcon.h"
#include "ui/TextBlock.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

EmptyStatePanel::EmptyStatePanel(QWidget *parent)
    : QWidget(parent), m_symbolLabel(new QLabel), m_title(new TextBlock), m_text(new TextBlock),
      m_button(new QPushButton)
{
    setObjectName(QStringLiteral("emptyState"));
    m_symbolLabel->setObjectName(QStringLiteral("emptyStateSymbol"));
    m_title->setObjectName(QStringLiteral("emptyStateTitle"));
    m_text->setObjectName(QStringLiteral("emptyStateText"));
    m_button->setObjectName(QStringLiteral("emptyStateButton"));
    QFont titleFont = m_title->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.45);
    titleFont.setBold(true);
    m_title->setFont(titleFont);
    // A search text can be anything: three lines of it at most.
    m_title->setMaximumLines(3);
    QPalette secondary = m_text->palette();
    QColor colour = secondary.color(QPalette::WindowText);
    colour.setAlphaF(0.6f);
    secondary.setColor(QPalette::WindowText, colour);
    m_text->setPalette(secondary);
    m_symbolLabel->setAlignment(Qt::AlignCenter);
    for (TextBlock *block : {m_title, m_text})
        block->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    ProminentButton::apply(m_button);
    m_button->setDefault(true);
    m_button->hide();
    connect(m_button, &QPushButton::clicked, this, &EmptyStatePanel::buttonClicked);

    // Symbol, title, text and button stay together as one group in the middle of the pane.
    auto *group = new QWidget(this);
    group->setObjectName(QStringLiteral("emptyStateGroup"));
    group->setMaximumWidth(440);
    auto *column = new QVBoxLayout(group);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    column->addWidget(m_symbolLabel, 0, Qt::AlignHCenter);
    column->addSpacing(4);
    column->addWidget(m_title);
    column->addWidget(m_text);
    column->addSpacing(10);
    column->addWidget(m_button, 0, Qt::AlignHCenter);

    // Centred by stretches, not by alignment: an aligned item is given the height its text
    // needs at the column's full width, which cuts lines when the group is narrower.
    auto *row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(group);
    row->addStretch(1);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 24, 24, 24);
    layout->addStretch(1);
    layout->addLayout(row);
    layout->addStretch(1);
}

void EmptyStatePanel::show(const QString &symbol, const QString &title, const QString &text,
                           const QString &buttonTitle)
{
    m_symbol = symbol;
    QColor colour = palette().color(QPalette::WindowText);
    colour.setAlphaF(0.45f);
    m_symbolLabel->setPixmap(SymbolIcon::pixmap(symbol, colour, 44, devicePixelRatioF()));
    m_symbolLabel->setVisible(SymbolTable::contains(symbol));
    m_title->setText(title);
    m_text->setText(text);
    m_text->setVisible(!text.isEmpty());
    m_button->setText(buttonTitle);
    m_button->setVisible(!buttonTitle.isEmpty());
}

QString EmptyStatePanel::title() const
{
    return m_title->text();
}

QString EmptyStatePanel::text() const
{
    return m_text->text();
}
