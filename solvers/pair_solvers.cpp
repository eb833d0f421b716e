// Solvers of the carbonate system from a pair of TA, TC, pH and fCO2. Every
// named quantity is a float; a sub-expression with a numeric literal is
// evaluated in double and rounded to float when it is stored.
#include "solvers/pair_solvers.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "constants/co2_constants.h"
#include "solvers/alkalinity_terms.h"
#include "solvers/newton_step.h"

namespace brinora {

// Measured over a wide sweep of inputs (tests/solvers/newton_sweep_test.cpp):
// seawater of salinity 5..45 and TA 250..5000 micromol/kg converges in at
// most 24 steps; water of salinity 0 or almost no alkalinity, with phosphate
// or silicate present, converges in up to 4173 steps or never. The cap is
// over 100 times the largest converging count; a solve that reaches it
// costs about 30 ms.
// The fuzz build lowers the cap to 5000 (still above every converging count)
// so that a sample that never converges costs milliseconds, not a second;
// nothing it checks depends on where a non-converging solve stops.
#ifndef BRINORA_NEWTON_STEP_CAP
#define BRINORA_NEWTON_STEP_CAP 500000
#endif
extern const int kMaxNewtonSteps = BRINORA_NEWTON_STEP_CAP;

namespace {

thread_local int newtonSteps = 0;

// Newton iteration on f(pH) = TA - modelled alkalinity. Start: pH 8, written
// into the output variable, which is the working variable. Step: Residual/Slope,
// halved while |step| > 1, then added to pH. Stop: when the applied step is
// <= 0.0001 in magnitude (float tolerance, strict test; a not-a-number step
// also stops), or after `maxSteps` steps (kMaxNewtonSteps in the public
// solvers), leaving pH where it is; the cap only ends pairs that never converge.
template <typename RawStep>
void NewtonSolve(float& pH, int maxSteps, RawStep rawStep) {
    constexpr float kTolerance = 0.0001f;
    int steps = 0;
    pH = 8.0f;
    float deltapH = 0.0f;
    do {
        deltapH = detail::HalveNewtonStep(rawStep(pH));
        pH = pH + deltapH;
        ++steps;
    } while (std::fabs(deltapH) > kTolerance && steps < maxSteps);
    newtonSteps = steps;
}

// pH, fCO2 and pCO2 from TA and TC after a fresh constants call; K0 and FugFac
// are written to the given locations.
void FindpHfCO2fromTATCInto(short pHScale, short whichKs, short whichKSO4, float TA, float TC,
                            float Sal, ConstantsArray& K, TotalsArray& T, float TempC,
                            float PdBar, float& pH, float& fCO2, float& pCO2, float& K0out,
                            float& FugFacOut) {
    float fH = 0.0f;
    float VPFac = 0.0f;
    CO2_Constants(pHScale, whichKs, whichKSO4, Sal, TempC, PdBar, K0out, K, T, fH, FugFacOut,
                  VPFac);
    const float K1 = K[k::K1];
    const float K2 = K[k::K2];
    float TAused = TA;
    if (whichKs == 7) {
        // Set 7 counts phosphate alkalinity outside TA.
        TAused = TA - T[t::TP];
    }
    CalculatepHfromTATC(TAused, TC, K, T, pH);
    CalculatefCO2fromTCpH(TC, pH, K0out, K1, K2, fCO2);
    pCO2 = fCO2 / FugFacOut;
}

}  // namespace

int lastNewtonSteps() { return newtonSteps; }

namespace detail {

float HalveNewtonStep(float deltapH) {
    // An infinite step (an infinite TA or TC, or a slope of 0) would be halved
    // for ever; it becomes not-a-number instead, which ends the iteration as
    // any not-a-number step does. Finite steps are unaffected.
    if (std::isinf(deltapH)) return std::numeric_limits<float>::quiet_NaN();
    while (std::fabs(deltapH) > 1.0) {
        deltapH = deltapH / 2.0;
    }
    return deltapH;
}

float NewtonStepFromTATC(float pH, float TA, float TC, const ConstantsArray& K,
                         const TotalsArray& T) {
    const float ln10 = std::log(10.0);
    const float K1 = K[k::K1], K2 = K[k::K2], KB = K[k::KB];
    const float H = HydrogenIon(pH);
    const float Denom = H * H + K1 * H + K1 * K2;
    const float CAlk = TC * K1 * (H + 2.0 * K2) / Denom;
    const NonCarbonateAlkalinity a = NonCarbonateTerms(H, K, T);
    const float Residual =
        TA - CAlk - a.BAlk - a.OH - a.PAlk - a.SiAlk + a.Hfree + a.HSO4 + a.HF;
    const float Slope = ln10 * (TC * K1 * H * (H * H + K1 * K2 + 4.0 * H * K2) / Denom / Denom +
                                a.BAlk * H / (KB + H) + a.OH + H);
    const float deltapH = Residual / Slope;
    return deltapH;
}

float NewtonStepFromTAfCO2(float pH, float TA, float fCO2, float K0, const ConstantsArray& K,
                           const TotalsArray& T) {
    const float ln10 = std::log(10.0);
    const float K1 = K[k::K1], K2 = K[k::K2], KB = K[k::KB];
    const float H = HydrogenIon(pH);
    const float HCO3 = K0 * K1 * fCO2 / H;
    const float CO3 = K0 * K1 * K2 * fCO2 / (H * H);
    const float CAlk = HCO3 + 2.0 * CO3;
    const NonCarbonateAlkalinity a = NonCarbonateTerms(H, K, T);
    const float Residual =
        TA - CAlk - a.BAlk - a.OH - a.PAlk - a.SiAlk + a.Hfree + a.HSO4 + a.HF;
    const float Slope = ln10 * (HCO3 + 4.0 * CO3 + a.BAlk * H / (KB + H) + a.OH + H);
    const float deltapH = Residual / Slope;
    return deltapH;
}

void SolvepHfromTATC(float TA, float TC, const ConstantsArray& K, const TotalsArray& T,
                     float& pH, int maxSteps) {
    NewtonSolve(pH, maxSteps, [&](float pHnow) { return NewtonStepFromTATC(pHnow, TA, TC, K, T); });
}

void SolvepHfromTAfCO2(float TA, float fCO2, float K0, const ConstantsArray& K,
                       const TotalsArray& T, float& pH, int maxSteps) {
    NewtonSolve(pH, maxSteps,
                [&](float pHnow) { return NewtonStepFromTAfCO2(pHnow, TA, fCO2, K0, K, T); });
}

}  // namespace detail

namespace {

// ---- The TA-TC Newton solve, its repeated work done once ----
//
// A sample solves pH from TA and TC six times, three times for each set of
// conditions (its TC and TC plus and minus 1 micromol/kg for the Revelle
// factor), every time from pH 8. The terms of a step that do not change from
// step to step are formed once per set of constants, and the terms of the
// first step at pH 8 that do not depend on TA and TC once for all three
// solves. Each term is the same operation on the same values as in
// NewtonStepFromTATC and NonCarbonateTerms (a product of three floats, say,
// multiplied in the same order), so every step, and the pH, are the same to
// the bit. Only where a step is not a number can the two differ, in the sign
// of that not-a-number, which depends on which operand the compiled code
// puts first; such a solve is run again by the solver that has always run.

// The constants and totals of one solve, and what follows from them alone.
struct PreparedTATC {
    ConstantsArray K{};
    TotalsArray T{};
    float K1 = 0, K2 = 0, KW = 0, KB = 0, KF = 0, KS = 0, KP1 = 0, KSi = 0;
    float TS = 0, TF = 0, TP = 0;
    float K1K2 = 0;       // K1 * K2
    float TBKB = 0;       // TB * KB
    float KP1KP2 = 0;     // KP1 * KP2
    float KP1KP2KP3 = 0;  // KP1 * KP2 * KP3
    float TSiKSi = 0;     // TSi * KSi
    double twoK2 = 0;           // 2.0 * K2
    double twoKP1KP2KP3 = 0;    // 2.0 * KP1 * KP2 * KP3
    double onePlusTSoverKS = 0;  // 1.0 + TS / KS
};

// The terms of a step at one H that do not depend on TA and TC.
struct StepTerms {
    float H, HH, Denom, BAlk, OH, PAlk, SiAlk, Hfree, HSO4, HF, BAlkSlope;
};

StepTerms TermsAt(float H, const PreparedTATC& p) {
    StepTerms s{};
    s.H = H;
    s.HH = H * H;
    s.Denom = s.HH + p.K1 * H + p.K1K2;
    // NonCarbonateTerms.
    s.BAlk = p.TBKB / (p.KB + H);
    s.OH = p.KW / H;
    const float HHH = s.HH * H;
    s.PAlk = static_cast<double>(p.TP) *
             (static_cast<double>(p.KP1KP2 * H) + p.twoKP1KP2KP3 - static_cast<double>(HHH)) /
             static_cast<double>(HHH + p.KP1 * H * H + p.KP1KP2 * H + p.KP1KP2KP3);
    s.SiAlk = p.TSiKSi / (p.KSi + H);
    s.Hfree = static_cast<double>(H) / p.onePlusTSoverKS;
    s.HSO4 = static_cast<double>(p.TS) / (1.0 + static_cast<double>(p.KS / s.Hfree));
    s.HF = static_cast<double>(p.TF) / (1.0 + static_cast<double>(p.KF / s.Hfree));
    // The borate term of the slope.
    s.BAlkSlope = s.BAlk * H / (p.KB + H);
    return s;
}

// NewtonStepFromTATC from the terms of the step; TCK1 is TC * K1.
float StepFromTerms(const StepTerms& s, float TA, float TCK1, const PreparedTATC& p) {
    const float ln10 = std::log(10.0);
    const float CAlk = static_cast<double>(TCK1) * (static_cast<double>(s.H) + p.twoK2) / static_cast<double>(s.Denom);
    const float Residual = TA - CAlk - s.BAlk - s.OH - s.PAlk - s.SiAlk + s.Hfree + s.HSO4 + s.HF;
    const float Slope =
        static_cast<double>(ln10) *
        (static_cast<double>(TCK1 * s.H) *
             (static_cast<double>(s.HH + p.K1K2) + 4.0 * static_cast<double>(s.H) * static_cast<double>(p.K2)) /
             static_cast<double>(s.Denom) / static_cast<double>(s.Denom) +
         static_cast<double>(s.BAlkSlope) + static_cast<double>(s.OH) + static_cast<double>(s.H));
    return Residual / Slope;
}

bool SameBits(const float* a, const float* b, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        if (std::bit_cast<std::uint32_t>(a[i]) != std::bit_cast<std::uint32_t>(b[i])) return false;
    }
    return true;
}

// The prepared constants of the latest solve and its first step, per thread.
struct PreparedSolve {
    PreparedTATC constants;
    StepTerms start{};
    bool prepared = false;
};

thread_local PreparedSolve preparedSolve;

const PreparedSolve& Prepare(const ConstantsArray& K, const TotalsArray& T) {
    PreparedSolve& solve = preparedSolve;
    // Positions 1..10 and 1..5 are the ones read.
    if (solve.prepared && SameBits(&K[1], &solve.constants.K[1], 10) && SameBits(&T[1], &solve.constants.T[1], 5)) {
        return solve;
    }
    PreparedTATC& p = solve.constants;
    p.K = K;
    p.T = T;
    p.K1 = K[k::K1];
    p.K2 = K[k::K2];
    p.KW = K[k::KW];
    p.KB = K[k::KB];
    p.KF = K[k::KF];
    p.KS = K[k::KS];
    p.KP1 = K[k::KP1];
    p.KSi = K[k::KSi];
    p.TS = T[t::TS];
    p.TF = T[t::TF];
    p.TP = T[t::TP];
    p.K1K2 = p.K1 * p.K2;
    p.TBKB = T[t::TB] * p.KB;
    p.KP1KP2 = p.KP1 * K[k::KP2];
    p.KP1KP2KP3 = p.KP1KP2 * K[k::KP3];
    p.TSiKSi = T[t::TSi] * p.KSi;
    p.twoK2 = 2.0 * static_cast<double>(p.K2);
    p.twoKP1KP2KP3 = 2.0 * static_cast<double>(p.KP1) * static_cast<double>(K[k::KP2]) * static_cast<double>(K[k::KP3]);
    p.onePlusTSoverKS = 1.0 + static_cast<double>(p.TS / p.KS);
    solve.start = TermsAt(detail::HydrogenIon(8.0f), p);
    solve.prepared = true;
    return solve;
}

// NewtonSolve over NewtonStepFromTATC, step for step.
void SolvepHfromTATCPrepared(float TA, float TC, const ConstantsArray& K, const TotalsArray& T, float& pH) {
    constexpr float kTolerance = 0.0001f;
    const PreparedSolve& solve = Prepare(K, T);
    const PreparedTATC& p = solve.constants;
    const float TCK1 = TC * p.K1;
    int steps = 0;
    pH = 8.0f;
    float deltapH = 0.0f;
    do {
        const float rawStep = steps == 0 ? StepFromTerms(solve.start, TA, TCK1, p)
                                         : StepFromTerms(TermsAt(detail::HydrogenIon(pH), p), TA, TCK1, p);
        deltapH = detail::HalveNewtonStep(rawStep);
        pH = pH + deltapH;
        ++steps;
    } while (std::fabs(deltapH) > kTolerance && steps < kMaxNewtonSteps);
    newtonSteps = steps;
}

// N solves of SolvepHfromTATCPrepared on the same constants, their steps
// taken in turn within one loop: each solve is the same sequence of
// operations on the same values as on its own (so the same pH to the bit),
// and the processor overlaps their chains of dependent operations. Leaves
// the steps of the last solve in newtonSteps.
template <int N>
void SolveManypHfromTATCPrepared(const float (&TA)[N], const float (&TC)[N], const ConstantsArray& K,
                                 const TotalsArray& T, float (&pH)[N]) {
    constexpr float kTolerance = 0.0001f;
    const PreparedSolve& solve = Prepare(K, T);
    const PreparedTATC& p = solve.constants;
    float TCK1[N];
    int steps[N];
    bool going[N];
    for (int i = 0; i < N; ++i) {
        TCK1[i] = TC[i] * p.K1;
        steps[i] = 0;
        going[i] = true;
        pH[i] = 8.0f;
    }
    bool anyGoing = true;
    while (anyGoing) {
        anyGoing = false;
        for (int i = 0; i < N; ++i) {
            if (!going[i]) continue;
            const float rawStep = steps[i] == 0
                                      ? StepFromTerms(solve.start, TA[i], TCK1[i], p)
                                      : StepFromTerms(TermsAt(detail::HydrogenIon(pH[i]), p), TA[i], TCK1[i], p);
            const float deltapH = detail::HalveNewtonStep(rawStep);
            pH[i] = pH[i] + deltapH;
            ++steps[i];
            going[i] = std::fabs(deltapH) > kTolerance && steps[i] < kMaxNewtonSteps;
            anyGoing = anyGoing || going[i];
        }
    }
    newtonSteps = steps[N - 1];
}

// CalculatepHfromTATC of each pair: the solves stepped together, then, for a
// pH that is not a number, the solver that has always run (as
// CalculatepHfromTATC does); the steps reported are the last solve's.
template <int N>
void CalculateManypHfromTATC(const float (&TA)[N], const float (&TC)[N], const ConstantsArray& K,
                             const TotalsArray& T, float (&pH)[N]) {
    SolveManypHfromTATCPrepared(TA, TC, K, T, pH);
    const int lastSteps = newtonSteps;
    for (int i = 0; i < N; ++i) {
        if (std::isnan(pH[i])) detail::SolvepHfromTATC(TA[i], TC[i], K, T, pH[i], kMaxNewtonSteps);
    }
    if (!std::isnan(pH[N - 1])) newtonSteps = lastSteps;
}

}  // namespace

void CalculatepHfromTATC(float TA, float TC, const ConstantsArray& K, const TotalsArray& T,
                         float& pH) {
    SolvepHfromTATCPrepared(TA, TC, K, T, pH);
    if (std::isnan(pH)) detail::SolvepHfromTATC(TA, TC, K, T, pH, kMaxNewtonSteps);
}

void CalculateTwopHfromTATC(float TA1, float TC1, float TA2, float TC2, const ConstantsArray& K,
                            const TotalsArray& T, float& pH1, float& pH2) {
    const float TA[2] = {TA1, TA2};
    const float TC[2] = {TC1, TC2};
    float pH[2];
    CalculateManypHfromTATC(TA, TC, K, T, pH);
    pH1 = pH[0];
    pH2 = pH[1];
}

void CalculateThreepHfromTATC(const float (&TA)[3], const float (&TC)[3], const ConstantsArray& K,
                              const TotalsArray& T, float (&pH)[3]) {
    CalculateManypHfromTATC(TA, TC, K, T, pH);
}

void CalculatepHfromTAfCO2(float TA, float fCO2, float K0, const ConstantsArray& K,
                           const TotalsArray& T, float& pH) {
    detail::SolvepHfromTAfCO2(TA, fCO2, K0, K, T, pH, kMaxNewtonSteps);
}

void CalculatepHfromTCfCO2(float TC, float fCO2, float K0, float K1, float K2, float& pH) {
    // The quadratic in H for a fixed fraction X of TC that is dissolved CO2.
    const float X = K0 * fCO2 / TC;
    if (X >= 1.0) {
        pH = -999.0f;
        return;
    }
    const float radicand = (K1 * X) * (K1 * X) + 4.0 * (1.0 - X) * K1 * K2 * X;
    const float H = 0.5 * (K1 * X + std::sqrt(static_cast<double>(radicand))) / (1.0 - X);
    if (H <= 0.0) {
        pH = -999.0f;
        return;
    }
    pH = std::log(static_cast<double>(H)) / std::log(0.1);
}

void CalculateTAfromTCpH(float TC, float pH, const ConstantsArray& K, const TotalsArray& T,
                         float& TA) {
    const float K1 = K[k::K1], K2 = K[k::K2];
    const float H = detail::HydrogenIon(pH);
    const float CAlk = TC * K1 * (H + 2.0 * K2) / (H * H + K1 * H + K1 * K2);
    const detail::NonCarbonateAlkalinity a = detail::NonCarbonateTerms(H, K, T);
    TA = CAlk + a.BAlk + a.OH + a.PAlk + a.SiAlk - a.Hfree - a.HSO4 - a.HF;
}

void CalculateTCfromTApH(float TA, float pH, const ConstantsArray& K, const TotalsArray& T,
                         float& TC) {
    const float K1 = K[k::K1], K2 = K[k::K2];
    const float H = detail::HydrogenIon(pH);
    const detail::NonCarbonateAlkalinity a = detail::NonCarbonateTerms(H, K, T);
    const float CAlk = TA - a.BAlk - a.OH - a.PAlk - a.SiAlk + a.Hfree + a.HSO4 + a.HF;
    TC = CAlk * (H * H + K1 * H + K1 * K2) / (K1 * (H + 2.0 * K2));
}

void CalculateTCfrompHfCO2(float pH, float fCO2, float K0, float K1, float K2, float& TC) {
    const float H = detail::HydrogenIon(pH);
    TC = K0 * fCO2 * (H * H + K1 * H + K1 * K2) / (H * H);
}

void CalculatefCO2fromTCpH(float TC, float pH, float K0, float K1, float K2, float& fCO2) {
    CalculatefCO2fromTCH(TC, detail::HydrogenIon(pH), K0, K1, K2, fCO2);
}

void CalculatefCO2fromTCH(float TC, float H, float K0, float K1, float K2, float& fCO2) {
    fCO2 = TC * H * H / (H * H + K1 * H + K1 * K2) / K0;
}

void FindpHfCO2fromTATC(short pHScale, short whichKs, short whichKSO4, float TA, float TC,
                        float Sal, ConstantsArray& K, TotalsArray& T, float TempC, float PdBar,
                        float& pH, float& fCO2, float& pCO2, ProcessValues& values) {
    FindpHfCO2fromTATCInto(pHScale, whichKs, whichKSO4, TA, TC, Sal, K, T, TempC, PdBar, pH, fCO2,
                           pCO2, values.K0, values.FugFac);
}

void FindpHfCO2fromTATC(short pHScale, short whichKs, short whichKSO4, float TA, float TC,
                        float Sal, ConstantsArray& K, TotalsArray& T, float TempC, float PdBar,
                        float& pH, float& fCO2, float& pCO2) {
    FindpHfCO2fromTATCInto(pHScale, whichKs, whichKSO4, TA, TC, Sal, K, T, TempC, PdBar, pH, fCO2,
                           pCO2, K0, FugFac);
}

}  // namespace brinora
