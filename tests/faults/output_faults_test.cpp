// Faults of the output: a device that is full, a file that stops growing or
// becomes unwritable in the middle of a run, and outputs that cannot be
// written at all. The program must say what went wrong (with the input line
// it reached), exit non-zero, and leave only whole records behind.
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <thread>

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
TEST_F(OutputFaults, DeviceFillsInTheMiddleOfABatch) {
    const std::string in = input(batchInput(40));
    const Outcome whole = run({.arguments = batchArgs(in, path("whole.csv"))});
    ASSERT_EQ(whole.status, 0) << whole.err;
    const std::vector<std::string> lines = linesOf(readFile(path("whole.csv")));
    ASSERT_EQ(lines.size(), 41u);

    for (const bool append : {false, true}) {
        // Room for the header, 12 records and half of the 13th.
        std::string expected;
        for (int i = 0; i <= 12; ++i) expected += lines[static_cast<std::size_t>(i)];
        const long long limit = static_cast<long long>(expected.size() + lines[13].size() / 2);
        const std::string out = path(append ? "appended.csv" : "new.csv");
        if (append) writeFile(out, lines[0]);
        const Outcome outcome =
            run({.arguments = batchArgs(in, out, {append ? "--append" : "--force"}), .fileSizeLimit = limit});
        EXPECT_EQ(outcome.signal, 0);
        EXPECT_EQ(outcome.status, 1) << outcome.err;
        // Record 13 comes from line 14 of the input.
        EXPECT_NE(outcome.err.find(in + ":14: The record could not be written to the output file"), std::string::npos)
            << outcome.err;
        EXPECT_NE(outcome.err.find("File too large"), std::string::npos) << outcome.err;
        EXPECT_EQ(readFile(out), expected);
        EXPECT_EQ(outcome.out.find("Completed"), std::string::npos);
    }
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
    // The end of placemark 8 (the KML writer leaves no line ends).
    std::size_t cut = 0;
    for (int n = 0; n < 8; ++n) cut = document.find("</Placemark>", cut) + std::string("</Placemark>").size();
    const std::size_t nextEnd = document.find("</Placemark>", cut);

    args[3] = path("cut.kml");
    const Outcome outcome = run({.arguments = args, .fileSizeLimit = static_cast<long long>((cut + nextEnd) / 2)});
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_NE(outcome.err.find("File too large"), std::string::npos) << outcome.err;
    // Placemark 9 comes from line 10 of the input.
    EXPECT_NE(outcome.err.find("line 10"), std::string::npos) << outcome.err;
    // Whole placemarks only, and no footer: the document shows that it is cut.
    EXPECT_EQ(readFile(path("cut.kml")), document.substr(0, cut));
}

// The output file is made read-only while the batch runs (as "nobody" when
// the tests run as root, since permissions do not bind root).
TEST_F(OutputFaults, OutputBecomesUnwritableInTheMiddleOfABatch) {
    const int samples = 100000;
    const std::string in = input(batchInput(samples));
    const std::string out = path("out.csv");
    Running batch({.arguments = batchArgs(in, out), .asNobody = true});
    // Wait for 50 records, then take the right to write away.
    const std::size_t header = dataFileHeaders().size();
    const auto deadline = std::chrono::steady_clock::now() + 60s * slowdown();
    bool made = false;
    while (std::chrono::steady_clock::now() < deadline) {
        struct stat info {};
        // Records of these samples are about 400 bytes long.
        if (::stat(out.c_str(), &info) == 0 && static_cast<std::size_t>(info.st_size) > header + 50 * 420) {
            made = ::chmod(out.c_str(), 0444) == 0;
            break;
        }
        std::this_thread::sleep_for(1ms);
    }
    ASSERT_TRUE(made) << "the output did not grow";
    const Outcome outcome = batch.wait();
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    const std::vector<std::string> ids = wholeRecordIds(readFile(out));
    ASSERT_GE(ids.size(), 50u);
    ASSERT_LT(ids.size(), static_cast<std::size_t>(samples)) << "the run ended before the output became read-only";
    for (std::size_t i = 0; i < ids.size(); ++i) EXPECT_EQ(ids[i], std::to_string(i + 1));
    // The first record not written is on input line (records + 2).
    EXPECT_NE(outcome.err.find(in + ":" + std::to_string(ids.size() + 2) + ": The record could not be written"),
              std::string::npos)
        << outcome.err;
    EXPECT_NE(outcome.err.find("Permission denied"), std::string::npos) << outcome.err;
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
