#include "ui/SmartListEditor.h"

#include "model/ColorHex.h"
#include "model/ModelContext.h"
#include "ui/ColorSwatchPicker.h"
#include "ui/ShortcutPainter.h"
#include "ui/SmartRuleRow.h"
#include "ui/SymbolIcon.h"
#include "ui/SymbolPicker.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

QString SmartListEditTarget::identity() const
{
    return list ? QStringLiteral("edit-") + list->uuid() : QStringLiteral("new");
}

SmartListEditor::SmartListEditor(ModelContext &context, const SmartListEditTarget &target,
                                 QWidget *parent)
    : EditorSheet(target.isNew() ? QStringLiteral("New Smart List")
                                 : QStringLiteral("Edit Smart List"),
                  parent),
      m_context(context), m_target(target)
{
    setObjectName(QStringLiteral("smartListEditor"));
    resize(620, 680);
    QString name;
    QString symbol = QStringLiteral("sparkles");
    QString colorHex = QStringLiteral("#AF52DE");
    if (SmartList *list = m_target.list) {
        name = list->name();
        symbol = list->symbolName();
        colorHex = list->colorHex();
        m_rules = list->ruleSet();
    }

    m_name = new QLineEdit(name, this);
    m_name->setObjectName(QStringLiteral("smartListName"));
    m_match = new QComboBox(this);
    m_match->setObjectName(QStringLiteral("smartListMatch"));
    m_match->addItem(QStringLiteral("All of the rules"), true);
    m_match->addItem(QStringLiteral("Any of the rules"), false);
    m_match->setCurrentIndex(m_rules.matchAll ? 0 : 1);
    m_includeMissing =
        new QCheckBox(QStringLiteral("Include shortcuts missing from Shortcuts"), this);
    m_includeMissing->setObjectName(QStringLiteral("smartListIncludeMissing"));
    m_includeMissing->setChecked(m_rules.includeMissing);
    QFormLayout *general = addSection();
    general->addRow(QStringLiteral("Name"), m_name);
    general->addRow(QStringLiteral("Match"), m_match);
    general->addRow(m_includeMissing);

    m_count = new QLabel(this);
    m_count->setObjectName(QStringLiteral("smartListCount"));
    m_count->setForegroundRole(QPalette::PlaceholderText);
    QFormLayout *rulesForm = addSection(QStringLiteral("Rules"), m_count);
    auto *rulesBox = new QWidget(this);
    m_ruleLayout = new QVBoxLayout(rulesBox);
    m_ruleLayout->setContentsMargins(0, 0, 0, 0);
    m_ruleLayout->setSpacing(6);
    rulesForm->addRow(rulesBox);
    m_addRule = new QPushButton(
        SymbolIcon::icon(QStringLiteral("plus.circle.fill"), ShortcutPainter::accentColor()),
        QStringLiteral("Add Rule"), this);
    m_addRule->setObjectName(QStringLiteral("smartListAddRule"));
    m_addRule->setFlat(true);
    auto *addRow = new QHBoxLayout;
    addRow->addWidget(m_addRule);
    addRow->addStretch(1);
    rulesForm->addRow(addRow);
    for (const SmartRule &rule : QList<SmartRule>(m_rules.rules))
        this->addRow(rule);

    m_sort = new QComboBox(this);
    m_sort->setObjectName(QStringLiteral("smartListSortBy"));
    for (ShortcutSort key : allCases<ShortcutSort>())
        m_sort->addItem(::title(key), int(key));
    m_sort->setCurrentIndex(m_sort->findData(int(m_rules.sort)));
    m_order = new QComboBox(this);
    m_order->setObjectName(QStringLiteral("smartListOrder"));
    fillOrder();
    QFormLayout *sortForm = addSection(QStringLiteral("Sort"));
    sortForm->addRow(QStringLiteral("Sort by"), m_sort);
    sortForm->addRow(QStringLiteral("Order"), m_order);

    m_color = new ColorSwatchPicker(false, this);
    m_color->setObjectName(QStringLiteral("smartListColor"));
    m_color->setHex(colorHex);
    addWidgetSection(QStringLiteral("Color"), m_color);
    m_symbol = new SymbolPicker(this);
    m_symbol->setObjectName(QStringLiteral("smartListIcon"));
    m_symbol->setSymbol(symbol);
    addWidgetSection(QStringLiteral("Icon"), m_symbol);
    updateTint();

    connect(m_name, &QLineEdit::textChanged, this,
            [this](const QString &text) { setCanSave(!trimmedName(text).isEmpty()); });
    setCanSave(!trimmedName(m_name->text()).isEmpty());
    connect(m_match, &QComboBox::currentIndexChanged, this, [this] {
        m_rules.matchAll = m_match->currentData().toBool();
        recount();
    });
    connect(m_includeMissing, &QCheckBox::toggled, this, [this](bool on) {
        m_rules.includeMissing = on;
        recount();
    });
    connect(m_addRule, &QPushButton::clicked, this, [this] {
        SmartRule rule;
        m_rules.rules.append(rule);
        this->addRow(rule);
        recount();
    });
    connect(m_sort, &QComboBox::currentIndexChanged, this, [this] {
        m_rules.sort = ShortcutSort(m_sort->currentData().toInt());
        fillOrder();
    });
    connect(m_order, &QComboBox::currentIndexChanged, this,
            [this] { m_rules.ascending = m_order->currentIndex() == 0; });
    connect(m_color, &ColorSwatchPicker::hexChanged, this, &SmartListEditor::updateTint);
    connect(&m_context, &ModelContext::changed, this, &SmartListEditor::contextChanged);
    recount();
    m_name->setFocus();
}

QList<SmartRuleRow *> SmartListEditor::ruleRows() const
{
    QList<SmartRuleRow *> rows;
    for (int i = 0; i < m_ruleLayout->count(); ++i)
        if (auto *row = qobject_cast<SmartRuleRow *>(m_ruleLayout->itemAt(i)->widget()))
            rows.append(row);
    return rows;
}

void SmartListEditor::fillOrder()
{
    QSignalBlocker blocker(m_order);
    const auto titles = orderTitles(m_rules.sort);
    m_order->clear();
    m_order->addItem(titles.first);
    m_order->addItem(titles.second);
    m_order->setCurrentIndex(m_rules.ascending ? 0 : 1);
}

void SmartListEditor::addRow(const SmartRule &rule)
{
    auto *row = new SmartRuleRow(rule, m_context, this);
    m_rows.insert(rule.id, row);
    m_ruleLayout->addWidget(row);
    // A row may settle an operand as it appears (a colour rule starts at "Blue").
    if (row->rule() != rule)
        ruleChanged(row->rule());
    connect(row, &SmartRuleRow::ruleChanged, this, &SmartListEditor::ruleChanged);
    connect(row, &SmartRuleRow::deleteRequested, this, &SmartListEditor::deleteRule);
}

void SmartListEditor::ruleChanged(const SmartRule &rule)
{
    for (SmartRule &existing : m_rules.rules)
        if (existing.id == rule.id)
            existing = rule;
    recount();
}

void SmartListEditor::deleteRule(const QUuid &id)
{
    m_rules.rules.removeIf([&](const SmartRule &rule) { return rule.id == id; });
    if (SmartRuleRow *row = m_rows.take(id)) {
        m_ruleLayout->removeWidget(row);
        row->deleteLater();
    }
    recount();
}

void SmartListEditor::recount()
{
    int count = 0;
    for (const ShortcutItem *item : m_context.shortcuts())
        if (m_rules.selects(*item))
            ++count;
    m_liveCount = count;
    m_count->setText(QString::number(count) + QStringLiteral(" match"));
}

void SmartListEditor::updateTint()
{
    const auto rgb = rgbComponentsIfValid(m_color->hex());
    m_symbol->setTint(rgb ? QColor::fromRgbF(float(rgb->red), float(rgb->green), float(rgb->blue))
                          : ShortcutPainter::accentColor());
}

void SmartListEditor::contextChanged(const ModelChanges &changes)
{
    if (m_target.list && m_target.list->isDeleted()) {
        reject();
        return;
    }
    if (changes.touches(Record::Kind::tag) || changes.touches(Record::Kind::libraryFolder))
        for (SmartRuleRow *row : std::as_const(m_rows))
            row->refreshReferences();
    recount();
}

void SmartListEditor::save()
{
    const QString name = trimmedName(m_name->text());
    if (SmartList *list = m_target.list) {
        list->setName(name);
        list->setSymbolName(m_symbol->symbol());
        list->setColorHex(m_color->hex());
        list->setRuleSet(m_rules);
    } else {
        qint64 sortOrder = 0;
        if (!m_context.smartLists().isEmpty()) {
            qint64 largest = std::numeric_limits<qint64>::min();
            for (const SmartList *existing : m_context.smartLists())
                largest = std::max(largest, existing->sortOrder());
            sortOrder = largest + 1;
        }
        auto *created = new SmartList(name, m_rules);
        created->setSymbolName(m_symbol->symbol());
        created->setColorHex(m_color->hex());
        created->setSortOrder(sortOrder);
        m_context.insert(created);
    }
    m_context.save();
    accept();
}
