#include "ui/ColorSwatchPicker.h"

#include "model/ColorHex.h"
#include "ui/ShortcutPainter.h"

#include <QPainter>

namespace {
// Every swatch in one row at the preferred width; the arrows move along it.
constexpr PickerGrid::Metrics metrics{
    .cellSize = 28, .minColumnWidth = 30, .spacing = 8, .preferredColumns = 0, .rowKeys = false};
constexpr PickerGrid::Ring ring{.outset = 2, .width = 1.5, .radius = -1};
} // namespace

const QList<ColorSwatchPicker::Swatch> &ColorSwatchPicker::palette()
{
    static const QList<Swatch> swatches{
        {QStringLiteral("Red"), QStringLiteral("#F36F74")},
        {QStringLiteral("Orange"), QStringLiteral("#FF8E73")},
        {QStringLiteral("Yellow"), QStringLiteral("#F8AE5F")},
        {QStringLiteral("Gold"), QStringLiteral("#E8CA45")},
        {QStringLiteral("Green"), QStringLiteral("#53CD6B")},
        {QStringLiteral("Teal"), QStringLiteral("#57CFB4")},
        {QStringLiteral("Cyan"), QStringLiteral("#5ACCDE")},
        {QStringLiteral("Blue"), QStringLiteral("#24BAF7")},
        {QStringLiteral("Navy"), QStringLiteral("#5874CA")},
        {QStringLiteral("Purple"), QStringLiteral("#9164C7")},
        {QStringLiteral("Lavender"), QStringLiteral("#C085E6")},
        {QStringLiteral("Pink"), QStringLiteral("#F694D8")},
        {QStringLiteral("Gray"), QStringLiteral("#9099A3")},
        {QStringLiteral("Sage"), QStringLiteral("#9DA79D")},
        {QStringLiteral("Tan"), QStringLiteral("#A49995")},
    };
    return swatches;
}

ColorSwatchPicker::ColorSwatchPicker(bool allowNone, QWidget *parent)
    : PickerGrid(metrics, ring, tr("Color"), parent), m_allowNone(allowNone)
{
}

void ColorSwatchPicker::setHex(const QString &hex)
{
    if (m_hex == hex)
        return;
    m_hex = hex;
    update();
    emit hexChanged(hex);
}

int ColorSwatchPicker::cellCount() const
{
    return int(palette().size()) + (m_allowNone ? 1 : 0);
}

QString ColorSwatchPicker::swatchHex(int index) const
{
    if (m_allowNone && index == 0)
        return {};
    const int i = index - (m_allowNone ? 1 : 0);
    return i >= 0 && i < palette().size() ? palette().at(i).hex : QString();
}

QString ColorSwatchPicker::swatchName(int index) const
{
    if (m_allowNone && index == 0)
        return QStringLiteral("Default");
    const int i = index - (m_allowNone ? 1 : 0);
    return i >= 0 && i < palette().size() ? palette().at(i).name : QString();
}

int ColorSwatchPicker::chosenIndex() const
{
    if (m_hex.isEmpty())
        return m_allowNone ? 0 : -1;
    for (int i = m_allowNone ? 1 : 0; i < cellCount(); ++i)
        if (swatchHex(i).compare(m_hex, Qt::CaseInsensitive) == 0)
            return i;
    return -1;
}

void ColorSwatchPicker::paintCell(QPainter &painter, int index, const QRectF &cell, bool chosen)
{
    const bool none = m_allowNone && index == 0;
    QColor fill;
    if (none) {
        fill = QWidget::palette().color(QPalette::PlaceholderText);
        fill.setAlphaF(0.3);
    } else {
        const RGBComponents c = rgbComponents(swatchHex(index));
        fill = QColor::fromRgbF(float(c.red), float(c.green), float(c.blue));
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawEllipse(cell);
    if (chosen)
        ShortcutPainter::drawSymbol(painter, cell.adjusted(6, 6, -6, -6),
                                    QStringLiteral("checkmark"),
                                    none ? QWidget::palette().text().color() : QColor(Qt::white));
}
