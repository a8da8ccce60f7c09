#include "ui/OutcomeBanner.h"

#include "shortcuts/ShortcutRunner.h"
#include "ui/FloatingCard.h"
#include "ui/RunOutcomeMark.h"
#include "ui/SymbolIcon.h"
#include "ui/TextBlock.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLayout>
#include <QPainter>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
constexpr int shadowMargin = FloatingCard::shadowMargin;
constexpr int bottomGap = 20;
constexpr int bannerMaximumWidth = 520;
} // namespace

OutcomeBanner::OutcomeBanner(ShortcutRunner &runner, QWidget *parent)
    : QWidget(parent), m_runner(runner), m_icon(new QLabel(this)), m_title(new TextBlock(this)),
      m_detail(new TextBlock(this)), m_close(new QToolButton(this)),
      m_opacity(new QGraphicsOpacityEffect(this)),
      m_slide(new QPropertyAnimation(this, "pos", this)),
      m_fade(new QPropertyAnimation(m_opacity, "opacity", this))
{
    setObjectName(QStringLiteral("outcomeBanner"));
    m_icon->setObjectName(QStringLiteral("outcomeBannerIcon"));
    m_title->setObjectName(QStringLiteral("outcomeBannerTitle"));
    m_detail->setObjectName(QStringLiteral("outcomeBannerDetail"));
    m_close->setObjectName(QStringLiteral("outcomeBannerClose"));
    setAttribute(Qt::WA_TranslucentBackground);
    setGraphicsEffect(m_opacity);

    QFont headline = m_title->font();
    headline.setBold(true);
    m_title->setFont(headline);
    QFont callout = m_detail->font();
    callout.setPointSizeF(callout.pointSizeF() * 0.95);
    m_detail->setFont(callout);
    m_detail->setMaximumLines(4);
    m_detail->setSelectable(true);
    m_title->setMaximumLines(2);
    QPalette secondary = m_detail->palette();
    QColor colour = secondary.color(QPalette::WindowText);
    colour.setAlphaF(0.65f);
    secondary.setColor(QPalette::WindowText, colour);
    m_detail->setPalette(secondary);
    m_close->setAutoRaise(true);
    m_close->setIcon(SymbolIcon::icon(QStringLiteral("xmark")));
    m_close->setToolTip(QStringLiteral("Close"));
    m_close->setAccessibleName(QStringLiteral("Close"));
    connect(m_close, &QToolButton::clicked, this, [this] { setVisibleID({}); });

    auto *text = new QVBoxLayout;
    text->setSpacing(2);
    text->addWidget(m_title);
    text->addWidget(m_detail);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(shadowMargin + 14, shadowMargin + 14, shadowMargin + 14,
                               shadowMargin + 14);
    layout->setSpacing(12);
    layout->addWidget(m_icon, 0, Qt::AlignTop);
    layout->addLayout(text, 1);
    layout->addWidget(m_close, 0, Qt::AlignTop);

    m_hideTimer.setSingleShot(true);
    m_hideTimer.setTimerType(Qt::PreciseTimer);
    m_hideTimer.setInterval(visibleMilliseconds);
    connect(&m_hideTimer, &QTimer::timeout, this, [this] { setVisibleID({}); });
    m_slide->setDuration(380);
    m_slide->setEasingCurve(QEasingCurve::OutBack);
    m_fade->setDuration(300);
    connect(m_slide, &QPropertyAnimation::finished, this, &OutcomeBanner::reposition);
    connect(m_fade, &QPropertyAnimation::finished, this, [this] {
        if (m_visibleID.isNull())
            QWidget::hide();
    });
    connect(&runner, &ShortcutRunner::latestOutcomeChanged, this, &OutcomeBanner::outcomeChanged);
    parent->installEventFilter(this);
    QWidget::hide();
}

QString OutcomeBanner::titleText() const
{
    return m_title->text();
}

QString OutcomeBanner::detailText() const
{
    return m_detail->isVisible() || !m_detail->isHidden() ? m_detail->text() : QString();
}

QString OutcomeBanner::titleFor(const ShortcutRunner::Outcome &outcome)
{
    return outcome.error ? outcome.shortcutName + QStringLiteral(" failed")
                         : QStringLiteral("Ran ") + outcome.shortcutName;
}

QString OutcomeBanner::detailFor(const ShortcutRunner::Outcome &outcome)
{
    return outcome.error ? *outcome.error : outcome.output.value_or(QString());
}

void OutcomeBanner::outcomeChanged()
{
    const auto &outcome = m_runner.latestOutcome();
    if (!outcome || outcome->id == m_visibleID)
        return;
    const bool failed = outcome->error.has_value();
    const RunOutcome ended = failed ? RunOutcome::failed : RunOutcome::succeeded;
    m_icon->setPixmap(SymbolIcon::pixmap(RunOutcomeMark::symbol(ended),
                                         RunOutcomeMark::color(ended, QColor()), 22,
                                         devicePixelRatioF()));
    m_title->setText(titleFor(*outcome));
    const QString detail = detailFor(*outcome);
    m_detail->setText(detail);
    m_detail->setHidden(detail.isEmpty());
    // The card is sized from this content, not from the last outcome's: a hidden banner's
    // nested layouts keep their cached sizes until they are told.
    for (QLayout *nested : findChildren<QLayout *>())
        nested->invalidate();
    layout()->invalidate();
    if (!m_visibleID.isNull())
        setGeometry(restingGeometry());
    setVisibleID(outcome->id);
}

void OutcomeBanner::setVisibleID(const QUuid &id)
{
    if (id == m_visibleID)
        return;
    const bool wasShown = !m_visibleID.isNull();
    m_visibleID = id;
    m_slide->stop();
    m_fade->stop();
    if (id.isNull()) {
        m_hideTimer.stop();
        const QRect rest = restingGeometry();
        m_slide->setStartValue(pos());
        m_slide->setEndValue(QPoint(rest.x(), rest.y() + 40));
        m_fade->setStartValue(m_opacity->opacity());
        m_fade->setEndValue(0.0);
        m_slide->start();
        m_fade->start();
        return;
    }
    m_hideTimer.start(); // each new outcome restarts the period
    const QRect rest = restingGeometry();
    setGeometry(rest);
    raise();
    QWidget::show();
    if (!wasShown) {
        m_slide->setStartValue(QPoint(rest.x(), rest.y() + 40));
        m_slide->setEndValue(rest.topLeft());
        m_fade->setStartValue(m_opacity->opacity() >= 1.0 ? 0.0 : m_opacity->opacity());
        m_fade->setEndValue(1.0);
        m_slide->start();
        m_fade->start();
    } else {
        m_opacity->setOpacity(1.0);
    }
}

QRect OutcomeBanner::restingGeometry() const
{
    const QWidget *host = parentWidget();
    // As wide as the content wants, at most 520 for the card, and never wider than the window.
    const int wanted = std::max(layout()->sizeHint().width(), 280 + 2 * shadowMargin);
    const int width = std::max(0, std::min({bannerMaximumWidth + 2 * shadowMargin, wanted,
                                            host->width() - 40 + 2 * shadowMargin}));
    const int height = std::max(layout()->heightForWidth(width), layout()->minimumSize().height());
    return QRect((host->width() - width) / 2, host->height() - bottomGap - height + shadowMargin,
                 width, height);
}

void OutcomeBanner::reposition()
{
    if (m_visibleID.isNull())
        return;
    const QRect rest = restingGeometry();
    // A window that is still being laid out (a URL opened at launch) ends the slide where the
    // banner belongs now, not where it belonged when the slide began.
    if (m_slide->state() == QAbstractAnimation::Running) {
        m_slide->setEndValue(rest.topLeft());
        resize(rest.size());
    } else if (geometry() != rest) {
        setGeometry(rest);
    }
}

bool OutcomeBanner::isSettled() const
{
    return m_slide->state() != QAbstractAnimation::Running &&
           m_fade->state() != QAbstractAnimation::Running;
}

bool OutcomeBanner::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == parentWidget() &&
        (event->type() == QEvent::Resize || event->type() == QEvent::Show))
        reposition();
    return QWidget::eventFilter(watched, event);
}

void OutcomeBanner::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    FloatingCard::paint(painter, rect(), palette());
}
