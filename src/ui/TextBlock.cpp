#include "ui/TextBlock.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
#include <QPainter>
#include <QTextLayout>

namespace {
// The text's own line breaks stay breaks; positions keep matching the text's (a CR before an LF
// becomes a zero-width space).
QString layoutText(const QString &text)
{
    QString result = text;
    result.replace(QStringLiteral("\r\n"), QStringLiteral("\u200B\n"));
    result.replace(u'\n', QChar::LineSeparator).replace(u'\r', QChar::LineSeparator);
    return result;
}
} // namespace

TextBlock::TextBlock(QWidget *parent) : TextBlock(QString(), parent) {}

TextBlock::TextBlock(const QString &text, QWidget *parent) : QWidget(parent)
{
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setText(text);
}

void TextBlock::setText(const QString &text)
{
    if (text == m_text)
        return;
    m_text = text;
    m_anchor = m_cursor = -1;
    setAccessibleName(text);
    textChanged();
}

void TextBlock::setMaximumLines(int lines)
{
    if (lines == m_maximumLines)
        return;
    m_maximumLines = std::max(0, lines);
    textChanged();
}

void TextBlock::setAlignment(Qt::Alignment alignment)
{
    m_alignment = alignment;
    update();
}

void TextBlock::setSelectable(bool selectable)
{
    m_selectable = selectable;
    setFocusPolicy(selectable ? Qt::ClickFocus : Qt::NoFocus);
    setCursor(selectable ? Qt::IBeamCursor : Qt::ArrowCursor);
    if (!selectable)
        m_anchor = m_cursor = -1;
    update();
}

void TextBlock::textChanged()
{
    m_layout.reset();
    updateGeometry();
    update();
    const bool truncated = isTruncated();
    setToolTip(truncated ? m_text : QString());
}

TextBlock::Layout TextBlock::layoutFor(qreal width) const
{
    Layout result;
    if (m_text.isEmpty())
        return result;
    width = std::max<qreal>(width, 1);
    const QFontMetricsF metrics(font());
    const QString text = layoutText(m_text);
    QTextLayout layout(text, font());
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    qreal y = 0;
    while (true) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(width);
        Line shown;
        shown.start = line.textStart();
        shown.text = text.mid(line.textStart(), line.textLength());
        while (shown.text.endsWith(QChar::LineSeparator))
            shown.text.chop(1);
        shown.y = y;
        shown.width = line.naturalTextWidth();
        y += metrics.lineSpacing();
        const bool last = m_maximumLines > 0 && result.lines.size() + 1 == m_maximumLines;
        const int end = line.textStart() + line.textLength();
        if (last && end < text.size()) {
            // The rest of the text on one line, cut with an ellipsis.
            QString rest = text.mid(line.textStart());
            rest.replace(QChar::LineSeparator, u' ');
            shown.text = metrics.elidedText(rest, Qt::ElideRight, width);
            if (shown.text == rest) // only line breaks were left out
                shown.text = rest.trimmed() + QStringLiteral("…");
            shown.width = std::min(width, metrics.horizontalAdvance(shown.text));
            shown.elided = true;
            result.truncated = true;
            result.lines.append(shown);
            break;
        }
        result.lines.append(shown);
    }
    layout.endLayout();
    result.height = std::ceil(y);
    return result;
}

const TextBlock::Layout &TextBlock::currentLayout() const
{
    const int width = contentsRect().width();
    if (!m_layout || m_layoutWidth != width) {
        m_layout = layoutFor(width);
        m_layoutWidth = width;
    }
    return *m_layout;
}

bool TextBlock::isTruncated() const
{
    return currentLayout().truncated;
}

QStringList TextBlock::shownLines() const
{
    QStringList lines;
    for (const Line &line : currentLayout().lines)
        lines.append(line.text);
    return lines;
}

int TextBlock::heightForWidth(int width) const
{
    const QMargins margins = contentsMargins();
    const int inner = width - margins.left() - margins.right();
    if (m_text.isEmpty())
        return margins.top() + margins.bottom();
    if (m_layout && m_layoutWidth == inner)
        return int(m_layout->height) + margins.top() + margins.bottom();
    return int(layoutFor(inner).height) + margins.top() + margins.bottom();
}

QSize TextBlock::sizeHint() const
{
    // As wide as the longest line of the text wants, within reason; the layout narrows it.
    const QFontMetricsF metrics(font());
    qreal natural = 0;
    for (const QString &line : m_text.split(u'\n'))
        natural = std::max(natural, metrics.horizontalAdvance(line));
    const QMargins margins = contentsMargins();
    const int width =
        int(std::ceil(std::min<qreal>(natural, 480))) + margins.left() + margins.right() + 1;
    return {width, heightForWidth(width)};
}

QSize TextBlock::minimumSizeHint() const
{
    const QFontMetrics metrics(font());
    const QMargins margins = contentsMargins();
    const int lines = m_text.isEmpty() ? 0 : 1;
    return {metrics.averageCharWidth() * 3 + margins.left() + margins.right(),
            lines * metrics.lineSpacing() + margins.top() + margins.bottom()};
}

qreal TextBlock::lineLeft(const Line &line, qreal width) const
{
    Qt::Alignment horizontal = m_alignment & Qt::AlignHorizontal_Mask;
    if (m_text.isRightToLeft() && (horizontal & (Qt::AlignLeft | Qt::AlignLeading)))
        horizontal = Qt::AlignRight;
    if (horizontal & Qt::AlignHCenter)
        return (width - line.width) / 2;
    if (horizontal & (Qt::AlignRight | Qt::AlignTrailing))
        return width - line.width;
    return 0;
}

void TextBlock::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRect area = contentsRect();
    const Layout &layout = currentLayout();
    const QFontMetricsF metrics(font());
    qreal top = area.top();
    if (m_alignment & Qt::AlignVCenter)
        top += (area.height() - layout.height) / 2;
    const int selectionStart = std::min(m_anchor, m_cursor);
    const int selectionEnd = std::max(m_anchor, m_cursor);
    const bool hasSelection = m_selectable && m_anchor >= 0 && selectionStart != selectionEnd;
    for (const Line &line : layout.lines) {
        const QPointF origin(area.left() + lineLeft(line, area.width()), top + line.y);
        if (hasSelection && !line.elided) {
            const int from = std::clamp(selectionStart - line.start, 0, int(line.text.size()));
            const int to = std::clamp(selectionEnd - line.start, 0, int(line.text.size()));
            if (to > from) {
                const qreal x1 = metrics.horizontalAdvance(line.text.left(from));
                const qreal x2 = metrics.horizontalAdvance(line.text.left(to));
                painter.fillRect(
                    QRectF(origin.x() + x1, origin.y(), x2 - x1, metrics.lineSpacing()),
                    palette().color(QPalette::Highlight));
            }
        }
        painter.setPen(palette().color(foregroundRole()));
        painter.drawText(origin + QPointF(0, metrics.ascent()), line.text);
    }
}

void TextBlock::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange) {
        m_layout.reset();
        updateGeometry();
    }
    QWidget::changeEvent(event);
}

void TextBlock::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    setToolTip(isTruncated() ? m_text : QString());
}

int TextBlock::positionAt(const QPoint &point) const
{
    const Layout &layout = currentLayout();
    if (layout.lines.isEmpty())
        return 0;
    const QRect area = contentsRect();
    const QFontMetricsF metrics(font());
    const Line *hit = &layout.lines.constFirst();
    for (const Line &line : layout.lines)
        if (point.y() - area.top() >= line.y)
            hit = &line;
    const qreal x = point.x() - area.left() - lineLeft(*hit, area.width());
    int best = 0;
    for (int i = 1; i <= hit->text.size(); ++i) {
        if (metrics.horizontalAdvance(hit->text.left(i)) -
                metrics.horizontalAdvance(hit->text.at(i - 1)) / 2 >
            x)
            break;
        best = i;
    }
    return std::min(int(m_text.size()), hit->start + best);
}

QString TextBlock::selectedText() const
{
    if (m_anchor < 0 || m_anchor == m_cursor)
        return {};
    const int from = std::min(m_anchor, m_cursor);
    return m_text.mid(from, std::max(m_anchor, m_cursor) - from);
}

void TextBlock::selectAll()
{
    m_anchor = 0;
    m_cursor = int(m_text.size());
    update();
}

void TextBlock::mousePressEvent(QMouseEvent *event)
{
    if (!m_selectable || event->button() != Qt::LeftButton)
        return QWidget::mousePressEvent(event);
    m_anchor = m_cursor = positionAt(event->position().toPoint());
    update();
}

void TextBlock::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_selectable || !(event->buttons() & Qt::LeftButton) || m_anchor < 0)
        return QWidget::mouseMoveEvent(event);
    m_cursor = positionAt(event->position().toPoint());
    update();
}

void TextBlock::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (!m_selectable)
        return QWidget::mouseDoubleClickEvent(event);
    selectAll();
}

void TextBlock::keyPressEvent(QKeyEvent *event)
{
    if (m_selectable && event->matches(QKeySequence::Copy)) {
        const QString selected = selectedText();
        QApplication::clipboard()->setText(selected.isEmpty() ? m_text : selected);
        return;
    }
    if (m_selectable && event->matches(QKeySequence::SelectAll)) {
        selectAll();
        return;
    }
    QWidget::keyPressEvent(event);
}

void TextBlock::contextMenuEvent(QContextMenuEvent *event)
{
    if (!m_selectable)
        return QWidget::contextMenuEvent(event);
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const QString selected = selectedText();
    menu->addAction(QStringLiteral("Copy"), this, [text = selected.isEmpty() ? m_text : selected] {
        QApplication::clipboard()->setText(text);
    });
    menu->addAction(QStringLiteral("Select All"), this, &TextBlock::selectAll);
    menu->popup(event->globalPos());
}
