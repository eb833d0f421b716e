#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "engine/compute_co2.h"
#include "engine/slots.h"
#include "run_command.h"

namespace brinora {
namespace {

using test::runBrinora;
using test::splitLines;

const std::vector<std::string> kSurfaceSample = {
    "calc",        "--salinity",      "35",   "--temperature", "25",   "--phosphate",
    "1",           "--silicate",      "10",   "--out-temperature", "2", "--out-pressure",
    "4000",        "--ta",            "2300", "--tco2",        "2000", "--pco2-air",
    "400",         "--wind",          "8",    "--constants",   "13",   "--khso4",
    "1",           "--ph-scale",      "1",    "--flux",        "1"};

std::vector<std::string> with(std::vector<std::string> args, const std::vector<std::string>& more) {
    args.insert(args.end(), more.begin(), more.end());
    return args;
}

TEST(CalcCommand, BoardPrintsOneHundredSlotsThatRoundTrip) {
    const test::CommandResult result = runBrinora(with(kSurfaceSample, {"--board"}));
    ASSERT_EQ(result.status, 0) << result.err;
    const std::vector<std::string> lines = splitLines(result.out);
    ASSERT_EQ(lines.size(), 100u);

    // The same sample computed in this process.
    Board board;
    board.set(slot::kConstantsSet, 12);
    board.set(slot::kKHSO4, 0);
    board.set(slot::kpHScale, 0);
    board.set(slot::kAirSeaFlux, 0);
    board.set(slot::kSalinity, 35);
    board.set(slot::kTemperature, 25);
    board.set(slot::kPhosphate, 1);
    board.set(slot::kSilicate, 10);
    board.set(slot::kTemperatureOut, 2);
    board.set(slot::kPressureOut, 4000);
    board.set(slot::kTA, 2300);
    board.set(slot::kTCO2, 2000);
    board.set(slot::kpCO2Air, 400);
    board.set(slot::kWindSpeed, 8);
    ProcessValues values;
    ASSERT_TRUE(BrinoraMain::ComputeCO2(board, values).computed());

    for (std::uint32_t pos = 0; pos < 100; ++pos) {
        const std::string& line = lines[pos];
        const std::string prefix = std::to_string(pos) + " ";
        ASSERT_EQ(line.rfind(prefix, 0), 0u) << line;
        const float printed = std::strtof(line.c_str() + prefix.size(), nullptr);
        EXPECT_EQ(printed, board.get(pos)) << line;
    }
    EXPECT_EQ(lines[1], "1 12");
    EXPECT_EQ(lines[11], "11 35");
    EXPECT_EQ(lines[17], "17 4000");
    EXPECT_EQ(lines[99], "99 0");
}

TEST(CalcCommand, TableShowsInputAndOutputConditionsToThreeDecimals) {
    const test::CommandResult result = runBrinora(kSurfaceSample);
    ASSERT_EQ(result.status, 0) << result.err;
    const std::vector<std::string> lines = splitLines(result.out);
    ASSERT_EQ(lines.size(), 24u);
    EXPECT_EQ(lines[0],
              "                           Input conditions  Output conditions  Unit");
    EXPECT_EQ(lines[2],
              "Temperature                          25.000              2.000  deg C");
    EXPECT_EQ(lines[3],
              "Pressure                              0.000           4000.000  dbar");
    EXPECT_EQ(lines[6],
              "TA                                 2300.000           2300.000  umol/kg");
    EXPECT_EQ(lines[8],
              "pH                                    8.043              8.252  ");
}

TEST(CalcCommand, MalformedNumberIsAUsageError) {
    const test::CommandResult result =
        runBrinora({"calc", "--salinity", "3x5", "--temperature", "25", "--constants", "1",
                    "--khso4", "1", "--ph-scale", "1", "--flux", "1"});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("--salinity"), std::string::npos) << result.err;
    EXPECT_EQ(result.err, "brinora calc: --salinity: \"3x5\" is not a number\n"
                          "Run brinora calc --help for more information.\n");
    EXPECT_EQ(result.out, "");
}

TEST(CalcCommand, MissingRequiredOptionIsAUsageError) {
    const test::CommandResult result =
        runBrinora({"calc", "--salinity", "35", "--temperature", "25", "--khso4", "1",
                    "--ph-scale", "1", "--flux", "1"});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("--constants is required"), std::string::npos) << result.err;
}

TEST(CalcCommand, MenuItemOutOfRangeIsAUsageError) {
    std::vector<std::string> args = kSurfaceSample;
    args[24] = std::string("3");  // --khso4 3
    ASSERT_EQ(args[23], "--khso4");
    const test::CommandResult result = runBrinora(args);
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("--khso4"), std::string::npos) << result.err;
}

TEST(CalcCommand, UnknownFlagIsAUsageError) {
    const test::CommandResult result = runBrinora(with(kSurfaceSample, {"--salt", "35"}));
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("--salt"), std::string::npos) << result.err;
}

TEST(CalcCommand, MissingSalinityIsRefused) {
    std::vector<std::string> args = kSurfaceSample;
    ASSERT_EQ(args[1], "--salinity");
    args[2] = std::string("-999");
    const test::CommandResult result = runBrinora(args);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "brinora calc: refused: the salinity is missing (-9 and -999 mark a missing "
              "value)\n");
    EXPECT_EQ(result.out, "");
}

TEST(CalcCommand, MissingTemperatureIsRefused) {
    std::vector<std::string> args = kSurfaceSample;
    ASSERT_EQ(args[3], "--temperature");
    args[4] = std::string("-9");
    const test::CommandResult result = runBrinora(args);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "brinora calc: refused: the temperature is missing (-9 and -999 mark a missing "
              "value)\n");
}

TEST(CalcCommand, NegativeChosenParameterIsRefused) {
    std::vector<std::string> args = kSurfaceSample;
    ASSERT_EQ(args[15], "--tco2");
    args[16] = std::string("-5");
    const test::CommandResult result = runBrinora(args);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "brinora calc: refused: TCO2 is negative (-5)\n");
}

TEST(CalcCommand, VersionAndHelp) {
    const test::CommandResult version = runBrinora({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out, "brinora 0.1.0\n");
    const test::CommandResult help = runBrinora({"calc", "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("--out-temperature"), std::string::npos);
    EXPECT_NE(help.out.find("--board"), std::string::npos);
}

}  // namespace
}  // namespace brinora
