#include "ui/ShortcutIconView.h"

#include "ui/ShortcutPainter.h"

#include <QPainter>

namespace {
std::function<void(ShortcutItem *)> &onScreenHandler()
{
    static std::function<void(ShortcutItem *)> handler;
    return handler;
}
} // namespace

ShortcutIconView::ShortcutIconView(int size, Style style, QWidget *parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("shortcutIcon"));
    if (style == Style::standalone)
        setFixedSize(size, size);
    else
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void ShortcutIconView::setOnScreenHandler(std::function<void(ShortcutItem *)> handler)
{
    onScreenHandler() = std::move(handler);
}

void ShortcutIconView::setItem(ShortcutItem *item)
{
    if (m_item == item)
        return;
    m_item = item;
    m_announced = false;
    refresh();
    if (isVisible())
        announce();
}

void ShortcutIconView::refresh()
{
    ++m_revision;
    update();
}

void ShortcutIconView::announce()
{
    if (m_announced || !m_item || !onScreenHandler())
        return;
    m_announced = true;
    onScreenHandler()(m_item);
}

void ShortcutIconView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    announce();
}

void ShortcutIconView::paintEvent(QPaintEvent *)
{
    if (!m_item)
        return;
    QPainter painter(this);
    // The revision keeps the decoded-image cache apart from the collection's (different keys
    // are harmless; they are small).
    ShortcutPainter::drawIcon(painter, QRectF(rect()), *m_item, m_revision << 32);
}
