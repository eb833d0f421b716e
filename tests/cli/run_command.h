// Runs the brinora program as a user would and captures what it prints.
#pragma once

#include <string>
#include <vector>

namespace brinora::test {

struct CommandResult {
    int status = -1;     // exit status, or -1 when the program did not exit normally
    std::string out;     // everything written to standard output
    std::string err;     // everything written to standard error
};

// Runs the brinora binary with `arguments` (no shell involved) and an
// optional extra environment ("NAME=value" entries).
CommandResult runBrinora(const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment = {});

// Splits text into lines without their line ends.
std::vector<std::string> splitLines(const std::string& text);

}  // namespace brinora::test
