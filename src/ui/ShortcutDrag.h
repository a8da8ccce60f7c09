#pragma once

#include <QMimeData>
#include <QSet>
#include <QString>
#include <QStringList>

// What a drag of shortcuts out of the collection carries: their identifiers, one per line, both
// under our own type and as plain text (so a drop on another program gets something readable).
// The sidebar's folder and tag rows accept either.
namespace ShortcutDrag {
inline constexpr char mimeType[] = "application/x-thimblecraft-shortcut-ids";

inline QMimeData *mimeData(const QStringList &identifiers)
{
    auto *data = new QMimeData;
    const QByteArray text = identifiers.join(u'\n').toUtf8();
    data->setData(QString::fromLatin1(mimeType), text);
    data->setText(QString::fromUtf8(text));
    return data;
}

inline bool canDecode(const QMimeData *data)
{
    return data && (data->hasFormat(QString::fromLatin1(mimeType)) || data->hasText());
}

// The identifiers of a drop, without blanks or repeats; our own type wins over plain text.
inline QSet<QString> identifiers(const QMimeData *data)
{
    QSet<QString> out;
    if (!data)
        return out;
    const QString text = data->hasFormat(QString::fromLatin1(mimeType))
                             ? QString::fromUtf8(data->data(QString::fromLatin1(mimeType)))
                             : data->text();
    for (QString line : text.split(u'\n')) {
        if (line.endsWith(u'\r'))
            line.chop(1);
        if (!line.isEmpty())
            out.insert(line);
    }
    return out;
}
} // namespace ShortcutDrag
