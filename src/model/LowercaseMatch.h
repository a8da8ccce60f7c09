#pragma once

#include <QString>
#include <QStringView>

// Text tests that lower-case both sides (locale-independent full Unicode lower-casing, no other
// folding) before comparing code points. The needle is given already lower-cased; the value is
// lower-cased on the fly, without a copy unless it holds İ or characters beyond the Basic
// Multilingual Plane.
namespace LowercaseMatch {
// Spaces and tabs only: line breaks stay.
QStringView trimSpacesAndTabs(QStringView text);
QString lowered(QStringView text);

bool contains(QStringView value, QStringView loweredNeedle);
bool equals(QStringView value, QStringView loweredNeedle);
bool beginsWith(QStringView value, QStringView loweredNeedle);
bool endsWith(QStringView value, QStringView loweredNeedle);
} // namespace LowercaseMatch
