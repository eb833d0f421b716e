// The uncertainty file of a batch run: a row per record, in the same order,
// with the same SampleID and Name, made by the batch pipeline's workers beside
// the records from the same single read of the input (UncertaintyRows), or
// by a pass of its own over an input file (WriteUncertaintyFile).
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

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "pipeline/batch_pipeline.h"

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

// What a column of the companion file sets.
struct CompanionColumn {
    enum Kind { kParameter, kSource, kCorrelation, kSampleId } kind = kSampleId;
    std::size_t index = 0;  // the parameter's code or the source
};

// The rows of the uncertainty file: a row for the k-th sample line of the
// input with the uncertainties of the command line or of the companion
// file's k-th row. Used by many worker threads at once.
class UncertaintyRows : public SampleRows {
public:
    UncertaintyRows() = default;
    UncertaintyRows(const UncertaintyRows&) = delete;
    UncertaintyRows& operator=(const UncertaintyRows&) = delete;

    // Takes the options; false and `error` when the companion file's header
    // names a column that is not one of the names above.
    bool prepare(const UncertaintyFileOptions& options, std::string& error);
    // The header line, when the options ask for it; "" otherwise.
    std::string header() const;
    // The row of a sample line. False and `error` when the companion file has
    // no row for it or names another SampleID.
    bool append(const BatchFields& fields, std::size_t sample, int sourceLine, std::string& out,
                std::string& error) const override;

private:
    UncertaintyFileOptions options_;
    UncertaintyColumns columns_;
    std::vector<CompanionColumn> targets_;
    std::vector<std::string_view> companion_;  // lines of options_.companionText; 0 is the header
    // The covariance of the command line's uncertainties for each pair, by
    // PairIndex (made once: most samples have them).
    std::vector<CovariancePlan> plans_;
};

// Reads the batch input `inputPath` (not standard input) and writes the
// header and a row for every sample line up to a line that stops the run,
// through `write` in blocks. False and `error` on a read error, a companion
// file that does not fit, or a failed write (then `error` is "").
bool WriteUncertaintyFile(const std::string& inputPath, const UncertaintyFileOptions& options,
                          const std::function<bool(std::string_view)>& write, std::string& error);

}  // namespace brinora::uncertainty
