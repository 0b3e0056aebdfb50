#pragma once

#include <map>

#include "mrp/MrpSm/types/MrpEnums.h"
#include "mrp/MrpSm/types/PlatformNames.h"
#include "platform/base/IntfId.h"
#include "platform/base/Ptr.h"
#include "platform/time/TimerWheel.h"

namespace Mrp {

class MrpSm;

// When the LeaveAll of one attribute type is due.
struct MrpLeaveAllTimer {
    AttributeType attrType = 0;
    Seconds expiryTime = 0;  // absolute
};

// The LeaveAll timer of one interface (IEEE 802.1Q clause 10.7.5.22): one timer on the wheel, and
// for each attribute type the time at which its own LeaveAll is due. Types that are due within the
// same 100 ms are served together.
class MrpIntfLeaveAllSm final : public RefCounted {
  public:
    using Timers = std::map<AttributeType, MrpLeaveAllTimer>;

    MrpIntfLeaveAllSm(IntfId intfId, MrpSm& mrpSm, Ptr<TimerWheel> timerWheel);
    MrpIntfLeaveAllSm(const MrpIntfLeaveAllSm&) = delete;
    MrpIntfLeaveAllSm& operator=(const MrpIntfLeaveAllSm&) = delete;

    const Timers& leaveAllPending() const { return leaveAllPending_; }
    // Null when the type has no record.
    MrpLeaveAllTimer* leaveAllPending(AttributeType type);
    MrpLeaveAllTimer& leaveAllPendingIs(AttributeType type);
    void leaveAllPendingDel(AttributeType type) { leaveAllPending_.erase(type); }
    void leaveAllPendingDelAll() { leaveAllPending_.clear(); }

    // The wheel timer's expiry; never while it is idle.
    Seconds expiry() const { return leaveAllTimer_.expiry(); }
    // Brings the expiry forward to that long from now; never postpones it.
    void doScheduleLeaveAllTimer(const Seconds& t);
    // The interface's LeaveAll time was changed: every type begins a new period.
    void handleCfgIntfLeaveAllTime();

  private:
    void handleInitialized();
    void handleLeaveAllTimer();
    void rearmTimer();
    void handleTxLeaveAll(AttributeType type, const Seconds& t);
    bool registered() const;

    IntfId intfId_;
    MrpSm& mrpSm_;
    TimerWheel::Timer leaveAllTimer_;
    Timers leaveAllPending_;
    bool initialized_ = false;
};

}  // namespace Mrp
