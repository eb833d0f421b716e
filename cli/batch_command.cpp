// `brinora batch INPUT.csv -o OUTPUT.csv`: a full batch run.
#include <unistd.h>

#include <cstdio>
#include <memory>

#include "app/settings_keys.h"
#include "batch/batch_engine.h"
#include "batch/output_record.h"
#include "cli/batch_commands.h"
#include "cli/batch_support.h"
#include "log/log.h"

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
};

int runBatch(const BatchArgs& args) {
    Session session("batch");
    std::unique_ptr<log::ScopedSink> logToStderr;
    if (args.verbose) {
        logToStderr = std::make_unique<log::ScopedSink>([](std::string_view line) {
            std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
        });
    }
    session.ui.drawProgress = !args.verbose && ::isatty(STDERR_FILENO) == 1;
    const bool toStandardOutput = args.output == "-";
    session.ui.alertsToStderr = toStandardOutput;

    if (const int status = applyOptions(session, args.options); status != 0) return status;

    // Everything about the output is checked before the input is read.
    const ExistingOutput existing =
        args.append ? ExistingOutput::Append : (args.force ? ExistingOutput::Replace : ExistingOutput::Refuse);
    if (!toStandardOutput && !checkOutputPath(session, args.input, args.output, existing)) return 1;

    // The input file as chosen on the batch tab, then the output file.
    BrinoraAppControllerCore& core = session.core;
    core.batchInputFilesChosen({args.input});
    std::unique_ptr<ByteSink> standardOutput;
    if (toStandardOutput) {
        core.fullPathOut = "-";
        standardOutput = makeStandardOutputSink();
        if (!standardOutput->write(dataFileHeaders())) {
            session.error(standardOutput->errorMessage());
            return 1;
        }
    } else if (args.append) {
        core.outputFileOpened(args.output);
        session.ui.setText(TextField::PathFieldOut, args.output);
    } else if (!core.batchOutputFileCreated(args.output)) {
        session.error("cannot create \"" + args.output + "\": " + core.lastWriteError);
        return 1;
    }

    core.runOptions.jobs = args.jobs;
    core.runOptions.sampleLogLines = args.verbose ? SampleLogLines::kEvery : SampleLogLines::kOmitted;
    core.runOptions.output = standardOutput.get();
    core.runOptions.note = noteWriter(session, args.input);
    const std::string message = core.batchProcess(args.input, false);
    if (!message.empty()) {
        session.error(where(args.input, core.stoppedAtSourceLine) + message);
        if (core.failedWrites == 0) {
            std::fprintf(stderr, "%d record%s written to %s before the stop\n", core.recordsWritten,
                         core.recordsWritten == 1 ? "" : "s", args.output.c_str());
        }
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
    command->callback([args, &exitStatus] { exitStatus = runBatch(*args); });
}

}  // namespace brinora::cli
