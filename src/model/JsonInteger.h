#pragma once

#include <QJsonValue>
#include <optional>

// A JSON number that is a whole number within the 64-bit range. Integers written as 3.0, or too
// large for Qt's integer form, arrive as doubles and are accepted when they are whole.
std::optional<qint64> jsonInteger(const QJsonValue &value);
