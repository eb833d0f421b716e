#include "graph/graph_columns.h"

#include <array>
#include <cctype>

namespace brinora::graph {

namespace {

constexpr std::string_view kMicromolPerKg = "µmol/kg";
constexpr std::string_view kMicroatm = "µatm";
constexpr std::string_view kDegreesCelsius = "°C";
constexpr std::string_view kDecibar = "dbar";
// Air-sea CO2 flux, positive from sea to air.
constexpr std::string_view kFluxUnit = "mmol/m²/d";

// Columns 7 to 47 of the output record (fields 6 to 46).
constexpr std::array<GraphColumn, 41> kOutputColumns = {{
    {"Salinity", "Salinity", "", 6},
    {"Temperature", "Temperature", kDegreesCelsius, 7},
    {"Pressure", "Pressure", kDecibar, 8, true},
    {"Total P", "Total phosphate", kMicromolPerKg, 9},
    {"Total Si", "Total silicate", kMicromolPerKg, 10},
    {"TA", "TA", kMicromolPerKg, 11},
    {"TCO2", "TCO₂", kMicromolPerKg, 12},
    {"pH (in)", "pH (in)", "", 13},
    {"fCO2 (in)", "fCO₂ (in)", kMicroatm, 14},
    {"pCO2 (in)", "pCO₂ (in)", kMicroatm, 15},
    {"HCO3 (in)", "HCO₃⁻ (in)", kMicromolPerKg, 16},
    {"CO3 (in)", "CO₃²⁻ (in)", kMicromolPerKg, 17},
    {"CO2 (in)", "CO₂* (in)", kMicromolPerKg, 18},
    {"B Alk (in)", "Borate alkalinity (in)", kMicromolPerKg, 19},
    {"OH (in)", "OH⁻ (in)", kMicromolPerKg, 20},
    {"P Alk (in)", "Phosphate alkalinity (in)", kMicromolPerKg, 21},
    {"Si Alk (in)", "Silicate alkalinity (in)", kMicromolPerKg, 22},
    {"Revelle (in)", "Revelle factor (in)", "", 23},
    {"Omega Ca (in)", "Ω calcite (in)", "", 24},
    {"Omega Ar (in)", "Ω aragonite (in)", "", 25},
    {"xCO2 (in)", "xCO₂ (in)", "ppm", 26},
    {"Temperature (out)", "Temperature (out)", kDegreesCelsius, 27},
    {"Pressure (out)", "Pressure (out)", kDecibar, 28, true},
    {"pH (out)", "pH (out)", "", 29},
    {"fCO2 (out)", "fCO₂ (out)", kMicroatm, 30},
    {"pCO2 (out)", "pCO₂ (out)", kMicroatm, 31},
    {"HCO3 (out)", "HCO₃⁻ (out)", kMicromolPerKg, 32},
    {"CO3 (out)", "CO₃²⁻ (out)", kMicromolPerKg, 33},
    {"CO2 (out)", "CO₂* (out)", kMicromolPerKg, 34},
    {"B Alk (out)", "Borate alkalinity (out)", kMicromolPerKg, 35},
    {"OH (out)", "OH⁻ (out)", kMicromolPerKg, 36},
    {"P Alk (out)", "Phosphate alkalinity (out)", kMicromolPerKg, 37},
    {"Si Alk (out)", "Silicate alkalinity (out)", kMicromolPerKg, 38},
    {"Revelle (out)", "Revelle factor (out)", "", 39},
    {"Omega Ca (out)", "Ω calcite (out)", "", 40},
    {"Omega Ar (out)", "Ω aragonite (out)", "", 41},
    {"xCO2 (out)", "xCO₂ (out)", "ppm", 42},
    {"pCO2 air", "pCO₂ of the air", kMicroatm, 43},
    {"Wind speed", "Wind speed", "m/s", 44},
    {"CO2 flux (in)", "Air-sea CO₂ flux (in)", kFluxUnit, 45},
    {"CO2 flux (out)", "Air-sea CO₂ flux (out)", kFluxUnit, 46},
}};

// Fields 6 to 19 of a batch input line. The carbonate inputs are the ones
// measured, at the input conditions.
constexpr std::array<GraphColumn, 14> kBatchInputColumns = {{
    {"Salinity", "Salinity", "", 6},
    {"Temperature", "Temperature", kDegreesCelsius, 7},
    {"Pressure", "Pressure", kDecibar, 8, true},
    {"Total P", "Total phosphate", kMicromolPerKg, 9},
    {"Total Si", "Total silicate", kMicromolPerKg, 10},
    {"Temperature (out)", "Temperature (out)", kDegreesCelsius, 11},
    {"Pressure (out)", "Pressure (out)", kDecibar, 12, true},
    {"TA", "TA", kMicromolPerKg, 13},
    {"TCO2", "TCO₂", kMicromolPerKg, 14},
    {"pH (in)", "pH (in)", "", 15},
    {"fCO2 (in)", "fCO₂ (in)", kMicroatm, 16},
    {"pCO2 (in)", "pCO₂ (in)", kMicroatm, 17},
    {"pCO2 air", "pCO₂ of the air", kMicroatm, 18},
    {"Wind speed", "Wind speed", "m/s", 19},
}};

char lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

bool equalIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (lower(a[i]) != lower(b[i])) return false;
    }
    return true;
}

bool startsIgnoringCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && equalIgnoringCase(text.substr(0, prefix.size()), prefix);
}

std::string quotedList(std::span<const GraphColumn> columns, std::span<const std::size_t> which) {
    std::string list;
    for (const std::size_t i : which) {
        if (!list.empty()) list += ", ";
        list += '"';
        list += columns[i].name;
        list += '"';
    }
    return list;
}

}  // namespace

std::span<const GraphColumn> outputColumns() { return kOutputColumns; }

std::span<const GraphColumn> batchInputColumns() { return kBatchInputColumns; }

std::span<const GraphColumn> columnsOf(FileKind kind) {
    return kind == FileKind::Output ? outputColumns() : batchInputColumns();
}

std::string axisLabel(const GraphColumn& column) {
    std::string label(column.title);
    if (!column.unit.empty()) {
        label += " (";
        label += column.unit;
        label += ')';
    }
    return label;
}

ColumnMatch findColumn(std::span<const GraphColumn> columns, std::string_view wanted,
                       std::span<const std::string> headerNames) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (equalIgnoringCase(columns[i].name, wanted) || equalIgnoringCase(axisLabel(columns[i]), wanted)) {
            return {i, {}};
        }
    }
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::size_t field = columns[i].field;
        if (field < headerNames.size() && !headerNames[field].empty() &&
            equalIgnoringCase(headerNames[field], wanted)) {
            return {i, {}};
        }
    }
    std::vector<std::size_t> candidates;
    if (!wanted.empty()) {
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (startsIgnoringCase(columns[i].name, wanted)) candidates.push_back(i);
        }
    }
    if (candidates.size() == 1) return {candidates.front(), {}};

    std::string message = "\"";
    message += wanted;
    message += "\" ";
    if (candidates.empty()) {
        std::vector<std::size_t> all(columns.size());
        for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
        message += "matches no column. Available: " + quotedList(columns, all) + ".";
    } else {
        message += "matches several columns: " + quotedList(columns, candidates) + ".";
    }
    return {std::nullopt, message};
}

std::optional<std::size_t> columnNamed(std::span<const GraphColumn> columns, std::string_view name) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (columns[i].name == name) return i;
    }
    return std::nullopt;
}

}  // namespace brinora::graph
