// First-order propagation of the sources' covariance and the buffer factors.
#include "uncertainty/propagation.h"

#include <algorithm>
#include <cmath>

namespace brinora::uncertainty {

void SetStandardConstantUncertainties(std::array<double, kSourceCount>& u) {
    // Orr et al. (2018), Table 1.
    u[kpK0] = 0.002;
    u[kpK1] = 0.0075;
    u[kpK2] = 0.015;
    u[kpKB] = 0.01;
    u[kpKW] = 0.01;
    u[kpKspA] = 0.02;
    u[kpKspC] = 0.02;
    u[kTotalBoron] = 0.02;
    for (Source s : {kpKS, kpKF, kpKP1, kpKP2, kpKP3, kpKSi}) u[s] = 0.0;
}

Covariance CovarianceOf(const std::array<double, kSourceCount>& u, double correlation) {
    Covariance c{};
    for (std::size_t i = 0; i < kSourceCount; ++i) c[i * kSourceCount + i] = u[i] * u[i];
    const double cross = correlation * u[kFirstParameter] * u[kSecondParameter];
    c[kFirstParameter * kSourceCount + kSecondParameter] = cross;
    c[kSecondParameter * kSourceCount + kFirstParameter] = cross;
    return c;
}

Outcome Propagate(const ChemistryOptions& options, const Sample& sample, const Covariance& covariance,
                  Propagated& result) {
    std::array<Gradient, kQuantityCount> q;
    const Outcome outcome = DifferentiateSample(options, sample, q);
    if (outcome != Outcome::kComputed) return outcome;
    PropagateGradients(q, covariance, result);
    return Outcome::kComputed;
}

void PropagateGradients(const std::array<Gradient, kQuantityCount>& q, const Covariance& covariance,
                        Propagated& result) {
    // The non-zero entries of the covariance, usually the diagonal and the pair's correlation.
    struct Entry {
        std::size_t i, j;
        double c;
    };
    std::array<Entry, kSourceCount * kSourceCount> entries;
    std::size_t count = 0;
    for (std::size_t i = 0; i < kSourceCount; ++i) {
        for (std::size_t j = 0; j < kSourceCount; ++j) {
            const double c = covariance[i * kSourceCount + j];
            if (c != 0.0) entries[count++] = {i, j, c};
        }
    }
    std::array<double, kSourceCount> u;
    for (std::size_t i = 0; i < kSourceCount; ++i) u[i] = std::sqrt(covariance[i * kSourceCount + i]);
    for (std::size_t y = 0; y < kQuantityCount; ++y) {
        const auto& g = q[y].d;
        double variance = 0.0;
        for (std::size_t e = 0; e < count; ++e) variance += g[entries[e].i] * entries[e].c * g[entries[e].j];
        result.value[y] = q[y].v;
        result.u[y] = std::sqrt(std::max(variance, 0.0));
        for (std::size_t i = 0; i < kSourceCount; ++i) {
            result.budget[y][i] = std::fabs(g[i]) * u[i];
        }
    }
}

namespace {

// The factors of one set of conditions from the gradients along TA (source
// kFirstParameter) and TCO2 (kSecondParameter) and the temperature sources.
BufferFactors FactorsOf(const std::array<Gradient, kQuantityCount>& q, std::size_t first, Source temperature) {
    // Positions of pH, [H+], pCO2, CO3 and CO2 relative to the first quantity
    // of the conditions; output conditions have no TA and TCO2 entries.
    const bool input = first == 0;
    const Gradient& H = q[first + qH];
    const Gradient& pCO2 = q[first + qpCO2];
    const std::size_t species = first + (input ? qHCO3 : qHCO3 - 2);
    const Gradient& CO3 = q[species + 1];
    const Gradient& CO2 = q[species + 2];
    const double DIC = q[qTCO2].v;
    const std::size_t a = kFirstParameter, c = kSecondParameter;
    BufferFactors b;
    b.gammaDIC = CO2.v / CO2.d[c];
    b.gammaAlk = CO2.v / CO2.d[a];
    b.betaDIC = H.v / H.d[c];
    b.betaAlk = H.v / H.d[a];
    b.omegaDIC = CO3.v / CO3.d[c];
    b.omegaAlk = CO3.v / CO3.d[a];
    b.revelle = DIC / pCO2.v * pCO2.d[c];
    b.isocapnic = -pCO2.d[a] / pCO2.d[c];
    b.dlnpCO2dT = pCO2.d[temperature] / pCO2.v;
    return b;
}

}  // namespace

Outcome Buffers(const ChemistryOptions& options, const Sample& sample, BufferFactors& in, BufferFactors& out) {
    std::array<double, kQuantityCount> values;
    const Outcome solved = EvaluateSample(options, sample, values);
    if (solved != Outcome::kComputed) return solved;
    Sample held = sample;
    held.first = 1;
    held.second = 2;
    held.x[kFirstParameter] = values[qTA];
    held.x[kSecondParameter] = values[qTCO2];
    std::array<Gradient, kQuantityCount> q;
    const Outcome outcome = DifferentiateSample(options, held, q);
    if (outcome != Outcome::kComputed) return outcome;
    in = FactorsOf(q, 0, kTemperature);
    // An output temperature of 0 repeats the input temperature.
    out = FactorsOf(q, kFirstOutQuantity, sample.x[kTemperatureOut] == 0.0 ? kTemperature : kTemperatureOut);
    return Outcome::kComputed;
}

}  // namespace brinora::uncertainty
