#include "sync/LibrarySyncController.h"

#include "model/AppSettings.h"
#include "model/Clock.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "shortcuts/IconProcessing.h"
#include "shortcuts/ShortcutsEventsBridge.h"
#include "sync/ImportJournal.h"

#include <QSet>
#include <QSettings>

namespace {
const QString placeholderPrefix = QStringLiteral("name:");

std::optional<QDateTime> storedDate(QSettings &settings, const char *key)
{
    const QVariant value = settings.value(QLatin1String(key));
    if (value.typeId() != QMetaType::QDateTime)
        return std::nullopt;
    const QDateTime date = value.toDateTime();
    return date.isValid() ? std::optional(date) : std::nullopt;
}
} // namespace

// ---------------------------------------------------------------------------------------------
// SyncMerge

SyncMerge::SyncMerge(ModelContext &context, const QDateTime &now) : m_context(context), m_now(now)
{
    const QList<ShortcutItem *> &existing = context.shortcuts();
    m_byIdentifier.reserve(existing.size());
    m_firstByName.reserve(existing.size());
    for (ShortcutItem *item : existing) {
        m_byIdentifier.insert(item->identifier(), item);
        addByName(item);
    }
}

void SyncMerge::addByName(ShortcutItem *item)
{
    // Names are nearly always unique: only the rare twins pay for a list.
    ShortcutItem *&first = m_firstByName[item->name()];
    if (first)
        m_moreByName[item->name()].append(item);
    else
        first = item;
}

QVarLengthArray<ShortcutItem *, 4> SyncMerge::itemsNamed(const QString &name) const
{
    QVarLengthArray<ShortcutItem *, 4> items;
    if (ShortcutItem *first = m_firstByName.value(name)) {
        items.append(first);
        for (ShortcutItem *item : m_moreByName.value(name))
            items.append(item);
    }
    return items;
}

std::pair<ShortcutItem *, bool> SyncMerge::matchOrInsert(const ShortcutSnapshot &snapshot)
{
    const bool hasIdentifier = !snapshot.identifier.isEmpty();
    if (hasIdentifier) {
        if (ShortcutItem *item = m_byIdentifier.value(snapshot.identifier))
            return {item, false};
    }
    const QString nameKey = hasIdentifier ? QString() : placeholderPrefix + snapshot.name;
    if (!hasIdentifier) {
        if (ShortcutItem *item = m_byIdentifier.value(nameKey))
            return {item, false};
    }
    const QVarLengthArray<ShortcutItem *, 4> candidates = itemsNamed(snapshot.name);
    if (!candidates.isEmpty()) {
        ShortcutItem *chosen = nullptr;
        for (ShortcutItem *c : candidates) {
            if (c->identifier().startsWith(placeholderPrefix)) {
                chosen = c;
                break;
            }
        }
        if (!chosen) {
            for (ShortcutItem *c : candidates) {
                if (c->isMissing()) {
                    chosen = c;
                    break;
                }
            }
        }
        if (chosen) {
            if (hasIdentifier && chosen->identifier() != snapshot.identifier) {
                // Only drop the table entry if it still points here: a twin may own it.
                const auto old = m_byIdentifier.constFind(chosen->identifier());
                if (old != m_byIdentifier.cend() && old.value() == chosen)
                    m_byIdentifier.remove(chosen->identifier());
                chosen->setIdentifier(snapshot.identifier);
                m_byIdentifier.insert(snapshot.identifier, chosen);
            }
            return {chosen, false};
        }
        if (!hasIdentifier)
            return {candidates.first(), false};
    }

    auto *item = new ShortcutItem(hasIdentifier ? snapshot.identifier : nameKey, snapshot.name);
    item->setFirstSeenAt(m_now);
    item->setLastChangedAt(m_now);
    apply(snapshot, item, m_now);
    m_context.insert(item);
    m_byIdentifier.insert(item->identifier(), item);
    addByName(item);
    return {item, true};
}

bool SyncMerge::apply(const ShortcutSnapshot &snapshot, ShortcutItem *to, const QDateTime &now)
{
    bool changed = false;
    if (to->name() != snapshot.name) {
        to->setName(snapshot.name);
        changed = true;
    }
    if (!snapshot.subtitle.isEmpty() && to->subtitle() != snapshot.subtitle) {
        to->setSubtitle(snapshot.subtitle);
        changed = true;
    }
    if (!snapshot.colorHex.isEmpty() && to->colorHex() != snapshot.colorHex) {
        to->setColorHex(snapshot.colorHex);
        changed = true;
    }
    // A name-only snapshot never clears the flag.
    const bool acceptsInput =
        snapshot.acceptsInput || (snapshot.identifier.isEmpty() && to->acceptsInput());
    if (to->acceptsInput() != acceptsInput) {
        to->setAcceptsInput(acceptsInput);
        changed = true;
    }
    if (snapshot.actionCount > 0 && to->actionCount() != snapshot.actionCount) {
        to->setActionCount(snapshot.actionCount);
        changed = true;
    }
    if (to->nativeFolderName() != snapshot.folderName) {
        to->setNativeFolderName(snapshot.folderName);
        changed = true;
    }
    if (snapshot.createdAt && to->nativeCreatedAt() != snapshot.createdAt) {
        to->setNativeCreatedAt(snapshot.createdAt);
        changed = true;
    }
    if (snapshot.modifiedAt && to->nativeModifiedAt() != snapshot.modifiedAt) {
        to->setNativeModifiedAt(snapshot.modifiedAt);
        changed = true;
    }
    if (snapshot.libraryOrder)
        to->setLibraryOrder(*snapshot.libraryOrder);

    std::optional<IconProcessing::Result> icon = snapshot.processedIcon;
    if (!icon && snapshot.iconImageData)
        icon = IconProcessing::process(*snapshot.iconImageData);
    if (icon)
        to->applyProcessedIcon(*icon);

    if (changed)
        to->setLastChangedAt(snapshot.modifiedAt.value_or(now));
    return changed;
}

// ---------------------------------------------------------------------------------------------
// LibrarySyncController: shape and full sync

LibrarySyncController::LibrarySyncController(ModelContext &context, ShortcutsEventsBridge &bridge,
                                             QSettings &settings, QObject *parent)
    : QObject(parent), m_context(context), m_bridge(bridge), m_settings(settings)
{
    if (const auto date = storedDate(settings, lastSyncDateKey))
        m_lastSyncDate = *date;
    m_iconFetchBlocked = settings.value(QLatin1String(iconFetchBlockedKey), false).toBool();
    m_flushTimer.setSingleShot(true);
    m_flushTimer.setTimerType(Qt::PreciseTimer);
    m_flushTimer.setInterval(defaultImportBatchInterval);
    connect(&m_flushTimer, &QTimer::timeout, this, &LibrarySyncController::flushImports);
}

LibrarySyncController::~LibrarySyncController() = default;

LibrarySyncController &LibrarySyncController::shared()
{
    static LibrarySyncController *controller = new LibrarySyncController(
        LibraryStoreContainer::shared(), ShortcutsEventsBridge::shared(), AppSettings::store());
    return *controller;
}

void LibrarySyncController::setImportBatchInterval(std::chrono::milliseconds interval)
{
    m_flushTimer.setInterval(interval);
}

void LibrarySyncController::setPhase(const SyncPhase &phase)
{
    if (m_phase == phase)
        return;
    m_phase = phase;
    emit phaseChanged();
}

void LibrarySyncController::setLastSummary(const SyncSummary &summary)
{
    if (m_lastSummary == summary)
        return;
    m_lastSummary = summary;
    emit lastSummaryChanged();
}

void LibrarySyncController::setLastSyncDate(const QDateTime &date)
{
    m_settings.setValue(QLatin1String(lastSyncDateKey), date);
    if (m_lastSyncDate == date)
        return;
    m_lastSyncDate = date;
    emit lastSyncDateChanged();
}

void LibrarySyncController::setLastError(const QString &error)
{
    if (m_lastError == error)
        return;
    m_lastError = error;
    emit lastErrorChanged();
}

QCoro::Task<> LibrarySyncController::sync()
{
    if (m_phase.isSyncing())
        co_return;
    setPhase(SyncPhase::syncing());
    setLastError({});

    QPointer<LibrarySyncController> self(this);
    auto listed = co_await m_bridge.listShortcuts();
    if (!self)
        co_return;
    if (!listed) {
        setLastError(listed.error().localizedDescription());
        setPhase(SyncPhase::idle());
        co_return;
    }
    QString error;
    const auto summary = merge(listed.value(), &error);
    if (!summary) {
        setLastError(error);
        setPhase(SyncPhase::idle());
        co_return;
    }
    setLastSummary(*summary);
    setLastSyncDate(Clock::now());
    setPhase(SyncPhase::idle());
    emit syncFinished();

    co_await refreshFromDatabase();
    if (!self)
        co_return;
    startIconFetch();
}

std::optional<SyncSummary> LibrarySyncController::merge(const QList<ShortcutSnapshot> &snapshots,
                                                        QString *error)
{
    SyncMerge tables(m_context, Clock::now());
    const QDateTime &now = tables.now();
    const QList<ShortcutItem *> existing = m_context.shortcuts();
    SyncSummary summary;
    QSet<ShortcutItem *> seen;
    seen.reserve(snapshots.size());
    for (qsizetype i = 0; i < snapshots.size(); ++i) {
        const ShortcutSnapshot &snapshot = snapshots[i];
        const auto [item, inserted] = tables.matchOrInsert(snapshot);
        seen.insert(item);
        item->setLibraryOrder(i);
        if (inserted)
            ++summary.added;
        else if (SyncMerge::apply(snapshot, item, now))
            ++summary.updated;
        item->setLastSeenAt(now);
        item->setIsMissing(false);
    }
    for (ShortcutItem *item : existing) {
        if (seen.contains(item))
            continue;
        item->setIsMissing(true);
        ++summary.missing;
    }
    if (!m_context.save(error))
        return std::nullopt;
    summary.total = snapshots.size();
    return summary;
}
