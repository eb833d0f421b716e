#include "cli/usage_errors.h"

#include <algorithm>
#include <cstddef>

#include "cli/flag_values.h"

namespace brinora::cli {
namespace {

char lowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Edits (insert, delete, substitute, swap two neighbours) that turn a into b,
// ignoring case.
std::size_t editDistance(std::string_view a, std::string_view b) {
    const std::size_t n = a.size();
    const std::size_t m = b.size();
    std::vector<std::vector<std::size_t>> d(n + 1, std::vector<std::size_t>(m + 1, 0));
    for (std::size_t i = 0; i <= n; ++i) d[i][0] = i;
    for (std::size_t j = 0; j <= m; ++j) d[0][j] = j;
    for (std::size_t i = 1; i <= n; ++i) {
        for (std::size_t j = 1; j <= m; ++j) {
            const std::size_t cost = lowerAscii(a[i - 1]) == lowerAscii(b[j - 1]) ? 0 : 1;
            d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + cost});
            if (i > 1 && j > 1 && lowerAscii(a[i - 1]) == lowerAscii(b[j - 2]) &&
                lowerAscii(a[i - 2]) == lowerAscii(b[j - 1])) {
                d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
            }
        }
    }
    return d[n][m];
}

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    if (prefix.size() > text.size()) return false;
    for (std::size_t k = 0; k < prefix.size(); ++k) {
        if (lowerAscii(text[k]) != lowerAscii(prefix[k])) return false;
    }
    return true;
}

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : " or ") + name;
    return text;
}

// Every name under which the options of `command` can be given.
std::vector<std::string> optionNames(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
        for (const std::string& name : option->get_snames()) names.push_back("-" + name);
    }
    return names;
}

std::vector<std::string> commandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        names.push_back(command->get_name());
    }
    return names;
}

// "-x" or "--name", but not a negative number.
bool isOption(const std::string& argument) {
    if (argument.size() < 2 || argument.front() != '-') return false;
    const char next = argument[1];
    return !((next >= '0' && next <= '9') || next == '.');
}

// Whole words longer than 40 bytes in a message of the parser cut short.
std::string shortened(const std::string& message) {
    std::string out;
    std::size_t start = 0;
    while (start < message.size()) {
        std::size_t end = message.find_first_of(" \n", start);
        if (end == std::string::npos) end = message.size();
        const std::string_view word(message.data() + start, end - start);
        if (word.size() > 40) {
            const std::string shown = echoed(word);
            out += shown.substr(1, shown.find("...\"") + 2) + shown.substr(shown.find("...\"") + 4);
        } else {
            out += word;
        }
        if (end < message.size()) out += message[end];
        start = end + 1;
    }
    return out;
}

}  // namespace

std::string nearestName(std::string_view typed, const std::vector<std::string>& names) {
    // A name that the typed text begins, when only one does.
    std::vector<std::string> longer;
    if (typed.size() >= 3) {
        for (const std::string& name : names) {
            if (name.size() > typed.size() && startsWithIgnoringCase(name, typed)) longer.push_back(name);
        }
        if (longer.size() == 1) return longer.front();
    }
    // Otherwise the names within a few edits: one per three letters, at least two.
    std::string_view bare = typed;
    while (!bare.empty() && bare.front() == '-') bare.remove_prefix(1);
    const std::size_t allowed = std::max<std::size_t>(2, (bare.size() + 2) / 3);
    std::size_t best = allowed + 1;
    std::vector<std::string> nearest;
    for (const std::string& name : names) {
        const std::size_t distance = editDistance(typed, name);
        if (distance < best) {
            best = distance;
            nearest.clear();
        }
        if (distance == best && std::find(nearest.begin(), nearest.end(), name) == nearest.end()) {
            nearest.push_back(name);
        }
    }
    return best <= allowed ? joined(nearest) : std::string();
}

std::string usageErrorText(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    const CLI::App* command = chosen.empty() ? nullptr : chosen.front();
    const std::string who = command ? "brinora " + command->get_name() : std::string("brinora");

    // Arguments that no option or command took: an unknown option is named
    // whatever else went wrong, since it usually explains the rest.
    const std::vector<std::string> unused = app.remaining(true);
    std::string message;
    const auto option = std::find_if(unused.begin(), unused.end(), isOption);
    if (option != unused.end()) {
        std::string typed = *option;
        if (typed.starts_with("--")) typed = typed.substr(0, typed.find('='));
        message = "unknown option " + shortened(typed);
        const std::string near = nearestName(typed, optionNames(command ? *command : app));
        if (!near.empty()) message += "; did you mean " + near + "?";
    } else if (!unused.empty() && command == nullptr) {
        message = "unknown command " + echoed(unused.front());
        const std::string near = nearestName(unused.front(), commandNames(app));
        if (!near.empty()) message += "; did you mean " + near + "?";
    } else if (!unused.empty() && dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        message = "unexpected argument " + echoed(unused.front());
    } else {
        message = shortened(error.what());
    }
    return who + ": " + message + "\nRun " + who + " --help for more information.\n";
}

}  // namespace brinora::cli
