#pragma once

#include <cstdint>

#include "mrp/MrpSm/protocol/MrpLeaveSm.h"
#include "mrp/MrpSm/protocol/MrpLeaveTimers.h"
#include "mrp/MrpSm/types/MrpAttrDatabase.h"
#include "mrp/MrpSm/types/MrpConfig.h"
#include "mrp/MrpSm/types/MrpEnums.h"
#include "mrp/MrpSm/types/MrpParameters.h"
#include "platform/base/Ptr.h"
#include "platform/state/Notification.h"
#include "platform/time/TimerWheel.h"

namespace Mrp {

class MrpSm;

// The registrar of an application (IEEE 802.1Q clause 10.7.8). Like the applicant one machine for
// all attributes, whose state lives in their records. It owns the leave timers, gives the join and
// leave indications, and drives the transmit tick of the engine.
class MrpRegistrarSm final : public RefCounted {
  public:
    using LeaveSms = MrpLeaveTimers;

    MrpRegistrarSm(MrpSm& mrpSm, Ptr<MrpConfig> mrpConfig, Ptr<TimerWheel> timerWheel);
    MrpRegistrarSm(const MrpRegistrarSm&) = delete;
    MrpRegistrarSm& operator=(const MrpRegistrarSm&) = delete;

    // A producer makes its attribute the one in hand, sets the event, and has it handled.
    MrpRegistrarEvent registrarEvent() const { return registrarEvent_; }
    void registrarEventIs(MrpRegistrarEvent event) { registrarEvent_ = event; }
    void handleRegistrarEvent();

    // The registrar event of a received wire event; In, Mt and anything above Lv map to none.
    static MrpRegistrarEvent mrpMapRxRegistrarEvent(std::uint8_t attributeEvent);
    // Sets the state of the attribute in hand, if it has a record.
    void mrpSetRegistrarState(MrpRegistrarState state);

    // Starts the leave of the attribute in hand: in its explicit timer for rLv!, else in the shared
    // one of its interface and type. An attribute that waits there already is left as it is.
    void mrpAddAttrToLeavePending();
    // How long from now such a leave takes, by the event that starts it.
    Seconds leaveTimeFor(MrpRegistrarEvent event, IntfId intfId) const;
    // Ends the leave of the attribute in hand, wherever it waits.
    void mrpDeleteAttrFromLeavePending();
    // The same for all attributes from one on to the one with the last key.
    void mrpDeleteRunFromLeavePending(const MrpAttribute& first, AttributeKey last);
    // Drops every leave timer of an interface; no indications.
    void mrpCancelLeavePending(IntfId intfId);

    // The shared timers, and those of single attributes after a received Lv.
    // `…Is` returns the timer of the attribute, made when it is missing.
    const LeaveSms& leaveSm() const { return leaveSm_; }
    Ptr<MrpLeaveSm> leaveSmIs(const MrpAttribute& attribute);
    void leaveSmDel(const MrpAttribute& attribute) { del(leaveSm_, attribute); }
    const LeaveSms& explicitLeaveSm() const { return explicitLeaveSm_; }
    Ptr<MrpLeaveSm> explicitLeaveSmIs(const MrpAttribute& attribute);
    void explicitLeaveSmDel(const MrpAttribute& attribute) { del(explicitLeaveSm_, attribute); }

    const Ptr<MrpConfig>& mrpConfig() const { return mrpConfig_; }
    const Ptr<TimerWheel>& timerWheel() const { return timerWheel_; }

  private:
    // The event being handled: what would change when an indication makes requests of its own.
    struct Event {
        MrpRegistrarEvent event;
        MrpAttribute attribute;
        std::uint8_t attributeEvent;
        MrpAttrDatabase& record;
    };

    void handleInitialized();
    void handleTxTimer();
    void handleCfgTimersEnabled();

    // One handler a state. True: the application discarded the join.
    bool handleInStateRegistrar(const Event& event);
    bool handleLvStateRegistrar(const Event& event);
    bool handleMtStateRegistrar(const Event& event);
    bool indicateChangedValue(const Event& event);
    bool domainException(const Event& event) const;
    bool joinIndication(const Event& event);
    void leaveIndication(const Event& event);
    void endLeave(const Event& event);
    void startLeave(const Event& event);
    void discardJoin(const Event& event);
    void setState(const Event& event, MrpRegistrarState state);

    // Makes the event's attribute the one in hand again, after an indication.
    void restoreContext(const Event& event);
    static MrpParameters parameters(const Event& event);
    void logJoin(const Event& event) const;
    void logLv(const Event& event, const char* what) const;

    Ptr<MrpLeaveSm> timerIs(LeaveSms& leaveSms, const MrpAttribute& attribute);
    static void del(LeaveSms& leaveSms, const MrpAttribute& attribute);

    MrpSm& mrpSm_;
    Ptr<MrpConfig> mrpConfig_;
    Reactor configReactor_;
    Ptr<TimerWheel> timerWheel_;
    TimerWheel::Timer txTimer_;
    MrpRegistrarEvent registrarEvent_ = MrpRegistrarEvent::none;
    LeaveSms leaveSm_;
    LeaveSms explicitLeaveSm_;
    bool initialized_ = false;
};

}  // namespace Mrp
