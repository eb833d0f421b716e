// Column names and rows of the uncertainty file.
#include "uncertainty_io/uncertainty_csv.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "engine/quantities.h"

namespace brinora::uncertainty {

const std::array<BufferRow, kBufferCount> kBufferRows = {{
    {"gamma_dic", "gamma DIC", "umol/kg"},
    {"gamma_alk", "gamma Alk", "umol/kg"},
    {"beta_dic", "beta DIC", "umol/kg"},
    {"beta_alk", "beta Alk", "umol/kg"},
    {"omega_dic", "omega DIC", "umol/kg"},
    {"omega_alk", "omega Alk", "umol/kg"},
    {"revelle_dlnpco2_dlndic", "Revelle (dln pCO2/dln DIC)", ""},
    {"isocapnic_quotient", "Isocapnic quotient", ""},
    {"dlnpco2_dt", "dln pCO2/dT", "1/deg C"},
}};

std::array<double, kBufferCount> BufferValues(const BufferFactors& b) {
    return {b.gammaDIC, b.gammaAlk, b.betaDIC, b.betaAlk, b.omegaDIC, b.omegaAlk, b.revelle, b.isocapnic,
            b.dlnpCO2dT};
}

std::string_view QuantityUnit(std::size_t q) {
    if (q == qH || q == qHOut) return "umol/kg";
    const brinora::Quantity* row = resultNamed(kQuantityNames[q]);
    return row ? row->unit : std::string_view();
}

std::string_view SourceName(std::size_t s, int first, int second) {
    if (s == kFirstParameter) return kParameterNames[static_cast<std::size_t>(first)];
    if (s == kSecondParameter) return kParameterNames[static_cast<std::size_t>(second)];
    return kSourceNames[s];
}

std::string_view SourceUnit(std::size_t s, int first, int second) {
    if (s == kFirstParameter || s == kSecondParameter) {
        const brinora::Quantity* row = inputNamed(SourceName(s, first, second));
        return row ? row->unit : std::string_view();
    }
    if (s == kTotalBoron) return "relative";
    if (s >= kpK0) return "pK";
    const brinora::Quantity* row = inputNamed(kSourceNames[s]);
    return row ? row->unit : std::string_view();
}

namespace {

void AppendName(std::string& out, std::string_view name, std::string_view unit) {
    out.push_back(',');
    out.append(name);
    if (!unit.empty()) {
        out.append(" (");
        out.append(unit);
        out.push_back(')');
    }
}

void AppendNumber(std::string& out, bool computed, double v) {
    out.push_back(',');
    if (!computed || !std::isfinite(v)) return;
    // "%.6g", as std::to_chars writes it.
    char text[32];
    const auto written = std::to_chars(text, text + sizeof text, v, std::chars_format::general, 6);
    out.append(text, written.ptr);
}

}  // namespace

std::string UncertaintyHeader(const UncertaintyColumns& columns) {
    std::string out = "SampleID,Name";
    for (std::size_t q = 0; q < kQuantityCount; ++q) {
        AppendName(out, "u_" + std::string(kQuantityNames[q]), QuantityUnit(q));
    }
    if (columns.budget) {
        for (std::size_t q = 0; q < kQuantityCount; ++q) {
            for (const std::size_t s : columns.budgetSources) {
                const std::string_view source = s == kFirstParameter    ? "first_parameter"
                                                : s == kSecondParameter ? "second_parameter"
                                                                        : kSourceNames[s];
                AppendName(out, "budget_" + std::string(kQuantityNames[q]) + "_" + std::string(source),
                           QuantityUnit(q));
            }
        }
    }
    if (columns.buffers) {
        for (const char* suffix : {"", "_out"}) {
            for (const BufferRow& b : kBufferRows) AppendName(out, std::string(b.name) + suffix, b.unit);
        }
    }
    out.push_back('\n');
    return out;
}

void AppendUncertaintyRow(std::string& out, std::string_view id, std::string_view name,
                          const UncertaintyColumns& columns, const UncertaintyRow& row) {
    out.append(id);
    out.push_back(',');
    out.append(name);
    for (std::size_t q = 0; q < kQuantityCount; ++q) AppendNumber(out, row.computed, row.propagated.u[q]);
    if (columns.budget) {
        for (std::size_t q = 0; q < kQuantityCount; ++q) {
            for (const std::size_t s : columns.budgetSources) {
                AppendNumber(out, row.computed, row.propagated.budget[q][s]);
            }
        }
    }
    if (columns.buffers) {
        for (const BufferFactors* b : {&row.in, &row.out}) {
            for (const double v : BufferValues(*b)) AppendNumber(out, row.computed, v);
        }
    }
    out.push_back('\n');
}

}  // namespace brinora::uncertainty
