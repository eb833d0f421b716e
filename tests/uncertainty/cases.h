// Samples for the tests of the double-precision calculation: the 42 samples
// of the engine's golden table (every pair, constants set, KHSO4 choice, pH
// scale and flux formula), and the single-precision record of a sample.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "uncertainty/carbonate_ad.h"

namespace brinora::uncertainty::test {

struct Case {
    std::string name;
    ChemistryOptions options;
    Sample sample;
};

// The 42 samples of tests/engine/golden_test.cpp, in its order.
std::vector<Case> GoldenCases();

// The same sample with another pair: the values of `pair` taken from the
// water mass of golden case `index`.
Case WithPair(int index, int first, int second);

// The single-precision calculation's record of the sample, by quantity;
// NaN for [H+], which the record does not hold. False if refused.
bool RecordOf(const Case& c, std::array<double, kQuantityCount>& record);

}  // namespace brinora::uncertainty::test
