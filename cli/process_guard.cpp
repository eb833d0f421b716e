#include "cli/process_guard.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <thread>

#include "output/output_target.h"

namespace brinora::cli {
namespace {

bool inputClosed = false;

sigset_t stopSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGHUP);
    return set;
}

}  // namespace

void openClosedStandardStreams() {
    for (int fd = 0; fd <= 2; ++fd) {
        if (::fcntl(fd, F_GETFD) != -1 || errno != EBADF) continue;
        // The lowest free descriptor: `fd` itself, as the ones below it are open.
        const int opened = ::open("/dev/null", fd == 0 ? O_RDONLY : O_WRONLY);
        if (opened != fd && opened >= 0) {
            ::dup2(opened, fd);
            ::close(opened);
        }
        if (fd == 0) inputClosed = true;
    }
}

bool standardInputWasClosed() { return inputClosed; }

void watchStopSignals() {
    ::signal(SIGXFSZ, SIG_IGN);
    const sigset_t set = stopSignals();
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    std::thread([set] {
        int signal = 0;
        while (::sigwait(&set, &signal) != 0) {
        }
        const std::string line = "brinora: " + stopOutputs(signal) + "\n";
        const ssize_t ignored = ::write(STDERR_FILENO, line.data(), line.size());
        (void)ignored;
        ::_exit(128 + signal);
    }).detach();
}

}  // namespace brinora::cli
