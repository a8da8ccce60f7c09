#pragma once

// The library the window benchmarks show: the sample library's shape with names made of common
// words (so that searches find something), colours, an icon on every shortcut (one of 64
// processed glyphs, as the icon queue stores them), some favourites and some recent runs.
#include "common/SampleLibrary.h"
#include "model/LibraryStoreContainer.h"
#include "shortcuts/IconProcessing.h"
#include "simulator/SimulatedIconRenderer.h"

#include <QDateTime>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace WindowLibrary {

struct Shape {
    int items, folders, tags, smartLists;
};
inline constexpr Shape standard{SampleLibrary::itemCount, SampleLibrary::folderCount,
                                SampleLibrary::tagCount, SampleLibrary::smartListCount};
inline constexpr Shape large{100'000, 2'000, 2'000, 50};
// What --quick runs instead: enough to pass every code path.
inline constexpr Shape small{1'000, 40, 40, 5};

const char *const words[] = {"Morning", "Mail",  "Backup", "Photo", "Timer",  "Note",
                             "Music",   "Home",  "Work",   "Share", "Clip",   "Focus",
                             "Take",    "Break", "Lights", "Off",   "Résumé", "Café"};
const char *const colors[] = {"#FF3B30", "#FF9500", "#FFCC00", "#34C759", "#5AC8FA",
                              "#007AFF", "#5856D6", "#AF52DE", "#FF2D55", "#8E8E93"};

inline QList<IconProcessing::Result> sampleIcons(int count)
{
    const QStringList glyphs = SimulatedIconRenderer::glyphNames();
    QList<IconProcessing::Result> icons;
    for (int i = 0; i < count; ++i) {
        const QByteArray png = SimulatedIconRenderer::renderPNG(
            glyphs.at(i % glyphs.size()), QColor::fromHsv((i * 47) % 360, 190, 235),
            QColor::fromHsv((i * 47 + 25) % 360, 220, 250));
        if (const auto result = IconProcessing::process(png))
            icons.append(*result);
    }
    return icons;
}

inline QString name(int i)
{
    constexpr int count = int(std::size(words));
    return QStringLiteral("%1 %2 %3 %4")
        .arg(QString::fromUtf8(words[i % count]), QString::fromUtf8(words[(i / count) % count]),
             QString::fromUtf8(words[(i / 7) % count]), QString::number(i));
}

inline void populate(ModelContext &ctx, const Shape &shape)
{
    QRandomGenerator rng(19);
    const SampleLibrary::Trees trees = SampleLibrary::addTrees(ctx, rng, shape.folders, shape.tags);
    SampleLibrary::addSmartLists(ctx, trees, shape.smartLists);
    const QList<IconProcessing::Result> icons = sampleIcons(64);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (int i = 0; i < shape.items; ++i) {
        ShortcutItem *item = SampleLibrary::addShortcut(ctx, i);
        item->setName(name(i));
        item->setColorHex(QString::fromLatin1(colors[i % int(std::size(colors))]));
        if (!icons.isEmpty())
            item->applyProcessedIcon(icons.at(i % icons.size()));
        SampleLibrary::fileShortcut(item, i, trees, rng);
        item->setIsFavorite(i % 23 == 0);
        if (i % 9 == 0) {
            item->setRunCount(i % 50);
            item->setLastRunAt(now.addSecs(-qint64(i) * 600));
        }
    }
}

// A store in the data directory holding that library, saved; the benchmark stops when the
// store cannot be opened.
inline std::unique_ptr<ModelContext> create(const Shape &shape, const QString &dataDirectory)
{
    QString error;
    auto context = LibraryStoreContainer::open(dataDirectory, &error);
    if (!context) {
        std::fprintf(stderr, "cannot open the store: %s\n", qPrintable(error));
        std::exit(1);
    }
    populate(*context, shape);
    context->save();
    return context;
}

} // namespace WindowLibrary
