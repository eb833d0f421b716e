// The quantity table: one row per board slot, every name unique where fronts
// look names up, and the help book's table of output columns in step with it.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "engine/quantities.h"
#include "engine/slots.h"

namespace brinora {
namespace {

TEST(Quantities, OneRowPerSlotAndEveryResultSlotOfTheDriver) {
    std::set<std::uint32_t> slots;
    for (const Quantity& q : quantities()) EXPECT_TRUE(slots.insert(q.slot).second) << q.slot;
    // Inputs 11..24, results 30..50 and 52..67 (51 carries no quantity), 69..72.
    std::set<std::uint32_t> expected;
    for (std::uint32_t s = 11; s <= 24; ++s) expected.insert(s);
    for (std::uint32_t s = 30; s <= 67; ++s) {
        if (s != slot::kUnassigned) expected.insert(s);
    }
    for (std::uint32_t s = 69; s <= 72; ++s) expected.insert(s);
    EXPECT_EQ(slots, expected);
}

TEST(Quantities, FourteenInputsInBoardOrderWithTheirFlags) {
    std::vector<std::string_view> flags;
    std::uint32_t next = slot::kSalinity;
    for (const Quantity& q : quantities()) {
        if (!q.input) continue;
        EXPECT_EQ(q.slot, next++);
        flags.push_back(q.flag);
    }
    EXPECT_EQ(flags, (std::vector<std::string_view>{
                         "--salinity", "--temperature", "--pressure", "--phosphate", "--silicate",
                         "--out-temperature", "--out-pressure", "--ta", "--tco2", "--ph", "--fco2", "--pco2",
                         "--pco2-air", "--wind"}));
    EXPECT_EQ(static_cast<int>(flags.size()), kSampleInputCount);
}

TEST(Quantities, ResultNamesAreUniqueAndFoundByName) {
    std::set<std::string_view> names;
    int count = 0;
    for (const Quantity& q : quantities()) {
        if (q.resultName.empty()) continue;
        ++count;
        EXPECT_TRUE(names.insert(q.resultName).second) << q.resultName;
        EXPECT_EQ(resultNamed(q.resultName), &q);
        EXPECT_FALSE(q.cfUnits.empty()) << q.resultName;
        EXPECT_FALSE(q.longName.empty()) << q.resultName;
    }
    EXPECT_EQ(count, 43);
    EXPECT_EQ(resultNamed("ph")->slot, slot::kpHIn);
    EXPECT_EQ(resultNamed("omega_aragonite_out")->slot, slot::kOmegaArOut);
    EXPECT_EQ(resultNamed("co2_flux")->slot, slot::kCO2FluxIn);
    EXPECT_EQ(inputNamed("pco2_air")->slot, slot::kpCO2Air);
    EXPECT_EQ(resultNamed(""), nullptr);
    EXPECT_EQ(resultNamed("ph_total"), nullptr);
}

TEST(Quantities, ResultsAtInputConditionsHaveTheirTwinAtOutputConditions) {
    for (const Quantity& q : quantities()) {
        if (q.input || q.conditions != Conditions::kInput) continue;
        const Quantity* twin = quantityAtSlot(q.outputTwin);
        ASSERT_NE(twin, nullptr) << q.resultName;
        EXPECT_EQ(twin->conditions, Conditions::kOutput) << q.resultName;
        EXPECT_EQ(twin->resultName, std::string(q.resultName) + "_out");
    }
}

TEST(Quantities, RecordColumnsAreSevenToFortySevenOnce) {
    std::set<int> columns;
    for (const Quantity& q : quantities()) {
        if (q.recordColumn == 0) continue;
        EXPECT_TRUE(columns.insert(q.recordColumn).second) << q.recordColumn;
        EXPECT_FALSE(q.header.empty()) << q.recordColumn;
        EXPECT_FALSE(q.graphKey.empty()) << q.recordColumn;
    }
    EXPECT_EQ(static_cast<int>(columns.size()), kRecordNumberColumns);
    EXPECT_EQ(*columns.begin(), kFirstRecordNumberColumn);
    EXPECT_EQ(*columns.rbegin(), kFirstRecordNumberColumn + kRecordNumberColumns - 1);
    EXPECT_EQ(quantityAtSlot(slot::kTemperatureOut)->fallbackSlot, slot::kTemperature);
    EXPECT_EQ(quantityAtSlot(slot::kCO2FluxOut)->recordFormat, RecordFormat::kSurfaceOnly);
}

// The help book lists each numeric column of the output record with its
// number, its header name and its unit.
TEST(Quantities, HelpBookListsEveryRecordColumn) {
    std::ifstream file(BRINORA_HELP_DIR "/output-file.html");
    ASSERT_TRUE(file) << BRINORA_HELP_DIR "/output-file.html";
    std::stringstream text;
    text << file.rdbuf();
    const std::string page = text.str();
    for (const Quantity& q : quantities()) {
        if (q.recordColumn == 0) continue;
        const std::string row = "<tr><td>" + std::to_string(q.recordColumn) + "</td><td><code>" +
                                std::string(q.header) + "</code></td><td>";
        const std::size_t at = page.find(row);
        ASSERT_NE(at, std::string::npos) << row;
        const std::string content = page.substr(at + row.size(), page.find("</td>", at + row.size()) - at - row.size());
        if (!q.displayUnit.empty()) {
            EXPECT_NE(content.find(q.displayUnit), std::string::npos) << content;
        }
    }
}

}  // namespace
}  // namespace brinora
