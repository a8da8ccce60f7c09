#include "ui/TagChipFlow.h"

#include "model/Tag.h"
#include "ui/FlowLayout.h"
#include "ui/KeptPixmap.h"
#include "ui/PlainText.h"
#include "ui/ShortcutPainter.h"
#include "ui/SymbolIcon.h"
#include "ui/TextBlock.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QToolButton>

TagChip::TagChip(Tag *tag, QWidget *parent) : QWidget(parent), m_tag(tag)
{
    setObjectName(QStringLiteral("tagChip"));
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(9 + 8 + 4, 5, 9, 5); // the dot is painted in the left margin
    layout->setSpacing(4);
    // One line, cut with an ellipsis when the pane is narrower than the name.
    auto *name = new TextBlock(tag->name(), this);
    name->setObjectName(QStringLiteral("tagChipName"));
    name->setMaximumLines(1);
    layout->addWidget(name, 1);
    auto *remove = new QToolButton(this);
    remove->setObjectName(QStringLiteral("tagChipRemove"));
    remove->setAutoRaise(true);
    remove->setToolTip(PlainText::markupSafe(QStringLiteral("Remove ") + tag->name()));
    remove->setAccessibleName(QStringLiteral("Remove ") + tag->name());
    remove->setIcon(SymbolIcon::icon(QStringLiteral("xmark"), palette().color(QPalette::Text)));
    remove->setIconSize(QSize(10, 10));
    remove->setFixedSize(14, 14);
    remove->setStyleSheet(QStringLiteral("QToolButton { border: none; }"));
    layout->addWidget(remove);
    connect(remove, &QToolButton::clicked, this, [this] { emit removeRequested(m_tag); });
}

namespace {
// Antialiased curves are costly to fill and a selection repaints every chip of the shortcut:
// each colour and size is drawn once and kept.
QPixmap chipBackground(const QColor &colour, const QSize &size, qreal dpr)
{
    const QString name = QStringLiteral("tc-chip:%1").arg(colour.rgba());
    return keptPixmap(name, size, dpr, [&](QPainter &painter) {
        QColor fill = colour;
        fill.setAlphaF(0.16f);
        const QRectF bounds = QRectF(QPointF(0, 0), QSizeF(size)).adjusted(0.5, 0.5, -0.5, -0.5);
        painter.setPen(Qt::NoPen);
        painter.setBrush(fill);
        painter.drawRoundedRect(bounds, bounds.height() / 2, bounds.height() / 2);
        painter.setBrush(colour);
        painter.drawEllipse(QRectF(9, size.height() / 2.0 - 4, 8, 8));
    });
}
} // namespace

void TagChip::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QColor colour =
        ShortcutPainter::colorOrFallback(m_tag->colorHex(), ShortcutPainter::accentColor());
    painter.drawPixmap(0, 0, chipBackground(colour, size(), devicePixelRatioF()));
}

TagChipFlow::TagChipFlow(QWidget *parent) : QWidget(parent), m_layout(new FlowLayout(this, 6))
{
    setObjectName(QStringLiteral("tagChipFlow"));
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

void TagChipFlow::setTags(const QList<Tag *> &tags)
{
    for (QWidget *chip : std::as_const(m_chips)) {
        m_layout->removeWidget(chip);
        chip->deleteLater();
    }
    m_chips.clear();
    if (m_trailing)
        m_layout->removeWidget(m_trailing);
    m_tags = tags;
    for (Tag *tag : tags) {
        auto *chip = new TagChip(tag, this);
        connect(chip, &TagChip::removeRequested, this, &TagChipFlow::removeRequested);
        m_layout->addWidget(chip);
        m_chips.append(chip);
    }
    if (m_trailing)
        m_layout->addWidget(m_trailing);
    updateGeometry();
}

void TagChipFlow::setTrailing(QWidget *widget)
{
    if (m_trailing) {
        m_layout->removeWidget(m_trailing);
        m_trailing->deleteLater();
    }
    m_trailing = widget;
    if (widget) {
        widget->setParent(this);
        m_layout->addWidget(widget);
    }
    updateGeometry();
}
