#pragma once

// Counts the paints of a widget and its descendants, to wait for the frame that shows a change.
#include <QCoreApplication>
#include <QEvent>
#include <QPointer>
#include <QWidget>

struct PaintCounter : QObject {
    QPointer<QWidget> within;
    int paints = 0;

    explicit PaintCounter(QWidget *widget) : within(widget)
    {
        QCoreApplication::instance()->installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && within && watched->isWidgetType()) {
            auto *widget = static_cast<QWidget *>(watched);
            if (widget == within || within->isAncestorOf(widget))
                ++paints;
        }
        return false;
    }

    // Lets posted events run until the widget has painted once more; false when it did not.
    bool waitForPaint(int before)
    {
        for (int i = 0; i < 100 && paints == before; ++i)
            QCoreApplication::processEvents();
        return paints != before;
    }
};
