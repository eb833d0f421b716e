// brinora_board_digest: a fingerprint of every bit the calculation writes.
//
// Computes two fixed pseudo-random sequences of samples (every constants set,
// KHSO4 choice, pH scale and flux formula, codes outside the menus, missing
// marks, not-a-number values, signed zeros, casts whose consecutive samples
// share their conditions) on one board and folds the 100 slots, the outcome
// and K0 and FugFac of every sample into a 64-bit digest per sequence: an
// ordinary one, where one input in 250 is of an odd kind, and an odd one of a
// tenth as many samples, where one input in five is (so that not-a-number
// values meet in the arithmetic, where the sign of the result is the compiled
// code's choice). Two builds that print the same digests computed the same
// bits for every sample.
//
//   brinora_board_digest [COUNT] [PER_SAMPLE_FILE]
//
// With PER_SAMPLE_FILE, the digest of each sample of the ordinary sequence is
// also written there (8 bytes each), so that two runs can be compared sample
// by sample.
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string_view>

#include "engine/compute_co2.h"
#include "engine/slots.h"
#include "log/log.h"

namespace {

using brinora::Board;
namespace slot = brinora::slot;

// splitmix64: a small, fixed pseudo-random sequence.
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

// A value of no ordinary kind, now and then.
float oddValue(Random& r) {
    // No infinities and no huge values: an infinite Newton step never ends,
    // and a huge nutrient total runs every solver to its step cap.
    constexpr float kOdd[] = {0.0f, -0.0f, -9.0f, -999.0f, -1.0f, 1e-30f, 3.5f,
                              std::numeric_limits<float>::quiet_NaN(),
                              -std::numeric_limits<float>::quiet_NaN(),
                              std::numeric_limits<float>::denorm_min()};
    return kOdd[r.pick(static_cast<int>(std::size(kOdd)))];
}

float maybeOdd(Random& r, float value, double p) { return r.chance(p) ? oddValue(r) : value; }

struct Conditions {
    float S, T, P, TP, TSi, Tout, Pout;
};

Conditions newConditions(Random& r) {
    Conditions c{};
    c.S = r.chance(0.02) ? r.between(0.0, 5.0) : r.between(28.0, 40.0);
    c.T = r.between(-2.0, 32.0);
    c.P = r.chance(0.4) ? 0.0f : r.between(0.0, 6000.0);
    c.TP = r.chance(0.2) ? 0.0f : r.between(0.0, 3.0);
    c.TSi = r.chance(0.2) ? 0.0f : r.between(0.0, 150.0);
    c.Tout = r.chance(0.5) ? 0.0f : (r.chance(0.5) ? 25.0f : r.between(-2.0, 32.0));
    c.Pout = r.chance(0.6) ? 0.0f : r.between(0.0, 6000.0);
    return c;
}

std::uint64_t mix(std::uint64_t h, std::uint64_t v) {
    h ^= v + 0x9E3779B97F4A7C15ull + (h << 6) + (h >> 2);
    return h * 0x100000001B3ull;
}

// Folds `count` samples of the sequence `seed`, one input in 1/oddRate of
// an odd kind, into a digest.
std::uint64_t digestOf(long count, std::uint64_t seed, double oddRate, std::FILE* perSample) {
    Random r{seed};
    Board board;
    brinora::ProcessValues values;
    Conditions c = newConditions(r);
    std::uint64_t digest = 0;
    for (long n = 0; n < count; ++n) {
        // Consecutive samples of a cast share salinity, temperature and pressure.
        if (!r.chance(0.6)) c = newConditions(r);
        board.reset();
        int constants = 1 + r.pick(14), khso4 = 1 + r.pick(2), scale = 1 + r.pick(4), flux = 1 + r.pick(3);
        if (r.chance(0.01)) constants = r.pick(17) - 1;
        if (r.chance(0.01)) khso4 = r.pick(5) - 1;
        if (r.chance(0.01)) scale = r.pick(7) - 1;
        if (r.chance(0.01)) flux = r.pick(6) - 1;
        board.set(slot::kConstantsSet, static_cast<float>(constants - 1));
        board.set(slot::kKHSO4, static_cast<float>(khso4 - 1));
        board.set(slot::kpHScale, static_cast<float>(scale - 1));
        board.set(slot::kAirSeaFlux, static_cast<float>(flux - 1));
        if (r.chance(0.002)) board.set(slot::kConstantsSet, std::numeric_limits<float>::quiet_NaN());
        if (r.chance(0.002)) board.set(slot::kConstantsSet, r.between(0.0, 13.999));

        board.set(slot::kSalinity, maybeOdd(r, c.S, oddRate));
        board.set(slot::kTemperature, maybeOdd(r, c.T, oddRate));
        board.set(slot::kPressure, maybeOdd(r, c.P, oddRate));
        board.set(slot::kPhosphate, maybeOdd(r, c.TP, oddRate));
        board.set(slot::kSilicate, maybeOdd(r, c.TSi, oddRate));
        board.set(slot::kTemperatureOut, maybeOdd(r, c.Tout, oddRate));
        board.set(slot::kPressureOut, maybeOdd(r, c.Pout, oddRate));

        // Two (now and then one or three) of the five carbonate parameters.
        const float given[6] = {0.0f, r.between(2000.0, 2450.0), r.between(1850.0, 2300.0),
                                r.between(7.5, 8.3), r.between(200.0, 900.0), r.between(200.0, 900.0)};
        int first = 1 + r.pick(5), second = 1 + r.pick(5);
        if (second == first) second = r.chance(0.5) ? 0 : 1 + (first % 5);
        for (int k = 1; k <= 5; ++k) {
            const bool chosen = k == first || k == second || r.chance(0.03);
            board.set(slot::kTA + static_cast<std::uint32_t>(k - 1), chosen ? maybeOdd(r, given[k], oddRate) : 0.0f);
        }
        board.set(slot::kpCO2Air, maybeOdd(r, r.chance(0.3) ? 0.0f : r.between(380.0, 430.0), oddRate));
        board.set(slot::kWindSpeed, maybeOdd(r, r.chance(0.3) ? 0.0f : r.between(0.0, 20.0), oddRate));

        const brinora::ComputeOutcome outcome = brinora::BrinoraMain::ComputeCO2(board, values);
        std::uint64_t h = static_cast<std::uint64_t>(outcome.status) * 8 + static_cast<std::uint64_t>(outcome.parameter);
        for (const float v : board.slots()) h = mix(h, std::bit_cast<std::uint32_t>(v));
        h = mix(h, std::bit_cast<std::uint32_t>(values.K0));
        h = mix(h, std::bit_cast<std::uint32_t>(values.FugFac));
        digest = mix(digest, h);
        if (perSample) std::fwrite(&h, sizeof h, 1, perSample);
    }
    return digest;
}

}  // namespace

int main(int argc, char** argv) {
    const long count = argc > 1 ? std::atol(argv[1]) : 200000;
    std::FILE* perSample = argc > 2 ? std::fopen(argv[2], "wb") : nullptr;
    // Sets 6 and 7 write a log line per constants call; nothing to show here.
    const brinora::log::ScopedSink quiet{[](std::string_view) {}};

    const std::uint64_t ordinary = digestOf(count, 20240611, 0.004, perSample);
    if (perSample) std::fclose(perSample);
    const std::uint64_t odd = digestOf(count / 10, 19700101, 0.2, nullptr);
    std::printf("%ld samples, digest %016llx; %ld odd samples, digest %016llx\n", count,
                static_cast<unsigned long long>(ordinary), count / 10, static_cast<unsigned long long>(odd));
    return 0;
}
