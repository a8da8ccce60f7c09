#pragma once

#include <QDateTime>
#include <QString>

// Relative dates with named units the way people say them: "now", "5 minutes ago",
// "yesterday", "last week", "3 months ago", "tomorrow", "in 2 hours". The largest calendar
// unit that is at least one wins.
namespace RelativeDate {
QString named(const QDateTime &date, const QDateTime &relativeTo);
// Relative to the program's clock.
QString named(const QDateTime &date);
} // namespace RelativeDate
