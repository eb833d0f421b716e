#include "cli/batch_support.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>

#include "app/controller_core.h"
#include "app/option_titles.h"
#include "app/settings_keys.h"
#include "input/lenient_number.h"
#include "cli/flag_values.h"
#include "cli/option_flags.h"
#include "cli/process_guard.h"
#include "cli/stored_settings.h"
#include "log/log.h"

namespace brinora::cli {
namespace {

// -q/--quiet of the current command line.
bool quietFlag = false;

// A stored menu index as the desktop program writes it: a whole number
// (blanks around it allowed); nothing when the text is something else.
std::optional<int> storedIndex(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    const bool negative = !text.empty() && text.front() == '-';
    if (negative) text.remove_prefix(1);
    if (text.empty()) return std::nullopt;
    for (const char c : text) {
        if (c < '0' || c > '9') return std::nullopt;
    }
    while (text.size() > 1 && text.front() == '0') text.remove_prefix(1);
    if (text.size() > 4) return negative ? -10000 : 10000;  // out of every menu
    int value = 0;
    for (const char c : text) value = value * 10 + (c - '0');
    return negative ? -value : value;
}

// The title of item `item` of an option flag's menu ("" outside its list).
std::string titleOf(const OptionFlagInfo& info, int item) {
    if (item < 0 || item > info.lastItem()) return {};
    return std::string(info.titles[static_cast<std::size_t>(item)]);
}

// Remarks of a run about its input ("warning: INPUT:LINE: ...") on stderr,
// whatever -q says.
std::function<void(const RunNote&)> noteWriter(const Session& session, const std::string& input) {
    // Past kShown notes, only their number is told at the end.
    constexpr std::size_t kShown = 10;
    auto shown = std::make_shared<std::size_t>(0);
    return [&session, input, shown](const RunNote& note) {
        if (++*shown > kShown) {
            if (*shown == kShown + 1) session.error("warning: more remarks about the input are left out");
            return;
        }
        session.error("warning: " + where(input, note.sourceLine) + note.text);
    };
}

// The terminal as the report of a pipeline run.
class TerminalReport : public BatchReport {
public:
    TerminalReport(Session& session, RunMode mode, std::function<void(const RunNote&)> note,
                   const std::function<void(DictRecord)>& onPreviewRow)
        : session_(session), mode_(mode), note_(std::move(note)), onPreviewRow_(onPreviewRow) {}

    void logLine(std::string_view line) override { log::line(line); }
    void samplesBegin(bool sizeKnown) override {
        if (mode_ != RunMode::kPreview && !sizeKnown) session_.terminal.showIndeterminate();
    }
    void progress(double percent) override { session_.terminal.showProgress(percent); }
    void note(const RunNote& note) override { note_(note); }
    void previewRow(DictRecord row) override {
        if (onPreviewRow_) onPreviewRow_(std::move(row));
    }

private:
    Session& session_;
    RunMode mode_;
    std::function<void(const RunNote&)> note_;
    const std::function<void(DictRecord)>& onPreviewRow_;
};

}  // namespace

// The option flags' places among OptionFlags, in the order of kOptionFlags.
constexpr std::optional<int> OptionFlags::*kFlags[] = {&OptionFlags::constants, &OptionFlags::khso4,
                                                       &OptionFlags::pHScale, &OptionFlags::flux};
static_assert(std::size(kFlags) == std::tuple_size_v<decltype(kOptionFlags)>);

void addOptionFlags(CLI::App& command, OptionFlags& flags) {
    for (std::size_t k = 0; k < std::size(kFlags); ++k) {
        const OptionFlagInfo& info = kOptionFlags[k];
        const std::string help = std::string(info.what) + ": a number 1.." + std::to_string(info.lastItem()) +
                                 " or a title; default: stored setting \"" + std::string(info.settingsKey) + "\"";
        command.add_option(info.name, flags.*(kFlags[k]), help)
            ->transform(optionChoiceCheck(info.menu))
            ->option_text("N|TITLE");
    }
    command.footer(optionChoicesHelp(true));
}

void addQuietFlag(CLI::App& command) {
    command.add_flag("-q,--quiet", quietFlag,
                     "print no progress bar and no notes on stderr (errors and warnings are still printed)");
}

bool quietRequested() { return quietFlag; }

void addJobsFlag(CLI::App& command, unsigned& jobs) {
    command.add_option("-j,--jobs", jobs, "threads that compute the samples (default: one per core)")
        ->transform(wholeNumberCheck(1, 4096))
        ->option_text("N");
}

Terminal::Terminal(std::string commandName) : commandName_(std::move(commandName)) {}

void Terminal::showError(std::string_view message) {
    hideProgress();
    commandError(commandName_, message);
}

void Terminal::showCompletion(std::string_view title, std::string_view text) {
    if (holdCompletion) {
        // Told once the output is committed (showHeldCompletion).
        heldCompletion_.emplace_back(std::string(title), std::string(text));
        return;
    }
    hideProgress();
    std::string lines = std::string(title) + "\n" + std::string(text);
    if (lines.back() != '\n') lines += '\n';
    std::FILE* stream = completionToStderr ? stderr : stdout;
    std::fputs(lines.c_str(), stream);
    std::fflush(stream);
}

void Terminal::showHeldCompletion() {
    holdCompletion = false;
    std::vector<std::pair<std::string, std::string>> held;
    held.swap(heldCompletion_);
    for (const auto& [title, text] : held) showCompletion(title, text);
}

void Terminal::hideProgress() {
    if (!barShown_) return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    barShown_ = false;
    redraws_.reset();
}

void Terminal::showProgress(double percent) {
    if (!drawProgress || quiet) return;
    constexpr int kWidth = 40;
    int filled = static_cast<int>(percent / 100.0 * kWidth + 0.5);
    if (filled < 0) filled = 0;
    if (filled > kWidth) filled = kWidth;
    char number[32];
    std::snprintf(number, sizeof number, "%5.1f", percent);
    // What the bar shows: the filled width and the percentage in tenths.
    long long tenths = 0;
    for (const char* c = number; *c != '\0'; ++c) {
        if (*c >= '0' && *c <= '9') tenths = (tenths * 10 + (*c - '0')) % 1000000000LL;
    }
    if (!redraws_.redraw(static_cast<long long>(filled) * 1000000000LL + tenths)) return;
    std::fprintf(stderr, "\r[%s%s] %s%%", std::string(static_cast<std::size_t>(filled), '#').c_str(),
                 std::string(static_cast<std::size_t>(kWidth - filled), ' ').c_str(), number);
    std::fflush(stderr);
    barShown_ = true;
}

void Terminal::showIndeterminate() {
    if (!drawProgress || quiet) return;
    std::fputs("\r[ reading the input as it comes; its size is unknown ]", stderr);
    std::fflush(stderr);
    barShown_ = true;
}

Session::Session(const std::string& commandName)
    : name(commandName),
      defaults(loadStoredSettings()),
      settingsLocation(storedSettingsLocation()),
      terminal(commandName) {
    terminal.quiet = quietRequested();
}

void commandError(std::string_view command, std::string_view message) {
    std::fprintf(stderr, "brinora %.*s: %.*s\n", static_cast<int>(command.size()), command.data(),
                 static_cast<int>(message.size()), message.data());
}

void Session::error(const std::string& message) const { commandError(name, message); }

void Session::note(const std::string& message) const {
    if (!terminal.quiet) error(message);
}

void Session::noteStoredSetting(std::string_view flag, const std::string& value, std::string_view key) const {
    note(std::string(flag) + " not given: using " + value + " from the stored setting \"" + std::string(key) +
         "\" in " + settingsLocation);
}

int applyOptions(Session& session, const OptionFlags& flags) {
    int items[std::size(kFlags)] = {};
    bool fromStored[std::size(kFlags)] = {};
    for (std::size_t k = 0; k < std::size(kFlags); ++k) {
        const OptionFlagInfo& info = kOptionFlags[k];
        if (flags.*(kFlags[k])) {
            items[k] = *(flags.*(kFlags[k]));
        } else if (const std::optional<std::string> stored = session.defaults.value(info.settingsKey)) {
            const std::optional<int> index = storedIndex(*stored);
            if (!index || *index < 0 || *index > info.lastItem()) {
                session.error("the stored setting \"" + std::string(info.settingsKey) + "\" holds " +
                              echoed(*stored) + ", which is no choice of " + info.name + " (1.." +
                              std::to_string(info.lastItem()) + "); give " + info.name +
                              " with a number or a title, or correct the setting in " + session.settingsLocation);
                return 2;
            }
            items[k] = *index;
            fromStored[k] = true;
        }
    }
    const int units = lenientInteger(session.defaults.value(settings::kWindSpeedUnitsInt).value_or("0"));
    BatchOptions& options = session.options;
    options.constants = items[0];
    options.khso4 = items[1];
    options.pHScale = items[2];
    options.flux = items[3];
    options.titles = RecordOptionTitles{titleOf(kOptionFlags[0], items[0]), titleOf(kOptionFlags[1], items[1]),
                                        titleOf(kOptionFlags[2], items[2]), titleOf(kOptionFlags[3], items[3]),
                                        std::string(options::kWindSpeedUnitsTitles[units == 1 ? 1 : 0])};

    if (std::find(std::begin(items), std::end(items), 0) == std::end(items)) {
        for (std::size_t k = 0; k < std::size(kFlags); ++k) {
            if (!fromStored[k]) continue;
            const OptionFlagInfo& info = kOptionFlags[k];
            session.noteStoredSetting(info.name, info.describe(items[k]), info.settingsKey);
        }
        return 0;
    }
    // The desktop program's message, then which flag gives what it asks for.
    session.terminal.showError(options::kChooseOptionsMessage);
    log::line(options::kChooseOptionsMessage);
    for (std::size_t k = 0; k < std::size(kFlags); ++k) {
        if (items[k] != 0) continue;
        const OptionFlagInfo& info = kOptionFlags[k];
        const std::string key(info.settingsKey);
        const std::string problem = storedSettingsProblem();
        const std::string stored =
            session.defaults.value(info.settingsKey)
                ? "the stored setting \"" + key + "\" in " + session.settingsLocation + " is 0, which chooses nothing"
            : !problem.empty() ? "the settings file " + session.settingsLocation + " cannot be read: " + problem
                               : "there is no stored setting \"" + key + "\" in " + session.settingsLocation;
        std::fprintf(stderr, "hint: choose %s with %s 1..%d or a title (not given on the command line, and %s)\n",
                     info.what, info.name, info.lastItem(), stored.c_str());
    }
    return 2;
}

void showOutputNotes(const Session& session, const std::string& notes) {
    std::size_t start = 0;
    while (start < notes.size()) {
        std::size_t end = notes.find('\n', start);
        if (end == std::string::npos) end = notes.size();
        session.error(notes.substr(start, end - start));
        start = end + 1;
    }
}

OutputOptions outputOptionsFor(const Session& session, const std::string& input) {
    OutputOptions options;
    options.inputPath = input;
    if (const char* wait = std::getenv("BRINORA_APPEND_WAIT")) {
        const int seconds = lenientInteger(wait);
        options.waitSeconds = seconds < 0 ? 0 : seconds;
    }
    options.onWait = [&session](const std::string& line) { session.error(line); };
    return options;
}

bool checkStandardInput(const Session& session, const std::string& input) {
    if (input != "-" || !standardInputWasClosed()) return true;
    session.error("the input is standard input (-), but standard input is closed; give an input file or send "
                  "the input to it");
    return false;
}

PipelineRun writingRun(RunMode mode, const std::string& input, const std::string& output, unsigned jobs,
                       bool verbose, ByteSink& sink) {
    PipelineRun run;
    run.request.input = input;
    run.request.mode = mode;
    run.request.jobs = jobs;
    run.request.sampleLogLines = verbose ? SampleLogLines::kEvery : SampleLogLines::kOmitted;
    run.sink = &sink;
    run.output = output;
    return run;
}

BatchResult runPipeline(Session& session, PipelineRun& run, const std::function<void(DictRecord)>& onPreviewRow) {
    BatchRequest& request = run.request;
    const RunMode mode = request.mode;
    const std::string& input = request.input;
    request.options = session.options;
    TerminalReport report(session, mode, noteWriter(session, input), onPreviewRow);
    Terminal& terminal = session.terminal;

    if (mode == RunMode::kKml) {
        // The document is the output given; its name is shown once it is opened.
        bool opened = false;
        request.openDocument = [&run, &opened] {
            opened = true;
            return KmlDocument{run.sink, true, {}};
        };
        BatchResult result = runBatch(request, report);
        if (result.status == RunStatus::kReadError) {
            terminal.showError(result.readError.localizedDescription);
            log::line(kBatchReadErrorMessage);
            return result;
        }
        if (result.status == RunStatus::kWriteFailed) {
            log::line(result.writeError);
        } else {
            terminal.showCompletion("CSV to KML Processing Completed",
                                    "Input: " + input + "\n\n" + "Output: " + (opened ? run.output : std::string()));
        }
        log::line("Done with file!");
        return result;
    }

    // The input as chosen on the batch tab, then the run as the desktop's.
    const bool justPreview = mode == RunMode::kPreview;
    log::line("filename = " + input);
    if (justPreview) log::line("preview Table cleared");
    log::line(justPreview ? "Batch process called, just preview" : "Batch process called, all records");
    log::line("Dealing with file " + input);
    if (!justPreview) request.output = run.sink;
    BatchResult result = runBatch(request, report);
    switch (result.status) {
        case RunStatus::kReadError:
            terminal.showError(result.readError.localizedDescription);
            log::line(kBatchReadErrorMessage);
            return result;
        case RunStatus::kDone:
            break;
        default:
            log::line(result.message);
            terminal.hideProgress();
            return result;
    }
    log::line("Done with file!");
    if (justPreview) {
        log::line("back in the batch processing function");
    } else {
        terminal.showCompletion("Batch Processing of File Completed",
                                "File Input:\n" + input + "\n" + "\nFile Output:\n" + run.output + "\n");
    }
    return result;
}

std::unique_ptr<log::ScopedSink> verboseLog(bool verbose) {
    if (!verbose) return nullptr;
    return std::make_unique<log::ScopedSink>([](std::string_view line) {
        std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
    });
}

int runEndStatus(const Session& session, const std::string& input, const BatchResult& result,
                 std::string_view detail) {
    switch (result.status) {
        case RunStatus::kDone:
            return 0;
        case RunStatus::kReadError:
        case RunStatus::kWriteFailed:
            return 1;
        default:
            session.error(where(input, result.stoppedAtSourceLine) + result.message + std::string(detail));
            return 1;
    }
}

std::string where(const std::string& path, int line) {
    return line > 0 ? path + ":" + std::to_string(line) + ": " : path + ": ";
}

}  // namespace brinora::cli
