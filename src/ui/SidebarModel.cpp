#include "ui/SidebarModel.h"

#include "model/ColorHex.h"
#include "model/FlattenedTree.h"
#include "model/ModelContext.h"
#include "ui/LibraryHealthMonitor.h"
#include "ui/PlainText.h"
#include "ui/ShortcutDrag.h"
#include "ui/ShortcutRoles.h"
#include "ui/SidebarOperations.h"

#include <QMimeData>

struct SidebarModel::Blueprint {
    RowKind kind = RowKind::entry;
    std::optional<Header> header;
    QString key;
    Record *record = nullptr;
    std::optional<LibrarySection> section;
    QString title;
    QString symbol;
    QString tintHex; // "" or malformed: the accent colour
    int count = -1;  // -1: no count shown
    QList<Blueprint> children;

    bool sameData(const Blueprint &other) const
    {
        return title == other.title && symbol == other.symbol && tintHex == other.tintHex &&
               count == other.count && section == other.section;
    }
};

struct SidebarModel::Node {
    Blueprint data; // children of the blueprint are not kept here
    Node *parent = nullptr;
    std::vector<std::unique_ptr<Node>> children;

    int rowOf(const Node *child) const
    {
        for (size_t i = 0; i < children.size(); ++i)
            if (children[i].get() == child)
                return int(i);
        return -1;
    }
};

namespace {
QString recordKey(const char *prefix, const void *record)
{
    return QLatin1String(prefix) + QString::number(quintptr(record), 16);
}

} // namespace

SidebarModel::SidebarModel(ModelContext &context, QObject *parent)
    : QAbstractItemModel(parent), m_context(context), m_health(LibraryHealthMonitor::of(context)),
      m_tally(context), m_root(std::make_unique<Node>())
{
    const QList<Blueprint> tree = desiredTree();
    for (const Blueprint &blueprint : tree)
        m_root->children.push_back(makeNode(blueprint, m_root.get()));
    connect(&m_context, &ModelContext::changed, this, &SidebarModel::contextChanged);
    // A change of the records has been checked before it reaches this model; only the clock
    // alone can change the number of problems.
    connect(&m_health, &LibraryHealthMonitor::checked, this, [this] {
        const Node *row = nodeAt(indexOf(LibrarySection::health()));
        if ((row ? row->data.count : 0) != m_health.health().problemCount())
            refresh();
    });
}

SidebarModel::~SidebarModel() = default;

QList<SidebarModel::Blueprint> SidebarModel::desiredTree() const
{
    const SidebarCounts &counts = m_tally.counts();

    const auto fixed = [](const QString &title, const QString &symbol,
                          const LibrarySection &section, int count) {
        Blueprint blueprint;
        blueprint.key = section.toText();
        blueprint.section = section;
        blueprint.title = title;
        blueprint.symbol = symbol;
        blueprint.count = count;
        return blueprint;
    };
    const auto header = [](Header which, const QString &title) {
        Blueprint blueprint;
        blueprint.kind = RowKind::header;
        blueprint.header = which;
        blueprint.key = QStringLiteral("header:") + title;
        blueprint.title = title;
        return blueprint;
    };
    const auto hint = [](const QString &key, const QString &text) {
        Blueprint blueprint;
        blueprint.kind = RowKind::hint;
        blueprint.key = key;
        blueprint.title = text;
        return blueprint;
    };

    QList<Blueprint> tree;
    Blueprint library = header(Header::library, QStringLiteral("Library"));
    library.children = {
        fixed(QStringLiteral("All Shortcuts"), QStringLiteral("square.grid.2x2"),
              LibrarySection::all(), int(counts.all)),
        fixed(QStringLiteral("Favorites"), QStringLiteral("star.fill"), LibrarySection::favorites(),
              int(counts.favorites)),
        fixed(QStringLiteral("Recently Run"), QStringLiteral("clock.arrow.circlepath"),
              LibrarySection::recent(), int(counts.recent)),
        fixed(QStringLiteral("Not in a Folder"), QStringLiteral("tray"), LibrarySection::unfiled(),
              int(counts.unfiled)),
        fixed(QStringLiteral("Untagged"), QStringLiteral("tag.slash"), LibrarySection::untagged(),
              int(counts.untagged)),
    };
    if (counts.missing > 0)
        library.children.append(fixed(QStringLiteral("Missing from Shortcuts"),
                                      QStringLiteral("questionmark.folder"),
                                      LibrarySection::missing(), int(counts.missing)));
    if (const qsizetype problems = m_health.health().problemCount(); problems > 0)
        library.children.append(fixed(QStringLiteral("Library Health"),
                                      QStringLiteral("stethoscope"), LibrarySection::health(),
                                      int(problems)));
    tree.append(library);

    if (!m_context.smartLists().isEmpty()) {
        Blueprint smart = header(Header::smartLists, QStringLiteral("Smart Lists"));
        QList<SmartList *> lists = m_context.smartLists();
        std::stable_sort(lists.begin(), lists.end(), [](const SmartList *a, const SmartList *b) {
            return a->sortOrder() < b->sortOrder();
        });
        for (SmartList *list : lists) {
            Blueprint blueprint =
                fixed(list->name(), list->symbolName(), LibrarySection::smartList(list->uuid()),
                      int(counts.smartLists.value(list->uuid())));
            blueprint.key = recordKey("smart:", list);
            blueprint.record = list;
            blueprint.tintHex = list->colorHex();
            smart.children.append(blueprint);
        }
        tree.append(smart);
    }

    // Folders and tags as rows nested like the records, down to the depth the record walks reach.
    const auto treeRows = [&]<typename T>(const QList<T *> &all, const char *prefix,
                                          const auto &row) {
        const std::function<Blueprint(T *, int)> build = [&](T *record, int depth) {
            Blueprint blueprint = row(record);
            blueprint.key = recordKey(prefix, record);
            blueprint.record = record;
            blueprint.tintHex = record->colorHex();
            if (depth < T::maxTreeSteps)
                for (T *child : record->sortedChildren())
                    blueprint.children.append(build(child, depth + 1));
            return blueprint;
        };
        QList<T *> roots;
        for (T *record : all)
            if (!record->parent())
                roots.append(record);
        // The live queries sort by name; the rows then by sortOrder and the lower-cased name.
        std::stable_sort(roots.begin(), roots.end(),
                         [](const T *a, const T *b) { return a->name() < b->name(); });
        sortTopLevel(roots);
        QList<Blueprint> rows;
        for (T *root : roots)
            rows.append(build(root, 0));
        return rows;
    };

    Blueprint folders = header(Header::folders, QStringLiteral("Folders"));
    folders.children = treeRows(m_context.folders(), "folder:", [&](const LibraryFolder *folder) {
        return fixed(folder->name(), folder->symbolName(), LibrarySection::folder(folder->uuid()),
                     int(counts.folders.value(folder->uuid())));
    });
    if (m_context.folders().isEmpty())
        folders.children.append(
            hint(QStringLiteral("hint:folders"),
                 QStringLiteral("Use + above to create a folder, then drag shortcuts onto it.")));
    tree.append(folders);

    Blueprint tags = header(Header::tags, QStringLiteral("Tags"));
    tags.children = treeRows(m_context.tags(), "tag:", [&](const Tag *tag) {
        return fixed(tag->name(), QStringLiteral("tag.fill"), LibrarySection::tag(tag->uuid()),
                     int(counts.tags.value(tag->uuid())));
    });
    if (m_context.tags().isEmpty())
        tags.children.append(
            hint(QStringLiteral("hint:tags"), QStringLiteral("Use + above to create a tag.")));
    tree.append(tags);

    if (!counts.nativeFolders.isEmpty()) {
        Blueprint native = header(Header::nativeFolders, QStringLiteral("Shortcuts App Folders"));
        for (const auto &[name, count] : counts.nativeFolders)
            native.children.append(fixed(name, QStringLiteral("folder.badge.gearshape"),
                                         LibrarySection::nativeFolder(name), int(count)));
        tree.append(native);
    }
    return tree;
}

std::unique_ptr<SidebarModel::Node> SidebarModel::makeNode(const Blueprint &blueprint,
                                                           Node *parent) const
{
    auto node = std::make_unique<Node>();
    node->data = blueprint;
    node->data.children.clear();
    node->parent = parent;
    for (const Blueprint &child : blueprint.children)
        node->children.push_back(makeNode(child, node.get()));
    return node;
}

void SidebarModel::contextChanged(const ModelChanges &changes)
{
    if (changes.isEmpty())
        return;
    m_tally.apply(changes);
    // Which rows there are follows from folders, tags and lists, and from the few rows that
    // come and go with a count; a change of shortcuts alone mostly moves counts.
    const bool rowsMayChange = changes.touches(Record::Kind::libraryFolder) ||
                               changes.touches(Record::Kind::tag) ||
                               changes.touches(Record::Kind::smartList);
    if (rowsMayChange || !updateCounts())
        refresh();
}

bool SidebarModel::updateCounts()
{
    const SidebarCounts &counts = m_tally.counts();
    const qsizetype problems = m_health.health().problemCount();
    if ((counts.missing > 0) != indexOf(LibrarySection::missing()).isValid() ||
        (problems > 0) != indexOf(LibrarySection::health()).isValid())
        return false;
    const Node *natives = nodeAt(headerIndex(Header::nativeFolders));
    if (!natives != counts.nativeFolders.isEmpty())
        return false;
    if (natives) {
        if (natives->children.size() != size_t(counts.nativeFolders.size()))
            return false;
        for (size_t i = 0; i < natives->children.size(); ++i)
            if (natives->children[i]->data.section !=
                LibrarySection::nativeFolder(counts.nativeFolders[qsizetype(i)].first))
                return false;
    }
    const std::function<void(Node *)> update = [&](Node *node) {
        for (const std::unique_ptr<Node> &child : node->children) {
            Blueprint &data = child->data;
            if (data.kind == RowKind::entry && data.section && data.count >= 0) {
                const int count = data.section->kind == LibrarySection::Case::health
                                      ? int(problems)
                                      : int(counts.count(*data.section));
                if (data.count != count) {
                    data.count = count;
                    const QModelIndex index = indexOfNode(child.get());
                    emit dataChanged(index, index);
                }
            }
            update(child.get());
        }
    };
    update(m_root.get());
    return true;
}

void SidebarModel::refresh()
{
    emit reconcileStarted();
    reconcile(m_root.get(), QModelIndex(), desiredTree());
    emit reconcileFinished();
}

void SidebarModel::reconcile(Node *node, const QModelIndex &nodeIndex,
                             const QList<Blueprint> &desired)
{
    QSet<QString> wanted;
    for (const Blueprint &blueprint : desired)
        wanted.insert(blueprint.key);

    // Removals first, in runs of adjacent rows, from the end so rows stay valid.
    for (int end = int(node->children.size()) - 1; end >= 0;) {
        if (wanted.contains(node->children[size_t(end)]->data.key)) {
            --end;
            continue;
        }
        int start = end;
        while (start > 0 && !wanted.contains(node->children[size_t(start - 1)]->data.key))
            --start;
        beginRemoveRows(nodeIndex, start, end);
        node->children.erase(node->children.begin() + start, node->children.begin() + end + 1);
        endRemoveRows();
        end = start - 1;
    }

    // Then walk the wanted order: keep, move up, or insert.
    for (int i = 0; i < desired.size(); ++i) {
        const Blueprint &blueprint = desired.at(i);
        int found = -1;
        for (int j = i; j < int(node->children.size()); ++j)
            if (node->children[size_t(j)]->data.key == blueprint.key) {
                found = j;
                break;
            }
        if (found < 0) {
            beginInsertRows(nodeIndex, i, i);
            node->children.insert(node->children.begin() + i, makeNode(blueprint, node));
            endInsertRows();
            continue;
        }
        if (found != i) {
            beginMoveRows(nodeIndex, found, found, nodeIndex, i);
            auto moved = std::move(node->children[size_t(found)]);
            node->children.erase(node->children.begin() + found);
            node->children.insert(node->children.begin() + i, std::move(moved));
            endMoveRows();
        }
        Node *child = node->children[size_t(i)].get();
        const QModelIndex childIndex = index(i, 0, nodeIndex);
        if (!child->data.sameData(blueprint)) {
            QList<Blueprint> keepChildren; // the node's own data never holds children
            child->data = blueprint;
            child->data.children = keepChildren;
            emit dataChanged(childIndex, childIndex);
        }
        child->data.record = blueprint.record;
        reconcile(child, childIndex, blueprint.children);
    }
}

QModelIndex SidebarModel::index(int row, int column, const QModelIndex &parent) const
{
    if (column != 0 || row < 0)
        return {};
    const Node *node = parent.isValid() ? nodeAt(parent) : m_root.get();
    if (!node || row >= int(node->children.size()))
        return {};
    return createIndex(row, column, node->children[size_t(row)].get());
}

QModelIndex SidebarModel::parent(const QModelIndex &child) const
{
    const Node *node = nodeAt(child);
    if (!node || !node->parent || node->parent == m_root.get())
        return {};
    return indexOfNode(node->parent);
}

QModelIndex SidebarModel::indexOfNode(const Node *node) const
{
    if (!node || node == m_root.get() || !node->parent)
        return {};
    return createIndex(node->parent->rowOf(node), 0, const_cast<Node *>(node));
}

SidebarModel::Node *SidebarModel::nodeAt(const QModelIndex &index) const
{
    if (!index.isValid() || index.model() != this)
        return nullptr;
    return static_cast<Node *>(index.internalPointer());
}

int SidebarModel::rowCount(const QModelIndex &parent) const
{
    if (parent.column() > 0)
        return 0;
    const Node *node = parent.isValid() ? nodeAt(parent) : m_root.get();
    return node ? int(node->children.size()) : 0;
}

int SidebarModel::columnCount(const QModelIndex &) const
{
    return 1;
}

QVariant SidebarModel::data(const QModelIndex &index, int role) const
{
    const Node *node = nodeAt(index);
    if (!node)
        return {};
    const Blueprint &blueprint = node->data;
    switch (role) {
    case Qt::DisplayRole:
        return blueprint.title;
    case Qt::ToolTipRole:
        return PlainText::markupSafe(blueprint.title);
    case Qt::AccessibleTextRole:
        return blueprint.count >= 0
                   ? blueprint.title + QStringLiteral(", ") + QString::number(blueprint.count)
                   : blueprint.title;
    case SidebarRoles::rowKind:
        return int(blueprint.kind);
    case SidebarRoles::section:
        return blueprint.section ? QVariant(blueprint.section->toText()) : QVariant();
    case SidebarRoles::count:
        return blueprint.count >= 0 ? QVariant(blueprint.count) : QVariant();
    case SidebarRoles::symbolName:
        return blueprint.symbol.isEmpty() ? QVariant() : QVariant(blueprint.symbol);
    case SidebarRoles::tint:
        if (const auto rgb = rgbComponentsIfValid(blueprint.tintHex))
            return QColor::fromRgbF(float(rgb->red), float(rgb->green), float(rgb->blue));
        return {};
    case SidebarRoles::uuid:
        if (auto *folder = folderAt(index))
            return folder->uuid();
        if (auto *tag = tagAt(index))
            return tag->uuid();
        if (auto *list = smartListAt(index))
            return list->uuid();
        return {};
    default:
        return {};
    }
}

Qt::ItemFlags SidebarModel::flags(const QModelIndex &index) const
{
    const Node *node = nodeAt(index);
    if (!node)
        return Qt::NoItemFlags;
    switch (node->data.kind) {
    case RowKind::header:
        return Qt::ItemIsEnabled;
    case RowKind::hint:
        return Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    case RowKind::entry:
        break;
    }
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (folderAt(index) || tagAt(index))
        flags |= Qt::ItemIsDropEnabled;
    else
        flags |= Qt::ItemNeverHasChildren;
    return flags;
}

QStringList SidebarModel::mimeTypes() const
{
    return {QString::fromLatin1(ShortcutDrag::mimeType), QStringLiteral("text/plain")};
}

Qt::DropActions SidebarModel::supportedDropActions() const
{
    return Qt::CopyAction | Qt::MoveAction | Qt::LinkAction;
}

bool SidebarModel::canDropMimeData(const QMimeData *data, Qt::DropAction, int row, int,
                                   const QModelIndex &parent) const
{
    // Only onto a folder or tag row itself, never between rows.
    return row < 0 && (folderAt(parent) || tagAt(parent)) && ShortcutDrag::canDecode(data);
}

bool SidebarModel::dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                                const QModelIndex &parent)
{
    if (!canDropMimeData(data, action, row, column, parent))
        return false;
    const QSet<QString> identifiers = ShortcutDrag::identifiers(data);
    if (LibraryFolder *folder = folderAt(parent))
        SidebarOperations::fileShortcuts(m_context, identifiers, folder);
    else if (Tag *tag = tagAt(parent))
        SidebarOperations::tagShortcuts(m_context, identifiers, tag);
    // Reported as done even when no identifier matched a shortcut.
    return true;
}

SidebarModel::RowKind SidebarModel::rowKind(const QModelIndex &index) const
{
    const Node *node = nodeAt(index);
    return node ? node->data.kind : RowKind::hint;
}

std::optional<SidebarModel::Header> SidebarModel::header(const QModelIndex &index) const
{
    const Node *node = nodeAt(index);
    return node ? node->data.header : std::nullopt;
}

QModelIndex SidebarModel::headerIndex(Header which) const
{
    for (size_t i = 0; i < m_root->children.size(); ++i)
        if (m_root->children[i]->data.header == which)
            return createIndex(int(i), 0, m_root->children[i].get());
    return {};
}

std::optional<LibrarySection> SidebarModel::section(const QModelIndex &index) const
{
    const Node *node = nodeAt(index);
    return node ? node->data.section : std::nullopt;
}

const SidebarModel::Node *SidebarModel::find(const std::function<bool(const Node &)> &test) const
{
    std::vector<const Node *> stack{m_root.get()};
    while (!stack.empty()) {
        const Node *node = stack.back();
        stack.pop_back();
        if (node != m_root.get() && test(*node))
            return node;
        for (auto it = node->children.rbegin(); it != node->children.rend(); ++it)
            stack.push_back(it->get());
    }
    return nullptr;
}

QModelIndex SidebarModel::indexOf(const LibrarySection &section) const
{
    return indexOfNode(find([&](const Node &node) { return node.data.section == section; }));
}

QModelIndex SidebarModel::indexOf(const Record *record) const
{
    if (!record)
        return {};
    return indexOfNode(find([&](const Node &node) { return node.data.record == record; }));
}

LibraryFolder *SidebarModel::folderAt(const QModelIndex &index) const
{
    const Node *node = nodeAt(index);
    if (!node || !node->data.record || node->data.record->kind() != Record::Kind::libraryFolder)
        return nullptr;
    return static_cast<LibraryFolder *>(node->data.record);
}

Tag *SidebarModel::tagAt(const QModelIndex &index) const
{
    const Node *node = nodeAt(index);
    if (!node || !node->data.record || node->data.record->kind() != Record::Kind::tag)
        return nullptr;
    return static_cast<Tag *>(node->data.record);
}

SmartList *SidebarModel::smartListAt(const QModelIndex &index) const
{
    const Node *node = nodeAt(index);
    if (!node || !node->data.record || node->data.record->kind() != Record::Kind::smartList)
        return nullptr;
    return static_cast<SmartList *>(node->data.record);
}
