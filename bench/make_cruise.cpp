// brinora_make_cruise: writes a synthetic cruise batch input file for the
// timing and memory measurements of `brinora batch`.
//
//   brinora_make_cruise LINES OUTPUT.csv [SEED]
#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/cruise_file.h"

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: brinora_make_cruise LINES OUTPUT.csv [SEED]\n");
        return 2;
    }
    const long long lines = std::atoll(argv[1]);
    const unsigned long long seed = argc > 3 ? std::strtoull(argv[3], nullptr, 10) : 1;
    if (lines < 0 || !brinora::bench::writeCruiseFile(argv[2], static_cast<std::size_t>(lines), seed)) {
        std::fprintf(stderr, "brinora_make_cruise: cannot write %s\n", argv[2]);
        return 1;
    }
    return 0;
}
