// The compiled half of brinora.sensitivities, brinora.uncertainty and
// brinora.buffers: the double-precision calculation with exact derivatives
// (uncertainty/) over flat arrays, on worker threads without the GIL.
#include "_uncertainty.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "uncertainty/propagation.h"

namespace py = pybind11;

namespace brinora::python {
namespace {

using namespace uncertainty;

using FloatArray = py::array_t<float, py::array::c_style | py::array::forcecast>;
using DoubleArray = py::array_t<double, py::array::c_style | py::array::forcecast>;
using SeedArray = py::array_t<std::uint64_t, py::array::c_style | py::array::forcecast>;

// The fourteen sample inputs in board order, as brinora.compute passes them.
constexpr int kInputCount = 14;
// Board order -> source (the carbonate parameters are handled by the pair).
constexpr int kSourceOfInput[kInputCount] = {kSalinity, kTemperature, kPressure, kPhosphate, kSilicate,
                                            kTemperatureOut, kPressureOut, -1, -1, -1, -1, -1, kpCO2Air,
                                            kWindSpeed};
constexpr int kFirstParameterInput = 7;  // TA; then TCO2, pH, fCO2, pCO2

// Rows of a [quantity][source] result.
constexpr std::size_t kGradientRows = static_cast<std::size_t>(kQuantityCount) * kSourceCount;
// Samples a thread computes into its own buffers before copying them out.
constexpr std::size_t kSlice = 256;

// Status codes: 0 computed, 1 refused (as the record refuses it, or an input
// not finite, or one of the pair 0), 2 no solution.
constexpr std::int8_t kComputed = 0, kRefused = 1, kNoSolution = 2;

// A flat array of length 1 (every sample) or n.
template <class T>
struct Column {
    const T* data = nullptr;
    bool perSample = false;
    T at(std::size_t i) const { return perSample ? data[i] : data[0]; }
};

template <class A>
auto ColumnOf(const A& a, std::size_t n, const std::string& name) {
    using T = typename A::value_type;
    if (a.ndim() != 1 || (a.shape(0) != 1 && static_cast<std::size_t>(a.shape(0)) != n)) {
        throw py::value_error("input " + name + " has the wrong length");
    }
    return Column<T>{a.data(), a.shape(0) != 1};
}

// One result array: element (row, sample) at row * rowStride + sample * sampleStride.
struct Target {
    double* p = nullptr;
    std::size_t rowStride = 0, sampleStride = 0;
    void set(std::size_t row, std::size_t sample, double v) const { p[row * rowStride + sample * sampleStride] = v; }
};

// Where the results of samples go: values[Q], gradient[Q x S], u[Q],
// budget[Q x S], buffers[2 x 9] per sample, and the status; an array whose
// pointer is null is not wanted. The job's arrays are row-major over the
// samples (a row of n per result); a thread's slice buffers keep each
// sample's results together.
struct Outputs {
    Target values, gradient, u, budget, buffers;
    std::int8_t* status = nullptr;
};

struct Job {
    std::array<Column<float>, kInputCount> inputs;
    ChemistryOptions options;
    int first = 1, second = 2;
    std::size_t n = 0;
    // Propagation: standard uncertainty per source and the pair's correlation,
    // or one covariance for all samples.
    std::array<Column<double>, kSourceCount> u;
    Column<double> correlation;
    const double* covariance = nullptr;
    std::uint64_t draws = 0;
    // Monte Carlo seeds: of length 1, sample i is seeded by seeds[0] + i;
    // of length n, by its own.
    Column<std::uint64_t> seeds;
    unsigned drawThreads = 1;
    // The covariance made ready once, where it is the same for every sample.
    std::optional<CovariancePlan> plan;
    // The sources whose budget is wanted (those of non-zero uncertainty).
    std::vector<std::size_t> budgetSources;
    Outputs out;
};

bool MakeSample(const Job& job, std::size_t i, Sample& s) {
    s.first = job.first;
    s.second = job.second;
    for (int j = 0; j < kInputCount; ++j) {
        const float v = job.inputs[static_cast<std::size_t>(j)].at(i);
        if (!std::isfinite(v)) return false;
        if (kSourceOfInput[j] >= 0) s.x[static_cast<std::size_t>(kSourceOfInput[j])] = v;
    }
    s.x[kFirstParameter] = job.inputs[kFirstParameterInput + job.first - 1].at(i);
    s.x[kSecondParameter] = job.inputs[kFirstParameterInput + job.second - 1].at(i);
    // The record takes the first two non-zero parameters: a given one of 0 is no pair.
    return s.x[kFirstParameter] != 0.0 && s.x[kSecondParameter] != 0.0;
}

// The covariance of sample i of the job.
Covariance CovarianceAt(const Job& job, std::size_t i) {
    Covariance c{};
    if (job.covariance) {
        std::copy(job.covariance, job.covariance + c.size(), c.begin());
    } else {
        std::array<double, kSourceCount> u{};
        for (std::size_t s = 0; s < kSourceCount; ++s) u[s] = job.u[s].at(i);
        c = CovarianceOf(u, job.correlation.at(i));
    }
    return c;
}

// Sample i of the job, its results written at position j of `o`.
void ComputeOne(const Job& job, std::size_t i, const Outputs& o, std::size_t j) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Sample sample;
    Outcome outcome = MakeSample(job, i, sample) ? Outcome::kComputed : Outcome::kRefused;
    std::array<Gradient, kQuantityCount> g;
    Propagated p;
    BufferFactors in, out;
    // Uncertainties without the gradients: the derivatives are carried along
    // the sources of the covariance only (the same numbers, fewer directions).
    const bool alongPlan = o.u.p && !o.gradient.p && job.draws == 0;
    if (outcome == Outcome::kComputed && (o.gradient.p || (o.u.p && !alongPlan))) {
        outcome = DifferentiateSample(job.options, sample, g);
    }
    if (outcome == Outcome::kComputed && alongPlan) {
        outcome = job.plan ? Propagate(job.options, sample, *job.plan, p)
                           : Propagate(job.options, sample, CovarianceAt(job, i), p);
    } else if (outcome == Outcome::kComputed && o.u.p) {
        const Covariance c = CovarianceAt(job, i);
        if (job.draws > 0) {
            MonteCarloResult mc;
            const std::uint64_t seed = job.seeds.perSample ? job.seeds.at(i) : job.seeds.at(0) + i;
            outcome = MonteCarlo(job.options, sample, c, job.draws, seed, job.drawThreads, mc);
            for (std::size_t q = 0; q < kQuantityCount; ++q) p.u[q] = mc.sd[q];
        } else {
            PropagateGradients(g, c, p);
        }
    }
    if (outcome == Outcome::kComputed && o.buffers.p) outcome = Buffers(job.options, sample, in, out);
    const bool ok = outcome == Outcome::kComputed;
    o.status[j] = ok ? kComputed : outcome == Outcome::kNoSolution ? kNoSolution : kRefused;
    for (std::size_t q = 0; q < kQuantityCount; ++q) {
        if (o.values.p) o.values.set(q, j, ok ? (alongPlan ? p.value[q] : g[q].v) : nan);
        if (o.u.p) o.u.set(q, j, ok ? p.u[q] : nan);
        for (std::size_t s = 0; s < kSourceCount; ++s) {
            if (o.gradient.p) o.gradient.set(q * kSourceCount + s, j, ok ? g[q].d[s] : nan);
        }
        for (std::size_t b = 0; o.budget.p && b < job.budgetSources.size(); ++b) {
            o.budget.set(q * job.budgetSources.size() + b, j,
                         ok && job.draws == 0 ? p.budget[q][job.budgetSources[b]] : nan);
        }
    }
    if (o.buffers.p) {
        const BufferFactors* both[2] = {&in, &out};
        for (std::size_t c = 0; c < 2; ++c) {
            const BufferFactors& b = *both[c];
            const double f[kBufferCount] = {b.gammaDIC, b.gammaAlk, b.betaDIC, b.betaAlk, b.omegaDIC,
                                            b.omegaAlk, b.revelle, b.isocapnic, b.dlnpCO2dT};
            for (std::size_t k = 0; k < kBufferCount; ++k) o.buffers.set(c * kBufferCount + k, j, ok ? f[k] : nan);
        }
    }
}

// Copies a slice's results (each sample's together) into the job's arrays
// (a row of n per result) at sample `begin`: row by row, so that the writes
// are contiguous and the reads of eight rows share their cache lines.
void CopySlice(const Job& job, const Outputs& slice, const Outputs& all, std::size_t begin, std::size_t count) {
    const auto rows = [&](const Target& from, const Target& to, std::size_t n) {
        if (!to.p) return;
        for (std::size_t r = 0; r < n; ++r) {
            double* out = to.p + r * to.rowStride + begin;
            const double* in = from.p + r;
            for (std::size_t j = 0; j < count; ++j) out[j] = in[j * from.sampleStride];
        }
    };
    rows(slice.values, all.values, kQuantityCount);
    rows(slice.gradient, all.gradient, kGradientRows);
    rows(slice.u, all.u, kQuantityCount);
    rows(slice.budget, all.budget, kQuantityCount * job.budgetSources.size());
    rows(slice.buffers, all.buffers, 2 * kBufferCount);
    std::copy(slice.status, slice.status + count, all.status + begin);
}

// Every sample of `job` on `threads` threads, in slices handed out as threads
// become free; each slice is computed into buffers of its own and copied.
void ComputeAll(const Job& job, unsigned threads) {
    const std::size_t workers = std::min<std::size_t>(std::max(1u, threads), (job.n + kSlice - 1) / kSlice);
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        std::vector<double> values, gradient, u, budget, buffers;
        std::vector<std::int8_t> status(kSlice);
        Outputs slice;
        const auto buffer = [](std::vector<double>& v, const Target& wanted, std::size_t rows) -> Target {
            if (!wanted.p) return {};
            v.resize(rows * kSlice);
            return {v.data(), 1, rows};
        };
        slice.values = buffer(values, job.out.values, kQuantityCount);
        slice.gradient = buffer(gradient, job.out.gradient, kGradientRows);
        slice.u = buffer(u, job.out.u, kQuantityCount);
        slice.budget = buffer(budget, job.out.budget, kQuantityCount * job.budgetSources.size());
        slice.buffers = buffer(buffers, job.out.buffers, 2 * kBufferCount);
        slice.status = status.data();
        for (;;) {
            const std::size_t begin = next.fetch_add(kSlice);
            if (begin >= job.n) return;
            const std::size_t count = std::min(job.n - begin, kSlice);
            for (std::size_t j = 0; j < count; ++j) ComputeOne(job, begin + j, slice, j);
            CopySlice(job, slice, job.out, begin, count);
        }
    };
    if (workers <= 1) {
        work();
        return;
    }
    std::vector<std::thread> pool;
    for (std::size_t w = 0; w < workers; ++w) pool.emplace_back(work);
    for (std::thread& t : pool) t.join();
}

Job MakeJob(const std::vector<FloatArray>& inputs, std::size_t n, std::array<int, 4> items, std::array<int, 2> pair) {
    if (inputs.size() != kInputCount) throw py::value_error("expected 14 input arrays");
    if (pair[0] < 1 || pair[1] > 5 || pair[0] >= pair[1]) throw py::value_error("pair codes 1..5, first < second");
    Job job;
    job.n = n;
    for (int j = 0; j < kInputCount; ++j) {
        job.inputs[static_cast<std::size_t>(j)] = ColumnOf(inputs[static_cast<std::size_t>(j)], n, std::to_string(j));
    }
    job.options = {items[0], items[1], items[2], items[3] - 1};
    job.first = pair[0];
    job.second = pair[1];
    return job;
}

py::array_t<double> NewArray(std::vector<py::ssize_t> shape) { return py::array_t<double>(shape); }

// (values[Q, n], gradient[Q, S, n], status[n]).
py::tuple Sensitivities(const std::vector<FloatArray>& inputs, std::size_t n, std::array<int, 4> items,
                        std::array<int, 2> pair, unsigned threads) {
    Job job = MakeJob(inputs, n, items, pair);
    const auto N = static_cast<py::ssize_t>(n), Q = static_cast<py::ssize_t>(kQuantityCount),
               S = static_cast<py::ssize_t>(kSourceCount);
    auto values = NewArray({Q, N});
    auto gradient = NewArray({Q, S, N});
    py::array_t<std::int8_t> status(N);
    job.out.values = {values.mutable_data(), n, 1};
    job.out.gradient = {gradient.mutable_data(), n, 1};
    job.out.status = status.mutable_data();
    {
        py::gil_scoped_release release;
        ComputeAll(job, threads);
    }
    return py::make_tuple(values, gradient, status);
}

// (values[Q, n], u[Q, n], budget[Q, B, n], status[n]); u: kSourceCount arrays
// of length 1 or n; covariance: empty or kSourceCount^2 values; draws > 0
// for Monte Carlo, seeds of length 1 (sample i: seeds[0] + i) or n.
py::tuple Propagation(const std::vector<FloatArray>& inputs, std::size_t n, std::array<int, 4> items,
                      std::array<int, 2> pair, const std::vector<DoubleArray>& u, const DoubleArray& correlation,
                      const DoubleArray& covariance, const std::vector<std::size_t>& budgetSources,
                      std::uint64_t draws, const SeedArray& seeds, unsigned threads) {
    Job job = MakeJob(inputs, n, items, pair);
    if (u.size() != kSourceCount) throw py::value_error("expected one uncertainty array per source");
    for (std::size_t s = 0; s < kSourceCount; ++s) job.u[s] = ColumnOf(u[s], n, "u " + std::to_string(s));
    job.correlation = ColumnOf(correlation, n, "correlation");
    if (covariance.size() != 0) {
        if (covariance.size() != static_cast<py::ssize_t>(kSourceCount * kSourceCount)) {
            throw py::value_error("the covariance has " + std::to_string(kSourceCount * kSourceCount) + " entries");
        }
        job.covariance = covariance.data();
    }
    for (std::size_t b : budgetSources) {
        if (b >= kSourceCount) throw py::value_error("budget source out of range");
    }
    job.budgetSources = budgetSources;
    job.draws = draws;
    job.seeds = ColumnOf(seeds, n, "seeds");
    bool perSample = job.correlation.perSample;
    for (const Column<double>& column : job.u) perSample = perSample || column.perSample;
    if (draws == 0 && (job.covariance || !perSample)) job.plan = PlanOf(CovarianceAt(job, 0));
    // Monte Carlo of one sample spreads its draws over the threads.
    job.drawThreads = n == 1 ? std::max(1u, threads) : 1u;
    const auto N = static_cast<py::ssize_t>(n), Q = static_cast<py::ssize_t>(kQuantityCount);
    auto values = NewArray({Q, N});
    auto uOut = NewArray({Q, N});
    auto budget = NewArray({Q, static_cast<py::ssize_t>(budgetSources.size()), N});
    py::array_t<std::int8_t> status(N);
    job.out.values = {values.mutable_data(), n, 1};
    job.out.u = {uOut.mutable_data(), n, 1};
    job.out.budget = {budget.mutable_data(), n, 1};
    job.out.status = status.mutable_data();
    {
        py::gil_scoped_release release;
        ComputeAll(job, n == 1 ? 1u : threads);
    }
    return py::make_tuple(values, uOut, budget, status);
}

// (buffers[2, 9, n], status[n]).
py::tuple BufferArrays(const std::vector<FloatArray>& inputs, std::size_t n, std::array<int, 4> items,
                       std::array<int, 2> pair, unsigned threads) {
    Job job = MakeJob(inputs, n, items, pair);
    const auto N = static_cast<py::ssize_t>(n);
    auto buffers = NewArray({2, static_cast<py::ssize_t>(kBufferCount), N});
    py::array_t<std::int8_t> status(N);
    job.out.buffers = {buffers.mutable_data(), n, 1};
    job.out.status = status.mutable_data();
    {
        py::gil_scoped_release release;
        ComputeAll(job, threads);
    }
    return py::make_tuple(buffers, status);
}

}  // namespace

void registerUncertainty(py::module_& m) {
    py::list quantities, sources;
    for (auto name : kQuantityNames) quantities.append(py::str(name.data(), name.size()));
    for (auto name : kSourceNames) sources.append(py::str(name.data(), name.size()));
    m.attr("UNCERTAINTY_QUANTITIES") = py::tuple(quantities);
    // Source names; the first two are the pair's and are empty here.
    m.attr("UNCERTAINTY_SOURCES") = py::tuple(sources);
    std::array<double, kSourceCount> standard{};
    SetStandardConstantUncertainties(standard);
    m.attr("STANDARD_CONSTANT_UNCERTAINTIES") = py::cast(standard);
    m.def("sensitivities", &Sensitivities, py::arg("inputs"), py::arg("n"), py::arg("items"), py::arg("pair"),
          py::arg("threads"),
          "Values [Q, n], derivatives [Q, S, n] (float64) and status [n] (int8: 0 computed, 1 refused, 2 no "
          "solution) of n samples.");
    m.def("propagate", &Propagation, py::arg("inputs"), py::arg("n"), py::arg("items"), py::arg("pair"),
          py::arg("u"), py::arg("correlation"), py::arg("covariance"), py::arg("budget_sources"), py::arg("draws"),
          py::arg("seeds"), py::arg("threads"),
          "Values [Q, n], combined standard uncertainty [Q, n], budget [Q, B, n] of the B sources "
          "budget_sources, and status [n]; Monte Carlo when draws > 0.");
    m.def("buffers", &BufferArrays, py::arg("inputs"), py::arg("n"), py::arg("items"), py::arg("pair"),
          py::arg("threads"), "Buffer factors [2 conditions, 9, n] and status [n].");
}

}  // namespace brinora::python
