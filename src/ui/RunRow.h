#pragma once

#include "model/RunEntry.h"

#include <QAbstractButton>
#include <QStyledItemDelegate>

// One run as a row of the history: a success or failure mark, when it started and how long it
// took, and the first line of its output or error.
namespace RunRow {
// The first line of the output or error, cut to what a row shows and with invisible characters
// escaped; or what stands in for it.
QString summaryLine(const RunEntry &entry);
// "5 minutes ago · 1.2 s".
QString whenText(const RunEntry &entry);
// "Failed, 5 minutes ago · 1.2 s: …", for screen readers.
QString accessibleText(const RunEntry &entry);

int height(const QFont &font);
struct State {
    bool hovered = false;
    bool focused = false;
    bool selected = false;
};
void paint(QPainter &painter, const QRect &rect, const QPalette &palette, const QFont &font,
           RunOutcome outcome, const QString &when, const QString &summary, State state);

// The rows of a list view showing a RunHistoryModel.
class Delegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};
} // namespace RunRow

// One run as a button: it takes the keyboard focus, and a click, Space, Return or Enter presses
// it. Return and Enter on it never reach the window's own shortcuts ("Run Shortcut").
class RunRowButton : public QAbstractButton {
    Q_OBJECT
public:
    explicit RunRowButton(QWidget *parent = nullptr);

    void setEntry(const RunEntry &entry);
    const RunEntry &entry() const { return m_entry; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    // Said to depend on its width though it does not: beside the inspector's wrapped texts, rows
    // of fixed height made Qt 6.4 on X11 lay those texts out one line high.
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int) const override { return sizeHint().height(); }

protected:
    void paintEvent(QPaintEvent *event) override;
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    RunEntry m_entry;
};
