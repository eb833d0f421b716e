#include "solvers/density.h"

#include <gtest/gtest.h>

namespace brinora {
namespace {

TEST(Density, PureWaterAtZeroDegreesIsTheConstantTermInFloat) {
    EXPECT_EQ(Density(0.0, 0.0), 999.8425903320312);
    EXPECT_EQ(Density(0.0, 0.0), static_cast<double>(999.842594f));
}

TEST(Density, SeawaterAt25DegreesAndSalinity35) {
    // UNESCO (1981) check value 1023.343 kg/m3; the result is a float.
    const double rho = Density(25.0, 35.0);
    EXPECT_NEAR(rho, 1023.343, 0.0005);
    EXPECT_EQ(rho, static_cast<double>(static_cast<float>(rho)));
}

TEST(Density, SeawaterAt20DegreesAndSalinity35) {
    // Evaluated in double: 1024.7629798; narrowed to float.
    EXPECT_NEAR(Density(20.0, 35.0), 1024.7629797942755, 1e-4);
}

TEST(Sigma, ZeroSalinityAndTemperatureIsTheConstantTerm) {
    EXPECT_EQ(Sigma(0.0, 0.0), -0.0934458632);
}

TEST(Sigma, SeawaterAt25DegreesAndSalinity35) {
    // Knudsen-Ekman sigma-t, evaluated by hand in double: 23.36222555.
    EXPECT_NEAR(Sigma(25.0, 35.0), 23.36222555153437, 1e-11);
}

TEST(Sigma, NoSalinityTermsAtZeroSalinity) {
    // sigma0 = -0.0934458632 at S = 0, so only the temperature terms remain.
    const double T = 10.0;
    const double sigma0 = -0.0934458632;
    const double SumT =
        ((((-1.4380306e-07 * T - 0.00198248399) * T - 0.545939111) * T + 4.53168426) * T) /
        (T + 67.26);
    const double At = ((-1.0843e-06 * T + 9.8185e-05) * T - 0.0047867) * T;
    const double Bt = ((1.667e-08 * T - 8.164e-07) * T + 1.803e-05) * T;
    EXPECT_EQ(Sigma(T, 0.0), SumT + (Bt * sigma0 + At + 1.0) * sigma0);
}

}  // namespace
}  // namespace brinora
