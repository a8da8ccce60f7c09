#pragma once

// The figures of a benchmark run at two library sizes, in one table: a column for the standard
// library, one for the large library and the growth between them. The shortcut count grows
// tenfold from 10,000 to 100,000, so a time that grows about tenfold is linear, and a ratio to a
// baseline measured at each size stays about the same when it is.
//
// Targets are checked on the large library. A full run that misses one prints MISSED and fails;
// a `--quick` run prints its figures and checks nothing.
#include "common/SampleLibrary.h"

#include <QByteArray>
#include <cstdio>

class ScaleTable {
public:
    ScaleTable(const SampleLibrary::Scale &scale, bool quick) : m_scale(scale), m_quick(quick) {}

    // "10,000".
    static QByteArray grouped(qint64 n)
    {
        QByteArray digits = QByteArray::number(n);
        for (qsizetype at = digits.size() - 3; at > 0; at -= 3)
            digits.insert(at, ',');
        return digits;
    }

    void printHeader(const char *title) const
    {
        std::printf("%s\n", title);
        std::printf("%-48s %12s %12s %8s\n", "", grouped(m_scale.small.items).constData(),
                    grouped(m_scale.big.items).constData(), "growth");
    }

    // One figure at each size; the growth is big / small.
    void row(const char *label, double small, double big, int decimals = 1) const
    {
        std::printf("%-48s %12.*f %12.*f %7.1fx\n", label, decimals, small, decimals, big,
                    small > 0 ? big / small : 0.0);
    }

    // How many times the shortcut count grows: what linear growth looks like.
    double itemGrowth() const { return double(m_scale.big.items) / m_scale.small.items; }

    // A target on the large library's figure: at most `limit`.
    void check(const char *what, double value, double limit)
    {
        if (m_quick) {
            std::printf("target %-44s %.2f (limit %.2f): not checked in a quick run\n", what, value,
                        limit);
            return;
        }
        const bool met = value <= limit;
        m_missed = m_missed || !met;
        std::printf("target %-44s %.2f (limit %.2f): %s\n", what, value, limit,
                    met ? "met" : "MISSED");
    }

    // The benchmark's exit status: 1 when a full run missed a target.
    int exitCode() const { return m_missed ? 1 : 0; }

private:
    SampleLibrary::Scale m_scale;
    bool m_quick;
    bool m_missed = false;
};
