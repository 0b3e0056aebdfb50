#include "mrp/MrpSm/receive/MrpIntfPamSm.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "mrp/MrpSm/protocol/MrpLeaveAllRun.h"
#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/Assert.h"
#include "platform/base/ScopeGuard.h"
#include "platform/base/Text.h"
#include "platform/packet/PktManager.h"

namespace Mrp {

namespace {

constexpr std::size_t ethHeaderSize = 14;
constexpr std::size_t ethTypeOffset = 12;
constexpr std::size_t tagSize = 4;
constexpr std::size_t tagControlOffset = 14;
constexpr std::uint16_t taggedEtherType = 0x8100;
constexpr std::uint16_t vlanIdMask = 0x0fff;

}  // namespace

MrpIntfPamSm::MrpIntfPamSm(IntfId intfId, Ptr<EthDevPam> pam, bool standbyMode, MrpPamSm& mrpPamSm)
    : intfId_(intfId),
      pam_(std::move(pam)),
      standbyMode_(standbyMode),
      mrpPamSm_(mrpPamSm),
      mrpSm_(mrpPamSm.mrpSm()) {
    readableReactor_ = pam_->readable().react([this] { handleMrpdu(); });
    handleInitialized();
}

void MrpIntfPamSm::handleInitialized() {
    MRP_TRACE_HANDLER();
    require(!initialized_, "!initialized()");
    initialized_ = true;
    handleStandbyMode();
}

void MrpIntfPamSm::handleStandbyMode() {
    MRP_TRACE_HANDLER();
    require(initialized_, "initialized()");
    // During start-up there is no LeaveAll machine yet; the start-up makes up for it at its end.
    if (!standbyMode_ && mrpSm_.leaveAllSm() != nullptr) {
        mrpSm_.leaveAllSm()->mrpEnableLeaveAllPending(intfId_);
    }
}

void MrpIntfPamSm::doClose() {
    MRP_TRACE_HANDLER();
    require(initialized_, "initialized()");
    silence();
    if (!standbyMode_ && mrpSm_.leaveAllSm() != nullptr) {
        mrpSm_.leaveAllSm()->mrpDisableLeaveAllPending(intfId_);
    }
}

void MrpIntfPamSm::handleMrpdu() {
    if (standbyMode_) {
        return;
    }
    MRP_TRACE_HANDLER();
    require(initialized_, "initialized()");
    const Ptr<MrpIntfPamSm> self(this);
    const Ptr<Pkt> pkt = pam_->rxPkt();
    if (!pkt) {
        return;
    }
    MRP_TRACE(8, "Received frame on interface " << intfId_.name() << " (length=" << pkt->bytes()
                                                << ")");
    require(pkt->bytes() >= ethHeaderSize, "pkt->bytes() >= sizeof( Vnet::EthHdr )");
    if (!acceptFrame(*pkt)) {
        mrpSm_.mrpCounters()->numOfPktsProcessedInc(1);
        return;
    }
    if (mrpSm_.mrpConfig().mrpFlooding()) {
        // The copy is the frame as it stands now: of a tagged one, from its fifth octet on.
        if (const Ptr<Pkt> copy = PktManager::instance().newPkt(pkt->span())) {
            mrpPamSm_.floodMsrpdu(intfId_, copy);
        }
    }
    processFrame(*pkt);
}

bool MrpIntfPamSm::acceptFrame(Pkt& pkt) {
    const EthAddr::Octets& destination = mrpSm_.mrpLib()->destinationAddr().octets();
    if (!std::equal(destination.begin(), destination.end(), pkt.data())) {
        MRP_TRACE(2, "Received frame with incorrect DMAC -- ignoring");
        mrpSm_.mrpCounters()->numOfIncorrectDmacInc(1);
        return false;
    }
    std::uint16_t ethType = pkt.be16(ethTypeOffset);
    // A tag that is cut short leaves its own EtherType to be refused below.
    if (ethType == taggedEtherType && pkt.bytes() >= ethHeaderSize + tagSize) {
        MRP_TRACE(6, "Received 802.1Q-tagged frame with VLAN ID "
                         << (pkt.be16(tagControlOffset) & vlanIdMask));
        ethType = pkt.be16(ethTypeOffset + tagSize);
        pkt.delSharedHeadData(tagSize);
    }
    if (ethType != mrpSm_.mrpLib()->ethType()) {
        MRP_TRACE(4, "Received frame with incorrect EtherType -- ignoring");
        mrpSm_.mrpCounters()->numOfIncorrectEtypeInc(1);
        return false;
    }
    return true;
}

void MrpIntfPamSm::processFrame(Pkt& pkt) {
    MrpPortCounters& counters = mrpSm_.portCountersIs(intfId_);
    // Whatever way this is left, nothing of the frame stays behind.
    const ScopeGuard clear([this] {
        mrpSm_.dropParsed();
        mrpSm_.eventsInHandIs(nullptr);
        MrpSm::futureProtocolVersionIs(false);
    });
    mrpSm_.eventsInHandIs(&counters.eventsIn);
    ++counters.pdusIn;
    const MrpCounters::Count malformed = mrpSm_.mrpCounters()->numOfMalformedPkts();
    pkt.delSharedHeadData(ethHeaderSize);
    mrpSm_.parseContext()->intfIdIs(intfId_);
    mrpSm_.parseMrpdu(pkt);
    counters.malformed += mrpSm_.mrpCounters()->numOfMalformedPkts() != malformed ? 1 : 0;
    mrpSm_.processParsedAttributes(intfId_);
    mrpSm_.mrpCounters()->numOfPktsProcessedInc(1);
    mrpSm_.mrpTransmitTxAttributes();
}

void MrpIntfPamSm::transmitAllLeaveAll() {
    MRP_TRACE_HANDLER();
    require(initialized_ && !standbyMode_, "initialized() && !standbyMode()");
    const Seconds leaveAllTime = mrpSm_.leaveAllSm()->getLeaveAllTime(intfId_);
    for (AttributeType type = 1; type <= mrpSm_.maxAttrTypes(); ++type) {
        mrpAllLeaveAllSm(type);
        mrpSm_.leaveAllSm()->restart(intfId_, type, leaveAllTime);
    }
    mrpSm_.mrpTransmitTxAttributes(intfId_);
}

void MrpIntfPamSm::mrpAllLeaveAllSm(AttributeType attributeType) {
    const Ptr<MrpAttrIter> iter = mrpSm_.mrpAttrIter({intfId_, attributeType});
    if (!iter) {
        mrpSm_.mrpLib()->mrpSendLeaveAll(attributeType, intfId_);
        return;
    }
    MrpParseContext& context = *mrpSm_.parseContext();
    const ScopeGuard clear([&context] { context.sendTxLvAllIs(false); });
    context.sendTxLvAllIs(true);
    const std::vector<AttributeKey> keys = iter->snapshot();
    const MrpLeaveAllEvents events{intfId_, attributeType, MrpApplicantEvent::txLvAll,
                                   std::nullopt};
    for (std::size_t next = 0; next < keys.size(); ++next) {
        MrpLeaveAllRun::pass(mrpSm_, events, keys, next, [](AttributeKey) { return std::nullopt; });
        if (next < keys.size()) {
            postTxLeaveAll({intfId_, attributeType, keys[next]});
        }
    }
    if (context.sendTxLvAll()) {
        mrpSm_.mrpLib()->mrpSendLeaveAll(attributeType, intfId_);
    }
}

void MrpIntfPamSm::postTxLeaveAll(const MrpAttribute& attribute) {
    const auto& [intfId, attributeType, key] = attribute;
    if (mrpSm_.deletePending(attribute) ||
        mrpSm_.mrpGetAttrFromDatabase(intfId, attributeType, key, true) == nullptr) {
        return;
    }
    MRP_TRACE(7, "AllLeaveAllSm: attributeKey = 0x" << hexStr(key) << " Type = " << +attributeType
                                                    << "interface = " << intfId.name());
    mrpSm_.mrpFillContextFromDatabase(attribute);
    mrpSm_.applicantSm()->applicantEventIs(MrpApplicantEvent::txLvAll);
    mrpSm_.applicantSm()->handleApplicantEvent();
}

}  // namespace Mrp
