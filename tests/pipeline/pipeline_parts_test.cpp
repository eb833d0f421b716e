// The parts of the batch engine against plain restatements of their rules:
// the block reader against the whole text cut with string operations, the
// "%.3f" writer against printf, the field reader against lenientDouble, and
// the record and placemark writers against the controller's own.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "input/fields.h"
#include "records/batch_record.h"
#include "records/fixed_format.h"
#include "records/kml_document.h"
#include "input/lenient_number.h"
#include "records/output_record.h"
#include "input/line_reader.h"
#include "engine/engine.h"
#include "engine/slots.h"
#include "tests/support/controller_fixture.h"
#include "tests/support/reference_text.h"
#include "tests/support/files.h"

namespace brinora {
namespace {

using testing::ControllerTest;
using testing::writeFile;

std::string printfFixed3(float value) {
    char buffer[128];
    const int n = std::snprintf(buffer, sizeof buffer, "%.3f", static_cast<double>(value));
    return std::string(buffer, static_cast<std::size_t>(n));
}

std::string fixed3(float value) {
    char buffer[kFixed3MaxLength];
    return std::string(buffer, writeFixed3(value, buffer));
}

// ---------------------------------------------------------------- "%.3f"

TEST(FixedFormat, SpecialValuesAsPrintfWritesThem) {
    const float specials[] = {0.0f,
                              -0.0f,
                              std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity(),
                              std::numeric_limits<float>::quiet_NaN(),
                              -std::numeric_limits<float>::quiet_NaN(),
                              std::bit_cast<float>(0x7F800001u),  // signalling NaN
                              std::bit_cast<float>(0xFFC12345u),
                              std::numeric_limits<float>::denorm_min(),
                              -std::numeric_limits<float>::denorm_min(),
                              std::numeric_limits<float>::min(),
                              std::numeric_limits<float>::max(),
                              -std::numeric_limits<float>::max(),
                              std::numeric_limits<float>::epsilon(),
                              0.0005f,
                              -0.0005f,
                              0.0625f,   // 62.5 thousandths: a tie, to even
                              0.1875f,   // 187.5 thousandths: a tie, to even
                              -0.0625f,
                              -0.0004f,  // rounds to "-0.000"
                              1.0f,
                              -1.0f,
                              999.9995f,
                              9007199254740992.0f,   // 2^53
                              18014398509481984.0f,  // 2^54
                              -999.0f,
                              -9.0f,
                              2300.0f,
                              8.1f,
                              1e10f,
                              1e20f,
                              4294967296.0f};
    for (const float value : specials) {
        EXPECT_EQ(fixed3(value), printfFixed3(value)) << std::hex << std::bit_cast<std::uint32_t>(value);
    }
    EXPECT_EQ(fixed3(-0.0f), "-0.000");
    EXPECT_EQ(fixed3(std::numeric_limits<float>::quiet_NaN()), "nan");
    EXPECT_EQ(fixed3(-std::numeric_limits<float>::quiet_NaN()), "-nan");
    EXPECT_EQ(fixed3(-std::numeric_limits<float>::infinity()), "-inf");
}

TEST(FixedFormat, EveryExponentAndItsNeighbours) {
    // Each binary exponent with the smallest, largest and a few middle
    // significands, both signs.
    for (std::uint32_t exponent = 0; exponent < 256; ++exponent) {
        for (const std::uint32_t fraction : {0u, 1u, 2u, 0x400000u, 0x3FFFFFu, 0x7FFFFEu, 0x7FFFFFu, 0x155555u}) {
            for (const std::uint32_t sign : {0u, 1u}) {
                const float value = std::bit_cast<float>(sign << 31 | exponent << 23 | fraction);
                ASSERT_EQ(fixed3(value), printfFixed3(value)) << std::hex << std::bit_cast<std::uint32_t>(value);
            }
        }
    }
}

TEST(FixedFormat, TenMillionRandomFloatsAsPrintfWritesThem) {
    // Half of them any bit pattern, half of them values of the size a record holds.
    std::mt19937_64 random(20240601);
    std::uniform_real_distribution<double> magnitude(-4.0, 6.0);
    std::size_t mismatches = 0;
    std::string first;
    for (int i = 0; i < 10'000'000; ++i) {
        float value = 0.0f;
        if (i % 2 == 0) {
            value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
        } else {
            value = static_cast<float>(std::pow(10.0, magnitude(random)) * ((random() & 1) != 0 ? -1.0 : 1.0));
        }
        char buffer[kFixed3MaxLength];
        char* end = writeFixed3(value, buffer);
        char expected[128];
        const int n = std::snprintf(expected, sizeof expected, "%.3f", static_cast<double>(value));
        if (end - buffer != n || std::memcmp(buffer, expected, static_cast<std::size_t>(n)) != 0) {
            if (mismatches++ == 0) first = std::string(buffer, end) + " instead of " + expected;
        }
    }
    EXPECT_EQ(mismatches, 0u) << "first: " << first;
}

TEST(FixedFormat, FormatNumberIsTheSameText) {
    for (const float value : {0.0f, -0.0f, 1.0005f, -2.5e-4f, 3.0e38f, std::numeric_limits<float>::quiet_NaN()}) {
        EXPECT_EQ(formatNumber(value), printfFixed3(value));
    }
}

// ---------------------------------------------------------------- numbers

// The leading number of `text` as strtod reads it (the C locale), 0 when none.
double strtodOfLeadingNumber(std::string_view text) {
    const NumberSpan span = leadingNumber(text);
    if (span.start == span.end) return 0.0;
    return std::strtod(std::string(text.substr(span.start, span.end - span.start)).c_str(), nullptr);
}

TEST(LenientNumbers, AsStrtodReadsThemToTheBit) {
    const std::vector<std::string> texts = {
        "", " ", "35", " 35", "\t35", "+2300", "-0", "-0.0", "0", "35.", ".5", "-.5", "1e5", "1E5", "1e+5",
        "1e-5", "1e", "1e+", "1ex", "3.5e1x", "abc", "-", "+", ".", "-.", "12abc", "1.2.3", "1e999", "-1e999",
        "1e-400", "4.9e-324", "2.4703282292062327e-324", "0.000000000000000000000000000000000000000000001",
        "340282356779733661637539395458142568448", "3.4028235e38", "1.17549435e-38", "1.4e-45",
        "123456789012345678901234567890", "0x10", "inf", "nan", "-inf", "  -12.5e-3 rest", "00012", "9.999999999999999e22"};
    for (const std::string& text : texts) {
        const double expected = strtodOfLeadingNumber(text);
        EXPECT_EQ(std::bit_cast<std::uint64_t>(lenientDouble(text)), std::bit_cast<std::uint64_t>(expected))
            << "\"" << text << "\"";
        EXPECT_EQ(std::bit_cast<std::uint32_t>(lenientFloat(text)),
                  std::bit_cast<std::uint32_t>(static_cast<float>(expected)))
            << "\"" << text << "\"";
    }
}

TEST(LenientNumbers, RandomTextsAsStrtodReadsThem) {
    std::mt19937_64 random(7);
    const std::string alphabet = "0123456789.-+eE x";
    std::size_t mismatches = 0;
    std::string first;
    for (int i = 0; i < 200'000; ++i) {
        std::string text;
        const int length = static_cast<int>(random() % 24);
        for (int k = 0; k < length; ++k) {
            // Mostly digits, so that many texts are numbers.
            const std::size_t pick = random() % 40;
            text.push_back(pick < 10 ? static_cast<char>('0' + pick) : alphabet[random() % alphabet.size()]);
        }
        if (std::bit_cast<std::uint64_t>(lenientDouble(text)) !=
            std::bit_cast<std::uint64_t>(strtodOfLeadingNumber(text))) {
            if (mismatches++ == 0) first = text;
        }
    }
    EXPECT_EQ(mismatches, 0u) << "first: \"" << first << "\"";
}

TEST(FastFields, SplitKeepsTheFirstTwentyOneFields) {
    BatchFields fields;
    EXPECT_EQ(splitBatchFields("", fields), 1u);
    EXPECT_EQ(fields[0], "");
    EXPECT_EQ(splitBatchFields("a,,b", fields), 3u);
    EXPECT_EQ(fields[0], "a");
    EXPECT_EQ(fields[1], "");
    EXPECT_EQ(fields[2], "b");
    EXPECT_EQ(fields[3], "");
    std::string wide;
    for (int k = 0; k < 30; ++k) wide += (k ? "," : "") + std::to_string(k);
    EXPECT_EQ(splitBatchFields(wide, fields), 30u);
    const std::vector<std::string> expected = reference::splitFields(wide);
    for (std::size_t k = 0; k < kBatchLineFields; ++k) EXPECT_EQ(fields[k], expected[k]);
    EXPECT_EQ(splitBatchFields(",", fields), 2u);
}

// ---------------------------------------------------------------- reading

class StreamReaderTest : public ::testing::Test {
protected:
    brinora::testing::ScratchFolder scratch_{"stream-test"};

    StreamReaderTest() {
        dir = scratch_.path();
    }

    // The pieces of the file at `path` read in blocks of `block` bytes.
    static std::vector<reference::TextLine> readInBlocks(const std::string& path, std::size_t block) {
        const int fd = ::open(path.c_str(), O_RDONLY);
        EXPECT_GE(fd, 0);
        BatchLineReader reader(fd, block);
        std::vector<reference::TextLine> lines;
        StreamLine line;
        while (reader.next(line)) lines.push_back(reference::TextLine{std::string(line.text), line.sourceLine});
        ::close(fd);
        return lines;
    }

    void expectSameLines(const std::string& text) {
        const std::string path = dir + "/in.csv";
        writeFile(path, text);
        std::string withoutMark = text;
        if (withoutMark.starts_with("\xEF\xBB\xBF")) withoutMark.erase(0, 3);
        const std::vector<reference::TextLine> expected = reference::splitBatchLines(withoutMark);
        for (const std::size_t block : {1, 2, 3, 4, 5, 7, 16, 64, 4096, 1 << 20}) {
            const std::vector<reference::TextLine> lines = readInBlocks(path, block);
            ASSERT_EQ(lines.size(), expected.size()) << "block " << block;
            for (std::size_t k = 0; k < lines.size(); ++k) {
                ASSERT_EQ(lines[k].text, expected[k].text) << "block " << block << ", piece " << k;
                ASSERT_EQ(lines[k].sourceLine, expected[k].sourceLine) << "block " << block << ", piece " << k;
            }
        }
    }

    std::string dir;
};

TEST_F(StreamReaderTest, AwkwardLineEnds) {
    for (const std::string text :
         {"", "a", "a\n", "a\r\n", "a\r", "\n", "\r", "\r\n", "\n\n", "\n\n\n", "\r\r\r", "\r\n\r\n",
          "a\n\nb", "a\n\n\nb", "a\n\n\n\nb", "a\n\n\n\n\nb", "a\r\rb", "a\r\n\r\nb\r\n", "a\n\rb", "a\n\r\nb",
          "a\r\n\nb", "h\r\n1,x\r\n\r\n2,y\r\n", "h\n1\n2", "h\r1\r2\r", "\xEF\xBB\xBFh\n1\n", "\xEF\xBB\xBF",
          "\xEF\xBB", "h\n\xEF\xBB\xBF\n", ",,,\n,\n"}) {
        expectSameLines(text);
    }
}

TEST_F(StreamReaderTest, LinesLongerThanABlock) {
    std::string text = "header\n" + std::string(100000, 'x') + "\r\n" + std::string(5000, ',') + "\n\n\nend";
    expectSameLines(text);
}

TEST_F(StreamReaderTest, RandomTextsOfLineEndsAndCommas) {
    std::mt19937_64 random(99);
    const char alphabet[] = {'a', ',', '\r', '\n', 'b', '\n'};
    for (int round = 0; round < 300; ++round) {
        std::string text;
        const int length = static_cast<int>(random() % 60);
        for (int k = 0; k < length; ++k) text.push_back(alphabet[random() % sizeof alphabet]);
        expectSameLines(text);
    }
}

TEST_F(StreamReaderTest, ReportsWhatTheWholeTextReaderReports) {
    const std::string path = dir + "/in.csv";
    // Bad bytes at many offsets, across block boundaries, with line ends before them.
    const std::vector<std::string> texts = {
        "abc\n\xFF", "\xC3", "ab\xC3", "a\n\n\xC3\x28", "\xE2\x82", "x\xE2\x82\n", "\xF0\x9F\x98", "\xED\xA0\x80",
        "ok\n\xC0\xAF", "\xF4\x90\x80\x80", std::string(5000, 'a') + "\n\xE2\x82\xACok\xE2" + "\x28",
        "\xEF\xBB\xBF" "a\xFE"};
    const auto readAll = [&path](std::size_t block) {
        PresentedError error;
        const int fd = openBatchInput(path, error);
        EXPECT_GE(fd, 0);
        BatchLineReader reader(fd, block, true);
        StreamLine line;
        while (reader.next(line)) {
        }
        ::close(fd);
        return std::make_pair(reader.failed(), reader.failed() ? batchInputError(path, reader) : PresentedError{});
    };
    for (const std::string& text : texts) {
        writeFile(path, text);
        const reference::TextFileContents expected = reference::readUTF8TextFile(path);
        ASSERT_FALSE(expected.ok);
        for (const std::size_t block : {1, 2, 3, 5, 4096}) {
            const auto [failed, error] = readAll(block);
            EXPECT_TRUE(failed);
            EXPECT_EQ(error.domain, expected.error.domain);
            EXPECT_EQ(error.code, expected.error.code);
            EXPECT_EQ(error.localizedDescription, expected.error.localizedDescription) << "block " << block;
        }
    }
    // Valid UTF-8 of every length passes.
    writeFile(path, "h\n\xC3\xA9,\xE2\x82\xAC,\xF0\x9F\x98\x80\n");
    EXPECT_FALSE(readAll(1).first);

    for (const std::string& missing : {dir + "/none.csv", dir, std::string()}) {
        const reference::TextFileContents expected = reference::readUTF8TextFile(missing);
        PresentedError error;
        EXPECT_LT(openBatchInput(missing, error), 0);
        EXPECT_EQ(error.code, expected.error.code);
        EXPECT_EQ(error.localizedDescription, expected.error.localizedDescription);
    }
}

// ---------------------------------------------------------------- records

class FastRecordTest : public ControllerTest {};

TEST_F(FastRecordTest, RecordIsTheControllersRecordForEveryValueClass) {
    chooseOptions(13, 2, 3, 2);
    core.batchWriteMode = 1;
    std::mt19937_64 random(5);
    const float odd[] = {0.0f, -0.0f, std::numeric_limits<float>::quiet_NaN(), -std::numeric_limits<float>::quiet_NaN(),
                         std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(), -999.0f,
                         1e30f, -0.0004f, 0.0625f};
    const std::string optionColumns = batchRecordOptionColumns(recordOptionTitlesOf(ui));
    for (int round = 0; round < 2000; ++round) {
        Board board;
        for (std::uint32_t pos = 0; pos < Board::kSize; ++pos) {
            const std::uint64_t pick = random() % 4;
            const float value = pick == 0 ? odd[random() % std::size(odd)]
                                : pick == 1 ? std::bit_cast<float>(static_cast<std::uint32_t>(random()))
                                            : static_cast<float>(static_cast<double>(random() % 2000000) / 997.0 - 500.0);
            board.set(pos, value);
        }
        if (round % 3 == 0) board.set(slot::kPressure, 0.0f);
        if (round % 5 == 0) board.set(slot::kTemperatureOut, 0.0f);
        if (round % 7 == 0) board.set(slot::kPressureOut, -0.0f);
        std::string line = std::to_string(round) + ",St " + std::to_string(round) + ",10:00,1/2/2023,10.5,-20.25";
        for (int k = 6; k < 20; ++k) line += ",1";
        line += round % 2 ? ",a comment" : "";
        if (round % 11 == 0) line += ",extra,fields";
        BatchFields fields;
        splitBatchFields(line, fields);
        core.cruiseInformationDictionary.clear();
        const char* keys[] = {"SampleID", "Name", "Time", "Date", "Latitude", "Longitude"};
        for (int k = 0; k < 6; ++k) core.cruiseInformationDictionary[keys[k]] = std::string(fields[static_cast<std::size_t>(k)]);
        core.cruiseInformationDictionary["Comment"] = std::string(fields[20]);
        Engine::sharedInstance()->board() = board;

        std::string fast;
        appendBatchRecord(fast, fields, board, optionColumns);
        const std::string expected = std::get<std::string>(core.formatOutputAs("String"));
        ASSERT_EQ(fast, expected) << "round " << round;
    }
}

TEST_F(FastRecordTest, PlacemarkIsTheControllersPlacemark) {
    chooseOptions(13, 1, 1, 1);
    const PlacemarkTemplate placemark;
    std::mt19937_64 random(11);
    const std::vector<std::string> texts = {"", "Station #1", "#SALINITY#", "#SAMPLENAME#", "a#b#c", "#", "##",
                                            "#tC#", "<b>", "\xC2\xB5", "plain"};
    std::string input = testing::kInputHeader + "\n";
    std::vector<Board> boards;
    for (int round = 0; round < 200; ++round) {
        std::string line = std::to_string(round);
        for (int k = 1; k < 21; ++k) {
            line += ",";
            line += k >= 6 && k <= 18 ? std::to_string(random() % 100) : texts[random() % texts.size()];
        }
        if (round % 9 == 0) line = "";
        if (round % 13 == 0) line = std::to_string(round) + ",only three";
        input += line + "\n";
    }
    // The controller's document, with the calculation a stand-in that marks
    // each result slot: kept board by board.
    core.computeCO2 = [&boards](Board& board) {
        for (std::uint32_t pos = 30; pos <= 72; ++pos) {
            board.set(pos, static_cast<float>(pos) * 1.5f + static_cast<float>(boards.size()));
        }
        boards.push_back(board);
    };
    const std::string inputPath = (dir / "in.csv").string();
    const std::string outputPath = (dir / "out.kml").string();
    testing::writeFile(inputPath, input);
    ui.onOpenPanel = [&](const OpenPanelRequest&) { return std::vector<std::string>{inputPath}; };
    ui.onSavePanel = [&](const SavePanelRequest&) -> std::optional<std::string> { return outputPath; };
    core.sampleID = 7;
    core.writeKML();
    const std::string document = testing::readFile(outputPath);

    std::string fast(kmlDocumentHeader());
    const std::vector<reference::TextLine> lines = reference::splitBatchLines(input);
    ASSERT_EQ(boards.size(), lines.size() - 2);
    for (std::size_t i = 1; i + 1 < lines.size(); ++i) {
        BatchFields fields;
        splitBatchFields(lines[i].text, fields);
        placemark.append(fast, fields, boards[i - 1], 7 + static_cast<std::uint32_t>(i - 1));
    }
    fast += kmlDocumentFooter();
    EXPECT_EQ(fast, document);
}

}  // namespace
}  // namespace brinora
