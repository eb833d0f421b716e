#include "output/atomic_write.h"
#include "output/path_names.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "records/calendar_format.h"
#include "tests/support/controller_fixture.h"
#include "tests/support/files.h"

namespace brinora {
namespace {

using testing::readFile;
using testing::writeFile;

class FileTest : public ::testing::Test {
protected:
    brinora::testing::ScratchFolder scratch_{"files-test"};

    FileTest() {
        dir = scratch_.path();
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
