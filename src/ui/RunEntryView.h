#pragma once

#include "model/RunEntry.h"

#include <QList>
#include <QPair>
#include <QWidget>

class EmptyStatePanel;
class QLabel;
class QPlainTextEdit;
class QPushButton;
class QStackedWidget;
class TextBlock;

// One run in full: how it ended, when it started, how long it took and where it came from, its
// input, and its whole output or error, selectable and copyable.
class RunEntryView : public QWidget {
    Q_OBJECT
public:
    explicit RunEntryView(QWidget *parent = nullptr);

    void setEntry(const RunEntry &entry);
    // Instead of a run: a panel saying why there is none.
    void showNothing(const QString &title, const QString &text);

    std::optional<RunEntry> entry() const { return m_entry; }
    // The facts as shown (label, value), for tests and accessibility.
    QList<QPair<QString, QString>> facts() const;
    QPlainTextEdit *inputText() const { return m_input; }
    QPlainTextEdit *outputText() const { return m_output; }
    QPushButton *copyButton() const { return m_copy; }
    EmptyStatePanel *emptyState() const { return m_empty; }

private:
    std::optional<RunEntry> m_entry;
    QStackedWidget *m_stack;
    EmptyStatePanel *m_empty;
    QLabel *m_mark;
    QLabel *m_title;
    QList<TextBlock *> m_factValues;
    QLabel *m_inputLabel;
    QPlainTextEdit *m_input;
    QLabel *m_outputLabel;
    QPlainTextEdit *m_output;
    QPushButton *m_copy;
};
