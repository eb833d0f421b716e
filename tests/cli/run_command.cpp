#include "run_command.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>

#include "tests/support/unprivileged.h"

extern char** environ;

namespace brinora::test {
namespace {

std::string readAll(int fd) {
    std::string text;
    char buffer[65536];
    for (;;) {
        const ssize_t n = read(fd, buffer, sizeof buffer);
        if (n <= 0) break;
        text.append(buffer, static_cast<std::size_t>(n));
    }
    return text;
}

// Runs `program` with `arguments` and the environment plus `environment`;
// as an unprivileged user when `unprivileged` is set.
CommandResult runProgram(const std::string& program, const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment, bool unprivileged) {
    CommandResult result;
    char outName[] = "/tmp/brinora-out-XXXXXX";
    char errName[] = "/tmp/brinora-err-XXXXXX";
    const int outFd = mkstemp(outName);
    const int errFd = mkstemp(errName);
    unlink(outName);
    unlink(errName);

    std::vector<std::string> args{program};
    args.insert(args.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);

    std::vector<std::string> env;
    for (char** e = environ; *e != nullptr; ++e) env.emplace_back(*e);
    env.insert(env.end(), environment.begin(), environment.end());
    std::vector<char*> envp;
    for (std::string& e : env) envp.push_back(e.data());
    envp.push_back(nullptr);

    const pid_t pid = fork();
    if (pid == 0) {
        const int devNull = open("/dev/null", O_RDONLY);
        dup2(devNull, STDIN_FILENO);
        dup2(outFd, STDOUT_FILENO);
        dup2(errFd, STDERR_FILENO);
        if (unprivileged && !dropRootRights()) _exit(126);
        execve(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
    lseek(outFd, 0, SEEK_SET);
    lseek(errFd, 0, SEEK_SET);
    result.out = readAll(outFd);
    result.err = readAll(errFd);
    close(outFd);
    close(errFd);
    return result;
}

}  // namespace

CommandResult runBrinora(const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment) {
    return runProgram(BRINORA_BINARY, arguments, environment, false);
}

CommandResult runBrinoraUnprivileged(const std::vector<std::string>& arguments,
                                     const std::vector<std::string>& environment, const std::string& folder) {
    handToUnprivilegedUser(folder);
    return runProgram(unprivilegedProgram(BRINORA_BINARY), arguments, environment, true);
}

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

}  // namespace brinora::test
