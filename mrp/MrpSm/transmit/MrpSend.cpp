#include <algorithm>
#include <utility>

#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/transmit/MrpEventPacking.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/ScopeGuard.h"
#include "platform/packet/PktManager.h"

// The entrances of the transmit room: one event for one interface, and the requests of the agent.

namespace Mrp {

namespace {
constexpr std::size_t maxPduBytes = 1500;
// What a packet must keep free: the largest vector, the EndMarks, and the headers before it.
constexpr std::size_t reservedBytes = 64;
}  // namespace

// --- The MRPDUs under construction ---

Ptr<MrpTxPacketContext> MrpLib::packetContext(IntfId intfId, bool second) const {
    const PacketContexts& contexts = second ? mrpTxSecondPacketContext_ : mrpTxPacketContext_;
    const auto found = contexts.find(intfId);
    return found != contexts.end() ? found->second : nullptr;
}

void MrpLib::mrpTxPacketContextIs(IntfId intfId, Ptr<MrpTxPacketContext> context) {
    mrpTxPacketContext_[intfId] = std::move(context);
}

void MrpLib::mrpTxPacketContextDel(IntfId intfId) {
    mrpTxPacketContext_.erase(intfId);
}

void MrpLib::mrpTxSecondPacketContextIs(IntfId intfId, Ptr<MrpTxPacketContext> context) {
    mrpTxSecondPacketContext_[intfId] = std::move(context);
}

void MrpLib::mrpTxSecondPacketContextDel(IntfId intfId) {
    mrpTxSecondPacketContext_.erase(intfId);
}

// --- One event ---

void MrpLib::mrpSendAttributeIntf(const MrpParameters& parameters, IntfId intfId, bool second) {
    if (!active() || mrpSm_->pamCollection()->pam(intfId) == nullptr) {
        MRP_TRACE(8, " Tx is being Attempted before the PAM is enabled ");
        return;
    }
    const Ptr<MrpTxPacketContext> context = openPacketContext(parameters, intfId, second);
    if (!context) {
        return;
    }
    if (parameters.attributeEvent < AttributeEvent::leaveAll) {  // which the vector counts
        ++context->events().values[parameters.attributeEvent];
    }
    switch (application_) {
    case MrpApplication::msrp:
        mrpSendMsrpAttributeIntf(parameters, intfId, second);
        break;
    case MrpApplication::mvrp:
        mrpSendMvrpAttributeIntf(parameters, intfId, second);
        break;
    default:
        MRP_TRACE(8, " Not supported Application:  " << application_);
        break;
    }
    flushWhenFull(intfId, second);
}

Ptr<MrpTxPacketContext> MrpLib::openPacketContext(const MrpParameters& parameters, IntfId intfId,
                                                  bool second) {
    Ptr<MrpTxPacketContext> context = packetContext(intfId, second);
    if (context && parameters.attributeType < context->lastAttributeType()) {
        // Within one PDU the attribute types only ascend.
        mrpSm_->mrpTransmitTxPacket(intfId, second);
        context = nullptr;
    }
    if (context) {
        return context;
    }
    Ptr<Pkt> pkt = PktManager::instance().newPkt(maxPduBytes);
    if (!pkt) {
        MRP_TRACE(0, "Packet allocation failed for " << parameters);
        return nullptr;
    }
    pkt->newSharedTailData(maxPduBytes);
    context = makePtr<MrpTxPacketContext>(intfId, std::move(pkt));
    second ? mrpTxSecondPacketContextIs(intfId, context) : mrpTxPacketContextIs(intfId, context);
    return context;
}

void MrpLib::flushWhenFull(IntfId intfId, bool second) {
    const Ptr<MrpTxPacketContext> context = packetContext(intfId, second);
    if (!context) {
        return;
    }
    if (mrpPacketFull(*context, mrpFullPacketSize(intfId))) {
        mrpSm_->mrpTransmitTxPacket(intfId, second);
    }
}

std::size_t MrpLib::mrpFullPacketSize(IntfId intfId) const {
    std::size_t limit = maxPduBytes;
    if (const auto& allIntfStatus = mrpSm_->allIntfStatusDir()) {
        if (const auto status = allIntfStatus->value(intfId)) {
            limit = std::min(limit, status->frameSizeLimit.value_or(limit));
        }
    }
    return limit - std::min(limit, reservedBytes);
}

bool MrpLib::mrpPacketFull(const MrpTxPacketContext& context, std::size_t fullSize) const {
    return mrpGetNumOfPackedBytes(context, application_) >= fullSize;
}

void MrpLib::mrpSendMsrpAttributeIntf(const MrpParameters& parameters, IntfId intfId, bool second) {
    switch (parameters.attributeType) {
    case talkerAdvertiseType:
        mrpSendTalkerAdvertise(parameters.attributeEvent, intfId, second);
        break;
    case talkerFailedType:
        mrpSendTalkerFailed(parameters.attributeEvent, intfId, second);
        break;
    case listenerType:
        mrpSendListenerVector(parameters.attributeEvent, intfId, second);
        break;
    case domainType:
        mrpSendDomainVector(parameters.attributeEvent, intfId, second);
        break;
    default:
        MRP_TRACE(8, "Invalid Attribute type in mrpSendAttributeIntf for " << intfId.name());
        break;
    }
}

void MrpLib::mrpSendMvrpAttributeIntf(const MrpParameters& parameters, IntfId intfId, bool second) {
    if (parameters.attributeType == vlanType) {
        mrpSendVlanVector(parameters.attributeEvent, intfId, second);
    } else {
        MRP_TRACE(8, "Invalid Attribute type in mrpSendMvrpAttributeIntf for " << intfId.name());
    }
}

void MrpLib::mrpSendLeaveAll(AttributeType attributeType, IntfId intfId) {
    MRP_TRACE(8, " \n mrpSendLeaveAll: type = " << +attributeType << " intfId = " << intfId.name());
    mrpSendAttributeIntf({intfId, attributeType, AttributeEvent::leaveAll, false}, intfId, false);
}

// --- Requests ---

void MrpLib::mrpSendAttribute(const MrpParameters& parameters) {
    if (!active()) {
        mrpOutIntfQueueDelAll();  // a standby engine takes no requests
        return;
    }
    const Ptr<MrpSm> held(mrpSm_);
    MrpParseContext& context = *mrpSm_->parseContext();
    const ScopeGuard restore(
        [&context, before = context.attribute()] { context.attributeIs(before); });
    // A request that fails does not leave its interfaces to the next one.
    const ScopeGuard empty([this] { mrpOutIntfQueueDelAll(); });
    MRP_TRACE(8, "sendAttribute called");
    const Seconds leaveAllTime = mrpSm_->leaveAllSm()->getLeaveAllTime(parameters.intfId);
    while (!mrpOutIntfQueue_.empty()) {
        const IntfId queued = mrpOutIntfQueueDeq();
        context.intfIdIs(parameters.intfId);
        context.attributeTypeIs(parameters.attributeType);
        context.attributeKeyIs(mrpSm_->mrpGetTxAttributeKey());
        applyRequest(parameters, queued, leaveAllTime);
    }
}

void MrpLib::applyRequest(const MrpParameters& parameters, IntfId queued, Seconds leaveAllTime) {
    switch (parameters.attributeEvent) {
    case AttributeEvent::newEvent:
        declare(MrpApplicantEvent::newEvent);
        break;
    case AttributeEvent::joinIn:
    case AttributeEvent::joinMt:
        declare(MrpApplicantEvent::join);
        break;
    case AttributeEvent::lv:
        mrpSm_->applicantSm()->applicantEventIs(MrpApplicantEvent::lv);
        mrpSm_->applicantSm()->handleApplicantEvent();
        mrpDeleteAttrOnDefaultStates();
        break;
    case AttributeEvent::leaveAll:
        sendLeaveAllRequest(parameters, queued, leaveAllTime);
        break;
    case AttributeEvent::internalLeave:
        mrpHandleInternalLeave();
        break;
    default:
        MRP_TRACE(8,
                  "Event = " << +parameters.attributeEvent << " not handled in sendAttributeIntf ");
        break;
    }
}

// The messages are encoded from the transmit image, while a record that the applicant makes takes
// the received one: hence the copy behind it.
void MrpLib::declare(MrpApplicantEvent event) {
    mrpSm_->applicantSm()->applicantEventIs(event);
    mrpSm_->applicantSm()->handleApplicantEvent();
    if (const Ptr<MrpAttrDatabase> record = mrpSm_->mrpGetAttribute(false)) {
        mrpSm_->mrpPopulateValueInDatabase(*record, true);
    }
}

// The only request that is for the queued interface itself.
void MrpLib::sendLeaveAllRequest(const MrpParameters& parameters, IntfId queued,
                                 Seconds leaveAllTime) {
    const AttributeType type = parameters.attributeType;
    MRP_TRACE(8, "mrpSendAttribute: lvAllEvent_. intfId = " << queued.name()
                                                            << "attrType = " << +type);
    mrpSendAttributeIntf(parameters, queued, false);
    mrpSm_->leaveAllTimeIs(queued, type, leaveAllTime);
    // A record of a type that the application lacks would outlive the interface.
    const bool known = type != 0 && type <= mrpSm_->maxAttrTypes();
    const Ptr<MrpIntfLeaveAllSm> machine = mrpSm_->leaveAllSm()->intfLeaveAllSm(queued);
    if (known && machine) {
        machine->leaveAllPendingIs(type).expiryTime = mrpSm_->clock().now() + leaveAllTime;
        machine->doScheduleLeaveAllTimer(leaveAllTime);
    }
}

}  // namespace Mrp
