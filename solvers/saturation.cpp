// Saturation states of calcite and aragonite. Every named quantity is a float;
// a sub-expression with a numeric literal is evaluated in double and rounded
// to float when it is stored.
#include "solvers/saturation.h"

#include <bit>
#include <cmath>
#include <cstdint>

#include "constants/power_of_ten.h"
#include "solvers/alkalinity_terms.h"
#include "solvers/solubility_products.h"

namespace brinora {
namespace detail {

namespace {

// exp(x); at the surface x is 0 (of either sign), and exp(+0) and exp(-0)
// are exactly 1: no call needed.
double ExpOrOneAtZero(double x) { return x == 0.0 ? 1.0 : std::exp(x); }

}  // namespace

CalciumCarbonateSolubility CalciumCarbonateSolubilityProducts(short whichKs, float Sal,
                                                              float TempC, float PdBar) {
    // Gas constant in mL bar/(mol K), so that RT is in mL bar/mol.
    const float R = 83.1451f;
    const float TempK = TempC + 273.15;
    const float RT = R * TempK;
    const float Pbar = PdBar / 10.0;
    const float sqrtS = std::sqrt(static_cast<double>(Sal));
    const float logTempK = std::log(static_cast<double>(TempK));

    // Dissolved calcium, Riley and Tongudai (1967): 0.02128 g/kg per unit chlorinity
    // (Sal/1.80655), over 40.087 g/mol.
    float Ca = 0.0005308454112305734 * (Sal / 1.80655);

    // Calcite, Mucci (1983): log10 KCa accumulated term by term.
    float logKCa = -171.9065;
    logKCa = logKCa - 0.077993 * TempK;
    logKCa = logKCa + 2839.319 / TempK;
    logKCa = logKCa + 71.595 * logTempK / std::log(10.0);
    logKCa = logKCa + (-0.77712 + 0.0028426 * TempK + 178.34 / TempK) * sqrtS;
    logKCa = logKCa - 0.07711 * Sal;
    logKCa = logKCa + 0.0041249 * sqrtS * Sal;
    float KCa = TenToTheAsFloat(logKCa);

    // Aragonite, Mucci (1983).
    float logKAr = -171.945;
    logKAr = logKAr - 0.077993 * TempK;
    logKAr = logKAr + 2903.293 / TempK;
    logKAr = logKAr + 71.595 * logTempK / std::log(10.0);
    logKAr = logKAr + (-0.068393 + 0.0017276 * TempK + 88.135 / TempK) * sqrtS;
    logKAr = logKAr - 0.10018 * Sal;
    logKAr = logKAr + 0.0059415 * sqrtS * Sal;
    float KAr = TenToTheAsFloat(logKAr);

    // Pressure correction, Millero (1995): partial molal volume [mL/mol] and
    // compressibility [mL/(mol bar)]; aragonite's volume is 2.8 mL/mol larger.
    const float deltaVKCa = -48.76 + 0.5304 * TempC;
    const float KappaKCa = (-11.76 + 0.3692 * TempC) / 1000.0;
    KCa = KCa * ExpOrOneAtZero((-deltaVKCa + 0.5 * KappaKCa * Pbar) * Pbar / RT);
    const float deltaVKAr = deltaVKCa + 2.8;
    const float KappaKAr = KappaKCa;
    KAr = KAr * ExpOrOneAtZero((-deltaVKAr + 0.5 * KappaKAr * Pbar) * Pbar / RT);

    if (whichKs == 6 || whichKs == 7) {
        // GEOSECS: calcium from Culkin (1965), calcite from Ingle (1975),
        // aragonite 1.45 times calcite (Berner 1976), pressure after Ingle.
        Ca = 0.01026 * Sal / 35.0;
        KCa = 1e-7 * (-34.452 - 39.866 * std::pow(static_cast<double>(Sal), 0.3333333333333333) +
                      110.21 * std::log(static_cast<double>(Sal)) / std::log(10.0) -
                      7.5752e-6 * TempK * TempK);
        KAr = 1.45 * KCa;
        KCa = KCa * std::exp((36.0 - 0.2 * TempC) * Pbar / RT);
        KAr = KAr * std::exp((33.3 - 0.22 * TempC) * Pbar / RT);
    }
    return {Ca, KCa, KAr};
}

}  // namespace detail

namespace {

// The solubility products of the latest conditions, per thread: a sample asks
// for those of its input and its output conditions, which are often the same,
// as are those of consecutive samples of a cast. Kept by the bits of the
// arguments; the values are those of the same function.
struct KeptSolubility {
    short whichKs = 0;
    std::uint32_t Sal = 0, TempC = 0, PdBar = 0;
    detail::CalciumCarbonateSolubility products{};
    bool kept = false;
};

thread_local KeptSolubility keptSolubility[2];
thread_local unsigned nextKeptSolubility = 0;

detail::CalciumCarbonateSolubility SolubilityProducts(short whichKs, float Sal, float TempC, float PdBar) {
    const std::uint32_t SalBits = std::bit_cast<std::uint32_t>(Sal);
    const std::uint32_t TempCBits = std::bit_cast<std::uint32_t>(TempC);
    const std::uint32_t PdBarBits = std::bit_cast<std::uint32_t>(PdBar);
    for (const KeptSolubility& kept : keptSolubility) {
        if (kept.kept && kept.whichKs == whichKs && kept.Sal == SalBits && kept.TempC == TempCBits &&
            kept.PdBar == PdBarBits) {
            return kept.products;
        }
    }
    const detail::CalciumCarbonateSolubility products =
        detail::CalciumCarbonateSolubilityProducts(whichKs, Sal, TempC, PdBar);
    keptSolubility[nextKeptSolubility] = KeptSolubility{whichKs, SalBits, TempCBits, PdBarBits, products, true};
    nextKeptSolubility = 1 - nextKeptSolubility;
    return products;
}

}  // namespace

void CaSolubility(short whichKs, float Sal, float TempC, float PdBar, float TC, float pH,
                  float K1, float K2, float& OmegaCa, float& OmegaAr) {
    CaSolubilityAtH(whichKs, Sal, TempC, PdBar, TC, detail::HydrogenIon(pH), K1, K2, OmegaCa, OmegaAr);
}

void CaSolubilityAtH(short whichKs, float Sal, float TempC, float PdBar, float TC, float H, float K1, float K2,
                     float& OmegaCa, float& OmegaAr) {
    const detail::CalciumCarbonateSolubility s = SolubilityProducts(whichKs, Sal, TempC, PdBar);
    const float CO3 = TC * K1 * K2 / (K1 * H + H * H + K1 * K2);
    OmegaCa = CO3 * s.Ca / s.KCa;
    OmegaAr = CO3 * s.Ca / s.KAr;
}

}  // namespace brinora
