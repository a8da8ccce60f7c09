// Icon processing throughput: process(imageData:) over 1,000 Shortcuts-style icons, against only
// decoding the same bytes in the same run. Runs without a display (offscreen platform).
// --quick: 50 icons at one edge length; only checks that it completes.
#include "common/BenchOptions.h"
#include "shortcuts/IconProcessing.h"

#ifdef THIMBLECRAFT_HAVE_SIMULATOR
#include "simulator/SimulatedIconRenderer.h"
#endif

#include <QBuffer>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QLinearGradient>
#include <QPainter>
#include <cstdio>

namespace {

QByteArray renderIcon(int i, int edge)
{
    const QColor top = QColor::fromHsv((i * 47) % 360, 190, 235);
    const QColor bottom = QColor::fromHsv((i * 47 + 25) % 360, 220, 250);
#ifdef THIMBLECRAFT_HAVE_SIMULATOR
    const QStringList glyphs = SimulatedIconRenderer::glyphNames();
    return SimulatedIconRenderer::renderPNG(glyphs.at(i % glyphs.size()), top, bottom, edge);
#else
    QImage image(edge, edge, QImage::Format_ARGB32_Premultiplied);
    QPainter p(&image);
    QLinearGradient g(0, 0, 0, edge);
    g.setColorAt(0, top);
    g.setColorAt(1, bottom);
    p.fillRect(image.rect(), g);
    p.setRenderHint(QPainter::Antialiasing);
    p.setBrush(Qt::white);
    p.setPen(Qt::NoPen);
    p.drawEllipse(QRectF(edge * 0.3, edge * 0.3, edge * (0.3 + (i % 7) * 0.02), edge * 0.4));
    p.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
#endif
}

void run(int edge, int count)
{
    QList<QByteArray> icons;
    icons.reserve(count);
    for (int i = 0; i < count; ++i)
        icons.append(renderIcon(i, edge));

    // Warm up decoders and caches.
    for (int i = 0; i < 20; ++i)
        IconProcessing::process(icons[i]);

    QElapsedTimer timer;
    timer.start();
    qint64 decodedPixels = 0;
    for (const QByteArray &bytes : icons) {
        QImage image;
        image.loadFromData(bytes);
        decodedPixels += image.width();
    }
    const double decodeMs = timer.nsecsElapsed() / 1e6;

    timer.restart();
    int results = 0;
    qint64 glyphBytes = 0;
    for (const QByteArray &bytes : icons) {
        if (const auto result = IconProcessing::process(bytes)) {
            ++results;
            glyphBytes += result->glyphPNG.size();
        }
    }
    const double processMs = timer.nsecsElapsed() / 1e6;

    std::printf(
        "%4d x %-4d px: process %8.1f ms (%7.0f icons/s, %d results) | decode only "
        "%8.1f ms (%7.0f icons/s) | ratio %.2f (target <= 2.5); glyph PNG %lld B on average\n",
        edge, edge, processMs, count / (processMs / 1000.0), results, decodeMs,
        count / (decodeMs / 1000.0), processMs / decodeMs, results ? glyphBytes / results : 0LL);
    if (decodedPixels == 0)
        std::printf("nothing decoded\n");
}
} // namespace

int main(int argc, char *argv[])
{
    // Set before the application starts, which reads it (as bench/common/WindowBench.h does).
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const bool quick = BenchOptions::quick(argc, argv);
    const int count = BenchOptions::count(quick, 1000, 50);
    std::printf("IconProcessing::process over %d icons (gradient + white glyph PNG)\n", count);
    // Edge lengths may be given as arguments (bench_icons 128) to profile one size.
    QList<int> edges;
    for (int i = 1; i < argc; ++i)
        if (const int edge = QByteArray(argv[i]).toInt(); edge > 0)
            edges.append(edge);
    if (edges.isEmpty())
        edges = quick ? QList<int>{128} : QList<int>{128, 256, 512};
    for (int edge : edges)
        run(edge, count);
    return 0;
}
