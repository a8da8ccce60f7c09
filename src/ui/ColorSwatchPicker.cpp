#include "ui/ColorSwatchPicker.h"

#include "model/ColorHex.h"
#include "ui/PickerAccessible.h"
#include "ui/ShortcutPainter.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

namespace {
constexpr int minColumnWidth = 30;
constexpr int spacing = 8;
constexpr int swatchSize = 28;
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
    : QWidget(parent), m_allowNone(allowNone)
{
    setFocusPolicy(Qt::StrongFocus);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setAccessibleName(tr("Color"));
    PickerAccessible::install();
}

void ColorSwatchPicker::setHex(const QString &hex)
{
    if (m_hex == hex)
        return;
    m_hex = hex;
    update();
    emit hexChanged(hex);
}

int ColorSwatchPicker::swatchCount() const
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

int ColorSwatchPicker::checkedIndex() const
{
    if (m_hex.isEmpty())
        return m_allowNone ? 0 : -1;
    for (int i = m_allowNone ? 1 : 0; i < swatchCount(); ++i)
        if (swatchHex(i).compare(m_hex, Qt::CaseInsensitive) == 0)
            return i;
    return -1;
}

int ColorSwatchPicker::columnCount(int width) const
{
    return std::max(1, (width + spacing) / (minColumnWidth + spacing));
}

QRect ColorSwatchPicker::swatchRect(int index) const
{
    if (index < 0 || index >= swatchCount())
        return {};
    const int columns = columnCount(width());
    const qreal columnWidth = qreal(width() - (columns - 1) * spacing) / columns;
    const int x = int((index % columns) * (columnWidth + spacing) + (columnWidth - swatchSize) / 2);
    return {x, (index / columns) * (swatchSize + spacing), swatchSize, swatchSize};
}

int ColorSwatchPicker::indexAt(const QPoint &pos) const
{
    for (int i = 0; i < swatchCount(); ++i)
        if (swatchRect(i).contains(pos))
            return i;
    return -1;
}

int ColorSwatchPicker::heightForWidth(int width) const
{
    const int columns = columnCount(width);
    const int rows = (swatchCount() + columns - 1) / columns;
    return rows * swatchSize + (rows - 1) * spacing;
}

QSize ColorSwatchPicker::sizeHint() const
{
    const int width = swatchCount() * minColumnWidth + (swatchCount() - 1) * spacing;
    return {width, heightForWidth(width)};
}

QSize ColorSwatchPicker::minimumSizeHint() const
{
    return {minColumnWidth, swatchSize};
}

void ColorSwatchPicker::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const int checked = checkedIndex();
    for (int i = 0; i < swatchCount(); ++i) {
        const QRectF rect = swatchRect(i);
        const QString hex = swatchHex(i);
        QColor fill;
        if (m_allowNone && i == 0) {
            fill = QWidget::palette().color(QPalette::PlaceholderText);
            fill.setAlphaF(0.3);
        } else {
            const RGBComponents c = rgbComponents(hex);
            fill = QColor::fromRgbF(float(c.red), float(c.green), float(c.blue));
        }
        painter.setPen(Qt::NoPen);
        painter.setBrush(fill);
        painter.drawEllipse(rect);
        if (hasFocus() && i == std::max(checked, 0)) {
            painter.setBrush(Qt::NoBrush);
            painter.setPen(QPen(ShortcutPainter::accentColor(), 1.5));
            painter.drawEllipse(rect.adjusted(-2, -2, 2, 2));
        }
        if (i == checked) {
            const QColor mark =
                (m_allowNone && i == 0) ? QWidget::palette().text().color() : QColor(Qt::white);
            ShortcutPainter::drawSymbol(painter, rect.adjusted(6, 6, -6, -6),
                                        QStringLiteral("checkmark"), mark);
        }
    }
}

void ColorSwatchPicker::mousePressEvent(QMouseEvent *event)
{
    const int index = indexAt(event->position().toPoint());
    if (index >= 0)
        setHex(swatchHex(index));
}

void ColorSwatchPicker::keyPressEvent(QKeyEvent *event)
{
    int index = checkedIndex();
    if (event->key() == Qt::Key_Left)
        index = std::max(0, index - 1);
    else if (event->key() == Qt::Key_Right)
        index = std::min(swatchCount() - 1, index + 1);
    else {
        QWidget::keyPressEvent(event);
        return;
    }
    setHex(swatchHex(index));
}

bool ColorSwatchPicker::event(QEvent *event)
{
    if (event->type() == QEvent::ToolTip) {
        auto *help = static_cast<QHelpEvent *>(event);
        const int index = indexAt(help->pos());
        if (index >= 0)
            QToolTip::showText(help->globalPos(), swatchName(index), this, swatchRect(index));
        else
            QToolTip::hideText();
        return true;
    }
    return QWidget::event(event);
}
