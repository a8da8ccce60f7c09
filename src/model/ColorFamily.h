#pragma once

#include <QString>
#include <QStringList>

// The colour family a colour rule compares against: one of "Gray", "Brown", "Red", "Orange",
// "Yellow", "Green", "Teal", "Blue", "Indigo", "Purple", "Pink". Components in 0…1.
QString colorFamilyName(double red, double green, double blue);
// The eleven names in the order above.
QStringList colorFamilyNames();
