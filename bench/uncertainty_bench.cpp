// Benchmarks of the uncertainty propagation against the values alone, per
// sample: the record's calculation (ComputeCO2), the double-precision values,
// the values with every derivative, and the propagation (derivatives and the
// combined standard uncertainty and budget of every quantity at input and
// output conditions). The surface and depth samples of core_bench, for the
// TA-TCO2 and pH-pCO2 pairs. The ratio of Propagate to ComputeCO2 is the one
// the work on uncertainties is held to (at most 3).
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "engine/compute_co2.h"
#include "engine/slots.h"
#include "uncertainty/propagation.h"

namespace brinora {
namespace {

using namespace uncertainty;

constexpr std::size_t kSamples = 1024;

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

struct Pair {
    const char* name;
    int first, second;
};
constexpr Pair kPairs[] = {{"TA-TCO2", 1, 2}, {"TA-pH", 1, 3}, {"pH-pCO2", 3, 5}};

// Samples as in core_bench: Lueker et al. (2000) constants, Dickson KHSO4,
// total scale, output conditions 25 deg C and 0 dbar; stored both on a board
// and as a double-precision sample (the same float values).
struct Samples {
    std::vector<Board> boards;
    std::vector<Sample> samples;
};

Samples MakeSamples(const Pair& pair, bool depth) {
    Random random{depth ? 20u : 10u};
    Samples s;
    s.boards.resize(kSamples);
    s.samples.resize(kSamples);
    for (std::size_t i = 0; i < kSamples; ++i) {
        const float S = random.between(33.0, 37.0);
        const float T = depth ? random.between(1.0, 4.0) : random.between(0.0, 30.0);
        const float P = depth ? random.between(1000.0, 5000.0) : 0.0f;
        const float TP = random.between(0.0, 2.5), TSi = random.between(0.0, 100.0);
        const std::array<float, 6> values{0.0f, random.between(2250.0, 2400.0), random.between(1950.0, 2200.0),
                                          depth ? random.between(7.6, 7.9) : random.between(7.95, 8.15),
                                          depth ? random.between(500.0, 900.0) : random.between(330.0, 450.0),
                                          0.0f};
        const float pCO2 = values[4] * 1.003f;
        const float wind = random.between(2.0, 12.0);
        Board& b = s.boards[i];
        b.set(slot::kConstantsSet, 12.0f);
        b.set(slot::kSalinity, S);
        b.set(slot::kTemperature, T);
        b.set(slot::kPressure, P);
        b.set(slot::kPhosphate, TP);
        b.set(slot::kSilicate, TSi);
        b.set(slot::kTemperatureOut, 25.0f);
        b.set(slot::kPressureOut, 0.0f);
        for (int k = 1; k <= 5; ++k) {
            const float value = k == 5 ? pCO2 : values[static_cast<std::size_t>(k)];
            b.set(slot::kTA + static_cast<std::uint32_t>(k - 1), k == pair.first || k == pair.second ? value : 0.0f);
        }
        b.set(slot::kpCO2Air, 415.0f);
        b.set(slot::kWindSpeed, wind);
        Sample& x = s.samples[i];
        x.first = pair.first;
        x.second = pair.second;
        x.x[kFirstParameter] = b.get(slot::kTA + static_cast<std::uint32_t>(pair.first - 1));
        x.x[kSecondParameter] = b.get(slot::kTA + static_cast<std::uint32_t>(pair.second - 1));
        x.x[kSalinity] = S;
        x.x[kTemperature] = T;
        x.x[kPressure] = P;
        x.x[kPhosphate] = TP;
        x.x[kSilicate] = TSi;
        x.x[kTemperatureOut] = 25.0f;
        x.x[kpCO2Air] = 415.0f;
        x.x[kWindSpeed] = wind;
    }
    return s;
}

const ChemistryOptions kOptions{13, 1, 1, 0};

void Record(benchmark::State& state, Pair pair, bool depth) {
    Samples s = MakeSamples(pair, depth);
    ProcessValues values;
    std::size_t i = 0;
    for (auto _ : state) benchmark::DoNotOptimize(BrinoraMain::ComputeCO2(s.boards[i++ % kSamples], values));
}

void Values(benchmark::State& state, Pair pair, bool depth) {
    const Samples s = MakeSamples(pair, depth);
    std::array<double, kQuantityCount> out;
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(EvaluateSample(kOptions, s.samples[i++ % kSamples], out));
        benchmark::DoNotOptimize(out);
    }
}

void Sensitivities(benchmark::State& state, Pair pair, bool depth) {
    const Samples s = MakeSamples(pair, depth);
    std::array<Gradient, kQuantityCount> out;
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(DifferentiateSample(kOptions, s.samples[i++ % kSamples], out));
        benchmark::DoNotOptimize(out);
    }
}

void Uncertainties(benchmark::State& state, Pair pair, bool depth) {
    const Samples s = MakeSamples(pair, depth);
    std::array<double, kSourceCount> u{};
    u[kFirstParameter] = 2.0;
    u[kSecondParameter] = 2.0;
    u[kSalinity] = 0.01;
    u[kTemperature] = 0.01;
    SetStandardConstantUncertainties(u);
    // The covariance is made ready once, as a batch run does for every
    // sample that has the uncertainties of the command line.
    const CovariancePlan plan = PlanOf(CovarianceOf(u, 0.0));
    Propagated out;
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Propagate(kOptions, s.samples[i++ % kSamples], plan, out));
        benchmark::DoNotOptimize(out);
    }
}

// The choice of the gradient's storage: the fixed-size dual of the library
// against a runtime-sized one (heap storage of the same 25 directions), on
// the same expression, the carbonate denominator and species of one set of
// constants: y = TC K1 H / (H H + K1 H + K1 K2) and its relatives.
struct RuntimeDual {
    double v = 0.0;
    std::vector<double> d;
    explicit RuntimeDual(double value = 0.0, std::size_t n = kSourceCount) : v(value), d(n, 0.0) {}
};
RuntimeDual operator*(const RuntimeDual& a, const RuntimeDual& b) {
    RuntimeDual r(a.v * b.v, a.d.size());
    for (std::size_t i = 0; i < r.d.size(); ++i) r.d[i] = a.d[i] * b.v + a.v * b.d[i];
    return r;
}
RuntimeDual operator+(const RuntimeDual& a, const RuntimeDual& b) {
    RuntimeDual r(a.v + b.v, a.d.size());
    for (std::size_t i = 0; i < r.d.size(); ++i) r.d[i] = a.d[i] + b.d[i];
    return r;
}
RuntimeDual operator/(const RuntimeDual& a, const RuntimeDual& b) {
    const double q = a.v / b.v;
    RuntimeDual r(q, a.d.size());
    for (std::size_t i = 0; i < r.d.size(); ++i) r.d[i] = (a.d[i] - q * b.d[i]) / b.v;
    return r;
}

template <class D>
D Species(const D& TC, const D& K1, const D& K2, const D& H) {
    const D denominator = H * H + K1 * H + K1 * K2;
    return TC * K1 * H / denominator + TC * K1 * K2 / denominator + TC * H * H / denominator;
}

template <class D>
D Seeded(double value, std::size_t i) {
    if constexpr (std::is_same_v<D, RuntimeDual>) {
        RuntimeDual x(value);
        x.d[i] = 1.0;
        return x;
    } else {
        return D::variable(value, i);
    }
}

template <class D>
void DualStorage(benchmark::State& state) {
    const D TC = Seeded<D>(2.0e-3, 1), K1 = Seeded<D>(1.4e-6, 12), K2 = Seeded<D>(1.1e-9, 13),
            H = Seeded<D>(7.0e-9, 3);
    for (auto _ : state) {
        D y = Species(TC, K1, K2, H);
        benchmark::DoNotOptimize(y);
    }
}

const bool kRegistered = [] {
    benchmark::RegisterBenchmark("DualStorage/fixed25", DualStorage<Gradient>);
    benchmark::RegisterBenchmark("DualStorage/runtime25", DualStorage<RuntimeDual>);
    for (const bool depth : {false, true}) {
        for (const Pair& pair : kPairs) {
            const std::string tail = std::string("/") + pair.name + (depth ? "/depth" : "/surface");
            benchmark::RegisterBenchmark(("Record" + tail).c_str(), Record, pair, depth);
            benchmark::RegisterBenchmark(("DoubleValues" + tail).c_str(), Values, pair, depth);
            benchmark::RegisterBenchmark(("Sensitivities" + tail).c_str(), Sensitivities, pair, depth);
            benchmark::RegisterBenchmark(("Uncertainties" + tail).c_str(), Uncertainties, pair, depth);
        }
    }
    return true;
}();

}  // namespace
}  // namespace brinora

BENCHMARK_MAIN();
