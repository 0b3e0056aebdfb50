#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "mrp/MrpMvrp/MvrpAttributes.h"
#include "mrp/MrpSm/transmit/MrpEventPacking.h"
#include "mrp/MrpSm/transmit/MrpTxPacketContext.h"
#include "platform/base/BigEndian.h"

namespace Mrp {

// The open vector of a packet of VLANs, read once and then extended a value at a time. Holds while
// nothing else writes to the packet.
class MvrpOpenVector {
  public:
    // Extends nothing.
    MvrpOpenVector() = default;
    // The packet has an open vector. It is full once its octets in use get to `fullSize`.
    MvrpOpenVector(const MrpTxPacketContext& context, std::size_t fullSize) {
        const std::size_t head = *context.curVector() + sizeof(MvrpVlanVector);
        fullBytes_ = fullSize - std::min(fullSize, head);
        header_ = context.vector(sizeof(MvrpVlanVector) + fullBytes_);
        values_ = mrpGetNumOfValues(header_);
        next_ = readBe16(header_ + VectorHeader::size) + values_;
    }

    // Appends an event for the VLAN. False, with nothing done, when that does not follow on from
    // the vector, or the vector has no room that could be used.
    bool extend(std::uint16_t vlanId, std::uint8_t event) {
        const std::size_t octet = values_ / 3;
        if (vlanId != next_ || octet >= fullBytes_) {
            return false;
        }
        // What is behind the events in use is zero.
        static constexpr std::array<std::uint8_t, 3> weights{36, 6, 1};
        std::uint8_t& packed = header_[sizeof(MvrpVlanVector) + octet];
        packed = static_cast<std::uint8_t>(packed + event * weights[values_ % 3]);
        writeBe16(header_, static_cast<std::uint16_t>(readBe16(header_) + 1));
        ++values_;
        ++next_;
        return true;
    }
    bool full() const { return threePackedBytes(values_) >= fullBytes_; }

  private:
    std::uint8_t* header_ = nullptr;
    std::uint32_t values_ = 0;
    std::uint32_t next_ = 0;     // the VLAN that would follow on; above 16 bits there is none
    std::size_t fullBytes_ = 0;  // of events
};

}  // namespace Mrp
