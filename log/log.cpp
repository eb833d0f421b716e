#include "log/log.h"

#include <syslog.h>

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

void writeToSyslog(std::string_view text) {
    static std::once_flag opened;
    std::call_once(opened, [] { openlog("brinora", LOG_PID, LOG_USER); });
    syslog(LOG_NOTICE, "%.*s", static_cast<int>(text.size()), text.data());
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
