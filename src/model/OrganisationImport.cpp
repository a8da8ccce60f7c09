// Merging an organisation document into a library in two steps: a plan that matches every
// entry and decides every write without touching a record (all a dry run needs, and where every
// refusal happens), then the writes themselves, which cannot fail.
//
// The rule where file and library differ: what the library already has wins, the file only adds.
// Matched folders, tags and smart lists keep all their values; a shortcut keeps its notes and
// folder when it has them, gains the file's tags, is a favourite when either side says so, and
// keeps the larger run count.

#include "model/ModelContext.h"
#include "model/OrganisationData.h"
#include "model/OrganisationDocument.h"
#include "model/SmartRuleSet.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

using namespace Organisation;

namespace {

const QLatin1String placeholderPrefix("name:");

// A record an entry refers to: one of the library's, or the one the import makes for a
// document entry.
template<typename T> struct Target {
    T *existing = nullptr;
    int entry = -1;
};

template<typename T> struct TreePlan {
    QList<T *> match; // per entry: the library's record, or nullptr when one is made
    QHash<QString, int> entryByUuid;
    QHash<QString, QString> renamedUuids; // document uuid -> uuid of the matched record
    QList<T *> made;                      // filled while applying
};

struct ShortcutStep {
    ShortcutItem *record = nullptr; // nullptr: a placeholder is made, unless skipped
    bool skip = false;
    bool setFavorite = false;
    std::optional<QString> notes;
    std::optional<Target<LibraryFolder>> folder;
    QList<Target<Tag>> addTags;
    std::optional<qint64> runCount;
};

struct Plan {
    TreePlan<LibraryFolder> folders;
    TreePlan<Tag> tags;
    QList<SmartList *> smartListMatch;
    QList<ShortcutStep> steps;
    ImportSummary summary;
};

LibraryFolder *byUuid(const ModelContext &c, const QString &uuid, LibraryFolder *)
{
    return c.folder(uuid);
}

Tag *byUuid(const ModelContext &c, const QString &uuid, Tag *)
{
    return c.tag(uuid);
}

// By uuid first for every entry, so that a record found that way is not taken by another
// entry's path; then, parents before children, by name among the unclaimed children of the
// record the parent entry matched.
template<typename T>
void matchTree(const ModelContext &context, const QList<T *> &library,
               const QList<TreeEntry> &entries, TreePlan<T> &plan, ImportSummary::Counts &counts)
{
    plan.match.fill(nullptr, entries.size());
    plan.entryByUuid.reserve(entries.size());
    QSet<const T *> claimed;
    for (qsizetype i = 0; i < entries.size(); ++i) {
        plan.entryByUuid.insert(entries[i].uuid, int(i));
        if (T *r = byUuid(context, entries[i].uuid, static_cast<T *>(nullptr))) {
            plan.match[i] = r;
            claimed.insert(r);
        }
    }
    QHash<QPair<const T *, QString>, QList<T *>> byParentAndName;
    for (T *r : library)
        byParentAndName[{r->parent(), r->name()}].append(r);
    for (qsizetype i = 0; i < entries.size(); ++i) {
        if (plan.match[i])
            continue;
        const int p = entries[i].parent;
        if (p >= 0 && !plan.match[p])
            continue; // under a new record: new as well
        const QList<T *> candidates =
            byParentAndName.value({p >= 0 ? plan.match[p] : nullptr, entries[i].name});
        for (T *r : candidates) {
            if (!claimed.contains(r)) {
                plan.match[i] = r;
                claimed.insert(r);
                break;
            }
        }
    }
    for (qsizetype i = 0; i < entries.size(); ++i) {
        if (!plan.match[i]) {
            ++counts.added;
            continue;
        }
        ++counts.unchanged;
        if (plan.match[i]->uuid() != entries[i].uuid)
            plan.renamedUuids.insert(entries[i].uuid, plan.match[i]->uuid());
    }
}

void matchSmartLists(const ModelContext &context, const QList<SmartListEntry> &entries, Plan &plan)
{
    plan.smartListMatch.fill(nullptr, entries.size());
    QSet<const SmartList *> claimed;
    for (qsizetype i = 0; i < entries.size(); ++i)
        if (SmartList *s = context.smartList(entries[i].uuid)) {
            plan.smartListMatch[i] = s;
            claimed.insert(s);
        }
    QHash<QString, QList<SmartList *>> byName;
    for (SmartList *s : context.smartLists())
        byName[s->name()].append(s);
    for (qsizetype i = 0; i < entries.size(); ++i) {
        if (!plan.smartListMatch[i]) {
            for (SmartList *s : byName.value(entries[i].name)) {
                if (!claimed.contains(s)) {
                    plan.smartListMatch[i] = s;
                    claimed.insert(s);
                    break;
                }
            }
        }
        ++(plan.smartListMatch[i] ? plan.summary.smartLists.unchanged
                                  : plan.summary.smartLists.added);
    }
}

// Identifier first for every entry, then name for the rest; each record serves one entry, so
// two same-named shortcuts in the file never land on one record. Where records share an
// identifier (placeholders of same-named shortcuts), those carrying organisation go first: they
// are the ones an export lists, so importing a library's own export changes nothing.
void matchShortcuts(const ModelContext &context, const QList<ShortcutEntry> &entries, Plan &plan)
{
    plan.steps.resize(entries.size());
    if (context.shortcuts().isEmpty())
        return;
    QHash<QString, QList<ShortcutItem *>> byIdentifier, byName;
    byIdentifier.reserve(context.shortcuts().size());
    byName.reserve(context.shortcuts().size());
    for (ShortcutItem *i : context.shortcuts()) {
        byIdentifier[i->identifier()].append(i);
        byName[i->name()].append(i);
    }
    QSet<const ShortcutItem *> claimed;
    const auto claim = [&](const QList<ShortcutItem *> &candidates,
                           bool organisedFirst) -> ShortcutItem * {
        ShortcutItem *chosen = nullptr;
        for (ShortcutItem *r : candidates) {
            if (claimed.contains(r))
                continue;
            if (!organisedFirst || carriesOrganisation(*r)) {
                chosen = r;
                break;
            }
            if (!chosen)
                chosen = r;
        }
        if (chosen)
            claimed.insert(chosen);
        return chosen;
    };
    for (qsizetype i = 0; i < entries.size(); ++i)
        if (!entries[i].identifier.isEmpty())
            plan.steps[i].record = claim(byIdentifier.value(entries[i].identifier), true);
    for (qsizetype i = 0; i < entries.size(); ++i)
        if (!plan.steps[i].record && !entries[i].name.isEmpty())
            plan.steps[i].record = claim(byName.value(entries[i].name), false);
}

template<typename T>
std::optional<Target<T>> resolve(const ModelContext &context, const TreePlan<T> &plan,
                                 const QString &uuid)
{
    const auto it = plan.entryByUuid.constFind(uuid);
    if (it != plan.entryByUuid.cend())
        return plan.match[*it] ? Target<T>{plan.match[*it], -1} : Target<T>{nullptr, *it};
    if (T *r = byUuid(context, uuid, static_cast<T *>(nullptr)))
        return Target<T>{r, -1};
    return std::nullopt;
}

template<typename T> bool sameRecord(const T *existing, const Target<T> &target)
{
    return target.existing == existing;
}

// Decides the writes for each shortcut entry under the library-wins rule.
bool planShortcuts(const ModelContext &context, const QList<ShortcutEntry> &entries, Plan &plan,
                   QString *error)
{
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const ShortcutEntry &e = entries[i];
        ShortcutStep &step = plan.steps[i];
        const ShortcutItem *r = step.record;
        // An entry with nothing to keep makes no placeholder: a sync brings the shortcut.
        if (!r && !e.carriesOrganisation()) {
            step.skip = true;
            continue;
        }

        std::optional<Target<LibraryFolder>> folder;
        if (e.folder) {
            folder = resolve(context, plan.folders, *e.folder);
            if (!folder) {
                if (error)
                    *error = QStringLiteral("shortcuts[%1].folder: no folder has the uuid \"%2\", "
                                            "in the file or in the library")
                                 .arg(i)
                                 .arg(*e.folder);
                return false;
            }
        }
        for (qsizetype k = 0; k < e.tags.size(); ++k) {
            const auto tag = resolve(context, plan.tags, e.tags[k]);
            if (!tag) {
                if (error)
                    *error = QStringLiteral("shortcuts[%1].tags: no tag has the uuid \"%2\", in "
                                            "the file or in the library")
                                 .arg(i)
                                 .arg(e.tags[k]);
                return false;
            }
            if (!r || !tag->existing || !r->hasTag(tag->existing))
                step.addTags.append(*tag);
        }

        step.setFavorite = e.isFavorite && !(r && r->isFavorite());
        if (!e.notes.isEmpty()) {
            if (!r || r->notes().isEmpty())
                step.notes = e.notes;
            else if (r->notes() != e.notes)
                ++plan.summary.conflicts;
        }
        if (folder) {
            if (!r || !r->folder())
                step.folder = folder;
            else if (!sameRecord(r->folder(), *folder))
                ++plan.summary.conflicts;
        }
        if (e.runCount > (r ? r->runCount() : 0))
            step.runCount = e.runCount;

        const bool writes = step.setFavorite || step.notes || step.folder ||
                            !step.addTags.isEmpty() || step.runCount;
        ++(!r       ? plan.summary.shortcuts.added
           : writes ? plan.summary.shortcuts.changed
                    : plan.summary.shortcuts.unchanged);
    }
    return true;
}

// Reference rules of a new smart list name the file's uuids; where the file's folder or tag
// matched a library record with another uuid, the rule follows that record.
QByteArray followRenamedUuids(const QByteArray &rulesData, const Plan &plan)
{
    if (rulesData.isEmpty() ||
        (plan.folders.renamedUuids.isEmpty() && plan.tags.renamedUuids.isEmpty()))
        return rulesData;
    QJsonObject set = QJsonDocument::fromJson(rulesData).object();
    QJsonArray rules = set.value(QLatin1String("rules")).toArray();
    bool renamed = false;
    for (qsizetype i = 0; i < rules.size(); ++i) {
        QJsonObject rule = rules.at(i).toObject();
        const QString field = rule.value(QLatin1String("field")).toString();
        const QHash<QString, QString> *map =
            field == QLatin1String("folder") ? &plan.folders.renamedUuids
            : field == QLatin1String("tag")  ? &plan.tags.renamedUuids
                                             : nullptr;
        const QString reference = rule.value(QLatin1String("referenceUUID")).toString();
        if (!map || !map->contains(reference))
            continue;
        rule.insert(QLatin1String("referenceUUID"), map->value(reference));
        rules.replace(i, rule);
        renamed = true;
    }
    if (!renamed)
        return rulesData;
    set.insert(QLatin1String("rules"), rules);
    return QJsonDocument(set).toJson(QJsonDocument::Compact);
}

template<typename T> T *record(const TreePlan<T> &plan, const Target<T> &target)
{
    return target.existing ? target.existing : plan.made[target.entry];
}

LibraryFolder *make(const TreeEntry &e, LibraryFolder *parent)
{
    auto *f = new LibraryFolder(e.name, parent);
    if (e.symbolName)
        f->setSymbolName(*e.symbolName);
    if (e.colorHex)
        f->setColorHex(*e.colorHex);
    return f;
}

Tag *make(const TreeEntry &e, Tag *parent)
{
    return new Tag(e.name, e.colorHex.value_or(QStringLiteral("#8E8E93")), parent);
}

template<typename T>
void applyTree(ModelContext &context, const QList<TreeEntry> &entries, TreePlan<T> &plan)
{
    plan.made.fill(nullptr, entries.size());
    for (qsizetype i = 0; i < entries.size(); ++i) {
        if (plan.match[i])
            continue;
        const TreeEntry &e = entries[i];
        // Parents come first, so the parent's record exists by now.
        T *parent =
            e.parent < 0 ? nullptr : record(plan, Target<T>{plan.match[e.parent], e.parent});
        T *r = make(e, parent);
        r->setUuid(e.uuid);
        r->setSortOrder(e.sortOrder);
        plan.made[i] = context.insert(r);
    }
}

void apply(ModelContext &context, const Data &data, Plan &plan)
{
    applyTree(context, data.folders, plan.folders);
    applyTree(context, data.tags, plan.tags);

    for (qsizetype i = 0; i < data.smartLists.size(); ++i) {
        if (plan.smartListMatch[i])
            continue;
        const SmartListEntry &e = data.smartLists[i];
        auto *s = new SmartList(e.name, SmartRuleSet());
        s->setUuid(e.uuid);
        s->setRulesData(followRenamedUuids(e.rulesData, plan));
        if (e.symbolName)
            s->setSymbolName(*e.symbolName);
        if (e.colorHex)
            s->setColorHex(*e.colorHex);
        s->setSortOrder(e.sortOrder);
        context.insert(s);
    }

    for (qsizetype i = 0; i < data.shortcuts.size(); ++i) {
        const ShortcutEntry &e = data.shortcuts[i];
        const ShortcutStep &step = plan.steps[i];
        if (step.skip)
            continue;
        ShortcutItem *item = step.record;
        if (!item) {
            // Known by name until a sync links it, like sync's own placeholders; an entry with
            // no name keeps its identifier, the only key it has.
            const QString identifier = e.name.isEmpty() ? e.identifier : placeholderPrefix + e.name;
            item = context.insert(new ShortcutItem(identifier, e.name));
        }
        if (step.setFavorite)
            item->setIsFavorite(true);
        if (step.notes)
            item->setNotes(*step.notes);
        if (step.folder)
            item->setFolder(record(plan.folders, *step.folder));
        for (const Target<Tag> &t : step.addTags)
            item->addTag(record(plan.tags, t));
        if (step.runCount)
            item->setRunCount(*step.runCount);
    }
}

} // namespace

std::optional<ImportSummary> importDocument(ModelContext &context, const QByteArray &document,
                                            ImportMode mode, QString *error)
{
    const std::optional<Data> data = decode(document, error);
    if (!data)
        return std::nullopt;
    Plan plan;
    plan.summary.dryRun = mode == ImportMode::dryRun;
    matchTree(context, context.folders(), data->folders, plan.folders, plan.summary.folders);
    matchTree(context, context.tags(), data->tags, plan.tags, plan.summary.tags);
    matchSmartLists(context, data->smartLists, plan);
    matchShortcuts(context, data->shortcuts, plan);
    if (!planShortcuts(context, data->shortcuts, plan, error))
        return std::nullopt;
    if (mode == ImportMode::apply)
        apply(context, *data, plan);
    return plan.summary;
}
