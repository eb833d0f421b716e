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

// ---------------------------------------------------------------- air-sea flux inputs

// kSurfaceSample without --pco2-air 400 and --wind 8.
std::vector<std::string> withoutFluxInputs() {
    std::vector<std::string> args = kSurfaceSample;
    EXPECT_EQ(args[17], "--pco2-air");
    EXPECT_EQ(args[19], "--wind");
    args.erase(args.begin() + 17, args.begin() + 21);
    return args;
}

TEST(CalcCommand, WindWithoutAirPCO2IsRefusedAsTheFormRefusesIt) {
    const test::CommandResult result = runBrinora(with(withoutFluxInputs(), {"--wind", "10"}));
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "brinora calc: pCO2air is required to calculate Air-Sea flux\n"
              "hint: the air-sea flux needs the pCO2 of the air as well as the wind speed: give --pco2-air [uatm], "
              "or leave out --wind\n");
}

TEST(CalcCommand, AirPCO2WithoutWindIsRefusedAsTheFormRefusesIt) {
    const test::CommandResult result = runBrinora(with(withoutFluxInputs(), {"--pco2-air", "400", "--board"}));
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "brinora calc: Windspeed is required to calculate Air-Sea flux\n"
              "hint: the air-sea flux needs the wind speed as well as the pCO2 of the air: give --wind [m/s], "
              "or leave out --pco2-air\n");
}

TEST(CalcCommand, NeitherFluxInputGivesAFluxOfZero) {
    // With no wind the gas-transfer velocity of every formula is 0, and so is the flux.
    const test::CommandResult result = runBrinora(withoutFluxInputs());
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    const std::vector<std::string> lines = splitLines(result.out);
    ASSERT_EQ(lines.size(), 24u);
    EXPECT_EQ(lines[22], "Air-sea CO2 flux                      0.000              0.000  mmol/m2/d");
}

TEST(CalcCommand, ZeroWindWithAirPCO2IsComplete) {
    const test::CommandResult result = runBrinora(with(withoutFluxInputs(), {"--pco2-air", "400", "--wind", "0"}));
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(splitLines(result.out).size(), 24u);
}

// ---------------------------------------------------------------- option flags

TEST(CalcCommand, OptionsByTitleGiveTheSameResultsAsByNumber) {
    std::vector<std::string> byTitle = kSurfaceSample;
    ASSERT_EQ(byTitle[21], "--constants");
    byTitle[22] = "lueker";
    byTitle[24] = "DICKSON (1990)";
    byTitle[26] = "tot";
    byTitle[28] = "Wanninkhof";
    const test::CommandResult numbers = runBrinora(with(kSurfaceSample, {"--board"}));
    const test::CommandResult titles = runBrinora(with(byTitle, {"--board"}));
    ASSERT_EQ(titles.status, 0) << titles.err;
    EXPECT_EQ(titles.out, numbers.out);
    EXPECT_EQ(splitLines(titles.out)[1], "1 12");
}

TEST(CalcCommand, AmbiguousTitleIsAUsageError) {
    std::vector<std::string> args = kSurfaceSample;
    args[28] = "n";  // --flux: Nightingale is the only one
    EXPECT_EQ(runBrinora(args).status, 0);
    args[22] = "GOYET AND";
    EXPECT_EQ(runBrinora(args).status, 0);
    args[22] = "hansson";
    const test::CommandResult result = runBrinora(args);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err,
              "brinora calc: --constants: \"hansson\" fits more than one item: 3 \"Hansson (1973) refit by Dickson "
              "and Millero (1987)\", 5 \"Hansson and Mehrbach refit by Dickson and Millero (1987)\"; give more of "
              "the title or the number\nRun brinora calc --help for more information.\n");
}

TEST(CalcCommand, NumbersBeyondTheFloatRangeAreComputedWithABriefWarning) {
    // The board keeps floats: beyond 3.4e38 a number becomes infinite, as in a
    // batch line, and the sample is computed with that.
    const std::string digits = "1" + std::string(300, '0');
    std::vector<std::string> args = kSurfaceSample;
    ASSERT_EQ(args[15], "--tco2");
    args[16] = "-" + digits;
    test::CommandResult result = runBrinora(args);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "brinora calc: warning: --tco2 \"-1000000000000000000000000000000...\" (302 characters) is beyond the "
              "float range (3.4e38) and is computed as minus infinity\n"
              "brinora calc: refused: TCO2 is negative (-inf)\n");

    args[16] = "1e999";
    result = runBrinora(with(args, {"--board"}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "brinora calc: warning: --tco2 \"1e999\" is beyond the float range (3.4e38) and is "
                          "computed as infinity\n");
    EXPECT_EQ(splitLines(result.out)[slot::kTCO2], std::to_string(slot::kTCO2) + " inf");

    // 3.4e38 is a float; 3.5e38 is not.
    args[16] = "3.4e38";
    EXPECT_EQ(runBrinora(args).err, "");
    args[16] = "3.5e38";
    EXPECT_NE(runBrinora(args).err.find("--tco2 \"3.5e38\" is beyond the float range"), std::string::npos);
}

TEST(CalcCommand, HugeMenuNumbersAreReportedBriefly) {
    const std::string digits = "1" + std::string(300, '0');
    test::CommandResult result;
    std::vector<std::string> args;
    args = kSurfaceSample;
    args[22] = digits;  // --constants
    result = runBrinora(args);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err,
              "brinora calc: --constants: there is no item \"10000000000000000000000000000000...\" (301 characters); "
              "the items are 1..14\nRun brinora calc --help for more information.\n");
}

TEST(CalcCommand, UnknownOptionSuggestsTheNearest) {
    test::CommandResult result = runBrinora(with(kSurfaceSample, {"--out-presure", "10"}));
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "brinora calc: unknown option --out-presure; did you mean --out-pressure?\n"
                          "Run brinora calc --help for more information.\n");
    EXPECT_EQ(result.out, "");

    // Named before the missing options it may explain.
    result = runBrinora({"calc", "--salinty", "35"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "brinora calc: unknown option --salinty; did you mean --salinity?\n"
                          "Run brinora calc --help for more information.\n");

    // A beginning that fits one option alone.
    result = runBrinora(with(kSurfaceSample, {"--boa"}));
    EXPECT_EQ(result.err, "brinora calc: unknown option --boa; did you mean --board?\n"
                          "Run brinora calc --help for more information.\n");

    // Nothing near: no suggestion.
    result = runBrinora(with(kSurfaceSample, {"--colour", "red"}));
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "brinora calc: unknown option --colour\nRun brinora calc --help for more information.\n");
}

TEST(CalcCommand, HelpListsTheTitlesWithTheirNumbers) {
    const test::CommandResult help = runBrinora({"calc", "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("\n  --constants\n     1  Roy et al. (1993) total scale\n"), std::string::npos)
        << help.out;
    EXPECT_NE(help.out.find("\n    13  Lueker et al. (2000) total scale\n    14  Millero (2010)\n  --khso4\n"),
              std::string::npos);
    EXPECT_NE(help.out.find("\n  --flux\n     1  Wanninkhof (1992)\n     2  Nightingale et al. (2000)\n"
                            "     3  Ho et al. (2006)\n"),
              std::string::npos);
    EXPECT_NE(help.out.find("The air-sea flux needs both --wind and --pco2-air; with neither, it is 0.\n"),
              std::string::npos);
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
