#pragma once

#include "shortcuts/ShortcutRunner.h"

#include <QGraphicsOpacityEffect>
#include <QPointer>
#include <QPropertyAnimation>
#include <QTimer>
#include <QUuid>
#include <QWidget>

class QLabel;
class QToolButton;
class TextBlock;

// Reports the outcome of the run that finished last, over the bottom centre of its parent. It
// slides up and fades in for each new outcome, hides itself after six seconds (restarted by
// every new outcome) and has a close button.
class OutcomeBanner : public QWidget {
    Q_OBJECT
public:
    static constexpr int visibleMilliseconds = 6000;

    OutcomeBanner(ShortcutRunner &runner, QWidget *parent);

    // "Ran …" or "… failed"; the output or the error (empty when there is none).
    static QString titleFor(const ShortcutRunner::Outcome &outcome);
    static QString detailFor(const ShortcutRunner::Outcome &outcome);

    // The id of the outcome on screen; null when hidden.
    QUuid visibleID() const { return m_visibleID; }
    QString titleText() const;
    QString detailText() const;
    QTimer &hideTimer() { return m_hideTimer; }
    QToolButton *closeButton() const { return m_close; }
    // Places the banner 20 above the parent's bottom edge, centred, at most 520 wide.
    void reposition();
    // Not sliding or fading.
    bool isSettled() const;

protected:
    void paintEvent(QPaintEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void outcomeChanged();
    void setVisibleID(const QUuid &id);
    QRect restingGeometry() const;

    ShortcutRunner &m_runner;
    QUuid m_visibleID;
    QLabel *m_icon;
    TextBlock *m_title;
    TextBlock *m_detail;
    QToolButton *m_close;
    QTimer m_hideTimer;
    QGraphicsOpacityEffect *m_opacity;
    QPropertyAnimation *m_slide;
    QPropertyAnimation *m_fade;
};
