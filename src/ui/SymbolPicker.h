#pragma once

#include <QColor>
#include <QStringList>
#include <QWidget>

// A grid of the symbols a folder or smart list may show, drawn in a tint. Clicking a cell picks
// its symbol; a symbol outside the list is kept as it is and marks no cell.
class SymbolPicker : public QWidget {
    Q_OBJECT
    Q_PROPERTY(QString symbol READ symbol WRITE setSymbol NOTIFY symbolChanged)
public:
    explicit SymbolPicker(QWidget *parent = nullptr);

    // The 50 symbols offered, in the order shown.
    static const QStringList &symbols();

    QString symbol() const { return m_symbol; }
    void setSymbol(const QString &symbol);
    QColor tint() const { return m_tint; }
    void setTint(const QColor &tint);

    // Where cell `index` sits at the current width (for tests and the accessibility layer).
    QRect cellRect(int index) const;
    int indexAt(const QPoint &pos) const;

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    void symbolChanged(const QString &symbol);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    bool event(QEvent *event) override;

private:
    int columnCount(int width) const;

    QString m_symbol;
    QColor m_tint;
};
