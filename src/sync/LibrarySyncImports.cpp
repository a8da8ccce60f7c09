// The helper shortcut's path: Begin, batched Imports, Finish; installing and running the helper.
#include "model/Clock.h"
#include "model/ModelContext.h"
#include "shortcuts/ShortcutsEventsBridge.h"
#include "shortcuts/Workspace.h"
#include "sync/ImportJournal.h"
#include "sync/LibrarySyncController.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QSettings>
#include <QStandardPaths>

void LibrarySyncController::beginIncrementalSync()
{
    m_settings.setValue(QLatin1String(incrementalSyncStartedAtKey), Clock::now());
    // Another process may own the library when Finish comes; it reads the date from the file.
    m_settings.sync();
}

void LibrarySyncController::useImportJournal(const QString &path)
{
    m_importJournal = std::make_unique<ImportJournal>(path);
    const QList<ShortcutSnapshot> left = m_importJournal->read();
    if (left.isEmpty())
        return;
    m_pendingImports.append(left);
    emit pendingImportsChanged();
    if (!m_flushTimer.isActive())
        m_flushTimer.start();
}

void LibrarySyncController::enqueueImport(const ShortcutSnapshot &snapshot)
{
    if (m_importJournal)
        m_importJournal->append(snapshot);
    m_pendingImports.append(snapshot);
    emit pendingImportsChanged();
    // Imports arriving while the timer runs join its batch; the timer is not restarted.
    if (!m_flushTimer.isActive())
        m_flushTimer.start();
}

void LibrarySyncController::flushImports()
{
    m_flushTimer.stop();
    if (m_pendingImports.isEmpty())
        return;
    const QList<ShortcutSnapshot> batch = std::exchange(m_pendingImports, {});
    emit pendingImportsChanged();
    QString error;
    const bool merged = mergeImports(batch, &error);
    // A failed batch is not retried, from memory or from the journal.
    if (m_importJournal)
        m_importJournal->clear();
    if (!merged)
        setLastError(error);
}

bool LibrarySyncController::mergeImports(const QList<ShortcutSnapshot> &snapshots, QString *error)
{
    if (snapshots.isEmpty())
        return true;
    SyncMerge tables(m_context, Clock::now());
    for (const ShortcutSnapshot &snapshot : snapshots) {
        const auto [item, inserted] = tables.matchOrInsert(snapshot);
        if (!inserted)
            SyncMerge::apply(snapshot, item, tables.now());
        item->setLastSeenAt(tables.now());
        item->setIsMissing(false);
    }
    return m_context.save(error);
}

std::optional<SyncSummary> LibrarySyncController::markMissing(const QDateTime &notSeenSince,
                                                              QString *error)
{
    SyncSummary summary;
    for (ShortcutItem *item : m_context.shortcuts()) {
        if (item->lastSeenAt() >= notSeenSince) {
            ++summary.total;
        } else {
            item->setIsMissing(true);
            ++summary.missing;
        }
    }
    if (!m_context.save(error))
        return std::nullopt;
    return summary;
}

std::optional<SyncSummary> LibrarySyncController::finishIncrementalSync(QString *error)
{
    flushImports();
    const QVariant started = m_settings.value(QLatin1String(incrementalSyncStartedAtKey));
    // Without a Begin nothing counts as unseen.
    QDateTime since(QDate(1, 1, 1), QTime(0, 0), Qt::UTC);
    if (started.typeId() == QMetaType::QDateTime && started.toDateTime().isValid())
        since = started.toDateTime();
    const auto summary = markMissing(since, error);
    if (!summary)
        return std::nullopt;
    setLastSummary(*summary);
    setLastSyncDate(Clock::now());
    if (m_phase.isIcons())
        setPhase(SyncPhase::idle());
    m_settings.remove(QLatin1String(incrementalSyncStartedAtKey));
    m_settings.sync();
    emit syncFinished();
    return summary;
}

// Resources of a static library must be registered by name, outside any namespace.
static void initHelperShortcutResource()
{
    Q_INIT_RESOURCE(helper_shortcut);
}

QString LibrarySyncController::helperShortcutPath()
{
    if (!m_helperShortcutPath.isNull())
        return m_helperShortcutPath;
    // The bundled file lives in the program's resources; the Shortcuts app (or the simulator)
    // needs a real file, so it is written out once to the cache folder.
    initHelperShortcutResource();
    QFile bundled(QStringLiteral(":/thimblecraft/Sync Thimblecraft.shortcut"));
    if (!bundled.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = bundled.readAll();
    QString dir = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    if (dir.isEmpty())
        dir = QDir::tempPath();
    const QString path = dir + QStringLiteral("/Sync Thimblecraft.shortcut");
    QFile existing(path);
    if (existing.open(QIODevice::ReadOnly) && existing.readAll() == bytes)
        return path;
    QDir().mkpath(dir);
    QSaveFile out(path);
    if (!out.open(QIODevice::WriteOnly) || out.write(bytes) != bytes.size() || !out.commit())
        return {};
    return path;
}

void LibrarySyncController::installHelperShortcut()
{
    const QString path = helperShortcutPath();
    if (path.isEmpty() || !QFile::exists(path)) {
        setLastError(QStringLiteral("The helper shortcut isn't bundled with this build."));
        return;
    }
    Workspace &workspace = m_workspace ? *m_workspace : Workspace::shared();
    workspace.openFile(path);
}

QCoro::Task<> LibrarySyncController::runHelperShortcut()
{
    setLastError({});
    QPointer<LibrarySyncController> self(this);
    const auto result = co_await m_bridge.runShortcut(QString::fromLatin1(helperShortcutName));
    if (!self || result)
        co_return;
    const BridgeError &error = result.error();
    if (error.kind() == BridgeError::Kind::script && error.number() == -1728) {
        setLastError(QStringLiteral("The \u201C%1\u201D shortcut isn't installed yet. Use File "
                                    "\u203A Install Helper Shortcut first.")
                         .arg(QString::fromLatin1(helperShortcutName)));
    } else {
        setLastError(error.localizedDescription());
    }
}
