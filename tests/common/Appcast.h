#pragma once

#include <QByteArray>
#include <QStringList>

// Sparkle appcast feeds as the update checker reads them.

inline QByteArray appcastFeed(const QByteArray &items)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<rss version=\"2.0\" "
           "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\" "
           "xmlns:dc=\"http://purl.org/dc/elements/1.1/\">\n<channel>\n<title>Thimblecraft</"
           "title>\n" +
           items + "</channel>\n</rss>\n";
}

// An item with release notes and a download named after its version, which is taken as bytes so
// that a feed can carry one that is not text.
inline QByteArray appcastItem(const QByteArray &v)
{
    return "<item><title>Version " + v + "</title><sparkle:version>" + v +
           "</sparkle:version><sparkle:releaseNotesLink>https://example.org/notes/" + v +
           "</sparkle:releaseNotesLink><enclosure url=\"https://example.org/Thimblecraft-" + v +
           ".zip\" length=\"1\" type=\"application/octet-stream\"/></item>";
}

inline QByteArray appcast(const QStringList &versions)
{
    QByteArray items;
    for (const QString &v : versions)
        items += appcastItem(v.toUtf8());
    return appcastFeed(items);
}
