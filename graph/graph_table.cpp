#include "graph/graph_table.h"

#include <unistd.h>

#include <bit>
#include <cctype>
#include <limits>
#include <unordered_map>

#include "batch/fast_fields.h"
#include "batch/lenient_number.h"
#include "batch/line_rules.h"
#include "batch/output_record.h"
#include "batch/stream_reader.h"
#include "batch/text_files.h"

namespace brinora::graph {

namespace {

constexpr std::uint32_t kMissingBits = 0x7FC0'0A5Eu;

// Fields of a batch input line.
constexpr int kBatchInputNames = 21;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// "HH:MM:SS", the time a form record carries.
bool isFormTime(std::string_view text) {
    return text.size() == 8 && isDigit(text[0]) && isDigit(text[1]) && text[2] == ':' &&
           isDigit(text[3]) && isDigit(text[4]) && text[5] == ':' && isDigit(text[6]) && isDigit(text[7]);
}

// "M/D/YYYY" with one or two digits for month and day, the date a form record carries.
bool isFormDate(std::string_view text) {
    std::size_t i = 0;
    for (int part = 0; part < 3; ++part) {
        const std::size_t start = i;
        while (i < text.size() && isDigit(text[i])) ++i;
        const std::size_t digits = i - start;
        if (part < 2) {
            if (digits < 1 || digits > 2 || i >= text.size() || text[i] != '/') return false;
            ++i;
        } else if (digits != 4) {
            return false;
        }
    }
    return i == text.size();
}

bool startsWithWord(std::string_view text, std::string_view word) {
    if (text.size() < word.size()) return false;
    for (std::size_t i = 0; i < word.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(text[i])) != word[i]) return false;
    }
    return true;
}

GraphTableLoad refuse(std::string message) {
    GraphTableLoad load;
    load.message = std::move(message);
    return load;
}

}  // namespace

float missingValue() { return std::bit_cast<float>(kMissingBits); }

bool isMissing(float value) { return std::bit_cast<std::uint32_t>(value) == kMissingBits; }

float fieldValue(std::string_view text) {
    std::size_t start = 0;
    while (start < text.size() && (text[start] == ' ' || text[start] == '\t')) ++start;
    if (start == text.size()) return missingValue();
    std::string_view rest = text.substr(start);
    bool negative = false;
    if (rest.front() == '-' || rest.front() == '+') {
        negative = rest.front() == '-';
        rest.remove_prefix(1);
    }
    if (startsWithWord(rest, "nan")) return std::numeric_limits<float>::quiet_NaN();
    if (startsWithWord(rest, "inf")) {
        return negative ? -std::numeric_limits<float>::infinity() : std::numeric_limits<float>::infinity();
    }
    return static_cast<float>(lenientDouble(text));
}

GraphTableLoad readGraphTable(const std::string& path) {
    PresentedError error;
    const int fd = openBatchInput(path, error);
    if (fd < 0) return refuse(error.localizedDescription);

    GraphTableLoad load;
    GraphTable& table = load.table;
    {
        BatchLineReader reader(fd);
        StreamLine line;
        // Blank lines before the header do not count.
        bool any = reader.next(line);
        while (any && line.text.empty()) any = reader.next(line);
        if (!any) {
            const int readError = reader.errorNumber();
            ::close(fd);
            if (readError != 0) return refuse(path + ": the file could not be read.");
            return refuse(path + ": the file is empty.");
        }

        std::string_view fixedHeader = dataFileHeaders();
        if (!fixedHeader.empty() && fixedHeader.back() == '\n') fixedHeader.remove_suffix(1);
        if (line.text == fixedHeader) {
            table.kind = FileKind::Output;
        } else if (countHeaderNames(line.text) == kBatchInputNames) {
            table.kind = FileKind::BatchInput;
        } else {
            ::close(fd);
            return refuse(path +
                          ": not a Brinora output file or batch input file (the first line is neither "
                          "the output file header nor a header of 21 names).");
        }
        table.headerNames = splitFields(line.text);

        const auto columns = table.columns();
        table.values.resize(columns.size());
        std::unordered_map<std::string, std::uint32_t> nameIds;
        while (reader.next(line)) {
            if (line.text.empty()) continue;
            const std::vector<std::string> fields = splitFields(line.text);
            if (fields.empty() || fields.front().empty()) continue;
            // A form record with a sample name has no name column.
            const bool nameless = table.kind == FileKind::Output && fields.size() > 2 &&
                                  isFormTime(fields[1]) && isFormDate(fields[2]);
            const std::size_t shift = nameless ? 1 : 0;
            for (std::size_t c = 0; c < columns.size(); ++c) {
                const std::size_t field = columns[c].field - shift;
                table.values[c].push_back(field < fields.size() ? fieldValue(fields[field]) : missingValue());
            }
            std::string name = nameless || fields.size() < 2 ? std::string() : fields[1];
            const auto [found, added] = nameIds.try_emplace(name, static_cast<std::uint32_t>(table.names.size()));
            if (added) table.names.push_back(std::move(name));
            table.nameIndex.push_back(found->second);
            table.lines.push_back(line.sourceLine);
        }
        const int readError = reader.errorNumber();
        ::close(fd);
        if (readError != 0) return refuse(path + ": the file could not be read to its end.");
    }
    if (table.rows() == 0) return refuse(path + ": the file has a header line but no samples.");
    load.ok = true;
    return load;
}

}  // namespace brinora::graph
