#pragma once

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QString>
#include <optional>

// Where the database pass gets app icons: at once (installed app or drawn symbol) or by a
// remote lookup. The program uses AppIconProvider; tests supply their own.
class AppIconSource {
public:
    virtual ~AppIconSource() = default;
    virtual std::optional<QByteArray> icon(const QString &bundleID) = 0;
    virtual QCoro::Task<std::optional<QByteArray>> remoteIcon(QString bundleID) = 0;
    // Bundle identifiers whose icon is drawn from a symbol (drawings are versioned).
    virtual bool isDrawnSymbolIcon(const QString &bundleID) const = 0;
};
