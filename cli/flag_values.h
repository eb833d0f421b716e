// Values of command-line flags: how a value the user typed is shown in a
// message, and the checks of numeric flags. Every message repeats at most a
// short piece of the value, however long it was.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <string_view>

namespace brinora::cli {

// `text` in double quotes, cut to its first 32 bytes with "..." and its length
// when it is longer than 40; control bytes are shown as '?'.
std::string echoed(std::string_view text);

// Whether `text` is a whole decimal number that a float holds: a finite value
// whose magnitude is at most the largest float (underflow rounds towards 0).
// On failure `error` says why, briefly.
bool readFloat(const std::string& text, float& value, std::string& error);

// Checks a number of the sample ("NUMBER"): readFloat must accept it.
CLI::Validator numberCheck();

// Checks a whole number from `low` to `high` (decimal digits, an optional sign).
CLI::Validator wholeNumberCheck(long long low, long long high);

}  // namespace brinora::cli
