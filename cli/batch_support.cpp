#include "cli/batch_support.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "app/settings_keys.h"
#include "input/lenient_number.h"
#include "cli/flag_values.h"
#include "cli/option_flags.h"
#include "cli/process_guard.h"
#include "cli/stored_settings.h"

namespace brinora::cli {
namespace {

// An option flag with its menu and its place among the flags.
struct MenuFlag {
    Menu menu;
    std::optional<int> OptionFlags::*flag;
    const OptionFlagInfo& info;
};

const MenuFlag kMenuFlags[] = {
    {Menu::CO2Constants, &OptionFlags::constants, kOptionFlags[0]},
    {Menu::KHSO4, &OptionFlags::khso4, kOptionFlags[1]},
    {Menu::pHScale, &OptionFlags::pHScale, kOptionFlags[2]},
    {Menu::AirSeaFlux, &OptionFlags::flux, kOptionFlags[3]},
};

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

bool isDirectory(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

void addOptionFlags(CLI::App& command, OptionFlags& flags) {
    for (const MenuFlag& menu : kMenuFlags) {
        const OptionFlagInfo& info = menu.info;
        const std::string help = std::string(info.what) + ": a number 1.." + std::to_string(info.lastItem()) +
                                 " or a title; default: stored setting \"" + std::string(info.settingsKey) + "\"";
        command.add_option(info.name, flags.*(menu.flag), help)
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

TerminalUi::TerminalUi(std::string commandName) : commandName_(std::move(commandName)) {}

void TerminalUi::presentError(const PresentedError& error) {
    PlainUi::presentError(error);
    setProgressIndicatorHidden(true);
    std::fprintf(stderr, "brinora %s: %s\n", commandName_.c_str(), error.localizedDescription.c_str());
}

void TerminalUi::runAlert(const Alert& alert) {
    PlainUi::runAlert(alert);
    if (holdAlerts) {
        heldAlerts_.push_back(alert);
        return;
    }
    showAlert(alert);
}

void TerminalUi::showHeldAlerts() {
    std::vector<Alert> held;
    held.swap(heldAlerts_);
    for (const Alert& alert : held) showAlert(alert);
}

void TerminalUi::showAlert(const Alert& alert) {
    if (barShown_) {
        // The alert comes before the indicator is hidden: clear the bar first.
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
        barShown_ = false;
        redraws_.reset();
    }
    std::string text = alert.messageText + "\n" + alert.informativeText;
    if (text.back() != '\n') text += '\n';
    std::FILE* stream = alertsToStderr ? stderr : stdout;
    std::fputs(text.c_str(), stream);
    std::fflush(stream);
}

void TerminalUi::setProgressIndicatorHidden(bool hidden) {
    PlainUi::setProgressIndicatorHidden(hidden);
    if (hidden && barShown_) {
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
        barShown_ = false;
        redraws_.reset();
    }
}

void TerminalUi::setProgressIndicatorValue(double percent) {
    PlainUi::setProgressIndicatorValue(percent);
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

void TerminalUi::setProgressIndicatorIndeterminate(bool indeterminate) {
    if (!indeterminate || !drawProgress || quiet) return;
    std::fputs("\r[ reading the input as it comes; its size is unknown ]", stderr);
    std::fflush(stderr);
    barShown_ = true;
}

Session::Session(const std::string& commandName)
    : name(commandName),
      defaults(loadStoredSettings()),
      settingsLocation(storedSettingsLocation()),
      ui(commandName),
      core(ui, defaults) {
    ui.quiet = quietRequested();
}

void Session::error(const std::string& message) const {
    std::fprintf(stderr, "brinora %s: %s\n", name.c_str(), message.c_str());
}

void Session::note(const std::string& message) const {
    if (!ui.quiet) error(message);
}

void Session::noteStoredSetting(std::string_view flag, const std::string& value, std::string_view key) const {
    note(std::string(flag) + " not given: using " + value + " from the stored setting \"" + std::string(key) +
         "\" in " + settingsLocation);
}

int applyOptions(Session& session, const OptionFlags& flags) {
    bool fromStored[std::size(kMenuFlags)] = {};
    for (std::size_t k = 0; k < std::size(kMenuFlags); ++k) {
        const MenuFlag& menu = kMenuFlags[k];
        const OptionFlagInfo& info = menu.info;
        int item = 0;
        if (flags.*(menu.flag)) {
            item = *(flags.*(menu.flag));
        } else if (const std::optional<std::string> stored = session.defaults.value(info.settingsKey)) {
            const std::optional<int> index = storedIndex(*stored);
            if (!index || *index < 0 || *index > info.lastItem()) {
                session.error("the stored setting \"" + std::string(info.settingsKey) + "\" holds " +
                              echoed(*stored) + ", which is no choice of " + info.name + " (1.." +
                              std::to_string(info.lastItem()) + "); give " + info.name +
                              " with a number or a title, or correct the setting in " + session.settingsLocation);
                return 2;
            }
            item = *index;
            fromStored[k] = true;
        }
        session.ui.selectItem(menu.menu, item);
    }
    const int units = lenientInteger(session.defaults.value(settings::kWindSpeedUnitsInt).value_or("0"));
    session.ui.selectItem(Menu::WindSpeedUnits, units == 1 ? 1 : 0);

    if (session.core.checkForConstants()) {
        for (std::size_t k = 0; k < std::size(kMenuFlags); ++k) {
            if (!fromStored[k]) continue;
            const OptionFlagInfo& info = kMenuFlags[k].info;
            session.noteStoredSetting(info.name, info.describe(session.ui.selectedIndex(kMenuFlags[k].menu)),
                                      info.settingsKey);
        }
        return 0;
    }
    // The form's message is printed; say which flag gives what it asks for.
    for (const MenuFlag& menu : kMenuFlags) {
        if (session.ui.selectedIndex(menu.menu) != 0) continue;
        const OptionFlagInfo& info = menu.info;
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


void addJobsFlag(CLI::App& command, unsigned& jobs) {
    command.add_option("-j,--jobs", jobs, "threads that compute the samples (default: one per core)")
        ->transform(wholeNumberCheck(1, 4096))
        ->option_text("N");
}

bool checkOutputPath(const Session& session, const std::string& input, const std::string& output,
                     ExistingOutput existing) {
    if (output.empty()) {
        session.error("no output file given (-o)");
        return false;
    }
    if (isDirectory(output)) {
        session.error("the output \"" + output + "\" is a folder; give a file name");
        return false;
    }
    struct stat info {};
    const bool exists = ::stat(output.c_str(), &info) == 0;
    if (exists) {
        struct stat inputInfo {};
        if (::stat(input.c_str(), &inputInfo) == 0 && inputInfo.st_dev == info.st_dev &&
            inputInfo.st_ino == info.st_ino) {
            session.error("the output \"" + output + "\" is the input file; give another output file");
            return false;
        }
        if (existing == ExistingOutput::Refuse) {
            session.error("the output \"" + output +
                          "\" already exists; give --force to replace it or --append to add the records to it");
            return false;
        }
        if (!S_ISREG(info.st_mode)) {
            session.error("the output \"" + output + "\" is not a plain file");
            return false;
        }
        if (::access(output.c_str(), W_OK) != 0) {
            session.error("the output \"" + output + "\" cannot be written: " + std::strerror(errno));
            return false;
        }
    } else if (existing == ExistingOutput::Append) {
        session.error("the output \"" + output +
                      "\" does not exist; --append adds records to an existing output file");
        return false;
    }
    if (existing != ExistingOutput::Append) {
        // A new or replaced file is written beside the output and renamed over it.
        std::string folder = directoryOf(output);
        if (folder.empty()) folder = ".";
        if (!isDirectory(folder)) {
            session.error("cannot create \"" + output + "\": the folder \"" + folder + "\" does not exist");
            return false;
        }
        if (::access(folder.c_str(), W_OK | X_OK) != 0) {
            session.error("cannot create \"" + output + "\": the folder \"" + folder +
                          "\" cannot be written: " + std::strerror(errno));
            return false;
        }
    }
    return true;
}

std::string where(const std::string& path, int line) {
    return line > 0 ? path + ":" + std::to_string(line) + ": " : path + ": ";
}

}  // namespace brinora::cli
