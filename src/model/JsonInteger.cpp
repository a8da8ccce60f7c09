#include "model/JsonInteger.h"

#include <QVariant>
#include <cmath>

std::optional<qint64> jsonInteger(const QJsonValue &value)
{
    if (!value.isDouble())
        return std::nullopt;
    const QVariant variant = value.toVariant();
    if (variant.typeId() == QMetaType::LongLong)
        return variant.toLongLong();
    const double d = value.toDouble();
    if (!std::isfinite(d) || d != std::trunc(d) || d < -0x1p63 || d >= 0x1p63)
        return std::nullopt;
    return qint64(d);
}
