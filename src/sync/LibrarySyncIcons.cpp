// Completing icons after a sync: the icon queue, the Shortcuts database pass and the upgrades
// of stored icons from older formats.
#include "model/ModelContext.h"
#include "shortcuts/AppIconProvider.h"
#include "shortcuts/IconProcessing.h"
#include "shortcuts/PngEncoder.h"
#include "shortcuts/ShortcutsEventsBridge.h"
#include "sync/LibrarySyncController.h"

#include <QCoro/QCoroFuture>
#include <QCoro/QCoroSignal>
#include <QSet>
#include <QSettings>
#include <QThreadPool>
#include <QtConcurrent>

namespace {
const QString placeholderPrefix = QStringLiteral("name:");

bool isPlaceholder(const QString &identifier)
{
    return identifier.startsWith(placeholderPrefix);
}

// Background work at utility priority: below the main thread, beside the bridge's queue.
QThreadPool &utilityPool()
{
    static QThreadPool *pool = [] {
        auto *p = new QThreadPool;
        p->setThreadPriority(QThread::LowPriority);
        return p;
    }();
    return *pool;
}

class ProviderIconSource final : public AppIconSource {
public:
    std::optional<QByteArray> icon(const QString &bundleID) override
    {
        return AppIconProvider::shared().icon(bundleID);
    }
    QCoro::Task<std::optional<QByteArray>> remoteIcon(QString bundleID) override
    {
        co_return co_await AppIconProvider::shared().remoteIcon(bundleID);
    }
    bool isDrawnSymbolIcon(const QString &bundleID) const override
    {
        return AppIconProvider::symbolSubstitute(bundleID).has_value();
    }
};

// The stored image cropped to its content, as PNG; no value when nothing is left.
std::optional<QByteArray> trimmedPNG(const QByteArray &stored)
{
    const QImage image = IconProcessing::decodeImage(stored);
    if (image.isNull())
        return std::nullopt;
    const auto cropped = IconProcessing::trimmedToContent(image);
    if (!cropped)
        return std::nullopt;
    return PngEncoder::encode(*cropped);
}

// A glyph the crop before format 5 damaged: nothing visible left, or its ink placed off the
// middle of the square (rows were measured from the bottom). A sound crop whose square met
// the icon's edge may be taken for one; it is then only fetched once more.
bool damagedByTheOldCrop(const QByteArray &stored)
{
    const QImage image = IconProcessing::decodeImage(stored);
    if (image.isNull())
        return false;
    const auto content = IconProcessing::contentBounds(image);
    if (!content)
        return true;
    const int above = content->top();
    const int below = image.height() - 1 - content->bottom();
    return std::abs(above - below) > 1;
}
} // namespace

AppIconSource &LibrarySyncController::appIcons()
{
    if (!m_appIcons)
        m_appIcons = std::make_shared<ProviderIconSource>();
    return *m_appIcons;
}

void LibrarySyncController::setIconsCompleted(qint64 value)
{
    if (m_iconsCompleted == value)
        return;
    m_iconsCompleted = value;
    emit iconsCompletedChanged();
}

void LibrarySyncController::setIconsTotal(qint64 value)
{
    if (m_iconsTotal == value)
        return;
    m_iconsTotal = value;
    emit iconsTotalChanged();
}

void LibrarySyncController::setIconWorkerRunning(bool running)
{
    if (m_iconWorkerRunning == running)
        return;
    m_iconWorkerRunning = running;
    emit iconFetchRunningChanged();
}

void LibrarySyncController::setIconFetchBlocked(bool blocked)
{
    m_settings.setValue(QLatin1String(iconFetchBlockedKey), blocked);
    if (m_iconFetchBlocked == blocked)
        return;
    m_iconFetchBlocked = blocked;
    emit iconFetchBlockedChanged();
}

void LibrarySyncController::startIconFetch()
{
    if (m_iconFetchBlocked)
        return;
    QStringList identifiers;
    for (const ShortcutItem *item : m_context.shortcuts()) {
        if (!item->hasIconData() && !item->isMissing() && !isPlaceholder(item->identifier()))
            identifiers.append(item->identifier());
    }
    enqueueIcons(identifiers);
}

void LibrarySyncController::enqueueIcons(const QStringList &identifiers)
{
    const QSet<QString> queued(m_iconQueue.cbegin(), m_iconQueue.cend());
    QStringList fresh;
    for (const QString &identifier : identifiers) {
        if (!queued.contains(identifier))
            fresh.append(identifier);
    }
    if (fresh.isEmpty())
        return;
    m_iconQueue.append(fresh);
    setIconsTotal(m_iconsTotal + fresh.size());
    if (!m_iconWorkerRunning) {
        setIconWorkerRunning(true);
        iconWorker(QPointer<LibrarySyncController>(this)); // runs on; holds the controller weakly
    }
}

void LibrarySyncController::prioritizeIcon(ShortcutItem *item)
{
    if (!item || item->hasIconData() || isPlaceholder(item->identifier()))
        return;
    if (m_iconQueue.contains(item->identifier()) &&
        !m_priorityIdentifiers.contains(item->identifier()))
        m_priorityIdentifiers.append(item->identifier());
}

std::optional<QString> LibrarySyncController::takeNextIdentifier()
{
    while (!m_priorityIdentifiers.isEmpty()) {
        const QString identifier = m_priorityIdentifiers.takeFirst();
        const qsizetype at = m_iconQueue.indexOf(identifier);
        if (at >= 0) {
            m_iconQueue.removeAt(at);
            return identifier;
        }
    }
    if (!m_iconQueue.isEmpty())
        return m_iconQueue.takeFirst();
    return std::nullopt;
}

void LibrarySyncController::retryIcons()
{
    setIconFetchBlocked(false);
    QStringList identifiers;
    for (const ShortcutItem *item : m_context.shortcuts()) {
        if (!item->isMissing() && !isPlaceholder(item->identifier()))
            identifiers.append(item->identifier());
    }
    enqueueIcons(identifiers);
}

void LibrarySyncController::stopIconFetch()
{
    m_iconQueue.clear();
    m_priorityIdentifiers.clear();
    // A fetch started ahead is dropped with the queue: the worker throws its answer away.
    m_iconFetchAhead.reset();
}

QCoro::Task<> LibrarySyncController::iconFetchFinished()
{
    if (m_iconWorkerRunning)
        co_await qCoro(this, &LibrarySyncController::iconFetchRunningChanged);
    while (m_iconWorkerRunning)
        co_await qCoro(this, &LibrarySyncController::iconFetchRunningChanged);
}

void LibrarySyncController::applyIconResults(const QHash<QString, IconProcessing::Result> &batch)
{
    // Records by identifier from a table kept between cycles, so that a cycle does not walk the
    // whole library. The table is made again when records came or went since (the list only
    // grows at its end and deleted records are never reused, so its size and last record tell),
    // or when an entry no longer holds (a record deleted, or its identifier changed: a
    // placeholder matched to its shortcut takes an identifier no record had before).
    const QList<ShortcutItem *> &all = m_context.shortcuts();
    ShortcutItem *const last = all.isEmpty() ? nullptr : all.constLast();
    auto collect =
        [this, &batch](bool rebuilt,
                       QList<std::pair<ShortcutItem *, const IconProcessing::Result *>> &into) {
            for (auto result = batch.cbegin(); result != batch.cend(); ++result) {
                auto [at, end] = m_iconRecords.equal_range(result.key());
                if (at == end && !rebuilt)
                    return false;
                for (; at != end; ++at) {
                    ShortcutItem *item = at.value();
                    if (item->isDeleted() || item->identifier() != result.key()) {
                        if (!rebuilt)
                            return false;
                        continue;
                    }
                    into.append({item, &result.value()});
                }
            }
            return true;
        };
    QList<std::pair<ShortcutItem *, const IconProcessing::Result *>> targets;
    const bool current = m_iconRecordsCount == all.size() && m_iconRecordsLast == last;
    if (!current || !collect(false, targets)) {
        m_iconRecords.clear();
        m_iconRecords.reserve(all.size());
        for (ShortcutItem *item : all)
            m_iconRecords.insert(item->identifier(), item);
        m_iconRecordsCount = all.size();
        m_iconRecordsLast = last;
        targets.clear();
        collect(true, targets);
    }
    for (const auto &[item, result] : targets)
        item->applyProcessedIcon(*result);
}

// A two-stage pipeline: while one icon is processed on the utility pool, the next identifier's
// fetch is already on the bridge's queue. Fetches still never overlap one another (the next one
// is started only once the last one has answered) and neither do the processings; only one
// identifier is ever taken ahead, so a priority request waits at most one icon longer.
QCoro::Task<> LibrarySyncController::iconWorker(QPointer<LibrarySyncController> self)
{
    using Fetched = BridgeResult<std::optional<QByteArray>>;
    // The fetch started ahead, and its identifier (also in m_iconFetchAhead while it is wanted).
    // It belongs to whichever cycle takes its answer, the next one when this one is full.
    std::optional<QString> aheadIdentifier;
    QCoro::Task<Fetched> aheadFetch;
    bool blocked = false;
    while (self && !blocked) {
        QHash<QString, IconProcessing::Result> batch;
        int taken = 0;
        while (batch.size() < iconCycleSize && taken < iconCycleSize) {
            QString identifier;
            std::optional<Fetched> fetched;
            if (aheadIdentifier) {
                // Dropped by stopIconFetch(): its answer is thrown away unawaited (the task ends
                // on its own) and the identifier was never taken.
                if (self->m_iconFetchAhead) {
                    Fetched answer = co_await aheadFetch;
                    if (!self)
                        co_return;
                    if (self->m_iconFetchAhead) {
                        identifier = *aheadIdentifier;
                        fetched = std::move(answer);
                    }
                }
                self->m_iconFetchAhead.reset();
                aheadIdentifier.reset();
                aheadFetch = QCoro::Task<Fetched>();
            }
            if (!fetched) {
                const auto next = self->takeNextIdentifier();
                if (!next)
                    break;
                identifier = *next;
                auto fetching = self->m_bridge.iconData(identifier);
                fetched = co_await fetching;
                if (!self)
                    co_return;
            }
            ++taken;
            if (*fetched) {
                if (!fetched->value())
                    continue;
                // The next fetch runs on the bridge while this icon is processed (sent first:
                // fetching is the slower stage).
                if (const auto next = self->takeNextIdentifier()) {
                    aheadIdentifier = *next;
                    self->m_iconFetchAhead = *next;
                    aheadFetch = self->m_bridge.iconData(*next);
                }
                const QByteArray bytes = *fetched->value();
                // Named futures: g++ 12 destroys lambda temporaries of a co_await twice.
                auto processing = QtConcurrent::run(
                    &utilityPool(), [bytes] { return IconProcessing::process(bytes); });
                const auto processed = co_await processing;
                if (!self)
                    co_return;
                if (processed)
                    batch.insert(identifier, *processed);
            } else if (fetched->error().kind() == BridgeError::Kind::script &&
                       fetched->error().number() == -10004) {
                // Nothing is ahead here: a fetch is started ahead only beside a processing.
                self->setIconFetchBlocked(true);
                self->m_iconQueue.clear();
                self->m_priorityIdentifiers.clear();
                self->m_iconFetchAhead.reset();
                blocked = true;
                break;
            }
        }
        // A refusal ends the worker at once: this cycle's results are not applied.
        if (blocked || taken == 0)
            break;
        if (!batch.isEmpty()) {
            self->applyIconResults(batch);
            self->m_context.save();
        }
        self->setIconsCompleted(self->m_iconsCompleted + taken);
        if (!self->m_phase.isSyncing())
            self->setPhase(SyncPhase::icons(self->m_iconsCompleted, self->m_iconsTotal));
    }
    if (!self)
        co_return;
    self->m_context.save();
    self->m_iconRecords.clear();
    self->m_iconRecordsCount = -1;
    self->m_iconRecordsLast = nullptr;
    self->setIconsCompleted(0);
    self->setIconsTotal(0);
    if (self->m_phase.isIcons())
        self->setPhase(SyncPhase::idle());
    self->setIconWorkerRunning(false);
}

// ---------------------------------------------------------------------------------------------
// The database pass

QCoro::Task<std::optional<ShortcutsDatabase::Rows>> LibrarySyncController::loadDatabaseRows()
{
    // One read at a time (a sync's pass and the menu's refresh may ask together): a later pass
    // takes the rows of the read under way.
    if (const std::shared_ptr<RowsRead> running = m_rowsRead) {
        while (!running->done)
            co_await qCoro(this, &LibrarySyncController::databaseRowsRead);
        co_return running->rows;
    }
    const auto read = std::make_shared<RowsRead>();
    m_rowsRead = read;
    QPointer<LibrarySyncController> self(this);
    if (m_rowsLoader) {
        auto loaded = m_rowsLoader();
        read->rows = co_await loaded;
    } else {
        // Copying the database files and reading them is file work: off the main thread.
        auto loading =
            QtConcurrent::run(&utilityPool(), [] { return ShortcutsDatabase::loadRows(); });
        read->rows = co_await loading;
    }
    read->done = true;
    if (self) {
        self->m_rowsRead.reset();
        emit self->databaseRowsRead();
    }
    co_return read->rows;
}

QCoro::Task<> LibrarySyncController::refreshFromDatabase()
{
    QPointer<LibrarySyncController> self(this);
    const auto rows = co_await loadDatabaseRows();
    if (!self || !rows || rows->isEmpty())
        co_return;

    const QList<ShortcutItem *> items = m_context.shortcuts();
    if (m_settings.value(QLatin1String(drawnAppIconVersionKey), 0).toInt() <
        currentDrawnAppIconVersion) {
        for (ShortcutItem *item : items) {
            if (appIcons().isDrawnSymbolIcon(item->iconAppBundleID()))
                item->setIconAppBundleID(QString());
        }
        m_settings.setValue(QLatin1String(drawnAppIconVersionKey), currentDrawnAppIconVersion);
    }

    QList<ShortcutItem *> needAppIcon;
    for (ShortcutItem *item : items) {
        const auto found = rows->constFind(item->identifier());
        if (found == rows->cend())
            continue;
        const ShortcutsDatabase::Row &row = *found;
        if (row.createdAt && item->nativeCreatedAt() != row.createdAt)
            item->setNativeCreatedAt(row.createdAt);
        if (row.modifiedAt && item->nativeModifiedAt() != row.modifiedAt)
            item->setNativeModifiedAt(row.modifiedAt);
        if (row.lastRunAt && (!item->lastRunAt() || *row.lastRunAt > *item->lastRunAt()))
            item->setLastRunAt(row.lastRunAt);
        const QString appKey =
            row.userProvidedIcon ? QString() : row.appBundleID.value_or(QString());
        item->setAppBundleID(appKey);
        if (appKey.isEmpty() && !item->iconAppBundleID().isEmpty()) {
            // The shortcut's own glyph is fetched again by the icon queue.
            item->setIconAppBundleID(QString());
            item->setIconData(std::nullopt);
        }
        if (!appKey.isEmpty() && appKey != item->iconAppBundleID())
            needAppIcon.append(item);
    }
    m_context.save();

    // One lookup per app, however many of its shortcuts there are.
    QStringList keys;
    QHash<QString, QList<ShortcutItem *>> groups;
    for (ShortcutItem *item : needAppIcon) {
        if (!groups.contains(item->appBundleID()))
            keys.append(item->appBundleID());
        groups[item->appBundleID()].append(item);
    }
    QStringList remoteKeys;
    for (const QString &key : keys) {
        if (const auto png = appIcons().icon(key)) {
            for (ShortcutItem *item : groups[key]) {
                item->setIconData(*png);
                item->setIconAppBundleID(key);
            }
        } else {
            remoteKeys.append(key);
        }
    }
    if (!remoteKeys.isEmpty()) {
        // Started together, awaited together: the lookups run concurrently.
        std::vector<QCoro::Task<std::optional<QByteArray>>> lookups;
        lookups.reserve(size_t(remoteKeys.size()));
        for (const QString &key : remoteKeys)
            lookups.push_back(appIcons().remoteIcon(key));
        QHash<QString, std::optional<QByteArray>> results;
        for (qsizetype i = 0; i < remoteKeys.size(); ++i)
            results.insert(remoteKeys[i], co_await lookups[size_t(i)]);
        if (!self)
            co_return;
        // Records may have been deleted by the user while the network worked.
        const QSet<ShortcutItem *> alive(m_context.shortcuts().cbegin(),
                                         m_context.shortcuts().cend());
        for (const QString &key : remoteKeys) {
            const std::optional<QByteArray> &png = results[key];
            for (ShortcutItem *item : groups[key]) {
                if (!alive.contains(item))
                    continue;
                if (png) {
                    item->setIconData(*png);
                    item->setIconAppBundleID(key);
                } else {
                    item->setIconAppBundleID(QString());
                }
            }
        }
    }
    m_context.save();
}

// ---------------------------------------------------------------------------------------------
// Upgrades of stored icons

QCoro::Task<bool>
LibrarySyncController::rewriteStoredIcons(QList<ShortcutItem *> items,
                                          std::function<IconEdit(const QByteArray &)> edit)
{
    QPointer<LibrarySyncController> self(this);
    for (qsizetype start = 0; start < items.size(); start += upgradeChunkSize) {
        const QList<ShortcutItem *> chunk = items.mid(start, upgradeChunkSize);
        QList<QByteArray> images;
        for (ShortcutItem *item : chunk)
            images.append(item->iconData().value_or(QByteArray()));
        auto work = QtConcurrent::run(&utilityPool(), [images, edit] {
            QList<IconEdit> edits;
            for (const QByteArray &bytes : images)
                edits.append(edit(bytes));
            return edits;
        });
        const QList<IconEdit> edits = co_await work;
        if (!self)
            co_return false;
        const QSet<ShortcutItem *> alive(m_context.shortcuts().cbegin(),
                                         m_context.shortcuts().cend());
        for (qsizetype i = 0; i < chunk.size(); ++i) {
            if (edits[i] && alive.contains(chunk[i]))
                edits[i](chunk[i]);
        }
        m_context.save();
    }
    co_return true;
}

QCoro::Task<> LibrarySyncController::upgradeStoredIcons()
{
    auto version = [this] {
        return m_settings.value(QLatin1String(iconFormatVersionKey), 0).toInt();
    };
    auto itemsWithIcons = [this](bool onlyWithoutColours) {
        QList<ShortcutItem *> items;
        for (ShortcutItem *item : m_context.shortcuts()) {
            if (item->hasIconData() && (!onlyWithoutColours || item->iconTopHex().isEmpty()))
                items.append(item);
        }
        return items;
    };

    if (version() < 2) {
        // Icons stored whole: split into glyph and gradient colours.
        auto splitting =
            rewriteStoredIcons(itemsWithIcons(true), [](const QByteArray &bytes) -> IconEdit {
                const auto result = IconProcessing::process(bytes);
                if (!result)
                    return {};
                return [result = *result](ShortcutItem *item) { item->applyProcessedIcon(result); };
            });
        const bool alive = co_await splitting;
        if (!alive)
            co_return;
        m_settings.setValue(QLatin1String(iconFormatVersionKey), 2);
    }

    if (version() < 3) {
        // Glyphs stored with their margins: cropped to their content.
        auto trimming =
            rewriteStoredIcons(itemsWithIcons(false), [](const QByteArray &bytes) -> IconEdit {
                const auto png = trimmedPNG(bytes);
                if (!png)
                    return {};
                return [png = *png](ShortcutItem *item) { item->setIconData(png); };
            });
        const bool alive = co_await trimming;
        if (!alive)
            co_return;
        m_settings.setValue(QLatin1String(iconFormatVersionKey), 3);
    }

    if (version() < 4) {
        for (ShortcutItem *item : m_context.shortcuts()) {
            if (item->iconTopHex().isEmpty())
                continue;
            const QString top = item->iconTopHex();
            item->setIconTopHex(item->iconBottomHex());
            item->setIconBottomHex(top);
        }
        m_context.save();
        m_settings.setValue(QLatin1String(iconFormatVersionKey), 4);
    }

    if (version() < 5) {
        // Glyphs the old vertical crop cut away or shifted: dropped (colours kept), so the icon
        // queue fetches them again. App icons were never cropped.
        QList<ShortcutItem *> glyphs;
        for (ShortcutItem *item : m_context.shortcuts()) {
            if (item->hasIconData() && item->iconAppBundleID().isEmpty())
                glyphs.append(item);
        }
        auto checking = rewriteStoredIcons(glyphs, [](const QByteArray &bytes) -> IconEdit {
            if (!damagedByTheOldCrop(bytes))
                return {};
            return [](ShortcutItem *item) { item->setIconData(std::nullopt); };
        });
        const bool alive = co_await checking;
        if (!alive)
            co_return;
        m_settings.setValue(QLatin1String(iconFormatVersionKey), 5);
    }
}
