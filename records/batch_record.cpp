#include "records/batch_record.h"

#include <charconv>

#include "records/fixed_format.h"
#include "records/kml_document.h"
#include "records/output_record.h"
#include "engine/slots.h"

namespace brinora {
namespace {

constexpr std::size_t kCommentField = 20;

// Columns 8 to 27 of the record, after the salinity.
constexpr std::uint32_t kInputColumns[] = {
    slot::kTemperature, slot::kPressure, slot::kPhosphate, slot::kSilicate, slot::kTAOut,
    slot::kTCO2Out,     slot::kpHIn,     slot::kfCO2In,    slot::kpCO2In,   slot::kHCO3In,
    slot::kCO3In,       slot::kCO2In,    slot::kBAlkIn,    slot::kOHIn,     slot::kPAlkIn,
    slot::kSiAlkIn,     slot::kRevelleIn, slot::kOmegaCaIn, slot::kOmegaArIn, slot::kxCO2In};

// Where each placeholder of the placemark takes its value from: a field of
// the line, a board slot or the sample number. Every placeholder is filled by
// the piece that holds it.
struct PlaceholderSource {
    std::string_view placeholder;
    int field;           // field number, or -1
    std::uint32_t slot;  // slot number when field is -1 (0: the sample number)
};

constexpr PlaceholderSource kPlaceholders[] = {
    {"#SAMPLENAME#", 1, 0},
    {"#SAMPLENUMBER#", -1, 0},
    {"#SALINITY#", -1, slot::kSalinity},
    {"#tC#", -1, slot::kTemperature},
    {"#tC_out#", -1, slot::kTemperatureOut},
    {"#Pdbars#", -1, slot::kPressure},
    {"#Pdbars_out#", -1, slot::kPressureOut},
    {"#totalP#", -1, slot::kPhosphate},
    {"#totalP_out#", -1, slot::kPhosphate},
    {"#totalSi#", -1, slot::kSilicate},
    {"#totalSi_out#", -1, slot::kSilicate},
    {"#TA#", -1, slot::kTAOut},
    {"#TA_out#", -1, slot::kTAOut},
    {"#TCO2#", -1, slot::kTCO2Out},
    {"#TCO2_out#", -1, slot::kTCO2Out},
    {"#pH#", -1, slot::kpHIn},
    {"#pH_out#", -1, slot::kpHOut},
    {"#fCO2#", -1, slot::kfCO2In},
    {"#fCO2_out#", -1, slot::kfCO2Out},
    {"#pCO2#", -1, slot::kpCO2In},
    {"#pCO2_out#", -1, slot::kpCO2Out},
    {"#HCO3#", -1, slot::kHCO3In},
    {"#HCO3_out#", -1, slot::kHCO3Out},
    {"#CO3#", -1, slot::kCO3In},
    {"#CO3_out#", -1, slot::kCO3Out},
    {"#CO2#", -1, slot::kCO2In},
    {"#CO2_out#", -1, slot::kCO2Out},
    {"#BAlk#", -1, slot::kBAlkIn},
    {"#BAlk_out#", -1, slot::kBAlkOut},
    {"#OH#", -1, slot::kOHIn},
    {"#OH_out#", -1, slot::kOHOut},
    {"#PAlk#", -1, slot::kPAlkIn},
    {"#PAlk_out#", -1, slot::kPAlkOut},
    {"#SiAlk#", -1, slot::kSiAlkIn},
    {"#SiAlk_out#", -1, slot::kSiAlkOut},
    {"#revelle#", -1, slot::kRevelleIn},
    {"#revelle_out#", -1, slot::kRevelleOut},
    {"#omegaCa#", -1, slot::kOmegaCaIn},
    {"#omegaCa_out#", -1, slot::kOmegaCaOut},
    {"#omegaAr#", -1, slot::kOmegaArIn},
    {"#omegaAr_out#", -1, slot::kOmegaArOut},
    {"#xCO2#", -1, slot::kxCO2In},
    {"#xCO2_out#", -1, slot::kxCO2Out},
    {"#water_density#", -1, slot::kSigmaIn},
    {"#water_density_out#", -1, slot::kSigmaOut},
    {"#CO2_flux#", -1, slot::kCO2FluxIn},
    {"#CO2_flux_out#", -1, slot::kCO2FluxOut},
    {"#cruiseTime#", 2, 0},
    {"#cruiseDate#", 3, 0},
    // The comment line of the balloon has always shown field 19, the wind speed.
    {"#cruiseComment#", 19, 0},
    {"#cruiseLongitude#", 5, 0},
    {"#cruiseLatitude#", 4, 0},
};

const PlaceholderSource* findPlaceholder(std::string_view candidate) {
    for (const PlaceholderSource& source : kPlaceholders) {
        if (source.placeholder == candidate) return &source;
    }
    return nullptr;
}

}  // namespace

void appendXmlEscaped(std::string& out, std::string_view text) {
    std::size_t from = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::string_view entity;
        switch (text[i]) {
            case '&': entity = "&amp;"; break;
            case '<': entity = "&lt;"; break;
            case '>': entity = "&gt;"; break;
            case '"': entity = "&quot;"; break;
            case '\'': entity = "&apos;"; break;
            default: continue;
        }
        out.append(text.substr(from, i - from));
        out.append(entity);
        from = i + 1;
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
    char numbers[41 * (kFixed3MaxLength + 1)];
    char* at = writeFixed3(board.get(slot::kSalinity), numbers);
    const auto column = [&at](float value) {
        *at++ = ',';
        at = writeFixed3(value, at);
    };
    for (const std::uint32_t pos : kInputColumns) column(board.get(pos));
    // Columns 28, 29: an output condition of exactly 0 repeats the input one.
    const float temperatureOut = board.get(slot::kTemperatureOut);
    const float pressureOut = board.get(slot::kPressureOut);
    column(temperatureOut == 0.0f ? board.get(slot::kTemperature) : temperatureOut);
    column(pressureOut == 0.0f ? board.get(slot::kPressure) : pressureOut);
    // Columns 30..45.
    for (std::uint32_t pos = slot::kpHOut; pos <= slot::kxCO2Out; ++pos) column(board.get(pos));
    column(board.get(slot::kpCO2Air));
    column(board.get(slot::kWindSpeed));
    // Columns 46, 47: the flux only holds at the surface.
    if (board.get(slot::kPressure) == 0.0f) {
        column(board.get(slot::kCO2FluxIn));
        column(board.get(slot::kCO2FluxOut));
    } else {
        *at++ = ',';
        *at++ = ',';
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
            const PlaceholderSource* source = findPlaceholder(piece.substr(open, close + 1 - open));
            if (source == nullptr) {
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
