// Published check values at S = 35, t = 25 degC, 1 atm, through CO2_Constants.
// Tolerance: half a unit of the last printed digit, so each computed value
// rounds to the printed one. Float storage of a constant changes its ln by at
// most 1.2e-7, far inside every tolerance.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>

#include "constants/co2_constants.h"
#include "tests/constants/constants_support.h"

namespace brinora {
namespace {

using namespace brinora::constants_test;

struct CheckValue {
    const char* name;       // test name
    const char* source;     // where the value is printed
    int pHScale, whichKs;   // options of the call (whichKSO4 1, Dickson)
    std::function<double(const Outputs&)> quantity;
    double expected;
    double tolerance;
};

double Ln(float x) { return std::log(static_cast<double>(x)); }
double Log10(float x) { return std::log10(static_cast<double>(x)); }

const CheckValue kCheckValues[] = {
    // Weiss (1974); K0 in mol/(kg-SW atm).
    {"lnK0_Weiss1974", "DOE (1994) ch. 5; Dickson et al. (2007) ch. 5", ph_scale::kTotal, 1,
     [](const Outputs& o) { return Ln(o.K0); }, -3.5617, 0.00005},
    // Roy et al. (1993), total scale, mol/kg-soln: set 1 on pHScale 1, where the
    // routine's K1 = exp(lnK1)(1 - 0.001005 S)/SWStoTOT * SWStoTOT.
    {"lnK1_Roy1993_Total", "DOE (1994) ch. 5", ph_scale::kTotal, 1,
     [](const Outputs& o) { return Ln(o.K[k::K1]); }, -13.4847, 0.00005},
    {"lnK2_Roy1993_Total", "DOE (1994) ch. 5", ph_scale::kTotal, 1,
     [](const Outputs& o) { return Ln(o.K[k::K2]); }, -20.5504, 0.00005},
    // Lueker et al. (2000), total scale: set 13 on pHScale 1. The first K1
    // coefficient 3633.866 (3633.86 published) moves log10 K1 by 2e-5.
    {"log10K1_Lueker2000_Total", "Dickson et al. (2007) ch. 5", ph_scale::kTotal, 13,
     [](const Outputs& o) { return Log10(o.K[k::K1]); }, -5.8472, 0.00005},
    {"log10K2_Lueker2000_Total", "Dickson et al. (2007) ch. 5", ph_scale::kTotal, 13,
     [](const Outputs& o) { return Log10(o.K[k::K2]); }, -8.9660, 0.00005},
    // Millero et al. (2006), seawater scale: set 12 on pHScale 2.
    {"pK1_Millero2006_Seawater", "Millero et al. (2006), Mar. Chem. 100, abstract", ph_scale::kSeawater, 12,
     [](const Outputs& o) { return -Log10(o.K[k::K1]); }, 5.8401, 0.00005},
    {"pK2_Millero2006_Seawater", "Millero et al. (2006), Mar. Chem. 100, abstract", ph_scale::kSeawater, 12,
     [](const Outputs& o) { return -Log10(o.K[k::K2]); }, 8.9636, 0.00005},
    // Dickson (1990) boric acid, total scale: KB of set 1 on pHScale 1.
    {"lnKB_Dickson1990_Total", "DOE (1994) ch. 5", ph_scale::kTotal, 1,
     [](const Outputs& o) { return Ln(o.K[k::KB]); }, -19.7964, 0.00005},
    // Dickson (1990) bisulfate, free scale, mol/kg-soln. The routine's KS carries
    // the factor (1 - 0.001005 S), and that is the quantity printed: ln KS =
    // -2.2996 here, while without the factor (mol/kg-H2O) it would be -2.2638.
    {"lnKS_Dickson1990_Free", "DOE (1994) ch. 5", ph_scale::kTotal, 1,
     [](const Outputs& o) { return Ln(o.K[k::KS]); }, -2.30, 0.005},
};

class PublishedCheckValue : public ::testing::TestWithParam<CheckValue> {};

TEST_P(PublishedCheckValue, AtS35T25OneAtmosphere) {
    const CheckValue& c = GetParam();
    const Outputs o = Compute(c.pHScale, c.whichKs, khso4::kDickson, 35.0f, 25.0f, 0.0f);
    const double computed = c.quantity(o);
    EXPECT_NEAR(computed, c.expected, c.tolerance)
        << c.name << " (" << c.source << "): computed " << computed << ", printed " << c.expected;
}

INSTANTIATE_TEST_SUITE_P(CheckValues, PublishedCheckValue, ::testing::ValuesIn(kCheckValues),
                         [](const ::testing::TestParamInfo<CheckValue>& info) { return std::string(info.param.name); });

// The worst case over the table, reported with its index, for a quick look.
TEST(PublishedCheckValues, WorstDifferenceIsWithinItsTolerance) {
    double worstRatio = 0.0;
    std::size_t worst = 0;
    double worstComputed = 0.0;
    for (std::size_t i = 0; i < std::size(kCheckValues); ++i) {
        const CheckValue& c = kCheckValues[i];
        const Outputs o = Compute(c.pHScale, c.whichKs, khso4::kDickson, 35.0f, 25.0f, 0.0f);
        const double computed = c.quantity(o);
        const double ratio = std::fabs(computed - c.expected) / c.tolerance;
        if (ratio > worstRatio) {
            worstRatio = ratio;
            worst = i;
            worstComputed = computed;
        }
    }
    EXPECT_LE(worstRatio, 1.0) << "worst: index " << worst << " " << kCheckValues[worst].name << ", computed "
                               << worstComputed << ", printed " << kCheckValues[worst].expected;
}

}  // namespace
}  // namespace brinora
