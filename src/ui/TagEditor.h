#pragma once

#include "ui/EditorSheet.h"

#include <QString>

class ColorSwatchPicker;
class ModelContext;
class QComboBox;
class QLineEdit;
class ShortcutItem;
class Tag;
struct ModelChanges;

// What the tag editor works on: a new tag (nested under `parent`, or at the top level) or an
// existing one.
struct TagEditTarget {
    Tag *parent = nullptr; // new tags only
    Tag *tag = nullptr;    // set when editing

    static TagEditTarget makeNew(Tag *parent) { return {parent, nullptr}; }
    static TagEditTarget edit(Tag *tag) { return {nullptr, tag}; }
    bool isNew() const { return tag == nullptr; }
    // "new-<parent uuid>" or "root" for a new tag, "edit-<uuid>" for an existing one.
    QString identity() const;
};

// The sheet that creates or edits a tag: name, where it nests and colour. A new tag made with
// `applyTo` is put on that shortcut in the same step.
class TagEditor : public EditorSheet {
    Q_OBJECT
public:
    TagEditor(ModelContext &context, const TagEditTarget &target, ShortcutItem *applyTo = nullptr,
              QWidget *parent = nullptr);

    const TagEditTarget &target() const { return m_target; }
    ShortcutItem *applyTo() const { return m_applyTo; }
    QLineEdit *nameField() const { return m_name; }
    // "Nested Under": "Top Level" (data "") then the tag tree; item data is the tag's uuid.
    QComboBox *parentPicker() const { return m_parent; }
    ColorSwatchPicker *colorPicker() const { return m_color; }

protected:
    void save() override;

private:
    void fillParents();
    void contextChanged(const ModelChanges &changes);

    ModelContext &m_context;
    TagEditTarget m_target;
    ShortcutItem *m_applyTo = nullptr;
    QLineEdit *m_name = nullptr;
    QComboBox *m_parent = nullptr;
    ColorSwatchPicker *m_color = nullptr;
};
