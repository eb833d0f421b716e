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
}  // namespace brinora::graph
