#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <filesystem>
#include <fstream>

#include "input/lenient_number.h"
#include "records/output_record.h"
#include "graph/graph_plot.h"
#include "graph/graph_table.h"

namespace brinora::graph {
namespace {

namespace fs = std::filesystem;

class GraphTableTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() /
               ("brinora_graph_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "_" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(dir_);
    }
    void TearDown() override { fs::remove_all(dir_); }

    std::string write(const std::string& name, const std::string& content) {
        const fs::path path = dir_ / name;
        std::ofstream(path, std::ios::binary) << content;
        return path.string();
    }

    // An output record with every numeric column `value`, except `overrides` (field -> text).
    static std::string record(const std::string& id, const std::string& name, const std::string& value,
                              const std::map<int, std::string>& overrides = {}) {
        std::string line = id + "," + name + ",06:40,04/12/2023,31.67,-64.17";
        for (int field = 6; field <= 46; ++field) {
            const auto found = overrides.find(field);
            line += "," + (found != overrides.end() ? found->second : value);
        }
        return line + ",Lueker et al. (2000) total scale,Dickson (1990),Total scale,Wanninkhof (1992),m/s,a, comment\n";
    }

    fs::path dir_;
};

TEST_F(GraphTableTest, ReadsTheExampleOutputFile) {
    const GraphTableLoad load = readGraphTable(BRINORA_CLI_TEST_DATA "/cruise_Brinora.csv");
    ASSERT_TRUE(load.ok) << load.message;
    const GraphTable& table = load.table;
    EXPECT_EQ(table.kind, FileKind::Output);
    ASSERT_EQ(table.rows(), 24u);
    EXPECT_EQ(table.values[0][0], 36.62f);
    EXPECT_EQ(table.values[7][0], 8.084f);   // pH (in)
    EXPECT_EQ(table.values[39][0], -4.667f);  // CO2 flux (in)
    EXPECT_EQ(table.nameOf(0), "BATS surface");
    EXPECT_EQ(table.lines[0], 2);
    EXPECT_EQ(table.lines[23], 25);
    EXPECT_EQ(table.headerNames.size(), 53u);
}

TEST_F(GraphTableTest, ReadsABatchInputFileWithEmptyFieldsAsMissing) {
    const GraphTableLoad load = readGraphTable(BRINORA_EXAMPLES_DIR "/cruise.csv");
    ASSERT_TRUE(load.ok) << load.message;
    const GraphTable& table = load.table;
    EXPECT_EQ(table.kind, FileKind::BatchInput);
    EXPECT_EQ(table.rows(), 24u);
    EXPECT_EQ(table.values[7][1], 2392.0f);      // TA of line 3
    EXPECT_TRUE(isMissing(table.values[8][1]));  // its TCO2 field is empty
    EXPECT_EQ(table.values[9][1], 8.061f);       // pH (in)
    EXPECT_EQ(table.headerNames[6], "Salinity");
}

TEST_F(GraphTableTest, FieldValuesKnowTheFormattersSpellings) {
    EXPECT_TRUE(isMissing(fieldValue("")));
    EXPECT_TRUE(isMissing(fieldValue("  ")));
    EXPECT_TRUE(std::isnan(fieldValue("nan")) && !isMissing(fieldValue("nan")));
    EXPECT_TRUE(std::isnan(fieldValue("-nan")));
    EXPECT_EQ(fieldValue("inf"), INFINITY);
    EXPECT_EQ(fieldValue("-inf"), -INFINITY);
    EXPECT_EQ(fieldValue(" 35.000"), 35.0f);
    EXPECT_EQ(fieldValue("x1"), 0.0f);
    EXPECT_EQ(fieldValue("12.5 N"), 12.5f);
}

// The bits of a field's value as the lenient reader of the form gives them.
std::uint32_t lenientBits(const std::string& text) { return std::bit_cast<std::uint32_t>(lenientFloat(text)); }

TEST_F(GraphTableTest, FieldValuesAreTheLenientReadersToTheBit) {
    // Fields that are decimal numbers: the fast reading and the lenient one
    // agree in every bit, the sign of zero included.
    for (const char* text : {"0", "-0", "-0.000", "+0.000", "7", "+7", "35.000", "-64.170", "5.", ".5", "-.5",
                             "2381.500", "0.100", "0.3", "123456789012345", "1234567890.12345",
                             "0.000000000000001", "999999999999999", "1234567890123456", "12345678901234567890",
                             "340282356779733661637539395458142568448.000", "1e5", "1.5e-3", "3.2x", " 12.125",
                             "\t-8.0625", "1.2.3", "--1", "+-1", "."}) {
        EXPECT_EQ(std::bit_cast<std::uint32_t>(fieldValue(text)), lenientBits(text)) << text;
    }
    EXPECT_EQ(std::bit_cast<std::uint32_t>(fieldValue("-0.000")), 0x8000'0000u);
    EXPECT_EQ(fieldValue("0.1"), 0.1f);
    EXPECT_EQ(fieldValue("2381.500"), 2381.5f);

    // Numbers as the formatter writes them, and digit strings of every length
    // with the point anywhere, over many magnitudes (a fixed sequence).
    std::mt19937_64 random(20240314);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    char buffer[64];
    for (int i = 0; i < 200000; ++i) {
        const double value = std::pow(10.0, unit(random) * 16.0 - 5.0) * (unit(random) < 0.5 ? -1.0 : 1.0);
        std::snprintf(buffer, sizeof buffer, "%.3f", value);
        ASSERT_EQ(std::bit_cast<std::uint32_t>(fieldValue(buffer)), lenientBits(buffer)) << buffer;
        const std::uint64_t length = 1 + random() % 18;
        const std::uint64_t point = random() % (length + 2);  // past the end: no point
        std::string digits = random() % 2 == 0 ? "-" : "";
        for (std::uint64_t d = 0; d <= length; ++d) {
            if (d == point) digits += '.';
            if (d < length) digits += static_cast<char>('0' + random() % 10);
        }
        ASSERT_EQ(std::bit_cast<std::uint32_t>(fieldValue(digits)), lenientBits(digits)) << digits;
    }
}

TEST_F(GraphTableTest, NotFiniteValuesAreLeftOutAndCounted) {
    const std::string path = write(
        "out.csv", std::string(dataFileHeaders()) + record("1", "A", "1.000", {{13, "nan"}}) +
                       record("2", "B", "2.000", {{13, "-inf"}, {45, ""}}) +
                       record("3", "A", "3.000", {{45, ""}}) + record("4", "C", "4.000"));
    const GraphTableLoad load = readGraphTable(path);
    ASSERT_TRUE(load.ok) << load.message;
    EXPECT_EQ(load.table.names, (std::vector<std::string>{"A", "B", "C"}));

    const GraphSeries pH = makeSeries(load.table, 0, 7);
    EXPECT_EQ(pH.x, (std::vector<float>{3.0f, 4.0f}));
    EXPECT_EQ(pH.row, (std::vector<std::uint32_t>{2, 3}));
    EXPECT_EQ(pH.notANumber, 1u);
    EXPECT_EQ(pH.infinite, 1u);
    EXPECT_EQ(leftOutNote(pH), "2 of 4 samples not shown: 1 not a number, 1 infinite.");

    // Row 2 has no flux and an infinite pH: it counts once, as missing.
    const GraphSeries flux = makeSeries(load.table, 7, 39);
    EXPECT_EQ(flux.missing, 2u);
    EXPECT_EQ(flux.notANumber, 1u);
    EXPECT_EQ(leftOutNote(flux), "3 of 4 samples not shown: 2 with no value, 1 not a number.");

    EXPECT_EQ(leftOutNote(makeSeries(load.table, 0, 1)), "");
}

TEST_F(GraphTableTest, AColumnThatIsAllNotANumberDrawsNothing) {
    const std::string path = write("nan.csv", std::string(dataFileHeaders()) +
                                                  record("1", "A", "1.000", {{24, "nan"}}) +
                                                  record("2", "A", "2.000", {{24, "-nan"}}));
    const GraphTableLoad load = readGraphTable(path);
    ASSERT_TRUE(load.ok) << load.message;
    const GraphSeries series = makeSeries(load.table, 0, 18);
    EXPECT_TRUE(series.x.empty());
    EXPECT_EQ(leftOutNote(series), "2 of 2 samples not shown: 2 not a number.");
    const GraphView view = fullView(series, false);
    // Nothing to show: the unit interval with its margin.
    EXPECT_DOUBLE_EQ(view.x.min, -0.05);
    EXPECT_DOUBLE_EQ(view.x.max, 1.05);
}

TEST_F(GraphTableTest, ColourByNameAndByColumn) {
    const std::string path =
        write("c.csv", std::string(dataFileHeaders()) + record("1", "A", "1.000") + record("2", "B", "2.000") +
                           record("3", "A", "5.000", {{24, "nan"}}));
    const GraphTableLoad load = readGraphTable(path);
    ASSERT_TRUE(load.ok) << load.message;
    const GraphSeries byName = makeSeries(load.table, 0, 1, {ColourMode::SampleName, 0});
    EXPECT_EQ(byName.colour, (std::vector<float>{0.0f, 1.0f, 0.0f}));
    const GraphSeries byColumn = makeSeries(load.table, 0, 1, {ColourMode::Column, 18});
    ASSERT_EQ(byColumn.colour.size(), 3u);
    EXPECT_TRUE(std::isnan(byColumn.colour[2]));
    EXPECT_EQ(byColumn.colourRange.min, 1.0);
    EXPECT_EQ(byColumn.colourRange.max, 2.0);
}

TEST_F(GraphTableTest, ManyNamesKeepTheirOrderOfAppearance) {
    // 1000 stations of two bottles each, then every station once more in
    // reverse order: 1000 names, numbered as they first appear.
    std::string text(dataFileHeaders());
    int id = 0;
    for (int station = 0; station < 1000; ++station) {
        for (int bottle = 0; bottle < 2; ++bottle) {
            text += record(std::to_string(++id), "St" + std::to_string(station), "1.000");
        }
    }
    for (int station = 999; station >= 0; --station) {
        text += record(std::to_string(++id), "St" + std::to_string(station), "1.000");
    }
    const GraphTableLoad load = readGraphTable(write("stations.csv", text));
    ASSERT_TRUE(load.ok) << load.message;
    ASSERT_EQ(load.table.rows(), 3000u);
    ASSERT_EQ(load.table.names.size(), 1000u);
    EXPECT_EQ(load.table.names[0], "St0");
    EXPECT_EQ(load.table.names[999], "St999");
    EXPECT_EQ(load.table.nameIndex[0], 0u);
    EXPECT_EQ(load.table.nameIndex[1], 0u);
    EXPECT_EQ(load.table.nameIndex[1999], 999u);
    EXPECT_EQ(load.table.nameIndex[2000], 999u);
    EXPECT_EQ(load.table.nameIndex[2999], 0u);
    EXPECT_EQ(load.table.nameOf(2500), "St499");
    EXPECT_EQ(load.table.lines[2999], 3001);
}

TEST_F(GraphTableTest, AFormRecordWithANameIsReadOneFieldToTheLeft) {
    // The form drops the name column when a name is typed: 52 columns.
    std::string shifted = "0,00:04:12,3/15/2024,26.5,-80.1";
    for (int field = 6; field <= 46; ++field) shifted += "," + std::to_string(field) + ".000";
    shifted += ",a,b,c,d,m/s,\n";
    const std::string path = write("form.csv", std::string(dataFileHeaders()) + shifted +
                                                   record("1", "-", "9.000"));
    const GraphTableLoad load = readGraphTable(path);
    ASSERT_TRUE(load.ok) << load.message;
    EXPECT_EQ(load.table.values[0][0], 6.0f);
    EXPECT_EQ(load.table.values[40][0], 46.0f);
    EXPECT_EQ(load.table.nameOf(0), "");
    EXPECT_EQ(load.table.values[0][1], 9.0f);
    EXPECT_EQ(load.table.nameOf(1), "-");
}

TEST_F(GraphTableTest, BadFilesAreRefusedWithAMessage) {
    const std::string empty = write("empty.csv", "");
    EXPECT_EQ(readGraphTable(empty).message, empty + ": the file is empty.");
    const std::string blank = write("blank.csv", "\n");
    EXPECT_EQ(readGraphTable(blank).message, blank + ": the file is empty.");

    const std::string headerOnly = write("header.csv", std::string(dataFileHeaders()));
    EXPECT_EQ(readGraphTable(headerOnly).message, headerOnly + ": the file has a header line but no samples.");

    const std::string other = write("other.csv", "station,depth,oxygen\n1,10,250\n");
    const GraphTableLoad load = readGraphTable(other);
    EXPECT_FALSE(load.ok);
    EXPECT_EQ(load.message, other +
                                ": not a Brinora output file or batch input file (the first line is "
                                "neither the output file header nor a header of 21 names).");

    const std::string missing = (dir_ / "none.csv").string();
    const GraphTableLoad absent = readGraphTable(missing);
    EXPECT_FALSE(absent.ok);
    EXPECT_NE(absent.message.find(missing), std::string::npos) << absent.message;
}

}  // namespace
}  // namespace brinora::graph
