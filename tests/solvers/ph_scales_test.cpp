#include "solvers/ph_scales.h"

#include <gtest/gtest.h>

#include "seawater_fixture.h"

namespace brinora {
namespace {

struct Scales {
    float NBS, Free, Tot, SWS;
};

Scales OnAllScales(short pHScale, float pH, float fH = 0.7f) {
    Scales s{};
    FindpHOnAllScales(pHScale, pH, test::SurfaceConstants(), test::SurfaceTotals(), fH, s.NBS,
                      s.Free, s.Tot, s.SWS);
    return s;
}

// With TS 0.0282, KS 0.1, TF 6.8e-5, KF 2.3e-3 and fH 0.7 (double):
// FREEtoTOT 1.282, SWStoTOT 0.977458, so -log10 SWStoTOT = 0.0099019,
// -log10 FREEtoTOT = -0.1078880, -log10 fH = 0.1549020.
TEST(FindpHOnAllScales, TotalScaleInputKeepsThepH) {
    const Scales s = OnAllScales(1, 8.0f);
    EXPECT_EQ(s.Tot, 8.0f);
    EXPECT_NEAR(s.SWS, 7.9900981344890125, 1e-6);
    EXPECT_NEAR(s.Free, 8.107888025182799, 1e-6);
    EXPECT_NEAR(s.NBS, 8.145000094474756, 1e-6);
}

TEST(FindpHOnAllScales, UnknownCodesAreTakenAsTotal) {
    const Scales total = OnAllScales(1, 8.0f);
    for (short code : {0, 5, 9, -1}) {
        const Scales s = OnAllScales(code, 8.0f);
        EXPECT_EQ(s.Tot, 8.0f) << "code " << code;
        EXPECT_EQ(s.SWS, total.SWS) << "code " << code;
        EXPECT_EQ(s.Free, total.Free) << "code " << code;
        EXPECT_EQ(s.NBS, total.NBS) << "code " << code;
    }
}

TEST(FindpHOnAllScales, EachScaleRoundTrips) {
    EXPECT_NEAR(OnAllScales(2, 8.0f).SWS, 8.0f, 1e-6);
    EXPECT_NEAR(OnAllScales(2, 8.0f).Tot, 8.0099018655109875, 1e-6);
    EXPECT_NEAR(OnAllScales(3, 8.0f).Free, 8.0f, 1e-6);
    EXPECT_NEAR(OnAllScales(3, 8.0f).Tot, 7.892111974817201, 1e-6);
    EXPECT_NEAR(OnAllScales(4, 8.0f).NBS, 8.0f, 1e-6);
    EXPECT_NEAR(OnAllScales(4, 8.0f).Tot, 7.854999905525244, 1e-6);
}

}  // namespace
}  // namespace brinora
