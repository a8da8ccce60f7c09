// The helper shortcut's path: Begin, batched Imports, Finish; installing and running the helper.
#include "model/Clock.h"
#include "model/ModelContext.h"
#include "shortcuts/ShortcutsEventsBridge.h"
#include "shortcuts/Workspace.h"
#include "sync/ImportJournal.h"
#include "sync/LibrarySyncController.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
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

QString LibrarySyncController::helperShortcutPath(QString *error)
{
    if (!m_helperShortcutPath.isNull())
        return m_helperShortcutPath;
    const QString fileName = QString::fromLatin1(helperShortcutName) + QStringLiteral(".shortcut");

    // The signed file in the bundle is the one to hand to Shortcuts, as it is.
    QString resources;
    if (m_bundleResourcesPath) {
        resources = *m_bundleResourcesPath;
    } else {
#ifdef Q_OS_MACOS
        resources = QCoreApplication::applicationDirPath() + QStringLiteral("/../Resources");
#endif
    }
    if (!resources.isEmpty()) {
        const QFileInfo shipped(resources + QLatin1Char('/') + fileName);
        if (shipped.isFile())
            return shipped.canonicalFilePath();
    }

    // Else the copy built into the program; the Shortcuts app (or the simulator) needs a real
    // file, so it is written out once to the cache folder.
    initHelperShortcutResource();
    QFile bundled(QStringLiteral(":/thimblecraft/") + fileName);
    if (!bundled.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("The helper shortcut isn't bundled with this build.");
        return {};
    }
    const QByteArray bytes = bundled.readAll();
    QString dir = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    if (dir.isEmpty())
        dir = QDir::tempPath();
    const QString path = dir + QLatin1Char('/') + fileName;
    QFile existing(path);
    if (existing.open(QIODevice::ReadOnly) && existing.readAll() == bytes)
        return path;
    QSaveFile out(path);
    const bool written = QDir().mkpath(dir) && out.open(QIODevice::WriteOnly) &&
                         out.write(bytes) == bytes.size() && out.commit();
    if (!written) {
        if (error)
            *error = QStringLiteral("The helper shortcut couldn't be copied to ") +
                     QDir::toNativeSeparators(path) + QStringLiteral(": ") +
                     (out.errorString().isEmpty() ? QStringLiteral("the folder can't be made.")
                                                  : out.errorString());
        return {};
    }
    return path;
}

void LibrarySyncController::installHelperShortcut()
{
    QString error;
    const QString path = helperShortcutPath(&error);
    if (path.isEmpty() || !QFile::exists(path)) {
        setLastError(error.isEmpty()
                         ? QStringLiteral("The helper shortcut isn't bundled with this build.")
                         : error);
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
