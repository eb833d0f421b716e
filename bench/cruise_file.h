// Batch input files for the benchmarks: a synthetic cruise of stations with
// 24 depths each, two bottles per depth (so that consecutive lines share their
// salinity, temperature and pressure, as duplicate samples do), every
// carbonate pair in the proportions of cruise data sets (mostly TA and TCO2),
// and carbonate values that agree with each other: the pH, fCO2 and pCO2 of a
// line are computed from its TA and TCO2 before the pair is chosen.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace brinora::bench {

// Writes a header and `lines` sample lines to `path`; false when it cannot.
bool writeCruiseFile(const std::string& path, std::size_t lines, std::uint64_t seed = 1);

}  // namespace brinora::bench
