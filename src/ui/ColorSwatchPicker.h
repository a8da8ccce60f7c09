#pragma once

#include <QColor>
#include <QList>
#include <QString>
#include <QWidget>

// A palette of named colours as round swatches; the chosen one carries a checkmark. With
// allowNone a first "Default" swatch stands for no colour (the empty text).
class ColorSwatchPicker : public QWidget {
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
    int swatchCount() const;
    // The hex a swatch stands for ("" for the none swatch) and its name ("Default" for none).
    QString swatchHex(int index) const;
    QString swatchName(int index) const;
    QRect swatchRect(int index) const;
    int indexAt(const QPoint &pos) const;
    // The swatch showing the checkmark, or -1.
    int checkedIndex() const;

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    void hexChanged(const QString &hex);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    bool event(QEvent *event) override;

private:
    int columnCount(int width) const;

    bool m_allowNone = false;
    QString m_hex;
};
