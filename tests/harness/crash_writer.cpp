// Saves random changes to a store in an endless loop, for tst_crash_consistency to kill.
//
//   crash_writer DATA_DIR SEED
//
// Protocol on stdout, one flushed line each:
//   STARTING                     about to open the store
//   READY <digest>               store open and loaded
//   BEGIN <n> <digest>           about to save change set n; digest of the state it writes
//   COMMIT <n> <digest> <counts> save n returned; that state is on disk
// A failed open or save prints FAILED and the error and exits with status 1.

#include "harness/StoreDigest.h"
#include "model/LibraryStoreContainer.h"
#include "model/ModelContext.h"
#include "model/SmartRuleSet.h"
#include "model/Uuid.h"

#include <QCoreApplication>
#include <QRandomGenerator>
#include <cstdio>

namespace {

void say(const QByteArray &line)
{
    std::fwrite(line.constData(), 1, size_t(line.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

class Writer {
public:
    Writer(ModelContext &context, quint64 seed) : m_ctx(context), m_rng(seed) {}

    // One change set: a few random operations, or now and then a burst of new items so that
    // transactions of many pages (and WAL checkpoints) happen too.
    QByteArray change()
    {
        QByteArray ops;
        if (m_rng.bounded(12) == 0 && m_ctx.shortcuts().size() < 40) {
            for (int i = 0; i < 15; ++i)
                insertItem();
            return "burst";
        }
        const int count = 1 + int(m_rng.bounded(4));
        for (int i = 0; i < count; ++i)
            ops += step() + ' ';
        return ops.trimmed().replace(' ', ',');
    }

private:
    template<typename T> T *pick(const QList<T *> &list)
    {
        return list.isEmpty() ? nullptr : list.at(int(m_rng.bounded(qsizetype(list.size()))));
    }

    // Deletes one record when more than keep are left.
    template<typename T>
    QByteArray deleteOne(const QList<T *> &list, qsizetype keep, const char *op)
    {
        if (list.size() <= keep)
            return "none";
        m_ctx.deleteRecord(pick(list));
        return op;
    }

    // Folders and tags move the same way: under another node, or to the top, never into themselves.
    template<typename T> T *moved(const QList<T *> &list)
    {
        T *node = pick(list);
        T *parent = pick(list);
        if (!node || !parent || parent == node || parent->isDescendant(node))
            return nullptr;
        node->setParent(m_rng.bounded(3) ? parent : nullptr);
        return node;
    }

    QString word()
    {
        static const char *const words[] = {"Morning", "Réveil", "Files", "Photos ✨", "Backup",
                                            "10",      "2",      "Mail",  "日本語",   "Notes"};
        return QString::fromUtf8(words[m_rng.bounded(int(std::size(words)))]);
    }

    QByteArray icon()
    {
        QByteArray bytes(int(1024 + m_rng.bounded(12 * 1024)), Qt::Uninitialized);
        m_rng.fillRange(reinterpret_cast<quint32 *>(bytes.data()), bytes.size() / 4);
        return bytes;
    }

    QDateTime when()
    {
        return QDateTime::fromMSecsSinceEpoch(1500000000000 + qint64(m_rng.bounded(1u << 31)) * 100,
                                              Qt::UTC);
    }

    void insertItem()
    {
        auto *item = m_ctx.insert(new ShortcutItem(newIdentifierString(), word() + ' ' + word()));
        item->setSubtitle(word());
        item->setColorHex(
            QStringLiteral("#%1").arg(uint(m_rng.bounded(0x1000000)), 6, 16, QChar(u'0')));
        item->setLibraryOrder(m_rng.bounded(1000));
        item->setActionCount(m_rng.bounded(50));
        item->setAcceptsInput(m_rng.bounded(2));
        item->setNativeCreatedAt(when());
        if (m_rng.bounded(3) != 0)
            item->setIconData(icon());
        item->setFolder(pick(m_ctx.folders()));
        if (Tag *t = pick(m_ctx.tags()))
            item->addTag(t);
    }

    QByteArray step()
    {
        // Keep the library from growing without bound: deletions win once it is big.
        const bool crowded = m_ctx.shortcuts().size() > 60;
        switch (m_rng.bounded(crowded ? 21 : 13)) {
        case 0:
        case 1:
            insertItem();
            return "insertItem";
        case 2: {
            if (m_ctx.folders().size() > 25)
                return deleteOne(m_ctx.folders(), 25, "deleteFolder");
            auto *parent = m_rng.bounded(2) ? pick(m_ctx.folders()) : nullptr;
            m_ctx.insert(new LibraryFolder(word(), parent))->setSortOrder(m_rng.bounded(10));
            return "insertFolder";
        }
        case 3: {
            if (m_ctx.tags().size() > 25)
                return deleteOne(m_ctx.tags(), 25, "deleteTag");
            auto *parent = m_rng.bounded(2) ? pick(m_ctx.tags()) : nullptr;
            m_ctx.insert(new Tag(word(), QStringLiteral("#8E8E93"), parent));
            return "insertTag";
        }
        case 4:
            if (ShortcutItem *i = pick(m_ctx.shortcuts())) {
                i->setName(word() + ' ' + word());
                i->setNotes(i->notes() + word());
                i->setRunCount(i->runCount() + 1);
                i->setLastRunAt(when());
                i->setIsFavorite(!i->isFavorite());
                i->setIsMissing(m_rng.bounded(4) == 0);
                return "editItem";
            }
            return "none";
        case 5:
            if (ShortcutItem *i = pick(m_ctx.shortcuts())) {
                i->setIconData(m_rng.bounded(4) ? std::optional<QByteArray>(icon()) : std::nullopt);
                i->setIconTopHex(QStringLiteral("#112233"));
                return "icon";
            }
            return "none";
        case 6:
            if (ShortcutItem *i = pick(m_ctx.shortcuts())) {
                i->setFolder(m_rng.bounded(4) ? pick(m_ctx.folders()) : nullptr);
                return "fileItem";
            }
            return "none";
        case 7:
            if (ShortcutItem *i = pick(m_ctx.shortcuts())) {
                if (Tag *t = pick(m_ctx.tags()))
                    i->hasTag(t) ? i->removeTag(t) : i->addTag(t);
                return "tagItem";
            }
            return "none";
        case 8:
            if (LibraryFolder *f = moved(m_ctx.folders())) {
                f->setName(word());
                return "moveFolder";
            }
            return "none";
        case 9:
            if (Tag *t = moved(m_ctx.tags())) {
                t->setColorHex(QStringLiteral("#FF8000"));
                return "moveTag";
            }
            return "none";
        case 10:
            return deleteOne(m_ctx.folders(), 3, "deleteFolder");
        case 11:
            return deleteOne(m_ctx.tags(), 3, "deleteTag");
        case 12:
            if (m_ctx.smartLists().size() > 8)
                return deleteOne(m_ctx.smartLists(), 8, "deleteSmartList");
            if (SmartList *l = pick(m_ctx.smartLists()); l && m_rng.bounded(2)) {
                SmartRuleSet rules = l->ruleSet();
                rules.ascending = !rules.ascending;
                rules.includeMissing = m_rng.bounded(2);
                l->setRuleSet(rules);
                l->setSortOrder(m_rng.bounded(100));
                return "editSmartList";
            }
            m_ctx.insert(new SmartList(word(), SmartRuleSet()));
            return "insertSmartList";
        default:
            return deleteOne(m_ctx.shortcuts(), 0, "deleteItem");
        }
    }

    ModelContext &m_ctx;
    QRandomGenerator64 m_rng;
};

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: crash_writer DATA_DIR SEED\n");
        return 2;
    }
    const QString dir = QString::fromLocal8Bit(argv[1]);
    say("STARTING");
    QString error;
    auto context = LibraryStoreContainer::open(dir, &error);
    if (!context) {
        say("FAILED " + error.toUtf8());
        return 1;
    }
    say("READY " + StoreDigest::digest(*context));
    Writer writer(*context, QByteArray(argv[2]).toULongLong());
    for (qint64 n = 1;; ++n) {
        const QByteArray ops = writer.change();
        const QByteArray digest = StoreDigest::digest(*context);
        say("BEGIN " + QByteArray::number(n) + ' ' + digest);
        if (!context->save(&error)) {
            say("FAILED " + error.toUtf8());
            return 1;
        }
        say("COMMIT " + QByteArray::number(n) + ' ' + digest + ' ' +
            QByteArray::number(context->shortcuts().size()) + '/' +
            QByteArray::number(context->folders().size()) + '/' +
            QByteArray::number(context->tags().size()) + ' ' + ops);
    }
}
