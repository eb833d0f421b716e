#include "pipeline/run_input.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <string_view>

#include "input/fields.h"

namespace brinora::pipeline {
namespace {

std::string overflowNote(int field) {
    static constexpr std::array<std::string_view, 14> kNames = {
        "salinity", "temperature", "pressure",  "total phosphate", "total silicate", "output temperature",
        "output pressure", "TA", "TCO2", "pH", "fCO2", "pCO2", "atmospheric pCO2", "wind speed"};
    const bool word = field >= kWordNote;
    if (word) field -= kWordNote;
    return "field " + std::to_string(field + 1) + " (" +
           std::string(kNames[static_cast<std::size_t>(field) - kFirstSampleValueField]) +
           (word ? ") is a word that names no number (\"nan\" or \"inf\"); it is taken as 0"
                 : ") is a number beyond the single-precision range; it is taken as infinite");
}

}  // namespace

RunInput::~RunInput() {
    if (ownsDescriptor && fd >= 0) ::close(fd);
}

bool openRunInput(const std::string& path, RunInput& input, PresentedError& error) {
    if (path == "-") {
        input.fd = STDIN_FILENO;
        input.ownsDescriptor = false;
    } else {
        input.fd = openBatchInput(path, error);
        if (input.fd < 0) return false;
        input.ownsDescriptor = true;
    }
    struct stat info {};
    if (::fstat(input.fd, &info) == 0 && S_ISREG(info.st_mode)) {
        input.size = static_cast<std::uint64_t>(info.st_size);
        input.sizeKnown = true;
    }
    return true;
}


double percentOf(std::uint64_t done, const RunInput& input) {
    if (!input.sizeKnown || input.size == 0) return 0.0;
    return static_cast<double>(done) / static_cast<double>(input.size) * 100.0;
}

void noteLine(BatchReport& report, const LineResult& result, int sourceLine) {
    if (result.fieldCount > kBatchLineFields) {
        report.note(RunNote{sourceLine, "the line has " + std::to_string(result.fieldCount) +
                                            " fields; the fields after the 21st are ignored (is there a comma "
                                            "inside a name or comment?)"});
    }
    if (result.overflowField >= 0) report.note(RunNote{sourceLine, overflowNote(result.overflowField)});
}

}  // namespace brinora::pipeline
