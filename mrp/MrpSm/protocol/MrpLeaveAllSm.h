#pragma once

#include <unordered_map>

#include "mrp/MrpSm/protocol/MrpIntfLeaveAllSm.h"
#include "mrp/MrpSm/types/MrpAttribute.h"
#include "mrp/MrpSm/types/MrpConfig.h"
#include "mrp/MrpSm/types/MrpEnums.h"
#include "platform/base/Ptr.h"
#include "platform/state/Notification.h"
#include "platform/time/TimerWheel.h"

namespace Mrp {

class MrpSm;

struct IntfIdHash {
    std::size_t operator()(IntfId intfId) const noexcept {
        return std::hash<std::uint64_t>{}(intfId.value());
    }
};

// The LeaveAll timers of all interfaces, and the posting of one event to every attribute of a type.
class MrpLeaveAllSm final : public RefCounted {
  public:
    using IntfLeaveAllSms = std::unordered_map<IntfId, Ptr<MrpIntfLeaveAllSm>, IntfIdHash>;

    MrpLeaveAllSm(MrpSm& mrpSm, Ptr<MrpConfig> mrpConfig, Ptr<TimerWheel> timerWheel);
    MrpLeaveAllSm(const MrpLeaveAllSm&) = delete;
    MrpLeaveAllSm& operator=(const MrpLeaveAllSm&) = delete;

    // Starts or stops the LeaveAll of every attribute type, or of one, on an interface.
    void mrpEnableLeaveAllPending(IntfId intfId);
    void mrpEnableLeaveAllPendingAttrType(IntfId intfId, AttributeType type, const Seconds& t);
    void mrpDisableLeaveAllPending(IntfId intfId);
    void mrpDisableLeaveAllPendingAttrType(IntfId intfId, AttributeType type);

    // Begins a new period of a type that is enabled on the interface, and publishes its absolute
    // expiry. False when it is not enabled.
    bool restart(IntfId intfId, AttributeType type, const Seconds& period);

    // Posts a pair of events to every visible attribute of the interface and type, in key order,
    // the applicant's first. A received LeaveAll has a way of its own and is refused.
    void mrpPostLeaveAllToSm(IntfId intfId, AttributeType type, MrpApplicantEvent applicantEvent,
                             MrpRegistrarEvent registrarEvent);

    // The LeaveAll period of an interface: its LeaveAll time, times a random factor in [1, 1.5)
    // (clause 10.7.5.22) unless DISABLE_LEAVE_ALL_RANDOMIZATION is set in the environment. A new
    // one at every call.
    Seconds getLeaveAllTime(IntfId intfId) const;

    const IntfLeaveAllSms& intfLeaveAllSm() const { return intfLeaveAllSm_; }
    // Null when the interface has no machine.
    Ptr<MrpIntfLeaveAllSm> intfLeaveAllSm(IntfId intfId) const;
    Ptr<MrpIntfLeaveAllSm> intfLeaveAllSmIs(IntfId intfId);
    void intfLeaveAllSmDel(IntfId intfId) { intfLeaveAllSm_.erase(intfId); }
    void intfLeaveAllSmDelAll() { intfLeaveAllSm_.clear(); }

  private:
    void postToSm(const MrpAttribute& attribute, MrpApplicantEvent applicantEvent,
                  MrpRegistrarEvent registrarEvent);
    void handleInitialized();
    void handleCfgLeaveAllTime();
    void handleCfgIntfLeaveAllTime(IntfId intfId);
    void handleCfgTimersEnabled();

    MrpSm& mrpSm_;
    Ptr<MrpConfig> mrpConfig_;
    Reactor leaveAllTimeReactor_;
    Reactor intfLeaveAllTimeReactor_;
    Reactor timersEnabledReactor_;
    Ptr<TimerWheel> timerWheel_;
    IntfLeaveAllSms intfLeaveAllSm_;
    bool initialized_ = false;
};

}  // namespace Mrp
