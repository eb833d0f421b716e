#include <gtest/gtest.h>

#include "records/output_record.h"
#include "input/fields.h"
#include "graph/graph_columns.h"

namespace brinora::graph {
namespace {

TEST(GraphColumns, OutputColumnsAreFields6To46OfTheFixedHeader) {
    const auto columns = outputColumns();
    ASSERT_EQ(columns.size(), 41u);
    for (std::size_t i = 0; i < columns.size(); ++i) EXPECT_EQ(columns[i].field, 6 + i);
    const std::vector<std::string> header = splitFields(dataFileHeaders());
    EXPECT_EQ(header[columns[0].field], "Salinity (ppt)");
    EXPECT_EQ(header[columns[7].field], "pH");
    EXPECT_EQ(header[columns[11].field], "CO3 in (micromol/kgSW)");
    EXPECT_EQ(header[columns[22].field], "P (dbars) out");
    EXPECT_EQ(header[columns[40].field], "CO2Flux out");
}

TEST(GraphColumns, BatchInputColumnsAreFields6To19) {
    const auto columns = batchInputColumns();
    ASSERT_EQ(columns.size(), 14u);
    for (std::size_t i = 0; i < columns.size(); ++i) EXPECT_EQ(columns[i].field, 6 + i);
    EXPECT_EQ(columns[7].name, "TA");
    EXPECT_EQ(columns[13].name, "Wind speed");
}

TEST(GraphColumns, AxisLabelsCarryUnitsWithSubAndSuperscripts) {
    const auto columns = outputColumns();
    EXPECT_EQ(axisLabel(columns[0]), "Salinity");
    EXPECT_EQ(axisLabel(columns[1]), "Temperature (°C)");
    EXPECT_EQ(axisLabel(columns[2]), "Pressure (dbar)");
    EXPECT_EQ(axisLabel(columns[11]), "CO₃²⁻ (in) (µmol/kg)");
    EXPECT_EQ(axisLabel(columns[14]), "OH⁻ (in) (µmol/kg)");
    EXPECT_EQ(axisLabel(columns[19]), "Ω aragonite (in)");
    EXPECT_EQ(axisLabel(columns[39]), "Air-sea CO₂ flux (in) (mmol/m²/d)");
}

TEST(GraphColumns, OnlyPressuresAreDepthLike) {
    std::vector<std::string_view> depthLike;
    for (const GraphColumn& column : outputColumns()) {
        if (column.depthLike) depthLike.push_back(column.name);
    }
    EXPECT_EQ(depthLike, (std::vector<std::string_view>{"Pressure", "Pressure (out)"}));
}

TEST(GraphColumns, NamesMatchIgnoringCaseExactFirst) {
    const auto columns = outputColumns();
    EXPECT_EQ(findColumn(columns, "salinity").index, 0u);
    EXPECT_EQ(findColumn(columns, "PH (IN)").index, 7u);
    // "Temperature" is a whole name, not an ambiguous prefix of "Temperature (out)".
    EXPECT_EQ(findColumn(columns, "Temperature").index, 1u);
    EXPECT_EQ(findColumn(columns, "Temperature (°C)").index, 1u);
}

TEST(GraphColumns, AUniquePrefixMatches) {
    const auto columns = outputColumns();
    EXPECT_EQ(findColumn(columns, "wind").index, 38u);
    EXPECT_EQ(findColumn(columns, "Omega Ar (o").index, 35u);
}

TEST(GraphColumns, FileHeaderNamesMatch) {
    const std::vector<std::string> header = splitFields(dataFileHeaders());
    EXPECT_EQ(findColumn(outputColumns(), "ph", header).index, 7u);
    EXPECT_EQ(findColumn(outputColumns(), "O Ar out", header).index, 35u);
}

TEST(GraphColumns, AnAmbiguousPrefixNamesTheCandidates) {
    const ColumnMatch match = findColumn(outputColumns(), "pCO2 (");
    EXPECT_FALSE(match.index);
    EXPECT_EQ(match.message, "\"pCO2 (\" matches several columns: \"pCO2 (in)\", \"pCO2 (out)\".");
}

TEST(GraphColumns, AnUnknownNameListsEveryColumn) {
    const ColumnMatch match = findColumn(batchInputColumns(), "Oxygen");
    EXPECT_FALSE(match.index);
    EXPECT_EQ(match.message,
              "\"Oxygen\" matches no column. Available: \"Salinity\", \"Temperature\", \"Pressure\", "
              "\"Total P\", \"Total Si\", \"Temperature (out)\", \"Pressure (out)\", \"TA\", \"TCO2\", "
              "\"pH (in)\", \"fCO2 (in)\", \"pCO2 (in)\", \"pCO2 air\", \"Wind speed\".");
    EXPECT_FALSE(findColumn(batchInputColumns(), "").index);
}

TEST(GraphColumns, TheStoredDefaultsNameColumnsOfBothKinds) {
    for (const FileKind kind : {FileKind::Output, FileKind::BatchInput}) {
        EXPECT_EQ(columnNamed(columnsOf(kind), "Salinity"), 0u);
        EXPECT_EQ(columnNamed(columnsOf(kind), "Temperature"), 1u);
    }
    EXPECT_FALSE(columnNamed(outputColumns(), "salinity"));
}

}  // namespace

// The column lists as they were written out by hand before they came from the
// quantity table: names, titles, units, fields and orientation must not move.
namespace expected {
constexpr std::string_view kMicromolPerKg = "µmol/kg";
constexpr std::string_view kMicroatm = "µatm";
constexpr std::string_view kDegreesCelsius = "°C";
constexpr std::string_view kDecibar = "dbar";
// Air-sea CO2 flux, positive from sea to air.
constexpr std::string_view kFluxUnit = "mmol/m²/d";

// Columns 7 to 47 of the output record (fields 6 to 46).
constexpr std::array<GraphColumn, 41> kExpectedOutputColumns = {{
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
constexpr std::array<GraphColumn, 14> kExpectedBatchInputColumns = {{
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

}  // namespace expected

void expectSameColumns(std::span<const GraphColumn> actual, std::span<const GraphColumn> wanted) {
    ASSERT_EQ(actual.size(), wanted.size());
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        EXPECT_EQ(actual[i].name, wanted[i].name) << i;
        EXPECT_EQ(actual[i].title, wanted[i].title) << i;
        EXPECT_EQ(actual[i].unit, wanted[i].unit) << i;
        EXPECT_EQ(actual[i].field, wanted[i].field) << i;
        EXPECT_EQ(actual[i].depthLike, wanted[i].depthLike) << i;
    }
}

TEST(GraphColumnsFromQuantityTable, OutputColumnsAreTheRecordsNumberColumns) {
    expectSameColumns(outputColumns(), expected::kExpectedOutputColumns);
}

TEST(GraphColumnsFromQuantityTable, BatchInputColumnsAreTheSampleInputs) {
    expectSameColumns(batchInputColumns(), expected::kExpectedBatchInputColumns);
}

}  // namespace brinora::graph
