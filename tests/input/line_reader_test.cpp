// The one line splitter of batch input files: pieces, their editor line
// numbers, the UTF-8 check and the reasons a file cannot be read.
#include "input/line_reader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "input/line_rules.h"
#include "tests/support/controller_fixture.h"
#include "tests/support/files.h"

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
        // "\r\r" becomes "\n\n" and then one "\n": no empty piece between b and c.
        EXPECT_EQ(texts(readPieces(text, block)), (Lines{"h", "a", "", "b", "c", "", "d"})) << block;
    }
}

// Everything a reader hands out and reports, read to its end.
struct Reading {
    std::vector<Piece> pieces;
    std::vector<bool> finishedAfter;  // finished() after each piece
    bool failed = false;
    std::uint64_t bytesConsumed = 0;
    std::uint64_t invalidOffset = 0;
    unsigned invalidByte = 0;
    std::uint64_t newlinesBeforeInvalid = 0;
    int errorNumber = 0;

    bool operator==(const Reading&) const = default;
};

bool operator==(const Piece& a, const Piece& b) { return a.text == b.text && a.sourceLine == b.sourceLine; }

Reading readToEnd(BatchLineReader& reader) {
    Reading reading;
    StreamLine line;
    while (reader.next(line)) {
        reading.pieces.push_back(Piece{std::string(line.text), line.sourceLine});
        reading.finishedAfter.push_back(reader.finished());
    }
    reading.failed = reader.failed();
    reading.bytesConsumed = reader.bytesConsumed();
    reading.invalidOffset = reader.invalidUTF8Offset();
    reading.invalidByte = reader.invalidUTF8Byte();
    reading.newlinesBeforeInvalid = reader.newlinesBeforeInvalidByte();
    reading.errorNumber = reader.errorNumber();
    return reading;
}

Reading readFromFile(const std::string& text, std::size_t block, bool checkUTF8) {
    char pattern[] = "/tmp/brinora-reader-test-XXXXXX";
    const int fd = ::mkstemp(pattern);
    EXPECT_GE(fd, 0);
    EXPECT_EQ(::write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    ::lseek(fd, 0, SEEK_SET);
    ::unlink(pattern);
    BatchLineReader reader(fd, block, checkUTF8);
    Reading reading = readToEnd(reader);
    ::close(fd);
    return reading;
}

Reading readFromMemory(const std::string& text, std::size_t block, bool checkUTF8) {
    BatchLineReader reader(std::string_view(text), block, checkUTF8);
    return readToEnd(reader);
}

TEST(MemoryReader, HandsOutThePiecesOfTheText) {
    BatchLineReader reader(std::string_view("\xEF\xBB\xBFh\r\na\n\n\nb\r\rc"), 2, true);
    const Reading reading = readToEnd(reader);
    EXPECT_EQ(texts(reading.pieces), (Lines{"h", "a", "", "b", "c"}));
    EXPECT_EQ(sourceLines(reading.pieces), (std::vector<int>{1, 2, 4, 5, 7}));
    EXPECT_EQ(reading.finishedAfter, (std::vector<bool>{false, false, false, false, true}));
    EXPECT_FALSE(reading.failed);
    EXPECT_EQ(reading.bytesConsumed, 14u);
    EXPECT_EQ(reading.invalidOffset, BatchLineReader::npos);
}

TEST(MemoryReader, StopsAtTheFirstByteThatIsNotUTF8) {
    BatchLineReader reader(std::string_view("h\nSta\xE9tion,1\n"), 4, true);
    const Reading reading = readToEnd(reader);
    EXPECT_EQ(texts(reading.pieces), (Lines{"h"}));
    EXPECT_TRUE(reading.failed);
    EXPECT_EQ(reading.invalidOffset, 5u);
    EXPECT_EQ(reading.invalidByte, 0xE9u);
    EXPECT_EQ(reading.newlinesBeforeInvalid, 1u);
    EXPECT_EQ(reading.errorNumber, 0);
    EXPECT_EQ(batchInputError("in.csv", reader).localizedDescription,
              "The file \"in.csv\" could not be read: it is not UTF-8 text (byte 0xE9 at offset 5, line 2)");
}

TEST(MemoryReader, SameAsTheFileForEveryBlockSize) {
    const std::vector<std::string> awkward = {
        "",
        "\xEF\xBB\xBF",
        "\xEF\xBB",
        "\xEF\xBB\xBF\n",
        "\n",
        "\r",
        "\r\n",
        "\n\r",
        "\r\r\n\n\r\n\r",
        "h\r\na\n\n\nb\r\rc\n\r\nd",
        "h\na\n\n\n\nb\n",
        "no line end at all",
        "a,b,,c\r\n,,,\r\n\r\n\r\nx",
        std::string("nul\0inside\n\0\r", 13),
        "\xC2\xB5mol\n\xE2\x82\xAC\r\n\xF0\x9F\x8C\x8A\n",
        "ab\xE9t\xE9\n",
        "line\nx\xE2\x82",
        "\xE2\x82\n",
        "ok\n\xC0\xAF\n",
        "ok\r\n\xED\xA0\x80",
        "\xF4\x90\x80\x80",
        "\xEF\xBB\xBF\xFF",
        std::string(300, 'x') + "\r\n" + std::string(200, 'y') + "\n\n" + std::string(70, 'z'),
    };
    for (const std::string& text : awkward) {
        for (std::size_t block = 1; block <= text.size() + 2; ++block) {
            for (const bool checkUTF8 : {false, true}) {
                EXPECT_EQ(readFromMemory(text, block, checkUTF8), readFromFile(text, block, checkUTF8))
                    << "text \"" << text << "\", block " << block << ", checkUTF8 " << checkUTF8;
            }
        }
        EXPECT_EQ(readFromMemory(text, kDefaultReadBlock, true), readFromFile(text, kDefaultReadBlock, true))
            << "text \"" << text << "\", default block";
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
    brinora::testing::ScratchFolder scratch_{"input-test"};

    InputErrorTest() {
        dir = scratch_.path();
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
