// brinora calc with uncertainties: the published worked case of Orr et al.
// (2018)'s propagation as an independent package computes it (u(pH) 0.01190,
// u(pCO2) 9.623 uatm, u(CO3) 3.278 umol/kg, u(Omega aragonite) 0.1581;
// dpH/dTA 1.5592e-3, dpH/dDIC -1.7154e-3, dpCO2/dT 12.42 uatm/deg C). The
// values beside the uncertainties are the record's.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "run_command.h"

namespace brinora {
namespace {

using test::runBrinora;
using test::splitLines;

// S 35, T 18 deg C, P 0, TA 2300, DIC 2000 umol/kg, no nutrients, Lueker et
// al. (2000) constants (set 13), KHSO4 of Dickson (1990), total scale.
const std::vector<std::string> kWorkedCase = {"calc",    "--salinity", "35",   "--temperature", "18",
                                              "--ta",    "2300",       "--tco2", "2000",        "--constants",
                                              "13",      "--khso4",    "1",    "--ph-scale",    "1",
                                              "--flux",  "1"};
const std::vector<std::string> kWorkedUncertainties = {"--u-ta", "2", "--u-tco2", "2", "--u-salinity", "0.01",
                                                       "--u-temperature", "0.01", "--u-constants", "standard"};

std::vector<std::string> with(std::vector<std::string> args, const std::vector<std::string>& more) {
    args.insert(args.end(), more.begin(), more.end());
    return args;
}

std::string lineStartingWith(const std::vector<std::string>& lines, const std::string& start) {
    for (const std::string& line : lines) {
        if (line.rfind(start, 0) == 0) return line;
    }
    return "";
}

TEST(CalcUncertainty, WorkedCaseShowsValueAndUncertainty) {
    const test::CommandResult result = runBrinora(with(kWorkedCase, kWorkedUncertainties));
    ASSERT_EQ(result.status, 0) << result.err;
    const std::vector<std::string> lines = splitLines(result.out);
    ASSERT_EQ(lines.size(), 24u);
    EXPECT_EQ(lines[0], "                           Input conditions        Output conditions        Unit");
    EXPECT_EQ(lines[1], "Salinity                       35.000 \u00b1 0.0100          35.000 \u00b1 0.0100     ");
    EXPECT_EQ(lines[6], "TA                           2300.000 \u00b1 2.00          2300.000 \u00b1 2.00       umol/kg");
    EXPECT_EQ(lines[8], "pH                              8.152 \u00b1 0.0119           8.152 \u00b1 0.0119     ");
    EXPECT_EQ(lines[10], "pCO2                          298.159 \u00b1 9.62           298.159 \u00b1 9.62       uatm");
    EXPECT_EQ(lines[12], "CO3                           210.563 \u00b1 3.28           210.563 \u00b1 3.28       umol/kg");
    EXPECT_EQ(lines[20], "Omega aragonite                 3.251 \u00b1 0.158            3.251 \u00b1 0.158      ");
    // Sigma-t has no uncertainty.
    EXPECT_EQ(lines[23], "Sigma-t                        25.291                   25.291              kg/m3");
}

// The worked example's output as the README and the help page show it (the
// lines without their trailing blanks).
TEST(CalcUncertainty, DocumentsShowTheWorkedExampleAsPrinted) {
    const test::CommandResult result = runBrinora(with(kWorkedCase, kWorkedUncertainties));
    ASSERT_EQ(result.status, 0) << result.err;
    std::string printed;
    for (std::string line : splitLines(result.out)) {
        while (!line.empty() && line.back() == ' ') line.pop_back();
        printed += (printed.empty() ? "" : "\n") + line;
    }
    for (const char* document : {"/README.md", "/help/uncertainty.html"}) {
        std::ifstream in(std::string(BRINORA_SOURCE_DIR) + document, std::ios::binary);
        std::ostringstream text;
        text << in.rdbuf();
        EXPECT_NE(text.str().find(printed), std::string::npos) << document;
    }
}

TEST(CalcUncertainty, WithoutUncertaintyOptionsTheTableIsTheRecordAlone) {
    const test::CommandResult result = runBrinora(kWorkedCase);
    ASSERT_EQ(result.status, 0) << result.err;
    const std::vector<std::string> lines = splitLines(result.out);
    ASSERT_EQ(lines.size(), 24u);
    EXPECT_EQ(lines[0], "                           Input conditions  Output conditions  Unit");
    EXPECT_EQ(lines[8], "pH                                    8.152              8.152  ");
    EXPECT_EQ(result.out.find("\u00b1"), std::string::npos);
}

TEST(CalcUncertainty, BudgetNamesEachSourceAndPK2Dominates) {
    const test::CommandResult result = runBrinora(with(with(kWorkedCase, kWorkedUncertainties), {"--budget"}));
    ASSERT_EQ(result.status, 0) << result.err;
    const std::vector<std::string> lines = splitLines(result.out);
    EXPECT_EQ(lineStartingWith(lines, "  pk2 "), "  pk2          0.0150 pK");
    EXPECT_EQ(lineStartingWith(lines, "  bt "), "  bt           0.0200 relative");
    // First block: ta tco2 salinity temperature pk0 pk1 pk2 pkb; second: pkw pkspa pkspc bt u.
    EXPECT_EQ(lineStartingWith(lines, "ph "),
              "ph                             0.00312     0.00343    0.000127    0.000154           0    0.000302"
              "      0.0102     0.00263");
    EXPECT_EQ(lineStartingWith(lines, "omega_aragonite "),
              "omega_aragonite                 0.0210      0.0199    0.000370    0.000171           0     0.00175"
              "      0.0317      0.0177");
    std::vector<std::string> second;
    for (const std::string& line : lines) {
        if (line.rfind("ph ", 0) == 0) second.push_back(line);
    }
    ASSERT_EQ(second.size(), 2u);
    EXPECT_EQ(second[1], "ph                            0.000161           0           0     0.00297      0.0119");
}

TEST(CalcUncertainty, SensitivitiesAreThePublishedDerivatives) {
    const test::CommandResult result = runBrinora(with(kWorkedCase, {"--sensitivities"}));
    ASSERT_EQ(result.status, 0) << result.err;
    const std::vector<std::string> lines = splitLines(result.out);
    EXPECT_EQ(lineStartingWith(lines, "ph "),
              "ph                          1.5592e-03 -1.7154e-03 -1.2694e-02 -1.5412e-02 -3.5211e-05 -1.7620e-03"
              " -6.5900e-05  0.0000e+00");
    EXPECT_EQ(lineStartingWith(lines, "pco2 "),
              "pco2                       -1.1777e+00  1.4447e+00  8.1195e+00  1.2422e+01 -4.1507e-03  1.3309e+00"
              "  4.9775e-02  0.0000e+00");
    // TA is given: dTA/dTA is 1.
    EXPECT_EQ(lineStartingWith(lines, "ta ").substr(0, 38), "ta                          1.0000e+00");
}

TEST(CalcUncertainty, BufferFactors) {
    const test::CommandResult result = runBrinora(with(kWorkedCase, {"--buffers"}));
    ASSERT_EQ(result.status, 0) << result.err;
    const std::vector<std::string> lines = splitLines(result.out);
    EXPECT_EQ(lineStartingWith(lines, "gamma DIC"),
              "gamma DIC                               206.376            206.376  umol/kg");
    EXPECT_EQ(lineStartingWith(lines, "Revelle (dln"),
              "Revelle (dln pCO2/dln DIC)              9.69104            9.69104  ");
    EXPECT_EQ(lineStartingWith(lines, "dln pCO2/dT"),
              "dln pCO2/dT                           0.0416623          0.0416623  1/deg C");
}

TEST(CalcUncertainty, CorrelationOfThePairAndConstantsFromAFile) {
    // TA and DIC fully correlated: their terms of u(pH) (+0.00312, -0.00343) nearly cancel.
    test::CommandResult result =
        runBrinora(with(kWorkedCase, {"--u-ta", "2", "--u-tco2", "2", "--correlation", "1", "--u-constants", "none"}));
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(splitLines(result.out)[8], "pH                              8.152 \u00b1 0.000312         8.152 \u00b1 0.000312   ");

    // pK2 alone from a file, pK1 given and then set to 0 by its own option: u(pH) is the pK2 term.
    const std::string path = testing::TempDir() + "constants_u.txt";
    std::FILE* file = std::fopen(path.c_str(), "w");
    ASSERT_NE(file, nullptr);
    std::fputs("# pK units\npk2 0.015\npk1=0.0075\n", file);
    std::fclose(file);
    result = runBrinora(with(kWorkedCase, {"--u-constants", path, "--u-pk1", "0"}));
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(splitLines(result.out)[8], "pH                              8.152 \u00b1 0.0102           8.152 \u00b1 0.0102     ");
}

TEST(CalcUncertainty, RefusesWhatDoesNotFit) {
    test::CommandResult result = runBrinora(with(kWorkedCase, {"--u-ph", "0.01"}));
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "brinora calc: --u-ph is given, but ph is not one of the pair (ta, tco2)\n");

    result = runBrinora(with(kWorkedCase, {"--u-ta", "-1"}));
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("a standard uncertainty is a number 0 or greater, not '-1'"), std::string::npos)
        << result.err;

    const std::string path = testing::TempDir() + "constants_bad.txt";
    std::FILE* file = std::fopen(path.c_str(), "w");
    ASSERT_NE(file, nullptr);
    std::fputs("pk2 0.015\npkx 1\n", file);
    std::fclose(file);
    result = runBrinora(with(kWorkedCase, {"--u-constants", path}));
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "brinora calc: --u-constants " + path +
                              ": line 2: 'pkx' is not a constant (pk0 pk1 pk2 pkb pkw pkspa pkspc pks pkf pkp1 pkp2 "
                              "pkp3 pksi bt)\n");
}

}  // namespace
}  // namespace brinora
