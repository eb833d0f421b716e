// Solvers of the carbonate system from a pair of TA, TC, pH and fCO2. Every
// named quantity is a float; a sub-expression with a numeric literal is
// evaluated in double and rounded to float when it is stored.
#include "solvers/pair_solvers.h"

#include <cmath>

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
extern const int kMaxNewtonSteps = 500000;

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

void CalculatepHfromTATC(float TA, float TC, const ConstantsArray& K, const TotalsArray& T,
                         float& pH) {
    detail::SolvepHfromTATC(TA, TC, K, T, pH, kMaxNewtonSteps);
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
    const float H = detail::HydrogenIon(pH);
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
