#pragma once

#include "ui/PickerGrid.h"

#include <QColor>
#include <QStringList>

// A grid of the symbols a folder or smart list may show, drawn in a tint. Clicking a cell picks
// its symbol; a symbol outside the list is kept as it is and marks no cell.
class SymbolPicker : public PickerGrid {
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

    int cellCount() const override { return int(symbols().size()); }
    int chosenIndex() const override { return int(symbols().indexOf(m_symbol)); }
    void choose(int index) override { setSymbol(symbols().value(index)); }
    // "folder fill" for "folder.fill".
    QString cellName(int index) const override;

signals:
    void symbolChanged(const QString &symbol);

protected:
    QString cellToolTip(int index) const override { return symbols().value(index); }
    void paintCell(QPainter &painter, int index, const QRectF &cell, bool chosen) override;

private:
    QString m_symbol;
    QColor m_tint;
};
