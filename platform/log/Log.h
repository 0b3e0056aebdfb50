#pragma once

#include <deque>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>

#include "platform/base/Seconds.h"

namespace Platform {

// One kind of structured log message, registered once per process, usually as a static object.
class LogHandle final {
  public:
    // `severity`: 0 (emergency) to 7 (debug), as syslog's; 6 is informational.
    // `interval` and `burst` bound the rate: at most `burst` messages in any `interval` seconds of
    // the clock given to write(); an interval of 0 bounds nothing.
    LogHandle(std::string_view name, int severity, std::string_view explanation,
              std::string_view recommendedAction, std::string_view format, Seconds interval,
              double burst);
    LogHandle(const LogHandle&) = delete;
    LogHandle& operator=(const LogHandle&) = delete;
    ~LogHandle();

    const std::string& name() const { return name_; }
    int severity() const { return severity_; }
    const std::string& explanation() const { return explanation_; }
    const std::string& recommendedAction() const { return recommendedAction_; }
    const std::string& format() const { return format_; }

    // Whether anyone listens; callers that must build their arguments ask first.
    bool enabled() const;
    // Writes the format with its placeholders replaced by the arguments, in order.
    void write(Seconds now, std::initializer_list<std::string_view> arguments);

  private:
    bool withinRate(Seconds now);

    std::string name_;
    int severity_;
    std::string explanation_;
    std::string recommendedAction_;
    std::string format_;
    Seconds interval_;
    double burst_;
    std::deque<Seconds> written_;  // the times of what was written in the last interval
};

// The recommended action of messages that ask for none.
inline constexpr std::string_view noActionRequired = "No action is required";

// The line in which a message is written: "%NAME-SEVERITY: text".
std::string logLine(const LogHandle& handle, const std::string& text);

// Where log messages go. The default writes their lines to standard error; a null sink makes the
// log silent.
using LogSink = std::function<void(const LogHandle& handle, const std::string& text)>;
void logSinkIs(LogSink sink);
void logToStandardError();

}  // namespace Platform
