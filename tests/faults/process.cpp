#include "process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <stdexcept>

#include "tests/support/unprivileged.h"

extern char** environ;

namespace brinora::faults {
namespace {

// Reads both pipes until each reaches its end, into `out` and `err`.
void drainPipes(int outFd, int errFd, std::string& out, std::string& err) {
    pollfd fds[2] = {{outFd, POLLIN, 0}, {errFd, POLLIN, 0}};
    std::string* texts[2] = {&out, &err};
    int open = (outFd >= 0) + (errFd >= 0);
    if (outFd < 0) fds[0].fd = -1;
    if (errFd < 0) fds[1].fd = -1;
    char buffer[65536];
    while (open > 0) {
        if (::poll(fds, 2, -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        for (int k = 0; k < 2; ++k) {
            if (fds[k].fd < 0 || fds[k].revents == 0) continue;
            const ssize_t n = ::read(fds[k].fd, buffer, sizeof buffer);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) {
                ::close(fds[k].fd);
                fds[k].fd = -1;
                --open;
            } else {
                texts[k]->append(buffer, static_cast<std::size_t>(n));
            }
        }
    }
}

}  // namespace

std::string programPath() { return BRINORA_BINARY; }

bool runningAsRoot() { return test::runningAsRoot(); }

bool sanitized() {
#ifdef BRINORA_SANITIZED
    return true;
#else
    return false;
#endif
}

Running::Running(const Launch& launch) : started_(std::chrono::steady_clock::now()) {
    int outPipe[2] = {-1, -1};
    int errPipe[2] = {-1, -1};
    if (launch.standardOutput.empty() && ::pipe2(outPipe, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
    if (::pipe2(errPipe, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");

    // As "nobody", the program may have to run from a copy that user can reach.
    const bool dropRights = launch.asNobody && runningAsRoot();
    std::vector<std::string> args{dropRights ? test::unprivilegedProgram(programPath()) : programPath()};
    args.insert(args.end(), launch.arguments.begin(), launch.arguments.end());
    std::vector<char*> argv;
    for (std::string& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);

    pid_ = ::fork();
    if (pid_ < 0) throw std::runtime_error("fork failed");
    if (pid_ == 0) {
        const int in = ::open("/dev/null", O_RDONLY);
        ::dup2(in, STDIN_FILENO);
        const int out = launch.standardOutput.empty()
                            ? outPipe[1]
                            : ::open(launch.standardOutput.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
        if (out < 0) ::_exit(126);
        ::dup2(out, STDOUT_FILENO);
        ::dup2(errPipe[1], STDERR_FILENO);
        if (!launch.workingFolder.empty() && ::chdir(launch.workingFolder.c_str()) != 0) ::_exit(126);
        if (launch.fileSizeLimit >= 0) {
            // A write past the limit fails with EFBIG instead of raising SIGXFSZ.
            ::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit{static_cast<rlim_t>(launch.fileSizeLimit), static_cast<rlim_t>(launch.fileSizeLimit)};
            if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) ::_exit(126);
        }
        if (dropRights && !test::dropRootRights()) ::_exit(126);
        ::execve(argv[0], argv.data(), environ);
        ::_exit(127);
    }
    if (outPipe[1] >= 0) ::close(outPipe[1]);
    ::close(errPipe[1]);
    drain_ = std::thread(drainPipes, outPipe[0], errPipe[0], std::ref(out_), std::ref(err_));
}

Running::~Running() {
    if (!waited_ && pid_ > 0) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
    if (drain_.joinable()) drain_.join();
}

void Running::kill(int signal) { ::kill(pid_, signal); }

void Running::killBetweenWrites() {
    ::kill(pid_, SIGSTOP);
    int status = 0;
    while (::waitpid(pid_, &status, WUNTRACED) < 0 && errno == EINTR) {
    }
    ::kill(pid_, SIGKILL);
}

Outcome Running::wait() {
    Outcome outcome;
    int status = 0;
    rusage usage{};
    while (::wait4(pid_, &status, 0, &usage) < 0) {
        if (errno != EINTR) throw std::runtime_error("wait4 failed");
    }
    waited_ = true;
    outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started_).count();
    if (WIFEXITED(status)) outcome.status = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) outcome.signal = WTERMSIG(status);
    outcome.maxRssKb = usage.ru_maxrss;
    if (drain_.joinable()) drain_.join();
    outcome.out = out_;
    outcome.err = err_;
    return outcome;
}

Outcome run(const Launch& launch) {
    Running running(launch);
    return running.wait();
}

}  // namespace brinora::faults
