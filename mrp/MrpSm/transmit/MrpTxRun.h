#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "mrp/MrpSm/transmit/MrpTxPacketContext.h"
#include "mrp/MrpSm/transmit/MvrpOpenVector.h"

namespace Mrp {

class MrpLib;
class MrpSm;

// The packets under construction of one interface while events of one type go into them in a row:
// found once. Holds until something else sends on the interface or changes it.
class MrpTxRun {
  public:
    MrpTxRun(const MrpSm& mrpSm, IntfId intfId, AttributeType attributeType);

    enum class Appended : std::uint8_t {
        no,       // a packet must be begun or sent first; nothing was done
        yes,      // there is room for more
        andFull,  // the packet is to be sent at once
    };
    // Appends an event for the value of those octets, as MrpLib::mrpSendAttributeIntf does.
    Appended append(std::span<const std::uint8_t> value, std::uint8_t event, bool second) {
        Packet& packet = packets_[second ? 1 : 0];
        if (packet.context && vlans_ && packet.vector.extend(readBe16(value.data()), event))
            [[likely]] {
            ++packet.context->events().values[event];
            return packet.vector.full() ? Appended::andFull : Appended::yes;
        }
        return appendOther(packet, value, event);
    }

  private:
    struct Packet {
        Ptr<MrpTxPacketContext> context;  // null where the next event begins one
        MvrpOpenVector vector;
    };
    Appended appendOther(Packet& packet, std::span<const std::uint8_t> value, std::uint8_t event);
    void openVectorOf(Packet& packet) const;

    MrpLib& mrpLib_;
    AttributeType attributeType_;
    bool vlans_;
    bool packetAccess_;  // without it nothing is appended
    std::size_t fullSize_;
    std::array<Packet, 2> packets_;
};

}  // namespace Mrp
