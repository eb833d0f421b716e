#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>

#include "constants/co2_constants.h"
#include "constants/process_values.h"
#include "engine/compute_co2.h"
#include "engine/engine.h"
#include "engine/slots.h"
#include "sample.h"
#include "solvers/co2_flux.h"
#include "solvers/density.h"
#include "solvers/pair_solvers.h"

namespace brinora {
namespace {

using test::Sample;

std::string f3(float value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.3f", static_cast<double>(value));
    return text;
}

// Surface open-ocean water, Lueker et al. constants on the total scale.
Sample surfaceSample() {
    Sample s;
    s.name = "surface";
    s.S = 35.0f;
    s.TempC = 25.0f;
    s.TP = 1.0f;
    s.TSi = 10.0f;
    s.TA = 2300.0f;
    s.TCO2 = 2000.0f;
    s.constants = 13;
    s.khso4 = 1;
    s.pHScale = 1;
    s.flux = 1;
    return s;
}

struct Outcome {
    Board board;
    ProcessValues values;
    ComputeOutcome outcome;
};

Outcome compute(const Sample& sample) {
    Outcome run;
    test::place(sample, run.board);
    run.outcome = BrinoraMain::ComputeCO2(run.board, run.values);
    return run;
}

void expectSameBoard(const Board& a, const Board& b) {
    for (std::uint32_t pos = 0; pos < Board::kSize; ++pos) {
        const float x = a.get(pos), y = b.get(pos);
        EXPECT_TRUE(x == y || (std::isnan(x) && std::isnan(y)))
            << "slot " << pos << ": " << x << " vs " << y;
    }
}

// The surface sample's constants at input conditions, as the driver gets them.
struct InputConstants {
    ConstantsArray K{};
    TotalsArray T{};
    float K0 = 0, fH = 0, FugFac = 0, VPFac = 0;
};

InputConstants constantsFor(int pHScale, int whichKs, int whichKSO4, float S, float TempC,
                            float Pdbar, float TPmol, float TSimol) {
    InputConstants c;
    c.T[t::TP] = TPmol;
    c.T[t::TSi] = TSimol;
    CO2_Constants(pHScale, whichKs, whichKSO4, S, TempC, Pdbar, c.K0, c.K, c.T, c.fH, c.FugFac,
                  c.VPFac);
    return c;
}

TEST(ComputeCO2, TAandTCO2WinOverAThirdParameter) {
    Sample withpH = surfaceSample();
    withpH.pH = 8.1f;
    const Outcome three = compute(withpH);
    const Outcome two = compute(surfaceSample());
    ASSERT_TRUE(three.outcome.computed());
    // Pair 12: the given pH is replaced by the computed one, and every result
    // equals the run without the third parameter.
    EXPECT_NE(three.board.get(slot::kpHIn), 8.1f);
    for (std::uint32_t pos = slot::kSalinityUsed; pos <= slot::kSigmaOut; ++pos) {
        EXPECT_EQ(three.board.get(pos), two.board.get(pos)) << "slot " << pos;
    }
    EXPECT_EQ(f3(three.board.get(slot::kTAOut)), "2300.000");
    EXPECT_EQ(f3(three.board.get(slot::kTCO2Out)), "2000.000");
}

TEST(ComputeCO2, pHandpCO2ConvertpCO2ToFugacityFirst) {
    Sample s = surfaceSample();
    s.TA = 0;
    s.TCO2 = 0;
    s.pH = 8.0f;
    s.pCO2 = 400.0f;
    const Outcome run = compute(s);
    ASSERT_TRUE(run.outcome.computed());
    const InputConstants c = constantsFor(1, 13, 1, 35.0f, 25.0f, 0.0f, 1e-6f, 1e-5f);
    const float fCO2 = 400.0f * c.FugFac;
    EXPECT_LT(c.FugFac, 1.0f);
    EXPECT_GT(c.FugFac, 0.99f);
    const float fCO2onBoard = static_cast<float>(static_cast<float>(fCO2 / 1e6) * 1e6);
    EXPECT_EQ(run.board.get(slot::kfCO2In), fCO2onBoard);
    EXPECT_EQ(f3(run.board.get(slot::kpCO2In)), "400.000");
    EXPECT_EQ(run.board.get(slot::kpHIn), 8.0f);
    // The pair (pH, fCO2) gives TCO2 and TA.
    float TCO2 = 0;
    CalculateTCfrompHfCO2(8.0f, static_cast<float>(fCO2 / 1e6), c.K0, c.K[k::K1], c.K[k::K2],
                          TCO2);
    EXPECT_EQ(run.board.get(slot::kTCO2Out), static_cast<float>(TCO2 * 1e6));
}

TEST(ComputeCO2, NegativeChosenParameterRefusesAndLeavesTheBoard) {
    Sample s = surfaceSample();
    s.TCO2 = -2000.0f;
    Board board;
    test::place(s, board);
    board.set(slot::kpHIn, 7.5f);  // a previous run's result stays
    const Board before = board;
    ProcessValues values{0.5f, 0.25f};
    const ComputeOutcome outcome = BrinoraMain::ComputeCO2(board, values);
    EXPECT_EQ(outcome.status, ComputeOutcome::Status::kNegativeParameter);
    EXPECT_EQ(outcome.parameter, 2);
    expectSameBoard(board, before);
    EXPECT_EQ(values.K0, 0.5f);
    EXPECT_EQ(values.FugFac, 0.25f);
}

TEST(ComputeCO2, NegativeThirdParameterIsNeitherChosenNorRefused) {
    Sample s = surfaceSample();
    s.pCO2 = -400.0f;
    const Outcome withNegative = compute(s);
    const Outcome plain = compute(surfaceSample());
    ASSERT_TRUE(withNegative.outcome.computed());
    for (std::uint32_t pos = slot::kSalinityUsed; pos <= slot::kSigmaOut; ++pos) {
        EXPECT_EQ(withNegative.board.get(pos), plain.board.get(pos)) << "slot " << pos;
    }
}

TEST(ComputeCO2, ZeroOutputConditionsRepeatTheInputConditions) {
    const Outcome run = compute(surfaceSample());
    const Board& b = run.board;
    EXPECT_EQ(b.get(slot::kTemperatureOutUsed), 25.0f);
    EXPECT_EQ(b.get(slot::kPressureOutUsed), 0.0f);
    EXPECT_EQ(b.get(slot::kpHOut), b.get(slot::kpHIn));
    EXPECT_EQ(b.get(slot::kfCO2Out), b.get(slot::kfCO2In));
    EXPECT_EQ(b.get(slot::kpCO2Out), b.get(slot::kpCO2In));
    for (std::uint32_t i = 0; i <= 10; ++i) {
        EXPECT_EQ(b.get(slot::kHCO3Out + i), b.get(slot::kHCO3In + i)) << "result " << i;
    }
    EXPECT_EQ(b.get(slot::kCO2FluxOut), b.get(slot::kCO2FluxIn));
    EXPECT_EQ(b.get(slot::kSigmaOut), b.get(slot::kSigmaIn));
}

TEST(ComputeCO2, MissingOutputTemperatureIsZeroExceptForSigmaAtOutput) {
    Sample s = surfaceSample();
    s.TempCOut = -999.0f;
    s.pCO2air = 400.0f;
    s.wind = 10.0f;
    const Outcome run = compute(s);
    ASSERT_TRUE(run.outcome.computed());
    const Board& b = run.board;
    EXPECT_EQ(b.get(slot::kTemperatureOutUsed), 0.0f);
    // Flux at output conditions is computed at 0 deg C ...
    EXPECT_EQ(b.get(slot::kCO2FluxOut),
              static_cast<float>(CalcCO2Flux(FluxFormulaCode(b.get(slot::kAirSeaFlux)), 0.0, 35.0, 10.0, 400.0, b.get(slot::kpCO2Out))));
    // ... sigma-t at output conditions at -999 deg C.
    EXPECT_EQ(b.get(slot::kSigmaOut), static_cast<float>(Sigma(-999.0, 35.0)));
    EXPECT_NE(b.get(slot::kSigmaOut), static_cast<float>(Sigma(0.0, 35.0)));
}

TEST(ComputeCO2, MissingSalinityOrTemperatureRefuses) {
    for (float mark : {-9.0f, -999.0f}) {
        Sample noSalinity = surfaceSample();
        noSalinity.S = mark;
        Outcome run = compute(noSalinity);
        EXPECT_EQ(run.outcome.status, ComputeOutcome::Status::kSalinityMissing);
        EXPECT_EQ(run.board.get(slot::kpHIn), 0.0f);
        EXPECT_EQ(run.board.get(slot::kSigmaOut), 0.0f);

        Sample noTemperature = surfaceSample();
        noTemperature.TempC = mark;
        run = compute(noTemperature);
        EXPECT_EQ(run.outcome.status, ComputeOutcome::Status::kTemperatureMissing);
        EXPECT_EQ(run.board.get(slot::kSalinityUsed), 0.0f);
    }
}

TEST(ComputeCO2, MissingPressureAndNutrientsCountAsZero) {
    Sample marked = surfaceSample();
    marked.Pdbar = -9.0f;
    marked.TP = -999.0f;
    marked.TSi = -9.0f;
    marked.PdbarOut = -999.0f;
    Sample zero = surfaceSample();
    zero.TP = 0;
    zero.TSi = 0;
    const Outcome a = compute(marked);
    const Outcome b = compute(zero);
    ASSERT_TRUE(a.outcome.computed());
    for (std::uint32_t pos = slot::kSalinityUsed; pos <= slot::kSigmaOut; ++pos) {
        EXPECT_EQ(a.board.get(pos), b.board.get(pos)) << "slot " << pos;
    }
}

TEST(ComputeCO2, FreshwaterSetUsesNoSalinityButRecordsIt) {
    Sample fresh = surfaceSample();
    fresh.constants = 8;
    Sample saltFree = fresh;
    saltFree.S = 0.0f;
    const Outcome a = compute(fresh);
    const Outcome b = compute(saltFree);
    ASSERT_TRUE(a.outcome.computed());
    EXPECT_EQ(a.board.get(slot::kSalinityUsed), 35.0f);
    EXPECT_EQ(a.board.get(slot::kPhosphateUsed), 0.0f);
    EXPECT_EQ(a.board.get(slot::kSilicateUsed), 0.0f);
    EXPECT_EQ(a.board.get(slot::kBAlkIn), 0.0f);
    EXPECT_EQ(a.board.get(slot::kPAlkIn), 0.0f);
    for (std::uint32_t pos = slot::kTemperatureUsed; pos <= slot::kSigmaOut; ++pos) {
        EXPECT_EQ(a.board.get(pos), b.board.get(pos)) << "slot " << pos;
    }
}

TEST(ComputeCO2, GeosecsSetSixCarriesNoNutrients) {
    Sample s = surfaceSample();
    s.constants = 6;
    s.pHScale = 4;
    const Outcome run = compute(s);
    ASSERT_TRUE(run.outcome.computed());
    EXPECT_EQ(run.board.get(slot::kPhosphateUsed), 0.0f);
    EXPECT_EQ(run.board.get(slot::kSilicateUsed), 0.0f);
    EXPECT_EQ(run.board.get(slot::kPAlkIn), 0.0f);
    EXPECT_EQ(run.board.get(slot::kSiAlkIn), 0.0f);
    EXPECT_EQ(run.board.get(slot::kSalinityUsed), 35.0f);
}

TEST(ComputeCO2, GeosecsSetSevenCountsPhosphateOutsideTA) {
    Sample s = surfaceSample();
    s.constants = 7;
    s.pHScale = 4;
    s.TP = 2.0f;
    const Outcome run = compute(s);
    ASSERT_TRUE(run.outcome.computed());
    const float TP = static_cast<float>(2.0f / 1e6);
    EXPECT_EQ(run.board.get(slot::kPhosphateUsed), TP * 1000000.0f);
    // The pH comes from TA - TP.
    InputConstants c = constantsFor(4, 7, 1, 35.0f, 25.0f, 0.0f, TP, static_cast<float>(10.0f / 1e6));
    float pH = 0;
    CalculatepHfromTATC(static_cast<float>(2300.0f / 1e6) - TP, static_cast<float>(2000.0f / 1e6),
                        c.K, c.T, pH);
    EXPECT_EQ(run.board.get(slot::kpHIn), pH);
    // The phosphate alkalinity includes TP itself. By hand at pH 8.0 (NBS),
    // 25 C: KP1 = 0.02, KP2 = exp(-9.039 - 1450/298.15)/fH = 1.3e-6,
    // KP3 = exp(4.466 - 7276/298.15)/fH = 3.1e-9 give a computed part of
    // 1.24 TP = 2.48, plus TP = 2 makes 4.48.
    EXPECT_EQ(f3(run.board.get(slot::kPAlkIn)), "4.482");
}

TEST(ComputeCO2, OnlyOneParameterComputesFromZeros) {
    Sample s = surfaceSample();
    s.TCO2 = 0.0f;
    const Outcome run = compute(s);
    ASSERT_TRUE(run.outcome.computed());
    const Board& b = run.board;
    EXPECT_EQ(f3(b.get(slot::kTAOut)), "2300.000");
    for (std::uint32_t pos : {slot::kTCO2Out, slot::kpHIn, slot::kfCO2In, slot::kpCO2In,
                              slot::kHCO3In, slot::kCO3In, slot::kCO2In, slot::kRevelleIn,
                              slot::kOmegaCaIn, slot::kOmegaArIn}) {
        EXPECT_EQ(b.get(pos), 0.0f) << "slot " << pos;
    }
    // Borate and hydroxide of pH 0 are tiny but computed: BAlk = TB KB/(KB + 1).
    EXPECT_GT(b.get(slot::kBAlkIn), 0.0f);
    EXPECT_LT(b.get(slot::kBAlkIn), 1e-3f);
    // The output pass solves pH from the given TA and TCO2 0.
    const InputConstants c =
        constantsFor(1, 13, 1, 35.0f, 25.0f, 0.0f, static_cast<float>(1.0f / 1e6),
                     static_cast<float>(10.0f / 1e6));
    float pHOut = 0;
    CalculatepHfromTATC(static_cast<float>(2300.0f / 1e6), 0.0f, c.K, c.T, pHOut);
    EXPECT_EQ(b.get(slot::kpHOut), pHOut);
    EXPECT_GT(pHOut, 10.0f);
}

TEST(ComputeCO2, FugacityWithPartialPressureUsesTheFugacity) {
    Sample s = surfaceSample();
    s.TA = 0;
    s.TCO2 = 0;
    s.fCO2 = 380.0f;
    s.pCO2 = 390.0f;
    const Outcome run = compute(s);
    ASSERT_TRUE(run.outcome.computed());
    // Pair 45 solves nothing: fCO2 stands, pCO2 follows from it, and the
    // species come from zeros.
    EXPECT_EQ(f3(run.board.get(slot::kfCO2In)), "380.000");
    const InputConstants c = constantsFor(1, 13, 1, 35.0f, 25.0f, 0.0f, 1e-6f, 1e-5f);
    EXPECT_EQ(f3(run.board.get(slot::kpCO2In)), f3(380.0f / c.FugFac));
    EXPECT_EQ(run.board.get(slot::kTAOut), 0.0f);
    EXPECT_EQ(run.board.get(slot::kpHIn), 0.0f);
}

TEST(ComputeCO2, SlotFiftyOneAndUnwrittenSlotsStayZero) {
    Outcome run;
    test::place(surfaceSample(), run.board);
    run.board.set(68, 3.0f);
    run.board.set(80, 4.0f);
    run.board.set(slot::kUnassigned, 9.0f);
    BrinoraMain::ComputeCO2(run.board, run.values);
    EXPECT_EQ(run.board.get(slot::kUnassigned), 0.0f);
    EXPECT_EQ(run.board.get(68), 3.0f);
    EXPECT_EQ(run.board.get(80), 4.0f);
}

TEST(ComputeCO2, FluxFormulaComesFromTheBoardBeingComputed) {
    Sample s = surfaceSample();
    s.pCO2air = 350.0f;
    s.wind = 8.0f;
    Engine::sharedInstance()->reset();  // the shared board says formula 0
    for (int item = 1; item <= 3; ++item) {
        s.flux = item;
        const Outcome run = compute(s);
        const Board& b = run.board;
        EXPECT_EQ(b.get(slot::kCO2FluxIn),
                  static_cast<float>(CalcCO2Flux(FluxFormulaCode(b.get(slot::kAirSeaFlux)), 25.0, 35.0, 8.0, 350.0, b.get(slot::kpCO2In))));
        EXPECT_GT(b.get(slot::kCO2FluxIn), 0.0f) << "formula item " << item;
    }
    s.flux = 0;  // a placeholder choice: code -1, no flux
    EXPECT_EQ(compute(s).board.get(slot::kCO2FluxIn), 0.0f);
}

TEST(ComputeCO2, ProcessWideRunMatchesExplicitBoardToTheBit) {
    Sample deep = surfaceSample();
    deep.Pdbar = 3000.0f;
    deep.TempCOut = 2.0f;
    deep.PdbarOut = 4500.0f;
    deep.pCO2air = 410.0f;
    deep.wind = 6.5f;
    for (int constants = 1; constants <= 14; ++constants) {
        deep.constants = constants;
        deep.pHScale = 1 + constants % 4;
        const Outcome explicitRun = compute(deep);

        Engine* engine = Engine::sharedInstance();
        engine->reset();
        test::place(deep, engine->board());
        K0 = 0.0f;
        FugFac = 0.0f;
        BrinoraMain::ComputeCO2();
        expectSameBoard(engine->board(), explicitRun.board);
        EXPECT_EQ(K0, explicitRun.values.K0);
        EXPECT_EQ(FugFac, explicitRun.values.FugFac);
        engine->reset();
    }
}

TEST(ComputeCO2, NaNParameterIsChosen) {
    Sample s = surfaceSample();
    s.TA = std::nanf("");
    const Outcome run = compute(s);
    ASSERT_TRUE(run.outcome.computed());
    // Pair 12 with a NaN TA: pH cannot be solved; TCO2 stays as given.
    EXPECT_TRUE(std::isnan(run.board.get(slot::kTAOut)));
    EXPECT_EQ(f3(run.board.get(slot::kTCO2Out)), "2000.000");
}

}  // namespace
}  // namespace brinora
