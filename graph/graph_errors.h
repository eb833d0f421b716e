// Error bars of a plotted output file: the standard uncertainties of its
// records from the uncertainty file that a batch run wrote beside it (one row
// per record, in the same order; columns "u_<result>").
#pragma once

#include <string>
#include <vector>

#include "graph/graph_table.h"

namespace brinora::graph {

struct ErrorBarsLoad {
    bool ok = false;
    std::string message;  // why there are no error bars, when !ok
    // Per column of the table (table.columns()): the standard uncertainty of
    // each row, or an empty vector when the column has none.
    std::vector<std::vector<float>> byColumn;
};

// The name of the uncertainty file's column that holds the standard
// uncertainty of output column `column` ("u_ph" for "pH (in)"); "" when the
// uncertainty file has none (sample inputs, sigma-t).
std::string uncertaintyColumnOf(const GraphColumn& column);

// Reads the uncertainty file at `path` for the output file read into
// `table`. Refused (with a message) when it is not an uncertainty file or
// its rows are not as many as the table's records.
ErrorBarsLoad readErrorBars(const std::string& path, const GraphTable& table);

}  // namespace brinora::graph
