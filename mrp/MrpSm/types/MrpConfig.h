#pragma once

#include <map>
#include <optional>

#include "mrp/MrpSm/types/PlatformNames.h"
#include "platform/base/IntfId.h"
#include "platform/base/Seconds.h"
#include "platform/state/Entity.h"
#include "platform/state/Notification.h"

namespace Mrp {

// The configuration of one application's engine, written by the agent and read by the engine, which
// follows changes while it runs. Times are in seconds.
class MrpConfig final : public Entity {
  public:
    using IntfTimes = std::map<IntfId, Seconds>;

    using Entity::Entity;

    // How long a registration outlives the event that ends it (LeaveTime, clause 10.7.4.2).
    Seconds leaveTime() const { return leaveTime_; }
    void leaveTimeIs(Seconds time) { leaveTime_ = time; }
    // The base of the LeaveAll period (LeaveAllTime, clause 10.7.4.3).
    Seconds leaveAllTime() const { return leaveAllTime_; }
    void leaveAllTimeIs(Seconds time);
    // The leave time after an own LeaveAll. Exactly 0.6 stands for "not set": the interface's
    // leave time counts.
    Seconds txLeaveAllExpiryTime() const { return txLeaveAllExpiryTime_; }
    void txLeaveAllExpiryTimeIs(Seconds time) { txLeaveAllExpiryTime_ = time; }
    // What an interface has in place of the global times. A value of 0 counts as no entry.
    const IntfTimes& intfLeaveTime() const { return intfLeaveTime_; }
    void intfLeaveTimeIs(IntfId intfId, Seconds time) { intfLeaveTime_[intfId] = time; }
    void intfLeaveTimeDel(IntfId intfId) { intfLeaveTime_.erase(intfId); }
    const IntfTimes& intfLeaveAllTime() const { return intfLeaveAllTime_; }
    void intfLeaveAllTimeIs(IntfId intfId, Seconds time);
    void intfLeaveAllTimeDel(IntfId intfId);
    // Copy received MRPDUs to all other interfaces, file none of their attributes, send none.
    bool mrpFlooding() const { return mrpFlooding_; }
    void mrpFloodingIs(bool flooding) { mrpFlooding_ = flooding; }
    bool timersEnabled() const { return timersEnabled_; }
    void timersEnabledIs(bool enabled);

    // The value that an interface has in a map of overrides, unless there is none or it is 0.
    static std::optional<Seconds> overrideOf(const IntfTimes& times, IntfId intfId);

    // Given after a value has changed, not when it was set to what it was.
    Notification<>& leaveAllTimeChanged() { return leaveAllTimeChanged_; }
    Notification<IntfId>& intfLeaveAllTimeChanged() { return intfLeaveAllTimeChanged_; }
    Notification<>& timersEnabledChanged() { return timersEnabledChanged_; }

  private:
    Seconds leaveTime_ = 0.6;
    Seconds leaveAllTime_ = 10;
    Seconds txLeaveAllExpiryTime_ = 0.6;
    IntfTimes intfLeaveTime_;
    IntfTimes intfLeaveAllTime_;
    bool mrpFlooding_ = false;
    bool timersEnabled_ = true;
    Notification<> leaveAllTimeChanged_;
    Notification<IntfId> intfLeaveAllTimeChanged_;
    Notification<> timersEnabledChanged_;
};

}  // namespace Mrp
