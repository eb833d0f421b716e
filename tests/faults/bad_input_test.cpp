// Input files as spreadsheets, instruments and databases export them when
// something has gone wrong: empty, binary, in another encoding, with a
// byte-order mark or NUL bytes, with a 100 MB line or a million fields. Each
// ends with a clear message or the usual result; none crashes, and memory
// stays bounded.
#include <random>

#include "fault_fixture.h"

namespace brinora::faults {
namespace {

class BadInput : public FaultTest {
protected:
    Outcome batch(const std::string& text) { return run({.arguments = batchArgs(input(text), path("out.csv"))}); }
    Outcome kml(const std::string& text) {
        std::vector<std::string> args{"kml", input(text), "-o", path("out.kml"), "--force"};
        args.insert(args.end(), kOptions.begin(), kOptions.end());
        return run({.arguments = args});
    }
    Outcome preview(const std::string& text) {
        std::vector<std::string> args{"preview", input(text)};
        args.insert(args.end(), kOptions.begin(), kOptions.end());
        return run({.arguments = args});
    }
};

// Peak memory allowed for a run over an input of `bytes` bytes, KiB: a long
// line is held by the reader, then as a line and as its record, never more
// than two and a half times over. Sanitizer builds need about three times as much.
long memoryBoundKb(std::size_t bytes, double times = 2.5) {
    const double megabytes = 64.0 + times * static_cast<double>(bytes) / 1e6;
    return static_cast<long>(megabytes * 1024.0 * (sanitized() ? 3.0 : 1.0));
}

void expectNoCrash(const Outcome& outcome) {
    EXPECT_EQ(outcome.signal, 0) << outcome.err;
    EXPECT_TRUE(outcome.status == 0 || outcome.status == 1) << outcome.status << ": " << outcome.err;
}

TEST_F(BadInput, EmptyFile) {
    for (const Outcome& outcome : {batch(""), kml(""), preview("")}) {
        EXPECT_EQ(outcome.status, 1);
        EXPECT_NE(outcome.err.find("There are no datapoints to process."), std::string::npos) << outcome.err;
    }
    EXPECT_FALSE(std::filesystem::exists(path("out.csv")));
}

TEST_F(BadInput, BinaryFile) {
    std::mt19937 random(5);
    std::string bytes(1 << 16, '\0');
    for (char& c : bytes) c = static_cast<char>(random() & 0xFF);
    for (const Outcome& outcome : {batch(bytes), kml(bytes), preview(bytes)}) {
        EXPECT_EQ(outcome.status, 1);
        EXPECT_NE(outcome.err.find("is not UTF-8 text (byte 0x"), std::string::npos) << outcome.err;
    }
    EXPECT_FALSE(std::filesystem::exists(path("out.csv")));
}

TEST_F(BadInput, NotUTF8) {
    // A Latin-1 export: "Bahía" with a single byte 0xED on line 3.
    const std::string text = kInputHeader + "\n" + sampleLine(1) + "\n2,Bah\xED" "a,,,0,0,35,20,0,0,0,,,2300,2000,,,,,,\n";
    const Outcome outcome = batch(text);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("is not UTF-8 text (byte 0xED at offset " + std::to_string(text.find('\xED')) +
                               ", line 3)"),
              std::string::npos)
        << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(path("out.csv")));
}

TEST_F(BadInput, ByteOrderMarkIsIgnored) {
    const Outcome plain = batch(batchInput(3));
    ASSERT_EQ(plain.status, 0) << plain.err;
    const std::string expected = readFile(path("out.csv"));
    const Outcome marked = batch("\xEF\xBB\xBF" + batchInput(3));
    EXPECT_EQ(marked.status, 0) << marked.err;
    EXPECT_EQ(readFile(path("out.csv")), expected);
}

TEST_F(BadInput, NulBytes) {
    // A NUL inside a name is text like any other and is written as read.
    const std::string name = std::string("St\0ne", 5);
    const Outcome outcome = batch(kInputHeader + "\n1," + name + ",,,0,0,35,20,0,0,0,,,2300,2000,,,,,,ok\n");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const std::vector<std::string> lines = linesOf(readFile(path("out.csv")));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(lines[1].starts_with("1," + name + ",")) << lines[1];
    // A file of NUL bytes only is a header of one name.
    const Outcome zeros = batch(std::string(4096, '\0'));
    EXPECT_EQ(zeros.status, 1);
    EXPECT_NE(zeros.err.find("There are no datapoints to process."), std::string::npos) << zeros.err;
    const Outcome zeroLines = batch(std::string(4096, '\0') + "\n" + sampleLine(1) + "\n");
    EXPECT_EQ(zeroLines.status, 1);
    EXPECT_NE(zeroLines.err.find("There is an incorrect number of data columns"), std::string::npos) << zeroLines.err;
}

TEST_F(BadInput, OneLineOf100Megabytes) {
    // No line end anywhere: the whole file is a header without samples.
    std::string text;
    text.reserve(100'000'000);
    while (text.size() < 100'000'000) text += "Name,";
    const Outcome outcome = batch(text);
    expectNoCrash(outcome);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("There are no datapoints to process."), std::string::npos) << outcome.err;
    EXPECT_LT(outcome.maxRssKb, memoryBoundKb(text.size()));
}

TEST_F(BadInput, SampleWithA100MegabyteComment) {
    // The comment is text and goes into the record as read.
    const std::string comment(100'000'000, 'c');
    const std::string text =
        kInputHeader + "\n" + sampleLine(1) + "\n2,Long,,,0,0,35,20,0,0,0,,,2300,2000,,,,,," + comment + "\n";
    const Outcome outcome = batch(text);
    expectNoCrash(outcome);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_LT(outcome.maxRssKb, memoryBoundKb(text.size()));
    const std::string out = readFile(path("out.csv"));
    const std::vector<std::string> lines = linesOf(out);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_TRUE(lines[2].starts_with("2,Long,"));
    EXPECT_TRUE(lines[2].ends_with(",m/s," + comment + "\n"));
}

TEST_F(BadInput, SampleWithA100MegabyteName) {
    // A name is held by the line, its record and the last line's cruise
    // information: about 3.2 times its size, as the README says.
    const std::string name(100'000'000, 'n');
    const std::string text = kInputHeader + "\n" + sampleLine(1) + "\n2," + name + ",,,0,0,35,20,0,0,0,,,2300,2000,,,,,,ok\n";
    const Outcome outcome = batch(text);
    expectNoCrash(outcome);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_LT(outcome.maxRssKb, memoryBoundKb(text.size(), 3.3));
    const std::vector<std::string> lines = linesOf(readFile(path("out.csv")));
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_TRUE(lines[2].starts_with("2," + name + ","));
    // The preview's table holds every cell besides the line: about 5.2 times.
    const Outcome shown = preview(text);
    expectNoCrash(shown);
    EXPECT_EQ(shown.status, 0) << shown.err;
    EXPECT_LT(shown.maxRssKb, memoryBoundKb(text.size(), 5.4));
}

TEST_F(BadInput, SampleWith100MegabytesOfDigits) {
    // A number field of 100 million digits reads as infinity: never a hang.
    const std::string digits(100'000'000, '7');
    const std::string text = kInputHeader + "\n1,Digits,,,0,0,35,20,0,0,0,,," + digits + ",2000,,,,,,ok\n";
    const Outcome outcome = batch(text);
    expectNoCrash(outcome);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_LT(outcome.maxRssKb, memoryBoundKb(text.size()));
    const std::vector<std::string> lines = linesOf(readFile(path("out.csv")));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_NE(lines[1].find(",inf,2000.000,"), std::string::npos) << lines[1].substr(0, 200);
}

TEST_F(BadInput, HeaderOfAMillionFields) {
    std::string header;
    for (int k = 0; k < 1'000'000; ++k) header += "h,";
    const Outcome outcome = batch(header + "\n" + sampleLine(1) + "\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("There is an incorrect number of data columns in the input CSV."), std::string::npos)
        << outcome.err;
    EXPECT_LT(outcome.maxRssKb, memoryBoundKb(header.size() * 16));
    EXPECT_FALSE(std::filesystem::exists(path("out.csv")));
}

TEST_F(BadInput, SampleOfAMillionFields) {
    // Fields after the 21st are ignored, with a warning.
    std::string line = sampleLine(1);
    for (int k = 0; k < 1'000'000; ++k) line += ",x";
    for (const Outcome& outcome : {batch(kInputHeader + "\n" + line + "\n"), kml(kInputHeader + "\n" + line + "\n")}) {
        expectNoCrash(outcome);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_NE(outcome.err.find("the line has 1000021 fields; the fields after the 21st are ignored"),
                  std::string::npos)
            << outcome.err;
        // Each field costs a small string while the line is split.
        EXPECT_LT(outcome.maxRssKb, memoryBoundKb(line.size() * 16));
    }
    EXPECT_EQ(wholeRecordIds(readFile(path("out.csv"))), std::vector<std::string>{"1"});
}

TEST_F(BadInput, NumbersNoOceanHas) {
    // Not-a-number, infinities, the missing-value marks, huge and negative
    // values in every number field: each line is computed or refused, and
    // the run ends.
    const std::vector<std::string> values = {"nan", "inf", "-inf", "1e39", "-1e39", "-9", "-999", "1e-45",
                                             "-0",  "3.4e38", "-1",  "0",    "35",    "abc"};
    std::string text = kInputHeader + "\n";
    int id = 0;
    for (std::size_t k = 0; k < values.size(); ++k) {
        for (int field = 6; field <= 19; ++field) {
            std::vector<std::string> fields = {std::to_string(++id), "Odd", "", "", "0", "0", "35", "20", "0", "1", "5",
                                               "", "", "2300", "2000", "", "", "", "400", "7", "ok"};
            fields[static_cast<std::size_t>(field)] = values[k];
            // Keep the carbonate pair rule satisfied.
            if (field >= 15 && field <= 17) fields[14] = "";
            std::string line;
            for (const std::string& f : fields) line += f + ",";
            line.pop_back();
            text += line + "\n";
        }
    }
    const Outcome outcome = batch(text);
    expectNoCrash(outcome);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_LT(outcome.seconds, 60.0 * slowdown());
    EXPECT_EQ(wholeRecordIds(readFile(path("out.csv"))).size(), static_cast<std::size_t>(id));
    const Outcome placemarks = kml(text);
    expectNoCrash(placemarks);
    EXPECT_EQ(placemarks.status, 0) << placemarks.err;
}

}  // namespace
}  // namespace brinora::faults
