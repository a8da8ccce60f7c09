#pragma once

#include "ui/TagEditor.h"

#include <QDateTime>
#include <QList>
#include <QPair>
#include <QPointer>
#include <QWidget>

class ModelContext;
class QFormLayout;
class QLabel;
class QLineEdit;
class QMenu;
class QPlainTextEdit;
class QPushButton;
class QScrollArea;
class QShortcut;
class QToolButton;
class RunHistorySection;
class ShortcutIconView;
class ShortcutItem;
class ShortcutRunner;
class TagChipFlow;
class TextBlock;
struct ModelChanges;

// The inspector's content for one shortcut: icon, name and status notes; running it (with input
// when it accepts some); its folder, tags and notes; the facts the library keeps about it; and
// its last runs.
// Every edit is written to the store at once.
class ShortcutDetailView : public QWidget {
    Q_OBJECT
public:
    ShortcutDetailView(ModelContext &context, ShortcutRunner &runner, QWidget *parent = nullptr);
    ~ShortcutDetailView() override;

    void setItem(ShortcutItem *item);
    ShortcutItem *item() const { return m_item; }

    // "Run Shortcut": input only when the shortcut accepts it. Also the window's Return key.
    void runShortcut();
    // "New Tag…": the tag editor, applying the new tag to this shortcut.
    void newTag();
    TagEditor *tagEditor() const { return m_tagEditor; }

    // The "Details" rows as shown (label, value), for tests and accessibility.
    QList<QPair<QString, QString>> detailRows() const;
    // The folder button's label: "None", or the folder path joined by " › ".
    QString folderTitle() const;
    // Fills the "Add Tag" menu: the tags the shortcut lacks, a divider and "New Tag…".
    void populateAddTagMenu(QMenu *menu);

    QLineEdit *inputField() const { return m_input; }
    QPushButton *runButton() const { return m_run; }
    QPushButton *folderButton() const { return m_folderButton; }
    TagChipFlow *tagFlow() const { return m_tags; }
    QToolButton *addTagButton() const { return m_addTag; }
    QPlainTextEdit *notesEditor() const { return m_notes; }
    RunHistorySection *historySection() const { return m_history; }
    bool isShowingSpinner() const;

    // An abbreviated date and a shortened time ("Mar 5, 2024 at 9:41 AM" in English).
    static QString formatDate(const QDateTime &date);
    // Every label the "Details" list can show, in order ("Last Modified" stands for "Last
    // Changed" too).
    static QStringList detailTitles();

private:
    void refresh();
    void refreshRunState();
    void contextChanged(const ModelChanges &changes);
    void notesEdited();

    ModelContext &m_context;
    ShortcutRunner &m_runner;
    ShortcutItem *m_item = nullptr;
    QPointer<TagEditor> m_tagEditor;

    QScrollArea *m_scroll = nullptr;
    ShortcutIconView *m_icon = nullptr;
    TextBlock *m_name = nullptr;
    TextBlock *m_subtitle = nullptr;
    QWidget *m_missingNote = nullptr;
    QWidget *m_placeholderNote = nullptr;
    QLineEdit *m_input = nullptr;
    QPushButton *m_run = nullptr;
    QWidget *m_spinner = nullptr;
    QPushButton *m_open = nullptr;
    QShortcut *m_returnKey = nullptr;
    QShortcut *m_enterKey = nullptr;
    QPushButton *m_folderButton = nullptr;
    TagChipFlow *m_tags = nullptr;
    QToolButton *m_addTag = nullptr;
    QPlainTextEdit *m_notes = nullptr;
    QFormLayout *m_details = nullptr;
    QList<QLabel *> m_detailLabels;
    QList<TextBlock *> m_detailValues;
    RunHistorySection *m_history = nullptr;
    bool m_settingNotes = false;
};
