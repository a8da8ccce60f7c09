#pragma once

#include <QString>

// The order used for file names: case-insensitive, runs of digits compared by value.
// Returns <0, 0, >0. Safe to call from the main thread only (shares one collator).
int naturalCompare(const QString &a, const QString &b);
