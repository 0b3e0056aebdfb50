#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

#include "agent/control/WallTime.h"

namespace MrpAgent {

// The last messages of the log, kept for those who ask what has happened. Whoever writes the log
// adds each of them.
class LogMemory final {
  public:
    struct Message {
        std::uint64_t number = 0;  // counts from 1
        WallTime time;
        int severity = 0;  // as Platform::LogHandle has it
        std::string name;  // of the handle; empty for what is no structured message
        std::string text;
    };

    static constexpr std::size_t limit = 1000;       // messages
    static constexpr std::size_t textLimit = 16384;  // octets of one; the rest is cut off

    explicit LogMemory(WallClock wallClock = std::chrono::system_clock::now);

    void add(int severity, std::string name, std::string text);

    // The oldest first.
    const std::deque<Message>& messages() const { return messages_; }

  private:
    WallClock wallClock_;
    std::uint64_t count_ = 0;
    std::deque<Message> messages_;
};

}  // namespace MrpAgent
