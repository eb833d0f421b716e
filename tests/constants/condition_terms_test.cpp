// The terms of one temperature, one salinity and one pressure that the
// constants routine keeps per thread: a routine that hands them out gives
// every output with the bits of a routine that computes everything afresh,
// over runs where calls share their temperature, salinity or pressure and
// differ in the rest.
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <vector>

#include "constants/co2_constants.h"
#include "tests/constants/constants_support.h"

namespace brinora {
namespace {

using constants_test::Outputs;

// Sets 6 and 7 write a diagnostic line on every call; keep the test log quiet.
const log::ScopedSink kQuietLog{[](std::string_view) {}};

struct Call {
    int pHScale, whichKs, whichKSO4;
    float Sal, TempC, Pdbar;
};

Outputs compute(const Call& c) {
    Outputs o;
    o.fH = 0.5f;
    PengLine peng;
    CO2_ConstantsValues(c.pHScale, c.whichKs, c.whichKSO4, c.Sal, c.TempC, c.Pdbar, o.K0, o.K, o.T, o.fH, o.FugFac,
                        o.VPFac, peng);
    return o;
}

bool sameBits(const Outputs& a, const Outputs& b) {
    const auto same = [](float x, float y) { return std::bit_cast<std::uint32_t>(x) == std::bit_cast<std::uint32_t>(y); };
    bool equal = same(a.K0, b.K0) && same(a.fH, b.fH) && same(a.FugFac, b.FugFac) && same(a.VPFac, b.VPFac);
    for (int i = 1; i <= 10; ++i) equal = equal && same(a.K[static_cast<std::size_t>(i)], b.K[static_cast<std::size_t>(i)]);
    for (int i = 1; i <= 3; ++i) equal = equal && same(a.T[static_cast<std::size_t>(i)], b.T[static_cast<std::size_t>(i)]);
    return equal;
}

TEST(ConditionTerms, KeptTermsGiveTheBitsOfAFreshEvaluation) {
    // Few values of each condition, so that consecutive calls share one or
    // two of them: a sample's input and output conditions (same salinity),
    // a run's laboratory output conditions (same temperature and pressure).
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float salinities[] = {35.0f, 34.2f, 0.0f, -0.0f, 40.0f, nan};
    const float temperatures[] = {25.0f, 2.5f, 20.0f, 0.0f, -0.0f, -1.5f, 31.0f, nan, -nan};
    const float pressures[] = {0.0f, 4000.0f, 1000.0f, -0.0f, 6000.0f, nan};
    std::uint64_t state = 3;
    const auto pick = [&](int n) {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<int>((state >> 33) % static_cast<std::uint64_t>(n));
    };
    std::vector<Call> calls;
    for (int n = 0; n < 200000; ++n) {
        calls.push_back(Call{1 + pick(4), pick(16), 1 + pick(2), salinities[pick(6)], temperatures[pick(9)],
                             pressures[pick(6)]});
    }
    // Afresh: nothing kept.
    setConstantsReuse(false);
    std::vector<Outputs> fresh;
    for (const Call& call : calls) fresh.push_back(compute(call));
    // In turn, with the terms (and results) of the calls before kept.
    setConstantsReuse(true);
    int differing = 0;
    for (std::size_t n = 0; n < calls.size(); ++n) {
        const Call& call = calls[n];
        if (!sameBits(compute(call), fresh[n]) && ++differing <= 5) {
            ADD_FAILURE() << "call " << n << ": set " << call.whichKs << ", S " << call.Sal << ", t " << call.TempC
                          << ", P " << call.Pdbar;
        }
    }
    EXPECT_EQ(differing, 0);
}

}  // namespace
}  // namespace brinora
