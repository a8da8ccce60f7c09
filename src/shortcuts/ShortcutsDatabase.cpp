#include "shortcuts/ShortcutsDatabase.h"

#include "model/AppSettings.h"
#include "model/SqliteDatabase.h"
#include "shortcuts/FolderChooser.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QStandardPaths>
#include <cmath>
#include <sqlite3.h>

namespace {
const QString kDatabaseName = QStringLiteral("Shortcuts.sqlite");

// Blobs in the text columns are damage, not identifiers: they read as NULL.
const QString kRowsQuery = QStringLiteral(
    "select case when typeof(ZWORKFLOWID) = 'blob' then null else ZWORKFLOWID end as ZWORKFLOWID, "
    "case when typeof(ZASSOCIATEDAPPBUNDLEIDENTIFIER) = 'blob' then null else "
    "ZASSOCIATEDAPPBUNDLEIDENTIFIER end as ZASSOCIATEDAPPBUNDLEIDENTIFIER, "
    "ZHASUSERPROVIDEDNAMEORICON, "
    "ZCREATIONDATE, ZMODIFICATIONDATE, ZLASTRUNEVENTDATE from ZSHORTCUT where ZTOMBSTONED = 0 "
    "or ZTOMBSTONED is null");

// 2001-01-01T00:00:00Z in seconds since the Unix epoch.
constexpr qint64 kReferenceEpoch = 978307200;
// Beyond a few million years QDateTime arithmetic stops being meaningful.
constexpr double kMaxReferenceSeconds = 1e14;

// A whole-text decimal number: optional sign, digits with an optional point, optional exponent.
bool isDecimalNumber(const QString &text)
{
    int i = 0;
    const int n = int(text.size());
    if (i < n && (text[i] == u'+' || text[i] == u'-'))
        ++i;
    int digits = 0;
    while (i < n && text[i].isDigit() && text[i].unicode() < 128) {
        ++i;
        ++digits;
    }
    if (i < n && text[i] == u'.') {
        ++i;
        while (i < n && text[i] >= u'0' && text[i] <= u'9') {
            ++i;
            ++digits;
        }
    }
    if (digits == 0)
        return false;
    if (i < n && (text[i] == u'e' || text[i] == u'E')) {
        ++i;
        if (i < n && (text[i] == u'+' || text[i] == u'-'))
            ++i;
        int exponentDigits = 0;
        while (i < n && text[i] >= u'0' && text[i] <= u'9') {
            ++i;
            ++exponentDigits;
        }
        if (exponentDigits == 0)
            return false;
    }
    return i == n;
}

QString columnText(const QHash<QString, QString> &row, const QString &column)
{
    return row.value(column, QStringLiteral("NULL"));
}

std::optional<QString> folderFromBookmark(const QByteArray &bookmark)
{
    // Outside the macOS sandbox a bookmark is simply the folder's absolute path.
    const QString path = QString::fromUtf8(bookmark);
    if (path.isEmpty() || !QDir::isAbsolutePath(path))
        return std::nullopt;
    return QDir::cleanPath(path);
}
} // namespace

bool ShortcutsDatabase::hasFolderAccess()
{
    return !AppSettings::store().value(QLatin1String(bookmarkKey)).toByteArray().isEmpty();
}

bool ShortcutsDatabase::chooseShortcutsFolder()
{
    FolderChooser::Request request;
    request.startDirectory = QDir::homePath() + QStringLiteral("/Library/Shortcuts");
    request.message = QStringLiteral(
        "Select the Shortcuts folder so Thimblecraft can show app icons the way Shortcuts does.");
    request.prompt = QStringLiteral("Grant Access");
    const std::optional<QString> chosen = FolderChooser::choose(request);
    if (!chosen || chosen->isEmpty())
        return false;
    const QString absolute = QFileInfo(*chosen).absoluteFilePath();
    if (absolute.isEmpty())
        return false;
    QSettings &settings = AppSettings::store();
    settings.setValue(QLatin1String(bookmarkKey), QDir::cleanPath(absolute).toUtf8());
    settings.sync();
    return true;
}

std::optional<QString> ShortcutsDatabase::linkedFolder()
{
    const QByteArray bookmark =
        AppSettings::store().value(QLatin1String(bookmarkKey)).toByteArray();
    if (bookmark.isEmpty())
        return std::nullopt;
    return folderFromBookmark(bookmark);
}

std::optional<ShortcutsDatabase::Rows> ShortcutsDatabase::loadRows()
{
    const std::optional<QString> folder = linkedFolder();
    if (!folder)
        return std::nullopt;
    const QFileInfo info(*folder);
    if (!info.isDir() || !info.isReadable() || !info.isExecutable())
        return std::nullopt;
    return readRows(*folder);
}

QString ShortcutsDatabase::snapshotDirectory()
{
    // The user's own cache, not the shared temporary directory, where another account's
    // snapshot would stand in the way.
    const QString cache = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    if (cache.isEmpty())
        return {};
    return cache + QLatin1Char('/') + QLatin1String(snapshotFolderName);
}

ShortcutsDatabase::Snapshot ShortcutsDatabase::copySnapshot(const QString &ofFolder)
{
    const QString snapshot = snapshotDirectory();
    if (snapshot.isEmpty())
        return {{}, QStringLiteral("There is no cache folder for the snapshot.")};
    if (!QDir().mkpath(QFileInfo(snapshot).path()))
        return {{},
                QStringLiteral("Could not create the folder %1.").arg(QFileInfo(snapshot).path())};

    // Never follow a link someone else planted at the snapshot's place.
    const QFileInfo existing(snapshot);
    if (existing.isSymLink())
        QFile::remove(snapshot);
    else if (existing.exists())
        QDir(snapshot).removeRecursively();

    // Created fresh and owner-only; if something is still in the way it is not ours to use.
    if (!QDir().mkdir(snapshot, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
        return {{}, QStringLiteral("Could not create the folder %1.").arg(snapshot)};

    const QDir source(ofFolder);
    for (const QString &name : {kDatabaseName, kDatabaseName + QStringLiteral("-wal"),
                                kDatabaseName + QStringLiteral("-shm")}) {
        const QString from = source.filePath(name);
        if (!QFileInfo(from).isFile())
            continue;
        QFile file(from);
        const QString to = snapshot + QLatin1Char('/') + name;
        if (!file.copy(to))
            return {{}, QStringLiteral("Could not copy %1: %2").arg(from, file.errorString())};
        QFile::setPermissions(to, QFile::ReadOwner | QFile::WriteOwner);
    }
    return {snapshot + QLatin1Char('/') + kDatabaseName, {}};
}

ShortcutsDatabase::Rows ShortcutsDatabase::readRows(const QString &inFolder)
{
    // Reads share the one snapshot folder: a second one waits for the first.
    static QMutex oneAtATime;
    const QMutexLocker lock(&oneAtATime);
    Rows rows;
    const Snapshot snapshot = copySnapshot(inFolder);
    if (!snapshot.ok())
        return rows;
    SqliteDatabase database;
    if (!database.open(snapshot.databasePath, SqliteDatabase::Mode::readOnly))
        return rows;

    const QString nullText = QStringLiteral("NULL");
    for (const QHash<QString, QString> &result : query(database, kRowsQuery)) {
        const auto id = result.constFind(QStringLiteral("ZWORKFLOWID"));
        if (id == result.constEnd() || *id == nullText)
            continue;
        Row row;
        row.workflowID = *id;
        const QString app = columnText(result, QStringLiteral("ZASSOCIATEDAPPBUNDLEIDENTIFIER"));
        if (app != nullText && !app.isEmpty())
            row.appBundleID = app;
        row.userProvidedIcon = result.value(QStringLiteral("ZHASUSERPROVIDEDNAMEORICON"),
                                            QStringLiteral("0")) == QLatin1String("1");
        row.createdAt =
            dateFromReferenceSeconds(columnText(result, QStringLiteral("ZCREATIONDATE")));
        row.modifiedAt =
            dateFromReferenceSeconds(columnText(result, QStringLiteral("ZMODIFICATIONDATE")));
        row.lastRunAt =
            dateFromReferenceSeconds(columnText(result, QStringLiteral("ZLASTRUNEVENTDATE")));
        rows.insert(row.workflowID, row);
    }
    database.close();
    return rows;
}

QList<QHash<QString, QString>> ShortcutsDatabase::query(SqliteDatabase &database,
                                                        const QString &sql)
{
    QList<QHash<QString, QString>> rows;
    SqliteStatement statement = database.prepare(sql);
    if (!statement.isValid())
        return rows;
    if (statement.step() != SqliteStatement::Step::row)
        return rows;
    const int columns = statement.columnCount();
    QStringList names;
    names.reserve(columns);
    for (int c = 0; c < columns; ++c)
        names.append(statement.columnName(c));
    do {
        QHash<QString, QString> row;
        row.reserve(columns);
        for (int c = 0; c < columns; ++c) {
            QString value;
            switch (statement.columnType(c)) {
            case SQLITE_NULL:
                value = QStringLiteral("NULL");
                break;
            case SQLITE_BLOB:
                value = QStringLiteral("<blob %1B>").arg(statement.blob(c).size());
                break;
            default:
                value = statement.text(c);
                break;
            }
            row.insert(names[c], value);
        }
        rows.append(row);
    } while (statement.step() == SqliteStatement::Step::row);
    return rows;
}

std::optional<QDateTime> ShortcutsDatabase::dateFromReferenceSeconds(const QString &text)
{
    if (!isDecimalNumber(text))
        return std::nullopt;
    bool ok = false;
    const double seconds = text.toDouble(&ok); // QString::toDouble uses the C locale
    if (!ok || !std::isfinite(seconds) || std::fabs(seconds) > kMaxReferenceSeconds)
        return std::nullopt;
    const qint64 msecs = kReferenceEpoch * 1000 + qint64(std::llround(seconds * 1000.0));
    return QDateTime::fromMSecsSinceEpoch(msecs, Qt::UTC);
}
