#include "common/TestImages.h"
#include "model/ColorHex.h"
#include "shortcuts/IconProcessing.h"
#include "shortcuts/PngEncoder.h"

#include <QColorSpace>
#include <QColorTransform>
#include <QtConcurrent>
#include <QtTest>

namespace {
void compareHex(const QString &hex, const QColor &expected, int tolerance)
{
    const auto c = rgbComponentsIfValid(hex);
    QVERIFY2(c.has_value(), qPrintable(hex));
    QVERIFY2(std::abs(qRound(c->red * 255) - expected.red()) <= tolerance, qPrintable(hex));
    QVERIFY2(std::abs(qRound(c->green * 255) - expected.green()) <= tolerance, qPrintable(hex));
    QVERIFY2(std::abs(qRound(c->blue * 255) - expected.blue()) <= tolerance, qPrintable(hex));
}

quint32 crc32(const QByteArray &data)
{
    quint32 crc = 0xFFFFFFFFu;
    for (const char ch : data) {
        crc ^= quint8(ch);
        for (int k = 0; k < 8; ++k)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }

    return ~crc;
}

void appendBigEndian(QByteArray &out, quint32 v)
{
    out.append(char(v >> 24)).append(char(v >> 16)).append(char(v >> 8)).append(char(v));
}

// A PNG whose header claims the given size, with a tiny (wrong) body.
QByteArray pngClaiming(quint32 width, quint32 height)
{
    QByteArray png("\x89PNG\r\n\x1a\n", 8);
    QByteArray ihdr("IHDR");
    appendBigEndian(ihdr, width);
    appendBigEndian(ihdr, height);
    ihdr.append(char(8)).append(char(6)).append(char(0)).append(char(0)).append(char(0));
    appendBigEndian(png, 13);
    png.append(ihdr);
    appendBigEndian(png, crc32(ihdr));
    QByteArray idat("IDAT");
    idat.append(QByteArray(16, '\0'));
    appendBigEndian(png, 16);
    png.append(idat);
    appendBigEndian(png, crc32(idat));
    return png;
}

const QColor kRed(0xFF, 0x3B, 0x30);
const QColor kOrange(0xFF, 0x95, 0x00);
} // namespace

class TestIconProcessing : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void whiteGlyphOnGradient()
    {
        const QImage source = gradientIcon(512, kRed, kOrange, [](QPainter &p, int edge) {
            p.setPen(Qt::NoPen);
            p.setBrush(Qt::white);
            p.drawEllipse(QPointF(edge / 2.0, edge / 2.0), edge * 0.25, edge * 0.25);
        });
        const auto result = IconProcessing::process(encodedImage(source));
        QVERIFY(result.has_value());
        compareHex(result->topHex, kRed, 6);
        compareHex(result->bottomHex, kOrange, 6);
        QVERIFY(result->topHex.startsWith(u'#') && result->topHex.size() == 7);
        QCOMPARE(result->topHex, result->topHex.toUpper());

        const QImage glyph = decodedPng(result->glyphPNG);
        // The circle is half the icon wide: about 64 of 128 working pixels, cropped square.
        QCOMPARE(glyph.width(), glyph.height());
        QVERIFY2(qAbs(glyph.width() - 64) <= 2, qPrintable(QString::number(glyph.width())));
        // Soft edges fade in alpha, never in colour: every visible pixel is white.
        QCOMPARE(pixelsWhere(glyph,
                             [](QRgb px) {
                                 return qAlpha(px) > 0 &&
                                        (qRed(px) < 250 || qGreen(px) < 250 || qBlue(px) < 250);
                             })
                     .first,
                 0);
        QCOMPARE(qAlpha(glyph.pixel(glyph.width() / 2, glyph.height() / 2)), 255);
        QVERIFY(qAlpha(glyph.pixel(0, 0)) == 0); // outside the circle
        // ~ pi * 32^2 minus the rim
        QVERIFY(pixelsWhere(glyph, [](QRgb px) { return qAlpha(px) == 255; }).first > 2500);
    }

    // One pixel of a 64 x 64 glyph cut from a 128-pixel working copy: its colour and alpha.
    void glyphPixels_data()
    {
        QTest::addColumn<QImage>("icon");
        QTest::addColumn<QPoint>("at");
        QTest::addColumn<QColor>("expected");
        QTest::addColumn<int>("tolerance");
        const QColor blue(20, 60, 230);
        const QColor yellow(250, 220, 20);
        const QImage coloured = gradientIcon(256, kRed, kOrange, [&](QPainter &p, int) {
            p.fillRect(QRect(64, 64, 64, 128), blue);
            p.fillRect(QRect(128, 64, 64, 128), yellow);
        });
        QTest::newRow("coloured glyph, blue half") << coloured << QPoint(16, 32) << blue << 2;
        QTest::newRow("coloured glyph, yellow half") << coloured << QPoint(48, 32) << yellow << 2;
        // A white frame whose inside shows the gradient again, as the letter O shows the
        // background: the inside is transparent.
        const QImage frame = gradientIcon(256, kRed, kOrange, [](QPainter &p, int edge) {
            p.fillRect(QRect(64, 64, 128, 128), Qt::white);
            p.fillRect(QRect(96, 96, 64, 64), verticalGradient(edge, kRed, kOrange));
        });
        const QColor clear(0, 0, 0, 0);
        const QColor white(Qt::white);
        QTest::newRow("frame, inside") << frame << QPoint(32, 32) << clear << 0;
        QTest::newRow("frame, left side") << frame << QPoint(4, 32) << white << 2;
        QTest::newRow("frame, bottom side") << frame << QPoint(32, 60) << white << 2;
        // A grey square on a grey background. Dark background: threshold 0.6, so grey 0.8 is
        // half way to white. Light background: threshold 0.9, so grey 0.95 is.
        auto square = [](double background, double glyph) {
            const QColor bg = QColor::fromRgbF(background, background, background);
            const QColor fg = QColor::fromRgbF(glyph, glyph, glyph);
            return gradientIcon(128, bg, bg,
                                [&](QPainter &p, int) { p.fillRect(QRect(32, 32, 64, 64), fg); });
        };
        const QColor halfWhite(255, 255, 255, 128);
        QTest::newRow("dark, grey 0.8") << square(0.05, 0.8) << QPoint(32, 32) << halfWhite << 4;
        QTest::newRow("dark, white") << square(0.05, 1.0) << QPoint(32, 32) << white << 4;
        QTest::newRow("light, grey 0.95") << square(0.8, 0.95) << QPoint(32, 32) << halfWhite << 4;
        QTest::newRow("light, white") << square(0.8, 1.0) << QPoint(32, 32) << white << 4;
        // Below the threshold a glyph pixel counts as coloured and keeps its own colour.
        QTest::newRow("light, grey 0.3")
            << square(0.8, 0.3) << QPoint(32, 32) << QColor::fromRgbF(0.3, 0.3, 0.3) << 1;
    }

    void glyphPixels()
    {
        QFETCH(QImage, icon);
        QFETCH(QPoint, at);
        QFETCH(QColor, expected);
        QFETCH(int, tolerance);
        const auto result = IconProcessing::process(encodedImage(icon));
        QVERIFY(result.has_value());
        const QImage glyph = decodedPng(result->glyphPNG);
        QCOMPARE(glyph.size(), QSize(64, 64));
        const QColor got = glyph.pixelColor(at);
        const auto text =
            QStringLiteral("%1 alpha %2").arg(got.name(), QString::number(got.alpha()));
        QVERIFY2(qAbs(got.alpha() - expected.alpha()) <= tolerance, qPrintable(text));
        if (expected.alpha() > 0)
            QVERIFY2(qAbs(got.red() - expected.red()) <= tolerance &&
                         qAbs(got.green() - expected.green()) <= tolerance &&
                         qAbs(got.blue() - expected.blue()) <= tolerance,
                     qPrintable(text));
    }

    void noResult_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QImage transparent(128, 128, QImage::Format_ARGB32_Premultiplied);
        transparent.fill(Qt::transparent);
        QTest::newRow("fully transparent") << encodedImage(transparent);
        QTest::newRow("gradient without glyph") << encodedImage(gradientIcon(256, kRed, kOrange));
        // The glyph is there but the top sample area is transparent.
        QImage holed = gradientIcon(256, kRed, kOrange, [](QPainter &p, int) {
            p.fillRect(QRect(96, 96, 64, 64), Qt::white);
            p.setCompositionMode(QPainter::CompositionMode_Clear);
            p.fillRect(QRect(0, 0, 256, 16), Qt::transparent);
        });
        QTest::newRow("transparent top sample") << encodedImage(holed);
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("not an image") << QByteArray("this is not an image at all");
        QTest::newRow("truncated png") << encodedImage(gradientIcon(64, kRed, kOrange)).left(60);
        QTest::newRow("claims 100000 x 100000") << pngClaiming(100000, 100000);
        QTest::newRow("claims 60000 x 1") << pngClaiming(60000, 1);
    }

    void noResult()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(!IconProcessing::process(bytes).has_value());
    }

    void trimmedToContent_data()
    {
        QTest::addColumn<QSize>("imageSize");
        QTest::addColumn<QRect>("content");
        QTest::addColumn<QRect>("expectedCrop");
        // Centred content: the square centred on it.
        QTest::newRow("centred, wide")
            << QSize(100, 100) << QRect(30, 40, 40, 20) << QRect(29, 30, 40, 40);
        // The square would reach past the right edge and is cut there.
        QTest::newRow("cut at the right edge")
            << QSize(100, 60) << QRect(90, 10, 10, 40) << QRect(74, 10, 26, 40);
        // Rows: the square holds the content, centred on it, wherever it sits.
        QTest::newRow("content at the top")
            << QSize(40, 100) << QRect(15, 0, 10, 10) << QRect(14, 0, 10, 10);
        QTest::newRow("wide glyph above the middle")
            << QSize(128, 128) << QRect(40, 10, 48, 30) << QRect(39, 1, 48, 48);
        QTest::newRow("tall glyph low down")
            << QSize(128, 128) << QRect(20, 70, 10, 50) << QRect(0, 70, 50, 50);
        QTest::newRow("whole image") << QSize(20, 20) << QRect(0, 0, 20, 20) << QRect(0, 0, 20, 20);
    }

    void trimmedToContent()
    {
        QFETCH(QSize, imageSize);
        QFETCH(QRect, content);
        QFETCH(QRect, expectedCrop);
        QImage image(imageSize, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        // Faint pixels (alpha 8) do not count as content.
        image.setPixel(0, imageSize.height() - 1, qRgba(8, 8, 8, 8));
        {
            QPainter p(&image);
            p.fillRect(content, QColor(10, 200, 30));
        }
        const auto cropped = IconProcessing::trimmedToContent(image);
        QVERIFY(cropped.has_value());
        QCOMPARE(cropped->size(), expectedCrop.size());
        const QImage expected = image.copy(expectedCrop).convertToFormat(QImage::Format_ARGB32);
        QCOMPARE(cropped->convertToFormat(QImage::Format_ARGB32), expected);

        QImage empty(imageSize, QImage::Format_ARGB32_Premultiplied);
        empty.fill(qRgba(8, 8, 8, 8));
        QVERIFY(!IconProcessing::trimmedToContent(empty).has_value());
        QVERIFY(!IconProcessing::trimmedToContent(QImage()).has_value());
    }

    // A white dot in the top-left corner and a glyph sitting high: the crop holds all their ink.
    void glyphAwayFromTheMiddleIsKept()
    {
        const QImage dot =
            gradientIcon(128, QColor(30, 60, 200), QColor(40, 80, 220), [](QPainter &p, int) {
                p.setPen(Qt::NoPen);
                p.setBrush(Qt::white);
                p.drawEllipse(QRectF(12, 12, 18, 18));
            });
        const auto result = IconProcessing::process(encodedImage(dot));
        QVERIFY(result);
        const QImage glyph = decodedPng(result->glyphPNG);
        QCOMPARE(glyph.width(), glyph.height());
        const int opaque = pixelsWhere(glyph, [](QRgb px) { return qAlpha(px) > 200; }).first;
        QVERIFY2(opaque > 150, qPrintable(QString::number(opaque)));

        // The glyph's first and last inked rows are as far from the top as from the bottom.
        const QImage high =
            gradientIcon(128, QColor(200, 40, 40), QColor(230, 120, 40),
                         [](QPainter &p, int) { p.fillRect(QRect(24, 40, 80, 20), Qt::white); });
        const QImage car = decodedPng(IconProcessing::process(encodedImage(high))->glyphPNG);
        const QRect ink = pixelsWhere(car, [](QRgb px) { return qAlpha(px) > 8; }).second;
        QVERIFY(!ink.isNull());
        const int below = car.height() - 1 - ink.bottom();
        QVERIFY2(qAbs(ink.top() - below) <= 1,
                 qPrintable(QStringLiteral("%1 rows above, %2 below")
                                .arg(QString::number(ink.top()), QString::number(below))));
    }

    // A Display P3 icon: its colours are converted before they are measured.
    void colourManagedImagesAreSampledInSrgb()
    {
        const QColor p3Top(200, 60, 60);
        const QColor p3Bottom(40, 160, 90);
        QImage icon = gradientIcon(128, p3Top, p3Bottom, [](QPainter &p, int edge) {
            p.fillRect(QRect(edge / 4, edge / 3, edge / 2, edge / 3), Qt::white);
        });
        // The same numbers read as sRGB, then converted as Display P3 colours.
        const auto asNumbers = IconProcessing::process(encodedImage(icon));
        QVERIFY(asNumbers);
        icon.setColorSpace(QColorSpace(QColorSpace::DisplayP3));
        const QByteArray png = encodedImage(icon);
        QVERIFY(QImage::fromData(png).colorSpace() == QColorSpace(QColorSpace::DisplayP3));
        const auto result = IconProcessing::process(png);
        QVERIFY(result);
        const QColorTransform toSrgb =
            QColorSpace(QColorSpace::DisplayP3).transformationToColorSpace(QColorSpace::SRgb);
        compareHex(result->topHex, toSrgb.map(QColor(asNumbers->topHex)), 3);
        compareHex(result->bottomHex, toSrgb.map(QColor(asNumbers->bottomHex)), 3);
        QVERIFY(result->topHex != asNumbers->topHex);
    }

    void runsOnManyThreadsAtOnce()
    {
        QList<QByteArray> inputs;
        for (int i = 0; i < 48; ++i) {
            const QColor top = QColor::fromHsv((i * 37) % 360, 200, 220);
            const QColor bottom = QColor::fromHsv((i * 37 + 30) % 360, 200, 250);
            inputs.append(
                encodedImage(gradientIcon(160 + i, top, bottom, [i](QPainter &p, int edge) {
                    p.setBrush(Qt::white);
                    p.setPen(Qt::NoPen);
                    p.drawEllipse(
                        QRectF(edge * 0.3, edge * 0.25, edge * (0.3 + i % 5 * 0.05), edge * 0.4));
                })));
        }
        QList<std::optional<IconProcessing::Result>> serial;
        for (const QByteArray &bytes : inputs)
            serial.append(IconProcessing::process(bytes));
        const auto parallel = QtConcurrent::blockingMapped(
            inputs, [](const QByteArray &bytes) { return IconProcessing::process(bytes); });
        QCOMPARE(parallel.size(), serial.size());
        for (qsizetype i = 0; i < serial.size(); ++i) {
            QVERIFY(serial[i].has_value());
            QVERIFY(parallel[i] == serial[i]);
        }
    }

    void pngEncoderRoundTrips_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::addColumn<int>("colourType");
        auto glyph = [](QSize size, QColor colour, QImage::Format format) {
            QImage image(size, format);
            image.fill(Qt::transparent);
            QPainter p(&image);
            p.setRenderHint(QPainter::Antialiasing);
            p.setPen(Qt::NoPen);
            p.setBrush(colour);
            p.drawEllipse(QRectF(QPointF(0.5, 0.5), QSizeF(size) * 0.8));
            p.setBrush(QColor(colour.red(), colour.green(), colour.blue(), 90));
            p.drawRect(QRectF(0, 0, size.width() * 0.3, size.height()));
            return image;
        };
        // White with every shade of alpha fits grey + alpha; anything else needs RGBA.
        QTest::newRow("white glyph")
            << glyph({128, 128}, Qt::white, QImage::Format_RGBA8888_Premultiplied) << 4;
        QTest::newRow("coloured glyph, not square")
            << glyph({37, 90}, QColor(20, 140, 250), QImage::Format_RGBA8888_Premultiplied) << 6;
        QTest::newRow("straight alpha input")
            << glyph({64, 64}, QColor(250, 250, 20), QImage::Format_ARGB32) << 6;
        QImage single(1, 1, QImage::Format_RGBA8888_Premultiplied);
        single.fill(QColor(255, 255, 255, 128));
        QTest::newRow("1 x 1 half white") << single << 4;
    }

    void pngEncoderRoundTrips()
    {
        QFETCH(QImage, image);
        QFETCH(int, colourType);
        const auto png = PngEncoder::encode(image);
        QVERIFY(png.has_value());
        QCOMPARE(int(png->at(25)), colourType);
        QImage decoded;
        QVERIFY(decoded.loadFromData(*png, "PNG"));
        const QImage expected = image.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
        decoded.convertTo(QImage::Format_RGBA8888_Premultiplied);
        QCOMPARE(decoded.size(), expected.size());
        for (int y = 0; y < expected.height(); ++y) {
            const uchar *a = expected.constScanLine(y);
            const uchar *b = decoded.constScanLine(y);
            for (int i = 0; i < expected.width() * 4; ++i)
                QVERIFY2(std::abs(a[i] - b[i]) <= 1,
                         qPrintable(QStringLiteral("row %1 byte %2: %3 vs %4")
                                        .arg(y)
                                        .arg(i)
                                        .arg(a[i])
                                        .arg(b[i])));
        }
        QVERIFY(!PngEncoder::encode(QImage()).has_value());
    }
};

QTEST_GUILESS_MAIN(TestIconProcessing)
#include "tst_iconprocessing.moc"
