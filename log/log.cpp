#include "log/log.h"

#include <syslog.h>
#include <unistd.h>

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <vector>

namespace brinora::log {
namespace {

std::mutex& sinkMutex() {
    static std::mutex mutex;
    return mutex;
}

Sink& currentSink() {
    static Sink sink;
    return sink;
}

// Longest line handed to syslog(3); system loggers keep far less, and a
// record line of a batch file with a huge comment would otherwise be copied
// whole into the logger's buffer (and its length overflow the int precision).
constexpr std::size_t kMaxSyslogLine = 65536;

// Whether the system logger's socket is there. Where none runs, syslog(3)
// tries, and fails, to connect on every line: a batch of 10^6 lines spent
// seconds of its reading thread on those attempts. The answer is kept for a
// second, so a logger that starts later is still found. Called under the
// sink's lock.
bool loggerPresent() {
    using Clock = std::chrono::steady_clock;
    static Clock::time_point nextCheck{};
    static bool present = false;
    const Clock::time_point now = Clock::now();
    if (now >= nextCheck) {
        present = ::access(_PATH_LOG, F_OK) == 0;
        nextCheck = now + std::chrono::seconds(1);
    }
    return present;
}

void writeToSyslog(std::string_view text) {
    if (!loggerPresent()) return;
    static std::once_flag opened;
    std::call_once(opened, [] { openlog("brinora", LOG_PID, LOG_USER); });
    const std::size_t length = text.size() < kMaxSyslogLine ? text.size() : kMaxSyslogLine;
    syslog(LOG_NOTICE, "%.*s", static_cast<int>(length), text.data());
}

}  // namespace

void line(std::string_view text) {
    std::lock_guard<std::mutex> lock(sinkMutex());
    Sink& sink = currentSink();
    if (sink) {
        sink(text);
    } else {
        writeToSyslog(text);
    }
}

void linef(const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::string text;
    if (length > 0) {
        std::vector<char> buffer(static_cast<std::size_t>(length) + 1);
        std::vsnprintf(buffer.data(), buffer.size(), format, args);
        text.assign(buffer.data(), static_cast<std::size_t>(length));
    }
    va_end(args);
    line(text);
}

Sink setSink(Sink sink) {
    std::lock_guard<std::mutex> lock(sinkMutex());
    Sink previous = std::move(currentSink());
    currentSink() = std::move(sink);
    return previous;
}

}  // namespace brinora::log
