#pragma once

#include "ui/ShortcutItemDelegate.h"

#include <QPoint>
#include <QRect>

// Where the collection's tiles (adaptive columns 128–156 wide, 13 apart, inset 16) or list rows
// go: arithmetic over the row number and the viewport's width, so 10,000 items cost nothing to
// lay out. Content coordinates: the top of the first row is at 0 before scrolling.
struct GridGeometry {
    static constexpr int minimumColumnWidth = 128;
    static constexpr int maximumColumnWidth = 156;
    static constexpr int spacing = 13;
    static constexpr int inset = 16;
    static constexpr int listTop = 4;

    ShortcutItemDelegate::Mode mode = ShortcutItemDelegate::Mode::grid;
    int width = 0; // of the viewport
    int count = 0; // of items

    int columnCount() const;
    qreal columnWidth() const;
    // From the top of one line of tiles (or one list row) to the next.
    int linePitch() const;
    int top() const;
    int firstColumnLeft() const;
    QRect itemRect(int row) const;
    int contentHeight() const;
    // The item under a content point, or -1 (spacing, margins, past the end).
    int rowAt(const QPoint &content) const;
};
