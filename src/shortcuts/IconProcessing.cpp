#include "shortcuts/IconProcessing.h"

#include "model/ColorHex.h"
#include "shortcuts/PngEncoder.h"
#include "shortcuts/PremultipliedRaster.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageReader>
#include <algorithm>
#include <array>
#include <cmath>
#include <mutex>

namespace {
constexpr int kSize = IconProcessing::workingSize;
constexpr int kVisibleAlpha = 32;
constexpr int kCropAlpha = 8;
constexpr double kBackgroundDistance = 0.14;
constexpr double kColouredShare = 0.02;
constexpr double kMinimumAlpha = 0.01;
// Icons are at most a few hundred pixels a side; anything claiming more than this is refused
// before a buffer is made for it.
constexpr int kMaxDimension = 8192;
constexpr qint64 kMaxPixels = qint64(4096) * 4096;
constexpr int kAllocationLimitMB = 128;

struct Rgb {
    double r = 0, g = 0, b = 0;
};

enum : quint8 { invisible = 0, background = 1, whiteGlyph = 2, colouredGlyph = 3 };

// 1 / alpha for every alpha byte: the per-pixel divisions dominate the classification pass.
const std::array<double, 256> kReciprocal = [] {
    std::array<double, 256> r{};
    for (int a = 1; a < 256; ++a)
        r[size_t(a)] = 1.0 / a;
    return r;
}();

// Un-premultiplied components of a premultiplied RGBA pixel with alpha > 0.
inline Rgb components(const uchar *p)
{
    const double inverse = kReciprocal[p[3]];
    return {p[0] * inverse, p[1] * inverse, p[2] * inverse};
}

std::optional<Rgb> averageColour(const QImage &raster, int firstRow, int lastRow, int firstColumn,
                                 int lastColumn)
{
    Rgb sum;
    int count = 0;
    for (int y = firstRow; y <= lastRow; ++y) {
        const uchar *line = raster.constScanLine(y);
        for (int x = firstColumn; x <= lastColumn; ++x) {
            const uchar *p = line + 4 * x;
            if (p[3] <= kVisibleAlpha)
                continue;
            const Rgb c = components(p);
            sum.r += c.r;
            sum.g += c.g;
            sum.b += c.b;
            ++count;
        }
    }
    if (count == 0)
        return std::nullopt;
    return Rgb{sum.r / count, sum.g / count, sum.b / count};
}

inline uchar roundedByte(double v)
{
    // std::round rounds halves away from zero.
    return uchar(std::clamp(std::round(v), 0.0, 255.0));
}

void raiseAllocationLimitOnce()
{
    static std::once_flag once;
    std::call_once(once, [] {
        const int current = QImageReader::allocationLimit();
        if (current == 0 || current > kAllocationLimitMB)
            QImageReader::setAllocationLimit(kAllocationLimitMB);
    });
}
} // namespace

QImage IconProcessing::decodeImage(const QByteArray &imageData)
{
    if (imageData.isEmpty())
        return {};
    raiseAllocationLimitOnce();
    QByteArray bytes = imageData; // shares data; QBuffer needs a non-const array
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::ReadOnly))
        return {};
    QImageReader reader(&buffer);
    reader.setAutoTransform(false);
    const QSize claimed = reader.size();
    if (claimed.isValid() && (claimed.width() > kMaxDimension || claimed.height() > kMaxDimension ||
                              qint64(claimed.width()) * claimed.height() > kMaxPixels))
        return {};
    QImage image;
    if (!reader.read(&image))
        return {};
    if (image.width() > kMaxDimension || image.height() > kMaxDimension)
        return {};
    // Colours are measured in sRGB: an image with its own profile (Display P3, …) is converted.
    const QColorSpace srgb(QColorSpace::SRgb);
    if (image.colorSpace().isValid() && image.colorSpace() != srgb) {
        if (image.depth() < 16) // palettes: converted pixel by pixel, not entry by entry
            image.convertTo(QImage::Format_ARGB32);
        image.convertToColorSpace(srgb);
    }
    return image;
}

std::optional<IconProcessing::Result> IconProcessing::process(const QByteArray &imageData)
{
    const QImage decoded = decodeImage(imageData);
    if (decoded.isNull() || decoded.width() <= 0 || decoded.height() <= 0)
        return std::nullopt;

    // Smooth scaling works on premultiplied ARGB32; the working raster is premultiplied RGBA.
    QImage working;
    if (decoded.size() == QSize(kSize, kSize)) {
        working = decoded.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
    } else {
        working = decoded.convertToFormat(QImage::Format_ARGB32_Premultiplied)
                      .scaled(kSize, kSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        working.convertTo(QImage::Format_RGBA8888_Premultiplied);
    }
    if (working.isNull() || working.size() != QSize(kSize, kSize))
        return std::nullopt;

    const auto top = averageColour(working, 3, 6, 60, 68);
    const auto bottom = averageColour(working, 121, 124, 60, 68);
    if (!top || !bottom)
        return std::nullopt;
    const Rgb t = *top;
    const Rgb b = *bottom;

    const double m = std::min({t.r, t.g, t.b, b.r, b.g, b.b});
    const double w = std::clamp(m + 0.18, 0.6, 0.9);

    std::array<quint8, kSize * kSize> mask{};
    int visible = 0;
    int coloured = 0;
    bool anyGlyph = false;
    for (int y = 0; y < kSize; ++y) {
        const double f = y / 127.0;
        const Rgb expected{t.r + (b.r - t.r) * f, t.g + (b.g - t.g) * f, t.b + (b.b - t.b) * f};
        const uchar *line = working.constScanLine(y);
        for (int x = 0; x < kSize; ++x) {
            const uchar *p = line + 4 * x;
            if (p[3] <= kVisibleAlpha)
                continue;
            ++visible;
            const Rgb c = components(p);
            const double squared = (c.r - expected.r) * (c.r - expected.r) +
                                   (c.g - expected.g) * (c.g - expected.g) +
                                   (c.b - expected.b) * (c.b - expected.b);
            quint8 &cls = mask[size_t(y * kSize + x)];
            if (squared < kBackgroundDistance * kBackgroundDistance) {
                cls = background;
            } else if (std::min({c.r, c.g, c.b}) <= w) {
                cls = colouredGlyph;
                ++coloured;
                anyGlyph = true;
            } else {
                cls = whiteGlyph;
                anyGlyph = true;
            }
        }
    }
    if (!anyGlyph)
        return std::nullopt;

    const bool colouredIcon = visible >= 1 && double(coloured) / visible > kColouredShare;

    QImage output(kSize, kSize, QImage::Format_RGBA8888_Premultiplied);
    if (output.isNull())
        return std::nullopt;
    output.fill(Qt::transparent);
    for (int y = 0; y < kSize; ++y) {
        const uchar *in = working.constScanLine(y);
        uchar *out = output.scanLine(y);
        for (int x = 0; x < kSize; ++x) {
            const quint8 cls = mask[size_t(y * kSize + x)];
            if (cls != whiteGlyph && cls != colouredGlyph)
                continue;
            const uchar *p = in + 4 * x;
            uchar *q = out + 4 * x;
            if (colouredIcon) {
                std::copy(p, p + 4, q);
                continue;
            }
            const double a = p[3] / 255.0;
            const Rgb c = components(p);
            const double v = (std::min({c.r, c.g, c.b}) - w) / (1.0 - w);
            const double alpha = v >= 1 ? a : (v >= 0 ? a * v : 0.0);
            if (alpha <= kMinimumAlpha)
                continue;
            const uchar byte = roundedByte(alpha * 255.0);
            q[0] = q[1] = q[2] = q[3] = byte;
        }
    }

    const auto cropped = trimmedToContent(output);
    if (!cropped)
        return std::nullopt;

    const auto png = PngEncoder::encode(*cropped);
    if (!png)
        return std::nullopt;
    return Result{*png, hexColorString(t.r, t.g, t.b), hexColorString(b.r, b.g, b.b)};
}

std::optional<QRect> IconProcessing::contentBounds(const QImage &image)
{
    const QImage raster = premultipliedRgba(image);
    if (raster.isNull())
        return std::nullopt;
    const int width = raster.width();
    const int height = raster.height();
    int minX = width, maxX = -1, minY = height, maxY = -1;
    for (int y = 0; y < height; ++y) {
        const uchar *line = raster.constScanLine(y);
        for (int x = 0; x < width; ++x) {
            if (line[4 * x + 3] <= kCropAlpha)
                continue;
            minX = std::min(minX, x);
            maxX = std::max(maxX, x);
            minY = std::min(minY, y);
            maxY = std::max(maxY, y);
        }
    }
    if (maxX < 0)
        return std::nullopt;
    return QRect(QPoint(minX, minY), QPoint(maxX, maxY));
}

std::optional<QImage> IconProcessing::trimmedToContent(const QImage &image)
{
    if (image.isNull())
        return std::nullopt;
    const QImage raster = premultipliedRgba(image);
    if (raster.isNull())
        return std::nullopt;
    const int width = raster.width();
    const int height = raster.height();

    const auto content = contentBounds(raster);
    if (!content)
        return std::nullopt;
    const int minX = content->left(), maxX = content->right();
    const int minY = content->top(), maxY = content->bottom();

    const int side = std::max(maxX - minX + 1, maxY - minY + 1);
    const int x0 = std::max(0, (minX + maxX) / 2 - side / 2);
    // Rows: the square is centred on the content so that it holds every inked row (the
    // column rule above may leave out the last column of an even-width glyph).
    const int y0 = std::max(0, minY - (side - (maxY - minY + 1)) / 2);
    const QRect crop = QRect(x0, y0, side, side).intersected(QRect(0, 0, width, height));
    if (crop.isEmpty())
        return std::nullopt;
    QImage result = raster.copy(crop);
    if (result.isNull())
        return std::nullopt;
    return result;
}
