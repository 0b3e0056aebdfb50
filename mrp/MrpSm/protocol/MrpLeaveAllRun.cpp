#include "mrp/MrpSm/protocol/MrpLeaveAllRun.h"

#include <array>
#include <cstddef>

#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/types/MrpTrace.h"

namespace Mrp {

namespace {

using Step = MrpLeaveAllRun::Step;
using Steps = MrpLeaveAllRun::Steps;

Step stepOf(MrpApplicantState state, MrpApplicantEvent event, bool registered) {
    const MrpApplicantCell& cell = mrpApplicantCell(state, event);
    Step step;
    step.next = cell.ignored ? state : cell.next;
    for (std::size_t packet = 0; packet < step.messages.size(); ++packet) {
        const ApplicantMessage message = cell.messages()[packet];
        if (message != ApplicantMessage::none) {
            step.messages[packet] = mrpMessageEvent(message, registered);
        }
    }
    return step;
}

Steps makeSteps(MrpApplicantEvent event) {
    Steps steps;
    for (std::size_t state = 0; state < applicantStates; ++state) {
        for (const bool registered : {false, true}) {
            steps[state][registered ? 1 : 0] =
                stepOf(static_cast<MrpApplicantState>(state), event, registered);
        }
    }
    return steps;
}

const Steps& stepsOf(MrpApplicantEvent event) {
    static const auto steps = [] {
        std::array<Steps, applicantEvents> all;
        for (std::size_t each = 0; each < applicantEvents; ++each) {
            all[each] = makeSteps(static_cast<MrpApplicantEvent>(each));
        }
        return all;
    }();
    return steps[static_cast<std::size_t>(event)];
}

bool mayRun(const MrpSm& mrpSm, const MrpLeaveAllEvents& events) {
    const bool known = events.attributeType != 0 && events.attributeType <= mrpSm.maxAttrTypes();
    const auto registrars = events.registrarEvent;
    return known && !mrpSmTrace.enabled(leaveAllTraceLevel) &&
           (!registrars || registrars == MrpRegistrarEvent::rxLvAll ||
            registrars == MrpRegistrarEvent::txLvAll || registrars == MrpRegistrarEvent::redeclare);
}

}  // namespace

MrpLeaveAllRun::MrpLeaveAllRun(MrpSm& mrpSm, const MrpLeaveAllEvents& events)
    : mrpSm_(mrpSm),
      events_(events),
      steps_(stepsOf(events.applicantEvent)),
      records_(mrpSm, events.intfId, events.attributeType),
      over_(!mayRun(mrpSm, events)) {}

bool MrpLeaveAllRun::take(AttributeKey key, std::optional<MrpRegistrarState> assumed) {
    MrpAttrDatabase* const record = records_.find(key);
    if (record == nullptr) {
        return false;
    }
    const auto state = static_cast<std::size_t>(record->applicantState());
    const MrpRegistrarState registrar = record->registrarState();
    if (state >= applicantStates || static_cast<std::size_t>(registrar) >= registrarStates) {
        return false;
    }
    const bool registered = assumed.value_or(registrar) == MrpRegistrarState::IN;
    const Step& step = steps_[state][registered ? 1 : 0];
    const bool told = events_.registrarEvent.has_value();
    const bool leaves = told && registrar != MrpRegistrarState::MT;
    if (told && !leaves && step.next == MrpApplicantState::VO) {
        return false;  // it is deleted
    }
    inHand_ = key;
    for (const bool second : {false, true}) {
        if (const std::uint8_t event = step.messages[second ? 1 : 0];
            event != MrpLeaveAllRun::noMessage) {
            send(*record, event, second);
        }
    }
    record->applicantStateIs(step.next);
    registrarTold_ = told;
    if (leaves) {
        startLeave(key);
        record->registrarStateIs(MrpRegistrarState::LV);
    }
    return true;
}

void MrpLeaveAllRun::send(MrpAttrDatabase& record, std::uint8_t attributeEvent, bool second) {
    if (!tx_) {
        tx_.emplace(mrpSm_, events_.intfId, events_.attributeType);
    }
    const auto appended = tx_->append(record.attributeValue(), attributeEvent, second);
    if (appended == MrpTxRun::Appended::yes) [[likely]] {
        return;
    }
    show();
    lastRecord_ = Ptr<MrpAttrDatabase>(&record);
    over_ = true;
    tx_.reset();
    if (appended == MrpTxRun::Appended::andFull) {
        mrpSm_.mrpTransmitTxPacket(events_.intfId, second);
    } else {
        mrpSm_.mrpLib()->mrpSendAttributeIntf(
            {events_.intfId, events_.attributeType, attributeEvent, false}, events_.intfId, second);
    }
}

void MrpLeaveAllRun::startLeave(AttributeKey key) {
    if (!leaveTimer_) {
        leaveTimer_ = mrpSm_.registrarSm()->leaveSmIs({events_.intfId, events_.attributeType, 0});
    }
    leavesBegun_ = leaveTimer_->leavePendingIs(key) || leavesBegun_;
}

// Makes the attribute in hand the engine's.
void MrpLeaveAllRun::show() {
    mrpSm_.mrpFillContextFromDatabase({events_.intfId, events_.attributeType, *inHand_});
    mrpSm_.applicantSm()->applicantEventIs(events_.applicantEvent);
    if (registrarTold_) {
        mrpSm_.registrarSm()->registrarEventIs(*events_.registrarEvent);
    }
}

void MrpLeaveAllRun::finish() {
    if (inHand_) {
        show();
    }
    if (leavesBegun_) {
        leaveTimer_->doScheduleLeaveTimer(
            mrpSm_.registrarSm()->leaveTimeFor(*events_.registrarEvent, events_.intfId));
    }
}

}  // namespace Mrp
