#include "model/LibraryHealth.h"

#include "model/Clock.h"
#include "model/FlattenedTree.h"
#include "model/ModelContext.h"
#include "model/NameHazards.h"
#include "model/SmartRuleSet.h"

#include <QHash>
#include <QSet>
#include <algorithm>

namespace {
using Kind = HealthFinding::Kind;
constexpr int kindCount = int(Kind::emptyTag) + 1;
constexpr qint64 msPerDay = 86'400'000;

bool isPlaceholder(const ShortcutItem &item)
{
    return item.identifier().startsWith(QLatin1String("name:"));
}

bool keepsOrganisation(const ShortcutItem &item)
{
    return item.folder() || item.isFavorite() || !item.tags().isEmpty() ||
           !item.notes().trimmed().isEmpty();
}

// Folders or tags with no present shortcut in themselves or below. Each record's own list is
// read only until its first present shortcut, so this costs about one step per record.
template<typename Node>
void addEmpty(const QList<Node *> &nodes, Kind kind, QList<HealthFinding> &into)
{
    QSet<const Node *> occupied;
    for (const Node *node : nodes) {
        const auto &items = node->shortcuts();
        if (std::none_of(items.cbegin(), items.cend(),
                         [](const ShortcutItem *i) { return !i->isMissing(); }))
            continue;
        const Node *up = node;
        for (int step = 0; up && step <= Node::maxTreeSteps && !occupied.contains(up); ++step) {
            occupied.insert(up);
            up = up->parent();
        }
    }
    if (occupied.size() == nodes.size())
        return;
    // Only the topmost empty record is named; those below it are counted with it.
    QHash<const Node *, int> below;
    for (const Node *node : nodes) {
        if (occupied.contains(node))
            continue;
        const Node *top = node;
        for (int step = 0;
             step < Node::maxTreeSteps && top->parent() && !occupied.contains(top->parent());
             ++step)
            top = top->parent();
        if (top != node)
            ++below[top];
        else
            below.insert(top, below.value(top));
    }
    for (const TreeEntry<Node> &entry : flattenedTree(nodes))
        if (const auto it = below.constFind(entry.record); it != below.cend())
            into.append({kind, entry.record, it.value()});
}
} // namespace

qsizetype LibraryHealth::problemCount() const
{
    qsizetype n = 0;
    for (const HealthGroup &group : groups)
        n += group.findings.size();
    return n;
}

LibraryHealth::Inputs LibraryHealth::inputsOf(const ShortcutItem &item)
{
    return {item.name(),
            item.isMissing(),
            isPlaceholder(item),
            item.isMissing() && keepsOrganisation(item),
            item.lastRunOutcome() == RunOutcome::failed,
            item.lastRunAt(),
            item.addedDate()};
}

LibraryHealth LibraryHealth::of(const ModelContext &context)
{
    return of(context, Clock::now());
}

LibraryHealth LibraryHealth::of(const ModelContext &context, const QDateTime &now)
{
    QList<HealthFinding> found[kindCount];
    const auto add = [&](Kind kind, Record *record, int number = 0, int extra = 0) {
        found[int(kind)].append({kind, record, number, extra});
    };

    // Shortcuts, in one pass; the names are counted for the second, short one.
    const qint64 quietBefore = now.toMSecsSinceEpoch() - qint64(quietDays) * msPerDay;
    const QList<ShortcutItem *> &items = context.shortcuts();
    QHash<QString, int> named;
    named.reserve(items.size());
    bool shared = false;
    for (ShortcutItem *item : items) {
        const bool placeholder = isPlaceholder(*item);
        if (item->isMissing()) {
            if (placeholder)
                add(Kind::unlinkedPlaceholder, item);
            else if (keepsOrganisation(*item))
                add(Kind::organisedMissing, item);
            continue; // a shortcut that is gone is not run, so its name does not matter
        }
        const unsigned hazards = NameHazards::of(item->name());
        if (hazards)
            add(Kind::unsafeName, item, int(hazards));
        if (item->lastRunOutcome() == RunOutcome::failed)
            add(Kind::lastRunFailed, item);
        if (placeholder) {
            add(Kind::unlinkedPlaceholder, item);
            continue;
        }
        if (!(hazards & NameHazards::blank))
            shared |= ++named[item->name()] > 1;
        const std::optional<QDateTime> &lastRun = item->lastRunAt();
        if ((!lastRun || lastRun->toMSecsSinceEpoch() < quietBefore) &&
            item->addedDate().toMSecsSinceEpoch() < quietBefore)
            add(Kind::notRunRecently, item);
    }
    if (shared) {
        QList<HealthFinding> &twins = found[int(Kind::duplicateName)];
        for (ShortcutItem *item : items) {
            if (item->isMissing() || isPlaceholder(*item))
                continue;
            const int count = named.value(item->name());
            if (count > 1)
                add(Kind::duplicateName, item, count - 1);
        }
        // Twins side by side, each name's in creation order.
        std::stable_sort(twins.begin(), twins.end(), [](const auto &a, const auto &b) {
            return static_cast<ShortcutItem *>(a.record)->name() <
                   static_cast<ShortcutItem *>(b.record)->name();
        });
    }

    // Smart lists in the sidebar's order.
    QList<SmartList *> lists = context.smartLists();
    std::stable_sort(lists.begin(), lists.end(), [](const SmartList *a, const SmartList *b) {
        return a->sortOrder() < b->sortOrder();
    });
    for (SmartList *list : lists) {
        const std::optional<SmartRuleSet> rules = list->ruleSetIfReadable();
        if (!rules) {
            add(Kind::unreadableRules, list);
            continue;
        }
        int folders = 0, tags = 0;
        for (const SmartRule &rule : rules->rules) {
            if (rule.referenceUUID.isEmpty())
                continue;
            if (rule.field == SmartRule::Field::folder)
                folders += !context.folder(rule.referenceUUID);
            else if (rule.field == SmartRule::Field::tag)
                tags += !context.tag(rule.referenceUUID);
        }
        if (folders + tags > 0)
            add(Kind::deletedReference, list, folders, tags);
    }

    addEmpty(context.folders(), Kind::emptyFolder, found[int(Kind::emptyFolder)]);
    addEmpty(context.tags(), Kind::emptyTag, found[int(Kind::emptyTag)]);

    LibraryHealth health;
    for (int k = 0; k < kindCount; ++k)
        if (!found[k].isEmpty())
            health.groups.append({Kind(k), std::move(found[k])});
    return health;
}
