#pragma once

#include <array>
#include <cstdint>

#include "mrp/MrpSm/types/MrpEnums.h"

// The table of the applicant (IEEE 802.1Q table 10-3), for the machine and for the runs that pass
// it by.

namespace Mrp {

// What a message says of an attribute. Join and registration have two forms each, by whether the
// attribute is registered.
enum class ApplicantMessage : std::uint8_t { none, newValue, join, leave, registration };

// What an event does in a state: a message into the first and into the second packet under
// construction, in this order, then the next state. An event that is ignored does nothing.
struct MrpApplicantCell {
    bool ignored = true;
    ApplicantMessage first = ApplicantMessage::none;
    ApplicantMessage second = ApplicantMessage::none;
    MrpApplicantState next = MrpApplicantState::VO;  // read only when the event is not ignored

    std::array<ApplicantMessage, 2> messages() const { return {first, second}; }
    bool sends() const {
        return first != ApplicantMessage::none || second != ApplicantMessage::none;
    }
};

// The state and the event are enumerators.
const MrpApplicantCell& mrpApplicantCell(MrpApplicantState state, MrpApplicantEvent event);

// Whether an applicant in that state declares its attribute: it is no observer and not leaving
// (clause 10.7.6).
constexpr bool mrpDeclares(MrpApplicantState state) {
    switch (state) {
    case MrpApplicantState::VO:
    case MrpApplicantState::AO:
    case MrpApplicantState::QO:
    case MrpApplicantState::LO:
    case MrpApplicantState::LA:
        return false;
    default:
        return true;
    }
}

// The attribute event that stands for a message; there is one.
constexpr std::uint8_t mrpMessageEvent(ApplicantMessage message, bool registered) {
    switch (message) {
    case ApplicantMessage::newValue:
        return AttributeEvent::newEvent;
    case ApplicantMessage::join:
        return registered ? AttributeEvent::joinIn : AttributeEvent::joinMt;
    case ApplicantMessage::leave:
        return AttributeEvent::lv;
    default:
        return registered ? AttributeEvent::in : AttributeEvent::mt;
    }
}

}  // namespace Mrp
