#pragma once

#include <QByteArray>
#include <QColor>
#include <QCoro/QCoroTask>
#include <QFont>
#include <QHash>
#include <QImage>
#include <QObject>
#include <QPointer>
#include <QUrl>
#include <chrono>
#include <optional>

class QNetworkAccessManager;
class PendingIconLookup;

// App icons as 128 x 128 PNG bytes per bundle identifier: the installed app's icon, else a drawn
// symbol for a few Apple apps, else (asynchronously) the App Store artwork. Main thread only.
class AppIconProvider : public QObject {
    Q_OBJECT
public:
    struct SymbolSubstitute {
        QString bundleID;
        QString symbol;
        QColor background;
        QColor tint;
    };

    static constexpr int size = 128;
    static constexpr double cornerRadiusFactor = 0.2237;
    static constexpr double symbolSizeFactor = 0.46;
    static constexpr qint64 maxLookupBytes = 2 * 1024 * 1024;
    static constexpr qint64 maxArtworkBytes = 8 * 1024 * 1024;

    // The process-wide provider, made on first use.
    static AppIconProvider &shared();

    explicit AppIconProvider(QObject *parent = nullptr);
    ~AppIconProvider() override;

    // Cached, installed or drawn icon; never uses the network.
    std::optional<QByteArray> icon(const QString &bundleID);
    // Cached icon, else the App Store artwork; one lookup per bundle identifier at a time.
    QCoro::Task<std::optional<QByteArray>> remoteIcon(QString bundleID);

    static const QList<SymbolSubstitute> &symbolSubstitutes();
    static std::optional<SymbolSubstitute> symbolSubstitute(const QString &bundleID);
    // The macOS counterpart of another Apple platform's bundle identifier, if there is one.
    static std::optional<QString> aliasFor(const QString &bundleID);

    // The lookup endpoint (path "/lookup"); tests point it at a local server.
    static QUrl defaultLookupUrl();
    void setLookupUrl(const QUrl &url) { m_lookupUrl = url; }
    QUrl lookupUrl() const { return m_lookupUrl; }
    void setTransferTimeout(std::chrono::milliseconds timeout) { m_timeout = timeout; }

    std::optional<QByteArray> cachedIcon(const QString &bundleID) const;
    bool isLookingUp(const QString &bundleID) const { return m_inFlight.contains(bundleID); }

    // The steps, each giving no value on failure.
    std::optional<QByteArray> installedAppIcon(const QString &bundleID);
    static std::optional<QByteArray> drawnSymbolIcon(const QString &symbol,
                                                     const QColor &background, const QColor &tint);
    // The same drawing of one glyph in a given font; nothing when the font lacks the glyph.
    static std::optional<QByteArray> drawnGlyphIcon(const QString &glyph, const QFont &font,
                                                    const QColor &background, const QColor &tint);
    static std::optional<QByteArray> renderedPNG(const QImage &image, bool rounded);
    QCoro::Task<std::optional<QByteArray>> appStoreIcon(QString bundleID);

private:
    QCoro::Task<std::optional<QByteArray>> fetch(QUrl url, qint64 maxBytes);

    QHash<QString, QByteArray> m_cache;
    QHash<QString, QPointer<PendingIconLookup>> m_inFlight;
    QNetworkAccessManager *m_network = nullptr;
    QUrl m_lookupUrl;
    std::chrono::milliseconds m_timeout{20000};
};

// One App Store lookup under way; requests that join it wait for finished().
class PendingIconLookup : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
Q_SIGNALS:
    void finished(std::optional<QByteArray> icon);
};
