#pragma once

#include <QDialog>
#include <QString>

class QFormLayout;
class QLabel;
class QPushButton;
class QVBoxLayout;

// The frame every editor sheet shares: a title, a grouped form, "Cancel" (closes without
// writing) and "Save" (runs save(), enabled only while canSave). The sheet does not close on
// "Save" by itself; save() closes it. Opened window-modal with open(), never exec().
class EditorSheet : public QDialog {
    Q_OBJECT
public:
    explicit EditorSheet(const QString &title, QWidget *parent = nullptr);

    QString title() const { return m_title; }
    bool canSave() const { return m_canSave; }
    QPushButton *saveButton() const { return m_saveButton; }
    QPushButton *cancelButton() const { return m_cancelButton; }

    // A name with spaces and tabs trimmed from both ends (line breaks stay).
    static QString trimmedName(const QString &name);

protected:
    void setCanSave(bool canSave);
    // A group of form rows under an optional header; `trailing` sits at the header's right.
    QFormLayout *addSection(const QString &header = {}, QWidget *trailing = nullptr);
    // A group holding one full-width widget.
    void addWidgetSection(const QString &header, QWidget *widget);
    // Called by "Save" while canSave is true; implementations write, save and close.
    virtual void save() = 0;

private:
    QWidget *addSectionFrame(const QString &header, QWidget *trailing);

    QString m_title;
    bool m_canSave = true;
    QVBoxLayout *m_sections = nullptr;
    QPushButton *m_saveButton = nullptr;
    QPushButton *m_cancelButton = nullptr;
};
