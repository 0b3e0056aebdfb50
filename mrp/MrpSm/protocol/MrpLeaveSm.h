#pragma once

#include <map>

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

    // The keys that wait, ascending; true while they do.
    const std::map<AttributeKey, bool>& leavePending() const { return leavePending_; }
    bool leavePending(AttributeKey key) const;
    void leavePendingIs(AttributeKey key, bool pending);
    void leavePendingDel(AttributeKey key);
    void leavePendingDelAll() { leavePending_.clear(); }

    // Expires that long from now, in place of any expiry before.
    void doScheduleLeaveTimer(const Seconds& leaveTime);

  private:
    std::map<AttributeKey, bool>::const_iterator find(AttributeKey key) const;
    void handleInitialized();
    void handleLeaveTimer();
    void handleLeavePending(AttributeKey key);
    void takeWaitingFrame();
    bool registered() const;

    MrpAttribute attribute_;
    MrpSm& mrpSm_;
    TimerWheel::Timer leaveTimer_;
    std::map<AttributeKey, bool> leavePending_;
    bool initialized_ = false;
};

}  // namespace Mrp
