#include "ui/SymbolPicker.h"

#include "ui/PickerAccessible.h"
#include "ui/ShortcutPainter.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

namespace {
constexpr int minColumnWidth = 34;
constexpr int spacing = 6;
constexpr int cellSize = 32;
constexpr qreal cornerRadius = 7;
} // namespace

SymbolPicker::SymbolPicker(QWidget *parent)
    : QWidget(parent), m_tint(ShortcutPainter::accentColor())
{
    setFocusPolicy(Qt::StrongFocus);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setAccessibleName(tr("Icon"));
    PickerAccessible::install();
}

const QStringList &SymbolPicker::symbols()
{
    static const QStringList list{
        QStringLiteral("folder"),
        QStringLiteral("folder.fill"),
        QStringLiteral("star"),
        QStringLiteral("heart"),
        QStringLiteral("bolt"),
        QStringLiteral("house"),
        QStringLiteral("briefcase"),
        QStringLiteral("car"),
        QStringLiteral("airplane"),
        QStringLiteral("music.note"),
        QStringLiteral("camera"),
        QStringLiteral("photo"),
        QStringLiteral("video"),
        QStringLiteral("mic"),
        QStringLiteral("bell"),
        QStringLiteral("calendar"),
        QStringLiteral("clock"),
        QStringLiteral("list.bullet"),
        QStringLiteral("checkmark.circle"),
        QStringLiteral("doc.text"),
        QStringLiteral("book"),
        QStringLiteral("gamecontroller"),
        QStringLiteral("tv"),
        QStringLiteral("cart"),
        QStringLiteral("creditcard"),
        QStringLiteral("gift"),
        QStringLiteral("leaf"),
        QStringLiteral("flame"),
        QStringLiteral("drop"),
        QStringLiteral("moon"),
        QStringLiteral("sun.max"),
        QStringLiteral("cloud"),
        QStringLiteral("globe"),
        QStringLiteral("map"),
        QStringLiteral("location"),
        QStringLiteral("wrench"),
        QStringLiteral("hammer"),
        QStringLiteral("gearshape"),
        QStringLiteral("terminal"),
        QStringLiteral("network"),
        QStringLiteral("person"),
        QStringLiteral("person.2"),
        QStringLiteral("message"),
        QStringLiteral("envelope"),
        QStringLiteral("phone"),
        QStringLiteral("tag"),
        QStringLiteral("sparkles"),
        QStringLiteral("wand.and.stars"),
        QStringLiteral("lightbulb"),
        QStringLiteral("flag"),
    };
    return list;
}

void SymbolPicker::setSymbol(const QString &symbol)
{
    if (m_symbol == symbol)
        return;
    m_symbol = symbol;
    update();
    emit symbolChanged(symbol);
}

void SymbolPicker::setTint(const QColor &tint)
{
    if (m_tint == tint)
        return;
    m_tint = tint;
    update();
}

int SymbolPicker::columnCount(int width) const
{
    return std::max(1, (width + spacing) / (minColumnWidth + spacing));
}

QRect SymbolPicker::cellRect(int index) const
{
    if (index < 0 || index >= symbols().size())
        return {};
    const int columns = columnCount(width());
    const qreal columnWidth = qreal(width() - (columns - 1) * spacing) / columns;
    const int row = index / columns;
    const int column = index % columns;
    const int x = int(column * (columnWidth + spacing) + (columnWidth - cellSize) / 2);
    return {x, row * (cellSize + spacing), cellSize, cellSize};
}

int SymbolPicker::indexAt(const QPoint &pos) const
{
    for (int i = 0; i < symbols().size(); ++i)
        if (cellRect(i).contains(pos))
            return i;
    return -1;
}

int SymbolPicker::heightForWidth(int width) const
{
    const int columns = columnCount(width);
    const int rows = int((symbols().size() + columns - 1) / columns);
    return rows * cellSize + (rows - 1) * spacing;
}

QSize SymbolPicker::sizeHint() const
{
    const int width = 10 * minColumnWidth + 9 * spacing;
    return {width, heightForWidth(width)};
}

QSize SymbolPicker::minimumSizeHint() const
{
    return {minColumnWidth, cellSize};
}

void SymbolPicker::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const int selected = int(symbols().indexOf(m_symbol));
    for (int i = 0; i < symbols().size(); ++i) {
        const QRectF cell = cellRect(i);
        if (i == selected) {
            QColor fill = m_tint;
            fill.setAlphaF(0.22);
            QPainterPath path;
            path.addRoundedRect(cell, cornerRadius, cornerRadius);
            painter.fillPath(path, fill);
        }
        if (hasFocus() && i == std::max(selected, 0)) {
            painter.setPen(QPen(ShortcutPainter::accentColor(), 1));
            painter.drawRoundedRect(cell.adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius,
                                    cornerRadius);
        }
        ShortcutPainter::drawSymbol(painter, cell.adjusted(6, 6, -6, -6), symbols().at(i), m_tint);
    }
}

void SymbolPicker::mousePressEvent(QMouseEvent *event)
{
    const int index = indexAt(event->position().toPoint());
    if (index >= 0)
        setSymbol(symbols().at(index));
}

void SymbolPicker::keyPressEvent(QKeyEvent *event)
{
    const int columns = columnCount(width());
    int index = int(symbols().indexOf(m_symbol));
    const int count = int(symbols().size());
    switch (event->key()) {
    case Qt::Key_Left:
        index = index < 0 ? 0 : std::max(0, index - 1);
        break;
    case Qt::Key_Right:
        index = index < 0 ? 0 : std::min(count - 1, index + 1);
        break;
    case Qt::Key_Up:
        index = index < 0 ? 0 : (index - columns >= 0 ? index - columns : index);
        break;
    case Qt::Key_Down:
        index = index < 0 ? 0 : (index + columns < count ? index + columns : index);
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    setSymbol(symbols().at(index));
}

bool SymbolPicker::event(QEvent *event)
{
    if (event->type() == QEvent::ToolTip) {
        auto *help = static_cast<QHelpEvent *>(event);
        const int index = indexAt(help->pos());
        if (index >= 0)
            QToolTip::showText(help->globalPos(), symbols().at(index), this, cellRect(index));
        else
            QToolTip::hideText();
        return true;
    }
    return QWidget::event(event);
}
