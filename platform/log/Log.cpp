#include "platform/log/Log.h"

#include <cstdio>

#include "platform/base/Text.h"

namespace Platform {

namespace {

void writeToStandardError(const LogHandle& handle, const std::string& text) {
    std::fprintf(stderr, "%s\n", logLine(handle, text).c_str());
}

LogSink& currentSink() {
    static LogSink& sink = *new LogSink(writeToStandardError);
    return sink;
}

}  // namespace

LogHandle::LogHandle(std::string_view name, int severity, std::string_view explanation,
                     std::string_view recommendedAction, std::string_view format, Seconds interval,
                     double burst)
    : name_(name),
      severity_(severity),
      explanation_(explanation),
      recommendedAction_(recommendedAction),
      format_(format),
      interval_(interval),
      burst_(burst) {}

LogHandle::~LogHandle() = default;

bool LogHandle::enabled() const {
    return static_cast<bool>(currentSink());
}

bool LogHandle::withinRate(Seconds now) {
    if (interval_ <= 0) {
        return true;
    }
    while (!written_.empty() && now >= written_.front() + interval_) {
        written_.pop_front();
    }
    if (static_cast<double>(written_.size() + 1) > burst_) {
        return false;
    }
    written_.push_back(now);
    return true;
}

void LogHandle::write(Seconds now, std::initializer_list<std::string_view> arguments) {
    const LogSink sink = currentSink();
    if (sink && withinRate(now)) {
        sink(*this, formatText(format_, arguments));
    }
}

std::string logLine(const LogHandle& handle, const std::string& text) {
    return "%" + handle.name() + "-" + std::to_string(handle.severity()) + ": " + text;
}

void logSinkIs(LogSink sink) {
    currentSink() = std::move(sink);
}

void logToStandardError() {
    currentSink() = writeToStandardError;
}

}  // namespace Platform
