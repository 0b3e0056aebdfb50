#pragma once

#include <cstdint>

#include "agent/bridge/LinkTable.h"
#include "agent/bridge/RouteSocket.h"

namespace MrpAgent {

// One reading after the other of all links: what they are in general, then what they are to
// bridges.
class LinkDump final {
  public:
    int fd() const { return socket_.fd(); }
    // Begins a new reading, whatever became of the last one. Throws std::system_error.
    void begin();
    // Takes in what has come, and asks for the second half when the first is complete. The answer
    // is that for the whole. Throws std::system_error; the reading has failed then.
    RouteSocket::Answer advance();
    // Waits for something to take in, that long at the most, and tells whether there is.
    bool wait(Platform::Seconds span) const { return socket_.wait(span); }
    // begin(), and advance() until it is complete. Throws std::system_error, also when the kernel
    // does not answer or is disturbed all the time.
    void readNow();
    // Of the last reading that is complete and undisturbed.
    LinkTable& table() { return table_; }

  private:
    RouteSocket socket_;
    std::uint8_t family_ = 0;
    bool disturbed_ = false;
    LinkTable table_;
};

}  // namespace MrpAgent
