// Runs killed in the middle of a large file, and batches that append to one
// output file at the same time: a new file appears whole or not at all, and
// appends to one file take their turns, so records of two runs never mix.
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <thread>

#include "fault_fixture.h"

namespace brinora::faults {
namespace {

using namespace std::chrono_literals;

class InterruptedBatch : public FaultTest {};

// Size of the file at `path`, 0 when there is none.
std::size_t fileSize(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? static_cast<std::size_t>(info.st_size) : 0;
}

// A run killed at any moment leaves its target absent (the records were
// still in a temporary file with no name) or complete (the run had ended);
// never a part of the output under the name the user chose.
TEST_F(InterruptedBatch, KilledBatchLeavesNoPartialFile) {
    const int samples = 100000;
    const std::string in = input(batchInput(samples));
    const std::string complete = path("complete.csv");
    ASSERT_EQ(Running({.arguments = batchArgs(in, complete)}).wait().status, 0);
    const std::string expected = readFile(complete);
    for (const int delayMs : {0, 5, 20, 60, 150, 400}) {
        const std::string out = path("killed-" + std::to_string(delayMs) + ".csv");
        Running batch({.arguments = batchArgs(in, out)});
        std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
        batch.kill(SIGKILL);
        const Outcome outcome = batch.wait();
        if (outcome.signal == SIGKILL) {
            if (std::filesystem::exists(out)) EXPECT_TRUE(readFile(out) == expected) << "killed after " << delayMs;
        } else {
            EXPECT_EQ(outcome.status, 0) << outcome.err;
            EXPECT_TRUE(readFile(out) == expected);
        }
    }
}

TEST_F(InterruptedBatch, KilledKmlLeavesNoPartialDocument) {
    const std::string in = input(batchInput(50000));
    std::vector<std::string> args{"kml", in, "-o", path("complete.kml")};
    args.insert(args.end(), kOptions.begin(), kOptions.end());
    ASSERT_EQ(Running({.arguments = args}).wait().status, 0);
    const std::string expected = readFile(path("complete.kml"));
    ASSERT_TRUE(expected.ends_with("</Folder></Document></kml>"));
    for (const int delayMs : {0, 10, 50, 200}) {
        const std::string out = path("killed-" + std::to_string(delayMs) + ".kml");
        args[3] = out;
        Running kml({.arguments = args});
        std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
        kml.kill(SIGKILL);
        kml.wait();
        if (std::filesystem::exists(out)) EXPECT_TRUE(readFile(out) == expected) << "killed after " << delayMs;
    }
}

TEST_F(InterruptedBatch, BatchesAppendingToOneFileDoNotInterleaveRecords) {
    const int samples = 20000;
    const std::string out = path("shared.csv");
    writeFile(out, std::string(dataFileHeaders()));
    const std::vector<std::string> prefixes = {"A", "B", "C", "D"};
    std::vector<std::unique_ptr<Running>> batches;
    for (const std::string& prefix : prefixes) {
        const std::string in = input(batchInput(samples, prefix), prefix + ".csv");
        batches.push_back(std::make_unique<Running>(Launch{.arguments = batchArgs(in, out, {"--append"})}));
    }
    for (auto& batch : batches) {
        const Outcome outcome = batch->wait();
        EXPECT_EQ(outcome.status, 0) << outcome.err;
    }

    const std::vector<std::string> ids = wholeRecordIds(readFile(out));
    EXPECT_EQ(ids.size(), prefixes.size() * samples);
    // Each batch's records are all there, in its own order.
    std::map<char, int> next;
    int switches = 0;
    char previous = 0;
    for (const std::string& id : ids) {
        ASSERT_FALSE(id.empty());
        const char batch = id[0];
        EXPECT_EQ(id.substr(1), std::to_string(++next[batch])) << "batch " << batch;
        switches += previous != 0 && batch != previous;
        previous = batch;
    }
    for (const std::string& prefix : prefixes) EXPECT_EQ(next[prefix[0]], samples) << prefix;
    // Appends to one file take their turns: each run's records are one block.
    EXPECT_EQ(switches, static_cast<int>(prefixes.size()) - 1);
}

}  // namespace
}  // namespace brinora::faults
