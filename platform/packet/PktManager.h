#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/packet/Pkt.h"

namespace Platform {

// The process-wide maker of packet buffers.
class PktManager final {
  public:
    static PktManager& instance();

    // The largest packet that is made, in octets without head room. 10000 holds any jumbo frame.
    std::size_t maxPktBytes() const { return maxPktBytes_; }
    void maxPktBytesIs(std::size_t bytes) { maxPktBytes_ = bytes; }

    // An empty packet with room for `bytes` behind its head and head room before it; null when it
    // would be larger than the limit or there is no memory.
    Ptr<Pkt> newPkt(std::size_t bytes);
    // A packet that holds a copy of the bytes; null as above.
    Ptr<Pkt> newPkt(std::span<const std::uint8_t> bytes);

  private:
    PktManager() = default;

    std::size_t maxPktBytes_ = 10000;
};

}  // namespace Platform
