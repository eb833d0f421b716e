// A German locale (decimal comma, "." between thousands) compiled with
// localedef from the Debian "locales" sources into a folder of its own, so a
// test can switch to it without root rights and without touching the system's
// locales. Programs find it through the LOCPATH environment variable.
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace brinora::test {

class CommaLocale {
public:
    // The locale's name; a locale folder of this name lies in folder().
    static constexpr const char* kName = "de_DE.UTF-8";

    // Compiles the locale; ok() tells whether that worked, error() why not.
    CommaLocale() {
        char pattern[] = "/tmp/brinora-locale-XXXXXX";
        if (::mkdtemp(pattern) == nullptr) {
            error_ = "mkdtemp failed";
            return;
        }
        folder_ = pattern;
        const std::string target = folder_ + "/" + kName;
        const pid_t pid = ::fork();
        if (pid == 0) {
            // localedef reports on standard output and error; only its result counts here.
            const int devNull = ::open("/dev/null", O_WRONLY);
            ::dup2(devNull, STDOUT_FILENO);
            ::dup2(devNull, STDERR_FILENO);
            ::execlp("localedef", "localedef", "-i", "de_DE", "-f", "UTF-8", target.c_str(),
                     static_cast<char*>(nullptr));
            ::_exit(127);
        }
        int status = 0;
        if (pid < 0 || ::waitpid(pid, &status, 0) != pid) {
            error_ = "localedef could not be started";
            return;
        }
        // Exit status 1 means warnings only; the locale is written all the same.
        std::error_code ignored;
        if (!std::filesystem::exists(target + "/LC_NUMERIC", ignored)) {
            error_ = "localedef -i de_DE -f UTF-8 failed (exit status " +
                     std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -1) +
                     "); the Debian package \"locales\" provides its sources";
        }
    }
    ~CommaLocale() {
        std::error_code ignored;
        if (!folder_.empty()) std::filesystem::remove_all(folder_, ignored);
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

    bool ok() const { return error_.empty(); }
    const std::string& error() const { return error_; }
    // The value for LOCPATH.
    const std::string& folder() const { return folder_; }

private:
    std::string folder_;
    std::string error_;
};

// Switches one category of this process to the comma locale while it lives
// and back to the previous locale afterwards.
class ScopedCommaLocale {
public:
    ScopedCommaLocale(const CommaLocale& locale, int category) : category_(category) {
        const char* previous = std::setlocale(category, nullptr);
        previous_ = previous != nullptr ? previous : "C";
        ::setenv("LOCPATH", locale.folder().c_str(), 1);
        switched_ = std::setlocale(category, CommaLocale::kName) != nullptr;
    }
    ~ScopedCommaLocale() {
        std::setlocale(category_, previous_.c_str());
        ::unsetenv("LOCPATH");
    }
    ScopedCommaLocale(const ScopedCommaLocale&) = delete;
    ScopedCommaLocale& operator=(const ScopedCommaLocale&) = delete;

    bool switched() const { return switched_; }

private:
    int category_;
    std::string previous_;
    bool switched_ = false;
};

}  // namespace brinora::test
