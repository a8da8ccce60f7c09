#pragma once

#include "model/SmartRule.h"

#include <QWidget>

class ModelContext;
class QComboBox;
class QHBoxLayout;
class QLineEdit;
class QSpinBox;
class QToolButton;

// One line of the smart list editor: the field, the operand controls of that field's kind and a
// delete button. Changing the field keeps every operator and operand of the rule.
class SmartRuleRow : public QWidget {
    Q_OBJECT
public:
    // Tags and folders for the reference pickers come from the context.
    SmartRuleRow(const SmartRule &rule, const ModelContext &context, QWidget *parent = nullptr);

    const SmartRule &rule() const { return m_rule; }
    // The family names of the colour picker, each with its swatch colour.
    static QColor familyColor(const QString &family);

    // Rebuilds the reference pickers after tags or folders changed.
    void refreshReferences();

    QComboBox *fieldPicker() const { return m_field; }
    QToolButton *deleteButton() const { return m_delete; }

signals:
    void ruleChanged(const SmartRule &rule);
    void deleteRequested(const QUuid &id);

private:
    void buildOperands();
    void changed();
    QComboBox *addCombo(const QString &objectName, const QString &accessibleName);
    void fillReference(QComboBox *combo);
    void updateDays();

    const ModelContext &m_context;
    SmartRule m_rule;
    QComboBox *m_field = nullptr;
    QWidget *m_operands = nullptr;
    QHBoxLayout *m_operandLayout = nullptr;
    QComboBox *m_reference = nullptr;
    QSpinBox *m_days = nullptr;
    QToolButton *m_delete = nullptr;
};
