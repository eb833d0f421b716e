// Runs the brinora program as a separate process under chosen faults: its
// standard output on a device such as /dev/full, a limit on the size of the
// files it writes, another user's rights, a kill at a chosen moment. Reports
// how it ended, what it printed and the most memory it held.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace brinora::faults {

// How to start the program.
struct Launch {
    std::vector<std::string> arguments{};  // after the program name
    std::string standardOutput{};          // a path to write to; "" captures it
    long long fileSizeLimit = -1;          // RLIMIT_FSIZE in bytes; -1 for none
    bool asNobody = false;                 // as root: run as the user "nobody" (uid 65534)
    std::filesystem::path workingFolder{}; // "" for the test's own
};

// How the program ended.
struct Outcome {
    int status = -1;       // exit status, -1 when it did not exit
    int signal = 0;        // the signal that ended it, 0 when it exited
    std::string out;       // standard output, when captured
    std::string err;       // standard error
    long maxRssKb = 0;     // peak resident memory of the process, KiB
    double seconds = 0.0;  // wall time from start to end
};

// A started program.
class Running {
public:
    explicit Running(const Launch& launch);
    ~Running();
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    pid_t pid() const { return pid_; }
    // Sends `signal` to the program.
    void kill(int signal);
    // Stops the program (a write it is in the middle of is completed first),
    // waits until it has stopped, then kills it with SIGKILL: a kill that
    // lands between two writes. A plain SIGKILL can cut a write of several
    // pages to a regular file between two pages.
    void killBetweenWrites();
    // Waits for the end and collects what it printed.
    Outcome wait();

private:
    pid_t pid_ = -1;
    bool waited_ = false;
    std::chrono::steady_clock::time_point started_;
    // Standard output and error arrive through pipes (a limit on file sizes
    // does not apply to them), drained by a thread of their own.
    std::string out_;
    std::string err_;
    std::thread drain_;
};

// Starts the program and waits for it.
Outcome run(const Launch& launch);

// Path of the brinora program under test.
std::string programPath();

// Whether the tests run as root (file permissions do not bind root).
bool runningAsRoot();

// Whether the program was built with AddressSanitizer or other sanitizers
// (slower, and with a larger memory footprint).
bool sanitized();

}  // namespace brinora::faults
