#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/ScopeGuard.h"
#include "platform/base/Text.h"
#include "platform/time/Dispatch.h"

// What a frame said is applied here, after it has been parsed to the end: a LeaveAll and a Join for
// the same attribute in one frame then take effect in the right order.

namespace Mrp {

void MrpSm::processMrpEvent(std::uint8_t event, std::uint16_t valueIndex) {
    mrpLib_->mrpValueFromFirstValue(valueIndex);
    MrpParseContext& context = *parseContext_;
    context.attributeKeyIs(mrpGetRxAttributeKey());
    context.attributeEventIs(event);
    context.eventsCounterInc(1);
    ++eventsInHand_->values[event & 7U];
    if (!recycledPkt_ && !mrpConfig_->mrpFlooding()) {
        saveParsedMrpAttribute();
    } else {
        MRP_TRACE(4, "Recycled Pkt. Returning after parsing");
    }
}

void MrpSm::dropParsed() {
    mrpRxLeaveAllDelAll();
    msrpParsedDomainKey_.delAll();
    mrpParsedAttributeKey_.delAll();
    mrpParsedAttribute_.attributeDelAll();
}

// The attribute in hand says nothing of the frame's interface while an indication runs.
void MrpSm::dropParsedOf(IntfId intfId) {
    if (parsedIntfId_ == intfId) {
        dropParsed();
    }
}

void MrpSm::processParsedAttributes(IntfId intfId) {
    MRP_TRACE(8, "MrpSm::processedParsedAttributes( " << intfId.name());
    const ScopeGuard clear([this] {
        dropParsed();
        parsedIntfId_ = IntfId();
    });
    parsedIntfId_ = intfId;
    const Seconds period = leaveAllSm_->getLeaveAllTime(intfId);
    while (!mrpRxLeaveAll_.empty()) {
        const AttributeType type = mrpRxLeaveAll_.begin()->first;
        mrpProcessRxLeaveAll(intfId, type);
        if (leaveAllSm_->restart(intfId, type, period)) {
            MRP_TRACE(7, " txLeaveAll repunched now = " << secondsText(clock().now()) << " at = "
                                                        << secondsText(clock().now() + period)
                                                        << " for type = " << +type
                                                        << " on intf = " << intfId.name());
        }
        mrpRxLeaveAllDel(type);
    }
    mrpTransmitTxAttributes(intfId);
    // An indication may drop what is left of the frame, so each key is taken before it is worked
    // on.
    if (mrpLib_->application() == MrpApplication::msrp) {
        while (const auto key = msrpParsedDomainKey_.deq()) {
            dispatch([this, &key, intfId] { processParsedAttribute(*key, intfId); });
        }
    }
    while (const auto key = mrpParsedAttributeKey_.deq()) {
        dispatch([this, &key, intfId] { processParsedAttribute(*key, intfId); });
    }
}

void MrpSm::processParsedAttribute(const MrpParsedAttributeKey& key, IntfId intfId) {
    const MrpParsedAttribute* parsed = mrpParsedAttribute_.find(key);
    if (parsed == nullptr) {
        return;
    }
    fillMrpLibFromSavedValue(intfId, *parsed);
    const std::uint8_t event = parsed->attributeEvent();
    parseContext_->intfIdIs(intfId);
    parseContext_->attributeTypeIs(key.attributeType);
    parseContext_->attributeKeyIs(key.attributeKey);
    parseContext_->attributeEventIs(event);
    applicantSm_->applicantEventIs(MrpApplicantSm::mrpMapRxApplicantEvent(event));
    applicantSm_->handleApplicantEvent();
    registrarSm_->registrarEventIs(MrpRegistrarSm::mrpMapRxRegistrarEvent(event));
    registrarSm_->handleRegistrarEvent();
}

void MrpSm::mrpProcessRxLeaveAll(IntfId intfId, AttributeType attributeType) {
    MRP_TRACE(8, "MrpSm::mrpProcessRxLeaveAll( " << intfId.name() << ", " << +attributeType);
    const Ptr<MrpAttrIter> iter = mrpAttrIter({intfId, attributeType});
    if (!iter) {
        return;
    }
    for (const AttributeKey key : iter->snapshot()) {
        MRP_TRACE(8, "mrpProcessRxLeaveAll: attributeKey = 0x" << hexStr(key)
                                                               << " Type= " << +attributeType
                                                               << "interface = " << intfId.name());
        mrpFillContextFromDatabase({intfId, attributeType, key});
        const Ptr<MrpAttrDatabase> record = mrpGetAttribute(false);
        if (!record) {
            removeFromAttrIter(intfId, attributeType, key);
            continue;
        }
        // The applicant answers as if the registration already showed what this very frame
        // declares; the registrar then starts from its true state.
        const MrpParsedAttribute* parsed = mrpParsedAttribute_.find({attributeType, key});
        const bool declared =
            parsed != nullptr && MrpRegistrarSm::mrpMapRxRegistrarEvent(parsed->attributeEvent()) <=
                                     MrpRegistrarEvent::rxJoinMt;
        {
            const MrpAttrDatabase::AssumedRegistrarState assumed(
                record, declared ? MrpRegistrarState::IN : MrpRegistrarState::MT);
            applicantSm_->applicantEventIs(MrpApplicantEvent::rxLvAll);
            applicantSm_->handleApplicantEvent();
        }
        registrarSm_->registrarEventIs(MrpRegistrarEvent::rxLvAll);
        registrarSm_->handleRegistrarEvent();
    }
}

}  // namespace Mrp
