#include "ui/FolderEditor.h"

#include "model/ColorHex.h"
#include "model/FlattenedTree.h"
#include "model/ModelContext.h"
#include "ui/ColorSwatchPicker.h"
#include "ui/CompactComboBox.h"
#include "ui/ShortcutPainter.h"
#include "ui/SymbolPicker.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLineEdit>

QString FolderEditTarget::identity() const
{
    if (folder)
        return QStringLiteral("edit-") + folder->uuid();
    return parent ? QStringLiteral("new-") + parent->uuid() : QStringLiteral("root");
}

FolderEditor::FolderEditor(ModelContext &context, const FolderEditTarget &target, QWidget *parent)
    : EditorSheet(target.isNew() ? QStringLiteral("New Folder") : QStringLiteral("Edit Folder"),
                  parent),
      m_context(context), m_target(target)
{
    setObjectName(QStringLiteral("folderEditor"));
    m_name = new QLineEdit(this);
    m_name->setObjectName(QStringLiteral("folderEditorName"));
    m_parent = new QComboBox(this);
    m_parent->setObjectName(QStringLiteral("folderEditorParent"));
    CompactComboBox::apply(m_parent);
    m_color = new ColorSwatchPicker(true, this);
    m_color->setObjectName(QStringLiteral("folderEditorColor"));
    m_symbol = new SymbolPicker(this);
    m_symbol->setObjectName(QStringLiteral("folderEditorIcon"));

    QFormLayout *form = addSection();
    form->addRow(QStringLiteral("Name"), m_name);
    form->addRow(QStringLiteral("Inside"), m_parent);
    form->addRow(QStringLiteral("Color"), m_color);
    form->addRow(QStringLiteral("Icon"), m_symbol);

    if (LibraryFolder *folder = m_target.folder) {
        m_name->setText(folder->name());
        m_symbol->setSymbol(folder->symbolName());
        m_color->setHex(folder->colorHex());
    } else {
        m_symbol->setSymbol(QStringLiteral("folder"));
        m_color->setHex(QStringLiteral("#24BAF7"));
    }
    fillParents();
    LibraryFolder *start = m_target.folder ? m_target.folder->parent() : m_target.parent;
    m_parent->setCurrentIndex(std::max(0, m_parent->findData(start ? start->uuid() : QString())));
    updateTint();

    connect(m_name, &QLineEdit::textChanged, this,
            [this](const QString &text) { setCanSave(!trimmedName(text).isEmpty()); });
    setCanSave(!trimmedName(m_name->text()).isEmpty());
    connect(m_color, &ColorSwatchPicker::hexChanged, this, &FolderEditor::updateTint);
    connect(&m_context, &ModelContext::changed, this, &FolderEditor::contextChanged);
    m_name->setFocus();
}

void FolderEditor::fillParents()
{
    const QString current = m_parent->currentData().toString();
    QSignalBlocker blocker(m_parent);
    m_parent->clear();
    m_parent->addItem(QStringLiteral("Top Level"), QString());
    for (const auto &entry : flattenedTree(m_context.folders(), m_target.folder))
        m_parent->addItem(entry.title(), entry.record->uuid());
    m_parent->setCurrentIndex(std::max(0, m_parent->findData(current)));
}

void FolderEditor::contextChanged(const ModelChanges &changes)
{
    if (m_target.folder && m_target.folder->isDeleted()) {
        reject();
        return;
    }
    if (changes.touches(Record::Kind::libraryFolder))
        fillParents();
}

void FolderEditor::updateTint()
{
    const auto rgb = rgbComponentsIfValid(m_color->hex());
    m_symbol->setTint(rgb ? QColor::fromRgbF(float(rgb->red), float(rgb->green), float(rgb->blue))
                          : ShortcutPainter::accentColor());
}

void FolderEditor::save()
{
    const QString name = trimmedName(m_name->text());
    LibraryFolder *parent = m_context.folder(m_parent->currentData().toString());
    if (LibraryFolder *folder = m_target.folder) {
        folder->setName(name);
        folder->setSymbolName(m_symbol->symbol());
        folder->setColorHex(m_color->hex());
        // The picker already leaves these out; the tree may have moved since it was filled.
        if (folder->canMoveUnder(parent))
            folder->setParent(parent);
    } else {
        auto *created = new LibraryFolder(name, parent);
        created->setSymbolName(m_symbol->symbol());
        created->setColorHex(m_color->hex());
        m_context.insert(created);
    }
    m_context.save();
    accept();
}
