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

// Runs the brinora binary as runBrinora does, but without root's rights:
// as the user "nobody" when the tests run as root (file permissions do not
// bind root), as ourselves otherwise. `folder`, the test's own scratch folder
// with everything in it, is handed to that user first.
CommandResult runBrinoraUnprivileged(const std::vector<std::string>& arguments,
                                     const std::vector<std::string>& environment, const std::string& folder);

// Splits text into lines without their line ends.
std::vector<std::string> splitLines(const std::string& text);

}  // namespace brinora::test
