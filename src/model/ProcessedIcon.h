#pragma once

#include <QByteArray>
#include <QHashFunctions>
#include <QString>

// The outcome of icon processing: a glyph on a transparent background and the two gradient
// colours of the icon's background. The processing itself lives in shortcuts/.
namespace IconProcessing {
struct Result {
    QByteArray glyphPNG;
    QString topHex;
    QString bottomHex;
    bool operator==(const Result &) const = default;
};

inline size_t qHash(const Result &r, size_t seed = 0)
{
    return qHashMulti(seed, r.glyphPNG, r.topHex, r.bottomHex);
}
} // namespace IconProcessing
