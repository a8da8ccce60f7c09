#include "ui/EmptyStatePanel.h"

#include "shortcuts/SymbolTable.h"
#include "ui/SymbolIcon.h"

#include <QLabel>
#include <QPushButton>
#include <QResizeEvent>
#include <QVBoxLayout>

EmptyStatePanel::EmptyStatePanel(QWidget *parent)
    : QWidget(parent), m_symbolLabel(new QLabel(this)), m_title(new QLabel(this)),
      m_text(new QLabel(this)), m_button(new QPushButton(this))
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
    m_text->setWordWrap(true);
    QPalette secondary = m_text->palette();
    QColor colour = secondary.color(QPalette::WindowText);
    colour.setAlphaF(0.6f);
    secondary.setColor(QPalette::WindowText, colour);
    m_text->setPalette(secondary);
    for (QLabel *label : {m_symbolLabel, m_title, m_text})
        label->setAlignment(Qt::AlignCenter);
    m_button->setDefault(true);
    m_button->hide();
    connect(m_button, &QPushButton::clicked, this, &EmptyStatePanel::buttonClicked);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(32, 24, 32, 24);
    layout->addStretch(1);
    layout->addWidget(m_symbolLabel, 0, Qt::AlignHCenter);
    layout->addSpacing(6);
    layout->addWidget(m_title, 0, Qt::AlignHCenter);
    layout->addWidget(m_text);
    layout->addSpacing(8);
    layout->addWidget(m_button, 0, Qt::AlignHCenter);
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
    fitTextHeight();
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

void EmptyStatePanel::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    fitTextHeight();
}

// A wrapped label inside nested layouts is not always given its height for the width it gets,
// which clips the second line; reserve that height explicitly.
void EmptyStatePanel::fitTextHeight()
{
    const QMargins margins = layout()->contentsMargins();
    const int width = std::max(1, this->width() - margins.left() - margins.right());
    m_text->setMinimumHeight(m_text->heightForWidth(width));
}
