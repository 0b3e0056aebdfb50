#include "mrp/MrpSm/protocol/MrpApplicantSm.h"

#include <array>
#include <utility>

#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/Assert.h"
#include "platform/base/Text.h"

namespace Mrp {

using enum MrpApplicantState;

MrpApplicantSm::MrpApplicantSm(MrpSm& mrpSm, Ptr<MrpConfig> mrpConfig)
    : mrpSm_(mrpSm), mrpConfig_(std::move(mrpConfig)) {
    handleInitialized();
}

void MrpApplicantSm::handleInitialized() {
    MRP_TRACE_HANDLER();
    require(!initialized_, "!initialized()");
    initialized_ = true;
}

MrpApplicantEvent MrpApplicantSm::mrpMapRxApplicantEvent(std::uint8_t attributeEvent) {
    constexpr auto firstReceived = static_cast<std::uint8_t>(MrpApplicantEvent::rxNew);
    return attributeEvent <= AttributeEvent::lv
               ? static_cast<MrpApplicantEvent>(firstReceived + attributeEvent)
               : MrpApplicantEvent::none;
}

bool MrpApplicantSm::ignores(MrpApplicantState state, MrpApplicantEvent event) {
    return mrpApplicantCell(state, event).ignored;
}

void MrpApplicantSm::mrpSetApplicantState(MrpApplicantState state) {
    if (const Ptr<MrpAttrDatabase> record = mrpSm_.mrpGetAttribute(false)) {
        record->applicantStateIs(state);
    }
}

void MrpApplicantSm::handleApplicantEvent() {
    const MrpApplicantEvent event = applicantEvent_;
    const Ptr<MrpAttrDatabase> record = mrpSm_.mrpGetAttribute(true);
    if (!record) {
        MRP_TRACE(0, " Memory failed for attrDatabase ");
        return;
    }
    MRP_TRACE(8, __PRETTY_FUNCTION__ << " Key = 0x" << hexStr(mrpSm_.parseContext()->attributeKey())
                                     << " Type= " << +mrpSm_.parseContext()->attributeType()
                                     << " intf = " << mrpSm_.parseContext()->intfId().name()
                                     << " Enter: state = " << record->applicantState()
                                     << " event = " << event);
    using Handler = void (MrpApplicantSm::*)(MrpApplicantEvent);
    static constexpr std::array<Handler, applicantStates> handlers{
        &MrpApplicantSm::handleVeryAnxiousObserver, &MrpApplicantSm::handleVeryAnxiousPassive,
        &MrpApplicantSm::handleVeryAnxiousNew,      &MrpApplicantSm::handleAnxiousNew,
        &MrpApplicantSm::handleAnxiousActive,       &MrpApplicantSm::handleQuietActive,
        &MrpApplicantSm::handleLeavingActive,       &MrpApplicantSm::handleAnxiousObserver,
        &MrpApplicantSm::handleQuietObserver,       &MrpApplicantSm::handleAnxiousPassive,
        &MrpApplicantSm::handleQuietPassive,        &MrpApplicantSm::handleLeavingObserver,
    };
    const auto state = static_cast<std::size_t>(record->applicantState());
    if (state < handlers.size()) {
        (this->*handlers[state])(event);
    } else {
        MRP_TRACE(0, "Invalid applicant State = " << state);
    }
    MRP_TRACE(8, " Exit: handleApplicantEvent, state = " << record->applicantState());
}

void MrpApplicantSm::handleVeryAnxiousObserver(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(VO, event);
}

void MrpApplicantSm::handleVeryAnxiousPassive(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(VP, event);
}

void MrpApplicantSm::handleVeryAnxiousNew(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(VN, event);
}

void MrpApplicantSm::handleAnxiousNew(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(AN, event);
}

void MrpApplicantSm::handleAnxiousActive(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(AA, event);
}

void MrpApplicantSm::handleQuietActive(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(QA, event);
}

void MrpApplicantSm::handleLeavingActive(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(LA, event);
}

void MrpApplicantSm::handleAnxiousObserver(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(AO, event);
}

void MrpApplicantSm::handleQuietObserver(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(QO, event);
}

void MrpApplicantSm::handleAnxiousPassive(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(AP, event);
}

void MrpApplicantSm::handleQuietPassive(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(QP, event);
}

void MrpApplicantSm::handleLeavingObserver(MrpApplicantEvent event) {
    MRP_TRACE_HANDLER();
    applyRow(LO, event);
}

void MrpApplicantSm::applyRow(MrpApplicantState state, MrpApplicantEvent event) {
    if (static_cast<std::size_t>(event) >= applicantEvents) {
        return;
    }
    const MrpApplicantCell& cell = mrpApplicantCell(state, event);
    if (cell.ignored) {
        return;
    }
    mrpApplicantSend(cell.first, false);
    mrpApplicantSend(cell.second, true);
    mrpSetApplicantState(cell.next);
}

void MrpApplicantSm::mrpApplicantSend(ApplicantMessage message, bool second) {
    switch (message) {
    case ApplicantMessage::none:
        break;
    case ApplicantMessage::newValue:
        mrpApplicantSendNew(second);
        break;
    case ApplicantMessage::join:
        mrpApplicantSendJoin(second);
        break;
    case ApplicantMessage::leave:
        mrpApplicantSendLeave();
        break;
    case ApplicantMessage::registration:
        mrpApplicantSendRegisteredState(second);
        break;
    }
}

void MrpApplicantSm::mrpApplicantSendNew(bool second) {
    send(AttributeEvent::newEvent, second);
}

void MrpApplicantSm::mrpApplicantSendJoin(bool second) {
    sendByState(ApplicantMessage::join, second);
}

void MrpApplicantSm::mrpApplicantSendLeave() {
    send(AttributeEvent::lv, false);
}

void MrpApplicantSm::mrpApplicantSendRegisteredState(bool second) {
    sendByState(ApplicantMessage::registration, second);
}

void MrpApplicantSm::sendByState(ApplicantMessage message, bool second) {
    if (const Ptr<MrpAttrDatabase> record = mrpSm_.mrpGetAttribute(false)) {
        const bool registered = record->registrarState() == MrpRegistrarState::IN;
        send(mrpMessageEvent(message, registered), second);
    }
}

void MrpApplicantSm::send(std::uint8_t attributeEvent, bool second) {
    const MrpParseContext& context = *mrpSm_.parseContext();
    const MrpParameters parameters{context.intfId(), context.attributeType(), attributeEvent,
                                   false};
    mrpSm_.mrpLib()->mrpSendAttributeIntf(parameters, context.intfId(), second);
}

}  // namespace Mrp
