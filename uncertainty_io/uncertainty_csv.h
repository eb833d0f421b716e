// The columns of the uncertainty file of a batch run and the names and units
// of the quantities, sources and buffer factors that every front prints.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "uncertainty/propagation.h"

namespace brinora::uncertainty {

// The unit of quantity `q` as the command line prints it (ASCII), "" when
// dimensionless.
std::string_view QuantityUnit(std::size_t q);
// The name of source `s` for a sample of pair (first, second): the pair's own
// names ("ta", "tco2", ...) for the two parameters.
std::string_view SourceName(std::size_t s, int first, int second);
// The unit of source `s` (of the pair's parameter for the first two).
std::string_view SourceUnit(std::size_t s, int first, int second);

// The buffer factors of one set of conditions in the order of their columns.
struct BufferRow {
    std::string_view name;   // column name ("gamma_dic")
    std::string_view label;  // table label
    std::string_view unit;   // "" when dimensionless
};
extern const std::array<BufferRow, kBufferCount> kBufferRows;
std::array<double, kBufferCount> BufferValues(const BufferFactors& b);

// Which columns the uncertainty file has beyond SampleID, Name and u of every
// quantity: the budget over `budgetSources` (in source order; the first two
// are named by the parameters' codes of each sample, so they appear as
// "first_parameter" and "second_parameter"), the buffer factors at input and
// output conditions.
struct UncertaintyColumns {
    bool budget = false;
    std::vector<std::size_t> budgetSources;
    bool buffers = false;
};

// The header line, "\n" included.
std::string UncertaintyHeader(const UncertaintyColumns& columns);

// The results of one sample for a row; `computed` false leaves the numbers empty.
struct UncertaintyRow {
    bool computed = false;
    Propagated propagated;
    BufferFactors in, out;
};
// Appends one row: `id` and `name` as read, then "%.6g" of each number, "\n".
void AppendUncertaintyRow(std::string& out, std::string_view id, std::string_view name,
                          const UncertaintyColumns& columns, const UncertaintyRow& row);

}  // namespace brinora::uncertainty
