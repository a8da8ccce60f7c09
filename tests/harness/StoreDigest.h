#pragma once

// A canonical text form of everything a context holds, and its hash. The crash writer reports the
// digest of what it believes it committed; the test compares it with the digest of what a fresh
// open of the store loads.

#include "model/ModelContext.h"
#include "model/SqliteDatabase.h"

#include <QCryptographicHash>
#include <QStringList>
#include <algorithm>

namespace StoreDigest {

inline QString date(const QDateTime &d)
{
    return d.isValid() ? QString::number(d.toMSecsSinceEpoch()) : QStringLiteral("invalid");
}

inline QString date(const std::optional<QDateTime> &d)
{
    return d ? date(*d) : QStringLiteral("-");
}

template<typename Record> QString uuidOf(const Record *r)
{
    return r ? r->uuid() : QStringLiteral("-");
}

// The fields folders, tags and smart lists share.
template<typename Record> QStringList fields(const char *kind, const Record *r)
{
    return {QLatin1String(kind), QString::number(r->persistentId()), r->uuid(),           r->name(),
            r->colorHex(),       QString::number(r->sortOrder()),    date(r->createdAt())};
}

inline QString dump(const ModelContext &context)
{
    QStringList lines;
    for (const LibraryFolder *f : context.folders())
        lines << (fields("F", f) << f->symbolName() << uuidOf(f->parent())).join(u'|');
    for (const Tag *t : context.tags())
        lines << (fields("T", t) << uuidOf(t->parent())).join(u'|');
    for (const SmartList *s : context.smartLists())
        lines << (fields("S", s) << s->symbolName() << QString::fromLatin1(s->rulesData().toHex()))
                     .join(u'|');
    for (const ShortcutItem *i : context.shortcuts()) {
        QStringList tagUuids;
        for (const Tag *t : i->tags())
            tagUuids << t->uuid();
        tagUuids.sort();
        const auto icon = i->iconData();
        const QString iconHash =
            icon ? QString::fromLatin1(
                       QCryptographicHash::hash(*icon, QCryptographicHash::Sha1).toHex())
                 : QStringLiteral("-");
        QStringList line{QStringLiteral("I"), QString::number(i->persistentId()), i->identifier()};
        line << i->name() << i->subtitle() << i->nativeFolderName() << i->colorHex()
             << i->iconTopHex() << i->iconBottomHex() << QString::number(i->libraryOrder())
             << i->appBundleID() << i->iconAppBundleID() << QString::number(i->acceptsInput())
             << QString::number(i->actionCount()) << date(i->nativeCreatedAt())
             << date(i->nativeModifiedAt()) << date(i->firstSeenAt()) << date(i->lastChangedAt())
             << date(i->lastSeenAt()) << QString::number(i->isMissing())
             << QString::number(i->isFavorite()) << date(i->lastRunAt())
             << QString::number(i->runCount()) << i->notes() << uuidOf(i->folder())
             << tagUuids.join(u',') << iconHash;
        lines << line.join(u'|');
    }
    return lines.join(u'\n');
}

inline QByteArray digest(const ModelContext &context)
{
    return QCryptographicHash::hash(dump(context).toUtf8(), QCryptographicHash::Sha1).toHex();
}

// References that point at no row: a torn write would leave these behind.
inline qint64 danglingReferences(SqliteDatabase &db)
{
    const auto n = db.scalar(QStringLiteral(
        "SELECT (SELECT count(*) FROM shortcut_tags WHERE item_id NOT IN (SELECT id FROM "
        "shortcut_items) OR tag_id NOT IN (SELECT id FROM tags))"
        " + (SELECT count(*) FROM shortcut_items WHERE folder_id IS NOT NULL AND folder_id NOT IN "
        "(SELECT id FROM library_folders))"
        " + (SELECT count(*) FROM library_folders WHERE parent_id IS NOT NULL AND parent_id NOT IN "
        "(SELECT id FROM library_folders))"
        " + (SELECT count(*) FROM tags WHERE parent_id IS NOT NULL AND parent_id NOT IN "
        "(SELECT id FROM tags))"
        " + (SELECT count(*) FROM shortcut_icons WHERE item_id NOT IN (SELECT id FROM "
        "shortcut_items))"
        " + (SELECT count(*) FROM shortcut_items WHERE has_icon <> 0 AND id NOT IN (SELECT item_id "
        "FROM shortcut_icons))"));
    return n ? n->toLongLong() : -1;
}

} // namespace StoreDigest
