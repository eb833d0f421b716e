// The one table of Brinora's quantities: every sample input and every result
// of a calculation, with where it lives on the board, where it stands in the
// output record and the KML placemark, and how the command line, the desktop
// program, the graph and the Python module name it. Every front reads it;
// a new quantity is one row.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace brinora {

// The conditions a quantity belongs to.
enum class Conditions : std::uint8_t {
    kNone,    // a property of the sample (salinity, nutrients, TA, TCO2, the air inputs)
    kInput,   // at the input temperature and pressure
    kOutput,  // at the output temperature and pressure
};

// How the output record writes a quantity's column.
enum class RecordFormat : std::uint8_t {
    kFixed3,         // "%.3f" of the slot
    kSurfaceOnly,    // "%.3f" when the input pressure is exactly 0, else empty (the air-sea flux)
    kInputWhenZero,  // "%.3f" of the slot, or of `fallbackSlot` when the slot is exactly 0
};

struct Quantity {
    std::uint32_t slot = 0;             // board slot
    bool input = false;                 // a sample input (slots 11..24) rather than a result
    Conditions conditions = Conditions::kNone;
    // For a result at input conditions: the slot of the same quantity at
    // output conditions (its own slot when the output pass keeps it).
    std::uint32_t outputTwin = 0;

    // Output record.
    int recordColumn = 0;  // 1-based column of the output record; 0 when not in the record
    RecordFormat recordFormat = RecordFormat::kFixed3;
    std::uint32_t fallbackSlot = 0;  // for kInputWhenZero
    std::string_view header{};         // name in the output file's header line
    std::string_view dictKey{};        // key in the "Dict" record and the preview table; "" when none
    std::array<std::string_view, 2> kmlPlaceholders{};  // placeholders of the placemark it fills

    // Command line.
    std::string_view flag{};   // `calc` option of an input ("--salinity"); "" for results
    std::string_view label{};  // `calc` table row of a result, or the help text of an input
    std::string_view unit{};   // unit as the command line prints it (ASCII), "" when none

    // Python module and CF attributes.
    std::string_view inputName{};     // keyword of the input in brinora.compute; "" when none
    std::string_view resultName{};    // name of the result in brinora.compute; "" when none
    std::string_view words{};         // how messages name the input ("the salinity")
    std::string_view cfUnits{};       // UDUNITS string ("umol kg-1"), "1" when dimensionless
    std::string_view longName{};      // CF long_name; "{scale}" stands for the pH scale's name
    std::string_view standardName{};  // CF standard_name, "" when CF has none

    // Graph and desktop program.
    std::string_view graphKey{};    // menu and settings name of the graph column, "" when not plotted
    std::string_view graphTitle{};  // axis title with Unicode sub- and superscripts
    std::string_view displayUnit{}; // unit with Unicode symbols ("µmol/kg"), "" when none
    bool depthLike = false;       // pressure: plotted increasing downwards
    std::string_view formLabel{};   // label of the desktop program's field, "" when it has none
    std::string_view formUnit{};    // unit beside that field when it is not displayUnit

    // Sample inputs: what kind of physical quantity it is (which units a
    // front may convert it from: "salinity", "temperature", "pressure",
    // "content", "ph", "gas", "speed"), the range seawater can have (a value
    // outside it is flagged; min > max: no check), the column header of the
    // example batch input file.
    std::string_view kind{};
    float plausibleMin = 1.0f;
    float plausibleMax = 0.0f;
    std::string_view batchHeader{};
};

// Every quantity, results first in the order of brinora.compute's results,
// then the fourteen sample inputs in board order.
std::span<const Quantity> quantities();

// The row of board slot `slot`, or null.
const Quantity* quantityAtSlot(std::uint32_t slot);
// The result that brinora.compute calls `name`, or null.
const Quantity* resultNamed(std::string_view name);
// The sample input that brinora.compute calls `name`, or null.
const Quantity* inputNamed(std::string_view name);

// Number of sample inputs (board slots 11..24).
inline constexpr int kSampleInputCount = 14;
// Number of numeric columns of the output record (columns 7..47).
inline constexpr int kRecordNumberColumns = 41;
// First numeric column of the output record.
inline constexpr int kFirstRecordNumberColumn = 7;

}  // namespace brinora
