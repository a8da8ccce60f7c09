#pragma once

// What the window benchmarks run in: the application on the offscreen platform with test-mode
// paths, settings in a temporary folder and no sync at launch, and the library window over a
// context in memory.
#include "model/AppSettings.h"
#include "model/ModelContext.h"
#include "shortcuts/ShortcutRunner.h"
#include "shortcuts/ShortcutsEventsBridge.h"
#include "sync/LibrarySyncController.h"
#include "ui/LibraryNavigation.h"
#include "ui/LibraryWindow.h"
#include "ui/WindowSettings.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <cstdio>

struct BenchApplication {
    // Set before the application starts, which reads it.
    bool offscreen = qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app;
    QTemporaryDir dir;

    BenchApplication(int &argc, char **argv) : app(argc, argv)
    {
        QStandardPaths::setTestModeEnabled(true);
        AppSettings::useDataDirectory(dir.path());
        WindowSettings::shared().setSyncOnLaunch(false);
        // A library whose icons are already in today's format: no upgrade pass at launch.
        AppSettings::store().setValue(QLatin1String(LibrarySyncController::iconFormatVersionKey),
                                      LibrarySyncController::currentIconFormatVersion);
        AppSettings::store().setValue(QLatin1String(LibrarySyncController::drawnAppIconVersionKey),
                                      LibrarySyncController::currentDrawnAppIconVersion);
    }
};

struct BenchWindow {
    ShortcutsEventsBridge bridge;
    ShortcutRunner runner{&bridge};
    LibrarySyncController syncer;
    LibraryNavigation navigation;
    LibraryWindow window;

    // Not shown yet: the launch task starts with the first show.
    BenchWindow(ModelContext &context, const QSize &size)
        : syncer(context, bridge, AppSettings::store()), window(context, navigation, runner, syncer)
    {
        window.resize(size);
    }
};

// The baseline a search has to beat: the plain loop over the names, lower-cased, once per query
// and round; milliseconds each.
inline QList<double> lowerCaseScans(const ModelContext &context, const QStringList &queries,
                                    int rounds)
{
    QList<double> times;
    for (int r = 0; r < rounds; ++r) {
        for (const QString &query : queries) {
            QElapsedTimer timer;
            timer.start();
            int hits = 0;
            for (const ShortcutItem *item : context.shortcuts())
                hits += item->name().toLower().contains(query) ? 1 : 0;
            times.append(timer.nsecsElapsed() / 1e6);
            if (hits < 0) // keeps the loop from being optimised away
                std::puts("");
        }
    }
    return times;
}
