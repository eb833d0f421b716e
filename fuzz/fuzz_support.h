// Helpers shared by the fuzz targets: a check that aborts with a message, so
// that libFuzzer keeps the input as a crash.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace brinora::fuzz {

// Aborts with `what` when `condition` is false.
inline void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "fuzz check failed: %s\n", what);
        std::abort();
    }
}

}  // namespace brinora::fuzz
