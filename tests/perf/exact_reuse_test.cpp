// The work the calculation does once instead of again gives the bits it gave
// before: every sample of a sequence whose consecutive samples share their
// conditions (so that kept constants, solubility products, gas-transfer
// factors and prepared Newton solves are handed out) is computed again on a
// fresh thread, where nothing is kept yet, and the two boards must be equal
// bit for bit, not-a-number values included.
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "constants/co2_constants.h"
#include "constants/process_values.h"
#include "engine/compute_co2.h"
#include "engine/slots.h"
#include "log/log.h"

namespace brinora {
namespace {

struct Computed {
    Board board;
    ProcessValues values;
    ComputeOutcome outcome;
};

Computed compute(const Board& input) {
    Computed result{input, {}, {}};
    result.outcome = BrinoraMain::ComputeCO2(result.board, result.values);
    return result;
}

// The same sample on a thread of its own: nothing kept from earlier samples.
Computed computeFresh(const Board& input) {
    Computed result;
    std::thread([&] { result = compute(input); }).join();
    return result;
}

// Index of the first slot whose bits differ, -1 when none; 100 and 101 stand
// for K0 and FugFac.
int firstDifference(const Computed& a, const Computed& b) {
    for (std::uint32_t pos = 0; pos < Board::kSize; ++pos) {
        if (std::bit_cast<std::uint32_t>(a.board.get(pos)) != std::bit_cast<std::uint32_t>(b.board.get(pos))) {
            return static_cast<int>(pos);
        }
    }
    if (std::bit_cast<std::uint32_t>(a.values.K0) != std::bit_cast<std::uint32_t>(b.values.K0)) return 100;
    if (std::bit_cast<std::uint32_t>(a.values.FugFac) != std::bit_cast<std::uint32_t>(b.values.FugFac)) return 101;
    return -1;
}

// Samples in casts: runs of samples with the same salinity, temperature and
// pressure, output conditions now equal to the input ones and now not, every
// option, and now and then a value of an odd kind.
std::vector<Board> castSamples(std::size_t count, std::uint64_t seed, double oddRate) {
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const auto between = [&](double low, double high) { return static_cast<float>(low + (high - low) * unit(random)); };
    const float odd[] = {0.0f, -0.0f, -9.0f, -999.0f, std::numeric_limits<float>::quiet_NaN(),
                         -std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::denorm_min(), -1.0f};
    const auto maybeOdd = [&](float value) { return unit(random) < oddRate ? odd[random() % std::size(odd)] : value; };
    std::vector<Board> samples;
    float S = 35, T = 10, P = 0, Tout = 0, Pout = 0;
    int constants = 13, khso4 = 1, scale = 1, flux = 1;
    for (std::size_t i = 0; i < count; ++i) {
        if (unit(random) < 0.3) {
            S = between(30, 38);
            T = between(-1, 30);
            P = unit(random) < 0.4 ? 0.0f : between(0, 5000);
            Tout = unit(random) < 0.5 ? 0.0f : 25.0f;
            Pout = unit(random) < 0.7 ? 0.0f : between(0, 5000);
        }
        if (unit(random) < 0.1) {
            constants = 1 + static_cast<int>(random() % 14);
            khso4 = 1 + static_cast<int>(random() % 2);
            scale = 1 + static_cast<int>(random() % 4);
            flux = 1 + static_cast<int>(random() % 3);
        }
        Board board;
        board.set(slot::kConstantsSet, static_cast<float>(constants - 1));
        board.set(slot::kKHSO4, static_cast<float>(khso4 - 1));
        board.set(slot::kpHScale, static_cast<float>(scale - 1));
        board.set(slot::kAirSeaFlux, static_cast<float>(flux - 1));
        board.set(slot::kSalinity, maybeOdd(S));
        board.set(slot::kTemperature, maybeOdd(T));
        board.set(slot::kPressure, maybeOdd(P));
        board.set(slot::kPhosphate, maybeOdd(between(0, 2.5)));
        board.set(slot::kSilicate, maybeOdd(between(0, 120)));
        board.set(slot::kTemperatureOut, maybeOdd(Tout));
        board.set(slot::kPressureOut, maybeOdd(Pout));
        const std::array<float, 6> given{0, between(2200, 2400), between(1900, 2250), between(7.6, 8.2),
                                         between(250, 900), between(250, 900)};
        const int first = 1 + static_cast<int>(random() % 5);
        int second = 1 + static_cast<int>(random() % 5);
        if (second == first) second = first == 1 ? 2 : 1;
        for (int k = 1; k <= 5; ++k) {
            board.set(slot::kTA + static_cast<std::uint32_t>(k - 1),
                      k == first || k == second ? maybeOdd(given[static_cast<std::size_t>(k)]) : 0.0f);
        }
        board.set(slot::kpCO2Air, maybeOdd(415.0f));
        board.set(slot::kWindSpeed, maybeOdd(between(0, 15)));
        samples.push_back(board);
        // The same sample again, as a duplicate bottle might be.
        if (unit(random) < 0.2) samples.push_back(board);
    }
    return samples;
}

class ExactReuseTest : public ::testing::Test {
protected:
    // Sets 6 and 7 write a log line per constants call.
    const log::ScopedSink quiet{[](std::string_view) {}};
};

TEST_F(ExactReuseTest, KeptResultsAreTheBitsOfAFreshCalculation) {
    for (const double oddRate : {0.0, 0.05}) {
        const std::vector<Board> samples = castSamples(1500, oddRate == 0.0 ? 11 : 12, oddRate);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const Computed warm = compute(samples[i]);
            const Computed fresh = computeFresh(samples[i]);
            ASSERT_EQ(firstDifference(warm, fresh), -1) << "sample " << i << ", odd rate " << oddRate;
            ASSERT_EQ(warm.outcome.status, fresh.outcome.status);
        }
    }
}

TEST_F(ExactReuseTest, ConstantsReuseSwitchedOffGivesTheSameBits) {
    const std::vector<Board> samples = castSamples(800, 21, 0.02);
    std::vector<Computed> kept;
    for (const Board& sample : samples) kept.push_back(compute(sample));
    setConstantsReuse(false);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        EXPECT_EQ(firstDifference(kept[i], compute(samples[i])), -1) << "sample " << i;
    }
    setConstantsReuse(true);
}

TEST_F(ExactReuseTest, KeptConstantsAreTheRoutinesOutputsAndTouchNothingElse) {
    for (int whichKs = -1; whichKs <= 15; ++whichKs) {
        for (const int pHScale : {0, 1, 2, 3, 4, 5}) {
            for (const int whichKSO4 : {0, 1, 2, 3}) {
                ConstantsArray K1{}, K2{};
                TotalsArray T1{}, T2{};
                K1.fill(-7.0f), K2.fill(-7.0f), T1.fill(-7.0f), T2.fill(-7.0f);
                float K0a = 0, K0b = 0, fHa = 0.5f, fHb = 0.5f, Fa = 0, Fb = 0, Va = 0, Vb = 0;
                setConstantsReuse(false);
                CO2_Constants(pHScale, whichKs, whichKSO4, 34.5f, 12.5f, 1500.0f, K0a, K1, T1, fHa, Fa, Va);
                setConstantsReuse(true);
                // Twice: computed, then handed out.
                CO2_Constants(pHScale, whichKs, whichKSO4, 34.5f, 12.5f, 1500.0f, K0b, K2, T2, fHb, Fb, Vb);
                K2.fill(-7.0f), T2.fill(-7.0f);
                fHb = 0.5f;
                CO2_Constants(pHScale, whichKs, whichKSO4, 34.5f, 12.5f, 1500.0f, K0b, K2, T2, fHb, Fb, Vb);
                const auto same = [](float a, float b) { return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b); };
                for (std::size_t k = 0; k < K1.size(); ++k) EXPECT_TRUE(same(K1[k], K2[k])) << whichKs << " K" << k;
                for (std::size_t t = 0; t < T1.size(); ++t) EXPECT_TRUE(same(T1[t], T2[t])) << whichKs << " T" << t;
                EXPECT_TRUE(same(K0a, K0b) && same(fHa, fHb) && same(Fa, Fb) && same(Va, Vb)) << whichKs;
            }
        }
    }
}

TEST(ExactReuseLog, SetsSixAndSevenWriteTheirLineOnEveryCall) {
    // TA and TCO2 given: three constants calls a sample, each with its line,
    // the same sample after sample.
    for (const int constants : {6, 7}) {
        std::vector<std::string> lines;
        const log::ScopedSink sink([&lines](std::string_view line) { lines.emplace_back(line); });
        Board board;
        board.set(slot::kConstantsSet, static_cast<float>(constants - 1));
        board.set(slot::kSalinity, 35.0f);
        board.set(slot::kTemperature, 20.0f);
        board.set(slot::kTA, 2300.0f);
        board.set(slot::kTCO2, 2000.0f);
        ProcessValues values;
        for (int repeat = 0; repeat < 4; ++repeat) BrinoraMain::ComputeCO2(board, values);
        ASSERT_EQ(lines.size(), 12u) << "set " << constants;
        for (const std::string& line : lines) EXPECT_TRUE(line.starts_with("peng ")) << line;
        // TA and pH: two calls a sample.
        lines.clear();
        board.set(slot::kTCO2, 0.0f);
        board.set(slot::kpH, 8.0f);
        for (int repeat = 0; repeat < 3; ++repeat) BrinoraMain::ComputeCO2(board, values);
        EXPECT_EQ(lines.size(), 6u) << "set " << constants;
    }
}

}  // namespace
}  // namespace brinora
