#pragma once

#include "model/ModelContext.h"
#include "model/SmartRuleSet.h"

#include <QRandomGenerator>
#include <QUuid>

// A library organised at random from a seed: nested folders and tags with clashing names and
// orders, smart lists referring to them, and shortcuts (unique names) organised or not. Names
// carry the characters an export must escape.
inline void fillRandomOrganisation(ModelContext &c, quint32 seed, int shortcutCount = 60)
{
    QRandomGenerator rng(seed);
    const QStringList words{
        "Work",      "work",     "Home ☀️", "Quote \" and \\", "Line\nbreak",
        "Tab\tstop", "Bell\x07", "Folder 10",   "Folder 2",        "Ünïcode",
        "",          "Same",     "Same"};
    const auto word = [&] { return words[rng.bounded(int(words.size()))]; };
    const auto pick = [&](const auto &list) { return list[rng.bounded(int(list.size()))]; };

    QList<LibraryFolder *> folders;
    for (int i = 0; i < 15; ++i) {
        auto *f = c.insert(new LibraryFolder(
            word(), folders.isEmpty() || rng.bounded(3) == 0 ? nullptr : pick(folders)));
        f->setSortOrder(rng.bounded(3));
        f->setSymbolName(rng.bounded(2) ? QStringLiteral("folder") : QStringLiteral("house"));
        f->setColorHex(rng.bounded(2) ? QString() : QStringLiteral("#34C759"));
        folders.append(f);
    }
    QList<Tag *> tags;
    for (int i = 0; i < 12; ++i) {
        auto *t = c.insert(new Tag(
            word(), QStringLiteral("#%1").arg(rng.bounded(0xFFFFFF), 6, 16, QLatin1Char('0')),
            tags.isEmpty() || rng.bounded(3) == 0 ? nullptr : pick(tags)));
        t->setSortOrder(rng.bounded(3) - 1);
        tags.append(t);
    }
    for (int i = 0; i < 4; ++i) {
        SmartRuleSet set;
        set.matchAll = rng.bounded(2);
        set.sort = ShortcutSort::runCount;
        set.rules[0].field = SmartRule::Field::tag;
        set.rules[0].referenceUUID = pick(tags)->uuid();
        SmartRule byFolder;
        byFolder.field = SmartRule::Field::folder;
        byFolder.referenceUUID = pick(folders)->uuid();
        byFolder.text = word();
        set.rules.append(byFolder);
        auto *s = c.insert(new SmartList(word(), set));
        s->setSortOrder(rng.bounded(2));
    }
    // A list whose stored rules do not decode travels as null and reads back as the default.
    c.insert(new SmartList(QStringLiteral("Broken"), SmartRuleSet()))->setRulesData("{oops");

    for (int i = 0; i < shortcutCount; ++i) {
        auto *item = c.insert(new ShortcutItem(QUuid::createUuid().toString(QUuid::WithoutBraces),
                                               QStringLiteral("S%1 %2").arg(i).arg(word())));
        item->setSubtitle(QStringLiteral("not organisation"));
        if (rng.bounded(5) == 0)
            continue; // left unorganised
        item->setIsFavorite(rng.bounded(3) == 0);
        item->setNotes(rng.bounded(2) ? word() + QStringLiteral(" notes") : QString());
        item->setFolder(rng.bounded(3) ? pick(folders) : nullptr);
        for (int k = rng.bounded(4); k > 0; --k)
            item->addTag(pick(tags));
        item->setRunCount(rng.bounded(4) ? 0 : rng.bounded(1000));
    }
}
