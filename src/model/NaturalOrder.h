#pragma once

#include <QCollatorSortKey>
#include <QString>

// The order used for file names: case-insensitive, runs of digits compared by value.
// Returns <0, 0, >0. Safe to call from the main thread only (shares one collator).
int naturalCompare(const QString &a, const QString &b);
// A key whose compare() orders texts exactly as naturalCompare() does; cheaper when a long
// list is sorted. Main thread only, like naturalCompare().
QCollatorSortKey naturalSortKey(const QString &text);
