#pragma once

#include "simulator/SimulatedLibrary.h"

#include <QColor>
#include <QTemporaryDir>
#include <QTest>

// The simulated Shortcuts app's library file in a temporary directory; tests add shortcuts and
// publish the file between syncs.
struct SimulatedLibraryFile {
    QTemporaryDir dir;
    QString libraryPath = dir.filePath(QStringLiteral("library.json"));
    SimulatedLibrary library;

    SimulatedShortcut &add(const QString &identifier, const QString &name)
    {
        SimulatedShortcut s;
        s.identifier = identifier;
        s.name = name;
        s.glyph = QStringLiteral("star");
        s.iconTop = QColor(QStringLiteral("#FF3B30"));
        s.iconBottom = QColor(QStringLiteral("#FF9500"));
        library.shortcuts.append(s);
        return library.shortcuts.last();
    }
    void publish() { QVERIFY(library.save(libraryPath)); }
};
