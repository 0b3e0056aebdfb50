#pragma once

#include "mrp/MrpSm/protocol/MrpLeaveKeys.h"
#include "mrp/MrpSm/types/MrpAttribute.h"
#include "platform/base/Ptr.h"
#include "platform/time/TimerWheel.h"

namespace Mrp {

class MrpSm;

// A leave timer of the registrar (clause 10.7.5.16) and the attributes that wait for it. When it
// expires each of them gets leavetimer!, and the timer removes itself. A shared timer serves an
// interface and type (its attribute has key 0), an explicit one a single attribute.
class MrpLeaveSm final : public RefCounted {
  public:
    MrpLeaveSm(const MrpAttribute& attribute, MrpSm& mrpSm, Ptr<TimerWheel> timerWheel);
    MrpLeaveSm(const MrpLeaveSm&) = delete;
    MrpLeaveSm& operator=(const MrpLeaveSm&) = delete;

    const MrpAttribute& attribute() const { return attribute_; }
    Seconds expiry() const { return leaveTimer_.expiry(); }

    // Whether the registrar has the timer, which the registrar says.
    bool registered() const { return registered_; }
    void registeredIs(bool registered) { registered_ = registered; }

    // The keys that wait.
    const MrpLeaveKeys& leavePending() const { return leavePending_; }
    bool leavePending(AttributeKey key) const { return leavePending_.contains(key); }
    // False when the key waits already.
    bool leavePendingIs(AttributeKey key) { return leavePending_.insert(key); }
    void leavePendingDel(AttributeKey key) { leavePending_.erase(key); }
    void leavePendingDel(AttributeKey first, AttributeKey last) {
        leavePending_.erase(first, last);
    }
    void leavePendingDelAll() { leavePending_.clear(); }

    // Expires that long from now, in place of any expiry before.
    void doScheduleLeaveTimer(const Seconds& leaveTime);

  private:
    friend class MrpLeaveTimers;

    void handleInitialized();
    void handleLeaveTimer();
    void handleLeavePending(AttributeKey key);
    void takeWaitingFrame();

    MrpAttribute attribute_;
    MrpSm& mrpSm_;
    TimerWheel::Timer leaveTimer_;
    MrpLeaveKeys leavePending_;
    bool initialized_ = false;
    bool registered_ = false;
    Ptr<MrpLeaveSm> next_;  // in its chain of the registrar's table
};

}  // namespace Mrp
