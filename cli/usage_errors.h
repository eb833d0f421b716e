// Command-line errors as brinora reports them: one line naming the command,
// an unknown option with the nearest valid one, long values cut short, and
// exit status 2.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace brinora::cli {

// The valid name nearest to `typed` ("--ph-scal" -> "--ph-scale"): a name that
// `typed` begins, alone, or the names within a few edits; "" when none is near.
// Several equally near names are joined with " or ".
std::string nearestName(std::string_view typed, const std::vector<std::string>& names);

// What to print for `error`, raised while `app` parsed the command line:
// "brinora[ COMMAND]: MESSAGE" and a line pointing to --help.
std::string usageErrorText(const CLI::App& app, const CLI::ParseError& error);

}  // namespace brinora::cli
