#include "ui/SmartRuleRow.h"

#include "model/ColorFamily.h"
#include "model/FlattenedTree.h"
#include "model/ModelContext.h"
#include "model/NaturalOrder.h"
#include "ui/CompactComboBox.h"
#include "ui/SymbolIcon.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QSpinBox>
#include <QToolButton>
#include <limits>

using Field = SmartRule::Field;

SmartRuleRow::SmartRuleRow(const SmartRule &rule, const ModelContext &context, QWidget *parent)
    : QWidget(parent), m_context(context), m_rule(rule)
{
    setObjectName(QStringLiteral("smartRuleRow"));
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);

    m_field = new QComboBox(this);
    m_field->setObjectName(QStringLiteral("ruleField"));
    m_field->setAccessibleName(QStringLiteral("Field"));
    CompactComboBox::apply(m_field, 8);
    for (Field field : allCases<Field>())
        m_field->addItem(title(field), int(field));
    m_field->setCurrentIndex(m_field->findData(int(m_rule.field)));
    layout->addWidget(m_field);

    m_operands = new QWidget(this);
    m_operandLayout = new QHBoxLayout(m_operands);
    m_operandLayout->setContentsMargins(0, 0, 0, 0);
    m_operandLayout->setSpacing(6);
    layout->addWidget(m_operands, 1);

    m_delete = new QToolButton(this);
    m_delete->setObjectName(QStringLiteral("ruleDelete"));
    m_delete->setAccessibleName(QStringLiteral("Delete Rule"));
    m_delete->setAutoRaise(true);
    m_delete->setIcon(
        SymbolIcon::icon(QStringLiteral("minus.circle.fill"), QColor(0xFF, 0x3B, 0x30)));
    layout->addWidget(m_delete);

    connect(m_field, &QComboBox::currentIndexChanged, this, [this] {
        m_rule.field = Field(m_field->currentData().toInt());
        buildOperands();
        changed();
    });
    connect(m_delete, &QToolButton::clicked, this, [this] { emit deleteRequested(m_rule.id); });
    buildOperands();
}

QColor SmartRuleRow::familyColor(const QString &family)
{
    static const QHash<QString, QColor> colors{
        {QStringLiteral("Gray"), QColor(0x8E, 0x8E, 0x93)},
        {QStringLiteral("Brown"), QColor(0xA2, 0x84, 0x5E)},
        {QStringLiteral("Red"), QColor(0xFF, 0x3B, 0x30)},
        {QStringLiteral("Orange"), QColor(0xFF, 0x95, 0x00)},
        {QStringLiteral("Yellow"), QColor(0xFF, 0xCC, 0x00)},
        {QStringLiteral("Green"), QColor(0x34, 0xC7, 0x59)},
        {QStringLiteral("Teal"), QColor(0x30, 0xB0, 0xC7)},
        {QStringLiteral("Blue"), QColor(0x00, 0x7A, 0xFF)},
        {QStringLiteral("Indigo"), QColor(0x58, 0x56, 0xD6)},
        {QStringLiteral("Purple"), QColor(0xAF, 0x52, 0xDE)},
        {QStringLiteral("Pink"), QColor(0xFF, 0x2D, 0x55)},
    };
    return colors.value(family, QColor(0x8E, 0x8E, 0x93));
}

void SmartRuleRow::changed()
{
    emit ruleChanged(m_rule);
}

QComboBox *SmartRuleRow::addCombo(const QString &objectName, const QString &accessibleName)
{
    auto *combo = new QComboBox(m_operands);
    combo->setObjectName(objectName);
    combo->setAccessibleName(accessibleName);
    CompactComboBox::apply(combo, 6);
    m_operandLayout->addWidget(combo);
    return combo;
}

void SmartRuleRow::fillReference(QComboBox *combo)
{
    QSignalBlocker blocker(combo);
    combo->clear();
    combo->addItem(SmartRule::anyReferenceTitle(m_rule.field), QString());
    if (m_rule.field == Field::tag) {
        QList<Tag *> tags = m_context.tags();
        std::stable_sort(tags.begin(), tags.end(), [](const Tag *a, const Tag *b) {
            return naturalCompare(a->name(), b->name()) < 0;
        });
        for (const Tag *tag : tags)
            combo->addItem(tag->name(), tag->uuid());
    } else {
        for (const auto &entry : flattenedTree(m_context.folders()))
            combo->addItem(entry.title(), entry.record->uuid());
    }
    // A reference to a record that is gone keeps its text and simply shows no choice.
    combo->setCurrentIndex(combo->findData(m_rule.referenceUUID));
}

void SmartRuleRow::refreshReferences()
{
    if (m_reference)
        fillReference(m_reference);
}

void SmartRuleRow::updateDays()
{
    if (!m_days)
        return;
    m_days->setVisible(m_rule.dateOp != SmartRule::DateOp::never);
    m_days->setSuffix(u' ' + SmartRule::dayUnit(m_days->value()));
}

void SmartRuleRow::buildOperands()
{
    while (QLayoutItem *item = m_operandLayout->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    m_reference = nullptr;
    m_days = nullptr;

    const auto addBoolPicker = [this] {
        QComboBox *combo = addCombo(QStringLiteral("ruleBool"), QStringLiteral("Comparison"));
        combo->addItem(SmartRule::boolLabel(m_rule.field, true), true);
        combo->addItem(SmartRule::boolLabel(m_rule.field, false), false);
        combo->setCurrentIndex(m_rule.boolValue ? 0 : 1);
        connect(combo, &QComboBox::currentIndexChanged, this, [this, combo] {
            m_rule.boolValue = combo->currentData().toBool();
            changed();
        });
    };

    switch (SmartRule::kind(m_rule.field)) {
    case SmartRule::Kind::text: {
        QComboBox *op = addCombo(QStringLiteral("ruleTextOp"), QStringLiteral("Comparison"));
        for (auto value : allCases<SmartRule::TextOp>())
            op->addItem(label(value), int(value));
        op->setCurrentIndex(op->findData(int(m_rule.textOp)));
        connect(op, &QComboBox::currentIndexChanged, this, [this, op] {
            m_rule.textOp = SmartRule::TextOp(op->currentData().toInt());
            changed();
        });
        auto *text = new QLineEdit(m_rule.text, m_operands);
        text->setObjectName(QStringLiteral("ruleText"));
        text->setAccessibleName(QStringLiteral("Text"));
        text->setPlaceholderText(QStringLiteral("Text"));
        m_operandLayout->addWidget(text, 1);
        connect(text, &QLineEdit::textChanged, this, [this](const QString &value) {
            m_rule.text = value;
            changed();
        });
        break;
    }
    case SmartRule::Kind::number: {
        QComboBox *op = addCombo(QStringLiteral("ruleNumberOp"), QStringLiteral("Comparison"));
        for (auto value : allCases<SmartRule::NumberOp>())
            op->addItem(label(value), int(value));
        op->setCurrentIndex(op->findData(int(m_rule.numberOp)));
        connect(op, &QComboBox::currentIndexChanged, this, [this, op] {
            m_rule.numberOp = SmartRule::NumberOp(op->currentData().toInt());
            changed();
        });
        auto *number = new QSpinBox(m_operands);
        number->setObjectName(QStringLiteral("ruleNumber"));
        number->setAccessibleName(QStringLiteral("Number"));
        number->setButtonSymbols(QAbstractSpinBox::NoButtons);
        number->setGroupSeparatorShown(true);
        number->setRange(std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
        number->setFixedWidth(80);
        number->setValue(
            int(std::clamp<qint64>(m_rule.number, number->minimum(), number->maximum())));
        m_operandLayout->addWidget(number);
        m_operandLayout->addStretch(1);
        connect(number, &QSpinBox::valueChanged, this, [this](int value) {
            m_rule.number = value;
            changed();
        });
        break;
    }
    case SmartRule::Kind::date: {
        QComboBox *op = addCombo(QStringLiteral("ruleDateOp"), QStringLiteral("Comparison"));
        for (auto value : allCases<SmartRule::DateOp>()) {
            if (value == SmartRule::DateOp::never && m_rule.field != Field::lastRun)
                continue;
            op->addItem(label(value), int(value));
        }
        // A "never" kept from Last Run shows no choice for the other date fields.
        op->setCurrentIndex(op->findData(int(m_rule.dateOp)));
        m_days = new QSpinBox(m_operands);
        m_days->setObjectName(QStringLiteral("ruleDays"));
        m_days->setAccessibleName(QStringLiteral("Days"));
        m_days->setRange(1, 3650);
        m_days->setSingleStep(1);
        m_days->setValue(int(std::clamp<qint64>(m_rule.days, 1, 3650)));
        m_operandLayout->addWidget(m_days);
        m_operandLayout->addStretch(1);
        updateDays();
        connect(op, &QComboBox::currentIndexChanged, this, [this, op] {
            m_rule.dateOp = SmartRule::DateOp(op->currentData().toInt());
            updateDays();
            changed();
        });
        connect(m_days, &QSpinBox::valueChanged, this, [this](int value) {
            m_rule.days = value;
            updateDays();
            changed();
        });
        break;
    }
    case SmartRule::Kind::flag:
        addBoolPicker();
        m_operandLayout->addStretch(1);
        break;
    case SmartRule::Kind::reference: {
        addBoolPicker();
        m_reference =
            addCombo(QStringLiteral("ruleReference"),
                     m_rule.field == Field::tag ? QStringLiteral("Tag") : QStringLiteral("Folder"));
        fillReference(m_reference);
        m_operandLayout->addStretch(1);
        connect(m_reference, &QComboBox::currentIndexChanged, this, [this] {
            if (m_reference->currentIndex() < 0)
                return;
            m_rule.referenceUUID = m_reference->currentData().toString();
            changed();
        });
        break;
    }
    case SmartRule::Kind::outcome: {
        QComboBox *result = addCombo(QStringLiteral("ruleRunResult"), QStringLiteral("Outcome"));
        for (auto value : allCases<SmartRule::RunResult>())
            result->addItem(QStringLiteral("is ") + label(value), int(value));
        result->setCurrentIndex(result->findData(int(m_rule.runResult)));
        m_operandLayout->addStretch(1);
        connect(result, &QComboBox::currentIndexChanged, this, [this, result] {
            m_rule.runResult = SmartRule::RunResult(result->currentData().toInt());
            changed();
        });
        break;
    }
    case SmartRule::Kind::color: {
        addBoolPicker();
        if (m_rule.text.isEmpty())
            m_rule.text = QStringLiteral("Blue");
        QComboBox *family = addCombo(QStringLiteral("ruleColor"), QStringLiteral("Color"));
        for (const QString &name : colorFamilyNames())
            family->addItem(SymbolIcon::icon(QStringLiteral("circle.fill"), familyColor(name)),
                            name, name);
        family->setCurrentIndex(family->findData(m_rule.text));
        m_operandLayout->addStretch(1);
        connect(family, &QComboBox::currentIndexChanged, this, [this, family] {
            m_rule.text = family->currentData().toString();
            changed();
        });
        break;
    }
    }
}
