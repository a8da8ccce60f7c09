#pragma once

#include <QWidget>

class QLabel;
class QPushButton;
class TextBlock;

// A centred panel for a view with nothing to show: a large symbol, a title, a line of text and
// an optional prominent button.
class EmptyStatePanel : public QWidget {
    Q_OBJECT
public:
    explicit EmptyStatePanel(QWidget *parent = nullptr);

    void show(const QString &symbol, const QString &title, const QString &text,
              const QString &buttonTitle = {});
    QString title() const;
    QString text() const;
    QString symbol() const { return m_symbol; }
    QPushButton *button() const { return m_button; }

signals:
    void buttonClicked();

private:
    QLabel *m_symbolLabel;
    TextBlock *m_title;
    TextBlock *m_text;
    QPushButton *m_button;
    QString m_symbol;
};
