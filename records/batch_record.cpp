#include "records/batch_record.h"

#include <charconv>
#include <optional>

#include "records/fixed_format.h"
#include "records/kml_document.h"
#include "records/output_record.h"
#include "engine/quantities.h"
#include "engine/slots.h"
#include "input/utf8_sequence.h"

namespace brinora {
namespace {

constexpr std::size_t kCommentField = 20;

// Where each placeholder of the placemark takes its value from: a field of
// the line, a board slot or the sample number. Every placeholder is filled by
// the piece that holds it.
struct PlaceholderSource {
    std::string_view placeholder;
    int field;           // field number, or -1
    std::uint32_t slot;  // slot number when field is -1 (0: the sample number)
};

// The placeholders filled from a field of the line or the sample number;
// every other one names a quantity (engine/quantities.h).
constexpr PlaceholderSource kLinePlaceholders[] = {
    {"#SAMPLENAME#", 1, 0},
    {"#SAMPLENUMBER#", -1, 0},
    {"#cruiseTime#", 2, 0},
    {"#cruiseDate#", 3, 0},
    // The comment line of the balloon has always shown field 19, the wind speed.
    {"#cruiseComment#", 19, 0},
    {"#cruiseLongitude#", 5, 0},
    {"#cruiseLatitude#", 4, 0},
};

std::optional<PlaceholderSource> findPlaceholder(std::string_view candidate) {
    for (const PlaceholderSource& source : kLinePlaceholders) {
        if (source.placeholder == candidate) return source;
    }
    for (const Quantity& q : quantities()) {
        for (const std::string_view placeholder : q.kmlPlaceholders) {
            if (placeholder == candidate) return PlaceholderSource{placeholder, -1, q.slot};
        }
    }
    return std::nullopt;
}

}  // namespace

namespace {

// Length of the well-formed UTF-8 sequence at the start of `bytes` (U+0080
// and above); 0 for a byte that starts none.
std::size_t xmlCharacterLength(const unsigned char* bytes, std::size_t size) {
    const Utf8Lead sequence = Utf8LeadOf(bytes[0]);
    const std::size_t length = sequence.length;
    if (length == 0 || size < length || bytes[1] < sequence.low || bytes[1] > sequence.high) return 0;
    for (std::size_t k = 2; k < length; ++k) {
        if (!IsUtf8Continuation(bytes[k])) return 0;
    }
    return length;
}

// Whether the 3-byte character at `bytes` is U+FFFE or U+FFFF, which XML 1.0 forbids.
bool isForbiddenNoncharacter(const unsigned char* bytes) {
    return bytes[0] == 0xEF && bytes[1] == 0xBF && (bytes[2] == 0xBE || bytes[2] == 0xBF);
}

}  // namespace

void appendXmlEscaped(std::string& out, std::string_view text) {
    // U+FFFD REPLACEMENT CHARACTER, for each byte XML 1.0 cannot hold.
    static constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    std::size_t from = 0;
    std::size_t i = 0;
    while (i < text.size()) {
        const unsigned char c = bytes[i];
        std::string_view entity;
        if (c >= 0x80) {
            const std::size_t length = xmlCharacterLength(bytes + i, text.size() - i);
            if (length > 0 && !(length == 3 && isForbiddenNoncharacter(bytes + i))) {
                i += length;
                continue;
            }
            // U+FFFE or U+FFFF is replaced whole; a stray byte alone.
            out.append(text.substr(from, i - from));
            out.append(kReplacement);
            i += length > 0 ? length : 1;
            from = i;
            continue;
        } else {
            switch (c) {
                case '&': entity = "&amp;"; break;
                case '<': entity = "&lt;"; break;
                case '>': entity = "&gt;"; break;
                case '"': entity = "&quot;"; break;
                case '\'': entity = "&apos;"; break;
                case '\t': case '\n': case '\r': ++i; continue;
                default:
                    if (c >= 0x20) {
                        ++i;
                        continue;
                    }
                    entity = kReplacement;  // a control character
            }
        }
        out.append(text.substr(from, i - from));
        out.append(entity);
        from = ++i;
    }
    out.append(text.substr(from));
}

std::string batchRecordOptionColumns(const RecordOptionTitles& titles) {
    std::string columns;
    for (const std::string* title : {&titles.constants, &titles.khso4, &titles.pHScale, &titles.flux}) {
        columns.push_back(',');
        columns.append(withoutCommas(*title));
    }
    // Batch wind speeds are always in m/s; the comment follows.
    columns.append(",m/s,");
    return columns;
}

void appendRecordNumbers(std::string& out, const Board& board) {
    // Columns 7..47, written into one buffer: at most 41 numbers and their commas.
    char numbers[kRecordNumberColumns * (kFixed3MaxLength + 1)];
    char* at = numbers;
    const float surface = board.get(slot::kPressure);
    const auto slotValue = [&board](std::uint32_t pos) { return board.get(pos); };
    bool first = true;
    for (const Quantity* column : recordNumberColumns()) {
        if (!first) *at++ = ',';
        first = false;
        // The flux only holds at the surface: its columns stay empty below it.
        if (column->recordFormat == RecordFormat::kSurfaceOnly && surface != 0.0f) continue;
        at = writeFixed3(recordColumnValue(*column, slotValue), at);
    }
    out.append(numbers, at);
}

void appendBatchRecord(std::string& out, const BatchFields& fields, const Board& board,
                       std::string_view optionColumns) {
    // One allocation for the whole record, however long its texts.
    std::size_t textBytes = optionColumns.size() + fields[kCommentField].size() + 1;
    for (std::size_t k = 0; k < 6; ++k) textBytes += fields[k].size() + 1;
    out.reserve(out.size() + textBytes + 41 * (kFixed3MaxLength + 1));
    // Columns 1..6: the line's cruise information as read.
    for (std::size_t k = 0; k < 6; ++k) {
        out.append(fields[k]);
        out.push_back(',');
    }
    appendRecordNumbers(out, board);
    // Columns 48..53.
    out.append(optionColumns);
    const std::string_view comment = fields[kCommentField];
    if (comment.find('\r') == std::string_view::npos) {
        out.append(comment);
    } else {
        for (const char c : comment) {
            if (c != '\r') out.push_back(c);
        }
    }
    out.push_back('\n');
}

PlacemarkTemplate::PlacemarkTemplate() {
    // The pieces are scanned as writeKML fills them: from each "#" to the
    // next one; a known placeholder is replaced, any other "#" is text.
    const auto addText = [this](std::string_view text) {
        if (text.empty()) return;
        if (!parts_.empty() && parts_.back().source == Source::kText &&
            parts_.back().index + parts_.back().length == text_.size()) {
            parts_.back().length += static_cast<std::uint32_t>(text.size());
        } else {
            parts_.push_back(Part{Source::kText, static_cast<std::uint32_t>(text_.size()),
                                  static_cast<std::uint32_t>(text.size())});
        }
        text_.append(text);
    };
    for (const std::string_view piece : kmlPlacemarkPieces()) {
        std::size_t at = 0;
        while (at < piece.size()) {
            const std::size_t open = piece.find('#', at);
            if (open == std::string_view::npos) break;
            const std::size_t close = piece.find('#', open + 1);
            if (close == std::string_view::npos) break;
            const std::optional<PlaceholderSource> source =
                findPlaceholder(piece.substr(open, close + 1 - open));
            if (!source) {
                addText(piece.substr(at, open + 1 - at));
                at = open + 1;
                continue;
            }
            addText(piece.substr(at, open - at));
            if (source->field >= 0) {
                parts_.push_back(Part{Source::kField, static_cast<std::uint32_t>(source->field), 0});
            } else if (source->slot == 0) {
                parts_.push_back(Part{Source::kSampleNumber, 0, 0});
            } else {
                parts_.push_back(Part{Source::kSlot, source->slot, 0});
            }
            at = close + 1;
        }
        addText(piece.substr(at));
    }
}

void PlacemarkTemplate::append(std::string& out, const BatchFields& fields, const Board& board,
                               std::uint32_t sampleNumber) const {
    // One allocation for the whole placemark: escaped fields are at most six
    // times as long as read ("&quot;").
    std::size_t bytes = text_.size() + 40 * (kFixed3MaxLength + 1) + 16;
    for (const Part& part : parts_) {
        if (part.source == Source::kField) bytes += 6 * fields[part.index].size();
    }
    out.reserve(out.size() + bytes);
    for (const Part& part : parts_) {
        switch (part.source) {
            case Source::kText:
                out.append(text_, part.index, part.length);
                break;
            case Source::kField:
                appendXmlEscaped(out, fields[part.index]);
                break;
            case Source::kSlot:
                appendFixed3(out, board.get(part.index));
                break;
            case Source::kSampleNumber: {
                char digits[16];
                out.append(digits, std::to_chars(digits, digits + sizeof digits, sampleNumber).ptr);
                break;
            }
        }
    }
}

}  // namespace brinora
