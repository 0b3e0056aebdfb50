#include "mrp/MrpSm/transmit/MrpTxRun.h"

#include "mrp/MrpSm/root/MrpSm.h"

namespace Mrp {

MrpTxRun::MrpTxRun(const MrpSm& mrpSm, IntfId intfId, AttributeType attributeType)
    : mrpLib_(*mrpSm.mrpLib()),
      attributeType_(attributeType),
      vlans_(mrpLib_.application() == MrpApplication::mvrp),
      packetAccess_(mrpSm.pamCollection()->pam(intfId) != nullptr),
      fullSize_(mrpLib_.mrpFullPacketSize(intfId)) {
    for (const bool second : {false, true}) {
        Ptr<MrpTxPacketContext> context =
            packetAccess_ ? mrpLib_.packetContext(intfId, second) : nullptr;
        if (context && attributeType >= context->lastAttributeType()) {
            packets_[second ? 1 : 0].context = std::move(context);
            openVectorOf(packets_[second ? 1 : 0]);
        }
    }
}

void MrpTxRun::openVectorOf(Packet& packet) const {
    if (vlans_ && packet.context->curVector()) {
        packet.vector = MvrpOpenVector(*packet.context, fullSize_);
    }
}

MrpTxRun::Appended MrpTxRun::appendOther(Packet& packet, std::span<const std::uint8_t> value,
                                         std::uint8_t event) {
    if (!packetAccess_) {
        return Appended::yes;  // it goes nowhere
    }
    if (!packet.context) {
        return Appended::no;
    }
    mrpLib_.mrpAppendEvent(*packet.context, attributeType_, value, event);
    openVectorOf(packet);
    return mrpLib_.mrpPacketFull(*packet.context, fullSize_) ? Appended::andFull : Appended::yes;
}

}  // namespace Mrp
