#pragma once

#include <QRect>

class QPainter;
class QPalette;

// The look of panels that float over the window (the outcome banner, Quick Run): a rounded
// card of the window colour with a soft shadow, drawn inside the widget's margin.
namespace FloatingCard {
inline constexpr int shadowMargin = 8; // room around the card for its shadow
inline constexpr int radius = 14;

// A card that holds opaque content (so that what lies beneath need not be painted again when
// the content changes) is drawn opaque itself.
void paint(QPainter &painter, const QRect &widgetRect, const QPalette &palette,
           float materialOpacity = 0.96f);
} // namespace FloatingCard
