#include "ui/TagEditor.h"

#include "model/FlattenedTree.h"
#include "model/ModelContext.h"
#include "ui/ColorSwatchPicker.h"
#include "ui/CompactComboBox.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLineEdit>

QString TagEditTarget::identity() const
{
    if (tag)
        return QStringLiteral("edit-") + tag->uuid();
    return parent ? QStringLiteral("new-") + parent->uuid() : QStringLiteral("root");
}

TagEditor::TagEditor(ModelContext &context, const TagEditTarget &target, ShortcutItem *applyTo,
                     QWidget *parent)
    : EditorSheet(target.isNew() ? QStringLiteral("New Tag") : QStringLiteral("Edit Tag"), parent),
      m_context(context), m_target(target), m_applyTo(applyTo)
{
    setObjectName(QStringLiteral("tagEditor"));
    m_name = new QLineEdit(this);
    m_name->setObjectName(QStringLiteral("tagEditorName"));
    m_parent = new QComboBox(this);
    CompactComboBox::apply(m_parent);
    m_parent->setObjectName(QStringLiteral("tagEditorParent"));
    m_color = new ColorSwatchPicker(false, this);
    m_color->setObjectName(QStringLiteral("tagEditorColor"));

    QFormLayout *form = addSection();
    form->addRow(QStringLiteral("Name"), m_name);
    form->addRow(QStringLiteral("Nested Under"), m_parent);
    form->addRow(QStringLiteral("Color"), m_color);

    if (Tag *tag = m_target.tag) {
        m_name->setText(tag->name());
        m_color->setHex(tag->colorHex());
    } else {
        m_color->setHex(QStringLiteral("#24BAF7"));
    }
    fillParents();
    Tag *start = m_target.tag ? m_target.tag->parent() : m_target.parent;
    m_parent->setCurrentIndex(std::max(0, m_parent->findData(start ? start->uuid() : QString())));

    connect(m_name, &QLineEdit::textChanged, this,
            [this](const QString &text) { setCanSave(!trimmedName(text).isEmpty()); });
    setCanSave(!trimmedName(m_name->text()).isEmpty());
    connect(&m_context, &ModelContext::changed, this, &TagEditor::contextChanged);
    m_name->setFocus();
}

void TagEditor::fillParents()
{
    const QString current = m_parent->currentData().toString();
    QSignalBlocker blocker(m_parent);
    m_parent->clear();
    m_parent->addItem(QStringLiteral("Top Level"), QString());
    for (const auto &entry : flattenedTree(m_context.tags(), m_target.tag))
        m_parent->addItem(entry.title(), entry.record->uuid());
    m_parent->setCurrentIndex(std::max(0, m_parent->findData(current)));
}

void TagEditor::contextChanged(const ModelChanges &changes)
{
    if ((m_target.tag && m_target.tag->isDeleted()) || (m_applyTo && m_applyTo->isDeleted())) {
        reject();
        return;
    }
    if (changes.touches(Record::Kind::tag))
        fillParents();
}

void TagEditor::save()
{
    const QString name = trimmedName(m_name->text());
    Tag *parent = m_context.tag(m_parent->currentData().toString());
    if (Tag *tag = m_target.tag) {
        tag->setName(name);
        tag->setColorHex(m_color->hex());
        if (tag->canMoveUnder(parent))
            tag->setParent(parent);
    } else {
        Tag *created = m_context.insert(new Tag(name, m_color->hex(), parent));
        if (m_applyTo && !m_applyTo->hasTag(created))
            m_applyTo->addTag(created);
    }
    m_context.save();
    accept();
}
