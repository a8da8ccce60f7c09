#pragma once

#include <QDateTime>
#include <algorithm>
#include <cmath>

// Dates in the store are seconds since 1970 as a real number.
inline double toSeconds(const QDateTime &d)
{
    return d.toMSecsSinceEpoch() / 1000.0;
}

inline QDateTime fromSeconds(double s)
{
    // A damaged or foreign file may hold any number here (even infinity); beyond ±300,000 years
    // the conversion to milliseconds would overflow.
    constexpr double limit = 1e13;
    s = std::isnan(s) ? 0.0 : std::clamp(s, -limit, limit);
    return QDateTime::fromMSecsSinceEpoch(qRound64(s * 1000.0), Qt::UTC);
}
