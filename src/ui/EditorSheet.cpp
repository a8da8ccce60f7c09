#include "ui/EditorSheet.h"

#include "model/LowercaseMatch.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

EditorSheet::EditorSheet(const QString &title, QWidget *parent) : QDialog(parent), m_title(title)
{
    setWindowTitle(title);
    setWindowFlag(Qt::Sheet);
    setWindowModality(Qt::WindowModal);
    setAttribute(Qt::WA_DeleteOnClose);
    setMinimumSize(460, 420);
    resize(500, 560);

    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->setSpacing(0);

    auto *titleLabel = new QLabel(title, this);
    titleLabel->setObjectName(QStringLiteral("editorSheetTitle"));
    titleLabel->setAlignment(Qt::AlignCenter);
    QFont titleFont = titleLabel->font();
    titleFont.setBold(true);
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.1);
    titleLabel->setFont(titleFont);
    titleLabel->setContentsMargins(16, 14, 16, 8);
    outer->addWidget(titleLabel);

    auto *scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto *body = new QWidget(scroll);
    m_sections = new QVBoxLayout(body);
    m_sections->setContentsMargins(20, 4, 20, 12);
    m_sections->setSpacing(14);
    m_sections->addStretch(1);
    scroll->setWidget(body);
    outer->addWidget(scroll, 1);

    auto *buttons = new QDialogButtonBox(this);
    buttons->setContentsMargins(16, 8, 16, 14);
    m_cancelButton = buttons->addButton(QDialogButtonBox::Cancel);
    m_cancelButton->setText(QStringLiteral("Cancel"));
    m_cancelButton->setObjectName(QStringLiteral("editorCancelButton"));
    m_saveButton = buttons->addButton(QStringLiteral("Save"), QDialogButtonBox::AcceptRole);
    m_saveButton->setObjectName(QStringLiteral("editorSaveButton"));
    m_saveButton->setDefault(true);
    outer->addWidget(buttons);

    connect(m_cancelButton, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_saveButton, &QPushButton::clicked, this, [this] {
        if (m_canSave)
            save();
    });
}

QString EditorSheet::trimmedName(const QString &name)
{
    return LowercaseMatch::trimSpacesAndTabs(name).toString();
}

void EditorSheet::setCanSave(bool canSave)
{
    m_canSave = canSave;
    m_saveButton->setEnabled(canSave);
}

QWidget *EditorSheet::addSectionFrame(const QString &header, QWidget *trailing)
{
    if (!header.isEmpty() || trailing) {
        auto *row = new QHBoxLayout;
        row->setContentsMargins(4, 0, 4, 0);
        auto *label = new QLabel(header);
        QFont font = label->font();
        font.setBold(true);
        label->setFont(font);
        label->setForegroundRole(QPalette::PlaceholderText);
        row->addWidget(label);
        row->addStretch(1);
        if (trailing)
            row->addWidget(trailing);
        m_sections->insertLayout(m_sections->count() - 1, row);
    }
    auto *frame = new QFrame;
    frame->setObjectName(QStringLiteral("editorSection"));
    frame->setFrameShape(QFrame::StyledPanel);
    frame->setAutoFillBackground(true);
    frame->setBackgroundRole(QPalette::Base);
    m_sections->insertWidget(m_sections->count() - 1, frame);
    return frame;
}

QFormLayout *EditorSheet::addSection(const QString &header, QWidget *trailing)
{
    QWidget *frame = addSectionFrame(header, trailing);
    auto *form = new QFormLayout(frame);
    form->setContentsMargins(12, 10, 12, 10);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return form;
}

void EditorSheet::addWidgetSection(const QString &header, QWidget *widget)
{
    QWidget *frame = addSectionFrame(header, nullptr);
    auto *layout = new QVBoxLayout(frame);
    layout->setContentsMargins(12, 10, 12, 10);
    layout->addWidget(widget);
}
