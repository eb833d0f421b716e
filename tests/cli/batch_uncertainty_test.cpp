// brinora batch with uncertainties: the second CSV file beside the output,
// one row per record with the same SampleID and Name; the record file is
// byte for byte what it is without the options.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "run_command.h"

namespace brinora {
namespace {

using test::runBrinora;
using test::splitLines;

const std::string kHeader =
    "SampleID,Name,Time,Date,Latitude,Longitude,Salinity,Temperature (C),Pressure (dbar),Total P (umol/kg),"
    "Total Si (umol/kg),Temperature out (C),Pressure out (dbar),TA (umol/kg),TCO2 (umol/kg),pH (total),"
    "fCO2 (uatm),pCO2 (uatm),pCO2 air (uatm),Wind speed (m/s),Comment\n";
// The worked case of Orr et al. (2018)'s propagation (S 35, T 18, P 0, TA
// 2300, DIC 2000), an empty line, the same water with TA and pH, and a line
// that stops the run (no salinity) before a last sample.
const std::string kInput = kHeader +
                           "A1,worked,,,,,35,18,0,0,0,,,2300,2000,,,,,,first\n"
                           ",,,,,,,,,,,,,,,,,,,,\n"
                           "A2,pH pair,,,,,35,18,0,0,0,,,2300,,8.1,,,,,second\n"
                           "A3,stop,,,,,,18,0,0,0,,,2300,2000,,,,,,\n"
                           "A4,after the stop,,,,,35,18,0,0,0,,,2300,2000,,,,,,\n";
const std::vector<std::string> kOptions = {"--constants", "13", "--khso4", "1", "--ph-scale", "1", "--flux", "1"};
const std::vector<std::string> kWorked = {"--u-ta", "2", "--u-tco2", "2", "--u-salinity", "0.01",
                                          "--u-temperature", "0.01", "--u-constants", "standard"};

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

struct BatchUncertainty : ::testing::Test {
    std::string folder;
    void SetUp() override {
        folder = testing::TempDir() + "batch_uncertainty_" +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name() + "/";
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
        writeFile(folder + "in.csv", kInput);
    }
    test::CommandResult batch(const std::string& output, std::vector<std::string> more) {
        std::vector<std::string> args = {"batch", folder + "in.csv", "-o", folder + output, "-q"};
        args.insert(args.end(), kOptions.begin(), kOptions.end());
        args.insert(args.end(), more.begin(), more.end());
        return runBrinora(args);
    }
};

TEST_F(BatchUncertainty, RecordsAreUnchangedAndEveryRecordHasARow) {
    test::CommandResult plain = batch("plain.csv", {});
    test::CommandResult withU = batch("out.csv", kWorked);
    ASSERT_EQ(plain.status, 1) << plain.err;  // the stopping line
    ASSERT_EQ(withU.status, 1) << withU.err;
    EXPECT_EQ(withU.err, "brinora batch: " + folder + "in.csv:5: All records require a salinity value. There is a "
                         "salinity value missing.\n2 records written to " + folder + "out.csv before the stop\n");
    EXPECT_EQ(readFile(folder + "out.csv"), readFile(folder + "plain.csv"));
    EXPECT_FALSE(std::filesystem::exists(folder + "plain_uncertainty.csv"));

    const std::vector<std::string> rows = splitLines(readFile(folder + "out_uncertainty.csv"));
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0].substr(0, 117),
              "SampleID,Name,u_ph,u_hydrogen_ion (umol/kg),u_fco2 (uatm),u_pco2 (uatm),u_ta (umol/kg),u_tco2 (umol/kg),"
              "u_bicarbonate");
    EXPECT_NE(rows[0].find(",u_omega_aragonite_out,u_xco2_out (ppm),u_co2_flux_out (mmol/m2/d)"), std::string::npos);
    // The worked case: u(pH) 0.0119, u(pCO2) 9.62 uatm, u(CO3) 3.28 umol/kg, u(Omega aragonite) 0.158.
    EXPECT_EQ(rows[1].substr(0, 166),
              "A1,worked,0.0118952,0.000192815,9.59018,9.62364,2,2,4.44298,3.27785,0.325431,2.66481,0.159636,0,0,"
              "0.0518344,0.244393,0.158039,9.81977,0,0.0118952,0.000192815,9.59018,");
    // pH given: the constants do not move it.
    EXPECT_EQ(rows[2].substr(0, 20), "A2,pH pair,0,0,6.504");
}

TEST_F(BatchUncertainty, CompanionFileGivesPerSampleUncertaintiesAndBudget) {
    writeFile(folder + "u.csv", "SampleID,u-ta,u-ph\nA1,4,\nA2,,0.01\n");
    const test::CommandResult result =
        batch("out.csv", {"--u-constants", "none", "--uncertainty-input", folder + "u.csv", "--budget",
                          "--uncertainty-output", folder + "u_out.csv"});
    ASSERT_EQ(result.status, 1) << result.err;
    const std::vector<std::string> rows = splitLines(readFile(folder + "u_out.csv"));
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_NE(rows[0].find(",u_co2_flux_out (mmol/m2/d),budget_ph_first_parameter,budget_ph_second_parameter,"
                           "budget_hydrogen_ion_first_parameter (umol/kg),"),
              std::string::npos);
    // u(TA) 4 alone for A1; u(pH) 0.01 alone for A2, whose u(pH) is then 0.01.
    EXPECT_EQ(rows[1].substr(0, 30), "A1,worked,0.00623667,0.0001010");
    EXPECT_EQ(rows[2].substr(0, 20), "A2,pH pair,0.01,0.00");
}

TEST_F(BatchUncertainty, ACompanionThatDoesNotFitLeavesNoFile) {
    writeFile(folder + "u.csv", "SampleID,u-ta\nA1,4\nB2,1\n");
    test::CommandResult result = batch("out.csv", {"--uncertainty-input", folder + "u.csv"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "brinora batch: " + folder + "u.csv: row 2 is for SampleID 'B2' but the input's sample "
                          "line 4 is 'A2'\n");
    EXPECT_FALSE(std::filesystem::exists(folder + "out.csv"));
    EXPECT_FALSE(std::filesystem::exists(folder + "out_uncertainty.csv"));

    writeFile(folder + "u.csv", "SampleID,u_ta\n");
    result = batch("out.csv", {"--uncertainty-input", folder + "u.csv"});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("u.csv: the column 'u_ta' is not one of SampleID, correlation, u-ta,"), std::string::npos)
        << result.err;
    EXPECT_FALSE(std::filesystem::exists(folder + "out.csv"));
}

TEST_F(BatchUncertainty, AnExistingUncertaintyFileIsRefusedLikeTheOutput) {
    writeFile(folder + "out_uncertainty.csv", "keep\n");
    test::CommandResult result = batch("out.csv", kWorked);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(readFile(folder + "out_uncertainty.csv"), "keep\n");
    EXPECT_FALSE(std::filesystem::exists(folder + "out.csv"));
    // --force replaces both.
    result = batch("out.csv", [] {
        std::vector<std::string> a = kWorked;
        a.push_back("--force");
        return a;
    }());
    EXPECT_EQ(result.status, 1) << result.err;  // the stopping line
    EXPECT_EQ(splitLines(readFile(folder + "out_uncertainty.csv")).size(), 3u);
}

TEST_F(BatchUncertainty, ThreadsWriteTheRowsOfOneThread) {
    std::string input = kHeader;
    for (int i = 0; i < 50; ++i) {
        input += "S" + std::to_string(i) + ",n," + ",,,," + std::to_string(33 + i % 5) + "," +
                 std::to_string(i % 30) + ",0,1,10,,,2300," + std::to_string(1900 + 3 * i) + ",,,,,,\n";
    }
    writeFile(folder + "in.csv", input);
    ASSERT_EQ(batch("one.csv", {"--u-ta", "2", "--u-tco2", "2", "--budget", "--jobs", "1"}).status, 0);
    ASSERT_EQ(batch("three.csv", {"--u-ta", "2", "--u-tco2", "2", "--budget", "--jobs", "3"}).status, 0);
    const std::string one = readFile(folder + "one_uncertainty.csv");
    EXPECT_EQ(splitLines(one).size(), 51u);
    EXPECT_EQ(splitLines(one)[50].substr(0, 5), "S49,n");
    EXPECT_EQ(readFile(folder + "three_uncertainty.csv"), one);
}

// The input is read once: from standard input the two files are those of
// the input file, byte for byte, with the rows made on one, two or eight
// threads; the companion file's rows meet their samples across the chunks
// of lines that the threads share.
TEST_F(BatchUncertainty, StandardInputGivesTheFilesOfTheInputFile) {
    std::string input = kHeader;
    std::string companion = "SampleID,u-ta\n";
    for (int i = 0; i < 600; ++i) {
        input += "S" + std::to_string(i) + ",n,,,,," + std::to_string(33 + i % 5) + "," + std::to_string(i % 30) +
                 ",0,1,10,,,2300," + std::to_string(1900 + i) + ",,,,,," + (i % 7 == 0 ? "\n,,,,,,,,,,,,,,,,,,,,\n" : "\n");
        companion += "S" + std::to_string(i) + "," + (i % 3 == 0 ? std::string() : std::to_string(1 + i % 4)) + "\n";
    }
    input += "T1,stop,,,,,,18,0,0,0,,,2300,2000,,,,,,\n";
    writeFile(folder + "in.csv", input);
    writeFile(folder + "u.csv", companion);
    ASSERT_EQ(batch("file.csv", {"--u-ta", "2", "--u-tco2", "2", "--u-constants", "standard", "--budget", "--jobs",
                                 "1", "--uncertainty-input", folder + "u.csv"})
                  .status,
              1);
    const std::string records = readFile(folder + "file.csv");
    const std::string rows = readFile(folder + "file_uncertainty.csv");
    EXPECT_EQ(splitLines(rows).size(), 601u);
    EXPECT_EQ(splitLines(rows)[600].substr(0, 6), "S599,n");
    for (const std::string jobs : {"1", "2", "8"}) {
        const std::string command = "cat '" + folder + "in.csv' | '" + std::string(BRINORA_BINARY) +
                                    "' batch - -o '" + folder + "piped" + jobs +
                                    ".csv' -q --constants 13 --khso4 1 --ph-scale 1 --flux 1 --u-ta 2 --u-tco2 2 "
                                    "--u-constants standard --budget --uncertainty-input '" + folder + "u.csv' --jobs " + jobs +
                                    " 2> '" + folder + "err.txt'";
        const int status = std::system(command.c_str());
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 1) << readFile(folder + "err.txt");  // the stopping line
        EXPECT_EQ(readFile(folder + "piped" + jobs + ".csv"), records) << jobs;
        EXPECT_EQ(readFile(folder + "piped" + jobs + "_uncertainty.csv"), rows) << jobs;
    }
}

// A companion file without a row for a sample ends the run from standard
// input too, and leaves neither file.
TEST_F(BatchUncertainty, ACompanionTooShortForStandardInputLeavesNoFile) {
    writeFile(folder + "u.csv", "u-ta\n4\n");
    const std::string command = "'" + std::string(BRINORA_BINARY) + "' batch - -o '" + folder +
                                "out.csv' -q --constants 13 --khso4 1 --ph-scale 1 --flux 1 --uncertainty-input '" +
                                folder + "u.csv' < '" + folder + "in.csv' 2> '" + folder + "err.txt'";
    const int status = std::system(command.c_str());
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_EQ(readFile(folder + "err.txt"),
              "brinora batch: " + folder + "u.csv: no row for sample 2 (line 4 of the input)\n");
    EXPECT_FALSE(std::filesystem::exists(folder + "out.csv"));
    EXPECT_FALSE(std::filesystem::exists(folder + "out_uncertainty.csv"));
}

}  // namespace
}  // namespace brinora
