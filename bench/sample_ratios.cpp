// brinora_bench_ratios: nanoseconds per sample of the calculation on one
// thread, for the ratios of bench/ratios.sh. The same source builds against
// an older tree without engine/sample.h (the driver on a board is then the
// only way in), so that both builds time the same samples in one run.
//
//   brinora_bench_ratios MODE [SAMPLES] [REPEATS]
//
// MODE: insitu-board   every result, on a board per sample (the driver)
//       insitu-all     every result, computeSamples on columns
//       insitu-main    pH, fCO2, pCO2, CO2, HCO3, CO3 and the two
//                      saturation states, computeSamples on columns
//       distinct-board every result, output conditions 25 deg C and 0 dbar
//                      (different from the input conditions), on a board
// Samples: in-situ conditions of a cruise (salinity 33..37, 0..30 deg C,
// 0..5000 dbar), TA and TCO2 for 60 %, other pairs for the rest, constants of
// Lueker et al. (2000), a wind and an air pCO2. Prints the fastest repeat,
// in CPU time of the thread (the machine is shared: wall time would count the
// other processes' turns).
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "engine/compute_co2.h"
#include "engine/slots.h"
#include "log/log.h"
#if __has_include("engine/sample.h")
#include "engine/sample.h"
#define BRINORA_HAVE_SAMPLE_API 1
#endif

namespace {

using namespace brinora;

double cpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

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

// Inputs in board order (slots 11..24), one row of 14 per sample.
std::vector<float> samples(std::size_t n, bool distinct) {
    Random random{7};
    std::vector<float> rows(n * 14, 0.0f);
    for (std::size_t i = 0; i < n; ++i) {
        float* v = &rows[i * 14];
        v[0] = random.between(33.0, 37.0);
        v[1] = random.between(0.0, 30.0);
        v[2] = random.uniform() < 0.3 ? 0.0f : random.between(0.0, 5000.0);
        v[3] = random.between(0.0, 3.0);
        v[4] = random.between(0.0, 100.0);
        v[5] = distinct ? 25.0f : 0.0f;
        v[6] = 0.0f;
        const float given[5] = {random.between(2250.0, 2400.0), random.between(1950.0, 2200.0),
                                random.between(7.6, 8.15), random.between(330.0, 800.0),
                                random.between(330.0, 800.0)};
        const double pick = random.uniform();
        int first = 0, second = 1;  // 60 % TA and TCO2
        if (pick >= 0.6) {
            static constexpr int kOthers[][2] = {{0, 2}, {1, 2}, {2, 4}, {0, 4}, {1, 3}};
            const int k = static_cast<int>((pick - 0.6) / 0.4 * 5) % 5;
            first = kOthers[k][0];
            second = kOthers[k][1];
        }
        v[7 + first] = given[first];
        v[7 + second] = given[second];
        v[12] = 415.0f;
        v[13] = random.between(2.0, 12.0);
    }
    return rows;
}

double boardRun(const std::vector<float>& rows, std::size_t n) {
    Board board;
    ProcessValues values;
    double sink = 0;
    for (std::size_t i = 0; i < n; ++i) {
        board.reset();
        board.set(slot::kConstantsSet, 12.0f);
        for (std::uint32_t j = 0; j < 14; ++j) board.set(slot::kSalinity + j, rows[i * 14 + j]);
        BrinoraMain::ComputeCO2(board, values);
        sink += board.get(slot::kpHIn) + board.get(slot::kpHOut);
    }
    return sink;
}

#ifdef BRINORA_HAVE_SAMPLE_API
double columnsRun(const std::vector<float>& rows, std::size_t n, bool mainOnly) {
    std::vector<std::vector<float>> columns(14, std::vector<float>(n));
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j < 14; ++j) columns[j][i] = rows[i * 14 + j];
    }
    SampleColumns c;
    c.options = optionsFromSlots(12.0f, 0.0f, 0.0f, 0.0f);
    for (std::size_t j = 0; j < 14; ++j) {
        c.inputs[j] = columns[j].data();
        c.perSample[j] = true;
    }
    std::vector<std::vector<float>> outputs(quantity::kCount);
    const int kMain[] = {8, 9, 10, 13, 11, 12, 19, 20};  // pH fCO2 pCO2 CO2 HCO3 CO3 OmegaCa OmegaAr
    for (int p = 1; p < quantity::kCount; ++p) {
        const bool wanted = !mainOnly || std::find(std::begin(kMain), std::end(kMain), p) != std::end(kMain);
        if (!wanted || p == 22) continue;
        outputs[static_cast<std::size_t>(p)].resize(n);
        c.outputs[static_cast<std::size_t>(p)] = outputs[static_cast<std::size_t>(p)].data();
    }
    const double start = cpuSeconds();
    computeSamples(c, 0, n);
    return cpuSeconds() - start;
}
#endif

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: brinora_bench_ratios MODE [SAMPLES] [REPEATS]\n");
        return 2;
    }
    const std::string mode = argv[1];
    const std::size_t n = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 1000000;
    const int repeats = argc > 3 ? std::atoi(argv[3]) : 3;
    const log::ScopedSink quiet{[](std::string_view) {}};
    const std::vector<float> rows = samples(n, mode == "distinct-board");
    double best = 1e30;
    for (int r = 0; r < repeats; ++r) {
        double seconds = 0;
        if (mode == "insitu-board" || mode == "distinct-board") {
            const double start = cpuSeconds();
            volatile double sink = boardRun(rows, n);
            (void)sink;
            seconds = cpuSeconds() - start;
#ifdef BRINORA_HAVE_SAMPLE_API
        } else if (mode == "insitu-all" || mode == "insitu-main") {
            seconds = columnsRun(rows, n, mode == "insitu-main");
#endif
        } else {
            std::fprintf(stderr, "unknown mode %s for this build\n", mode.c_str());
            return 2;
        }
        best = std::min(best, seconds);
    }
    std::printf("%.1f\n", best / static_cast<double>(n) * 1e9);
    return 0;
}
