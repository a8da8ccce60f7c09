#pragma once

#include "model/ModelContext.h"
#include "model/SmartRuleSet.h"

#include <QRandomGenerator>

// Edits a person and a sync make to a library, drawn from a seed: every field the sidebar's
// counts and the health check read, deletions, new shortcuts, and now and then a folder moved,
// a tag deleted or a smart list's rules changed. For checks that something kept up to date
// edit by edit equals what a fresh pass finds.
class RandomEdits {
public:
    RandomEdits(ModelContext &context, quint32 seed) : m_context(context), m_random(seed) {}

    // Nested three deep, so that a shortcut counts in its folder and every one above it.
    void addFoldersAndTags(int count)
    {
        for (int i = 0; i < count; ++i) {
            folders.append(m_context.insert(new LibraryFolder(
                QStringLiteral("F%1").arg(i), i % 3 ? folders.at(i - 1) : nullptr)));
            tags.append(m_context.insert(new Tag(QStringLiteral("T%1").arg(i), QString(),
                                                 i % 2 ? tags.at(i - 1) : nullptr)));
        }
    }

    void addShortcuts(int count, const QDateTime &now)
    {
        for (int i = 0; i < count; ++i)
            editOne(m_context.insert(new ShortcutItem(QStringLiteral("id-%1").arg(i),
                                                      QStringLiteral("Mail %1").arg(i % 7))),
                    now);
    }

    // A few shortcuts edited, sometimes one added; every 25th round a change of the tree or a
    // list as well.
    void round(int number, const QDateTime &now)
    {
        for (int n = 1 + m_random.bounded(4); n > 0; --n)
            if (ShortcutItem *item = pick(m_context.shortcuts()))
                editOne(item, now);
        if (m_random.bounded(6) == 0)
            m_context.insert(
                new ShortcutItem(QStringLiteral("new-%1").arg(number), QStringLiteral("Mail new")));
        if (number % 25 != 24)
            return;
        LibraryFolder *folder = pick(folders);
        if (LibraryFolder *under = pick(folders); folder->canMoveUnder(under))
            folder->setParent(under);
        if (Tag *tag = pick(tags); tags.size() > 4) {
            m_context.deleteRecord(tag);
            tags.removeOne(tag);
        }
        if (!m_context.smartLists().isEmpty()) {
            SmartRuleSet rules = m_context.smartLists().first()->ruleSet();
            rules.rules.first().text = QStringLiteral("mail %1").arg(number % 7);
            m_context.smartLists().first()->setRuleSet(rules);
        }
    }

    void editOne(ShortcutItem *item, const QDateTime &now)
    {
        static const QStringList natives{
            {}, QStringLiteral("Work"), QStringLiteral("Home 2"), QStringLiteral("Home 10")};
        switch (m_random.bounded(11)) {
        case 0:
            item->setIsFavorite(!item->isFavorite());
            break;
        case 1:
            item->setFolder(m_random.bounded(3) ? pick(folders) : nullptr);
            break;
        case 2:
            if (Tag *tag = pick(tags); tag && !item->tags().contains(tag))
                item->addTag(tag);
            else
                item->setTags({});
            break;
        case 3:
            item->setIsMissing(!item->isMissing());
            break;
        case 4:
            item->setLastRunAt(now.addDays(-m_random.bounded(400)));
            break;
        case 5:
            item->setNativeFolderName(natives.at(m_random.bounded(int(natives.size()))));
            break;
        case 6:
            item->setName(m_random.bounded(2) ? QStringLiteral("Mail %1").arg(m_random.bounded(9))
                                              : QStringLiteral("Other "));
            break;
        case 7:
            item->setLastRunOutcome(m_random.bounded(2) ? RunOutcome::failed
                                                        : RunOutcome::succeeded);
            break;
        case 8:
            item->setNotes(m_random.bounded(2) ? QStringLiteral("kept") : QString());
            break;
        case 9:
            item->setIdentifier(m_random.bounded(2) ? QStringLiteral("name:") + item->name()
                                                    : QStringLiteral("id-") + item->name());
            break;
        default:
            m_context.deleteRecord(item);
            break;
        }
    }

    template<typename T> T *pick(const QList<T *> &from)
    {
        return from.isEmpty() ? nullptr : from.at(m_random.bounded(int(from.size())));
    }

    QList<LibraryFolder *> folders;
    QList<Tag *> tags;

private:
    ModelContext &m_context;
    QRandomGenerator m_random;
};
