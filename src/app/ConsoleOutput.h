#pragma once

#include <QString>
#include <cstdio>

// Text for the terminal, as UTF-8, unbuffered by Qt.
inline void printTo(FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}
