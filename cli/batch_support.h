// What the batch, preview and kml subcommands share: the option flags and
// their fall-back to the stored settings, the terminal's side of the
// controller's interface objects, and the checks of input and output paths.
#pragma once

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <vector>

#include "app/controller_core.h"
#include "app/plain_ui.h"
#include "app/redraw_throttle.h"
#include "pipeline/batch_pipeline.h"
#include "output/output_target.h"
#include <functional>
#include <memory>
#include "output/file_writes.h"

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

// The terminal as the controller's interface objects: errors on stderr,
// alerts on stdout, a progress bar on stderr when it is a terminal.
class TerminalUi : public PlainUi {
public:
    explicit TerminalUi(std::string commandName);

    void presentError(const PresentedError& error) override;
    void runAlert(const Alert& alert) override;
    void setProgressIndicatorHidden(bool hidden) override;
    void setProgressIndicatorValue(double percent) override;
    // Input of unknown size (a pipe): the bar says the run is going, without a share.
    void setProgressIndicatorIndeterminate(bool indeterminate) override;

    // Draw the progress bar (stderr is a terminal and the log is not shown).
    bool drawProgress = false;
    // Alerts go to stderr (standard output carries the run's output).
    bool alertsToStderr = false;
    // -q/--quiet: never draw the progress bar, whatever drawProgress says.
    bool quiet = false;
    // Alerts are kept until showHeldAlerts(): a completion is only told once
    // the output is committed.
    bool holdAlerts = false;
    void showHeldAlerts();

private:
    void showAlert(const Alert& alert);

    std::string commandName_;
    std::vector<Alert> heldAlerts_;
    bool barShown_ = false;
    // The bar is redrawn when what it shows changes, at most 25 times a second.
    RedrawThrottle redraws_;
};

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
    TerminalUi ui;
    BrinoraAppControllerCore core;
};

// Puts the options on the menus (flags first, then the stored settings, each
// of which is noted on stderr) and runs the controller's option check.
// Returns 0, or the exit status 2 after the message and a hint naming the flag.
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

// Remarks of a run about its input ("warning: INPUT:LINE: ...") on stderr,
// whatever -q says.
std::function<void(const RunNote&)> noteWriter(const Session& session, const std::string& input);

// An output file under the crash protocol as the destination of a run's bytes.
class OutputTargetSink : public ByteSink {
public:
    explicit OutputTargetSink(OutputTarget& target) : target_(target) {}
    bool write(std::string_view bytes) override { return target_.write(bytes); }
    std::string errorMessage() const override { return target_.error().message; }

private:
    OutputTarget& target_;
};

// Adds -j/--jobs: threads that compute the samples (0, the default, means
// one per core).
void addJobsFlag(CLI::App& command, unsigned& jobs);

// How an existing output file is treated.
enum class ExistingOutput {
    Refuse,   // neither --force nor --append
    Replace,  // --force
    Append,   // --append: the file must exist
};

// Checks that `output` can be written as asked before anything is touched;
// prints the reason and returns false when it cannot.
bool checkOutputPath(const Session& session, const std::string& input, const std::string& output,
                     ExistingOutput existing);

// "<path>:<line>: " or "<path>: " when `line` is 0.
std::string where(const std::string& path, int line);

}  // namespace brinora::cli
