// The output record and the KML placemark of one computed batch line,
// appended to a buffer without building intermediate strings. The text is
// byte for byte what BrinoraAppControllerCore writes for the same line.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "input/fields.h"
#include "engine/board.h"

namespace brinora {

// The option titles that a record carries, as the option menus show them.
struct RecordOptionTitles {
    std::string constants;       // constants set
    std::string khso4;           // bisulfate constant
    std::string pHScale;         // pH scale
    std::string flux;            // air-sea flux formula
    std::string windSpeedUnits;  // units of the form's wind speed
};

// Columns 48 to 52 of a batch record and the comma before the comment: the
// four option titles without their commas, then "m/s" (",A,B,C,D,m/s,").
std::string batchRecordOptionColumns(const RecordOptionTitles& titles);

// Columns 7 to 47 of a record from `board`: salinity, then every number with
// its leading comma, "%.3f" each; the flux columns empty below the surface.
void appendRecordNumbers(std::string& out, const Board& board);

// `text` with the five characters that XML reserves ("&", "<", ">", the two
// quotes) written as entities and every byte that XML 1.0 cannot hold (a
// control character other than tab, line feed and carriage return, U+FFFE,
// U+FFFF, each byte that starts no well-formed UTF-8 character) written as
// U+FFFD: the
// line's fields as a KML placemark holds them, always well-formed.
void appendXmlEscaped(std::string& out, std::string_view text);

// The "String" record of a batch line (batchWriteMode 1) after its
// calculation on `board`: fields 0..5 as read, columns 7 to 47 from the
// board, `optionColumns`, field 20 without carriage returns, and "\n".
void appendBatchRecord(std::string& out, const BatchFields& fields, const Board& board,
                       std::string_view optionColumns);

// One placemark of the KML document, compiled once from the placemark pieces:
// literal text and the values that fill each placeholder.
class PlacemarkTemplate {
public:
    PlacemarkTemplate();

    // Appends the placemark of a line with `fields` (missing fields read as
    // empty; the text of each inserted with appendXmlEscaped), computed on
    // `board`, numbered `sampleNumber`.
    void append(std::string& out, const BatchFields& fields, const Board& board,
                std::uint32_t sampleNumber) const;

private:
    enum class Source : std::uint8_t { kText, kField, kSlot, kSampleNumber };
    struct Part {
        Source source;
        std::uint32_t index;  // offset into text_ (kText), field number or slot number
        std::uint32_t length; // kText only
    };
    std::string text_;
    std::vector<Part> parts_;
};

}  // namespace brinora
