// The system log: diagnostics and progress as plain lines, without levels.
// Lines go to syslog(3) by default; a test or the command line may install its
// own sink to capture them or print them.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace brinora::log {

using Sink = std::function<void(std::string_view line)>;

// Writes one plain line to the current sink. Safe to call from any thread.
void line(std::string_view text);

// Formats with printf conventions, then writes one line.
void linef(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Replaces the sink; an empty function restores the syslog sink. Returns the old one.
Sink setSink(Sink sink);

// Installs a sink for the lifetime of the object and restores the previous one after.
class ScopedSink {
public:
    explicit ScopedSink(Sink sink) : previous_(setSink(std::move(sink))) {}
    ~ScopedSink() { setSink(std::move(previous_)); }
    ScopedSink(const ScopedSink&) = delete;
    ScopedSink& operator=(const ScopedSink&) = delete;

private:
    Sink previous_;
};

}  // namespace brinora::log
