#pragma once

#include <QByteArray>
#include <QStringView>

// Appends the text as a quoted JSON string in UTF-8. Written by hand so that exports control
// their key order and layout and stay fast on large libraries.
void appendJsonString(QByteArray &out, QStringView text);
