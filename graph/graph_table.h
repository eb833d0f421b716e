// A Brinora output file or batch input file read for plotting: every numeric
// column as single-precision values (the precision the records were written
// from), the sample names and the line of each sample in the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "graph/graph_columns.h"

namespace brinora::graph {

// Value of an empty field: a not-a-number with a payload of its own, so that
// "no value" is told apart from a "nan" written by the formatter.
float missingValue();
bool isMissing(float value);

// The value of one field: empty (or blank) is missingValue(); the formatter's
// spellings "nan", "-nan", "inf" and "-inf" are not-a-number and infinity;
// anything else is read leniently (the leading number, 0 when none).
float fieldValue(std::string_view text);

struct GraphTable {
    FileKind kind = FileKind::Output;
    std::vector<std::string> headerNames;       // names of the header line, by field
    std::vector<std::vector<float>> values;     // one vector per column of columnsOf(kind)
    std::vector<std::string> names;             // distinct sample names, in order of appearance
    std::vector<std::uint32_t> nameIndex;       // per sample: its name in `names`
    std::vector<std::int32_t> lines;            // per sample: its line in the file (1-based, as an editor counts)

    std::size_t rows() const { return lines.size(); }
    std::span<const GraphColumn> columns() const { return columnsOf(kind); }
    const std::string& nameOf(std::size_t row) const { return names[nameIndex[row]]; }
};

struct GraphTableLoad {
    bool ok = false;
    std::string message;  // why the file cannot be plotted, with its path, when !ok
    GraphTable table;
};

// Reads the file at `path` (blank lines before the header are skipped). An output file is recognised by its fixed header
// line, a batch input file by a header of 21 names; anything else, an empty
// file and a file with a header but no sample are refused with a message.
// Empty lines, and batch lines whose sample id is empty, are skipped. A form
// record written with a sample name lacks the name column; it is recognised
// by its time and date in fields 1 and 2 and read one field to the left.
GraphTableLoad readGraphTable(const std::string& path);

}  // namespace brinora::graph
