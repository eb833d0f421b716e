// Step counts of the two Newton solvers over a wide sweep of inputs: TA and TC
// 0..5000 micromol/kg, fCO2 1..5000 microatm, salinity 0..45, temperature
// -2..40 deg C, pressure 0..6000 dbar, every constants set and pH scale, both
// bisulfate constants, with the constants of CO2_Constants. The solves run
// with a probe cap of 100000 steps to keep the sweep short; an input still
// unconverged there is counted as not converging (checked separately up to
// 3 million steps: none of them converges). Disabled by default (it takes
// about two minutes); run with
//   test_solvers --gtest_also_run_disabled_tests --gtest_filter='NewtonSweep*'
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <vector>

#include "constants/co2_constants.h"
#include "log/log.h"
#include "solvers/newton_step.h"
#include "solvers/pair_solvers.h"

namespace brinora {
namespace {

constexpr int kProbeCap = 100000;

// Step statistics of one nutrient level and salinity class.
struct SweepStats {
    long solves = 0;
    long capped = 0;      // stopped by the probe cap: no convergence
    long notANumber = 0;  // stopped on a not-a-number step (e.g. NaN constants)
    long over20 = 0;
    int worstSteps = 0;
    char worstInput[200] = "";

    void record(float pH, const char* pair, int whichKs, int pHScale, int whichKSO4, float Sal,
                float TempC, float PdBar, float a, float b) {
        ++solves;
        const int steps = lastNewtonSteps();
        if (steps >= kProbeCap) {
            ++capped;
            return;
        }
        if (!std::isfinite(pH)) {
            ++notANumber;
            return;
        }
        if (steps > 20) {
            ++over20;
        }
        if (steps > worstSteps) {
            worstSteps = steps;
            std::snprintf(worstInput, sizeof worstInput,
                          "%s set %d scale %d KSO4 %d S %g t %g P %g: %g, %g -> pH %.4f", pair,
                          whichKs, pHScale, whichKSO4, Sal, TempC, PdBar, a, b, pH);
        }
    }
};

TEST(NewtonSweep, DISABLED_LargestStepCountOfConvergingInputs) {
    log::ScopedSink quiet([](std::string_view) {});
    const float sals[] = {0.0f, 5.0f, 15.0f, 25.0f, 35.0f, 45.0f};
    const float temps[] = {-2.0f, 5.0f, 15.0f, 25.0f, 40.0f};
    const float pressures[] = {0.0f, 1000.0f, 3000.0f, 6000.0f};
    const float fCO2s[] = {1, 10, 50, 100, 200, 280, 400, 600, 1000, 2000, 3500, 5000};
    // TA and TC in micromol/kg: fine near 0, then every 250 up to 5000.
    std::vector<float> amounts = {0, 1, 10, 50, 100};
    for (int i = 1; i <= 20; ++i) {
        amounts.push_back(250.0f * i);
    }
    // TP and TSi in micromol/kg: none, oceanic, and phosphate beyond the ocean's range.
    const float nutrients[3][2] = {{0.0f, 0.0f}, {3.0f, 100.0f}, {10.0f, 0.0f}};
    // [nutrient level][0: salinity 5..45 and TA 250..5000; 1: salinity 0 or TA below 250]
    SweepStats stats[3][2];

    int call = 0;
    for (int level = 0; level < 3; ++level) {
        for (int whichKs = 1; whichKs <= 14; ++whichKs) {
            for (int pHScale = 1; pHScale <= 4; ++pHScale) {
                for (float Sal : sals) {
                    for (float TempC : temps) {
                        for (float PdBar : pressures) {
                            const int whichKSO4 = 1 + (call++ / 7) % 2;
                            ConstantsArray K{};
                            TotalsArray T{};
                            T[t::TP] = nutrients[level][0] * 1e-6f;
                            T[t::TSi] = nutrients[level][1] * 1e-6f;
                            float K0 = 0.0f, fH = 0.0f, FugFac = 0.0f, VPFac = 0.0f;
                            CO2_Constants(pHScale, whichKs, whichKSO4, Sal, TempC, PdBar, K0, K,
                                          T, fH, FugFac, VPFac);
                            for (float TAumol : amounts) {
                                const float TA = TAumol * 1e-6f;
                                const int edge = (Sal == 0.0f || TAumol < 250.0f) ? 1 : 0;
                                for (float TCumol : amounts) {
                                    float pH = 0.0f;
                                    detail::SolvepHfromTATC(TA, TCumol * 1e-6f, K, T, pH,
                                                            kProbeCap);
                                    stats[level][edge].record(pH, "TA-TC", whichKs, pHScale, whichKSO4,
                                                        Sal, TempC, PdBar, TAumol, TCumol);
                                }
                                for (float fCO2 : fCO2s) {
                                    float pH = 0.0f;
                                    detail::SolvepHfromTAfCO2(TA, fCO2 * 1e-6f, K0, K, T, pH,
                                                              kProbeCap);
                                    stats[level][edge].record(pH, "TA-fCO2", whichKs, pHScale,
                                                        whichKSO4, Sal, TempC, PdBar, TAumol,
                                                        fCO2);
                                }
                            }
                        }
                    }
                }
            }
        }
    }
    int worst = 0;
    for (int level = 0; level < 3; ++level) {
        for (int fresh = 0; fresh < 2; ++fresh) {
            const SweepStats& s = stats[level][fresh];
            std::printf(
                "TP %g TSi %g, %s: %ld solves, %ld not converging, %ld not a number, "
                "%ld over 20 steps; largest %d steps at %s\n",
                nutrients[level][0], nutrients[level][1], fresh ? "S 0 or TA < 250" : "S 5..45, TA >= 250", s.solves,
                s.capped, s.notANumber, s.over20, s.worstSteps, s.worstInput);
            if (s.worstSteps > worst) {
                worst = s.worstSteps;
            }
        }
    }
    // Every seawater input converges. In water of salinity 0 or with almost no
    // alkalinity, the phosphate and silicate terms, which the slope leaves
    // out, can stall the iteration for good.
    for (int level = 0; level < 3; ++level) {
        EXPECT_EQ(stats[level][0].capped, 0) << "level " << level;
    }
    EXPECT_EQ(stats[0][1].capped, 0);
    // The cap sits at least 100 times above every converging count.
    EXPECT_LE(worst * 100, kMaxNewtonSteps);
}

}  // namespace
}  // namespace brinora
