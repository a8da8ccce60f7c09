#include "model/ColorFamily.h"

#include <algorithm>
#include <cmath>

QString colorFamilyName(double red, double green, double blue)
{
    const double max = std::max({red, green, blue});
    const double min = std::min({red, green, blue});
    const double delta = max - min;
    if (delta < 0.12)
        return QStringLiteral("Gray");

    // Ties for the largest component favour red, then green.
    double h;
    if (max == red)
        h = std::fmod((green - blue) / delta, 6.0);
    else if (max == green)
        h = (blue - red) / delta + 2;
    else
        h = (red - green) / delta + 4;
    h *= 60;
    if (h < 0)
        h += 360;

    if (max < 0.6 && delta / max < 0.75 && h >= 15 && h < 45)
        return QStringLiteral("Brown");
    if (h < 15 || h >= 335)
        return QStringLiteral("Red");
    if (h < 40)
        return QStringLiteral("Orange");
    if (h < 68)
        return QStringLiteral("Yellow");
    if (h < 160)
        return QStringLiteral("Green");
    if (h < 200)
        return QStringLiteral("Teal");
    if (h < 245)
        return QStringLiteral("Blue");
    if (h < 268)
        return QStringLiteral("Indigo");
    if (h < 300)
        return QStringLiteral("Purple");
    return QStringLiteral("Pink");
}

QStringList colorFamilyNames()
{
    return {QStringLiteral("Gray"),   QStringLiteral("Brown"),  QStringLiteral("Red"),
            QStringLiteral("Orange"), QStringLiteral("Yellow"), QStringLiteral("Green"),
            QStringLiteral("Teal"),   QStringLiteral("Blue"),   QStringLiteral("Indigo"),
            QStringLiteral("Purple"), QStringLiteral("Pink")};
}
