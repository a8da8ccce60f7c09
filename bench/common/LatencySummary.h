#pragma once

// The distribution of one kind of interaction: p50, p95, p99 and max of its samples, each also as
// a ratio to a baseline measured in the same run. A person feels the slowest frame, so the tail
// is printed beside the median.
#include <QList>
#include <algorithm>
#include <cmath>
#include <cstdio>

struct LatencySummary {
    double p50 = 0, p95 = 0, p99 = 0, max = 0;
    int samples = 0;

    static LatencySummary of(QList<double> values)
    {
        LatencySummary s;
        if (values.isEmpty())
            return s;
        std::sort(values.begin(), values.end());
        // Nearest rank: the smallest sample at or above the share.
        auto rank = [&values](double share) {
            const auto at = qsizetype(std::ceil(share * double(values.size()))) - 1;
            return values.at(std::clamp<qsizetype>(at, 0, values.size() - 1));
        };
        s.p50 = rank(0.50);
        s.p95 = rank(0.95);
        s.p99 = rank(0.99);
        s.max = values.last();
        s.samples = int(values.size());
        return s;
    }

    // One table row: label, sample count, the four figures in ms and as ratios to `baseline`.
    void print(const char *label, double baseline) const
    {
        std::printf("%-44s %5d  %7.2f %7.2f %7.2f %7.2f   %6.1fx %6.1fx %6.1fx %6.1fx\n", label,
                    samples, p50, p95, p99, max, p50 / baseline, p95 / baseline, p99 / baseline,
                    max / baseline);
    }

    static void printHeader(const char *label)
    {
        std::printf("%-44s %5s  %7s %7s %7s %7s   %7s %7s %7s %7s\n", label, "n", "p50", "p95",
                    "p99", "max", "p50/b", "p95/b", "p99/b", "max/b");
    }
};
