// The compiled half of the brinora Python module: the per-sample loop over
// flat single-precision input arrays, run on worker threads without the GIL.
// Each sample is computed by computeSample, the calculation `brinora calc`
// makes, asked for the requested results only.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <atomic>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "app/option_choice.h"
#include "app/option_titles.h"
#include "engine/quantities.h"
#include "engine/refusals.h"
#include "engine/sample.h"
#include "engine/slots.h"
#include "log/log.h"
#include "_uncertainty.h"

namespace py = pybind11;

namespace brinora::python {
namespace {

// The fourteen sample inputs in board order (slots 11..24) and the results,
// as brinora.compute names them, from the quantity table.
std::vector<const Quantity*> sampleInputs() {
    std::vector<const Quantity*> inputs;
    for (const Quantity& q : quantities()) {
        if (q.input) inputs.push_back(&q);
    }
    return inputs;
}

std::vector<const Quantity*> resultQuantities() {
    std::vector<const Quantity*> results;
    for (const Quantity& q : quantities()) {
        if (!q.resultName.empty()) results.push_back(&q);
    }
    return results;
}

constexpr int kInputCount = kSampleInputCount;
const std::vector<const Quantity*>& resultList() {
    static const std::vector<const Quantity*> results = resultQuantities();
    return results;
}

// Status messages by code: the one list of refusal reasons.
std::vector<std::string> statusMessages() {
    std::vector<std::string> messages(refusal::kCount);
    for (int code = 0; code < refusal::kCount; ++code) {
        messages[static_cast<std::size_t>(code)] =
            code == refusal::kComputed ? refusalReason(code) : "refused: " + refusalReason(code);
    }
    return messages;
}

// Flat float32 input: either one value for every sample or one per sample.
struct Input {
    const float* data = nullptr;
    bool perSample = false;
    float at(std::size_t i) const { return perSample ? data[i] : data[0]; }
};

// Where a result comes from: a quantity of the calculation, or (for the pCO2
// of the air and the wind speed) the input itself.
int quantityOf(std::uint32_t resultSlot) {
    if (resultSlot >= slot::kSalinityUsed && resultSlot <= slot::kxCO2Out) {
        return static_cast<int>(resultSlot - slot::kResultBase);
    }
    if (resultSlot >= slot::kCO2FluxIn && resultSlot <= slot::kSigmaOut) {
        return quantity::kCO2FluxIn + static_cast<int>(resultSlot - slot::kCO2FluxIn);
    }
    return -1;
}

int inputOf(std::uint32_t resultSlot) { return static_cast<int>(resultSlot - slot::kSalinity); }

// Where row r of the results comes from: quantity `index` of the calculation
// or (fromInput) input `index`.
struct RowSource {
    bool fromInput = false;
    int index = 0;
};

struct Job {
    std::array<Input, kInputCount> inputs;
    SampleOptions options;
    std::vector<int> wanted;     // indices into RESULT_NAMES, one row of results each
    std::vector<RowSource> sources;  // one per row
    QuantityMask mask = 0;       // the quantities those rows need
    float* results = nullptr;    // wanted.size() rows of n
    std::int8_t* status = nullptr;
    std::size_t n = 0;
};

void computeRange(const Job& job, std::size_t begin, std::size_t end) {
    SampleInputs sample;
    sample.options = job.options;
    SampleResults computed;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (std::size_t i = begin; i < end; ++i) {
        float inputs[kInputCount];
        for (int j = 0; j < kInputCount; ++j) {
            inputs[j] = job.inputs[static_cast<std::size_t>(j)].at(i);
            sample.values[static_cast<std::size_t>(j)] = inputs[j];
        }
        std::int8_t code = nonFiniteInputCode(inputs);
        if (code == refusal::kComputed) code = refusalCode(computeSample(sample, computed, job.mask));
        job.status[i] = code;
        float* out = job.results + i;
        if (code == refusal::kComputed) {
            for (const RowSource& source : job.sources) {
                *out = source.fromInput ? sample.values[static_cast<std::size_t>(source.index)]
                                        : computed.values[static_cast<std::size_t>(source.index)];
                out += job.n;
            }
        } else {
            for (std::size_t row = 0; row < job.sources.size(); ++row, out += job.n) *out = nan;
        }
    }
}

// Computes every sample of `job` on `threads` threads.
void computeAll(const Job& job, unsigned threads) {
    constexpr std::size_t kMinPerThread = 512;
    // Slices handed out as threads become free, so that a thread slowed by
    // other work on its core does not hold the others up.
    constexpr std::size_t kSlice = 4096;
    const std::size_t most = std::max<std::size_t>(1, job.n / kMinPerThread);
    const std::size_t workers = std::min<std::size_t>(std::max(1u, threads), most);
    if (workers == 1) {
        computeRange(job, 0, job.n);
        return;
    }
    std::atomic<std::size_t> next{0};
    const auto work = [&job, &next] {
        for (;;) {
            const std::size_t begin = next.fetch_add(kSlice);
            if (begin >= job.n) return;
            computeRange(job, begin, std::min(job.n, begin + kSlice));
        }
    };
    std::vector<std::thread> pool;
    pool.reserve(workers);
    for (std::size_t w = 0; w < workers; ++w) pool.emplace_back(work);
    for (std::thread& t : pool) t.join();
}

using FloatArray = py::array_t<float, py::array::c_style>;

// inputs: 14 one-dimensional float32 arrays of length 1 or n, in board order;
// items: the four menu items (constants, KHSO4, pH scale, flux); wanted: the
// indices into RESULT_NAMES of the results to compute (None: every one).
py::tuple compute(const std::vector<FloatArray>& inputs, std::size_t n, std::array<int, 4> items,
                  unsigned threads, const std::optional<std::vector<int>>& wanted) {
    if (inputs.size() != kInputCount) throw py::value_error("expected 14 input arrays");
    Job job;
    job.n = n;
    for (int j = 0; j < kInputCount; ++j) {
        const FloatArray& a = inputs[static_cast<std::size_t>(j)];
        if (a.ndim() != 1 || (a.shape(0) != 1 && static_cast<std::size_t>(a.shape(0)) != n)) {
            throw py::value_error("input " + std::string(sampleInputs()[static_cast<std::size_t>(j)]->inputName) +
                                  " has the wrong length");
        }
        job.inputs[static_cast<std::size_t>(j)] = {a.data(), a.shape(0) != 1};
    }
    job.options = optionsFromSlots(static_cast<float>(items[0] - 1), static_cast<float>(items[1] - 1),
                                   static_cast<float>(items[2] - 1), static_cast<float>(items[3] - 1));
    if (wanted) {
        for (const int index : *wanted) {
            if (index < 0 || index >= static_cast<int>(resultList().size())) throw py::value_error("result index out of range");
            job.wanted.push_back(index);
        }
    } else {
        for (int index = 0; index < static_cast<int>(resultList().size()); ++index) job.wanted.push_back(index);
    }
    for (const int index : job.wanted) {
        const std::uint32_t resultSlot = resultList()[static_cast<std::size_t>(index)]->slot;
        const int q = quantityOf(resultSlot);
        if (q >= 0) {
            job.mask |= quantityBit(q);
            job.sources.push_back({false, q});
        } else {
            job.sources.push_back({true, inputOf(resultSlot)});
        }
    }

    py::array_t<float> results({static_cast<py::ssize_t>(job.wanted.size()), static_cast<py::ssize_t>(n)});
    py::array_t<std::int8_t> status(static_cast<py::ssize_t>(n));
    job.results = results.mutable_data();
    job.status = status.mutable_data();
    if (n > 0) {
        py::gil_scoped_release release;
        computeAll(job, threads);
    }
    return py::make_tuple(results, status);
}

int optionItem(int menu, const py::object& value) {
    if (menu < 0 || menu > 3) throw py::value_error("unknown option menu");
    const auto which = static_cast<OptionMenu>(menu);
    std::string text;
    if (py::isinstance<py::str>(value)) {
        text = value.cast<std::string>();
    } else if (py::isinstance<py::bool_>(value) || !py::hasattr(value, "__index__")) {
        throw py::type_error("an option is a menu item number (int) or a menu title (str), not " +
                             py::str(py::type::of(value).attr("__name__")).cast<std::string>());
    } else {
        const py::int_ number = py::reinterpret_steal<py::int_>(PyNumber_Index(value.ptr()));
        text = py::str(py::handle(number)).cast<std::string>();
    }
    const OptionChoice choice = parseOptionChoice(which, text);
    if (choice.item == 0) {
        static constexpr const char* kMenuNames[] = {"constants set", "KHSO4 choice", "pH scale", "flux formula"};
        const std::string shown = text.size() <= 40 ? text : text.substr(0, 37) + "...";
        throw py::value_error(std::string("unknown ") + kMenuNames[menu] + " '" + shown + "': " + choice.error);
    }
    return choice.item;
}

}  // namespace
}  // namespace brinora::python

PYBIND11_MODULE(_brinora, m) {
    using namespace brinora;
    using namespace brinora::python;
    m.doc() = "Compiled core of the brinora module; use brinora.compute.";
    // The chemistry writes a log line per call for two constant sets; a
    // library on a cluster must not fill the system log, so lines are dropped.
    brinora::log::setSink([](std::string_view) {});

    py::list inputNames;
    for (const Quantity* q : sampleInputs()) inputNames.append(std::string(q->inputName));
    m.attr("INPUT_NAMES") = py::tuple(inputNames);
    py::list resultNames;
    for (const Quantity* q : resultList()) resultNames.append(std::string(q->resultName));
    m.attr("RESULT_NAMES") = py::tuple(resultNames);
    m.attr("STATUS_MESSAGES") = py::tuple(py::cast(statusMessages()));
    // The quantity table: one dict per quantity that brinora.compute takes or gives.
    py::list table;
    for (const Quantity& q : quantities()) {
        if (q.inputName.empty() && q.resultName.empty()) continue;
        py::dict row;
        row["input_name"] = std::string(q.inputName);
        row["result_name"] = std::string(q.resultName);
        row["units"] = std::string(q.cfUnits);
        row["long_name"] = std::string(q.longName);
        row["standard_name"] = std::string(q.standardName);
        row["conditions"] = q.conditions == Conditions::kInput    ? "input"
                            : q.conditions == Conditions::kOutput ? "output"
                                                                  : "";
        row["record_header"] = std::string(q.header);
        row["kind"] = std::string(q.kind);
        row["check"] = q.plausibleMin <= q.plausibleMax
                           ? py::object(py::make_tuple(static_cast<double>(q.plausibleMin),
                                                       static_cast<double>(q.plausibleMax)))
                           : py::object(py::none());
        row["batch_header"] = std::string(q.batchHeader);
        row["record_column"] = q.recordColumn;
        table.append(row);
    }
    m.attr("QUANTITY_TABLE") = py::tuple(table);
    // Menu titles of the four options; item k is element k (element 0 is the placeholder).
    auto titles = [](auto const& list) {
        py::list out;
        for (std::string_view title : list) out.append(py::str(title.data(), title.size()));
        return py::tuple(out);
    };
    m.attr("OPTION_TITLES") = py::make_tuple(
        titles(brinora::options::kConstantsSetTitles), titles(brinora::options::kKHSO4Titles),
        titles(brinora::options::kpHScaleTitles), titles(brinora::options::kAirSeaFluxTitles));
    m.attr("hardware_threads") = std::max(1u, std::thread::hardware_concurrency());

    m.def("compute", &compute, py::arg("inputs"), py::arg("n"), py::arg("items"), py::arg("threads"),
          py::arg("wanted") = py::none(),
          "Computes n samples from 14 float32 input arrays (length 1 or n, board order) and the "
          "four menu items; returns (results[k, n] float32, status[n] int8), one row for each "
          "index into RESULT_NAMES in wanted (None: every result, in that order).");
    m.def("option_item", &optionItem, py::arg("menu"), py::arg("value"),
          "Menu item 1..N of an option given as an item number or a (prefix of a) menu title; "
          "menu 0 constants set, 1 KHSO4, 2 pH scale, 3 air-sea flux formula.");
    registerUncertainty(m);
}
