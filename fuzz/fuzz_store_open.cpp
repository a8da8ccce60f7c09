// The input is a store file: open it the way the program does, load every record and walk what
// a window would walk (trees, tags, icons, smart lists, the JSON listing).

#include "model/FlattenedTree.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "model/ShortcutItemJson.h"
#include "model/SmartRuleSet.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>
#include <cstddef>
#include <cstdint>

namespace {

void walk(ModelContext &context)
{
    qint64 sink = 0;
    for (ShortcutItem *item : context.shortcuts()) {
        sink += item->name().size() + item->notes().size() + item->runCount();
        sink += item->addedDate().toMSecsSinceEpoch() + item->modifiedDate().toMSecsSinceEpoch();
        if (const auto icon = item->iconData())
            sink += icon->size();
        sink += item->sortedTags().size();
        if (item->folder())
            sink += item->folder()->pathFromRoot().size();
    }
    for (LibraryFolder *folder : context.folders()) {
        sink += folder->allShortcuts().size() + folder->pathFromRoot().size();
        sink += folder->sortedChildren().size();
        sink += folder->isDescendant(context.folders().constFirst());
    }
    for (Tag *tag : context.tags()) {
        QList<ShortcutItem *> into;
        QSet<ShortcutItem *> seen;
        tag->collectShortcuts(into, seen);
        sink += into.size() + tag->pathFromRoot().size();
        sink += tag->isDescendant(context.tags().constFirst());
    }
    for (SmartList *list : context.smartLists())
        sink += list->ruleSet().items(context.shortcuts()).size();
    for (const auto &entry : flattenedTree(context.folders()))
        sink += entry.title().size();
    for (const auto &entry : flattenedTree(context.tags()))
        sink += entry.title().size();
    sink += shortcutItemsJson(context.shortcuts()).size();
    volatile qint64 keep = sink;
    (void)keep;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // In memory where there is a tmpfs: creating a store syncs, which would dominate the run.
    static QTemporaryDir dir(QDir(QStringLiteral("/dev/shm")).exists()
                                 ? QStringLiteral("/dev/shm/fuzz_store_open-XXXXXX")
                                 : QDir::tempPath() + QStringLiteral("/fuzz_store_open-XXXXXX"));
    const QString path = LibraryStoreContainer::storePath(dir.path());
    for (const char *suffix : {"-wal", "-shm", "-journal"})
        QFile::remove(path + QLatin1String(suffix));
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return 0;
        file.write(reinterpret_cast<const char *>(data), qint64(size));
    }
    QString error;
    if (auto context = LibraryStoreContainer::open(dir.path(), &error))
        walk(*context);
    return 0;
}
