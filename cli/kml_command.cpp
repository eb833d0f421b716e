// `brinora kml INPUT.csv -o OUTPUT.kml`: a KML document with one placemark per sample.
#include <cstdio>
#include <memory>

#include <unistd.h>

#include "cli/batch_commands.h"
#include "cli/batch_support.h"
#include "output/output_target.h"
#include "pipeline/batch_pipeline.h"

namespace brinora::cli {
namespace {

struct KmlArgs {
    std::string input;
    std::string output;
    OptionFlags options;
    bool force = false;
    bool verbose = false;
    unsigned jobs = 0;  // 0: every core
};

int runKml(const KmlArgs& args) {
    Session session("kml");
    const auto logToStderr = verboseLog(args.verbose);
    const bool toStandardOutput = args.output == "-";
    session.terminal.drawProgress = !args.verbose && ::isatty(STDERR_FILENO) == 1;
    session.terminal.completionToStderr = toStandardOutput;
    // "Completed" is told once the document is committed.
    session.terminal.holdCompletion = true;

    if (const int status = applyOptions(session, args.options); status != 0) return status;
    if (!checkStandardInput(session, args.input)) return 1;
    const OutputMode mode = toStandardOutput ? OutputMode::kStandardOutput
                            : args.force     ? OutputMode::kReplace
                                             : OutputMode::kCreate;
    const OutputOptions outputOptions = outputOptionsFor(session, args.input);
    OutputError outputError;
    std::string notes;
    std::unique_ptr<OutputTarget> target = OutputTarget::open(args.output, mode, outputOptions, outputError, &notes);
    showOutputNotes(session, notes);
    if (!target) {
        session.error(outputError.message);
        return 1;
    }
    OutputTargetSink sink(*target);

    PipelineRun run = writingRun(RunMode::kKml, args.input, args.output, args.jobs, args.verbose, sink);
    const BatchResult result = runPipeline(session, run);
    if (result.status == RunStatus::kReadError) {
        target->abandon();  // the reading error has been shown
        return 1;
    }
    if (result.status == RunStatus::kWriteFailed || !result.headerError.empty()) {
        // Nothing of this run is kept: the target is as it was.
        target->abandon();
        const std::string why = result.status == RunStatus::kWriteFailed ? result.writeError : result.headerError;
        session.error("no KML document was written: " +
                      (target->error().message.empty() ? why : target->error().message));
        return 1;
    }
    if (result.written == 0) {
        target->abandon();
        session.error(where(args.input, 0) + std::string(kNoDatapointsMessage) +
                      " (A KML document holds the lines between the header and the last line end.)");
        return 1;
    }
    if (!target->commit()) {
        session.error(target->error().message);
        return 1;
    }
    session.terminal.showHeldCompletion();
    return 0;
}

}  // namespace

void addKmlCommand(CLI::App& app, int& exitStatus) {
    auto args = std::make_shared<KmlArgs>();
    CLI::App* command = app.add_subcommand(
        "kml", "Compute every sample of a batch input file and write a KML document with one placemark each");
    command->add_option("INPUT", args->input, "batch input file (CSV, a header and 21 fields per line)")
        ->required();
    command->add_option("-o,--output", args->output, "KML document to write; - for standard output")->required();
    addOptionFlags(*command, args->options);
    addQuietFlag(*command);
    command->add_flag("--force", args->force, "replace an existing KML document");
    addJobsFlag(*command, args->jobs);
    command->add_flag("-v,--verbose", args->verbose,
                      "print every log line on stderr, the lines of each sample included (the samples are then "
                      "computed on one thread); without it the system log gets only the run's own lines");
    command->callback([args, &exitStatus] { exitStatus = runKml(*args); });
}

}  // namespace brinora::cli
