#include "shortcuts/AppIconProvider.h"

#include "shortcuts/IconProcessing.h"
#include "shortcuts/SymbolTable.h"
#include "shortcuts/Workspace.h"

#include <QBuffer>
#include <QCoro/QCoroNetworkReply>
#include <QCoro/QCoroSignal>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPainter>
#include <QPainterPath>
#include <QRawFont>
#include <QUrlQuery>

namespace {
const QHash<QString, QString> &aliases()
{
    static const QHash<QString, QString> table = {
        {QStringLiteral("com.apple.mobilesafari"), QStringLiteral("com.apple.Safari")},
        {QStringLiteral("com.apple.mobilenotes"), QStringLiteral("com.apple.Notes")},
        {QStringLiteral("com.apple.mobilemail"), QStringLiteral("com.apple.mail")},
        {QStringLiteral("com.apple.mobilecal"), QStringLiteral("com.apple.iCal")},
        {QStringLiteral("com.apple.mobileslideshow"), QStringLiteral("com.apple.Photos")},
        {QStringLiteral("com.apple.MobileSMS"), QStringLiteral("com.apple.MobileSMS")},
        {QStringLiteral("com.apple.mobiletimer"), QStringLiteral("com.apple.clock")},
        {QStringLiteral("com.apple.Preferences"), QStringLiteral("com.apple.systempreferences")},
        {QStringLiteral("com.apple.DocumentsApp"), QStringLiteral("com.apple.finder")},
        {QStringLiteral("com.apple.iBooks"), QStringLiteral("com.apple.iBooksX")},
        {QStringLiteral("com.apple.MobileStore"), QStringLiteral("com.apple.AppStore")},
        {QStringLiteral("com.apple.facetime"), QStringLiteral("com.apple.FaceTime")},
        {QStringLiteral("com.apple.mobilephone"), QStringLiteral("com.apple.FaceTime")},
        {QStringLiteral("com.apple.tv"), QStringLiteral("com.apple.TV")},
        {QStringLiteral("com.apple.camera"), QStringLiteral("com.apple.PhotoBooth")},
        {QStringLiteral("com.apple.Bridge"), QStringLiteral("com.apple.Bridge")},
    };
    return table;
}

QColor grey(double level)
{
    return QColor::fromRgbF(float(level), float(level), float(level));
}

QColor rgb(double r, double g, double b)
{
    return QColor::fromRgbF(float(r), float(g), float(b));
}

QPainterPath roundedSquare()
{
    QPainterPath path;
    const qreal radius = AppIconProvider::cornerRadiusFactor * AppIconProvider::size;
    path.addRoundedRect(QRectF(0, 0, AppIconProvider::size, AppIconProvider::size), radius, radius);
    return path;
}

QImage transparentCanvas()
{
    QImage canvas(AppIconProvider::size, AppIconProvider::size,
                  QImage::Format_ARGB32_Premultiplied);
    if (!canvas.isNull())
        canvas.fill(Qt::transparent);
    return canvas;
}

std::optional<QByteArray> encodePNG(const QImage &image)
{
    if (image.isNull())
        return std::nullopt;
    QByteArray png;
    QBuffer buffer(&png);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG") || png.isEmpty())
        return std::nullopt;
    return png;
}

bool isHttp(const QUrl &url)
{
    const QString scheme = url.scheme().toLower();
    return url.isValid() && !url.host().isEmpty() &&
           (scheme == QLatin1String("https") || scheme == QLatin1String("http"));
}

// Failures of the HTTP exchange itself count; an error status with a body is left to the parser.
bool isTransportError(const QNetworkReply *reply)
{
    const QNetworkReply::NetworkError error = reply->error();
    if (error == QNetworkReply::NoError)
        return false;
    const bool statusError =
        (error >= QNetworkReply::ContentAccessDenied &&
         error <= QNetworkReply::UnknownContentError) ||
        (error >= QNetworkReply::InternalServerError && error <= QNetworkReply::UnknownServerError);
    return !(statusError && reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid());
}
} // namespace

AppIconProvider &AppIconProvider::shared()
{
    static AppIconProvider *instance = new AppIconProvider();
    return *instance;
}

AppIconProvider::AppIconProvider(QObject *parent)
    : QObject(parent), m_network(new QNetworkAccessManager(this)), m_lookupUrl(defaultLookupUrl())
{
}

AppIconProvider::~AppIconProvider() = default;

QUrl AppIconProvider::defaultLookupUrl()
{
    return QUrl(QStringLiteral("https://itunes.apple.com/lookup"));
}

const QList<AppIconProvider::SymbolSubstitute> &AppIconProvider::symbolSubstitutes()
{
    static const QList<SymbolSubstitute> table = {
        {QStringLiteral("com.apple.TVRemoteApp"), QStringLiteral("appletvremote.gen4.fill"),
         grey(0.9), grey(0.22)},
        {QStringLiteral("com.apple.TVRemoteUIService"), QStringLiteral("appletvremote.gen4.fill"),
         grey(0.9), grey(0.22)},
        {QStringLiteral("com.apple.Health"), QStringLiteral("heart.fill"), grey(1.0),
         rgb(1.0, 0.23, 0.4)},
        {QStringLiteral("com.apple.camera"), QStringLiteral("camera.fill"), grey(0.35), grey(1.0)},
        {QStringLiteral("com.apple.Translate"), QStringLiteral("character.bubble.fill"),
         rgb(0.1, 0.1, 0.12), grey(1.0)},
        {QStringLiteral("com.apple.Bridge"), QStringLiteral("applewatch"), grey(0.0), grey(1.0)},
        {QStringLiteral("com.apple.mobilephone"), QStringLiteral("phone.fill"),
         rgb(0.2, 0.78, 0.35), grey(1.0)},
        {QStringLiteral("com.apple.Fitness"), QStringLiteral("figure.run"), grey(0.0),
         rgb(0.98, 0.2, 0.3)},
        {QStringLiteral("com.apple.compass"), QStringLiteral("safari.fill"), grey(0.0), grey(1.0)},
        {QStringLiteral("com.apple.measure"), QStringLiteral("ruler.fill"), grey(0.0), grey(1.0)},
        {QStringLiteral("com.apple.Magnifier"), QStringLiteral("plus.magnifyingglass"), grey(0.0),
         grey(1.0)},
        {QStringLiteral("com.apple.shortcuts"), QStringLiteral("square.2.layers.3d.fill"),
         rgb(0.3, 0.4, 0.95), grey(1.0)},
    };
    return table;
}

std::optional<AppIconProvider::SymbolSubstitute>
AppIconProvider::symbolSubstitute(const QString &bundleID)
{
    for (const SymbolSubstitute &s : symbolSubstitutes()) {
        if (s.bundleID == bundleID)
            return s;
    }
    return std::nullopt;
}

std::optional<QString> AppIconProvider::aliasFor(const QString &bundleID)
{
    const auto it = aliases().constFind(bundleID);
    if (it == aliases().constEnd())
        return std::nullopt;
    return *it;
}

std::optional<QByteArray> AppIconProvider::cachedIcon(const QString &bundleID) const
{
    const auto it = m_cache.constFind(bundleID);
    if (it == m_cache.constEnd())
        return std::nullopt;
    return *it;
}

std::optional<QByteArray> AppIconProvider::icon(const QString &bundleID)
{
    if (auto cached = cachedIcon(bundleID))
        return cached;
    std::optional<QByteArray> bytes = installedAppIcon(bundleID);
    if (!bytes) {
        const auto substitute = symbolSubstitute(bundleID);
        if (!substitute)
            return std::nullopt;
        bytes = drawnSymbolIcon(substitute->symbol, substitute->background, substitute->tint);
    }
    if (bytes)
        m_cache.insert(bundleID, *bytes);
    return bytes;
}

std::optional<QByteArray> AppIconProvider::installedAppIcon(const QString &bundleID)
{
    QStringList candidates{bundleID};
    if (const auto alias = aliasFor(bundleID))
        candidates.append(*alias);
    for (const QString &candidate : std::as_const(candidates)) {
        const QImage image = Workspace::shared().applicationIcon(candidate);
        if (image.isNull())
            continue;
        if (auto png = renderedPNG(image, false))
            return png;
    }
    return std::nullopt;
}

std::optional<QByteArray> AppIconProvider::drawnSymbolIcon(const QString &symbol,
                                                           const QColor &background,
                                                           const QColor &tint)
{
    const std::optional<QString> glyph = SymbolTable::glyphIfKnown(symbol);
    if (!glyph)
        return std::nullopt;
    return drawnGlyphIcon(*glyph, SymbolTable::font(symbolSizeFactor * size), background, tint);
}

std::optional<QByteArray> AppIconProvider::drawnGlyphIcon(const QString &glyph, const QFont &font,
                                                          const QColor &background,
                                                          const QColor &tint)
{
    // A font without the glyph (or a stand-in for a missing font) would draw a box instead.
    const QRawFont raw = QRawFont::fromFont(font);
    const QList<uint> codePoints = glyph.toUcs4();
    if (!raw.isValid() || codePoints.isEmpty() || !raw.supportsCharacter(codePoints.first()) ||
        raw.familyName() != font.family())
        return std::nullopt;
    QPainterPath glyphPath;
    glyphPath.addText(0, 0, font, glyph);
    const QRectF bounds = glyphPath.boundingRect();
    if (glyphPath.isEmpty() || bounds.isEmpty())
        return std::nullopt;

    QImage canvas = transparentCanvas();
    if (canvas.isNull())
        return std::nullopt;
    {
        QPainter painter(&canvas);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.fillPath(roundedSquare(), background);
        // Centre the glyph's own box on the canvas, as a symbol image of that size would be.
        painter.translate((size - bounds.width()) * 0.5 - bounds.left(),
                          (size - bounds.height()) * 0.5 - bounds.top());
        painter.fillPath(glyphPath, tint);
    }
    return encodePNG(canvas);
}

std::optional<QByteArray> AppIconProvider::renderedPNG(const QImage &image, bool rounded)
{
    if (image.isNull())
        return std::nullopt;
    QImage canvas = transparentCanvas();
    if (canvas.isNull())
        return std::nullopt;
    {
        QPainter painter(&canvas);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        if (rounded)
            painter.setClipPath(roundedSquare());
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        painter.drawImage(QRectF(0, 0, size, size), image);
    }
    return encodePNG(canvas);
}

QCoro::Task<std::optional<QByteArray>> AppIconProvider::remoteIcon(QString bundleID)
{
    if (auto cached = cachedIcon(bundleID))
        co_return cached;

    if (const QPointer<PendingIconLookup> pending = m_inFlight.value(bundleID)) {
        const std::optional<QByteArray> shared =
            co_await qCoro(pending.data(), &PendingIconLookup::finished);
        co_return shared;
    }

    QPointer<AppIconProvider> self(this);
    auto *pending = new PendingIconLookup(this);
    m_inFlight.insert(bundleID, pending);
    const std::optional<QByteArray> result = co_await appStoreIcon(bundleID);
    if (!self) {
        co_return std::nullopt;
    }
    m_inFlight.remove(bundleID);
    if (result)
        m_cache.insert(bundleID, *result);
    Q_EMIT pending->finished(result);
    pending->deleteLater();
    co_return result;
}

QCoro::Task<std::optional<QByteArray>> AppIconProvider::fetch(QUrl url, qint64 maxBytes)
{
    QNetworkRequest request(url);
    request.setTransferTimeout(int(m_timeout.count()));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setMaximumRedirectsAllowed(5);
    QPointer<QNetworkReply> reply = m_network->get(request);
    if (!reply)
        co_return std::nullopt;
    // Stop reading as soon as the answer is larger than anything sensible.
    connect(reply, &QNetworkReply::downloadProgress, reply,
            [reply, maxBytes](qint64 got, qint64 total) {
                if (got > maxBytes || total > maxBytes) {
                    reply->setProperty("tooLarge", true);
                    reply->abort();
                }
            });
    co_await reply.data();
    if (!reply)
        co_return std::nullopt;
    reply->deleteLater();
    if (reply->property("tooLarge").toBool() || isTransportError(reply))
        co_return std::nullopt;
    const QByteArray body = reply->read(maxBytes + 1);
    if (body.size() > maxBytes)
        co_return std::nullopt;
    co_return body;
}

QCoro::Task<std::optional<QByteArray>> AppIconProvider::appStoreIcon(QString bundleID)
{
    QPointer<AppIconProvider> self(this);
    QUrl url = m_lookupUrl;
    if (!isHttp(url) || bundleID.isEmpty())
        co_return std::nullopt;
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("bundleId"), bundleID);
    query.addQueryItem(QStringLiteral("country"), QStringLiteral("us"));
    url.setQuery(query);
    if (!url.isValid())
        co_return std::nullopt;

    const std::optional<QByteArray> lookup = co_await fetch(url, maxLookupBytes);
    if (!self || !lookup)
        co_return std::nullopt;

    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(*lookup, &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isObject())
        co_return std::nullopt;
    const QJsonValue results = document.object().value(QLatin1String("results"));
    if (!results.isArray() || results.toArray().isEmpty())
        co_return std::nullopt;
    const QJsonValue first = results.toArray().first();
    if (!first.isObject())
        co_return std::nullopt;
    const QJsonValue artwork = first.toObject().value(QLatin1String("artworkUrl100"));
    if (!artwork.isString())
        co_return std::nullopt;
    QString artworkText = artwork.toString();
    artworkText.replace(QLatin1String("100x100bb"), QLatin1String("256x256bb"));
    const QUrl artworkUrl(artworkText, QUrl::StrictMode);
    if (!isHttp(artworkUrl))
        co_return std::nullopt;

    const std::optional<QByteArray> imageBytes = co_await fetch(artworkUrl, maxArtworkBytes);
    if (!self || !imageBytes)
        co_return std::nullopt;
    const QImage image = IconProcessing::decodeImage(*imageBytes);
    if (image.isNull())
        co_return std::nullopt;
    co_return renderedPNG(image, true);
}
