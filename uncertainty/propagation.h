// Combined standard uncertainty of every result by first-order propagation
// (the law of propagation of uncertainty, JCGM 100:2008), its budget per
// source, the buffer factors from the exact derivatives, and a Monte Carlo
// check of the linear result.
#pragma once

#include <array>
#include <cstdint>

#include "uncertainty/carbonate_ad.h"

namespace brinora::uncertainty {

// Covariance of the sources, a symmetric kSourceCount x kSourceCount matrix
// in the sources' units squared (row-major).
using Covariance = std::array<double, kSourceCount * kSourceCount>;

// The standard uncertainties of the constants of Orr et al. (2018, Marine
// Chemistry 207, 84-107, Table 1), named "standard": pK0 0.002, pK1 0.0075,
// pK2 0.015, pKB 0.01, pKW 0.01, pKspA 0.02, pKspC 0.02 (pK units), total
// boron 0.02 (relative); the other constants 0. Written into `u`, the other
// sources left as they are.
void SetStandardConstantUncertainties(std::array<double, kSourceCount>& u);

// The diagonal covariance of the standard uncertainties `u`, with the two
// parameters of the pair correlated by `correlation` (-1..1).
Covariance CovarianceOf(const std::array<double, kSourceCount>& u, double correlation);

// Results of the propagation for one sample.
struct Propagated {
    std::array<double, kQuantityCount> value{};  // record units
    std::array<double, kQuantityCount> u{};      // combined standard uncertainty
    // Contribution of each source alone, |dy/dx| u(x), in the units of the
    // quantity; with no correlation u^2 is the sum of their squares.
    std::array<std::array<double, kSourceCount>, kQuantityCount> budget{};
};

// A covariance made ready for the propagation of many samples: the sources
// of its non-zero entries, in the order of the sources (the derivatives are
// carried along these only), those entries, and the standard uncertainties.
struct CovariancePlan {
    std::array<std::size_t, kSourceCount> source{};  // the k-th source used
    std::size_t sources = 0;
    struct Entry {
        std::size_t i, j;  // positions among the sources used
        double c;
    };
    std::array<Entry, kSourceCount * kSourceCount> entries{};
    std::size_t entryCount = 0;
    std::array<double, kSourceCount> u{};  // of the k-th source used
};
CovariancePlan PlanOf(const Covariance& covariance);

// u(y)^2 = g' C g for the gradient g of each quantity (DifferentiateSample).
// The gradients are carried along the sources of a non-zero covariance
// entry only; every result is the one of the full gradient, bit for bit.
Outcome Propagate(const ChemistryOptions& options, const Sample& sample, const Covariance& covariance,
                  Propagated& result);
Outcome Propagate(const ChemistryOptions& options, const Sample& sample, const CovariancePlan& plan,
                  Propagated& result);
// The same from gradients already computed.
void PropagateGradients(const std::array<Gradient, kQuantityCount>& q, const Covariance& covariance,
                        Propagated& result);

// Buffer factors of one set of conditions, at fixed TA and TCO2 where one
// is held. Units: micromol/kg for the gamma, beta and omega factors of
// Egleston et al. (2010, Global Biogeochemical Cycles 24, GB1002).
struct BufferFactors {
    double gammaDIC = 0, gammaAlk = 0;  // (d ln CO2 / d DIC)^-1, (d ln CO2 / d Alk)^-1
    double betaDIC = 0, betaAlk = 0;    // (d ln H / d DIC)^-1, (d ln H / d Alk)^-1
    double omegaDIC = 0, omegaAlk = 0;  // (d ln Omega / d DIC)^-1, (d ln Omega / d Alk)^-1
    double revelle = 0;                 // d ln pCO2 / d ln DIC, dimensionless
    double isocapnic = 0;               // d DIC / d Alk at fixed pCO2, dimensionless
    double dlnpCO2dT = 0;               // d ln pCO2 / dT at fixed Alk, DIC. Units: 1/deg C
};
constexpr std::size_t kBufferCount = 9;

// The buffer factors at input and at output conditions: the sample is solved
// for TA and TCO2, and the derivatives are those of the TA-TCO2 calculation.
Outcome Buffers(const ChemistryOptions& options, const Sample& sample, BufferFactors& in, BufferFactors& out);

// Monte Carlo: `draws` samples of the sources from the normal distribution of
// mean sample.x and covariance `covariance`, each computed by EvaluateSample
// on `threads` threads. The draws depend on `seed` and not on the number of
// threads. Writes the mean and the standard deviation of each quantity over
// the draws that computed, and their count.
struct MonteCarloResult {
    std::array<double, kQuantityCount> mean{};
    std::array<double, kQuantityCount> sd{};
    std::uint64_t computed = 0;
};
Outcome MonteCarlo(const ChemistryOptions& options, const Sample& sample, const Covariance& covariance,
                   std::uint64_t draws, std::uint64_t seed, unsigned threads, MonteCarloResult& result);

}  // namespace brinora::uncertainty
