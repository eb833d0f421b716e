// Alkalinity partition. Every named quantity is a float; a sub-expression with
// a numeric literal is evaluated in double and rounded when it is stored.
#include "solvers/alkalinity.h"

#include <cmath>

#include "constants/power_of_ten.h"
#include "solvers/alkalinity_terms.h"

namespace brinora {
namespace detail {

float HydrogenIon(float pH) {
    // The float of pow(10, -pH), by TenToTheAsFloat.
    const float H = TenToTheAsFloat(-static_cast<double>(pH));
    return H;
}

NonCarbonateAlkalinity NonCarbonateTerms(float H, const ConstantsArray& K, const TotalsArray& T) {
    const float KW = K[k::KW], KB = K[k::KB], KF = K[k::KF], KS = K[k::KS];
    const float KP1 = K[k::KP1], KP2 = K[k::KP2], KP3 = K[k::KP3], KSi = K[k::KSi];
    const float TB = T[t::TB], TF = T[t::TF], TS = T[t::TS], TP = T[t::TP], TSi = T[t::TSi];

    NonCarbonateAlkalinity a{};
    a.BAlk = TB * KB / (KB + H);
    a.OH = KW / H;
    a.PAlk = TP * (KP1 * KP2 * H + 2.0 * KP1 * KP2 * KP3 - H * H * H) /
             (H * H * H + KP1 * H * H + KP1 * KP2 * H + KP1 * KP2 * KP3);
    a.SiAlk = TSi * KSi / (KSi + H);
    a.Hfree = H / (1.0 + TS / KS);
    a.HSO4 = TS / (1.0 + KS / a.Hfree);
    a.HF = TF / (1.0 + KF / a.Hfree);
    return a;
}

}  // namespace detail

void CalculateAlkParts(float pH, float TC, const ConstantsArray& K, const TotalsArray& T,
                       float& HCO3, float& CO3, float& BAlk, float& OH, float& PAlk, float& SiAlk,
                       float& Hfree, float& HSO4, float& HF) {
    CalculateAlkPartsAtH(detail::HydrogenIon(pH), TC, K, T, HCO3, CO3, BAlk, OH, PAlk, SiAlk, Hfree, HSO4, HF);
}

void CalculateAlkPartsAtH(float H, float TC, const ConstantsArray& K, const TotalsArray& T, float& HCO3,
                          float& CO3, float& BAlk, float& OH, float& PAlk, float& SiAlk, float& Hfree,
                          float& HSO4, float& HF) {
    const float K1 = K[k::K1], K2 = K[k::K2];

    HCO3 = TC * K1 * H / (K1 * H + H * H + K1 * K2);
    CO3 = TC * K1 * K2 / (K1 * H + H * H + K1 * K2);

    const detail::NonCarbonateAlkalinity a = detail::NonCarbonateTerms(H, K, T);
    BAlk = a.BAlk;
    OH = a.OH;
    PAlk = a.PAlk;
    SiAlk = a.SiAlk;
    Hfree = a.Hfree;
    HSO4 = a.HSO4;
    HF = a.HF;
}

}  // namespace brinora
