#pragma once

#include "ui/RunHistorySheet.h"

#include <QList>
#include <QPointer>
#include <QWidget>

class ModelContext;
class QLabel;
class QPushButton;
class QVBoxLayout;
class RunRowButton;
class ShortcutItem;
struct RunEntry;

// The inspector's "History": the last runs of the shortcut, each opening the whole run, and
// "Show All…" for every run it has. Read with one short query when the shortcut changes and
// after every save that changes the history.
class RunHistorySection : public QWidget {
    Q_OBJECT
public:
    static constexpr int shownRuns = 5;

    explicit RunHistorySection(ModelContext &context, QWidget *parent = nullptr);

    void setItem(ShortcutItem *item);
    void openEntry(const RunEntry &entry);
    void showAll();

    // The rows shown, newest first.
    QList<RunRowButton *> rows() const;
    QLabel *emptyLine() const { return m_empty; }
    QPushButton *showAllButton() const { return m_showAll; }
    // The sheet opened last, while it is open.
    RunHistorySheet *sheet() const { return m_sheet; }

private:
    void reload();
    void refreshEmptyLine();
    void openSheet(RunHistorySheet *sheet);

    ModelContext &m_context;
    ShortcutItem *m_item = nullptr;
    QVBoxLayout *m_rowLayout;
    QList<RunRowButton *> m_rows; // made on first need, then reused
    QLabel *m_empty;
    QPushButton *m_showAll;
    QPointer<RunHistorySheet> m_sheet;
};
