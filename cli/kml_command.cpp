// `brinora kml INPUT.csv -o OUTPUT.kml`: a KML document with one placemark per sample.
#include <cstdio>
#include <memory>

#include <unistd.h>

#include "batch/batch_engine.h"
#include "cli/batch_commands.h"
#include "cli/batch_support.h"
#include "log/log.h"

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
    if (!toStandardOutput && !checkOutputPath(session, args.input, args.output,
                                              args.force ? ExistingOutput::Replace : ExistingOutput::Refuse)) {
        return 1;
    }

    // The panels are answered with the paths given.
    session.ui.onOpenPanel = [&args](const OpenPanelRequest&) { return std::vector<std::string>{args.input}; };
    session.ui.onSavePanel = [&args](const SavePanelRequest&) -> std::optional<std::string> {
        return args.output;
    };
    BrinoraAppControllerCore& core = session.core;
    std::unique_ptr<ByteSink> standardOutput;
    if (toStandardOutput) standardOutput = makeStandardOutputSink();
    core.runOptions.jobs = args.jobs;
    core.runOptions.sampleLogLines = args.verbose ? SampleLogLines::kEvery : SampleLogLines::kOmitted;
    core.runOptions.output = standardOutput.get();
    core.runOptions.note = noteWriter(session, args.input);
    core.writeKML();
    if (core.failedWrites > 0 || !core.lastWriteError.empty()) {
        session.error("the KML document is incomplete: " + core.lastWriteError);
        return 1;
    }
    if (core.placemarksWritten == 0) {
        session.error(where(args.input, 0) +
                      "There are no datapoints to process. (A KML document holds the lines between the header "
                      "and the last line end.)");
        return 1;
    }
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
