#include "model/LibraryLinks.h"

#include <QUrlQuery>

namespace {
const QString kScheme = QStringLiteral("thimblecraft");

QUrl link(const QString &host, const QList<std::pair<QString, QString>> &items)
{
    QUrl url;
    url.setScheme(kScheme);
    url.setHost(host);
    // Every reserved character encoded, so names with "&", "+" or "#" survive.
    QStringList parts;
    for (const auto &[key, value] : items)
        parts << key + u'=' + QString::fromLatin1(QUrl::toPercentEncoding(value));
    url.setQuery(parts.join(u'&'), QUrl::StrictMode);
    return url;
}
} // namespace

QUrl LibraryLinks::openSection(const LibrarySection &section)
{
    return link(QStringLiteral("open"), {{QStringLiteral("section"), section.toText()}});
}

QUrl LibraryLinks::openShortcut(const QString &identifier)
{
    return link(QStringLiteral("open"), {{QStringLiteral("shortcut"), identifier}});
}

QUrl LibraryLinks::runShortcut(const QString &identifier, const std::optional<QString> &input)
{
    QList<std::pair<QString, QString>> items{{QStringLiteral("shortcut"), identifier}};
    if (input)
        items.append({QStringLiteral("input"), *input});
    return link(QStringLiteral("run"), items);
}

std::optional<LibraryLinks::Link> LibraryLinks::parse(const QUrl &url)
{
    if (!url.isValid() || url.scheme() != kScheme ||
        (!url.path().isEmpty() && url.path() != QLatin1String("/")))
        return std::nullopt;
    const QUrlQuery query(url);
    // One value per key: a link with two "shortcut=" is not guessed at.
    for (const auto &[key, value] : query.queryItems())
        if (query.allQueryItemValues(key).size() > 1)
            return std::nullopt;
    auto value = [&](const QString &key) -> std::optional<QString> {
        if (!query.hasQueryItem(key))
            return std::nullopt;
        return query.queryItemValue(key, QUrl::FullyDecoded);
    };
    Link result;
    const auto shortcut = value(QStringLiteral("shortcut"));
    const auto name = value(QStringLiteral("name"));
    if (shortcut && name)
        return std::nullopt;
    if (shortcut)
        result.shortcut = *shortcut;
    else if (name)
        result.shortcut = QStringLiteral("name:") + *name;
    if (url.host() == QLatin1String("open")) {
        const auto section = value(QStringLiteral("section"));
        if (section && !result.shortcut.isEmpty())
            return std::nullopt;
        if (section) {
            if (!LibrarySection::fromText(*section))
                return std::nullopt;
            result.action = Link::Action::openSection;
            result.section = *section;
            return result;
        }
        if (result.shortcut.isEmpty() || result.shortcut == QLatin1String("name:"))
            return std::nullopt;
        result.action = Link::Action::openShortcut;
        return result;
    }
    if (url.host() == QLatin1String("run")) {
        if (result.shortcut.isEmpty() || result.shortcut == QLatin1String("name:"))
            return std::nullopt;
        result.action = Link::Action::runShortcut;
        result.input = value(QStringLiteral("input"));
        return result;
    }
    return std::nullopt;
}
