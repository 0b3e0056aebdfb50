#pragma once

#include <functional>
#include <string>

#include "platform/time/ActivityManager.h"

namespace MrpAgent {

// Writes lines to a descriptor without ever blocking the event loop: what the reader does not take
// waits and is tried again. A reader that is gone or too slow costs it the lines and nothing else.
// The process ignores SIGPIPE. The descriptor stays the caller's.
class OutputQueue {
  public:
    // Told why, when lines are lost.
    using Lost = std::function<void(const char* why)>;

    OutputQueue(int fd, Platform::ActivityManager& activityManager, Lost lost);

    // Writes the line, with its end added, behind those that wait. Lost when more than `limit`
    // octets wait already.
    void lineIs(const std::string& line);
    // The octets that wait.
    std::size_t pending() const { return waiting_.size() - written_; }
    // The octets that are held, those already written among them: at most twice as many.
    std::size_t held() const { return waiting_.size(); }

    static constexpr std::size_t limit = 16U * 1024 * 1024;

  private:
    void flush();

    int fd_;
    Lost lost_;
    std::string waiting_;
    std::size_t written_ = 0;  // of what waits
    Platform::Alarm retry_;
};

}  // namespace MrpAgent
