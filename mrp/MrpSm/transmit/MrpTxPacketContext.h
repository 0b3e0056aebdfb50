#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "mrp/MrpSm/types/MrpEnums.h"
#include "mrp/MrpSm/types/MrpPortCounters.h"
#include "mrp/MrpSm/types/PlatformNames.h"
#include "platform/base/Assert.h"
#include "platform/base/IntfId.h"
#include "platform/packet/Pkt.h"

namespace Mrp {

// One MRPDU under construction for one interface. The packet begins with the first message: what
// stands before it (protocol version, Ethernet header) is written when the packet is sent.
// Positions are octets from the packet's data start. All of the packet behind what is in use is
// zero, which the packing of events relies on.
class MrpTxPacketContext final : public RefCounted {
  public:
    MrpTxPacketContext(IntfId intfId, Ptr<Pkt> pkt) : intfId_(intfId), pkt_(std::move(pkt)) {}

    IntfId intfId() const { return intfId_; }
    const Ptr<Pkt>& pkt() const { return pkt_; }
    // The octets at the position, of which that many are about to be read or written.
    std::uint8_t* at(std::size_t position, std::size_t octets) const {
        require(position + octets <= pkt_->bytes(), "the packet has room for what is written");
        return pkt_->data() + position;
    }

    // Where the open message's header begins; none while no message is open.
    std::optional<std::size_t> curMessage() const { return curMessage_; }
    void curMessageIs(std::size_t position) { curMessage_ = position; }
    // Where the open vector's header begins.
    std::optional<std::size_t> curVector() const { return curVector_; }
    void curVectorIs(std::size_t position) { curVector_ = position; }
    // The octets of the open vector, from its header on; that one is open the caller knows.
    std::uint8_t* vector(std::size_t octets) const {
        require(curVector_.has_value(), "a vector is open");
        return at(*curVector_, octets);
    }
    // The type of the last event appended; 0 before the first.
    AttributeType lastAttributeType() const { return lastAttributeType_; }
    void lastAttributeTypeIs(AttributeType type) { lastAttributeType_ = type; }
    // What has been appended.
    MrpPortCounters::Events& events() { return events_; }

  private:
    IntfId intfId_;
    Ptr<Pkt> pkt_;
    std::optional<std::size_t> curMessage_;
    std::optional<std::size_t> curVector_;
    AttributeType lastAttributeType_ = 0;
    MrpPortCounters::Events events_;
};

}  // namespace Mrp
