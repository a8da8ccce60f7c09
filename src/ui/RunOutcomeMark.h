#pragma once

#include "model/RunOutcome.h"

#include <QColor>
#include <QString>

// How a run's outcome is shown wherever runs appear: the banner, the history, the collection.
namespace RunOutcomeMark {
// "checkmark.circle.fill", "exclamationmark.triangle.fill", or "clock" for an unfinished run.
QString symbol(RunOutcome outcome);
// Green, orange, or the given colour for an unfinished run.
QColor color(RunOutcome outcome, const QColor &unfinished);
// "Succeeded", "Failed", "Unfinished".
QString title(RunOutcome outcome);
// What stands in for an empty output or error: "No output", "No error message", "Unfinished".
QString emptyText(RunOutcome outcome);
} // namespace RunOutcomeMark
