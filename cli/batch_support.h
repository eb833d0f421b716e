// What the batch, preview and kml subcommands share: the option flags and
// their fall-back to the stored settings, the terminal as the report of a
// pipeline run (log, progress bar, remarks, errors, the closing lines), the
// one run helper and the one error path.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "app/plain_ui.h"
#include "app/redraw_throttle.h"
#include "log/log.h"
#include "output/output_target.h"
#include "pipeline/batch_pipeline.h"

namespace brinora::cli {

// The four option menus as command-line flags: menu item numbers, unset when
// the stored setting is to be used.
struct OptionFlags {
    std::optional<int> constants;  // --constants 1..14
    std::optional<int> khso4;      // --khso4 1..2
    std::optional<int> pHScale;    // --ph-scale 1..4
    std::optional<int> flux;       // --flux 1..3
};

// Adds --constants, --khso4, --ph-scale and --flux (a number or a title), and
// a help footer that lists the titles with their numbers.
void addOptionFlags(CLI::App& command, OptionFlags& flags);

// Adds -q/--quiet: no progress bar and no notes on stderr. Every subcommand
// adds it; the Session of the run that follows picks it up.
void addQuietFlag(CLI::App& command);
// Whether -q/--quiet was given on this command line.
bool quietRequested();

// Adds -j/--jobs: threads that compute the samples (0, the default, means
// one per core).
void addJobsFlag(CLI::App& command, unsigned& jobs);

// The terminal while a run goes: errors on stderr, the closing lines on
// stdout (or stderr), a progress bar on stderr when it is a terminal.
class Terminal {
public:
    explicit Terminal(std::string commandName);

    // "brinora <command>: <message>" on stderr, after clearing the bar.
    void showError(std::string_view message);
    // The closing lines of a run: `title`, then `text`, ending with a line end.
    void showCompletion(std::string_view title, std::string_view text);
    // The bar at `percent`, redrawn when what it shows changes, at most 25
    // times a second.
    void showProgress(double percent);
    // Input of unknown size (a pipe): the bar says the run is going, without a share.
    void showIndeterminate();
    // Clears the bar from the terminal.
    void hideProgress();

    // Draw the progress bar (stderr is a terminal and the log is not shown).
    bool drawProgress = false;
    // The closing lines go to stderr (standard output carries the run's output).
    bool completionToStderr = false;
    // -q/--quiet: never draw the progress bar, whatever drawProgress says.
    bool quiet = false;
    // Completions are kept until showHeldCompletion(): a completion is only
    // told once the output is committed.
    bool holdCompletion = false;
    void showHeldCompletion();

private:
    std::string commandName_;
    std::vector<std::pair<std::string, std::string>> heldCompletion_;
    bool barShown_ = false;
    RedrawThrottle redraws_;
};

// The one way a subcommand reports an error: "brinora <command>: <message>"
// on stderr.
void commandError(std::string_view command, std::string_view message);

// Shared state of one subcommand run.
struct Session {
    explicit Session(const std::string& commandName);
    // Writes "brinora <command>: <message>" to stderr.
    void error(const std::string& message) const;
    // The same for a note that -q/--quiet leaves out.
    void note(const std::string& message) const;
    // Notes that `flag` was not given and the stored setting `key` gave
    // `value`: "--lines not given: using 5 from the stored setting
    // "NumberOfLinesInPreview" in <settings file>".
    void noteStoredSetting(std::string_view flag, const std::string& value, std::string_view key) const;

    std::string name;
    MemorySettings defaults;
    // Where `defaults` were read from (the settings file's path).
    std::string settingsLocation;
    Terminal terminal;
    // The options of the run, once applyOptions has accepted them.
    BatchOptions options;
};

// Takes the four options (flags first, then the stored settings, each of
// which is noted on stderr) and the wind-speed units, and checks them as the
// desktop program's option check does. Returns 0, or the exit status 2 after
// the message and a hint naming the flag.
int applyOptions(Session& session, const OptionFlags& flags);

// Lines that an output file's opening had to say (a rollback, journals
// ignored, temporary files removed), each on stderr whatever -q says.
void showOutputNotes(const Session& session, const std::string& notes);

// The output options of a run: its input (never the output), and a wait for
// another append that is told on stderr and lasts BRINORA_APPEND_WAIT
// seconds (600 when that is not set).
OutputOptions outputOptionsFor(const Session& session, const std::string& input);

// Refuses "-" as the input when standard input was closed; false after
// the message.
bool checkStandardInput(const Session& session, const std::string& input);

// An output file under the crash protocol as the destination of a run's bytes.
class OutputTargetSink : public ByteSink {
public:
    explicit OutputTargetSink(OutputTarget& target) : target_(target) {}
    bool write(std::string_view bytes) override { return target_.write(bytes); }
    std::string errorMessage() const override { return target_.error().message; }

private:
    OutputTarget& target_;
};

// What a subcommand asks of the pipeline beyond the request.
struct PipelineRun {
    BatchRequest request;
    ByteSink* sink = nullptr;  // kRecords: the records; kKml: the document
    std::string output;        // the output as given, for the closing lines
};

// The run of batch or kml (`mode`) over `input` into `sink` (`output` as
// given) on `jobs` jobs, with every sample's log line under -v.
PipelineRun writingRun(RunMode mode, const std::string& input, const std::string& output, unsigned jobs,
                       bool verbose, ByteSink& sink);

// -v/--verbose: every log line on stderr while the result lives.
std::unique_ptr<log::ScopedSink> verboseLog(bool verbose);

// The one run helper of batch, preview and kml: the log lines of the
// desktop's run around the pipeline ("filename = ...", the announcement, the
// file, its end), the terminal as its report, and a reading error shown.
// `onPreviewRow` gets the preview rows of a kPreview run.
BatchResult runPipeline(Session& session, PipelineRun& run,
                        const std::function<void(DictRecord)>& onPreviewRow = {});

// The one error path of batch, preview and kml: says why `result` ended
// before its last line ("INPUT:LINE: message" with the command's detail) and
// returns the exit status 1; 0 (and nothing said) for a run that went to its
// end. A reading error has been shown by the run itself.
int runEndStatus(const Session& session, const std::string& input, const BatchResult& result,
                 std::string_view detail = {});

// "<path>:<line>: " or "<path>: " when `line` is 0.
std::string where(const std::string& path, int line);

}  // namespace brinora::cli
