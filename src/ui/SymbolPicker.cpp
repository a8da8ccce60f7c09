#include "ui/SymbolPicker.h"

#include "ui/ShortcutPainter.h"

#include <QPainter>
#include <QPainterPath>

namespace {
constexpr qreal cornerRadius = 7;
constexpr PickerGrid::Metrics metrics{
    .cellSize = 32, .minColumnWidth = 34, .spacing = 6, .preferredColumns = 10, .rowKeys = true};
constexpr PickerGrid::Ring ring{.outset = -0.5, .width = 1, .radius = cornerRadius};
} // namespace

SymbolPicker::SymbolPicker(QWidget *parent)
    : PickerGrid(metrics, ring, tr("Icon"), parent), m_tint(ShortcutPainter::accentColor())
{
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

QString SymbolPicker::cellName(int index) const
{
    return QString(symbols().value(index)).replace(u'.', u' ');
}

void SymbolPicker::paintCell(QPainter &painter, int index, const QRectF &cell, bool chosen)
{
    if (chosen) {
        QColor fill = m_tint;
        fill.setAlphaF(0.22);
        QPainterPath path;
        path.addRoundedRect(cell, cornerRadius, cornerRadius);
        painter.fillPath(path, fill);
    }
    ShortcutPainter::drawSymbol(painter, cell.adjusted(6, 6, -6, -6), symbols().at(index), m_tint);
}
