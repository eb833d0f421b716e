// Benchmarks of the calculation core: CO2_Constants per call for every
// constants set, and ComputeCO2 per sample for every input pair at the
// surface and at depth. Samples differ from one call to the next, as the lines
// of a file do, so that no result of one call serves the next.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "constants/co2_constants.h"
#include "engine/compute_co2.h"
#include "engine/slots.h"
#include "log/log.h"

namespace brinora {
namespace {

// Distinct samples a benchmark cycles through.
constexpr std::size_t kSamples = 1024;

// A fixed pseudo-random sequence (splitmix64).
struct Random {
    std::uint64_t state;
    double uniform() {
        std::uint64_t z = (state += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return static_cast<double>((z ^ (z >> 31)) >> 11) * 0x1.0p-53;
    }
    float between(double low, double high) { return static_cast<float>(low + (high - low) * uniform()); }
};

// Sets 6 and 7 write a log line per constants call; the benchmarks discard it.
const log::ScopedSink kQuietLog{[](std::string_view) {}};

struct Conditions {
    float S, TempC, Pdbar;
};

std::vector<Conditions> conditions(bool depth) {
    Random random{depth ? 2u : 1u};
    std::vector<Conditions> list(kSamples);
    for (Conditions& c : list) {
        c.S = random.between(33.0, 37.0);
        c.TempC = depth ? random.between(1.0, 4.0) : random.between(0.0, 30.0);
        c.Pdbar = depth ? random.between(1000.0, 5000.0) : 0.0f;
    }
    return list;
}

void constantsPerCall(benchmark::State& state, int whichKs, bool depth) {
    const std::vector<Conditions> list = conditions(depth);
    ConstantsArray K{};
    TotalsArray T{};
    float K0 = 0, fH = 0, FugFac = 0, VPFac = 0;
    std::size_t i = 0;
    for (auto _ : state) {
        const Conditions& c = list[i++ % kSamples];
        CO2_Constants(1, whichKs, 1, c.S, c.TempC, c.Pdbar, K0, K, T, fH, FugFac, VPFac);
        benchmark::DoNotOptimize(K);
        benchmark::DoNotOptimize(K0);
    }
}

// The same arguments call after call: what exact reuse of the previous call saves.
void constantsRepeated(benchmark::State& state) {
    ConstantsArray K{};
    TotalsArray T{};
    float K0 = 0, fH = 0, FugFac = 0, VPFac = 0;
    for (auto _ : state) {
        CO2_Constants(1, 13, 1, 35.0f, 25.0f, 0.0f, K0, K, T, fH, FugFac, VPFac);
        benchmark::DoNotOptimize(K);
    }
}

// The carbonate parameters, by index: 1 TA, 2 TCO2, 3 pH, 4 fCO2, 5 pCO2.
struct Pair {
    const char* name;
    int first, second;
};
constexpr Pair kPairs[] = {{"TA-TCO2", 1, 2},   {"TA-pH", 1, 3},    {"TA-fCO2", 1, 4},
                           {"TA-pCO2", 1, 5},   {"TCO2-pH", 2, 3},  {"TCO2-fCO2", 2, 4},
                           {"TCO2-pCO2", 2, 5}, {"pH-fCO2", 3, 4},  {"pH-pCO2", 3, 5}};

// Samples of one pair: input conditions at the surface or at depth, output
// conditions those of a laboratory (25 deg C, 0 dbar), Lueker et al. (2000)
// constants, Dickson KHSO4, the total scale, a wind and an air pCO2.
std::vector<Board> boards(const Pair& pair, bool depth) {
    Random random{depth ? 20u : 10u};
    std::vector<Board> list(kSamples);
    const std::vector<Conditions> where = conditions(depth);
    for (std::size_t i = 0; i < kSamples; ++i) {
        Board& board = list[i];
        board.set(slot::kConstantsSet, 12.0f);
        board.set(slot::kKHSO4, 0.0f);
        board.set(slot::kpHScale, 0.0f);
        board.set(slot::kAirSeaFlux, 0.0f);
        board.set(slot::kSalinity, where[i].S);
        board.set(slot::kTemperature, where[i].TempC);
        board.set(slot::kPressure, where[i].Pdbar);
        board.set(slot::kPhosphate, random.between(0.0, 2.5));
        board.set(slot::kSilicate, random.between(0.0, 100.0));
        board.set(slot::kTemperatureOut, 25.0f);
        board.set(slot::kPressureOut, 0.0f);
        const std::array<float, 6> values{0.0f,
                                          random.between(2250.0, 2400.0),
                                          random.between(1950.0, 2200.0),
                                          depth ? random.between(7.6, 7.9) : random.between(7.95, 8.15),
                                          depth ? random.between(500.0, 900.0) : random.between(330.0, 450.0),
                                          0.0f};
        const float pCO2 = values[4] * 1.003f;
        for (int k = 1; k <= 5; ++k) {
            const float value = k == 5 ? pCO2 : values[static_cast<std::size_t>(k)];
            board.set(slot::kTA + static_cast<std::uint32_t>(k - 1),
                      k == pair.first || k == pair.second ? value : 0.0f);
        }
        board.set(slot::kpCO2Air, 415.0f);
        board.set(slot::kWindSpeed, random.between(2.0, 12.0));
    }
    return list;
}

void computePerSample(benchmark::State& state, Pair pair, bool depth) {
    std::vector<Board> list = boards(pair, depth);
    ProcessValues values;
    std::size_t i = 0;
    for (auto _ : state) {
        Board& board = list[i++ % kSamples];
        benchmark::DoNotOptimize(BrinoraMain::ComputeCO2(board, values));
    }
}

const bool kRegistered = [] {
    for (const bool depth : {false, true}) {
        for (const Pair& pair : kPairs) {
            benchmark::RegisterBenchmark(
                (std::string("ComputeCO2/") + pair.name + (depth ? "/depth" : "/surface")).c_str(),
                computePerSample, pair, depth);
        }
    }
    for (int whichKs = 1; whichKs <= 14; ++whichKs) {
        for (const bool depth : {false, true}) {
            benchmark::RegisterBenchmark(
                ("CO2_Constants/set" + std::to_string(whichKs) + (depth ? "/depth" : "/surface")).c_str(),
                constantsPerCall, whichKs, depth);
        }
    }
    benchmark::RegisterBenchmark("CO2_Constants/repeated", constantsRepeated);
    return true;
}();

}  // namespace
}  // namespace brinora

BENCHMARK_MAIN();

