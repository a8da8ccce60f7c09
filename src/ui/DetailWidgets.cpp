#include "ui/DetailWidgets.h"

#include "ui/PlainText.h"
#include "ui/ShortcutPainter.h"
#include "ui/SymbolIcon.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QStyleOptionButton>
#include <QStylePainter>
#include <QVBoxLayout>
#include <cmath>

BusySpinner::BusySpinner(QWidget *parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("detailRunSpinner"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFixedSize(16, 16);
    m_timer.setInterval(33);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_angle = std::fmod(m_angle + 12, 360);
        update();
    });
}

void BusySpinner::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    ShortcutPainter::drawSpinner(painter, QRectF(rect()).adjusted(1, 1, -1, -1), Qt::white,
                                 m_angle);
}

void BusySpinner::showEvent(QShowEvent *)
{
    m_timer.start();
}

void BusySpinner::hideEvent(QHideEvent *)
{
    m_timer.stop();
}

void ElidingButton::setTitle(const QString &title)
{
    m_title = title;
    setText(PlainText::menuTitle(title));
    setToolTip(PlainText::markupSafe(title));
}

QSize ElidingButton::minimumSizeHint() const
{
    QSize size = QPushButton::sizeHint();
    size.setWidth(std::min(size.width(), fontMetrics().averageCharWidth() * 8 + 40));
    return size;
}

void ElidingButton::paintEvent(QPaintEvent *)
{
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    // Cut only when the button is narrower than it would like; what is not text in its
    // wish is the room the style keeps for the bevel, icon and menu arrow.
    const int wanted = QPushButton::sizeHint().width();
    if (width() < wanted) {
        const int chrome = wanted - fontMetrics().horizontalAdvance(m_title);
        option.text = PlainText::menuTitle(
            fontMetrics().elidedText(m_title, Qt::ElideMiddle, std::max(0, width() - chrome)));
    }
    painter.drawControl(QStyle::CE_PushButton, option);
}

QColor DetailWidgets::secondaryColor(const QPalette &palette)
{
    QColor color = palette.color(QPalette::WindowText);
    color.setAlphaF(0.6f);
    return color;
}

QWidget *DetailWidgets::captionLine(const QString &objectName, const QString &symbol,
                                    const QColor &color, const QString &text, QWidget *parent)
{
    auto *line = new QWidget(parent);
    line->setObjectName(objectName);
    auto *layout = new QHBoxLayout(line);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(5);
    auto *icon = new QLabel(line);
    icon->setPixmap(SymbolIcon::pixmap(symbol, color, 13, line->devicePixelRatioF()));
    layout->addWidget(icon);
    auto *label = new QLabel(text, line);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * 0.88);
    label->setFont(font);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, color);
    label->setPalette(palette);
    label->setWordWrap(true);
    layout->addWidget(label, 1);
    return line;
}

QVBoxLayout *DetailWidgets::addGroup(QVBoxLayout *column, const QString &title,
                                     const QString &objectName)
{
    auto *header = new QLabel(title);
    QFont font = header->font();
    font.setBold(true);
    header->setFont(font);
    column->addWidget(header);
    auto *frame = new QFrame;
    frame->setObjectName(objectName);
    frame->setFrameShape(QFrame::StyledPanel);
    frame->setAutoFillBackground(true);
    frame->setBackgroundRole(QPalette::Base);
    auto *layout = new QVBoxLayout(frame);
    layout->setContentsMargins(12, 10, 12, 10);
    layout->setSpacing(8);
    column->addWidget(frame);
    return layout;
}
