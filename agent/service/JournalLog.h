#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

#include "agent/service/DatagramSender.h"
#include "platform/time/ActivityManager.h"

namespace MrpAgent {

// Writes entries to the system's journal by its native protocol, without ever blocking the event
// loop: what the journal does not take waits and is tried again. An entry that finds too much
// waiting, or that no datagram can hold, is lost and counted; how many were lost is an entry of its
// own, as soon as the journal takes it. Destroyed before the activity manager; what waits then is
// lost.
class JournalLog final {
  public:
    // `socket`: the path of the journal's socket. `identifier`: the program's name in the entries.
    JournalLog(std::string socket, std::string_view identifier,
               Platform::ActivityManager& activityManager);

    // `severity`: 0 (emergency) to 7 (debug). `logName`: the log handle's name, for the field
    // MRP_LOG; empty for none.
    void entryIs(int severity, std::string_view message, std::string_view logName = {});
    // Entries, since the log was made.
    std::uint64_t lost() const { return lost_; }
    // The octets that wait.
    std::size_t pending() const { return pending_; }

    static constexpr std::size_t limit = 16U * 1024 * 1024;

  private:
    std::string entryOf(int severity, std::string_view message, std::string_view logName) const;
    void flush();
    void sendWaiting();
    void tellLost();

    DatagramSender sender_;
    std::string identifier_;
    std::deque<std::string> waiting_;
    std::size_t pending_ = 0;
    std::uint64_t lost_ = 0;
    std::uint64_t lostTold_ = 0;
    Platform::Alarm retry_;
};

}  // namespace MrpAgent
