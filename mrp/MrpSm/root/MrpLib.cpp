#include "mrp/MrpSm/root/MrpLib.h"

#include <utility>

#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/Text.h"

// The library object's root room: the hooks, the interfaces, the values of a vector, the queue.

namespace Mrp {

Ptr<MrpLib> mrpLibFactory() {
    return makePtr<MrpLib>();
}

bool MrpLib::mrpJoinIndication(const MrpParameters&) {
    return false;
}
void MrpLib::mrpLeaveIndication(const MrpParameters&) {}
void MrpLib::mrpLeaveAllIndication(const MrpParameters&) {}
void MrpLib::mrpJoinReq(const MrpParameters&) {}
void MrpLib::mrpLeaveReq(const MrpParameters&) {}

std::uint16_t MrpLib::getNativeVlanId(IntfId intfId) const {
    return mrpSm_ != nullptr ? mrpSm_->brConfig().nativeVlan().value(intfId).value_or(0)
                             : std::uint16_t{0};
}

bool MrpLib::active() const {
    return mrpSm_ != nullptr && mrpSm_->active();
}

void MrpLib::mrpInterfaceEnable(IntfId intfId) {
    MRP_TRACE(8, "MrpLib::mrpInterfaceEnable( " << intfId.name());
    if (mrpSm_ != nullptr) {
        mrpSm_->desiredIntfDir()->intfDesiredIs(intfId, true);
    }
}

void MrpLib::mrpInterfaceDisable(IntfId intfId) {
    MRP_TRACE(8, "MrpLib::mrpInterfaceDisable( " << intfId.name());
    if (mrpSm_ == nullptr) {
        return;
    }
    mrpSm_->mrpTransmitTxAttributes(intfId);
    mrpTxPacketContextDel(intfId);
    mrpTxSecondPacketContextDel(intfId);
    mrpCleanUpIntfDatabase(intfId);
    mrpSm_->desiredIntfDir()->intfDesiredDel(intfId);
}

void MrpLib::mrpCleanUpIntfDatabase(IntfId intfId) {
    if (!active() || mrpSm_->standbyMode()) {
        return;
    }
    // An indication may disable the interface of the frame in hand: what is left of that frame
    // would bring the attributes back.
    mrpSm_->dropParsedOf(intfId);
    mrpSm_->registrarSm()->mrpCancelLeavePending(intfId);
    for (AttributeType type = 1; type <= mrpSm_->maxAttrTypes(); ++type) {
        const Ptr<MrpAttrIter> iter = mrpSm_->mrpAttrIter({intfId, type});
        if (!iter) {
            continue;
        }
        for (const AttributeKey key : iter->snapshot()) {
            mrpSm_->addAttrToDeletePending({intfId, type, key});
        }
    }
}

void MrpLib::mrpCleanUpIntfDatabaseAttribute(IntfId intfId, AttributeType attributeType,
                                             AttributeKey key) {
    if (!active() || mrpSm_->standbyMode()) {
        return;
    }
    const MrpApplicationDatabase* database = mrpSm_->applicationDatabase();
    if (database != nullptr && database->record(intfId, attributeType, key) != nullptr) {
        mrpSm_->addAttrToDeletePending({intfId, attributeType, key});
    }
}

void MrpLib::mrpHandleInternalLeave() {
    MRP_TRACE(8, " Type = " << +mrpSm_->parseContext()->attributeType());
    MRP_TRACE(8, " Adv streamId = " << hexStr(txImage_.talkerAdvertise.streamId));
    MRP_TRACE(8, " Failed streamId = "
                     << hexStr(txImage_.talkerFailed.talkerAdvertiseAttribute.streamId));
    MRP_TRACE(8, " Listener Stream Id = " << hexStr(txImage_.listener.streamId));
    mrpSm_->registrarSm()->mrpDeleteAttrFromLeavePending();
    mrpSm_->mrpDeleteAttrFromDatabase();
}

void MrpLib::mrpDeleteAttrOnDefaultStates() {
    const Ptr<MrpAttrDatabase> record = mrpSm_->mrpGetAttribute(false);
    if (!record) {
        return;
    }
    MRP_TRACE(8, " mrpDeleteAttrOnDefaultStates called. reg state= " << record->registrarState());
    if (record->applicantState() == MrpApplicantState::VO &&
        record->registrarState() == MrpRegistrarState::MT) {
        mrpSm_->registrarSm()->mrpDeleteAttrFromLeavePending();
        mrpSm_->mrpDeleteAttrFromDatabase();
    }
}

// --- Values of a received vector ---

void MrpLib::mrpValueFromFirstValue(std::uint16_t valueIndex) {
    if (valueIndex == 0) {
        return;
    }
    switch (application_) {
    case MrpApplication::msrp:
        mrpMsrpValueFromFirstValue();
        break;
    case MrpApplication::mvrp:
        mrpMvrpValueFromFirstValue();
        break;
    default:
        break;
    }
}

void MrpLib::mrpMsrpValueFromFirstValue() {
    switch (mrpSm_->parseContext()->attributeType()) {
    case talkerAdvertiseType:
        mrpIncrementTalkerAdvertise();
        break;
    case talkerFailedType:
        mrpIncrementTalkerFailed();
        break;
    case listenerType:
        mrpIncrementListenerVector();
        break;
    case domainType:
        mrpIncrementDomainVector();
        break;
    default:
        break;
    }
}

void MrpLib::mrpMvrpValueFromFirstValue() {
    if (mrpSm_->parseContext()->attributeType() == vlanType) {
        mrpIncrementVlanVector();
    }
}

void MrpLib::mrpIncrementTalkerAdvertise() {
    rxImage_.talkerAdvertise = mrpIncrementTalkerAttribute(rxImage_.talkerAdvertise);
    MRP_TRACE(8, " TalkerAdvertiseAttribute = " << rxImage_.talkerAdvertise);
}

void MrpLib::mrpIncrementTalkerFailed() {
    MsrpTalkerAdvertiseAttribute& talker = rxImage_.talkerFailed.talkerAdvertiseAttribute;
    talker = mrpIncrementTalkerAttribute(talker);
    MRP_TRACE(8, " TalkerFailedAttribute = " << rxImage_.talkerFailed);
}

void MrpLib::mrpIncrementListenerVector() {
    rxImage_.listener.streamId = rxImage_.listener.streamId + 1;
    MRP_TRACE(8, " Listener stream Id = 0x" << hexStr(rxImage_.listener.streamId));
}

void MrpLib::mrpIncrementDomainVector() {
    ++rxImage_.domain.srClassId;
    ++rxImage_.domain.srClassPriority;
    MRP_TRACE(8, " Domain vector = " << rxImage_.domain);
}

void MrpLib::mrpIncrementVlanVector() {
    rxImage_.vlan.vlanId = static_cast<std::uint16_t>(rxImage_.vlan.vlanId + 1);
    MRP_TRACE(8, " Vlan vector = " << rxImage_.vlan);
}

// --- The output queue ---

void MrpLib::mrpOutIntfQueueIs(std::uint32_t index, IntfId intfId) {
    mrpOutIntfQueue_.entryIs(index, intfId);
}

void MrpLib::mrpOutIntfQueueEnq(IntfId intfId) {
    mrpOutIntfQueue_.enq(intfId);
}

IntfId MrpLib::mrpOutIntfQueueDeq() {
    return mrpOutIntfQueue_.deq().value_or(IntfId());
}

void MrpLib::mrpOutIntfQueueDel(std::uint32_t index) {
    mrpOutIntfQueue_.del(index);
}

void MrpLib::mrpOutIntfQueueDelAll() {
    mrpOutIntfQueue_.delAll();
}

}  // namespace Mrp
