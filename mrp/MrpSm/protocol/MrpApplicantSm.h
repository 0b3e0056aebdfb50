#pragma once

#include <cstdint>

#include "mrp/MrpSm/protocol/MrpApplicantTable.h"
#include "mrp/MrpSm/types/MrpAttrDatabase.h"
#include "mrp/MrpSm/types/MrpConfig.h"
#include "mrp/MrpSm/types/MrpEnums.h"
#include "platform/base/Ptr.h"

namespace Mrp {

class MrpSm;

// The applicant of an application (IEEE 802.1Q clause 10.7.7). One machine for all attributes: an
// attribute's state lives in its record, and an event acts on the attribute in hand.
//
// There are no transmit opportunities. Where the standard's applicant waits in an anxious state for
// tx!, this one hands its messages to the transmit path within the event and goes on to the state
// that follows their transmission; the transmit tick sends them.
class MrpApplicantSm final : public RefCounted {
  public:
    MrpApplicantSm(MrpSm& mrpSm, Ptr<MrpConfig> mrpConfig);
    MrpApplicantSm(const MrpApplicantSm&) = delete;
    MrpApplicantSm& operator=(const MrpApplicantSm&) = delete;

    // A producer makes its attribute the one in hand, sets the event, and has it handled.
    MrpApplicantEvent applicantEvent() const { return applicantEvent_; }
    void applicantEventIs(MrpApplicantEvent event) { applicantEvent_ = event; }
    void handleApplicantEvent();

    // The applicant event of a received wire event.
    static MrpApplicantEvent mrpMapRxApplicantEvent(std::uint8_t attributeEvent);
    // Whether an event is ignored in a state: nothing is sent, and the state stays.
    static bool ignores(MrpApplicantState state, MrpApplicantEvent event);
    // Sets the state of the attribute in hand, if it has a record.
    void mrpSetApplicantState(MrpApplicantState state);

    const Ptr<MrpConfig>& mrpConfig() const { return mrpConfig_; }

  private:
    void handleInitialized();

    // One handler a state; each applies its row of the table.
    void handleVeryAnxiousObserver(MrpApplicantEvent event);
    void handleVeryAnxiousPassive(MrpApplicantEvent event);
    void handleVeryAnxiousNew(MrpApplicantEvent event);
    void handleAnxiousNew(MrpApplicantEvent event);
    void handleAnxiousActive(MrpApplicantEvent event);
    void handleQuietActive(MrpApplicantEvent event);
    void handleLeavingActive(MrpApplicantEvent event);
    void handleAnxiousObserver(MrpApplicantEvent event);
    void handleQuietObserver(MrpApplicantEvent event);
    void handleAnxiousPassive(MrpApplicantEvent event);
    void handleQuietPassive(MrpApplicantEvent event);
    void handleLeavingObserver(MrpApplicantEvent event);
    void applyRow(MrpApplicantState state, MrpApplicantEvent event);

    // Messages for the attribute in hand; `second` chooses the packet of the doubled message.
    void mrpApplicantSend(ApplicantMessage message, bool second);
    void mrpApplicantSendNew(bool second);
    void mrpApplicantSendJoin(bool second);
    void mrpApplicantSendLeave();
    void mrpApplicantSendRegisteredState(bool second);
    void sendByState(ApplicantMessage message, bool second);
    void send(std::uint8_t attributeEvent, bool second);

    MrpSm& mrpSm_;
    Ptr<MrpConfig> mrpConfig_;
    MrpApplicantEvent applicantEvent_ = MrpApplicantEvent::none;
    bool initialized_ = false;
};

}  // namespace Mrp
