#include "cli/batch_support.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <span>

#include "app/option_titles.h"
#include "app/settings_keys.h"
#include "batch/lenient_number.h"
#include "cli/stored_settings.h"

namespace brinora::cli {
namespace {

// One option menu as the command line sees it.
struct MenuFlag {
    Menu menu;
    std::optional<int> OptionFlags::*flag;
    const char* name;              // flag name
    std::string_view settingsKey;  // stored menu index
    std::span<const std::string_view> titles;
    const char* what;              // what the option chooses
};

const MenuFlag kMenuFlags[] = {
    {Menu::CO2Constants, &OptionFlags::constants, "--constants", settings::kCO2ConstantsInt,
     options::kConstantsSetTitles, "the carbonic-acid constants set"},
    {Menu::KHSO4, &OptionFlags::khso4, "--khso4", settings::kKHSO4Int, options::kKHSO4Titles,
     "the KHSO4 constant"},
    {Menu::pHScale, &OptionFlags::pHScale, "--ph-scale", settings::kpHScaleInt, options::kpHScaleTitles,
     "the pH scale"},
    {Menu::AirSeaFlux, &OptionFlags::flux, "--flux", settings::kAirSeaFluxInt, options::kAirSeaFluxTitles,
     "the air-sea flux formula"},
};

int lastItem(const MenuFlag& menu) { return static_cast<int>(menu.titles.size()) - 1; }

std::string menuHelp() {
    std::string text =
        "Options are menu item numbers; an option not given is read from the desktop program's stored\n"
        "settings. Menu items:\n";
    for (const MenuFlag& menu : kMenuFlags) {
        text += std::string("  ") + menu.name + "\n";
        for (int item = 1; item <= lastItem(menu); ++item) {
            char number[16];
            std::snprintf(number, sizeof number, "%6d  ", item);
            text += number + std::string(menu.titles[static_cast<std::size_t>(item)]) + "\n";
        }
    }
    return text;
}

bool isDirectory(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

void addOptionFlags(CLI::App& command, OptionFlags& flags) {
    for (const MenuFlag& menu : kMenuFlags) {
        const std::string help = std::string("menu item of ") + menu.what + " (1.." +
                                 std::to_string(lastItem(menu)) + "); default: stored setting \"" +
                                 std::string(menu.settingsKey) + "\"";
        command.add_option(menu.name, flags.*(menu.flag), help)
            ->check(CLI::Range(1, lastItem(menu)))
            ->option_text("K");
    }
    command.footer(menuHelp());
}

TerminalUi::TerminalUi(std::string commandName) : commandName_(std::move(commandName)) {}

void TerminalUi::presentError(const PresentedError& error) {
    PlainUi::presentError(error);
    setProgressIndicatorHidden(true);
    std::fprintf(stderr, "brinora %s: %s\n", commandName_.c_str(), error.localizedDescription.c_str());
}

void TerminalUi::runAlert(const Alert& alert) {
    PlainUi::runAlert(alert);
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
    if (!drawProgress) return;
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

Session::Session(const std::string& commandName)
    : name(commandName), defaults(loadStoredSettings()), ui(commandName), core(ui, defaults) {}

void Session::error(const std::string& message) const {
    std::fprintf(stderr, "brinora %s: %s\n", name.c_str(), message.c_str());
}

int applyOptions(Session& session, const OptionFlags& flags) {
    for (const MenuFlag& menu : kMenuFlags) {
        int item = 0;
        if (flags.*(menu.flag)) {
            item = *(flags.*(menu.flag));
        } else {
            const std::string stored = session.defaults.value(menu.settingsKey).value_or("0");
            item = lenientInteger(stored);
            if (item < 0 || item > lastItem(menu)) {
                session.error("the stored setting \"" + std::string(menu.settingsKey) + "\" holds \"" + stored +
                              "\", which is no item of the menu of " + menu.what + " (1.." +
                              std::to_string(lastItem(menu)) + "); give " + menu.name);
                return 2;
            }
        }
        session.ui.selectItem(menu.menu, item);
    }
    const int units = lenientInteger(session.defaults.value(settings::kWindSpeedUnitsInt).value_or("0"));
    session.ui.selectItem(Menu::WindSpeedUnits, units == 1 ? 1 : 0);

    if (session.core.checkForConstants()) return 0;
    for (const MenuFlag& menu : kMenuFlags) {
        if (session.ui.selectedIndex(menu.menu) != 0) continue;
        const std::string key(menu.settingsKey);
        const std::string stored = session.defaults.value(menu.settingsKey)
                                       ? "the stored setting \"" + key + "\" is the placeholder item 0"
                                       : "there is no stored setting \"" + key + "\"";
        std::fprintf(stderr, "hint: choose %s with %s 1..%d (not given on the command line, and %s)\n", menu.what,
                     menu.name, lastItem(menu), stored.c_str());
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

namespace {

// Standard output: plain writes, the bytes as they come.
class StandardOutputSink : public ByteSink {
public:
    bool write(std::string_view bytes) override {
        std::fflush(stdout);
        while (!bytes.empty()) {
            const ssize_t n = ::write(STDOUT_FILENO, bytes.data(), bytes.size());
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) {
                error_ = std::string("cannot write to standard output: ") + std::strerror(n < 0 ? errno : ENOSPC);
                return false;
            }
            bytes.remove_prefix(static_cast<std::size_t>(n));
        }
        return true;
    }
    std::string errorMessage() const override { return error_; }

private:
    std::string error_;
};

}  // namespace

std::unique_ptr<ByteSink> makeStandardOutputSink() { return std::make_unique<StandardOutputSink>(); }

void addJobsFlag(CLI::App& command, unsigned& jobs) {
    command.add_option("-j,--jobs", jobs, "threads that compute the samples (default: one per core)")
        ->check(CLI::Range(1u, 4096u))
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
