#pragma once

#include "ui/EditorSheet.h"

#include <QString>

class ColorSwatchPicker;
class LibraryFolder;
class ModelContext;
class QComboBox;
class QLineEdit;
class SymbolPicker;
struct ModelChanges;

// What the folder editor works on: a new folder (inside `parent`, or at the top level) or an
// existing one. Two targets with the same identity are the same sheet.
struct FolderEditTarget {
    LibraryFolder *parent = nullptr; // new folders only
    LibraryFolder *folder = nullptr; // set when editing

    static FolderEditTarget makeNew(LibraryFolder *parent) { return {parent, nullptr}; }
    static FolderEditTarget edit(LibraryFolder *folder) { return {nullptr, folder}; }
    bool isNew() const { return folder == nullptr; }
    // "new-<parent uuid>" or "root" for a new folder, "edit-<uuid>" for an existing one.
    QString identity() const;
};

// The sheet that creates or edits a library folder: name, where it sits, colour and icon.
class FolderEditor : public EditorSheet {
    Q_OBJECT
public:
    FolderEditor(ModelContext &context, const FolderEditTarget &target, QWidget *parent = nullptr);

    const FolderEditTarget &target() const { return m_target; }
    QLineEdit *nameField() const { return m_name; }
    // "Inside": "Top Level" (data "") then the folder tree; item data is the folder's uuid.
    QComboBox *parentPicker() const { return m_parent; }
    ColorSwatchPicker *colorPicker() const { return m_color; }
    SymbolPicker *symbolPicker() const { return m_symbol; }

protected:
    void save() override;

private:
    void fillParents();
    void contextChanged(const ModelChanges &changes);
    void updateTint();

    ModelContext &m_context;
    FolderEditTarget m_target;
    QLineEdit *m_name = nullptr;
    QComboBox *m_parent = nullptr;
    ColorSwatchPicker *m_color = nullptr;
    SymbolPicker *m_symbol = nullptr;
};
