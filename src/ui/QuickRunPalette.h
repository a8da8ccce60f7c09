#pragma once

#include "model/QuickRunIndex.h"

#include <QPointer>
#include <QWidget>
#include <optional>

class ModelContext;
class QLineEdit;
class QListView;
class QStackedWidget;
class ShortcutItem;
class ShortcutListModel;
class ShortcutRunner;
class TextBlock;
struct ModelChanges;

// Quick Run: a floating panel over the top of its parent with a search field and the best
// matching shortcuts. Up and Down move, Enter runs, Shift+Enter asks for input in the panel,
// Ctrl+Enter opens the shortcut in Shortcuts, Ctrl+C copies its name, Escape closes, and so
// does a click elsewhere. Runs go through the window's runner, so the banner reports them.
class QuickRunPalette : public QWidget {
    Q_OBJECT
public:
    static constexpr int maximumResults = 10;

    QuickRunPalette(ModelContext &context, ShortcutRunner &runner, QWidget *parent);
    ~QuickRunPalette() override;

    // Shows the panel with an empty search (the most run shortcuts first) and focuses it.
    void open();
    void dismiss();
    bool isOpen() const { return isVisible(); }

    QLineEdit *searchField() const { return m_search; }
    QLineEdit *inputField() const { return m_input; }
    QListView *resultsView() const { return m_results; }
    const QList<ShortcutItem *> &results() const;
    ShortcutItem *currentItem() const;
    // The text shown when nothing matches.
    QString emptyText() const;

signals:
    void opened();
    void dismissed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    enum class Command {
        none,
        moveUp,
        moveDown,
        run,
        askForInput,
        runWithTypedInput,
        openInShortcuts,
        copyName,
        closeInput,
        close,
    };
    Command commandFor(const QKeyEvent *event, bool inInput) const;
    void perform(Command command);
    void search();
    void contextChanged(const ModelChanges &changes);
    void showResults(const QList<ShortcutItem *> &items, ShortcutItem *keepCurrent);
    void moveCurrent(int delta);
    void run(ShortcutItem *item, const std::optional<QString> &input);
    void askForInput();
    void hideInput();
    void reposition(bool keepTop = false);
    void applyCardColour();

    ModelContext &m_context;
    ShortcutRunner &m_runner;
    QuickRunIndex m_index;
    bool m_indexBuilt = false;
    QLineEdit *m_search;
    QStackedWidget *m_stack;
    QListView *m_results;
    TextBlock *m_empty;
    QLineEdit *m_input;
    QWidget *m_content;
    ShortcutListModel *m_model;
    // The shortcut the input line is for.
    ShortcutItem *m_inputTarget = nullptr;
    QPointer<QWidget> m_returnFocus;
};
