#pragma once

#include "ui/PickerGrid.h"

#include <QList>
#include <QString>

// A palette of named colours as round swatches; the chosen one carries a checkmark. With
// allowNone a first "Default" swatch stands for no colour (the empty text).
class ColorSwatchPicker : public PickerGrid {
    Q_OBJECT
    Q_PROPERTY(QString hex READ hex WRITE setHex NOTIFY hexChanged)
public:
    struct Swatch {
        QString name;
        QString hex;
    };
    // The 15 colours offered, in the order shown.
    static const QList<Swatch> &palette();

    explicit ColorSwatchPicker(bool allowNone, QWidget *parent = nullptr);

    QString hex() const { return m_hex; }
    void setHex(const QString &hex);
    bool allowNone() const { return m_allowNone; }

    // The swatches shown: the none swatch first when allowed, then the palette.
    int cellCount() const override;
    int swatchCount() const { return cellCount(); }
    // The hex a swatch stands for ("" for the none swatch) and its name ("Default" for none).
    QString swatchHex(int index) const;
    QString swatchName(int index) const;
    QString cellName(int index) const override { return swatchName(index); }
    QRect swatchRect(int index) const { return cellRect(index); }
    // The swatch showing the checkmark, or -1.
    int chosenIndex() const override;
    int checkedIndex() const { return chosenIndex(); }
    void choose(int index) override { setHex(swatchHex(index)); }

signals:
    void hexChanged(const QString &hex);

protected:
    void paintCell(QPainter &painter, int index, const QRectF &cell, bool chosen) override;

private:
    bool m_allowNone = false;
    QString m_hex;
};
