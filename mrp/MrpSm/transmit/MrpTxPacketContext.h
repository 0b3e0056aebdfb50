#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "mrp/MrpSm/types/MrpEnums.h"
#include "mrp/MrpSm/types/PlatformNames.h"
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
    std::uint8_t* at(std::size_t position) const { return pkt_->data() + position; }

    // Where the open message's header begins; none while no message is open.
    std::optional<std::size_t> curMessage() const { return curMessage_; }
    void curMessageIs(std::size_t position) { curMessage_ = position; }
    // Where the open vector's header begins.
    std::optional<std::size_t> curVector() const { return curVector_; }
    void curVectorIs(std::size_t position) { curVector_ = position; }
    // The type of the last event appended; 0 before the first.
    AttributeType lastAttributeType() const { return lastAttributeType_; }
    void lastAttributeTypeIs(AttributeType type) { lastAttributeType_ = type; }

  private:
    IntfId intfId_;
    Ptr<Pkt> pkt_;
    std::optional<std::size_t> curMessage_;
    std::optional<std::size_t> curVector_;
    AttributeType lastAttributeType_ = 0;
};

}  // namespace Mrp
