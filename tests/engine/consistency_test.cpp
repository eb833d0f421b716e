// Round trips through the driver: the computed members of the carbonate
// system, given back as inputs, return the original pair.
#include <gtest/gtest.h>

#include <cmath>

#include "engine/compute_co2.h"
#include "engine/slots.h"
#include "sample.h"

namespace brinora {
namespace {

using test::Sample;

struct Computed {
    Board board;
    bool ok = false;
};

Computed compute(const Sample& sample) {
    Computed c;
    test::place(sample, c.board);
    ProcessValues values;
    c.ok = BrinoraMain::ComputeCO2(c.board, values).computed();
    return c;
}

struct Case {
    float S, TempC, Pdbar, TA, TCO2;
    int constants, pHScale;
};

constexpr Case kCases[] = {
    {35.0f, 25.0f, 0.0f, 2300.0f, 2000.0f, 13, 1},   {34.7f, 2.0f, 4000.0f, 2350.0f, 2250.0f, 10, 2},
    {30.0f, 15.0f, 5.0f, 2150.0f, 2000.0f, 4, 3},    {33.8f, -1.5f, 50.0f, 2280.0f, 2180.0f, 12, 4},
    {36.5f, 28.0f, 0.0f, 2400.0f, 2050.0f, 1, 1},    {20.0f, 10.0f, 0.0f, 1800.0f, 1750.0f, 5, 2},
};

// TA and TCO2 are printed to 0.001 umol/kg; the round trip passes through
// pH and fCO2 stored as floats and must still agree to that precision.
constexpr float kTolerance = 0.001f;

TEST(Consistency, pHandFugacityFromTAandTCO2GiveTAandTCO2Back) {
    for (const Case& c : kCases) {
        Sample first;
        first.S = c.S;
        first.TempC = c.TempC;
        first.Pdbar = c.Pdbar;
        first.TP = 1.0f;
        first.TSi = 20.0f;
        first.TA = c.TA;
        first.TCO2 = c.TCO2;
        first.constants = c.constants;
        first.pHScale = c.pHScale;
        const Computed forward = compute(first);
        ASSERT_TRUE(forward.ok);

        Sample second = first;
        second.TA = 0;
        second.TCO2 = 0;
        second.pH = forward.board.get(slot::kpHIn);
        second.fCO2 = forward.board.get(slot::kfCO2In);
        const Computed back = compute(second);
        ASSERT_TRUE(back.ok);
        EXPECT_NEAR(back.board.get(slot::kTAOut), c.TA, kTolerance) << "constants " << c.constants;
        EXPECT_NEAR(back.board.get(slot::kTCO2Out), c.TCO2, kTolerance)
            << "constants " << c.constants;
        EXPECT_NEAR(back.board.get(slot::kpHOut), forward.board.get(slot::kpHOut), 2e-4f);
    }
}

TEST(Consistency, TAandpHGiveTheTCO2OfTAandTCO2Back) {
    for (const Case& c : kCases) {
        Sample first;
        first.S = c.S;
        first.TempC = c.TempC;
        first.Pdbar = c.Pdbar;
        first.TA = c.TA;
        first.TCO2 = c.TCO2;
        first.constants = c.constants;
        first.pHScale = c.pHScale;
        const Computed forward = compute(first);
        ASSERT_TRUE(forward.ok);

        Sample second = first;
        second.TCO2 = 0;
        second.pH = forward.board.get(slot::kpHIn);
        const Computed back = compute(second);
        ASSERT_TRUE(back.ok);
        EXPECT_NEAR(back.board.get(slot::kTCO2Out), c.TCO2, kTolerance)
            << "constants " << c.constants;
        EXPECT_NEAR(back.board.get(slot::kfCO2In), forward.board.get(slot::kfCO2In), 0.01f);
    }
}

}  // namespace
}  // namespace brinora
