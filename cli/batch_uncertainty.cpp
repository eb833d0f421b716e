#include "cli/batch_uncertainty.h"

#include <fstream>
#include <sstream>

#include "pipeline/batch_pipeline.h"

namespace brinora::cli {

using namespace uncertainty;

void addBatchUncertaintyOptions(CLI::App& command, const std::shared_ptr<BatchUncertaintyOptions>& options) {
    addUncertaintyOptions(command, options, false);
    command
        .add_option("--uncertainty-output", options->output,
                    "the uncertainty file (CSV); default: the output's name with _uncertainty.csv for .csv")
        ->option_text("FILE")
        ->group("Uncertainty");
    command
        .add_option("--uncertainty-input", options->companion,
                    "per-sample uncertainties: a CSV file whose header names columns u-ta .. u-wind, u-pk0 .. u-bt, "
                    "correlation and optionally SampleID; row k is for the k-th sample line")
        ->option_text("FILE")
        ->group("Uncertainty");
}

std::unique_ptr<UncertaintyFile> openUncertaintyFile(Session& session, const BatchUncertaintyOptions& options,
                                                     const std::string& input, const std::string& output,
                                                     OutputMode mode) {
    std::string path = options.output;
    if (path.empty()) {
        if (output == "-") {
            session.error("the output goes to standard output: name the uncertainty file with --uncertainty-output");
            return nullptr;
        }
        path = defaultUncertaintyPath(output);
    }
    if (path == output && path != "-") {
        session.error("the uncertainty file cannot be the output file " + output);
        return nullptr;
    }
    auto file = std::make_unique<UncertaintyFile>();
    UncertaintyFileOptions& o = file->options;
    std::string error;
    if (!uncertaintyRequestOf(options, o.request, error)) {
        session.error(error);
        return nullptr;
    }
    o.options.whichKs = session.options.constants;
    o.options.whichKSO4 = session.options.khso4;
    o.options.pHScale = session.options.pHScale;
    o.options.fluxCode = session.options.flux - 1;
    o.budget = options.budget;
    o.buffers = options.buffers;
    if (!options.companion.empty()) {
        std::ifstream in(options.companion, std::ios::binary);
        if (!in) {
            session.error("--uncertainty-input: cannot read the file " + options.companion);
            return nullptr;
        }
        std::ostringstream text;
        text << in.rdbuf();
        o.companionText = text.str();
        o.companionName = options.companion;
    }
    const OutputMode uncertaintyMode = path == "-" ? OutputMode::kStandardOutput
                                       : mode == OutputMode::kStandardOutput ? OutputMode::kCreate
                                                                              : mode;
    o.header = uncertaintyMode != OutputMode::kAppend;
    if (!file->rows.prepare(o, error)) {
        session.error(error);
        return nullptr;
    }
    OutputOptions outputOptions = outputOptionsFor(session, input);
    if (uncertaintyMode == OutputMode::kAppend) outputOptions.expectedHeader = UncertaintyHeader(ColumnsOf(o));
    OutputError outputError;
    std::string rollBack;
    file->target = OutputTarget::open(path, uncertaintyMode, outputOptions, outputError, &rollBack);
    if (!file->target) {
        session.error(outputError.message);
        return nullptr;
    }
    showOutputNotes(session, rollBack);
    return file;
}

bool startUncertaintyFile(Session& session, UncertaintyFile& file, BatchRequest& request) {
    const std::string header = file.rows.header();
    if (!header.empty() && !file.target->write(header)) {
        session.error(file.target->error().message);
        file.target->abandon();
        return false;
    }
    file.sink = std::make_unique<OutputTargetSink>(*file.target);
    request.sampleRows = &file.rows;
    request.sampleRowsOutput = file.sink.get();
    return true;
}

}  // namespace brinora::cli
