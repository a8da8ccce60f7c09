#pragma once

#include <QPushButton>
#include <QTimer>

class QVBoxLayout;

// The pieces the shortcut detail column is built from, apart from how it fills and wires them.

// A small spinning indicator, animated only while shown.
class BusySpinner : public QWidget {
public:
    explicit BusySpinner(QWidget *parent);

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    QTimer m_timer;
    qreal m_angle = 0;
};

// A push button whose title (a folder path of any length) is cut to the width it gets, with
// the whole title in its tooltip, so that it never widens the detail column.
class ElidingButton : public QPushButton {
public:
    using QPushButton::QPushButton;

    void setTitle(const QString &title);
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_title;
};

namespace DetailWidgets {
// Text of lesser weight: the window text, faded.
QColor secondaryColor(const QPalette &palette);
template<typename Label> Label *secondary(Label *label)
{
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, secondaryColor(palette));
    label->setPalette(palette);
    return label;
}
// A caption line with a leading symbol.
QWidget *captionLine(const QString &objectName, const QString &symbol, const QColor &color,
                     const QString &text, QWidget *parent);
// A titled group box in the grouped style of the detail column.
QVBoxLayout *addGroup(QVBoxLayout *column, const QString &title, const QString &objectName);
} // namespace DetailWidgets
