#include <algorithm>
#include <vector>

#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/transmit/MrpEventPacking.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/BigEndian.h"

// Packets under construction are finished and sent here.

namespace Mrp {

namespace {

constexpr std::size_t addrSize = 6;
constexpr std::size_t ethTypeOffset = 2 * addrSize;
constexpr std::size_t ethHeaderSize = ethTypeOffset + 2;
constexpr std::size_t protocolVersionSize = 1;
constexpr std::uint8_t protocolVersion = 0;
constexpr std::size_t listLengthOffset = 2;

}  // namespace

EthAddr MrpSm::txSourceAddr(IntfId intfId) const {
    const auto status = ethPhyIntfStatusDir_->value(intfId);
    return status ? status->addr : brConfig_->bridgeMacAddr();
}

// Writes the EndMarks of the open message and of the PDU, the protocol version, and the Ethernet
// header, and cuts the packet to its length.
void MrpSm::closePacket(MrpTxPacketContext& context) const {
    const MrpApplication application = mrpLib_->application();
    std::size_t end = mrpGetNumOfPackedBytes(context, application);
    if (const auto message = context.curMessage()) {
        writeBe16(context.at(end, endMarkSize), 0);
        end += endMarkSize;
        if (application == MrpApplication::msrp) {
            std::uint8_t* listLength =
                context.at(*message + listLengthOffset, sizeof(std::uint16_t));
            writeBe16(listLength, static_cast<std::uint16_t>(readBe16(listLength) + endMarkSize));
        }
    }
    writeBe16(context.at(end, endMarkSize), 0);
    end += endMarkSize;
    Pkt& pkt = *context.pkt();
    pkt.newSharedHeadData(ethHeaderSize + protocolVersionSize);
    std::uint8_t* frame = pkt.data();
    const EthAddr::Octets& destination = mrpLib_->destinationAddr().octets();
    const EthAddr::Octets source = txSourceAddr(context.intfId()).octets();
    std::copy(destination.begin(), destination.end(), frame);
    std::copy(source.begin(), source.end(), frame + addrSize);
    writeBe16(frame + ethTypeOffset, mrpLib_->ethType());
    frame[ethHeaderSize] = protocolVersion;
    pkt.trim(ethHeaderSize + protocolVersionSize + end);
}

void MrpSm::mrpTransmitTxPacket(IntfId intfId, bool second) {
    const Ptr<MrpTxPacketContext> context = mrpLib_->packetContext(intfId, second);
    if (!context) {
        return;
    }
    const auto deleteContext = [this, intfId, second] {
        second ? mrpLib_->mrpTxSecondPacketContextDel(intfId)
               : mrpLib_->mrpTxPacketContextDel(intfId);
    };
    if (mrpConfig_->mrpFlooding()) {
        deleteContext();  // an agent that floods what it receives originates nothing
        return;
    }
    const Ptr<EthDevPam> pam(pamCollection_->pam(intfId));
    if (!pam) {
        MRP_TRACE(8, " Tx is being Attempted before the PAM is enabled ");
        return;
    }
    closePacket(*context);
    mrpLib_->lastTxIntfIs(intfId);
    if (mrpCounters_) {  // a standby engine may still have had a packet to flush
        mrpCounters_->numOfPktsTransmittedInc(1);
    }
    MRP_TRACE(8, "A pkt is sent on :" << intfId.name());
    deleteContext();  // first, so that whatever the send does finds the packet gone
    MrpPortCounters& counters = portCounters_[intfId];
    if (pam->txPkt(context->pkt())) {
        ++counters.pdusOut;
        counters.eventsOut.add(context->events());
    } else {
        ++counters.sendFailures;
    }
}

void MrpSm::mrpTransmitTxAttributes(IntfId intfId) {
    mrpTransmitTxPacket(intfId, false);
    mrpTransmitTxPacket(intfId, true);
}

// An interface whose only packet is the second one is left until something addresses it directly.
void MrpSm::mrpTransmitTxAttributes() {
    const MrpLib::PacketContexts& contexts = mrpLib_->mrpTxPacketContext();
    if (contexts.empty()) {
        return;
    }
    std::vector<IntfId> interfaces;
    interfaces.reserve(contexts.size());
    for (const auto& [intfId, context] : contexts) {
        interfaces.push_back(intfId);
    }
    for (const IntfId intfId : interfaces) {
        mrpTransmitTxAttributes(intfId);
    }
}

}  // namespace Mrp
