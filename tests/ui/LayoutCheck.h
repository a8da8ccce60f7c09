#pragma once

#include "ui/TextBlock.h"

#include <QAbstractScrollArea>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QStringList>
#include <QTextDocument>
#include <QWidget>

// Geometry faults a person sees as clipped or cut-off content, below one window.
namespace LayoutCheck {
inline QString describe(const QWidget *widget)
{
    QString name = widget->objectName();
    if (name.isEmpty())
        name = QString::fromLatin1(widget->metaObject()->className());
    if (const auto *label = qobject_cast<const QLabel *>(widget))
        name += QStringLiteral(" \"") + label->text().left(30) + u'"';
    if (const auto *block = qobject_cast<const TextBlock *>(widget))
        name += QStringLiteral(" \"") + block->text().left(30) + u'"';
    if (const auto *button = qobject_cast<const QAbstractButton *>(widget))
        name += QStringLiteral(" \"") + button->text().left(30) + u'"';
    const QWidget *parent = widget->parentWidget();
    if (parent)
        name +=
            QStringLiteral(" in ") + (parent->objectName().isEmpty()
                                          ? QString::fromLatin1(parent->metaObject()->className())
                                          : parent->objectName());
    return name;
}

inline QString rectText(const QRect &rect)
{
    return QStringLiteral("(%1,%2 %3x%4)")
        .arg(rect.x())
        .arg(rect.y())
        .arg(rect.width())
        .arg(rect.height());
}

// The widget's own scroll area when it is the scrolled content: it may be taller than the
// viewport, never wider.
inline const QScrollArea *scrolledBy(const QWidget *widget)
{
    const QWidget *viewport = widget->parentWidget();
    const auto *area =
        viewport ? qobject_cast<const QScrollArea *>(viewport->parentWidget()) : nullptr;
    return area && area->widget() == widget ? area : nullptr;
}

// Every visible widget below root (other windows excluded) must lie inside its parent, every
// scroll area must have no horizontal range, and no single-line label or push button may be
// narrower than its text.
inline QStringList faults(const QWidget *root)
{
    QStringList found;
    const QList<QWidget *> widgets = root->findChildren<QWidget *>();
    for (const QWidget *widget : widgets) {
        if (!widget->isVisible() || widget->isWindow() || widget->window() != root->window())
            continue;
        const QWidget *parent = widget->parentWidget();
        if (!parent)
            continue;
        const QRect geometry = widget->geometry();
        const QRect allowed = parent->rect();
        const bool scrolled = scrolledBy(widget) != nullptr;
        const bool outside =
            scrolled ? geometry.left() < allowed.left() || geometry.right() > allowed.right()
                     : !allowed.contains(geometry);
        if (outside && !geometry.isEmpty())
            found.append(describe(widget) + QStringLiteral(" leaves its parent: ") +
                         rectText(geometry) + QStringLiteral(" in ") + rectText(allowed));
        if (const auto *area = qobject_cast<const QAbstractScrollArea *>(widget);
            area && area->horizontalScrollBar()->maximum() > 0)
            found.append(describe(widget) + QStringLiteral(" scrolls sideways by %1")
                                                .arg(area->horizontalScrollBar()->maximum()));
        if (const auto *label = qobject_cast<const QLabel *>(widget);
            label && !label->wordWrap() && !label->text().isEmpty() &&
            (label->textFormat() == Qt::PlainText || !Qt::mightBeRichText(label->text()))) {
            const int needed = label->fontMetrics().horizontalAdvance(label->text());
            if (needed > label->contentsRect().width() + 1)
                found.append(describe(widget) + QStringLiteral(" cuts its text: %1 wide in %2")
                                                    .arg(needed)
                                                    .arg(label->contentsRect().width()));
        }
        if (const auto *block = qobject_cast<const TextBlock *>(widget);
            block && block->height() < block->heightForWidth(block->width()))
            found.append(describe(widget) + QStringLiteral(" cuts its lines: %1 high for %2")
                                                .arg(block->height())
                                                .arg(block->heightForWidth(block->width())));
        if (const auto *button = qobject_cast<const QPushButton *>(widget);
            button && !button->text().isEmpty() &&
            button->width() < button->minimumSizeHint().width())
            found.append(describe(widget) + QStringLiteral(" cuts its text: %1 wide in %2")
                                                .arg(button->minimumSizeHint().width())
                                                .arg(button->width()));
    }
    return found;
}
} // namespace LayoutCheck
