// Air-sea CO2 flux by the bulk formula flux = k * K0 * (pCO2water - pCO2air),
// in double precision.
#include "solvers/co2_flux.h"

#include <bit>
#include <cmath>
#include <cstdint>

#include "solvers/density.h"
#include "solvers/gas_transfer.h"

namespace brinora {
namespace detail {

double SchmidtNumberCO2(double TempC) {
    const double T = TempC;
    return 2073.1 - 125.62 * T + 3.6276 * std::pow(T, 2) - 0.043219 * std::pow(T, 3);
}

double SolubilityCO2(double TempC, double Sal) {
    const double TK = TempC + 273.15;
    const double S = Sal;
    return std::exp(-60.2409 + 93.4517 * (100.0 / TK) + 23.3585 * std::log(TK / 100.0) +
                    S * (0.023517 - 0.023656 * (TK / 100.0) + 0.0047036 * std::pow(TK / 100.0, 2)));
}

}  // namespace detail

namespace {

// The flux as the formula has always been evaluated: every gas-transfer
// velocity, then the chosen one. Kept as it was and compiled on its own for
// the samples whose transfer factor (below) is not a number: the sign of a
// not-a-number product of two not-a-numbers is that of the operand the
// compiled code happens to put first, so only the code that has always run
// gives the same bits there.
__attribute__((noipa)) double FluxOfEveryFormula(const float& optionValue, double TempC, double Sal, double u,
                                                double pCO2air, double pCO2water) {
    const double Sc = detail::SchmidtNumberCO2(TempC);
    const double K0 = detail::SolubilityCO2(TempC, Sal);  // mol/(kg atm)

    // Gas-transfer velocities in cm/h, times 0.24 for m/d.
    const double kWanninkhof = 0.31 * std::pow(u, 2) * std::pow(660.0 / Sc, 0.5) * 0.24;
    const double kNightingale =
        (0.333 * u + 0.222 * std::pow(u, 2)) * std::pow(Sc / 600.0, -0.5) * 0.24;
    const double kHo = 0.266 * std::pow(u, 2) * std::pow(Sc / 600.0, -0.5) * 0.24;

    // Solubility per volume, mmol m-3 atm-1, and partial pressures in atm.
    const double solubility = K0 * 1000.0 * Density(TempC, Sal);
    const double pCO2waterAtm = pCO2water * 1e-6;
    const double pCO2airAtm = pCO2air * 1e-6;

    // Formula code: the integer part of the option value (NaN matches no code).
    const double code = std::trunc(static_cast<double>(optionValue));
    double k = 0.0;
    if (code == flux_formula::kWanninkhof1992) {
        k = kWanninkhof;
    } else if (code == flux_formula::kNightingale2000) {
        k = kNightingale;
    } else if (code == flux_formula::kHo2006) {
        k = kHo;
    } else {
        return 0.0;
    }
    return k * solubility * (pCO2waterAtm - pCO2airAtm);
}

// The gas-transfer velocity [m/d] times the solubility per volume
// [mmol m-3 atm-1] for one temperature, salinity, wind speed and formula,
// per thread, for the two flux calls of a sample (input and output
// temperature, often equal) and the samples that share their conditions.
// Kept by the bits of the arguments; it is the factor the formula multiplies
// the pCO2 difference by, so the flux is the same to the bit.
struct KeptTransfer {
    std::uint64_t TempC = 0, Sal = 0, u = 0;
    double code = 0.0;
    double transfer = 0.0;
    bool kept = false;
};

thread_local KeptTransfer keptTransfers[2];
thread_local unsigned nextKeptTransfer = 0;

// The parts of TransferTimesSolubility that depend on the temperature alone
// (and the formula), each the double its expression gives: the Schmidt
// number's power of the formula, the temperature terms of ln K0 (Weiss 1974)
// and the pure-water density with the temperature polynomials that multiply
// S and S^1.5 (Millero and Poisson 1981).
struct TemperatureTerms {
    double schmidtPower;  // (660/Sc)^0.5 for formula 0, (Sc/600)^-0.5 otherwise
    double lnK0Temperature, lnK0PerSal;
    double rhoWater, rhoPerSal, rhoPerSal15;
};

TemperatureTerms TemperatureTermsOf(double code, double TempC) {
    const double T = TempC;
    const double T3 = std::pow(T, 3);
    const double T4 = std::pow(T, 4);
    const double T5 = std::pow(T, 5);
    TemperatureTerms terms{};
    // SchmidtNumberCO2(TempC).
    const double Sc = 2073.1 - 125.62 * T + 3.6276 * std::pow(T, 2) - 0.043219 * T3;
    terms.schmidtPower = code == flux_formula::kWanninkhof1992 ? std::pow(660.0 / Sc, 0.5) : std::pow(Sc / 600.0, -0.5);
    // SolubilityCO2(TempC, Sal) = exp(lnK0Temperature + S * lnK0PerSal).
    const double TK = TempC + 273.15;
    terms.lnK0Temperature = -60.2409 + 93.4517 * (100.0 / TK) + 23.3585 * std::log(TK / 100.0);
    terms.lnK0PerSal = 0.023517 - 0.023656 * (TK / 100.0) + 0.0047036 * std::pow(TK / 100.0, 2);
    // Density(TempC, Sal) before its salinity terms.
    terms.rhoWater = 999.842594 + 0.06793952 * T - 0.00909529 * std::pow(T, 2) + 0.0001001685 * T3 -
                     1.120083e-06 * T4 + 6.536332e-09 * T5;
    terms.rhoPerSal = 0.824493 - 0.0040899 * T + 7.6438e-05 * std::pow(T, 2) - 8.2476e-07 * T3 + 5.3875e-09 * T4;
    terms.rhoPerSal15 = -0.00572466 + 0.00010227 * T - 1.6546e-06 * std::pow(T, 2);
    return terms;
}

// The temperature terms of the latest two temperatures (and formulas), per
// thread: the input and output temperatures of a sample, and an output
// temperature that every sample of a run shares. Kept by the bits of the
// arguments; the least recently used one is replaced.
struct KeptTemperatureTerms {
    std::uint64_t TempC = 0;
    double code = 0.0;
    TemperatureTerms terms{};
    bool kept = false;
};

thread_local KeptTemperatureTerms keptTemperatureTerms[2];
thread_local unsigned latestTemperatureTerms = 0;

const TemperatureTerms& TemperatureTermsFor(double code, double TempC) {
    const std::uint64_t TempCBits = std::bit_cast<std::uint64_t>(TempC);
    for (unsigned i = 0; i < 2; ++i) {
        const KeptTemperatureTerms& kept = keptTemperatureTerms[i];
        if (kept.kept && kept.TempC == TempCBits && kept.code == code) {
            latestTemperatureTerms = i;
            return kept.terms;
        }
    }
    const unsigned slot = 1 - latestTemperatureTerms;
    keptTemperatureTerms[slot] = KeptTemperatureTerms{TempCBits, code, TemperatureTermsOf(code, TempC), true};
    latestTemperatureTerms = slot;
    return keptTemperatureTerms[slot].terms;
}

// S^1.5 of the latest salinity, per thread (the input and output passes of a
// sample share their salinity). Kept by the bits of the salinity.
struct KeptSalinityPower {
    std::uint64_t Sal = 0;
    double power = 0.0;
    bool kept = false;
};

thread_local KeptSalinityPower keptSalinityPower;

double SalinityToThreeHalves(double Sal) {
    const std::uint64_t SalBits = std::bit_cast<std::uint64_t>(Sal);
    if (!keptSalinityPower.kept || keptSalinityPower.Sal != SalBits) {
        keptSalinityPower = KeptSalinityPower{SalBits, std::pow(Sal, 1.5), true};
    }
    return keptSalinityPower.power;
}

// k * solubility of the formula `code` (0, 1 or 2), as FluxOfEveryFormula
// forms it, each operation on the same values in the same order (the
// temperature and salinity terms above are the same expressions, split where
// the formula's own evaluation order puts them) and only the velocity of that
// formula. Any not-a-number on the way makes the result one, and
// FluxOfEveryFormula takes over.
double TransferTimesSolubility(double code, double TempC, double Sal, double u) {
    const TemperatureTerms& terms = TemperatureTermsFor(code, TempC);
    const double S = Sal;
    const double K0 = std::exp(terms.lnK0Temperature + S * terms.lnK0PerSal);  // mol/(kg atm)

    // Gas-transfer velocity in cm/h, times 0.24 for m/d.
    double k = 0.0;
    if (code == flux_formula::kWanninkhof1992) {
        k = 0.31 * std::pow(u, 2) * terms.schmidtPower * 0.24;
    } else if (code == flux_formula::kNightingale2000) {
        k = (0.333 * u + 0.222 * std::pow(u, 2)) * terms.schmidtPower * 0.24;
    } else {
        k = 0.266 * std::pow(u, 2) * terms.schmidtPower * 0.24;
    }

    // Density(TempC, Sal), rounded to float as it rounds it.
    const double rho = terms.rhoWater + terms.rhoPerSal * S + terms.rhoPerSal15 * SalinityToThreeHalves(S) +
                       0.00048314 * std::pow(S, 2);
    const double density = static_cast<float>(rho);

    // Solubility per volume, mmol m-3 atm-1.
    const double solubility = K0 * 1000.0 * density;
    return k * solubility;
}

}  // namespace

int FluxFormulaCode(float optionValue) {
    // The integer part of the option value (NaN matches no code).
    const double code = std::trunc(static_cast<double>(optionValue));
    if (code == flux_formula::kWanninkhof1992) return flux_formula::kWanninkhof1992;
    if (code == flux_formula::kNightingale2000) return flux_formula::kNightingale2000;
    if (code == flux_formula::kHo2006) return flux_formula::kHo2006;
    return -1;
}

double CalcCO2Flux(int formula, double TempC, double Sal, double u, double pCO2air, double pCO2water) {
    if (formula != flux_formula::kWanninkhof1992 && formula != flux_formula::kNightingale2000 &&
        formula != flux_formula::kHo2006) {
        return 0.0;
    }
    const double code = formula;

    const std::uint64_t TempCBits = std::bit_cast<std::uint64_t>(TempC);
    const std::uint64_t SalBits = std::bit_cast<std::uint64_t>(Sal);
    const std::uint64_t uBits = std::bit_cast<std::uint64_t>(u);
    double transfer = 0.0;
    bool found = false;
    for (const KeptTransfer& kept : keptTransfers) {
        if (kept.kept && kept.TempC == TempCBits && kept.Sal == SalBits && kept.u == uBits && kept.code == code) {
            transfer = kept.transfer;
            found = true;
            break;
        }
    }
    if (!found) {
        transfer = TransferTimesSolubility(code, TempC, Sal, u);
        keptTransfers[nextKeptTransfer] = KeptTransfer{TempCBits, SalBits, uBits, code, transfer, true};
        nextKeptTransfer = 1 - nextKeptTransfer;
    }
    if (std::isnan(transfer)) {
        const float optionValue = static_cast<float>(formula);
        return FluxOfEveryFormula(optionValue, TempC, Sal, u, pCO2air, pCO2water);
    }

    // Partial pressures in atm; a number times the difference has one result
    // whatever the order of the operands.
    const double pCO2waterAtm = pCO2water * 1e-6;
    const double pCO2airAtm = pCO2air * 1e-6;
    return transfer * (pCO2waterAtm - pCO2airAtm);
}

}  // namespace brinora
