#include "shortcuts/PngEncoder.h"

#include "shortcuts/PremultipliedRaster.h"

#include <cstring>
#include <vector>
#include <zlib.h>

namespace {
constexpr quint8 kGreyAlpha = 4;
constexpr quint8 kRgba = 6;
constexpr quint8 kFilterSub = 1;

void appendBigEndian(std::vector<uchar> &out, quint32 v)
{
    out.push_back(uchar(v >> 24));
    out.push_back(uchar(v >> 16));
    out.push_back(uchar(v >> 8));
    out.push_back(uchar(v));
}

void appendChunk(QByteArray &png, const char type[4], const uchar *data, size_t size)
{
    std::vector<uchar> head;
    appendBigEndian(head, quint32(size));
    head.insert(head.end(), type, type + 4);
    png.append(reinterpret_cast<const char *>(head.data()), qsizetype(head.size()));
    png.append(reinterpret_cast<const char *>(data), qsizetype(size));
    uLong crc = crc32(0L, reinterpret_cast<const Bytef *>(type), 4);
    if (size > 0)
        crc = crc32(crc, data, uInt(size));
    std::vector<uchar> tail;
    appendBigEndian(tail, quint32(crc));
    png.append(reinterpret_cast<const char *>(tail.data()), 4);
}

bool isWhiteOrClear(const QImage &raster)
{
    for (int y = 0; y < raster.height(); ++y) {
        const uchar *p = raster.constScanLine(y);
        for (int x = 0; x < raster.width(); ++x, p += 4) {
            // Premultiplied white has every component equal to its alpha.
            if (p[0] != p[3] || p[1] != p[3] || p[2] != p[3])
                return false;
        }
    }
    return true;
}

inline uchar unpremultiplied(uchar c, uchar a)
{
    return uchar((c * 255 + a / 2) / a);
}

// Filtered scanlines: each row starts with its filter byte; Sub keeps runs of equal pixels as
// zeros, which is most of a glyph.
std::vector<uchar> filteredRows(const QImage &raster, bool grey)
{
    const int width = raster.width();
    const int channels = grey ? 2 : 4;
    const size_t stride = size_t(width) * size_t(channels);
    std::vector<uchar> rows((stride + 1) * size_t(raster.height()));
    std::vector<uchar> line(stride);
    uchar *out = rows.data();
    for (int y = 0; y < raster.height(); ++y) {
        const uchar *p = raster.constScanLine(y);
        for (int x = 0; x < width; ++x, p += 4) {
            uchar *q = line.data() + size_t(x) * size_t(channels);
            const uchar a = p[3];
            if (grey) {
                q[0] = a == 0 ? 0 : 255;
                q[1] = a;
            } else if (a == 0) {
                std::memset(q, 0, 4);
            } else {
                q[0] = unpremultiplied(p[0], a);
                q[1] = unpremultiplied(p[1], a);
                q[2] = unpremultiplied(p[2], a);
                q[3] = a;
            }
        }
        *out++ = kFilterSub;
        for (size_t i = 0; i < stride; ++i)
            out[i] = uchar(line[i] - (i >= size_t(channels) ? line[i - size_t(channels)] : 0));
        out += stride;
    }
    return rows;
}
} // namespace

std::optional<QByteArray> PngEncoder::encode(const QImage &image)
{
    if (image.isNull() || image.width() <= 0 || image.height() <= 0)
        return std::nullopt;
    const QImage raster = premultipliedRgba(image);
    if (raster.isNull())
        return std::nullopt;
    const bool grey = isWhiteOrClear(raster);
    const std::vector<uchar> rows = filteredRows(raster, grey);

    std::vector<uchar> compressed(compressBound(uLong(rows.size())));
    // Sub-filtered glyph rows are mostly runs of zeros; run-length matching finds them as well
    // as full matching does, at less cost.
    z_stream z{};
    if (deflateInit2(&z, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15, 8, Z_RLE) != Z_OK)
        return std::nullopt;
    z.next_in = const_cast<Bytef *>(rows.data());
    z.avail_in = uInt(rows.size());
    z.next_out = compressed.data();
    z.avail_out = uInt(compressed.size());
    const int rc = deflate(&z, Z_FINISH);
    const uLong compressedSize = z.total_out;
    deflateEnd(&z);
    if (rc != Z_STREAM_END)
        return std::nullopt;

    std::vector<uchar> header;
    appendBigEndian(header, quint32(raster.width()));
    appendBigEndian(header, quint32(raster.height()));
    header.insert(header.end(), {8, grey ? kGreyAlpha : kRgba, 0, 0, 0});

    QByteArray png("\x89PNG\r\n\x1a\n", 8);
    png.reserve(qsizetype(compressedSize) + 64);
    appendChunk(png, "IHDR", header.data(), header.size());
    appendChunk(png, "IDAT", compressed.data(), size_t(compressedSize));
    appendChunk(png, "IEND", nullptr, 0);
    return png;
}
