#pragma once

#include <QDateTime>
#include <functional>

// The program's notion of "now", replaceable so that tests can pin time.
namespace Clock {
QDateTime now();
void setOverride(std::function<QDateTime()> source); // empty function restores the system clock
} // namespace Clock
