#include <algorithm>

#include "mrp/MrpSm/protocol/MrpLeaveAllRun.h"
#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/ScopeGuard.h"
#include "platform/base/Text.h"
#include "platform/time/Dispatch.h"

// What a frame said is applied here, after it has been parsed to the end: a LeaveAll and a Join for
// the same attribute in one frame then take effect in the right order.

namespace Mrp {

void MrpSm::dropParsed() {
    mrpRxLeaveAllDelAll();
    mrpParsedAttribute_.delAll();
    msrpParsedDomainKey_.rewind();
    mrpParsedAttributeKey_.rewind();
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
    processParsedQueue(msrpParsedDomainKey_, intfId);
    processParsedQueue(mrpParsedAttributeKey_, intfId);
}

// An indication may drop what is left of the frame, so each value is taken before it is worked on.
// Values that are not quiet come in runs as well: in vain the walk is tried again after one, two,
// four of them only.
void MrpSm::processParsedQueue(MrpParsedQueue& queue, IntfId intfId) {
    constexpr std::uint32_t longestRun = 64;
    std::uint32_t run = 1;
    while (!queue.empty()) {
        const bool quiet = passQuietValues(queue, intfId);
        const bool silent = passSilentValues(queue, intfId);
        run = quiet || silent ? 1 : std::min(2 * run, longestRun);
        for (std::uint32_t i = 0; i < run; ++i) {
            const auto place = queue.deq();
            if (!place) {
                return;
            }
            dispatch([this, &place, intfId] {
                processParsedAttribute(mrpParsedAttribute_.attribute(*place), intfId);
            });
        }
    }
}

void MrpSm::processParsedAttribute(const MrpParsedAttribute& parsed, IntfId intfId) {
    fillMrpLibFromSavedValue(intfId, parsed);
    const std::uint8_t event = parsed.attributeEvent();
    parseContext_->attributeIs({intfId, parsed.key().attributeType, parsed.key().attributeKey});
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
    const std::vector<AttributeKey> keys = iter->snapshot();
    const MrpLeaveAllEvents events{intfId, attributeType, MrpApplicantEvent::rxLvAll,
                                   MrpRegistrarEvent::rxLvAll};
    for (std::size_t next = 0; next < keys.size(); ++next) {
        MrpLeaveAllRun::pass(*this, events, keys, next, [this, attributeType](AttributeKey key) {
            return std::optional(declaredState({attributeType, key}));
        });
        if (next < keys.size()) {
            processRxLeaveAll({intfId, attributeType, keys[next]});
        }
    }
}

// The registrar state in which the applicant sees an attribute at a LeaveAll: it answers as if the
// registration already showed what this very frame declares.
MrpRegistrarState MrpSm::declaredState(const MrpParsedAttributeKey& key) const {
    const std::optional<std::uint8_t> event = mrpParsedAttribute_.event(key);
    const bool declared =
        event && MrpRegistrarSm::mrpMapRxRegistrarEvent(*event) <= MrpRegistrarEvent::rxJoinMt;
    return declared ? MrpRegistrarState::IN : MrpRegistrarState::MT;
}

void MrpSm::processRxLeaveAll(const MrpAttribute& attribute) {
    const auto& [intfId, attributeType, key] = attribute;
    MRP_TRACE(8, "mrpProcessRxLeaveAll: attributeKey = 0x" << hexStr(key)
                                                           << " Type= " << +attributeType
                                                           << "interface = " << intfId.name());
    mrpFillContextFromDatabase(attribute);
    const Ptr<MrpAttrDatabase> record = mrpGetAttribute(false);
    if (!record) {
        removeFromAttrIter(intfId, attributeType, key);
        return;
    }
    {
        const MrpAttrDatabase::AssumedRegistrarState assumed(record,
                                                             declaredState({attributeType, key}));
        applicantSm_->applicantEventIs(MrpApplicantEvent::rxLvAll);
        applicantSm_->handleApplicantEvent();
    }
    // The registrar starts from its true state.
    registrarSm_->registrarEventIs(MrpRegistrarEvent::rxLvAll);
    registrarSm_->handleRegistrarEvent();
}

}  // namespace Mrp
