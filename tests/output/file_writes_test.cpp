#include "output/file_writes.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "records/calendar_format.h"
#include "tests/support/controller_fixture.h"

namespace brinora {
namespace {

using testing::readFile;
using testing::writeFile;

class FileTest : public ::testing::Test {
protected:
    FileTest() {
        char pattern[] = "/tmp/brinora-files-test-XXXXXX";
        dir = ::mkdtemp(pattern);
    }
    ~FileTest() override {
        std::error_code ignored;
        std::filesystem::permissions(dir, std::filesystem::perms::owner_all, ignored);
        std::filesystem::remove_all(dir, ignored);
    }
    std::filesystem::path dir;
};

TEST_F(FileTest, AtomicWriteReplacesTheWholeFile) {
    const std::string path = (dir / "out.csv").string();
    writeFile(path, "old content that is longer\n");
    ASSERT_TRUE(writeFileAtomically(path, "new\n").ok);
    EXPECT_EQ(readFile(path), "new\n");
    // No temporary file is left beside it.
    int files = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir)) ++files;
    EXPECT_EQ(files, 1);
}

TEST_F(FileTest, AtomicWriteIntoAMissingFolderFails) {
    const WriteResult result = writeFileAtomically((dir / "no" / "out.csv").string(), "x");
    EXPECT_FALSE(result.ok);
    EXPECT_NE(result.message.find("No such file or directory"), std::string::npos);
}

TEST_F(FileTest, AppendNeedsAnExistingFile) {
    const std::string path = (dir / "out.csv").string();
    EXPECT_FALSE(appendToExistingFile(path, "r1\n").ok);
    EXPECT_FALSE(std::filesystem::exists(path));
    writeFile(path, "h\n");
    EXPECT_TRUE(appendToExistingFile(path, "r1\n").ok);
    EXPECT_TRUE(appendToExistingFile(path, "r2\n").ok);
    EXPECT_EQ(readFile(path), "h\nr1\nr2\n");
}

TEST_F(FileTest, AppendToAFullDeviceLeavesNoPartialRecord) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
    const WriteResult result = appendToExistingFile("/dev/full", "a record\n");
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.errorNumber, ENOSPC);
}

TEST_F(FileTest, AppendPastAFileSizeLimitLeavesNoPartialRecord) {
    // The file may grow by 5 bytes only: the record is written in part, then
    // taken away again, and the reason is that of the failed write.
    const std::string path = (dir / "out.csv").string();
    writeFile(path, "h\n");
    rlimit saved{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
    const auto previousHandler = ::signal(SIGXFSZ, SIG_IGN);
    rlimit limited = saved;
    limited.rlim_cur = 7;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limited), 0);
    const WriteResult result = appendToExistingFile(path, "a record of 24 bytes...\n");
    const WriteResult small = appendToExistingFile(path, "r1\n");
    ::setrlimit(RLIMIT_FSIZE, &saved);
    ::signal(SIGXFSZ, previousHandler);
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.errorNumber, EFBIG);
    EXPECT_EQ(result.message, "cannot append to \"" + path + "\": File too large");
    EXPECT_TRUE(small.ok);
    EXPECT_EQ(readFile(path), "h\nr1\n");
}

TEST(PathPieces, StemsFoldersAndTilde) {
    EXPECT_EQ(fileStem("/data/cruise.csv"), "cruise");
    EXPECT_EQ(fileStem("cruise.v2.csv"), "cruise.v2");
    EXPECT_EQ(fileStem("/data/noext"), "noext");
    EXPECT_EQ(directoryOf("/data/cruise.csv"), "/data");
    EXPECT_EQ(directoryOf("/cruise.csv"), "/");
    EXPECT_EQ(directoryOf("cruise.csv"), "");
    EXPECT_EQ(withoutExtension("/a.b/c.csv"), "/a.b/c");
    EXPECT_EQ(withoutExtension("/a.b/c"), "/a.b/c");
    EXPECT_EQ(abbreviateWithTilde("/home/ann/Documents/x.csv", "/home/ann"), "~/Documents/x.csv");
    EXPECT_EQ(abbreviateWithTilde("/home/ann", "/home/ann/"), "~");
    EXPECT_EQ(abbreviateWithTilde("/home/anne/x.csv", "/home/ann"), "/home/anne/x.csv");
    EXPECT_EQ(abbreviateWithTilde("/x.csv", ""), "/x.csv");
}

TEST(CalendarFormats, RecordTimeCarriesTheMonth) {
    const CalendarDateTime when{2023, 7, 4, 14, 35, 9};
    EXPECT_EQ(formatCalendar(when, kRecordTimeFormat), "14:07:09");
    EXPECT_EQ(formatCalendar(when, kRecordDateFormat), "07/04/2023");
    EXPECT_EQ(formatCalendar(when, kFileNameDateFormat), "07-04-23 02.35");
    EXPECT_EQ(formatCalendar(CalendarDateTime{1999, 12, 31, 0, 5, 0}, kFileNameDateFormat), "12-31-99 12.05");
}

}  // namespace
}  // namespace brinora
