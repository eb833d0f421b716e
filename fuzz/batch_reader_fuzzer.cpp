// Fuzz target: the batch reader from raw bytes to records. The input is the
// whole content of a batch input file. It goes through the UTF-8 check, the
// line-end normalisation, the splitting into lines and fields, the padding and
// the checks of a batch run, both as a preview and as a full run whose records
// go to /dev/null. The calculation is replaced by a cheap stand-in that puts
// the sample's own values into the result slots, so every record is formatted
// from whatever the fields held (not-a-number and infinite values included).
//
// Each step is compared with a plain re-implementation of its rule, written
// here independently: line ends, fields, header count, the checks in their
// order, and the number of records written.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "app/settings_keys.h"
#include "batch/controller_core.h"
#include "batch/plain_ui.h"
#include "batch/text_files.h"
#include "engine/engine.h"
#include "fuzz_support.h"

namespace {

using brinora::fuzz::require;

// UTF-8 by decoding code points: no overlong form, no surrogate, nothing
// above U+10FFFF, no truncated sequence.
bool isUTF8(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size()) {
        const auto b0 = static_cast<unsigned char>(text[i]);
        int extra = 0;
        std::uint32_t cp = 0;
        if (b0 < 0x80) {
            ++i;
            continue;
        } else if ((b0 & 0xE0) == 0xC0) {
            extra = 1, cp = b0 & 0x1F;
        } else if ((b0 & 0xF0) == 0xE0) {
            extra = 2, cp = b0 & 0x0F;
        } else if ((b0 & 0xF8) == 0xF0) {
            extra = 3, cp = b0 & 0x07;
        } else {
            return false;
        }
        if (i + static_cast<std::size_t>(extra) >= text.size()) return false;
        for (int k = 1; k <= extra; ++k) {
            const auto b = static_cast<unsigned char>(text[i + k]);
            if ((b & 0xC0) != 0x80) return false;
            cp = (cp << 6) | (b & 0x3F);
        }
        static constexpr std::uint32_t kSmallest[4] = {0, 0x80, 0x800, 0x10000};
        if (cp < kSmallest[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
        i += static_cast<std::size_t>(extra) + 1;
    }
    return true;
}

// The line rule in three literal passes: "\r" to "\n"; "\n\n" to "\n" once,
// left to right; split at "\n".
std::vector<std::string> referenceLines(std::string_view text) {
    std::string step1(text);
    for (char& c : step1) {
        if (c == '\r') c = '\n';
    }
    std::string step2;
    for (std::size_t i = 0; i < step1.size(); ++i) {
        step2.push_back(step1[i]);
        if (step1[i] == '\n' && i + 1 < step1.size() && step1[i + 1] == '\n') ++i;
    }
    std::vector<std::string> lines(1);
    for (const char c : step2) {
        if (c == '\n') {
            lines.emplace_back();
        } else {
            lines.back().push_back(c);
        }
    }
    return lines;
}

std::vector<std::string> referenceFields(const std::string& line) {
    std::vector<std::string> fields(1);
    for (const char c : line) {
        if (c == ',') {
            fields.emplace_back();
        } else {
            fields.back().push_back(c);
        }
    }
    return fields;
}

const std::string kNoData = "There are no datapoints to process.";
const std::string kColumns = "There is an incorrect number of data columns in the input CSV.";
const std::string kSalinity = "All records require a salinity value. There is a salinity value missing.";
const std::string kTemperature = "All records require a temperature value. There is a temperature value missing.";
const std::string kPairs = "To batch process records, Brinora needs values for at least two carbonate parameters";
const std::string kUnreadable = "There was an error reading from the file";

// What a run over `lines` must end with, and how many records it makes.
struct Expected {
    std::string message;
    int records = 0;
};

Expected expectedRun(const std::vector<std::string>& lines, int last) {
    Expected expected;
    if (lines.size() == 1) return {kNoData, 0};
    int names = 0;
    for (const std::string& name : referenceFields(lines[0])) names += name.empty() ? 0 : 1;
    if (names != 21) return {kColumns, 0};
    for (int i = 1; i <= last; ++i) {
        std::vector<std::string> f = referenceFields(lines[static_cast<std::size_t>(i)]);
        f.resize(std::max<std::size_t>(f.size(), 21));
        if (f[0].empty()) continue;
        if (f[6].empty()) return {kSalinity, expected.records};
        if (f[7].empty()) return {kTemperature, expected.records};
        const auto none = [&](int a, int b) { return f[a].empty() && f[b].empty(); };
        if (!(none(13, 14) || none(13, 15) || none(13, 16) || none(13, 17) || none(14, 15) || none(14, 16) ||
              none(14, 17) || none(15, 16) || none(15, 17))) {
            return {kPairs, expected.records};
        }
        ++expected.records;
    }
    return expected;
}

// The stand-in calculation: the sample slots 11..24 copied over the result slots.
void fakeCompute() {
    brinora::Engine* board = brinora::Engine::sharedInstance();
    for (std::uint32_t pos = 30; pos <= 72; ++pos) {
        board->setFieldValueAtPos(pos, board->getFieldValueAtPos(11 + pos % 14));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    brinora::fuzz::quietLog();
    static brinora::fuzz::InputFile input;
    const std::string_view raw(reinterpret_cast<const char*>(data), size);

    // The pure steps.
    const std::size_t bad = brinora::firstInvalidUTF8Byte(raw);
    require((bad == std::string_view::npos) == isUTF8(raw), "UTF-8 check agrees with a decoder");
    if (bad != std::string_view::npos) require(isUTF8(raw.substr(0, bad)), "the text before the bad byte is UTF-8");

    const std::vector<brinora::TextLine> lines = brinora::splitBatchLines(raw);
    const std::vector<std::string> reference = referenceLines(raw);
    require(lines.size() == reference.size(), "line count");
    int previousLine = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        require(lines[i].text == reference[i], "line text");
        require(lines[i].sourceLine >= previousLine && lines[i].sourceLine >= 1, "line numbers rise");
        previousLine = lines[i].sourceLine;
        const std::vector<std::string> fields = brinora::splitFields(lines[i].text);
        require(fields == referenceFields(lines[i].text), "fields");
    }
    int names = 0;
    for (const std::string& name : referenceFields(reference[0])) names += name.empty() ? 0 : 1;
    require(brinora::countHeaderNames(reference[0]) == names, "header names");

    // The controller's runs over the same bytes, read back from a file.
    input.replace(data, size);
    brinora::MemorySettings defaults;
    defaults.setValue(brinora::settings::kNumberOfLinesInPreview, "1000000");
    brinora::PlainUi ui;
    ui.selectItem(brinora::Menu::CO2Constants, 13);
    ui.selectItem(brinora::Menu::KHSO4, 1);
    ui.selectItem(brinora::Menu::pHScale, 1);
    ui.selectItem(brinora::Menu::AirSeaFlux, 1);
    brinora::BrinoraAppControllerCore core(ui, defaults);
    core.computeCO2 = fakeCompute;
    core.batchInputFilesChosen({input.path()});  // runs the preview
    core.fullPathOut = "/dev/null";

    std::string text(raw);
    if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
    const std::vector<std::string> expectedLines = referenceLines(text);
    const int last = static_cast<int>(expectedLines.size()) - 1;
    const Expected expected = bad != std::string_view::npos ? Expected{kUnreadable, 0} : expectedRun(expectedLines, last);

    const std::string preview = core.batchProcess(input.path(), true);
    require(preview == expected.message, "preview run ends as the rules say");
    if (preview.empty()) {
        require(static_cast<int>(core.previewTableController.previewTable().size()) == expected.records,
                "one preview row per sample line");
    }
    const std::string full = core.batchProcess(input.path(), false);
    require(full == expected.message, "full run ends as the rules say");
    require(core.recordsWritten == expected.records, "one record per sample line");
    require(core.failedWrites == 0, "no failed write to /dev/null");
    brinora::Engine::sharedInstance()->reset();
    return 0;
}
