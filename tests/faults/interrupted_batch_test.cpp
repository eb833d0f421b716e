// A batch killed in the middle of a large file, and batches that append to
// one output file at the same time. Records are written with single writes on
// a file opened for appending, so neither a kill between writes nor another
// writer can leave part of a record in the file.
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
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

TEST_F(InterruptedBatch, KilledBatchLeavesOnlyWholeRecords) {
    // Enough samples that even a fast run is still writing when it is killed.
    const int samples = 100000;
    const std::string in = input(batchInput(samples));
    // Kill at several moments: after about 20, 200 and 2000 records.
    for (const std::size_t records : {20u, 200u, 2000u}) {
        const std::string out = path("killed-" + std::to_string(records) + ".csv");
        Running batch({.arguments = batchArgs(in, out)});
        const std::size_t size = dataFileHeaders().size() + records * 400;
        const auto deadline = std::chrono::steady_clock::now() + 60s * slowdown();
        while (fileSize(out) < size && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
        batch.killBetweenWrites();
        const Outcome outcome = batch.wait();
        ASSERT_EQ(outcome.signal, SIGKILL) << "the batch ended before it was killed: " << outcome.err;

        const std::string text = readFile(out);
        EXPECT_TRUE(text.ends_with('\n'));
        const std::vector<std::string> ids = wholeRecordIds(text);
        EXPECT_GE(ids.size(), records / 2);
        EXPECT_LT(ids.size(), static_cast<std::size_t>(samples));
        for (std::size_t i = 0; i < ids.size(); ++i) ASSERT_EQ(ids[i], std::to_string(i + 1)) << "record " << i + 1;
    }
}

// A SIGKILL at any moment, also in the middle of a write. Linux completes a
// write to a regular file page by page and gives up between two pages when
// the process is being killed, so a write that spans many pages can leave
// part of its bytes behind; a write of one record (a few hundred bytes, at
// most two pages) almost never can, and the batch writes each record with
// one write.
TEST_F(InterruptedBatch, KilledInTheMiddleOfAWriteLeavesOnlyWholeRecords) {
    const int samples = 100000;
    const std::string in = input(batchInput(samples));
    for (int attempt = 0; attempt < 20; ++attempt) {
        const std::string out = path("killed-" + std::to_string(attempt) + ".csv");
        Running batch({.arguments = batchArgs(in, out)});
        const std::size_t size = dataFileHeaders().size() + static_cast<std::size_t>(20 + 300 * attempt) * 400;
        const auto deadline = std::chrono::steady_clock::now() + 60s * slowdown();
        while (fileSize(out) < size && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
        batch.kill(SIGKILL);
        ASSERT_EQ(batch.wait().signal, SIGKILL);
        const std::string text = readFile(out);
        EXPECT_TRUE(text.ends_with('\n')) << "attempt " << attempt;
        const std::vector<std::string> ids = wholeRecordIds(text);
        for (std::size_t i = 0; i < ids.size(); ++i) ASSERT_EQ(ids[i], std::to_string(i + 1)) << "record " << i + 1;
    }
}

TEST_F(InterruptedBatch, KilledKmlLeavesOnlyWholePlacemarks) {
    const std::string in = input(batchInput(50000));
    const std::string out = path("killed.kml");
    std::vector<std::string> args{"kml", in, "-o", out, "--force"};
    args.insert(args.end(), kOptions.begin(), kOptions.end());
    Running kml({.arguments = args});
    const auto deadline = std::chrono::steady_clock::now() + 60s * slowdown();
    while (fileSize(out) < 200000 && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
    kml.killBetweenWrites();
    ASSERT_EQ(kml.wait().signal, SIGKILL);
    const std::string text = readFile(out);
    EXPECT_TRUE(text.starts_with("<?xml")) << text.substr(0, 100);
    EXPECT_TRUE(text.ends_with("</Point></Placemark>")) << text.substr(text.size() - std::min<std::size_t>(100, text.size()));
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
    // Without overlapping runs the test proves nothing about interleaving.
    if (switches <= static_cast<int>(prefixes.size()) - 1) {
        GTEST_SKIP() << "the batches ran one after the other; no overlap to check";
    }
}

}  // namespace
}  // namespace brinora::faults
