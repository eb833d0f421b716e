// The one line splitter of batch input files: pieces, their editor line
// numbers, the UTF-8 check and the reasons a file cannot be read.
#include "batch/stream_reader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "batch/line_rules.h"
#include "tests/batch/batch_fixture.h"

namespace brinora {
namespace {

using testing::writeFile;

struct Piece {
    std::string text;
    int sourceLine = 0;
};

// The pieces of `text` as the reader hands them out, read in blocks of
// `block` bytes from a file.
std::vector<Piece> readPieces(const std::string& text, std::size_t block = kDefaultReadBlock) {
    char pattern[] = "/tmp/brinora-reader-test-XXXXXX";
    const int fd = ::mkstemp(pattern);
    EXPECT_GE(fd, 0);
    EXPECT_EQ(::write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    ::lseek(fd, 0, SEEK_SET);
    ::unlink(pattern);
    BatchLineReader reader(fd, block, true);
    std::vector<Piece> pieces;
    StreamLine line;
    while (reader.next(line)) pieces.push_back(Piece{std::string(line.text), line.sourceLine});
    ::close(fd);
    return pieces;
}

using Lines = std::vector<std::string>;

std::vector<std::string> texts(const std::vector<Piece>& pieces) {
    std::vector<std::string> result;
    for (const auto& piece : pieces) result.push_back(piece.text);
    return result;
}

std::vector<int> sourceLines(const std::vector<Piece>& pieces) {
    std::vector<int> result;
    for (const auto& piece : pieces) result.push_back(piece.sourceLine);
    return result;
}

TEST(BatchLines, UnixAndWindowsLineEndsGiveTheSameLines) {
    EXPECT_EQ(texts(readPieces("h\na\nb")), (Lines{"h", "a", "b"}));
    EXPECT_EQ(texts(readPieces("h\r\na\r\nb")), (Lines{"h", "a", "b"}));
    EXPECT_EQ(texts(readPieces("h\ra\rb")), (Lines{"h", "a", "b"}));
}

TEST(BatchLines, FinalLineEndLeavesAnEmptyLastPiece) {
    EXPECT_EQ(texts(readPieces("h\na\n")), (Lines{"h", "a", ""}));
    EXPECT_EQ(texts(readPieces("h\r\na\r\n")), (Lines{"h", "a", ""}));
}

TEST(BatchLines, BlankLines) {
    // One blank line between samples is dropped with "\n" line ends ...
    EXPECT_EQ(texts(readPieces("h\na\n\nb")), (Lines{"h", "a", "b"}));
    // ... two in a row leave one empty line ...
    EXPECT_EQ(texts(readPieces("h\na\n\n\nb")), (Lines{"h", "a", "", "b"}));
    // ... and with "\r\n" line ends one blank line already leaves one.
    EXPECT_EQ(texts(readPieces("h\r\na\r\n\r\nb")), (Lines{"h", "a", "", "b"}));
    // Four line ends in a row: one pass only, so one empty line.
    EXPECT_EQ(texts(readPieces("h\na\n\n\n\nb")), (Lines{"h", "a", "", "b"}));
}

TEST(BatchLines, EmptyTextIsOnePiece) {
    EXPECT_EQ(texts(readPieces("")), (Lines{""}));
    EXPECT_EQ(texts(readPieces("header only")), (Lines{"header only"}));
}

TEST(BatchLines, ByteOrderMarkIsSkipped) {
    EXPECT_EQ(texts(readPieces("\xEF\xBB\xBFh\n1\n")), (Lines{"h", "1", ""}));
}

TEST(BatchLines, SourceLinesCountAsAnEditorDoes) {
    EXPECT_EQ(sourceLines(readPieces("h\na\nb\n")), (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(sourceLines(readPieces("h\r\na\r\n\r\nb")), (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(sourceLines(readPieces("h\na\n\nb")), (std::vector<int>{1, 2, 4}));
    EXPECT_EQ(sourceLines(readPieces("h\ra\rb")), (std::vector<int>{1, 2, 3}));
}

TEST(BatchLines, SameLinesInBlocksOfOneByte) {
    const std::string text = "h\r\na\n\n\nb\r\rc\n\r\nd";
    for (const std::size_t block : {1, 2, 3, 7}) {
        EXPECT_EQ(texts(readPieces(text, block)), (Lines{"h", "a", "", "b", "c", "", "d"})) << block;
    }
}

TEST(BatchFields, HeaderCountSkipsEmptyNames) {
    EXPECT_EQ(countHeaderNames(testing::kInputHeader), 21);
    EXPECT_EQ(countHeaderNames(testing::kInputHeader + ","), 21);
    EXPECT_EQ(countHeaderNames("a,,b"), 2);
    EXPECT_EQ(countHeaderNames(""), 0);
}

// Offset of the first byte that breaks UTF-8, npos when none.
std::uint64_t firstBadByte(const std::string& text) {
    char pattern[] = "/tmp/brinora-reader-test-XXXXXX";
    const int fd = ::mkstemp(pattern);
    EXPECT_EQ(::write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    ::lseek(fd, 0, SEEK_SET);
    ::unlink(pattern);
    BatchLineReader reader(fd, 3, true);
    StreamLine line;
    while (reader.next(line)) {
    }
    ::close(fd);
    return reader.invalidUTF8Offset();
}

TEST(Utf8, WellFormedAndBroken) {
    EXPECT_EQ(firstBadByte("plain"), BatchLineReader::npos);
    EXPECT_EQ(firstBadByte("\xC2\xB5mol \xE2\x82\xAC \xF0\x9F\x8C\x8A"), BatchLineReader::npos);
    EXPECT_EQ(firstBadByte("ab\xE9t\xE9"), 2u);            // Latin-1 e acute
    EXPECT_EQ(firstBadByte("\xC0\xAF"), 0u);               // overlong
    EXPECT_EQ(firstBadByte("\xED\xA0\x80"), 0u);           // surrogate
    EXPECT_EQ(firstBadByte("x\xE2\x82"), 1u);              // cut short
    EXPECT_EQ(firstBadByte("\xF4\x90\x80\x80"), 0u);       // above U+10FFFF
}

class InputErrorTest : public ::testing::Test {
protected:
    InputErrorTest() {
        char pattern[] = "/tmp/brinora-input-test-XXXXXX";
        dir = ::mkdtemp(pattern);
    }
    ~InputErrorTest() override {
        std::error_code ignored;
        std::filesystem::remove_all(dir, ignored);
    }
    std::filesystem::path dir;
};

TEST_F(InputErrorTest, ReadErrorsNameThePathAndTheReason) {
    const std::string missing = (dir / "missing.csv").string();
    PresentedError error;
    EXPECT_LT(openBatchInput(missing, error), 0);
    EXPECT_EQ(error.localizedDescription,
              "The file \"" + missing + "\" could not be read: No such file or directory");

    EXPECT_LT(openBatchInput(dir.string(), error), 0);
    EXPECT_EQ(error.localizedDescription, "The file \"" + dir.string() + "\" could not be read: Is a directory");

    const std::string latin1 = (dir / "latin1.csv").string();
    writeFile(latin1, "h\nSta\xE9tion,1\n");
    const int fd = openBatchInput(latin1, error);
    ASSERT_GE(fd, 0);
    BatchLineReader reader(fd, 4, true);
    StreamLine line;
    while (reader.next(line)) {
    }
    ::close(fd);
    EXPECT_TRUE(reader.failed());
    const PresentedError bad = batchInputError(latin1, reader);
    EXPECT_EQ(bad.domain, "BrinoraFile");
    EXPECT_EQ(bad.localizedDescription,
              "The file \"" + latin1 + "\" could not be read: it is not UTF-8 text (byte 0xE9 at offset 5, line 2)");
}

}  // namespace
}  // namespace brinora
