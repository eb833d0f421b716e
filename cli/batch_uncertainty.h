// `brinora batch` with uncertainties: the second CSV file beside the output,
// with a row of standard uncertainties (and, when asked for, the budget and
// the buffer factors) for every record, made by the pipeline's workers beside
// the records from the one read of the input (a file, a pipe or standard
// input) and written through an output target of its own under the same
// crash protocol as the output.
#pragma once

#include <CLI/CLI.hpp>

#include <memory>
#include <string>

#include "cli/batch_support.h"
#include "cli/uncertainty_options.h"
#include "output/output_target.h"
#include "uncertainty_io/uncertainty_file.h"
#include "uncertainty_io/uncertainty_path.h"

namespace brinora::cli {

struct BatchUncertaintyOptions : UncertaintyOptions {
    std::string output;     // --uncertainty-output; "" for <output stem>_uncertainty.csv
    std::string companion;  // --uncertainty-input: per-sample uncertainties
    bool wanted() const { return UncertaintyOptions::wanted() || !output.empty() || !companion.empty(); }
};

void addBatchUncertaintyOptions(CLI::App& command, const std::shared_ptr<BatchUncertaintyOptions>& options);

// The name of the uncertainty file of output `output`: its name without a
// final ".csv", then "_uncertainty.csv".
inline std::string defaultUncertaintyPath(const std::string& output) {
    return uncertainty::DefaultUncertaintyPath(output);
}

struct UncertaintyFile {
    std::unique_ptr<OutputTarget> target;
    uncertainty::UncertaintyFileOptions options;
    uncertainty::UncertaintyRows rows;
    std::unique_ptr<OutputTargetSink> sink;
};

// Checks the options, reads the constants' file and the companion file and
// opens the target in `mode` (that of the output); null with the error
// shown when anything does not fit. Called after the options are on the menus.
std::unique_ptr<UncertaintyFile> openUncertaintyFile(Session& session, const BatchUncertaintyOptions& options,
                                                     const std::string& input, const std::string& output,
                                                     OutputMode mode);

// Writes the file's header to its target (not committed) and asks `request`
// for the rows beside its records; false with the error shown, the target
// abandoned.
bool startUncertaintyFile(Session& session, UncertaintyFile& file, BatchRequest& request);

}  // namespace brinora::cli
