#include "sync/ImportJournal.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

namespace {
QString dateText(const std::optional<QDateTime> &date)
{
    return date ? date->toUTC().toString(Qt::ISODateWithMs) : QString();
}

std::optional<QDateTime> dateFrom(const QJsonValue &value)
{
    const QDateTime date = QDateTime::fromString(value.toString(), Qt::ISODateWithMs);
    if (!date.isValid())
        return std::nullopt;
    return date;
}

QByteArray bytesFrom(const QJsonValue &value)
{
    return QByteArray::fromBase64(value.toString().toLatin1());
}
} // namespace

QByteArray ImportJournal::encode(const ShortcutSnapshot &s)
{
    QJsonObject o{{QStringLiteral("identifier"), s.identifier},
                  {QStringLiteral("name"), s.name},
                  {QStringLiteral("subtitle"), s.subtitle},
                  {QStringLiteral("colorHex"), s.colorHex},
                  {QStringLiteral("acceptsInput"), s.acceptsInput},
                  {QStringLiteral("actionCount"), s.actionCount},
                  {QStringLiteral("folderName"), s.folderName},
                  {QStringLiteral("createdAt"), dateText(s.createdAt)},
                  {QStringLiteral("modifiedAt"), dateText(s.modifiedAt)}};
    if (s.iconImageData)
        o.insert(QStringLiteral("iconImageData"), QString::fromLatin1(s.iconImageData->toBase64()));
    if (s.processedIcon)
        o.insert(QStringLiteral("processedIcon"),
                 QJsonObject{{QStringLiteral("glyphPNG"),
                              QString::fromLatin1(s.processedIcon->glyphPNG.toBase64())},
                             {QStringLiteral("topHex"), s.processedIcon->topHex},
                             {QStringLiteral("bottomHex"), s.processedIcon->bottomHex}});
    if (s.libraryOrder)
        o.insert(QStringLiteral("libraryOrder"), *s.libraryOrder);
    return QJsonDocument(o).toJson(QJsonDocument::Compact);
}

std::optional<ShortcutSnapshot> ImportJournal::decode(const QByteArray &line)
{
    const QJsonDocument document = QJsonDocument::fromJson(line);
    const QJsonObject o = document.object();
    if (!document.isObject() || !o.value(QLatin1String("name")).isString())
        return std::nullopt;
    ShortcutSnapshot s;
    s.identifier = o.value(QLatin1String("identifier")).toString();
    s.name = o.value(QLatin1String("name")).toString();
    s.subtitle = o.value(QLatin1String("subtitle")).toString();
    s.colorHex = o.value(QLatin1String("colorHex")).toString();
    s.acceptsInput = o.value(QLatin1String("acceptsInput")).toBool();
    s.actionCount = o.value(QLatin1String("actionCount")).toInteger();
    s.folderName = o.value(QLatin1String("folderName")).toString();
    s.createdAt = dateFrom(o.value(QLatin1String("createdAt")));
    s.modifiedAt = dateFrom(o.value(QLatin1String("modifiedAt")));
    if (o.contains(QLatin1String("iconImageData")))
        s.iconImageData = bytesFrom(o.value(QLatin1String("iconImageData")));
    const QJsonValue icon = o.value(QLatin1String("processedIcon"));
    if (icon.isObject())
        s.processedIcon = IconProcessing::Result{bytesFrom(icon[QLatin1String("glyphPNG")]),
                                                 icon[QLatin1String("topHex")].toString(),
                                                 icon[QLatin1String("bottomHex")].toString()};
    if (o.value(QLatin1String("libraryOrder")).isDouble())
        s.libraryOrder = o.value(QLatin1String("libraryOrder")).toInteger();
    return s;
}

bool ImportJournal::append(const ShortcutSnapshot &snapshot)
{
    QFile file(m_path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return false;
    // One write per line: a kill leaves whole lines and at most one torn last line.
    const QByteArray line = encode(snapshot) + '\n';
    return file.write(line) == line.size() && file.flush();
}

void ImportJournal::clear()
{
    QFile::remove(m_path);
}

QList<ShortcutSnapshot> ImportJournal::read() const
{
    QList<ShortcutSnapshot> snapshots;
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return snapshots;
    // A file someone filled with anything: no more than the batches of a helper run hold.
    constexpr qint64 maxSize = 256 * 1024 * 1024;
    if (file.size() > maxSize)
        return snapshots;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.isEmpty())
            continue;
        if (auto snapshot = decode(line))
            snapshots.append(*snapshot);
    }
    return snapshots;
}
