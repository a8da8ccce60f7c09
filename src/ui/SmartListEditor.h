#pragma once

#include "model/SmartRuleSet.h"
#include "ui/EditorSheet.h"

#include <QHash>
#include <QUuid>

class ColorSwatchPicker;
class ModelContext;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QVBoxLayout;
class SmartList;
class SmartRuleRow;
class SymbolPicker;
struct ModelChanges;

// What the smart list editor works on: a new list or an existing one.
struct SmartListEditTarget {
    SmartList *list = nullptr; // set when editing

    static SmartListEditTarget makeNew() { return {}; }
    static SmartListEditTarget edit(SmartList *list) { return {list}; }
    bool isNew() const { return list == nullptr; }
    // "new", or "edit-<uuid>".
    QString identity() const;
};

// The sheet that creates or edits a smart list: name, how rules combine, the rules with a live
// count of the shortcuts they select, the sort it is shown with, colour and icon. Works on its
// own copy of the rules until "Save".
class SmartListEditor : public EditorSheet {
    Q_OBJECT
public:
    SmartListEditor(ModelContext &context, const SmartListEditTarget &target,
                    QWidget *parent = nullptr);

    const SmartListEditTarget &target() const { return m_target; }
    const SmartRuleSet &rules() const { return m_rules; }
    // How many shortcuts the unsaved rules select right now.
    int liveCount() const { return m_liveCount; }

    QLineEdit *nameField() const { return m_name; }
    QComboBox *matchPicker() const { return m_match; }
    QCheckBox *includeMissingToggle() const { return m_includeMissing; }
    QLabel *countLabel() const { return m_count; }
    QPushButton *addRuleButton() const { return m_addRule; }
    QComboBox *sortPicker() const { return m_sort; }
    QComboBox *orderPicker() const { return m_order; }
    ColorSwatchPicker *colorPicker() const { return m_color; }
    SymbolPicker *symbolPicker() const { return m_symbol; }
    QList<SmartRuleRow *> ruleRows() const;

protected:
    void save() override;

private:
    void addRow(const SmartRule &rule);
    void ruleChanged(const SmartRule &rule);
    void deleteRule(const QUuid &id);
    void recount();
    void fillOrder();
    void updateTint();
    void contextChanged(const ModelChanges &changes);

    ModelContext &m_context;
    SmartListEditTarget m_target;
    SmartRuleSet m_rules;
    int m_liveCount = 0;

    QLineEdit *m_name = nullptr;
    QComboBox *m_match = nullptr;
    QCheckBox *m_includeMissing = nullptr;
    QLabel *m_count = nullptr;
    QVBoxLayout *m_ruleLayout = nullptr;
    QHash<QUuid, SmartRuleRow *> m_rows;
    QPushButton *m_addRule = nullptr;
    QComboBox *m_sort = nullptr;
    QComboBox *m_order = nullptr;
    ColorSwatchPicker *m_color = nullptr;
    SymbolPicker *m_symbol = nullptr;
};
