#include "graph/graph_table.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cctype>
#include <functional>
#include <limits>

#include "input/fields.h"
#include "input/lenient_number.h"
#include "input/line_rules.h"
#include "records/output_record.h"
#include "input/line_reader.h"

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

// The powers of ten that a double holds exactly.
constexpr std::array<double, 16> kExactPowersOfTen = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                      1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

// A whole field that is a plain decimal number ("-12.345", "0.500", "7"),
// as the "%.3f" formatter writes them, read without a library call: with at
// most 15 digits the digits form an integer m that a double holds exactly,
// and with k of them after the point the value is m / 10^k, one correctly
// rounded division of two exact doubles (Clinger, "How to read floating
// point numbers accurately", PLDI 1990), which is the correctly rounded
// decimal value that strtod returns too. False for any other text, which
// the lenient reader then reads.
bool plainDecimal(std::string_view text, double& value) {
    std::size_t i = 0;
    bool negative = false;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
        negative = text[i] == '-';
        ++i;
    }
    std::uint64_t mantissa = 0;
    int digits = 0;
    int decimals = 0;
    bool point = false;
    for (; i < text.size(); ++i) {
        const char c = text[i];
        if (isDigit(c)) {
            mantissa = mantissa * 10 + static_cast<std::uint64_t>(c - '0');
            ++digits;
            if (point) ++decimals;
        } else if (c == '.' && !point) {
            point = true;
        } else {
            return false;
        }
    }
    if (digits == 0 || digits > 15) return false;
    const double magnitude = static_cast<double>(mantissa) / kExactPowersOfTen[static_cast<std::size_t>(decimals)];
    value = negative ? -magnitude : magnitude;
    return true;
}

// The distinct sample names of a file and the position of each in `names`:
// an open-addressing hash table of positions, doubled when half full, so
// that a file of many names is read without a node per name.
class NameIndex {
public:
    explicit NameIndex(std::vector<std::string>& names) : names_(names), slots_(64, kEmpty) {}

    // The position of `name` in `names`, added at the end when new.
    std::uint32_t find(std::string_view name) {
        const std::size_t mask = slots_.size() - 1;
        for (std::size_t slot = hash(name) & mask;; slot = (slot + 1) & mask) {
            const std::uint32_t held = slots_[slot];
            if (held == kEmpty) {
                const auto added = static_cast<std::uint32_t>(names_.size());
                names_.emplace_back(name);
                slots_[slot] = added;
                if (names_.size() * 2 > slots_.size()) grow();
                return added;
            }
            if (names_[held] == name) return held;
        }
    }

private:
    static constexpr std::uint32_t kEmpty = ~std::uint32_t{0};

    static std::size_t hash(std::string_view name) { return std::hash<std::string_view>{}(name); }

    void grow() {
        std::vector<std::uint32_t> slots(slots_.size() * 2, kEmpty);
        const std::size_t mask = slots.size() - 1;
        for (std::uint32_t held = 0; held < names_.size(); ++held) {
            std::size_t slot = hash(names_[held]) & mask;
            while (slots[slot] != kEmpty) slot = (slot + 1) & mask;
            slots[slot] = held;
        }
        slots_ = std::move(slots);
    }

    std::vector<std::string>& names_;
    std::vector<std::uint32_t> slots_;
};

// Bytes in the open file `fd`; 0 when unknown (a pipe).
std::uint64_t sizeOf(int fd) {
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) return 0;
    return static_cast<std::uint64_t>(info.st_size);
}

// Room for about `rows` samples (the file's size over its first record's),
// so that a large file is read without moving its columns as they grow.
void reserveRows(GraphTable& table, std::uint64_t rows) {
    // Beyond this the estimate is not trusted; the vectors grow from there.
    constexpr std::uint64_t kMostReserved = std::uint64_t{1} << 26;
    const std::size_t n = static_cast<std::size_t>(std::min(rows + rows / 16 + 16, kMostReserved));
    for (std::vector<float>& column : table.values) column.reserve(n);
    table.nameIndex.reserve(n);
    table.lines.reserve(n);
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
    double value = 0.0;
    if (plainDecimal(rest, value)) return static_cast<float>(value);
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
        // Fields after the last column (the option names, the comment) are not cut.
        std::size_t usedFields = 3;
        for (const GraphColumn& column : columns) usedFields = std::max(usedFields, column.field + 1);
        NameIndex nameIds(table.names);
        // The fields of the line being read, as views into it (kept between
        // lines so that their storage is reused).
        std::vector<std::string_view> fields;
        std::uint32_t lastName = 0;
        const std::uint64_t fileSize = sizeOf(fd);
        while (reader.next(line)) {
            if (line.text.empty()) continue;
            splitFieldViews(line.text, usedFields, fields);
            if (fields.front().empty()) continue;
            if (table.lines.empty()) reserveRows(table, fileSize / (line.text.size() + 1));
            // A form record with a sample name has no name column.
            const bool nameless = table.kind == FileKind::Output && fields.size() > 2 &&
                                  isFormTime(fields[1]) && isFormDate(fields[2]);
            const std::size_t shift = nameless ? 1 : 0;
            for (std::size_t c = 0; c < columns.size(); ++c) {
                const std::size_t field = columns[c].field - shift;
                table.values[c].push_back(field < fields.size() ? fieldValue(fields[field]) : missingValue());
            }
            const std::string_view name = nameless || fields.size() < 2 ? std::string_view() : fields[1];
            // Consecutive samples mostly share their station's name.
            if (table.names.empty() || table.names[lastName] != name) lastName = nameIds.find(name);
            table.nameIndex.push_back(lastName);
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
