#pragma once

#include "model/ProcessedIcon.h"
#include "shortcuts/ShortcutSnapshot.h"
#include "shortcuts/ShortcutsDatabase.h"
#include "sync/AppIconSource.h"
#include "sync/SyncPhase.h"
#include "sync/SyncSummary.h"

#include <QCoro/QCoroTask>
#include <QDateTime>
#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>
#include <QVarLengthArray>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class ModelContext;
class QSettings;
class ShortcutItem;
class ShortcutsEventsBridge;
class Workspace;
class ImportJournal;

// The lookup tables of one merge: records by identifier and by name, kept current while
// snapshots are matched so that duplicates in one list land on the same record.
class SyncMerge {
public:
    SyncMerge(ModelContext &context, const QDateTime &now);

    // The record for a snapshot (identifier, then placeholder, then a placeholder or missing
    // record of the same name); a new one when nothing matches. The bool is true when inserted.
    std::pair<ShortcutItem *, bool> matchOrInsert(const ShortcutSnapshot &snapshot);
    // Copies the Shortcuts-side facts; true when something that counts as a change was written.
    static bool apply(const ShortcutSnapshot &snapshot, ShortcutItem *to, const QDateTime &now);

    const QDateTime &now() const { return m_now; }

private:
    void addByName(ShortcutItem *item);
    // Every item of that name, in the order they were met.
    QVarLengthArray<ShortcutItem *, 4> itemsNamed(const QString &name) const;

    ModelContext &m_context;
    QDateTime m_now;
    QHash<QString, ShortcutItem *> m_byIdentifier;
    QHash<QString, ShortcutItem *> m_firstByName;
    QHash<QString, QList<ShortcutItem *>> m_moreByName;
};

// Drives every sync: the full sync through Shortcuts Events, the helper shortcut's imports,
// the icon queue and the database pass. Main thread only; observable through its properties.
class LibrarySyncController : public QObject {
    Q_OBJECT
    Q_PROPERTY(SyncPhase phase READ phase NOTIFY phaseChanged)
    Q_PROPERTY(std::optional<SyncSummary> lastSummary READ lastSummary NOTIFY lastSummaryChanged)
    Q_PROPERTY(QString lastSummaryText READ lastSummaryText NOTIFY lastSummaryChanged)
    Q_PROPERTY(QDateTime lastSyncDate READ lastSyncDate NOTIFY lastSyncDateChanged)
    Q_PROPERTY(QString lastError READ lastError WRITE setLastError NOTIFY lastErrorChanged)
    Q_PROPERTY(bool iconFetchBlocked READ iconFetchBlocked NOTIFY iconFetchBlockedChanged)
    Q_PROPERTY(qint64 iconsCompleted READ iconsCompleted NOTIFY iconsCompletedChanged)
    Q_PROPERTY(qint64 iconsTotal READ iconsTotal NOTIFY iconsTotalChanged)
    Q_PROPERTY(int pendingImportCount READ pendingImportCount NOTIFY pendingImportsChanged)
    Q_PROPERTY(bool iconFetchRunning READ iconFetchRunning NOTIFY iconFetchRunningChanged)

public:
    using Phase = SyncPhase;
    // Settings keys this controller reads and writes.
    static constexpr char lastSyncDateKey[] = "lastSyncDate";
    static constexpr char incrementalSyncStartedAtKey[] = "incrementalSyncStartedAt";
    static constexpr char iconFetchBlockedKey[] = "iconFetchBlocked";
    static constexpr char iconFormatVersionKey[] = "iconFormatVersion";
    static constexpr char drawnAppIconVersionKey[] = "drawnAppIconVersion";
    static constexpr int currentIconFormatVersion = 5;
    static constexpr int currentDrawnAppIconVersion = 2;
    static constexpr int iconCycleSize = 8;
    static constexpr int upgradeChunkSize = 50;
    static constexpr std::chrono::milliseconds defaultImportBatchInterval{800};
    static constexpr char helperShortcutName[] = "Sync Thimblecraft";

    // Reads "lastSyncDate" and "iconFetchBlocked" from settings.
    LibrarySyncController(ModelContext &context, ShortcutsEventsBridge &bridge, QSettings &settings,
                          QObject *parent = nullptr);
    ~LibrarySyncController() override;

    // The process-wide controller over the shared store, bridge and settings.
    static LibrarySyncController &shared();

    // Collaborators that default to the process-wide ones.
    void setWorkspace(Workspace *workspace) { m_workspace = workspace; }
    void setAppIconSource(std::shared_ptr<AppIconSource> source) { m_appIcons = std::move(source); }
    // The database pass's source of rows; by default ShortcutsDatabase::loadRows() off the
    // main thread.
    using RowsLoader = std::function<QCoro::Task<std::optional<ShortcutsDatabase::Rows>>()>;
    void setDatabaseRowsLoader(RowsLoader loader) { m_rowsLoader = std::move(loader); }
    // The helper shortcut file; by default the bundled one, written out on first use.
    void setHelperShortcutPath(const QString &path) { m_helperShortcutPath = path; }
    // The application bundle's Resources folder, where the signed helper file ships; by default
    // the Mac bundle's own (Contents/Resources), none elsewhere.
    void setBundleResourcesPath(const QString &path) { m_bundleResourcesPath = path; }
    void setImportBatchInterval(std::chrono::milliseconds interval);
    // Keeps queued imports in this file until they are merged (owners only: one writer), and
    // queues what an earlier owner left there.
    void useImportJournal(const QString &path);

    // Observable state.
    SyncPhase phase() const { return m_phase; }
    std::optional<SyncSummary> lastSummary() const { return m_lastSummary; }
    QString lastSummaryText() const { return m_lastSummary ? m_lastSummary->text() : QString(); }
    QDateTime lastSyncDate() const { return m_lastSyncDate; }
    QString lastError() const { return m_lastError; }
    void setLastError(const QString &error); // empty clears it (the window's alert does)
    bool iconFetchBlocked() const { return m_iconFetchBlocked; }
    qint64 iconsCompleted() const { return m_iconsCompleted; }
    qint64 iconsTotal() const { return m_iconsTotal; }
    int pendingImportCount() const { return int(m_pendingImports.size()); }
    bool isFlushScheduled() const { return m_flushTimer.isActive(); }
    bool iconFetchRunning() const { return m_iconWorkerRunning; }
    const QStringList &iconQueue() const { return m_iconQueue; }
    const QStringList &priorityIdentifiers() const { return m_priorityIdentifiers; }
    ModelContext &context() const { return m_context; }
    QSettings &settings() const { return m_settings; }

    // Full sync: list, merge, database pass, icon queue. Ignored while a sync runs.
    QCoro::Task<> sync();
    // Merges a complete list; no value (and the store's text in error) on a save failure.
    std::optional<SyncSummary> merge(const QList<ShortcutSnapshot> &snapshots,
                                     QString *error = nullptr);

    // Helper-shortcut sync.
    void beginIncrementalSync();
    void enqueueImport(const ShortcutSnapshot &snapshot);
    void flushImports();
    bool mergeImports(const QList<ShortcutSnapshot> &snapshots, QString *error = nullptr);
    std::optional<SyncSummary> markMissing(const QDateTime &notSeenSince, QString *error = nullptr);
    // Flushes, marks what was not seen since Begin and publishes the summary; no value (and
    // the store's text in error) when marking fails.
    std::optional<SyncSummary> finishIncrementalSync(QString *error = nullptr);
    void installHelperShortcut();
    QCoro::Task<> runHelperShortcut();
    // The helper shortcut as a file others can open: the bundle's Resources copy, else the one
    // built into the program written out to the cache folder. Empty, with *error saying why,
    // when there is none or the copy cannot be written.
    QString helperShortcutPath(QString *error = nullptr);

    // Icons.
    void startIconFetch();
    void enqueueIcons(const QStringList &identifiers);
    void prioritizeIcon(ShortcutItem *item);
    void retryIcons();
    // Drops what is queued (and the fetch started ahead of the icon being processed); the worker
    // stops after the icons of its current cycle are saved.
    void stopIconFetch();
    void setIconFetchBlocked(bool blocked);
    QCoro::Task<> refreshFromDatabase();
    QCoro::Task<> upgradeStoredIcons();
    // Finishes when the icon worker has stopped (at once when none runs).
    QCoro::Task<> iconFetchFinished();

signals:
    void phaseChanged();
    void lastSummaryChanged();
    void lastSyncDateChanged();
    void lastErrorChanged();
    void iconFetchBlockedChanged();
    void iconsCompletedChanged();
    void iconsTotalChanged();
    void pendingImportsChanged();
    // A read of the Shortcuts database has ended; passes that waited for it take its rows.
    void databaseRowsRead();
    void iconFetchRunningChanged();
    // A full sync or a helper sync's finish published its summary.
    void syncFinished();

private:
    void setPhase(const SyncPhase &phase);
    void setLastSummary(const SyncSummary &summary);
    void setLastSyncDate(const QDateTime &date);
    void setIconsCompleted(qint64 value);
    void setIconsTotal(qint64 value);
    void setIconWorkerRunning(bool running);
    std::optional<QString> takeNextIdentifier();
    static QCoro::Task<> iconWorker(QPointer<LibrarySyncController> self);
    // Applies one cycle's results to the records with their identifiers.
    void applyIconResults(const QHash<QString, IconProcessing::Result> &batch);
    QCoro::Task<std::optional<ShortcutsDatabase::Rows>> loadDatabaseRows();
    AppIconSource &appIcons();
    // A change to one item's icon, worked out off the main thread and applied on it.
    using IconEdit = std::function<void(ShortcutItem *)>;
    // Runs edit over the stored icons of items on a worker, a chunk at a time, applies each edit
    // there is to its item (unless the user deleted it meanwhile) and saves after each chunk.
    // False when the controller went away while it waited.
    QCoro::Task<bool> rewriteStoredIcons(QList<ShortcutItem *> items,
                                         std::function<IconEdit(const QByteArray &)> edit);

    ModelContext &m_context;
    ShortcutsEventsBridge &m_bridge;
    QSettings &m_settings;
    Workspace *m_workspace = nullptr;
    std::shared_ptr<AppIconSource> m_appIcons;
    RowsLoader m_rowsLoader;
    // The database read under way, shared by the passes that ask while it runs.
    struct RowsRead {
        bool done = false;
        std::optional<ShortcutsDatabase::Rows> rows;
    };
    std::shared_ptr<RowsRead> m_rowsRead;
    QString m_helperShortcutPath;
    std::optional<QString> m_bundleResourcesPath;

    SyncPhase m_phase;
    std::optional<SyncSummary> m_lastSummary;
    QDateTime m_lastSyncDate;
    QString m_lastError;

    QList<ShortcutSnapshot> m_pendingImports;
    std::unique_ptr<ImportJournal> m_importJournal;
    QTimer m_flushTimer;

    bool m_iconFetchBlocked = false;
    bool m_iconWorkerRunning = false;
    QStringList m_priorityIdentifiers;
    QStringList m_iconQueue;
    // The identifier taken ahead whose fetch runs while the icon before it is processed;
    // stopIconFetch() clears it so that the worker drops that fetch's answer.
    std::optional<QString> m_iconFetchAhead;
    // The icon worker's records by identifier, with the shortcut count and last shortcut they
    // were read from (-1 and none when there is no table).
    QMultiHash<QString, ShortcutItem *> m_iconRecords;
    qsizetype m_iconRecordsCount = -1;
    ShortcutItem *m_iconRecordsLast = nullptr;
    qint64 m_iconsCompleted = 0;
    qint64 m_iconsTotal = 0;
};
