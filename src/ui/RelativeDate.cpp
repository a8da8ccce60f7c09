#include "ui/RelativeDate.h"

#include "model/Clock.h"

namespace {
struct Unit {
    const char *singular;
    const char *plural;
    const char *previous; // the named form of -1
    const char *next;     // the named form of +1
};

QString phrase(qint64 amount, const Unit &unit)
{
    if (amount == -1 && unit.previous)
        return QString::fromLatin1(unit.previous);
    if (amount == 1 && unit.next)
        return QString::fromLatin1(unit.next);
    const qint64 count = amount < 0 ? -amount : amount;
    const QString text = QStringLiteral("%1 %2").arg(count).arg(
        QString::fromLatin1(count == 1 ? unit.singular : unit.plural));
    return amount < 0 ? text + QStringLiteral(" ago") : QStringLiteral("in ") + text;
}

// Whole calendar months from a to b (b later), counting a month only once its day and time
// have been reached.
qint64 wholeMonths(const QDateTime &a, const QDateTime &b)
{
    qint64 months =
        qint64(b.date().year() - a.date().year()) * 12 + (b.date().month() - a.date().month());
    if (months > 0 && a.addMonths(int(months)) > b)
        --months;
    return months;
}
} // namespace

QString RelativeDate::named(const QDateTime &date, const QDateTime &relativeTo)
{
    if (!date.isValid() || !relativeTo.isValid())
        return {};
    const QDateTime earlier = std::min(date, relativeTo).toLocalTime();
    const QDateTime later = std::max(date, relativeTo).toLocalTime();
    const int sign = date < relativeTo ? -1 : 1;

    static const Unit years{"year", "years", "last year", "next year"};
    static const Unit months{"month", "months", "last month", "next month"};
    static const Unit weeks{"week", "weeks", "last week", "next week"};
    static const Unit days{"day", "days", "yesterday", "tomorrow"};
    static const Unit hours{"hour", "hours", nullptr, nullptr};
    static const Unit minutes{"minute", "minutes", nullptr, nullptr};
    static const Unit seconds{"second", "seconds", nullptr, nullptr};

    const qint64 monthCount = wholeMonths(earlier, later);
    if (monthCount >= 12)
        return phrase(sign * (monthCount / 12), years);
    if (monthCount >= 1)
        return phrase(sign * monthCount, months);
    const qint64 secs = earlier.secsTo(later);
    const qint64 dayCount = secs / 86400;
    if (dayCount >= 7)
        return phrase(sign * (dayCount / 7), weeks);
    if (dayCount >= 1)
        return phrase(sign * dayCount, days);
    if (secs >= 3600)
        return phrase(sign * (secs / 3600), hours);
    if (secs >= 60)
        return phrase(sign * (secs / 60), minutes);
    if (secs >= 1)
        return phrase(sign * secs, seconds);
    return QStringLiteral("now");
}

QString RelativeDate::named(const QDateTime &date)
{
    return named(date, Clock::now());
}
