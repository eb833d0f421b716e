// `brinora batch INPUT.csv -o OUTPUT.csv`: a full batch run.
#include <unistd.h>

#include <cstdio>
#include <memory>

#include "cli/batch_commands.h"
#include "cli/batch_support.h"
#include "output/output_target.h"
#include "pipeline/batch_pipeline.h"
#include "records/output_record.h"
#include "cli/batch_uncertainty.h"

namespace brinora::cli {
namespace {

struct BatchArgs {
    std::string input;
    std::string output;
    OptionFlags options;
    bool append = false;
    bool force = false;
    bool verbose = false;
    unsigned jobs = 0;  // 0: every core
    std::shared_ptr<BatchUncertaintyOptions> uncertainty = std::make_shared<BatchUncertaintyOptions>();
};

int runBatch(const BatchArgs& args) {
    Session session("batch");
    const auto logToStderr = verboseLog(args.verbose);
    const bool toStandardOutput = args.output == "-";
    session.terminal.drawProgress = !args.verbose && ::isatty(STDERR_FILENO) == 1;
    session.terminal.completionToStderr = toStandardOutput;
    // "Completed" is told once the output is committed.
    session.terminal.holdCompletion = true;

    if (const int status = applyOptions(session, args.options); status != 0) return status;
    if (!checkStandardInput(session, args.input)) return 1;

    // Everything about the output is checked before the input is read; a
    // refusal leaves everything as it was.
    const OutputMode mode = toStandardOutput ? OutputMode::kStandardOutput
                            : args.append    ? OutputMode::kAppend
                            : args.force     ? OutputMode::kReplace
                                             : OutputMode::kCreate;
    OutputOptions outputOptions = outputOptionsFor(session, args.input);
    if (mode == OutputMode::kAppend) outputOptions.expectedHeader = std::string(dataFileHeaders());
    OutputError outputError;
    std::string rollBack;
    std::unique_ptr<OutputTarget> target = OutputTarget::open(args.output, mode, outputOptions, outputError, &rollBack);
    showOutputNotes(session, rollBack);
    if (!target) {
        session.error(outputError.message);
        return 1;
    }
    // The uncertainty file, when asked for, is checked as the output is.
    std::unique_ptr<UncertaintyFile> uncertaintyFile;
    if (args.uncertainty->wanted()) {
        uncertaintyFile = openUncertaintyFile(session, *args.uncertainty, args.input, args.output, mode);
        if (!uncertaintyFile) return 1;
    }
    OutputTargetSink sink(*target);
    if (mode != OutputMode::kAppend && !sink.write(dataFileHeaders())) {
        session.error(target->error().message);
        return 1;
    }

    PipelineRun run = writingRun(RunMode::kRecords, args.input, args.output, args.jobs, args.verbose, sink);
    // The uncertainty file's rows are made beside the records, up to the
    // line that stops the run; when it fails, neither file is kept.
    if (uncertaintyFile && !startUncertaintyFile(session, *uncertaintyFile, run.request)) {
        target->abandon();
        return 1;
    }
    const BatchResult result = runPipeline(session, run);
    const auto abandonBoth = [&] {
        target->abandon();
        if (uncertaintyFile) uncertaintyFile->target->abandon();
    };
    switch (result.status) {
        case RunStatus::kReadError:
        case RunStatus::kWriteFailed:
            // Nothing of this run is kept: the targets are as they were (the
            // reading error has been shown).
            abandonBoth();
            if (result.status == RunStatus::kWriteFailed) {
                session.error(result.sampleRowsFailed ? result.writeError : target->error().message);
            }
            return 1;
        case RunStatus::kNoDatapoints:
        case RunStatus::kWrongColumns:
            // Nothing was computed: no output file is made or changed.
            abandonBoth();
            return runEndStatus(session, args.input, result,
                                result.status == RunStatus::kWrongColumns
                                    ? " (The header names " + std::to_string(result.headerNames) +
                                          " columns; a batch input file has 21.)"
                                    : std::string());
        default:
            break;
    }
    // A stopping line is a normal end: the records before it are kept.
    if (!target->commit()) {
        session.error(target->error().message);
        return 1;
    }
    if (uncertaintyFile && !uncertaintyFile->target->commit()) {
        session.error(uncertaintyFile->target->error().message);
        return 1;
    }
    session.terminal.showHeldCompletion();
    if (runEndStatus(session, args.input, result) != 0) {
        std::fprintf(stderr, "%d record%s written to %s before the stop\n", result.written,
                     result.written == 1 ? "" : "s", args.output.c_str());
        return 1;
    }
    return 0;
}

}  // namespace

void addBatchCommand(CLI::App& app, int& exitStatus) {
    auto args = std::make_shared<BatchArgs>();
    CLI::App* command = app.add_subcommand(
        "batch",
        "Compute every sample of a batch input file and write the records to an output file "
        "(a new file starts with the header line)");
    command->add_option("INPUT", args->input,
                        "batch input file (CSV, a header and 21 fields per line); - for standard input")
        ->required();
    command->add_option("-o,--output", args->output, "output file (CSV); - for standard output")->required();
    addOptionFlags(*command, args->options);
    addQuietFlag(*command);
    CLI::Option* append =
        command->add_flag("--append", args->append, "add the records to an existing output file, without a header");
    CLI::Option* force = command->add_flag("--force", args->force, "replace an existing output file");
    append->excludes(force);
    addJobsFlag(*command, args->jobs);
    command->add_flag("-v,--verbose", args->verbose,
                      "print every log line on stderr, the lines of each sample included (the samples are then "
                      "computed on one thread); without it the system log gets only the run's own lines");
    addBatchUncertaintyOptions(*command, args->uncertainty);
    command->callback([args, &exitStatus] { exitStatus = runBatch(*args); });
}

}  // namespace brinora::cli
