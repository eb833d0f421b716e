// Faults of the output: a device that is full, a file that stops growing or
// becomes unwritable in the middle of a run, and outputs that cannot be
// written at all. The program must say what went wrong (with the input line
// it reached), exit non-zero, and leave only whole records behind.
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <thread>

#include "output/output_target.h"
#include "fault_fixture.h"

namespace brinora::faults {
namespace {

using namespace std::chrono_literals;

std::vector<std::string> calcArgs() {
    std::vector<std::string> args{"calc", "--salinity", "35", "--temperature", "25", "--ta", "2300", "--tco2", "2000"};
    args.insert(args.end(), kOptions.begin(), kOptions.end());
    return args;
}

// `text` in double quotes, as the messages show paths.
std::string quoted(const std::string& text) {
    std::string result(1, '"');
    result += text;
    result += '"';
    return result;
}

class OutputFaults : public FaultTest {};

TEST_F(OutputFaults, StandardOutputOnAFullDevice) {
    const std::string in = input(batchInput(3));
    const std::vector<std::vector<std::string>> commands = {
        calcArgs(),
        [&] {
            auto args = calcArgs();
            args.push_back("--board");
            return args;
        }(),
        [&] {
            std::vector<std::string> args{"preview", in};
            args.insert(args.end(), kOptions.begin(), kOptions.end());
            return args;
        }(),
        batchArgs(in, path("out.csv")),
    };
    for (const auto& args : commands) {
        const Outcome outcome = run({.arguments = args, .standardOutput = "/dev/full"});
        EXPECT_EQ(outcome.signal, 0) << args[0];
        EXPECT_NE(outcome.status, 0) << args[0];
        // The reason is known when the last flush fails; an earlier failed
        // write leaves only the error flag ("write error").
        EXPECT_NE(outcome.err.find("cannot write to standard output: "), std::string::npos)
            << args[0] << ": " << outcome.err;
    }
    // The batch records themselves were written whole.
    EXPECT_EQ(wholeRecordIds(readFile(path("out.csv"))), (std::vector<std::string>{"1", "2", "3"}));
    const Outcome calc = run({.arguments = calcArgs(), .standardOutput = "/dev/full"});
    EXPECT_NE(calc.err.find("cannot write to standard output: No space left on device"), std::string::npos)
        << calc.err;
}

TEST_F(OutputFaults, FullDeviceAsTheOutputFileIsRefusedBeforeAnyWork) {
    const std::string in = input(batchInput(3));
    for (const auto& flags : std::vector<std::vector<std::string>>{{"--force"}, {"--append"}, {}}) {
        const Outcome outcome = run({.arguments = batchArgs(in, "/dev/full", flags)});
        EXPECT_EQ(outcome.status, 1) << outcome.err;
        EXPECT_NE(outcome.err.find("\"/dev/full\""), std::string::npos) << outcome.err;
        EXPECT_EQ(outcome.out, "");
    }
    std::vector<std::string> kml{"kml", in, "-o", "/dev/full", "--force"};
    kml.insert(kml.end(), kOptions.begin(), kOptions.end());
    const Outcome outcome = run({.arguments = kml});
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_NE(outcome.err.find("\"/dev/full\""), std::string::npos) << outcome.err;
}

// The output may grow to `limit` bytes only (RLIMIT_FSIZE): a write past it
// fails as on a full device.
// The device fills after the header and 12 and a half records: a new file
// is not made at all, an append takes its records back. The message names
// the output and says what was kept.
TEST_F(OutputFaults, DeviceFillsInTheMiddleOfABatch) {
    const std::string in = input(batchInput(40));
    const Outcome whole = run({.arguments = batchArgs(in, path("whole.csv"))});
    ASSERT_EQ(whole.status, 0) << whole.err;
    const std::vector<std::string> lines = linesOf(readFile(path("whole.csv")));
    ASSERT_EQ(lines.size(), 41u);
    std::string firstTwelve;
    for (int i = 0; i <= 12; ++i) firstTwelve += lines[static_cast<std::size_t>(i)];
    const long long limit = static_cast<long long>(firstTwelve.size() + lines[13].size() / 2);

    const std::string created = path("new.csv");
    Outcome outcome = run({.arguments = batchArgs(in, created), .fileSizeLimit = limit});
    EXPECT_EQ(outcome.signal, 0);
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_EQ(outcome.err, "brinora batch: cannot write \"" + created + "\": File too large; the file was not created\n");
    EXPECT_FALSE(std::filesystem::exists(created));
    EXPECT_EQ(outcome.out.find("Completed"), std::string::npos);

    const std::string appended = path("appended.csv");
    writeFile(appended, lines[0] + lines[1]);
    outcome = run({.arguments = batchArgs(in, appended, {"--append"}), .fileSizeLimit = limit});
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_EQ(outcome.err, "brinora batch: cannot append to \"" + appended +
                               "\": File too large; no record of this run was added, the file is as it was\n");
    EXPECT_EQ(readFile(appended), lines[0] + lines[1]);
    EXPECT_FALSE(std::filesystem::exists(appendJournalPath(appended)));
}

TEST_F(OutputFaults, NoRoomForTheHeaderLeavesTheOldFileAsItWas) {
    // --force replaces an existing output through a new file renamed over it:
    // when even the header does not fit, the old file stays whole and no
    // temporary file is left beside it.
    const std::string in = input(batchInput(3));
    const std::string out = path("old.csv");
    writeFile(out, "the old records\n");
    const Outcome outcome = run({.arguments = batchArgs(in, out), .fileSizeLimit = 100});
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_NE(outcome.err.find("File too large"), std::string::npos) << outcome.err;
    EXPECT_EQ(readFile(out), "the old records\n");
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"input.csv", "old.csv"}));
}

TEST_F(OutputFaults, DeviceFillsInTheMiddleOfAKmlDocument) {
    const std::string in = input(batchInput(20));
    std::vector<std::string> args{"kml", in, "-o", path("whole.kml"), "--force"};
    args.insert(args.end(), kOptions.begin(), kOptions.end());
    const Outcome whole = run({.arguments = args});
    ASSERT_EQ(whole.status, 0) << whole.err;
    const std::string document = readFile(path("whole.kml"));

    // An earlier document stays as it was; no temporary file is left.
    const std::string cut = path("cut.kml");
    writeFile(cut, "the earlier document\n");
    args[3] = cut;
    const Outcome outcome = run({.arguments = args, .fileSizeLimit = static_cast<long long>(document.size() / 2)});
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_EQ(outcome.err, "brinora kml: no KML document was written: cannot write \"" + cut +
                               "\": File too large; the previous file is unchanged\n");
    EXPECT_EQ(readFile(cut), "the earlier document\n");
    EXPECT_EQ(outcome.out.find("Completed"), std::string::npos);
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"cut.kml", "input.csv", "whole.kml"}));
}

// 40 samples that never converge: computing them takes seconds, so a run that
// ends at once did no work.
std::string slowInput() {
    std::string text = kInputHeader + "\n";
    for (int n = 1; n <= 40; ++n) text += std::to_string(n) + ",Fresh,,,0,0,0,25,0,10,100,,,20,10,,,,,,ok\n";
    return text;
}

double noWorkSeconds() { return sanitized() ? 5.0 : 1.5; }

TEST_F(OutputFaults, OutputInAMissingFolderIsRefusedBeforeAnyWork) {
    const std::string in = input(slowInput());
    const std::string out = path("missing/out.csv");
    const Outcome outcome = run({.arguments = batchArgs(in, out)});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find(quoted(path("missing")) + " does not exist"), std::string::npos) << outcome.err;
    EXPECT_LT(outcome.seconds, noWorkSeconds());
    EXPECT_FALSE(std::filesystem::exists(path("missing")));

    std::vector<std::string> kml{"kml", in, "-o", path("missing/out.kml"), "--force"};
    kml.insert(kml.end(), kOptions.begin(), kOptions.end());
    const Outcome kmlOutcome = run({.arguments = kml});
    EXPECT_EQ(kmlOutcome.status, 1);
    EXPECT_NE(kmlOutcome.err.find("does not exist"), std::string::npos) << kmlOutcome.err;
    EXPECT_LT(kmlOutcome.seconds, noWorkSeconds());
}

TEST_F(OutputFaults, FolderAsOutputIsRefusedBeforeAnyWork) {
    const std::string in = input(slowInput());
    std::filesystem::create_directory(path("folder"));
    for (const auto& flags : std::vector<std::vector<std::string>>{{"--force"}, {"--append"}, {}}) {
        const Outcome outcome = run({.arguments = batchArgs(in, path("folder"), flags)});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_NE(outcome.err.find(quoted(path("folder")) + " is a folder"), std::string::npos) << outcome.err;
        EXPECT_LT(outcome.seconds, noWorkSeconds());
    }
    std::vector<std::string> kml{"kml", in, "-o", path("folder"), "--force"};
    kml.insert(kml.end(), kOptions.begin(), kOptions.end());
    const Outcome outcome = run({.arguments = kml});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("is a folder"), std::string::npos) << outcome.err;
    EXPECT_LT(outcome.seconds, noWorkSeconds());
    EXPECT_TRUE(std::filesystem::is_empty(path("folder")));
}

TEST_F(OutputFaults, ReadOnlyOutputIsRefusedBeforeAnyWork) {
    const std::string in = input(slowInput());
    const std::string out = path("read-only.csv");
    writeFile(out, std::string(dataFileHeaders()));
    ::chmod(out.c_str(), 0444);
    const Outcome outcome = run({.arguments = batchArgs(in, out, {"--append"}), .asNobody = true});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find(quoted(out) + " cannot be written"), std::string::npos) << outcome.err;
    EXPECT_LT(outcome.seconds, noWorkSeconds());
    EXPECT_EQ(readFile(out), std::string(dataFileHeaders()));

    // A new file in a folder that cannot be written.
    std::filesystem::create_directory(path("locked"));
    ::chmod(path("locked").c_str(), 0555);
    const Outcome locked = run({.arguments = batchArgs(in, path("locked/out.csv")), .asNobody = true});
    EXPECT_EQ(locked.status, 1);
    EXPECT_NE(locked.err.find("cannot be written"), std::string::npos) << locked.err;
    EXPECT_LT(locked.seconds, noWorkSeconds());
    EXPECT_TRUE(std::filesystem::is_empty(path("locked")));
}

}  // namespace
}  // namespace brinora::faults
