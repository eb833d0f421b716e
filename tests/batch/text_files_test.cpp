#include "batch/text_files.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "batch/calendar_format.h"
#include "tests/batch/batch_fixture.h"

namespace brinora {
namespace {

using testing::readFile;
using testing::writeFile;

std::vector<std::string> texts(const std::vector<TextLine>& lines) {
    std::vector<std::string> result;
    for (const auto& line : lines) result.push_back(line.text);
    return result;
}

std::vector<int> sourceLines(const std::vector<TextLine>& lines) {
    std::vector<int> result;
    for (const auto& line : lines) result.push_back(line.sourceLine);
    return result;
}

using Lines = std::vector<std::string>;

TEST(BatchLines, UnixAndWindowsLineEndsGiveTheSameLines) {
    EXPECT_EQ(texts(splitBatchLines("h\na\nb")), (Lines{"h", "a", "b"}));
    EXPECT_EQ(texts(splitBatchLines("h\r\na\r\nb")), (Lines{"h", "a", "b"}));
    EXPECT_EQ(texts(splitBatchLines("h\ra\rb")), (Lines{"h", "a", "b"}));
}

TEST(BatchLines, FinalLineEndLeavesAnEmptyLastPiece) {
    EXPECT_EQ(texts(splitBatchLines("h\na\n")), (Lines{"h", "a", ""}));
    EXPECT_EQ(texts(splitBatchLines("h\r\na\r\n")), (Lines{"h", "a", ""}));
}

TEST(BatchLines, BlankLines) {
    // One blank line between samples is dropped with "\n" line ends ...
    EXPECT_EQ(texts(splitBatchLines("h\na\n\nb")), (Lines{"h", "a", "b"}));
    // ... two in a row leave one empty line ...
    EXPECT_EQ(texts(splitBatchLines("h\na\n\n\nb")), (Lines{"h", "a", "", "b"}));
    // ... and with "\r\n" line ends one blank line already leaves one.
    EXPECT_EQ(texts(splitBatchLines("h\r\na\r\n\r\nb")), (Lines{"h", "a", "", "b"}));
    // Four line ends in a row: one pass only, so one empty line.
    EXPECT_EQ(texts(splitBatchLines("h\na\n\n\n\nb")), (Lines{"h", "a", "", "b"}));
}

TEST(BatchLines, EmptyTextIsOnePiece) {
    EXPECT_EQ(texts(splitBatchLines("")), (Lines{""}));
    EXPECT_EQ(texts(splitBatchLines("header only")), (Lines{"header only"}));
}

TEST(BatchLines, SourceLinesCountAsAnEditorDoes) {
    EXPECT_EQ(sourceLines(splitBatchLines("h\na\nb\n")), (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(sourceLines(splitBatchLines("h\r\na\r\n\r\nb")), (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(sourceLines(splitBatchLines("h\na\n\nb")), (std::vector<int>{1, 2, 4}));
    EXPECT_EQ(sourceLines(splitBatchLines("h\ra\rb")), (std::vector<int>{1, 2, 3}));
}

TEST(BatchFields, SplitAtEveryComma) {
    EXPECT_EQ(splitFields("a,b,,c"), (Lines{"a", "b", "", "c"}));
    EXPECT_EQ(splitFields(""), (Lines{""}));
    EXPECT_EQ(splitFields("a,"), (Lines{"a", ""}));
    EXPECT_EQ(splitFields(" a , b "), (Lines{" a ", " b "}));
}

TEST(BatchFields, HeaderCountSkipsEmptyNames) {
    EXPECT_EQ(countHeaderNames(testing::kInputHeader), 21);
    EXPECT_EQ(countHeaderNames(testing::kInputHeader + ","), 21);
    EXPECT_EQ(countHeaderNames("a,,b"), 2);
    EXPECT_EQ(countHeaderNames(""), 0);
}

TEST(Utf8, WellFormedAndBroken) {
    EXPECT_EQ(firstInvalidUTF8Byte("plain"), std::string_view::npos);
    EXPECT_EQ(firstInvalidUTF8Byte("\xC2\xB5mol \xE2\x82\xAC \xF0\x9F\x8C\x8A"), std::string_view::npos);
    EXPECT_EQ(firstInvalidUTF8Byte("ab\xE9t\xE9"), 2u);            // Latin-1 e acute
    EXPECT_EQ(firstInvalidUTF8Byte("\xC0\xAF"), 0u);               // overlong
    EXPECT_EQ(firstInvalidUTF8Byte("\xED\xA0\x80"), 0u);           // surrogate
    EXPECT_EQ(firstInvalidUTF8Byte("x\xE2\x82"), 1u);              // cut short
    EXPECT_EQ(firstInvalidUTF8Byte("\xF4\x90\x80\x80"), 0u);       // above U+10FFFF
}

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

TEST_F(FileTest, ReadsUtf8TextAndDropsTheByteOrderMark) {
    writeFile(dir / "a.csv", "\xEF\xBB\xBFh\n1\n");
    const TextFileContents read = readUTF8TextFile((dir / "a.csv").string());
    ASSERT_TRUE(read.ok);
    EXPECT_EQ(read.text, "h\n1\n");
}

TEST_F(FileTest, ReadErrorsNameThePathAndTheReason) {
    const std::string missing = (dir / "missing.csv").string();
    TextFileContents read = readUTF8TextFile(missing);
    EXPECT_FALSE(read.ok);
    EXPECT_EQ(read.error.localizedDescription,
              "The file \"" + missing + "\" could not be read: No such file or directory");

    read = readUTF8TextFile(dir.string());
    EXPECT_FALSE(read.ok);
    EXPECT_EQ(read.error.localizedDescription,
              "The file \"" + dir.string() + "\" could not be read: Is a directory");

    writeFile(dir / "latin1.csv", "h\nSta\xE9tion,1\n");
    read = readUTF8TextFile((dir / "latin1.csv").string());
    EXPECT_FALSE(read.ok);
    EXPECT_EQ(read.error.localizedDescription,
              "The file \"" + (dir / "latin1.csv").string() +
                  "\" could not be read: it is not UTF-8 text (byte 0xE9 at offset 5, line 2)");
}

TEST_F(FileTest, UnreadableFile) {
    if (::geteuid() == 0) GTEST_SKIP() << "permissions do not bind root";
    writeFile(dir / "locked.csv", "h\n");
    ::chmod((dir / "locked.csv").c_str(), 0);
    const TextFileContents read = readUTF8TextFile((dir / "locked.csv").string());
    EXPECT_FALSE(read.ok);
    EXPECT_NE(read.error.localizedDescription.find("Permission denied"), std::string::npos);
}

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
