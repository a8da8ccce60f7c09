// The library window with 10,000 shortcuts: from a search keystroke to the collection updated
// and painted, and from a favourite toggle to the repaint, beside the plain lower-case substring
// loop over the names measured in the same run.
#include "common/WindowBench.h"
#include "model/Tag.h"
#include "ui/ShortcutCollectionView.h"
#include "ui/ShortcutGridView.h"
#include "ui/ShortcutListModel.h"

#include <QLineEdit>
#include <QTest>
#include <algorithm>
#include <cstdio>

namespace {
constexpr int shortcutCount = 10'000;
constexpr int rounds = 15;

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

void settle()
{
    for (int i = 0; i < 3; ++i) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
}
} // namespace

int main(int argc, char *argv[])
{
    BenchApplication bench(argc, argv);
    ModelContext context;
    QList<Tag *> tags;
    for (int t = 0; t < 20; ++t)
        tags.append(
            context.insert(new Tag(QStringLiteral("Tag %1").arg(t), QStringLiteral("#34C759"))));
    static const char *words[] = {"Morning", "Mail", "Backup", "Photo", "Timer", "Note",
                                  "Music",   "Home", "Work",   "Share", "Clip",  "Focus"};
    for (int i = 0; i < shortcutCount; ++i) {
        auto *item = context.insert(new ShortcutItem(
            QStringLiteral("ID-%1").arg(i),
            QStringLiteral("%1 %2 %3")
                .arg(QLatin1String(words[i % 12]), QLatin1String(words[(i / 12) % 12]))
                .arg(i)));
        item->setLibraryOrder(i);
        item->setColorHex(QStringLiteral("#FF9500"));
        item->setNotes(i % 7 == 0 ? QStringLiteral("weekly report") : QString());
        item->addTag(tags.at(i % tags.size()));
    }
    context.save();

    BenchWindow shown(context, QSize(1400, 900));
    LibraryWindow &window = shown.window;
    window.show();
    settle();
    ShortcutCollectionView *collection = window.collection();
    QLineEdit *search = collection->searchField();
    QWidget *viewport = collection->view()->viewport();

    // Baseline: the plain loop a search has to beat, over the names only.
    const QStringList queries{QStringLiteral("m"), QStringLiteral("ma"), QStringLiteral("mai"),
                              QStringLiteral("mail"), QStringLiteral("mail 1")};
    const QList<double> baseline = lowerCaseScans(context, queries, rounds);

    // A keystroke in the search field until the collection is updated and painted.
    QList<double> keystrokes;
    for (int r = 0; r < rounds; ++r) {
        search->clear();
        settle();
        for (const QChar c : QStringLiteral("mail 1")) {
            QElapsedTimer timer;
            timer.start();
            QTest::keyClick(search, c.toLatin1());
            viewport->repaint();
            keystrokes.append(timer.nsecsElapsed() / 1e6);
        }
    }
    search->clear();
    settle();

    // A favourite toggle (saved) until its tile is repainted.
    QList<double> toggles;
    for (int r = 0; r < rounds * 4; ++r) {
        ShortcutItem *item = collection->model()->itemAt(r % 20);
        QElapsedTimer timer;
        timer.start();
        item->setIsFavorite(!item->isFavorite());
        context.save();
        settle();
        viewport->repaint();
        toggles.append(timer.nsecsElapsed() / 1e6);
    }

    const double base = median(baseline);
    const double key = median(keystrokes);
    const double toggle = median(toggles);
    std::printf("library: %d shortcuts, %d rows shown\n", shortcutCount,
                collection->model()->rowCount());
    std::printf("baseline (lower-case substring loop over names): %.2f ms\n", base);
    std::printf("search keystroke -> collection updated and painted: median %.2f ms, max %.2f ms "
                "(%.1fx baseline)\n",
                key, *std::max_element(keystrokes.cbegin(), keystrokes.cend()), key / base);
    std::printf("favourite toggle -> repaint: median %.2f ms, max %.2f ms (%.1fx baseline)\n",
                toggle, *std::max_element(toggles.cbegin(), toggles.cend()), toggle / base);
    std::printf("target: <= 50 ms each: %s\n", key <= 50 && toggle <= 50 ? "met" : "missed");
    return 0;
}
