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

// A number of the sample as the board keeps it: a float.
struct FloatText {
    bool number = false;    // the whole text is a number (strtod's syntax)
    float value = 0.0f;     // the number narrowed to a float
    bool overflow = false;  // beyond the float range: value is infinite
};
FloatText readFloat(const std::string& text);

// Checks a number of the sample ("NUMBER"): readFloat must read it as a number.
CLI::Validator numberCheck();

// Checks a whole number from `low` to `high` (decimal digits, an optional sign).
CLI::Validator wholeNumberCheck(long long low, long long high);

}  // namespace brinora::cli
