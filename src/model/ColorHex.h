#pragma once

#include <QString>
#include <optional>

struct RGBComponents {
    double red = 0;
    double green = 0;
    double blue = 0;
    bool operator==(const RGBComponents &) const = default;
};

// Parses "#RRGGBB" (leading "#" optional, surrounding spaces and tabs ignored); malformed text
// gives the grey-blue fallback (0.45, 0.45, 0.5).
RGBComponents rgbComponents(const QString &fromHex);
// Same validation; no value for malformed or empty text.
std::optional<RGBComponents> rgbComponentsIfValid(const QString &fromHex);
// "#RRGGBB" in upper case; each component rounded half away from zero after scaling by 255.
QString hexColorString(double red, double green, double blue);
