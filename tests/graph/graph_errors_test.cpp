// Error bars of a plotted output file from the uncertainty file beside it.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include "graph/graph_errors.h"
#include "uncertainty_io/uncertainty_csv.h"

namespace brinora::graph {
namespace {

std::size_t columnNamed(const GraphTable& table, std::string_view name) {
    const auto columns = table.columns();
    for (std::size_t c = 0; c < columns.size(); ++c) {
        if (columns[c].name == name) return c;
    }
    return columns.size();
}

// An uncertainty file of `rows` rows whose u of quantity q in row k is (k + 1) * (q + 1) / 1000.
std::string writeUncertaintyFile(std::size_t rows) {
    const std::string path = testing::TempDir() + "graph_errors_" + std::to_string(rows) + ".csv";
    std::string text = uncertainty::UncertaintyHeader(uncertainty::UncertaintyColumns{});
    for (std::size_t k = 0; k < rows; ++k) {
        text += std::to_string(k + 1) + ",name";
        for (std::size_t q = 0; q < uncertainty::kQuantityCount; ++q) {
            char number[32];
            std::snprintf(number, sizeof number, ",%.6g", double((k + 1) * (q + 1)) / 1000.0);
            text += number;
        }
        text += "\n";
    }
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

TEST(GraphErrors, OutputColumnsNameTheirUncertaintyColumn) {
    const auto columns = outputColumns();
    const auto named = [&](std::string_view name) {
        for (const GraphColumn& c : columns) {
            if (c.name == name) return uncertaintyColumnOf(c);
        }
        return std::string("<no column>");
    };
    EXPECT_EQ(named("pH (in)"), "u_ph");
    EXPECT_EQ(named("TA"), "u_ta");
    EXPECT_EQ(named("Salinity"), "");
}

TEST(GraphErrors, EachRecordGetsTheRowOfItsPlace) {
    const GraphTableLoad load = readGraphTable(std::string(BRINORA_CLI_TEST_DATA) + "/cruise_Brinora.csv");
    ASSERT_TRUE(load.ok) << load.message;
    ASSERT_EQ(load.table.rows(), 24u);
    const ErrorBarsLoad bars = readErrorBars(writeUncertaintyFile(24), load.table);
    ASSERT_TRUE(bars.ok) << bars.message;
    const std::size_t pH = columnNamed(load.table, "pH (in)");
    ASSERT_EQ(bars.byColumn[pH].size(), 24u);
    // pH is quantity 0: (k + 1) / 1000.
    EXPECT_FLOAT_EQ(bars.byColumn[pH][0], 0.001f);
    EXPECT_FLOAT_EQ(bars.byColumn[pH][23], 0.024f);
    // pCO2 is quantity 3.
    EXPECT_FLOAT_EQ(bars.byColumn[columnNamed(load.table, "pCO2 (in)")][1], 0.008f);
    EXPECT_TRUE(bars.byColumn[columnNamed(load.table, "Salinity")].empty());
}

TEST(GraphErrors, RowsThatDoNotMatchTheRecordsGiveNoBars) {
    const GraphTableLoad load = readGraphTable(std::string(BRINORA_CLI_TEST_DATA) + "/cruise_Brinora.csv");
    ASSERT_TRUE(load.ok) << load.message;
    const std::string path = writeUncertaintyFile(23);
    const ErrorBarsLoad bars = readErrorBars(path, load.table);
    EXPECT_FALSE(bars.ok);
    EXPECT_EQ(bars.message, "The uncertainty file " + path + " has 23 rows, the output file 24 records: no error bars.");
    EXPECT_TRUE(bars.byColumn.empty());
}

}  // namespace
}  // namespace brinora::graph
