#include "solvers/co2_flux.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>

#include "solvers/density.h"
#include "solvers/gas_transfer.h"

namespace brinora {
namespace {

// The formula code of an option value as the board holds it.
int FormulaOf(float optionValue) { return FluxFormulaCode(optionValue); }

TEST(SchmidtNumberCO2, At20DegreesIs665988Thousandths) {
    // 2073.1 - 125.62*20 + 3.6276*400 - 0.043219*8000 = 665.988.
    EXPECT_NEAR(detail::SchmidtNumberCO2(20.0), 665.988, 1e-9);
    EXPECT_LT(std::pow(660.0 / detail::SchmidtNumberCO2(20.0), 0.5), 1.0);
    EXPECT_GT(std::pow(660.0 / detail::SchmidtNumberCO2(20.0), 0.5), 0.995);
}

TEST(SolubilityCO2, WeissAtSalinity35And25Degrees) {
    // Weiss (1974): ln K0 = -3.5617 (DOE 1994, ch. 5).
    EXPECT_NEAR(std::log(detail::SolubilityCO2(25.0, 35.0)), -3.5617, 1e-4);
}

TEST(CalcCO2Flux, HandDerivedWanninkhofCase) {
    // T 20 C, S 35, u 10 m/s, pCO2 500 (water) and 400 (air) microatm:
    //   Sc  = 665.988, (660/Sc)^0.5 = 0.99549427
    //   k   = 0.31 * 10^2 * 0.99549427 cm/h * 0.24 = 7.4064774 m/d
    //   ln K0 = -60.2409 + 93.4517/2.9315 + 23.3585 ln 2.9315
    //           + 35 (0.023517 - 0.023656*2.9315 + 0.0047036*2.9315^2)
    //         = -3.4293671, K0 = 0.032407444 mol/(kg atm)
    //   rho = 1024.76298 kg/m3, so K0*1000*rho = 33209.949 mmol/(m3 atm)
    //   flux = 7.4064774 * 33209.949 * (500 - 400)e-6 = 24.59687 mmol m-2 d-1
    const double flux = CalcCO2Flux(FormulaOf(0.0f), 20.0, 35.0, 10.0, 400.0, 500.0);
    EXPECT_NEAR(flux, 24.59687, 0.0002);
}

TEST(CalcCO2Flux, FormulasAgreeWithTheirGasTransferVelocities) {
    const double T = 10.0, S = 34.0, u = 7.5, air = 410.0, water = 350.0;
    const double Sc = detail::SchmidtNumberCO2(T);
    const double solubility = detail::SolubilityCO2(T, S) * 1000.0 * Density(T, S);
    const double dp = water * 1e-6 - air * 1e-6;
    const double k0 = 0.31 * std::pow(u, 2) * std::pow(660.0 / Sc, 0.5) * 0.24;
    const double k1 = (0.333 * u + 0.222 * std::pow(u, 2)) * std::pow(Sc / 600.0, -0.5) * 0.24;
    const double k2 = 0.266 * std::pow(u, 2) * std::pow(Sc / 600.0, -0.5) * 0.24;
    EXPECT_EQ(CalcCO2Flux(FormulaOf(0.0f), T, S, u, air, water), k0 * solubility * dp);
    EXPECT_EQ(CalcCO2Flux(FormulaOf(1.0f), T, S, u, air, water), k1 * solubility * dp);
    EXPECT_EQ(CalcCO2Flux(FormulaOf(2.0f), T, S, u, air, water), k2 * solubility * dp);
    EXPECT_LT(CalcCO2Flux(FormulaOf(0.0f), T, S, u, air, water), 0.0);  // uptake
}

TEST(CalcCO2Flux, KeptTemperatureAndSalinityTermsGiveTheFormulasBits) {
    // Calls that share their temperature (a run's laboratory output
    // temperature) or their salinity (a sample's two passes) and differ in
    // the rest, against the formula written out: the same bits every time.
    const double temperatures[] = {25.0, 2.5, -1.5, 0.0, 30.25, 12.0};
    const double salinities[] = {35.0, 33.5, 0.0, 38.25};
    const double winds[] = {10.0, 0.5, 7.25};
    std::uint64_t state = 9;
    const auto pick = [&](int n) {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<std::size_t>((state >> 33) % static_cast<std::uint64_t>(n));
    };
    int differing = 0;
    for (int n = 0; n < 20000; ++n) {
        const int formula = static_cast<int>(pick(3));
        const double T = temperatures[pick(6)], S = salinities[pick(4)], u = winds[pick(3)];
        const double air = 400.0, water = 300.0 + static_cast<double>(pick(400));
        const double Sc = detail::SchmidtNumberCO2(T);
        const double solubility = detail::SolubilityCO2(T, S) * 1000.0 * Density(T, S);
        const double k = formula == 0 ? 0.31 * std::pow(u, 2) * std::pow(660.0 / Sc, 0.5) * 0.24
                         : formula == 1 ? (0.333 * u + 0.222 * std::pow(u, 2)) * std::pow(Sc / 600.0, -0.5) * 0.24
                                        : 0.266 * std::pow(u, 2) * std::pow(Sc / 600.0, -0.5) * 0.24;
        const double expected = k * solubility * (water * 1e-6 - air * 1e-6);
        const double flux = CalcCO2Flux(formula, T, S, u, air, water);
        if (std::bit_cast<std::uint64_t>(flux) != std::bit_cast<std::uint64_t>(expected) && ++differing <= 3) {
            ADD_FAILURE() << "call " << n << ": formula " << formula << ", T " << T << ", S " << S << ", u " << u;
        }
    }
    EXPECT_EQ(differing, 0);
}

TEST(CalcCO2Flux, FormulaCodeIsTruncatedTowardZero) {
    const double ho = CalcCO2Flux(FormulaOf(2.0f), 15.0, 35.0, 8.0, 400.0, 450.0);
    EXPECT_EQ(CalcCO2Flux(FormulaOf(2.9f), 15.0, 35.0, 8.0, 400.0, 450.0), ho);
    const double wanninkhof = CalcCO2Flux(FormulaOf(0.0f), 15.0, 35.0, 8.0, 400.0, 450.0);
    EXPECT_EQ(CalcCO2Flux(FormulaOf(-0.7f), 15.0, 35.0, 8.0, 400.0, 450.0), wanninkhof);
    EXPECT_NE(ho, wanninkhof);
}

TEST(CalcCO2Flux, EqualPartialPressuresGiveNoFlux) {
    for (float code : {0.0f, 1.0f, 2.0f}) {
        EXPECT_EQ(CalcCO2Flux(FormulaOf(code), 18.0, 35.0, 12.0, 400.0, 400.0), 0.0)
            << "formula " << code;
    }
}

TEST(CalcCO2Flux, UnknownFormulaCodesGiveNoFlux) {
    for (float code : {3.0f, -1.0f, 99.0f, NAN}) {
        EXPECT_EQ(CalcCO2Flux(FormulaOf(code), 18.0, 35.0, 12.0, 400.0, 500.0), 0.0)
            << "formula " << code;
    }
}

TEST(CalcCO2Flux, NoWindGivesNoFlux) {
    for (float code : {0.0f, 1.0f, 2.0f}) {
        EXPECT_EQ(CalcCO2Flux(FormulaOf(code), 18.0, 35.0, 0.0, 400.0, 500.0), 0.0)
            << "formula " << code;
    }
}

TEST(FluxFormulaCode, IntegerPartOfTheOptionValue) {
    EXPECT_EQ(FluxFormulaCode(0.0f), 0);
    EXPECT_EQ(FluxFormulaCode(-0.7f), 0);
    EXPECT_EQ(FluxFormulaCode(1.0f), 1);
    EXPECT_EQ(FluxFormulaCode(2.9f), 2);
    EXPECT_EQ(FluxFormulaCode(3.0f), -1);
    EXPECT_EQ(FluxFormulaCode(-1.0f), -1);
    EXPECT_EQ(FluxFormulaCode(std::nanf("")), -1);
}

}  // namespace
}  // namespace brinora
