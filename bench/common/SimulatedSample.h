#pragma once

// The sample shortcuts as the simulated Shortcuts app holds them, for the benchmarks that sync
// or fetch icons through it: identifiers, names and action counts of the sample library.
#include "common/SampleLibrary.h"
#include "simulator/SimulatedLibrary.h"

inline SimulatedShortcut simulatedSampleShortcut(int i)
{
    SimulatedShortcut s;
    s.identifier = SampleLibrary::identifier(i);
    s.name = QStringLiteral("Shortcut %1").arg(i);
    s.subtitle = QStringLiteral("%1 actions").arg(i % 30);
    s.actionCount = i % 30 + 1;
    return s;
}
