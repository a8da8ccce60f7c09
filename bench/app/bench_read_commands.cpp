// Read commands benchmark: `folders`, `tags` and `smart-lists` on 10,000 shortcuts, 200 nested
// folders, 200 nested tags and 20 smart lists, each beside opening and loading the same store
// for reading in the same run (what every read command does first).
#include "app/CommandLine.h"
#include "app/ReadCommands.h"
#include "common/BenchOptions.h"
#include "common/SampleLibrary.h"
#include "model/LibraryStoreContainer.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {
using SampleLibrary::folderCount;
using SampleLibrary::itemCount;
using SampleLibrary::smartListCount;
using SampleLibrary::tagCount;

void populate(ModelContext &ctx)
{
    QRandomGenerator rng(11);
    const SampleLibrary::Trees trees = SampleLibrary::addOrganisation(ctx, rng);
    for (int i = 0; i < itemCount; ++i)
        SampleLibrary::fileShortcut(SampleLibrary::addShortcut(ctx, i), i, trees, rng);
}

// The command's output goes nowhere; the time is what it takes to work it out and write it.
template<typename F> double timedQuietly(F f)
{
    std::fflush(stdout);
    const int saved = ::dup(1);
    const int null = ::open("/dev/null", O_WRONLY);
    ::dup2(null, 1);
    QElapsedTimer t;
    t.start();
    f();
    std::fflush(stdout);
    const double elapsed = SampleLibrary::ms(t);
    ::dup2(saved, 1);
    ::close(saved);
    ::close(null);
    return elapsed;
}
} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const int runs = BenchOptions::count(BenchOptions::quick(argc, argv), 5, 1);
    QTemporaryDir dir;
    {
        QString error;
        auto ctx = LibraryStoreContainer::open(dir.path(), &error);
        if (!ctx) {
            std::fprintf(stderr, "%s\n", qPrintable(error));
            return 1;
        }
        populate(*ctx);
        if (!ctx->save(&error)) {
            std::fprintf(stderr, "%s\n", qPrintable(error));
            return 1;
        }
    }
    std::unique_ptr<ModelContext> loaded;
    const double openAndLoad = SampleLibrary::best(runs, [&] {
        QElapsedTimer t;
        t.start();
        QString error;
        loaded = LibraryStoreContainer::openReadOnly(dir.path(), &error,
                                                     LibraryStore::Writers::possible);
        return SampleLibrary::ms(t);
    });
    if (!loaded)
        return 1;
    CommandLine text;
    CommandLine json;
    json.json = true;
    std::printf("read commands: %d shortcuts, %d folders, %d tags, %d smart lists; best of %d\n",
                itemCount, folderCount, tagCount, smartListCount, runs);
    std::printf("  baseline: open and load for reading  %8.1f ms\n", openAndLoad);
    const std::pair<const char *, int (*)(const ModelContext &, const CommandLine &)> commands[] = {
        {"folders", runFoldersCommand},
        {"tags", runTagsCommand},
        {"smart-lists", runSmartListsCommand},
    };
    for (const auto &entry : commands) {
        // Named, not bound: clang before 16 does not let a lambda capture a structured binding.
        const char *name = entry.first;
        const auto command = entry.second;
        for (const CommandLine *form : {&text, &json}) {
            const double time = SampleLibrary::best(
                runs, [&] { return timedQuietly([&] { command(*loaded, *form); }); });
            std::printf("  %-12s %-5s %8.1f ms  ratio %.2f (target <= 1)\n", name,
                        form->json ? "json" : "text", time, time / openAndLoad);
        }
    }
    return 0;
}
