// brinora batch and brinora kml on several threads: --jobs 1, 2 and 8 write
// the same bytes, which are those of the one-line-at-a-time run of the
// controller, and --verbose prints the lines of that run in its order.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "app/controller_core.h"
#include "app/plain_ui.h"
#include "engine/engine.h"
#include "log/log.h"
#include "run_command.h"
#include "tests/support/batch_input.h"
#include "tests/support/files.h"

namespace brinora {
namespace {

using test::CommandResult;
using test::runBrinora;
using test::splitLines;

const std::vector<std::string> kOptions = {"--constants", "13", "--khso4", "1", "--ph-scale", "1", "--flux", "1"};
const std::string kHeader = brinora::testing::kInputHeader;

using brinora::testing::readFile;

using brinora::testing::writeFile;

// `count` sample lines with every line end, empty lines, lines without a
// sample id and every carbonate pair.
std::string awkwardFile(int count, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    const std::vector<std::string> ends = {"\n", "\n", "\r\n", "\r", "\n\n\n"};
    const std::vector<std::string> pairs = {"2300,2000,,,", "2300,,8.05,,", "2300,,,400,", ",2000,8.05,,",
                                            ",2000,,,400", ",,8.05,,400", "2300,,,,"};
    std::string text = kHeader + "\n";
    for (int i = 1; i <= count; ++i) {
        if (random() % 40 == 0) {
            text += ",no id," + std::to_string(i);
        } else {
            text += std::to_string(i) + ",St " + std::to_string(i / 12) + ",12:00,01/02/2023,31.5,-64.2," +
                    std::to_string(33.0 + static_cast<double>(random() % 5000) / 1000.0) + "," +
                    std::to_string(static_cast<double>(random() % 2800) / 100.0) + "," +
                    (random() % 3 == 0 ? "2500" : "0") + ",0.5,12," + (random() % 2 ? "25" : "") + ",," +
                    pairs[random() % pairs.size()] + ",415,6.5,comment " + std::to_string(i);
        }
        text += ends[random() % ends.size()];
    }
    return text;
}

class FastCommandTest : public ::testing::Test {
protected:
    brinora::testing::ScratchFolder scratch_{"fast-cli"};

    FastCommandTest() {
        dir = scratch_.path();
        settingsFile = dir + "/settings.ini";
    }

    CommandResult run(std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), kOptions.begin(), kOptions.end());
        return runBrinora(arguments, {"BRINORA_SETTINGS_FILE=" + settingsFile});
    }

    // The one-line-at-a-time run of the controller over `input`: the output
    // file's bytes, the message and the log lines from the announcement on.
    struct Reference {
        std::string output;
        std::string message;
        std::vector<std::string> log;
        int recordsWritten = 0;
    };
    Reference reference(const std::string& input) {
        Reference result;
        PlainUi ui;
        MemorySettings defaults;
        BrinoraAppControllerCore core(ui, defaults);
        ui.selectItem(Menu::CO2Constants, 13);
        ui.selectItem(Menu::KHSO4, 1);
        ui.selectItem(Menu::pHScale, 1);
        ui.selectItem(Menu::AirSeaFlux, 1);
        core.batchInputFilesChosen({input});
        const std::string output = dir + "/reference.csv";
        core.batchOutputFileCreated(output);
        Engine::sharedInstance()->reset();
        {
            const log::ScopedSink sink([&result](std::string_view line) { result.log.emplace_back(line); });
            result.message = core.batchProcess(input, false);
        }
        result.output = readFile(output);
        result.recordsWritten = core.recordsWritten;
        return result;
    }

    std::string path(const std::string& name) const { return dir + "/" + name; }

    std::string dir;
    std::string settingsFile;
};

TEST_F(FastCommandTest, JobsWriteTheBytesOfTheOneLineAtATimeRun) {
    const std::string input = path("in.csv");
    writeFile(input, awkwardFile(3000, 5));
    const Reference expected = reference(input);
    ASSERT_EQ(expected.message, "");
    ASSERT_GT(expected.recordsWritten, 2800);
    for (const std::string jobs : {"1", "2", "8"}) {
        const std::string output = path("out-" + jobs + ".csv");
        const CommandResult result = run({"batch", input, "-o", output, "--jobs", jobs});
        ASSERT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out, "Batch Processing of File Completed\nFile Input:\n" + input + "\n\nFile Output:\n" +
                                  output + "\n");
        EXPECT_EQ(result.err, "");
        EXPECT_TRUE(readFile(output) == expected.output) << "--jobs " << jobs;
    }
}

TEST_F(FastCommandTest, AStopKeepsTheSameRecordsWhateverTheJobs) {
    const std::string input = path("in.csv");
    std::string text = awkwardFile(1500, 9);
    text += "9999,bad,,,,,,20,0,0,0,,,2300,2000,,,,,,\n";  // no salinity
    text += awkwardFile(200, 10).substr(kHeader.size() + 1);
    writeFile(input, text);
    const Reference expected = reference(input);
    ASSERT_EQ(expected.message, "All records require a salinity value. There is a salinity value missing.");
    std::string firstError;
    for (const std::string jobs : {"1", "2", "8"}) {
        const std::string output = path("out-" + jobs + ".csv");
        const CommandResult result = run({"batch", input, "-o", output, "--jobs", jobs});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");  // no completion after a stop
        EXPECT_TRUE(readFile(output) == expected.output) << "--jobs " << jobs;
        const std::string error = result.err.substr(0, result.err.find(" records written to "));
        if (firstError.empty()) firstError = error;
        EXPECT_EQ(error, firstError);
        EXPECT_NE(result.err.find(std::to_string(expected.recordsWritten) + " records written to "), std::string::npos)
            << result.err;
    }
}

TEST_F(FastCommandTest, VerbosePrintsTheLinesOfTheOneLineAtATimeRun) {
    const std::string input = path("in.csv");
    writeFile(input, awkwardFile(60, 3));
    const Reference expected = reference(input);
    const CommandResult result = run({"batch", input, "-o", path("out.csv"), "--verbose", "--jobs", "8"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "Batch Processing of File Completed\nFile Input:\n" + input + "\n\nFile Output:\n" +
                              path("out.csv") + "\n");
    // From the announcement of the run to its end, line for line.
    std::vector<std::string> printed;
    bool inRun = false;
    for (const std::string& line : splitLines(result.err)) {
        if (line == "Batch process called, all records") inRun = true;
        if (inRun) printed.push_back(line);
        if (line == "Done with file!") break;
    }
    // The log lines are printed one to a line; a line with line ends inside
    // ("CO2Constants: ...") takes several.
    std::vector<std::string> expectedLines;
    for (const std::string& line : expected.log) {
        for (const std::string& part : splitLines(line + "\n")) expectedLines.push_back(part);
    }
    EXPECT_EQ(printed, expectedLines);
}

TEST_F(FastCommandTest, KmlJobsWriteTheSameDocument) {
    const std::string input = path("in.csv");
    writeFile(input, awkwardFile(800, 4));
    std::string first;
    for (const std::string jobs : {"1", "2", "8"}) {
        const std::string output = path("out-" + jobs + ".kml");
        const CommandResult result = run({"kml", input, "-o", output, "--jobs", jobs});
        ASSERT_EQ(result.status, 0) << result.err;
        const std::string document = readFile(output);
        if (first.empty()) first = document;
        EXPECT_TRUE(document == first) << "--jobs " << jobs;
    }
    EXPECT_TRUE(first.ends_with("</Folder></Document></kml>"));
}

TEST_F(FastCommandTest, JobsMustBeAPositiveNumber) {
    const std::string input = path("in.csv");
    writeFile(input, awkwardFile(5, 1));
    for (const std::string jobs : {"0", "-1", "two"}) {
        const CommandResult result = run({"batch", input, "-o", path("out.csv"), "--jobs", jobs});
        EXPECT_EQ(result.status, 2) << jobs;
        EXPECT_FALSE(std::filesystem::exists(path("out.csv")));
    }
}

}  // namespace
}  // namespace brinora
