#include "model/ColorHex.h"

#include <algorithm>
#include <cmath>

std::optional<RGBComponents> rgbComponentsIfValid(const QString &fromHex)
{
    QStringView text(fromHex);
    // Only spaces and tabs are trimmed: a line break is not whitespace here.
    while (!text.isEmpty() && (text.front() == u' ' || text.front() == u'\t'))
        text = text.mid(1);
    while (!text.isEmpty() && (text.back() == u' ' || text.back() == u'\t'))
        text.chop(1);
    if (text.startsWith(u'#'))
        text = text.mid(1);
    if (text.size() != 6)
        return std::nullopt;
    QStringView digits = text.startsWith(u'+') ? text.mid(1) : text;
    if (digits.isEmpty())
        return std::nullopt;
    quint32 value = 0;
    for (QChar c : digits) {
        int d;
        if (c >= u'0' && c <= u'9')
            d = c.unicode() - u'0';
        else if (c >= u'a' && c <= u'f')
            d = c.unicode() - u'a' + 10;
        else if (c >= u'A' && c <= u'F')
            d = c.unicode() - u'A' + 10;
        else
            return std::nullopt;
        value = value * 16 + quint32(d);
    }
    return RGBComponents{((value >> 16) & 0xFF) / 255.0, ((value >> 8) & 0xFF) / 255.0,
                         (value & 0xFF) / 255.0};
}

RGBComponents rgbComponents(const QString &fromHex)
{
    return rgbComponentsIfValid(fromHex).value_or(RGBComponents{0.45, 0.45, 0.5});
}

QString hexColorString(double red, double green, double blue)
{
    auto byte = [](double c) {
        if (std::isnan(c)) // would pass the clamp and index outside the digit table
            return 0;
        const double v = std::round(c * 255.0); // std::round rounds half away from zero
        return int(std::clamp(v, 0.0, 255.0));
    };
    // Formatted by hand: sync formats one colour per shortcut, and asprintf dominated that.
    static constexpr char16_t digits[] = u"0123456789ABCDEF";
    QString hex(7, Qt::Uninitialized);
    QChar *out = hex.data();
    out[0] = u'#';
    int i = 1;
    for (const int v : {byte(red), byte(green), byte(blue)}) {
        out[i++] = digits[v >> 4];
        out[i++] = digits[v & 0xF];
    }
    return hex;
}
