#include "simulator/SimulatedShortcutsDatabase.h"

#include "model/SqliteDatabase.h"
#include "simulator/SimulatedLibrary.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMutex>
#include <QTemporaryFile>
#include <QUuid>
#include <algorithm>
#include <cstdio>
#include <limits>

namespace {
const QString kDatabaseName = QStringLiteral("Shortcuts.sqlite");
// Core Data's entity number for shortcuts in the real store; only kept for the look of it.
constexpr int kShortcutEntity = 9;
constexpr qint64 kReferenceEpochMSecs = qint64(978307200) * 1000;

// The store as Core Data lays it out, with more columns than the program reads.
const char *const kSchema[] = {
    "CREATE TABLE Z_PRIMARYKEY (Z_ENT INTEGER PRIMARY KEY, Z_NAME VARCHAR, Z_SUPER INTEGER, "
    "Z_MAX INTEGER)",
    "CREATE TABLE Z_METADATA (Z_VERSION INTEGER PRIMARY KEY, Z_UUID VARCHAR(255), Z_PLIST BLOB)",
    "CREATE TABLE ZSHORTCUT (Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, "
    "ZACTIONCOUNT INTEGER, ZHASSHORTCUTINPUTVARIABLES INTEGER, ZHASUSERPROVIDEDNAMEORICON INTEGER, "
    "ZHIDDENFROMLIBRARYANDSYNC INTEGER, ZICONCOLOR INTEGER, ZICONGLYPH INTEGER, "
    "ZREMOTEQUARANTINESTATUS INTEGER, ZRUNEVENTSCOUNT INTEGER, ZTOMBSTONED INTEGER, "
    "ZCREATIONDATE TIMESTAMP, ZMODIFICATIONDATE TIMESTAMP, ZLASTRUNEVENTDATE TIMESTAMP, "
    "ZLASTSYNCEDHASH VARCHAR, ZNAME VARCHAR, ZWORKFLOWID VARCHAR, "
    "ZASSOCIATEDAPPBUNDLEIDENTIFIER VARCHAR, ZWORKFLOWSUBTITLE VARCHAR, ZACTIONS BLOB)",
    "CREATE INDEX ZSHORTCUT_ZWORKFLOWID_INDEX ON ZSHORTCUT (ZWORKFLOWID)",
};

void bindDate(SqliteStatement &st, int index, const std::optional<QDateTime> &date)
{
    if (!date || !date->isValid())
        st.bindNull(index);
    else
        st.bind(index, double(date->toMSecsSinceEpoch() - kReferenceEpochMSecs) / 1000.0);
}

bool fail(QString *error, const QString &message)
{
    if (error)
        *error = message;
    return false;
}

bool fillDatabase(const QString &path, const QList<SimulatedShortcutsDatabase::Entry> &entries,
                  QString *error)
{
    SqliteDatabase db;
    if (!db.open(path, SqliteDatabase::Mode::readWrite))
        return fail(error, db.lastError());
    // A rollback journal: the finished file stands alone, with no -wal beside it.
    if (!db.exec(QStringLiteral("PRAGMA journal_mode=DELETE")))
        return fail(error, db.lastError());
    SqliteTransaction transaction(db);
    for (const char *sql : kSchema) {
        if (!db.exec(QString::fromLatin1(sql)))
            return fail(error, db.lastError());
    }
    SqliteStatement meta = db.prepare(
        QStringLiteral("INSERT INTO Z_METADATA (Z_VERSION, Z_UUID, Z_PLIST) VALUES (1, ?, ?)"));
    meta.bind(1, QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper());
    meta.bind(2, QByteArray("bplist00"));
    if (meta.step() != SqliteStatement::Step::done)
        return fail(error, db.lastError());
    SqliteStatement keys = db.prepare(QStringLiteral(
        "INSERT INTO Z_PRIMARYKEY (Z_ENT, Z_NAME, Z_SUPER, Z_MAX) VALUES (?, 'Shortcut', 0, ?)"));
    keys.bind(1, kShortcutEntity);
    keys.bind(2, qint64(entries.size()));
    if (keys.step() != SqliteStatement::Step::done)
        return fail(error, db.lastError());

    SqliteStatement row = db.prepare(QStringLiteral(
        "INSERT INTO ZSHORTCUT (Z_PK, Z_ENT, Z_OPT, ZACTIONCOUNT, ZHASSHORTCUTINPUTVARIABLES, "
        "ZHASUSERPROVIDEDNAMEORICON, ZHIDDENFROMLIBRARYANDSYNC, ZICONCOLOR, ZICONGLYPH, "
        "ZREMOTEQUARANTINESTATUS, ZRUNEVENTSCOUNT, ZTOMBSTONED, ZCREATIONDATE, ZMODIFICATIONDATE, "
        "ZLASTRUNEVENTDATE, ZLASTSYNCEDHASH, ZNAME, ZWORKFLOWID, ZASSOCIATEDAPPBUNDLEIDENTIFIER, "
        "ZWORKFLOWSUBTITLE, ZACTIONS) VALUES (?, ?, 1, ?, 0, ?, 0, 0, 0, 0, ?, ?, ?, ?, ?, NULL, "
        "?, ?, ?, NULL, ?)"));
    if (!row.isValid())
        return fail(error, db.lastError());
    qint64 pk = 0;
    for (const auto &e : entries) {
        row.reset();
        row.bind(1, ++pk);
        row.bind(2, kShortcutEntity);
        row.bind(3, e.actionCount);
        row.bind(4, e.userProvidedIcon);
        row.bind(5, qint64(e.lastRunAt ? 1 : 0));
        row.bind(6, e.tombstoned);
        bindDate(row, 7, e.createdAt);
        bindDate(row, 8, e.modifiedAt);
        bindDate(row, 9, e.lastRunAt);
        row.bind(10, e.name);
        row.bind(11, e.identifier);
        if (e.appBundleID.isEmpty())
            row.bindNull(12);
        else
            row.bind(12, e.appBundleID);
        // The real column holds the encoded actions; a placeholder of plausible size will do.
        row.bind(13, QByteArray(int(std::clamp<qint64>(e.actionCount, 0, 1000)) * 16, '\0'));
        if (row.step() != SqliteStatement::Step::done)
            return fail(error, db.lastError());
    }
    if (!transaction.commit())
        return fail(error, db.lastError());
    return true;
}

struct WrittenState {
    QMutex mutex;
    // The entries last written, by folder: the list is shared, so keeping it costs nothing,
    // and comparing it is far cheaper than hashing a serialised copy.
    QHash<QString, QList<SimulatedShortcutsDatabase::Entry>> entries;
};

WrittenState &written()
{
    static WrittenState state;
    return state;
}
} // namespace

QString SimulatedShortcutsDatabase::folderFor(const QString &libraryPath)
{
    return QFileInfo(libraryPath).absoluteDir().filePath(QStringLiteral("Shortcuts"));
}

bool SimulatedShortcutsDatabase::write(const QString &folder, const QList<Entry> &entries,
                                       QString *error)
{
    if (!QDir().mkpath(folder))
        return fail(error, QStringLiteral("Could not create the folder %1.").arg(folder));
    const QString target = QDir(folder).filePath(kDatabaseName);

    QTemporaryFile temporary(QDir(folder).filePath(QStringLiteral(".Shortcuts.sqlite-XXXXXX")));
    if (!temporary.open())
        return fail(error, temporary.errorString());
    temporary.close();
    if (!fillDatabase(temporary.fileName(), entries, error))
        return false;

    // SQLite would replay a log left beside the old file onto the new one.
    for (const QString &suffix :
         {QStringLiteral("-wal"), QStringLiteral("-shm"), QStringLiteral("-journal")})
        QFile::remove(target + suffix);
    if (std::rename(QFile::encodeName(temporary.fileName()).constData(),
                    QFile::encodeName(target).constData()) != 0)
        return fail(error, QStringLiteral("Could not replace %1.").arg(target));
    temporary.setAutoRemove(false);
    QFile::remove(temporary.fileName() + QStringLiteral("-journal"));
    return true;
}

bool SimulatedShortcutsDatabase::writeIfChanged(const QString &folder, const QList<Entry> &entries,
                                                QString *error)
{
    const QString key = QDir::cleanPath(QFileInfo(folder).absoluteFilePath());
    WrittenState &state = written();
    QMutexLocker lock(&state.mutex);
    const auto last = state.entries.constFind(key);
    if (last != state.entries.cend() && *last == entries &&
        QFile::exists(QDir(key).filePath(kDatabaseName)))
        return true;
    if (!write(key, entries, error)) {
        state.entries.remove(key);
        return false;
    }
    state.entries.insert(key, entries);
    return true;
}

QList<SimulatedShortcutsDatabase::Entry>
SimulatedShortcutsDatabase::entriesFor(const SimulatedLibrary &library)
{
    QList<Entry> entries;
    entries.reserve(library.shortcuts.size());
    for (const SimulatedShortcut &s : library.shortcuts) {
        Entry e;
        e.identifier = s.identifier;
        e.name = s.name;
        e.createdAt = s.createdAt;
        e.modifiedAt = s.modifiedAt;
        e.lastRunAt = s.lastRunAt;
        e.appBundleID = s.appBundleID;
        e.userProvidedIcon = s.customIcon;
        e.actionCount = s.actionCount;
        entries.append(e);
    }
    return entries;
}

bool SimulatedShortcutsDatabase::updateForLibrary(const SimulatedLibrary &library,
                                                  const QString &libraryPath, QString *error)
{
    // Scripts arrive by the thousand during an icon fetch; the library file's size and time
    // say cheaply whether anything could have changed since the last write.
    const QFileInfo info(libraryPath);
    const QString folder = folderFor(libraryPath);
    const QByteArray stamp = QByteArray::number(info.size()) + ':' +
                             QByteArray::number(info.lastModified().toMSecsSinceEpoch());
    static QMutex mutex;
    static QHash<QString, QByteArray> stamps;
    QMutexLocker lock(&mutex);
    const QString key = info.absoluteFilePath();
    if (info.exists() && stamps.value(key) == stamp &&
        QFile::exists(QDir(folder).filePath(kDatabaseName)))
        return true;
    if (!writeIfChanged(folder, entriesFor(library), error)) {
        stamps.remove(key);
        return false;
    }
    stamps.insert(key, stamp);
    return true;
}
