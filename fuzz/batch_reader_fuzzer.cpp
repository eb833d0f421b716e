// Fuzz target: the batch reader from raw bytes to line verdicts. The input is
// the whole content of a batch input file, read from memory by the one line
// splitter (BatchLineReader) in blocks whose size the input's length picks,
// once with the UTF-8 check and once without.
//
// Each step is compared with a plain restatement of its rule:
// - the UTF-8 verdict, the offset, value and line of the first bad byte, and
//   the message, with reference::firstInvalidUTF8Byte;
// - the pieces, their editor line numbers and the end of the text, with
//   reference::splitBatchLines of the whole text (without a byte-order mark);
// - the fields of every piece, with reference::splitFields;
// - the header count and the verdict of every line, with the rules restated
//   below; the numbers of fields 6..19, fast reader against plain reader.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "input/fields.h"
#include "input/lenient_number.h"
#include "input/line_rules.h"
#include "input/line_reader.h"
#include "fuzz_support.h"
#include "tests/support/reference_text.h"

namespace {

using brinora::fuzz::require;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// The line rule restated: an empty sample id is nothing; then salinity
// (field 6) and temperature (field 7) are required; then at least one pair of
// the carbonate fields TA 13, TCO2 14, pH 15, fCO2 16, pCO2 17 must be empty
// on both sides, the pair fCO2 and pCO2 not counting.
brinora::LineCheck expectedCheck(const std::vector<std::string>& allFields) {
    const auto field = [&allFields](std::size_t k) -> std::string_view {
        return k < allFields.size() ? std::string_view(allFields[k]) : std::string_view();
    };
    if (field(0).empty()) return {brinora::LineVerdict::kNothing, brinora::StopReason::kNone};
    if (field(6).empty()) return {brinora::LineVerdict::kStop, brinora::StopReason::kSalinity};
    if (field(7).empty()) return {brinora::LineVerdict::kStop, brinora::StopReason::kTemperature};
    int emptyPairs = 0;
    for (std::size_t a = 13; a <= 17; ++a) {
        for (std::size_t b = a + 1; b <= 17; ++b) {
            if (a == 16 && b == 17) continue;
            if (field(a).empty() && field(b).empty()) ++emptyPairs;
        }
    }
    if (emptyPairs == 0) return {brinora::LineVerdict::kStop, brinora::StopReason::kPairs};
    return {brinora::LineVerdict::kSample, brinora::StopReason::kNone};
}

// Checks one piece's fields and verdict; `header` for the first piece.
void checkPiece(std::string_view text, bool header) {
    const std::vector<std::string> reference = brinora::reference::splitFields(text);
    require(brinora::splitFields(text) == reference, "fields equal the plain split");

    brinora::BatchFields fields;
    fields.fill("stale");
    const std::size_t count = brinora::splitBatchFields(text, fields);
    require(count == reference.size(), "field count");
    for (std::size_t k = 0; k < brinora::kBatchLineFields; ++k) {
        const std::string_view expected = k < reference.size() ? std::string_view(reference[k]) : std::string_view();
        require(fields[k] == expected, "the first 21 fields, missing ones empty");
    }

    if (header) {
        int names = 0;
        for (const std::string& name : reference) names += name.empty() ? 0 : 1;
        require(brinora::countHeaderNames(text) == names, "header names");
        return;
    }
    const brinora::LineCheck check = brinora::checkBatchLine(fields);
    const brinora::LineCheck expected = expectedCheck(reference);
    require(check.verdict == expected.verdict && check.reason == expected.reason, "line verdict");
    for (std::size_t k = brinora::kFirstSampleValueField; k <= brinora::kLastSampleValueField; ++k) {
        // The field read from the line's view and from the plain field's copy.
        const float fromView = brinora::lenientFloat(fields[k]);
        const float fromCopy = brinora::lenientFloat(k < reference.size() ? reference[k] : std::string());
        require(std::memcmp(&fromView, &fromCopy, sizeof fromView) == 0, "a field's number is the plain field's");
    }
}

// Reads `raw` from memory in blocks of `block` bytes and checks the pieces
// against `expected`, the pieces of the whole text. With the check, a text
// that breaks UTF-8 at `bad` gives only pieces that end before it.
void checkReading(std::string_view raw, std::size_t block, bool checkUTF8, std::size_t bad,
                  const std::vector<brinora::reference::TextLine>& expected, bool checkFields) {
    brinora::BatchLineReader reader(raw, block, checkUTF8);
    const bool stops = checkUTF8 && bad != std::string_view::npos;
    const std::size_t skipped = raw.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
    std::size_t count = 0;
    std::size_t pieceStart = skipped;  // offset in raw of the piece's first byte
    brinora::StreamLine line;
    while (reader.next(line)) {
        require(count < expected.size(), "no more pieces than the whole text has");
        const brinora::reference::TextLine& want = expected[count];
        require(line.text == want.text, "piece text");
        require(line.sourceLine == want.sourceLine, "piece line number");
        require(reader.finished() == (count + 1 == expected.size()), "finished only after the last piece");
        if (stops) require(pieceStart + line.text.size() <= bad, "a piece handed out ends before the bad byte");
        if (checkFields) checkPiece(line.text, count == 0);
        pieceStart = static_cast<std::size_t>(reader.bytesConsumed());
        ++count;
    }
    require(reader.errorNumber() == 0, "no read error in memory");
    if (!stops) {
        require(!reader.failed() && reader.finished(), "a readable text is read to its end");
        require(count == expected.size(), "every piece");
        require(reader.bytesConsumed() == raw.size(), "every byte consumed");
        require(reader.invalidUTF8Offset() == brinora::BatchLineReader::npos, "no bad byte reported");
        return;
    }
    require(reader.failed() && !reader.finished(), "a text that is not UTF-8 stops the reader");
    require(reader.invalidUTF8Offset() == bad, "offset of the first bad byte");
    require(reader.invalidUTF8Byte() == static_cast<unsigned char>(raw[bad]), "value of the first bad byte");
    std::uint64_t newlines = 0;
    for (std::size_t k = 0; k < bad; ++k) newlines += raw[k] == '\n' ? 1 : 0;
    require(reader.newlinesBeforeInvalidByte() == newlines, "line ends before the first bad byte");
    char detail[160];
    std::snprintf(detail, sizeof detail, "it is not UTF-8 text (byte 0x%02X at offset %zu, line %llu)",
                  static_cast<unsigned>(static_cast<unsigned char>(raw[bad])), bad,
                  static_cast<unsigned long long>(newlines + 1));
    const brinora::PresentedError error = brinora::batchInputError("in.csv", reader);
    require(error.domain == "BrinoraFile", "error domain");
    require(error.localizedDescription == std::string("The file \"in.csv\" could not be read: ") + detail,
            "error message");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view raw(reinterpret_cast<const char*>(data), size);
    const std::size_t bad = brinora::reference::firstInvalidUTF8Byte(raw);
    const std::string_view text = raw.starts_with(kByteOrderMark) ? raw.substr(kByteOrderMark.size()) : raw;
    const std::vector<brinora::reference::TextLine> expected = brinora::reference::splitBatchLines(text);

    // Small blocks cut line ends, byte-order marks and UTF-8 sequences at
    // every place as the inputs vary; the large one holds the whole input.
    const std::size_t small = 1 + size % 23;
    checkReading(raw, small, true, bad, expected, true);
    checkReading(raw, 8192, false, bad, expected, false);
    return 0;
}
