#include "ui/RunRow.h"

#include "model/LibraryHealth.h"
#include "ui/RelativeDate.h"
#include "ui/RunOutcomeMark.h"
#include "ui/ShortcutPainter.h"
#include "ui/ShortcutRoles.h"

#include <QKeyEvent>
#include <QPainter>

namespace {
constexpr int padding = 6;
constexpr int markSize = 14;
constexpr int markGap = 8;
// A row shows one line; a 64 KB line need not be measured to be elided.
constexpr qsizetype shownCharacters = 400;

QFont detailFont(const QFont &base)
{
    QFont font = base;
    font.setPointSizeF(base.pointSizeF() * 0.9);
    return font;
}

bool isPressKey(const QKeyEvent *event)
{
    const auto modifiers = event->modifiers() & ~Qt::KeypadModifier;
    return modifiers == Qt::NoModifier &&
           (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter);
}
} // namespace

QString RunRow::summaryLine(const RunEntry &entry)
{
    const QString line = entry.firstLine();
    return line.isEmpty() ? RunOutcomeMark::emptyText(entry.outcome)
                          : LibraryHealth::visibleText(line.left(shownCharacters));
}

QString RunRow::whenText(const RunEntry &entry)
{
    const QString when = RelativeDate::named(entry.startedAt);
    return entry.durationMs ? when + QStringLiteral(" · ") + runDurationText(*entry.durationMs)
                            : when;
}

QString RunRow::accessibleText(const RunEntry &entry)
{
    return RunOutcomeMark::title(entry.outcome) + QStringLiteral(", ") + whenText(entry) +
           QStringLiteral(": ") + summaryLine(entry);
}

int RunRow::height(const QFont &font)
{
    return padding * 2 + QFontMetrics(font).height() + 2 + QFontMetrics(detailFont(font)).height();
}

void RunRow::paint(QPainter &painter, const QRect &rect, const QPalette &palette, const QFont &font,
                   RunOutcome outcome, const QString &when, const QString &summary, State state)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF card = QRectF(rect).adjusted(1, 1, -1, -1);
    const QColor text = palette.color(QPalette::Text);
    const QColor accent = ShortcutPainter::accentColor();
    if (state.selected || state.hovered) {
        QColor fill = state.selected ? accent : text;
        fill.setAlphaF(state.selected ? 0.16f : 0.06f);
        painter.setPen(Qt::NoPen);
        painter.setBrush(fill);
        painter.drawRoundedRect(card, 5, 5);
    }
    if (state.focused) {
        painter.setPen(QPen(accent, 1.5));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(card.adjusted(0.75, 0.75, -0.75, -0.75), 5, 5);
    }

    QColor secondary = text;
    secondary.setAlphaF(0.6f);
    const QFontMetrics metrics(font);
    const QFont smaller = detailFont(font);
    const QFontMetrics smallerMetrics(smaller);
    const int top = rect.top() + padding;
    const QRectF mark(rect.left() + padding + 2, top + (metrics.height() - markSize) / 2.0,
                      markSize, markSize);
    ShortcutPainter::drawSymbol(painter, mark, RunOutcomeMark::symbol(outcome),
                                RunOutcomeMark::color(outcome, secondary));
    const int left = int(mark.right()) + markGap;
    const int width = std::max(0, rect.right() - padding - left);
    painter.setFont(font);
    painter.setPen(text);
    painter.drawText(QPoint(left, top + metrics.ascent()),
                     metrics.elidedText(when, Qt::ElideRight, width));
    painter.setFont(smaller);
    painter.setPen(secondary);
    painter.drawText(QPoint(left, top + metrics.height() + 2 + smallerMetrics.ascent()),
                     smallerMetrics.elidedText(summary, Qt::ElideRight, width));
    painter.restore();
}

void RunRow::Delegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                             const QModelIndex &index) const
{
    State state;
    state.selected = option.state.testFlag(QStyle::State_Selected);
    state.hovered = option.state.testFlag(QStyle::State_MouseOver);
    RunRow::paint(*painter, option.rect, option.palette, option.font,
                  RunOutcome(index.data(RunHistoryRoles::outcome).toInt()),
                  index.data(RunHistoryRoles::when).toString(), index.data().toString(), state);
}

QSize RunRow::Delegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const
{
    return QSize(option.rect.width(), height(option.font));
}

RunRowButton::RunRowButton(QWidget *parent) : QAbstractButton(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void RunRowButton::setEntry(const RunEntry &entry)
{
    m_entry = entry;
    setAccessibleName(RunRow::accessibleText(entry));
    update();
}

QSize RunRowButton::sizeHint() const
{
    return QSize(200, RunRow::height(font()));
}

QSize RunRowButton::minimumSizeHint() const
{
    // Its texts are elided, so it may be as narrow as the pane.
    return QSize(60, RunRow::height(font()));
}

void RunRowButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    RunRow::State state;
    state.hovered = underMouse();
    state.focused = hasFocus();
    state.selected = isDown();
    // Relative to now at each paint, so that an old row does not keep saying "now".
    RunRow::paint(painter, rect(), palette(), font(), m_entry.outcome, RunRow::whenText(m_entry),
                  RunRow::summaryLine(m_entry), state);
}

bool RunRowButton::event(QEvent *event)
{
    if (event->type() == QEvent::ShortcutOverride && isPressKey(static_cast<QKeyEvent *>(event))) {
        event->accept();
        return true;
    }
    return QAbstractButton::event(event);
}

void RunRowButton::keyPressEvent(QKeyEvent *event)
{
    if (isPressKey(event)) {
        click();
        event->accept();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}
