#pragma once

#include "model/LibrarySection.h"
#include "model/SidebarTally.h"

#include <QAbstractItemModel>
#include <QColor>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class LibraryFolder;
class LibraryHealthMonitor;
class ModelContext;
class Record;
class SmartList;
class Tag;
struct ModelChanges;

// The sidebar as a tree: section headers ("Library", "Smart Lists", "Folders", "Tags",
// "Shortcuts App Folders") holding their entries, folders and tags nested under their parents.
// Every change of the library is reconciled against the rows shown, as targeted inserts,
// removals, moves and dataChanged, so the view keeps its selection and expansion.
class SidebarModel : public QAbstractItemModel {
    Q_OBJECT
public:
    enum class RowKind { header, entry, hint };
    enum class Header { library, smartLists, folders, tags, nativeFolders };

    explicit SidebarModel(ModelContext &context, QObject *parent = nullptr);
    ~SidebarModel() override;

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &child) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

    QStringList mimeTypes() const override;
    Qt::DropActions supportedDropActions() const override;
    bool canDropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                         const QModelIndex &parent) const override;
    bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                      const QModelIndex &parent) override;

    RowKind rowKind(const QModelIndex &index) const;
    std::optional<Header> header(const QModelIndex &index) const;
    QModelIndex headerIndex(Header header) const;
    // The section an entry selects; nothing for headers and hints.
    std::optional<LibrarySection> section(const QModelIndex &index) const;
    // The entry selecting `section`, or an invalid index when none is shown.
    QModelIndex indexOf(const LibrarySection &section) const;
    QModelIndex indexOf(const Record *record) const;
    LibraryFolder *folderAt(const QModelIndex &index) const;
    Tag *tagAt(const QModelIndex &index) const;
    SmartList *smartListAt(const QModelIndex &index) const;

    // Recomputes rows and counts from the records now (changes of the context arrive batched,
    // one per turn of the event loop, and call this).
    void refresh();

signals:
    // Around one reconciliation: the rows between may pass through states the library never
    // had (a moved folder is removed, then inserted under its new parent).
    void reconcileStarted();
    void reconcileFinished();

private:
    struct Node;
    struct Blueprint;

    QList<Blueprint> desiredTree() const;
    void reconcile(Node *node, const QModelIndex &nodeIndex, const QList<Blueprint> &desired);
    std::unique_ptr<Node> makeNode(const Blueprint &blueprint, Node *parent) const;
    QModelIndex indexOfNode(const Node *node) const;
    Node *nodeAt(const QModelIndex &index) const;
    const Node *find(const std::function<bool(const Node &)> &test) const;
    void contextChanged(const ModelChanges &changes);
    // Sets the counts of the rows shown when no row would come or go; false when one would.
    bool updateCounts();

    ModelContext &m_context;
    LibraryHealthMonitor &m_health;
    SidebarTally m_tally;
    std::unique_ptr<Node> m_root;
};
