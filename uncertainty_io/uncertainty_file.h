// The uncertainty file of a batch run: its own pass over the batch input
// with the same line reader and line rules as the records, so that it has one
// row per record, in the same order, with the same SampleID and Name.
//
// Per-sample uncertainties come from a companion CSV file whose header names
// its columns: "u-ta", "u-tco2", "u-ph", "u-fco2", "u-pco2", "u-salinity",
// "u-temperature", "u-pressure", "u-phosphate", "u-silicate",
// "u-out-temperature", "u-out-pressure", "u-pco2-air", "u-wind", "u-pk0" ..
// "u-pksi", "u-bt", "correlation" (the command line's option names without
// their dashes) and, optionally, "SampleID". Its k-th row belongs to the k-th
// sample line of the input (a line whose SampleID field is not empty); with a
// SampleID column the two must be equal. An empty field keeps the value of
// the command line; columns of other names are refused.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "uncertainty_io/uncertainty_csv.h"
#include "uncertainty_io/uncertainty_request.h"

namespace brinora::uncertainty {

struct UncertaintyFileOptions {
    UncertaintyRequest request;   // for every sample, unless the companion file says otherwise
    ChemistryOptions options;     // the run's options
    bool budget = false;
    bool buffers = false;
    std::string companionText;    // the companion file's content; "" when none
    std::string companionName;    // its name, for messages
    bool header = true;           // false when appending to a file that has it
    unsigned threads = 1;         // threads that compute the rows
};

// Reads the companion file's header; false and `error` when a column is not
// one of the names above.
bool CheckCompanion(const UncertaintyFileOptions& options, std::string& error);

// The file's columns for these options (the budget over every source that a
// standard uncertainty is given for, on the command line or in the
// companion file).
UncertaintyColumns ColumnsOf(const UncertaintyFileOptions& options);

// Reads the batch input `inputPath` (not standard input) and writes the
// header and a row for every sample line up to a line that stops the run,
// through `write` in blocks. False and `error` on a read error, a companion
// file that does not fit, or a failed write (then `error` is "").
bool WriteUncertaintyFile(const std::string& inputPath, const UncertaintyFileOptions& options,
                          const std::function<bool(std::string_view)>& write, std::string& error);

}  // namespace brinora::uncertainty
