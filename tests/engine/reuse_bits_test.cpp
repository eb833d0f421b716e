// The calculation with its reuse of earlier results (constants of the same
// conditions, the pH of the TA and TCO2 solver, species, Revelle factor,
// saturation states and flux of the same arguments) against the full path,
// which computes everything afresh: random samples of every constants set,
// bisulfate constant, pH scale, flux formula and carbonate pair, output
// conditions now absent, now equal to the input ones, now different (among
// them a laboratory's 25 or 20 deg C at 0 dbar, shared by many samples), now
// and then an odd value (missing marks, NaN, signed zeros). Every slot, K0 and
// FugFac must have the same bits and the log the same lines; and a
// calculation asked for some quantities only gives those same bits. The full
// path runs on a thread of its own with the constants routine's kept results
// and kept terms switched off, so that the calculation's kept values, those
// of the samples before as well as of its own input conditions, are checked
// against values computed afresh.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "constants/co2_constants.h"
#include "engine/compute_co2.h"
#include "engine/slots.h"
#include "log/log.h"
#include "tests/engine/full_path_driver.h"

namespace brinora {
namespace {

// splitmix64.
struct Random {
    std::uint64_t state;
    std::uint64_t next() {
        std::uint64_t z = (state += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    double uniform() { return static_cast<double>(next() >> 11) * 0x1.0p-53; }
    float between(double low, double high) { return static_cast<float>(low + (high - low) * uniform()); }
    bool chance(double p) { return uniform() < p; }
    int pick(int n) { return static_cast<int>(next() % static_cast<std::uint64_t>(n)); }
};

float oddValue(Random& r) {
    constexpr float kOdd[] = {0.0f, -0.0f, -9.0f, -999.0f, -1.0f, 1e-30f, 3.5f,
                              std::numeric_limits<float>::quiet_NaN(), -std::numeric_limits<float>::quiet_NaN(),
                              std::numeric_limits<float>::denorm_min()};
    return kOdd[r.pick(static_cast<int>(std::size(kOdd)))];
}

float maybeOdd(Random& r, float value, double p) { return r.chance(p) ? oddValue(r) : value; }

// A random sample; `oddRate` of its inputs of an odd kind.
Board randomSample(Random& r, double oddRate) {
    Board board;
    board.set(slot::kConstantsSet, static_cast<float>(r.chance(0.01) ? r.pick(17) - 2 : r.pick(14)));
    board.set(slot::kKHSO4, static_cast<float>(r.pick(2)));
    board.set(slot::kpHScale, static_cast<float>(r.pick(4)));
    board.set(slot::kAirSeaFlux, static_cast<float>(r.pick(3)));
    const float S = r.chance(0.02) ? r.between(0.0, 5.0) : r.between(28.0, 40.0);
    const float T = r.between(-2.0, 32.0);
    const float P = r.chance(0.4) ? 0.0f : r.between(0.0, 6000.0);
    // Output conditions: absent, equal to the input ones, others, or a
    // laboratory's.
    const int out = r.pick(5);
    const float lab = r.chance(0.7) ? 25.0f : 20.0f;
    const float Tout = out == 0   ? 0.0f
                       : out == 1 ? T
                       : out == 2 ? (r.chance(0.5) ? 0.0f : T)
                       : out == 3 ? r.between(-2.0, 32.0)
                                  : lab;
    const float Pout = out == 0   ? 0.0f
                       : out == 1 ? P
                       : out == 2 ? r.between(0.0, 6000.0)
                       : out == 3 ? (r.chance(0.5) ? P : 0.0f)
                                  : 0.0f;
    board.set(slot::kSalinity, maybeOdd(r, S, oddRate));
    board.set(slot::kTemperature, maybeOdd(r, T, oddRate));
    board.set(slot::kPressure, maybeOdd(r, P, oddRate));
    board.set(slot::kPhosphate, maybeOdd(r, r.chance(0.2) ? 0.0f : r.between(0.0, 3.0), oddRate));
    board.set(slot::kSilicate, maybeOdd(r, r.chance(0.2) ? 0.0f : r.between(0.0, 150.0), oddRate));
    board.set(slot::kTemperatureOut, maybeOdd(r, Tout, oddRate));
    board.set(slot::kPressureOut, maybeOdd(r, Pout, oddRate));
    const float given[6] = {0.0f, r.between(2000.0, 2450.0), r.between(1850.0, 2300.0), r.between(7.5, 8.3),
                            r.between(200.0, 900.0), r.between(200.0, 900.0)};
    int first = 1 + r.pick(5), second = 1 + r.pick(5);
    if (second == first) second = r.chance(0.5) ? 0 : 1 + (first % 5);
    for (int k = 1; k <= 5; ++k) {
        const bool chosen = k == first || k == second || r.chance(0.03);
        board.set(slot::kTA + static_cast<std::uint32_t>(k - 1), chosen ? maybeOdd(r, given[k], oddRate) : 0.0f);
    }
    board.set(slot::kpCO2Air, maybeOdd(r, r.chance(0.3) ? 0.0f : r.between(380.0, 430.0), oddRate));
    board.set(slot::kWindSpeed, maybeOdd(r, r.chance(0.3) ? 0.0f : r.between(0.0, 20.0), oddRate));
    return board;
}

// Equal bits. Of a not-a-number only that it is one: the sign of a NaN made
// from two NaN operands is that of the operand the compiled code puts first,
// which differs between this file's copy of the full path and the program's
// (brinora_board_digest compares those bits with an earlier build).
bool same(float a, float b) {
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b) || (std::isnan(a) && std::isnan(b));
}

// Compares `count` samples; returns the number that differ (and reports the first few).
// The full path's results of some samples.
struct Reference {
    Board board;
    float K0 = 0.5f, FugFac = 0.25f;
    std::vector<std::string> log;
    ComputeOutcome outcome;
};

// The full path of `inputs` on a thread of its own, whose constants routine
// keeps nothing.
std::vector<Reference> fullPathOf(const std::vector<Board>& inputs) {
    std::vector<Reference> references(inputs.size());
    std::thread worker([&] {
        setConstantsReuse(false);
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            Reference& reference = references[i];
            reference.board = inputs[i];
            reference.outcome = test::fullPathComputeCO2(reference.board, reference.K0, reference.FugFac, reference.log);
        }
    });
    worker.join();
    return references;
}

int compareSamples(long count, std::uint64_t seed, double oddRate) {
    Random r{seed};
    int differing = 0;
    std::string log;
    constexpr long kChunk = 10000;
    std::vector<Board> inputs;
    std::vector<Reference> references;
    for (long n = 0; n < count; ++n) {
        if (n % kChunk == 0) {
            inputs.clear();
            for (long i = n; i < std::min(count, n + kChunk); ++i) inputs.push_back(randomSample(r, oddRate));
            references = fullPathOf(inputs);
        }
        const Board& input = inputs[static_cast<std::size_t>(n % kChunk)];
        const Reference& ref = references[static_cast<std::size_t>(n % kChunk)];
        const Board& reference = ref.board;
        const float K0 = ref.K0, FugFac = ref.FugFac;
        const std::vector<std::string>& referenceLog = ref.log;
        const ComputeOutcome expected = ref.outcome;

        Board board = input;
        ProcessValues values{0.5f, 0.25f};
        log.clear();
        const ComputeOutcome outcome = BrinoraMain::ComputeCO2(board, values, &log);
        std::string expectedLog;
        for (const std::string& line : referenceLog) expectedLog += line + "\n";

        int slotDiffering = -1;
        for (std::uint32_t pos = 0; pos < Board::kSize; ++pos) {
            if (!same(board.get(pos), reference.get(pos))) {
                slotDiffering = static_cast<int>(pos);
                break;
            }
        }
        // Asked for one quantity at a time (and status), the same bits.
        int quantityDiffering = -1;
        if (outcome.computed() && n % 7 == 0) {
            const SampleInputs sample = sampleFromBoard(input);
            for (int p = 1; p < quantity::kCount && quantityDiffering < 0; ++p) {
                if (p == 22) continue;
                SampleResults one;
                computeSample(sample, one, quantityBit(p));
                const std::uint32_t at = p <= 38 ? slot::kResultBase + static_cast<std::uint32_t>(p)
                                                 : slot::kCO2FluxIn + static_cast<std::uint32_t>(p - 39);
                if (!same(one.values[static_cast<std::size_t>(p)], reference.get(at))) quantityDiffering = p;
            }
        }
        // The log lines print a NaN's sign: compared without it.
        const auto unsigned_ = [](std::string text) {
            for (std::size_t at = text.find("-nan"); at != std::string::npos; at = text.find("-nan", at)) {
                text.erase(at, 1);
            }
            return text;
        };
        const bool differs = slotDiffering >= 0 || quantityDiffering >= 0 || outcome.status != expected.status ||
                             outcome.parameter != expected.parameter || !same(values.K0, K0) ||
                             !same(values.FugFac, FugFac) || unsigned_(log) != unsigned_(expectedLog);
        if (differs && ++differing <= 5) {
            ADD_FAILURE() << "sample " << n << " (seed " << seed << "): slot " << slotDiffering << " ("
                          << board.get(static_cast<std::uint32_t>(std::max(slotDiffering, 0))) << " against "
                          << reference.get(static_cast<std::uint32_t>(std::max(slotDiffering, 0)))
                          << "), quantity asked alone " << quantityDiffering << ", log '" << log << "' against '"
                          << expectedLog << "'";
        }
    }
    return differing;
}

TEST(ReuseBits, HundredThousandSamplesAgreeWithTheFullPath) {
    EXPECT_EQ(compareSamples(100000, 1, 0.004), 0);
    EXPECT_EQ(compareSamples(20000, 2, 0.2), 0);
}

// The million-sample comparison (a minute or two); run with
// --gtest_also_run_disabled_tests.
TEST(ReuseBits, DISABLED_MillionSamplesAgreeWithTheFullPath) {
    EXPECT_EQ(compareSamples(1000000, 3, 0.004), 0);
    EXPECT_EQ(compareSamples(100000, 4, 0.2), 0);
}

}  // namespace
}  // namespace brinora
