// First-order propagation of the sources' covariance and the buffer factors.
#include "uncertainty/propagation.h"

#include <algorithm>
#include <cmath>
#include <cstring>

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

CovariancePlan PlanOf(const Covariance& covariance) {
    // The sources that enter the propagation: those of a non-zero entry of
    // the covariance. Along every other source the budget is 0 and the
    // gradient is not needed.
    std::array<bool, kSourceCount> used{};
    for (std::size_t i = 0; i < kSourceCount; ++i) {
        for (std::size_t j = 0; j < kSourceCount; ++j) {
            if (covariance[i * kSourceCount + j] != 0.0) used[i] = used[j] = true;
        }
    }
    CovariancePlan plan;
    for (std::size_t i = 0; i < kSourceCount; ++i) {
        if (used[i]) plan.source[plan.sources++] = i;
    }
    // The non-zero entries in the order of the sources, so that the sum of
    // each variance is made in the same order whatever the gradient's size.
    for (std::size_t a = 0; a < plan.sources; ++a) {
        const std::size_t s = plan.source[a];
        plan.u[a] = std::sqrt(covariance[s * kSourceCount + s]);
        for (std::size_t b = 0; b < plan.sources; ++b) {
            const double c = covariance[s * kSourceCount + plan.source[b]];
            if (c != 0.0) plan.entries[plan.entryCount++] = {a, b, c};
        }
    }
    return plan;
}

namespace {

// The plan of every source (the full gradient).
CovariancePlan FullPlanOf(const Covariance& covariance) {
    CovariancePlan plan;
    for (std::size_t i = 0; i < kSourceCount; ++i) {
        plan.source[i] = i;
        plan.u[i] = std::sqrt(covariance[i * kSourceCount + i]);
        for (std::size_t j = 0; j < kSourceCount; ++j) {
            const double c = covariance[i * kSourceCount + j];
            if (c != 0.0) plan.entries[plan.entryCount++] = {i, j, c};
        }
    }
    plan.sources = kSourceCount;
    return plan;
}

// u(y)^2 = g' C g, where the k-th source of the plan is direction k of g.
// Each variance is summed over the entries in their order; the quantities
// are taken side by side, so that their sums do not wait for each other.
template <std::size_t N>
void PropagateAlong(const std::array<ad::Dual<N>, kQuantityCount>& q, const CovariancePlan& plan,
                    Propagated& result) {
    std::array<double, kQuantityCount> variance{};
    for (std::size_t e = 0; e < plan.entryCount; ++e) {
        const CovariancePlan::Entry& entry = plan.entries[e];
        for (std::size_t y = 0; y < kQuantityCount; ++y) {
            variance[y] += q[y].d[entry.i] * entry.c * q[y].d[entry.j];
        }
    }
    for (std::size_t y = 0; y < kQuantityCount; ++y) {
        result.value[y] = q[y].v;
        result.u[y] = std::sqrt(std::max(variance[y], 0.0));
    }
    // The budget source by source (no source of the plan, no contribution).
    if (plan.sources < kSourceCount) std::memset(result.budget.data(), 0, sizeof result.budget);
    for (std::size_t a = 0; a < plan.sources; ++a) {
        const std::size_t s = plan.source[a];
        const double u = plan.u[a];
        for (std::size_t y = 0; y < kQuantityCount; ++y) result.budget[y][s] = std::fabs(q[y].d[a]) * u;
    }
}

// Propagate on gradients of N directions, one per source of the plan.
template <std::size_t N>
Outcome PropagateOn(const ChemistryOptions& options, const Sample& sample, const CovariancePlan& plan,
                    Propagated& result) {
    Directions directions;
    directions.fill(-1);
    for (std::size_t a = 0; a < plan.sources; ++a) directions[plan.source[a]] = static_cast<int>(a);
    std::array<ad::Dual<N>, kQuantityCount> q;
    const Outcome outcome = DifferentiateSampleAlong<N>(options, sample, directions, q);
    if (outcome != Outcome::kComputed) return outcome;
    PropagateAlong(q, plan, result);
    return Outcome::kComputed;
}

}  // namespace

Outcome Propagate(const ChemistryOptions& options, const Sample& sample, const CovariancePlan& plan,
                  Propagated& result) {
    // The cost of every operation on a gradient is in proportion to its size.
    if (plan.sources <= 4) return PropagateOn<4>(options, sample, plan, result);
    if (plan.sources <= 8) return PropagateOn<8>(options, sample, plan, result);
    if (plan.sources <= 12) return PropagateOn<12>(options, sample, plan, result);
    if (plan.sources <= 16) return PropagateOn<16>(options, sample, plan, result);
    // On the full gradient, direction s is source s.
    CovariancePlan full;
    full.sources = kSourceCount;
    for (std::size_t s = 0; s < kSourceCount; ++s) full.source[s] = s;
    for (std::size_t a = 0; a < plan.sources; ++a) full.u[plan.source[a]] = plan.u[a];
    for (std::size_t e = 0; e < plan.entryCount; ++e) {
        const CovariancePlan::Entry& entry = plan.entries[e];
        full.entries[full.entryCount++] = {plan.source[entry.i], plan.source[entry.j], entry.c};
    }
    std::array<Gradient, kQuantityCount> q;
    const Outcome outcome = DifferentiateSample(options, sample, q);
    if (outcome != Outcome::kComputed) return outcome;
    PropagateAlong(q, full, result);
    return Outcome::kComputed;
}

Outcome Propagate(const ChemistryOptions& options, const Sample& sample, const Covariance& covariance,
                  Propagated& result) {
    return Propagate(options, sample, PlanOf(covariance), result);
}

void PropagateGradients(const std::array<Gradient, kQuantityCount>& q, const Covariance& covariance,
                        Propagated& result) {
    PropagateAlong(q, FullPlanOf(covariance), result);
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
