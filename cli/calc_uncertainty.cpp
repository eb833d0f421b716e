#include "cli/calc_uncertainty.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "engine/quantities.h"
#include "uncertainty_io/sample_uncertainty.h"
#include "uncertainty_io/uncertainty_csv.h"

namespace brinora::cli {

using namespace uncertainty;

namespace {

// "   8.152 ± 0.0119  " cells: the value as the record prints it, then u.
std::string cell(float value, double u, bool hasU) {
    char text[96];
    if (hasU) {
        std::snprintf(text, sizeof text, "%12.3f \u00b1 %-9s", static_cast<double>(value), FormatUncertainty(u).c_str());
    } else {
        std::snprintf(text, sizeof text, "%12.3f   %-9s", static_cast<double>(value), "");
    }
    return text;
}

void printTable(const Board& board, const SampleUncertainty& result) {
    std::printf("%-24s %24s %24s  %s\n", "", "Input conditions      ", "Output conditions      ", "Unit");
    for (const brinora::Quantity& q : quantities()) {
        if (q.input || q.label.empty() || q.conditions == Conditions::kOutput) continue;
        const brinora::Quantity* twin = quantityAtSlot(q.outputTwin);
        std::string cells[2];
        const brinora::Quantity* rows[2] = {&q, twin};
        const std::uint32_t slots[2] = {q.slot, q.outputTwin};
        for (int c = 0; c < 2; ++c) {
            const double value = RowUncertainty(rows[c], result);
            const bool hasU = QuantityOfRow(rows[c]) != kNoQuantity || value >= 0.0;
            cells[c] = cell(board.get(slots[c]), value, hasU);
        }
        std::printf("%-24s %s %s  %s\n", std::string(q.label).c_str(), cells[0].c_str(), cells[1].c_str(),
                    std::string(q.unit).c_str());
    }
}

// Columns of a matrix printed in blocks of this many.
constexpr std::size_t kBlock = 8;

void printMatrix(const char* title, const std::vector<std::size_t>& sources, const Sample& sample,
                 const std::function<std::string(std::size_t q, std::size_t s)>& entry) {
    std::printf("\n%s\n", title);
    for (std::size_t b = 0; b < sources.size(); b += kBlock) {
        const std::size_t end = std::min(sources.size(), b + kBlock);
        std::printf("%-26s", "");
        for (std::size_t j = b; j < end; ++j) {
            // kSourceCount stands for the combined standard uncertainty.
            const std::string name =
                sources[j] == kSourceCount ? "u" : std::string(SourceName(sources[j], sample.first, sample.second));
            std::printf(" %11s", name.c_str());
        }
        std::printf("\n");
        for (std::size_t q = 0; q < kQuantityCount; ++q) {
            std::printf("%-26s", std::string(kQuantityNames[q]).c_str());
            for (std::size_t j = b; j < end; ++j) std::printf(" %11s", entry(q, sources[j]).c_str());
            std::printf("\n");
        }
        if (end < sources.size()) std::printf("\n");
    }
}

void printBudget(const Sample& sample, const std::array<double, kSourceCount>& u, const Propagated& p) {
    std::vector<std::size_t> sources;
    for (std::size_t s = 0; s < kSourceCount; ++s) {
        if (u[s] != 0.0) sources.push_back(s);
    }
    std::printf("\nStandard uncertainty of each source\n");
    for (const std::size_t s : sources) {
        const std::string_view unit = SourceUnit(s, sample.first, sample.second);
        std::printf("  %-12s %s%s%s\n", std::string(SourceName(s, sample.first, sample.second)).c_str(),
                    FormatUncertainty(u[s]).c_str(), unit.empty() ? "" : " ", std::string(unit).c_str());
    }
    std::vector<std::size_t> columns = sources;
    columns.push_back(kSourceCount);
    printMatrix("Budget: the contribution |dy/dx| u(x) of each source, in the unit of the result, and u", columns,
                sample, [&](std::size_t q, std::size_t s) {
                    return FormatUncertainty(s == kSourceCount ? p.u[q] : p.budget[q][s]);
                });
}

void printSensitivities(const Sample& sample, const std::array<Gradient, kQuantityCount>& g) {
    std::vector<std::size_t> sources;
    for (std::size_t s = 0; s < kSourceCount; ++s) sources.push_back(s);
    printMatrix("Sensitivities: dy/dx, the unit of the result per unit of the source (constants in pK units, "
                "total boron relative)",
                sources, sample, [&](std::size_t q, std::size_t s) {
                    char text[32];
                    std::snprintf(text, sizeof text, "%.4e", g[q].d[s]);
                    return std::string(text);
                });
}

void printBuffers(const BufferFactors& in, const BufferFactors& out) {
    std::printf("\nBuffer factors\n");
    std::printf("%-28s %18s %18s  %s\n", "", "Input conditions", "Output conditions", "Unit");
    const auto a = BufferValues(in), b = BufferValues(out);
    for (std::size_t k = 0; k < kBufferCount; ++k) {
        std::printf("%-28s %18.6g %18.6g  %s\n", std::string(kBufferRows[k].label).c_str(), a[k], b[k],
                    std::string(kBufferRows[k].unit).c_str());
    }
}

}  // namespace

int printCalcWithUncertainty(const Board& inputs, const Board& computed, const UncertaintyOptions& options) {
    UncertaintyRequest request;
    std::string error;
    if (!uncertaintyRequestOf(options, request, error)) {
        std::fprintf(stderr, "brinora calc: %s\n", error.c_str());
        return 2;
    }
    SampleUncertainty result;
    if (!PrepareSampleUncertainty(inputs, request, result)) {
        std::fprintf(stderr, "brinora calc: no uncertainties: two carbonate parameters are needed\n");
        return 1;
    }
    const Sample& sample = result.sample;
    for (int code = 1; code <= 5; ++code) {
        if (options.parameterGiven[static_cast<std::size_t>(code)] && code != sample.first && code != sample.second) {
            std::fprintf(stderr, "brinora calc: %s is given, but %s is not one of the pair (%s, %s)\n",
                         ParameterOptionName(code).c_str(), std::string(kParameterNames[code]).c_str(),
                         std::string(kParameterNames[sample.first]).c_str(),
                         std::string(kParameterNames[sample.second]).c_str());
            return 2;
        }
    }
    Outcome outcome = PropagateSampleUncertainty(request.correlation, result);
    BufferFactors in, out;
    if (outcome == Outcome::kComputed && options.buffers) outcome = Buffers(result.options, sample, in, out);
    if (outcome != Outcome::kComputed) {
        std::fprintf(stderr, "brinora calc: no uncertainties: the double-precision calculation %s\n",
                     outcome == Outcome::kRefused ? "refuses the sample" : "has no solution for this pair");
        return 1;
    }
    const std::array<double, kSourceCount>& u = result.u;
    const Propagated& p = result.propagated;
    printTable(computed, result);
    if (options.budget) printBudget(sample, u, p);
    if (options.sensitivities) printSensitivities(sample, result.gradient);
    if (options.buffers) printBuffers(in, out);
    return 0;
}

}  // namespace brinora::cli
