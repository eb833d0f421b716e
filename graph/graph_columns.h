// The quantities a graph can show: the numeric columns of an output record
// and of a batch input file, with the name the menus and the plot command use,
// the axis title and the unit.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace brinora::graph {

// Which kind of file a column list describes.
enum class FileKind {
    Output,      // an output file: the fixed 53-name header, one record per line
    BatchInput,  // a batch input file: 21 fields per line
};

// One plottable column.
struct GraphColumn {
    std::string_view name;    // menu and settings name, e.g. "Salinity", "pH (in)"
    std::string_view title;   // axis title with Unicode sub- and superscripts, e.g. "CO₃²⁻ (in)"
    std::string_view unit;    // unit with Unicode symbols, e.g. "µmol/kg"; empty when none
    std::size_t field = 0;    // 0-based field of the line
    bool depthLike = false;   // pressure: drawn increasing downwards on the y axis
};

// The numeric columns of an output record (fields 6 to 46 of the fixed header).
std::span<const GraphColumn> outputColumns();
// The numeric columns of a batch input file (fields 6 to 19).
std::span<const GraphColumn> batchInputColumns();
// The columns of `kind`.
std::span<const GraphColumn> columnsOf(FileKind kind);

// "title (unit)", or the title alone when there is no unit.
std::string axisLabel(const GraphColumn& column);

// Result of looking up a column by a name the user typed.
struct ColumnMatch {
    std::optional<std::size_t> index;  // position in the column list when found
    std::string message;               // why not, with the available names, when not found
};

// Finds `wanted` among `columns`: an exact name, an axis label or a file
// header name, ignoring case, wins; otherwise the one name that begins with
// `wanted` (ignoring case). No match, or several prefix matches, give a
// message naming the candidates or every available name.
// `headerNames` are the names of the file's header line by field (may be empty).
ColumnMatch findColumn(std::span<const GraphColumn> columns, std::string_view wanted,
                       std::span<const std::string> headerNames = {});

// Position of the column named exactly `name` (as stored in the settings), if any.
std::optional<std::size_t> columnNamed(std::span<const GraphColumn> columns, std::string_view name);

}  // namespace brinora::graph
