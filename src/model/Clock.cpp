#include "model/Clock.h"

namespace {
std::function<QDateTime()> &source()
{
    static std::function<QDateTime()> s;
    return s;
}
} // namespace

QDateTime Clock::now()
{
    if (auto &s = source())
        return s();
    return QDateTime::currentDateTimeUtc();
}

void Clock::setOverride(std::function<QDateTime()> s)
{
    source() = std::move(s);
}
