#pragma once

// What every benchmark takes on its command line. `--quick` runs small counts so that CI can
// check the benchmark still completes; the figures worth quoting come from full runs by hand.
#include <cstring>

namespace BenchOptions {

inline bool quick(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--quick") == 0)
            return true;
    }
    return false;
}

// The full count, or the small one in a quick run.
inline int count(bool quick, int full, int small)
{
    return quick ? small : full;
}

} // namespace BenchOptions
