#include "mrp/MrpSm/protocol/MrpLeaveAllSm.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "mrp/MrpSm/protocol/MrpLeaveAllRun.h"
#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/Assert.h"
#include "platform/base/Environment.h"
#include "platform/base/Text.h"
#include "platform/time/Dispatch.h"

namespace Mrp {

MrpLeaveAllSm::MrpLeaveAllSm(MrpSm& mrpSm, Ptr<MrpConfig> mrpConfig, Ptr<TimerWheel> timerWheel)
    : mrpSm_(mrpSm), mrpConfig_(std::move(mrpConfig)), timerWheel_(std::move(timerWheel)) {
    leaveAllTimeReactor_ =
        mrpConfig_->leaveAllTimeChanged().react([this] { handleCfgLeaveAllTime(); });
    intfLeaveAllTimeReactor_ = mrpConfig_->intfLeaveAllTimeChanged().react(
        [this](IntfId intfId) { handleCfgIntfLeaveAllTime(intfId); });
    timersEnabledReactor_ =
        mrpConfig_->timersEnabledChanged().react([this] { handleCfgTimersEnabled(); });
    handleInitialized();
}

void MrpLeaveAllSm::handleInitialized() {
    MRP_TRACE_HANDLER();
    require(!initialized_, "!initialized()");
    initialized_ = true;
}

Ptr<MrpIntfLeaveAllSm> MrpLeaveAllSm::intfLeaveAllSm(IntfId intfId) const {
    const auto found = intfLeaveAllSm_.find(intfId);
    return found != intfLeaveAllSm_.end() ? found->second : nullptr;
}

Ptr<MrpIntfLeaveAllSm> MrpLeaveAllSm::intfLeaveAllSmIs(IntfId intfId) {
    Ptr<MrpIntfLeaveAllSm> machine = intfLeaveAllSm(intfId);
    if (!machine) {
        machine = makePtr<MrpIntfLeaveAllSm>(intfId, mrpSm_, timerWheel_);
        intfLeaveAllSm_[intfId] = machine;
    }
    return machine;
}

void MrpLeaveAllSm::mrpEnableLeaveAllPending(IntfId intfId) {
    MRP_TRACE_HANDLER();
    const Seconds period = getLeaveAllTime(intfId);
    const std::uint8_t types = mrpMaxAttrTypes(mrpSm_.mrpLib()->application());
    for (AttributeType type = 1; type <= types; ++type) {
        mrpEnableLeaveAllPendingAttrType(intfId, type, period);
    }
}

void MrpLeaveAllSm::mrpEnableLeaveAllPendingAttrType(IntfId intfId, AttributeType type,
                                                     const Seconds& t) {
    const Ptr<MrpIntfLeaveAllSm> machine = intfLeaveAllSmIs(intfId);
    machine->leaveAllPendingIs(type).expiryTime = mrpSm_.clock().now() + t;
    machine->doScheduleLeaveAllTimer(t);
    mrpSm_.leaveAllTimeIs(intfId, type, t);
}

void MrpLeaveAllSm::mrpDisableLeaveAllPending(IntfId intfId) {
    MRP_TRACE_HANDLER();
    const std::uint8_t types = mrpMaxAttrTypes(mrpSm_.mrpLib()->application());
    for (AttributeType type = 1; type <= types; ++type) {
        mrpDisableLeaveAllPendingAttrType(intfId, type);
    }
}

void MrpLeaveAllSm::mrpDisableLeaveAllPendingAttrType(IntfId intfId, AttributeType type) {
    if (const Ptr<MrpIntfLeaveAllSm> machine = intfLeaveAllSm(intfId)) {
        machine->leaveAllPendingDel(type);
        if (machine->leaveAllPending().empty()) {
            intfLeaveAllSmDel(intfId);
        }
    }
    mrpSm_.leaveAllTimeDel(intfId, type);
}

bool MrpLeaveAllSm::restart(IntfId intfId, AttributeType type, const Seconds& period) {
    const Ptr<MrpIntfLeaveAllSm> machine = intfLeaveAllSm(intfId);
    MrpLeaveAllTimer* timer = machine ? machine->leaveAllPending(type) : nullptr;
    if (timer == nullptr) {
        return false;
    }
    timer->expiryTime = mrpSm_.clock().now() + period;
    machine->doScheduleLeaveAllTimer(period);
    mrpSm_.leaveAllTimeIs(intfId, type, timer->expiryTime);
    return true;
}

void MrpLeaveAllSm::mrpPostLeaveAllToSm(IntfId intfId, AttributeType type,
                                        MrpApplicantEvent applicantEvent,
                                        MrpRegistrarEvent registrarEvent) {
    require(applicantEvent != MrpApplicantEvent::rxLvAll &&
                registrarEvent != MrpRegistrarEvent::rxLvAll,
            "applicantEvent != rxLvAll_ && registrarEvent != regLvAll_");
    // A snapshot, because the events delete; each key is looked at again before its turn. An
    // attribute that waits for deletion must not reach the applicant: it would be made anew, with
    // an all-zero value, and announced.
    const std::vector<AttributeKey> keys = mrpSm_.visibleKeys(intfId, type);
    const MrpLeaveAllEvents events{intfId, type, applicantEvent, registrarEvent};
    for (std::size_t next = 0; next < keys.size();) {
        // An error in one indication is none of the other attributes'.
        dispatch([&] {
            MrpLeaveAllRun::pass(mrpSm_, events, keys, next,
                                 [](AttributeKey) { return std::nullopt; });
            if (next < keys.size()) {
                postToSm({intfId, type, keys[next++]}, applicantEvent, registrarEvent);
            }
        });
    }
}

void MrpLeaveAllSm::postToSm(const MrpAttribute& attribute, MrpApplicantEvent applicantEvent,
                             MrpRegistrarEvent registrarEvent) {
    const auto& [intfId, type, key] = attribute;
    if (mrpSm_.mrpGetAttrFromDatabase(intfId, type, key, true) == nullptr) {
        return;
    }
    MRP_TRACE(8, "PostLeaveAllToSm: attributeKey = 0x" << hexStr(key) << " Type= " << +type);
    mrpSm_.mrpFillContextFromDatabase(attribute);
    mrpSm_.applicantSm()->applicantEventIs(applicantEvent);
    mrpSm_.applicantSm()->handleApplicantEvent();
    mrpSm_.registrarSm()->registrarEventIs(registrarEvent);
    mrpSm_.registrarSm()->handleRegistrarEvent();
}

Seconds MrpLeaveAllSm::getLeaveAllTime(IntfId intfId) const {
    const Seconds base = MrpConfig::overrideOf(mrpConfig_->intfLeaveAllTime(), intfId)
                             .value_or(mrpConfig_->leaveAllTime());
    if (environmentVariable("DISABLE_LEAVE_ALL_RANDOMIZATION")) {
        return base;
    }
    // In double: in single precision the factor could round up to 1.5.
    constexpr double unit = 2.3283064365386963e-10;  // 2^-32
    return base * (1.0 + static_cast<double>(randomNumber()) * unit);
}

void MrpLeaveAllSm::handleCfgLeaveAllTime() {
    MRP_TRACE_HANDLER();
    std::vector<IntfId> interfaces;
    interfaces.reserve(intfLeaveAllSm_.size());
    for (const auto& [intfId, machine] : intfLeaveAllSm_) {
        interfaces.push_back(intfId);
    }
    std::sort(interfaces.begin(), interfaces.end());
    for (const IntfId intfId : interfaces) {
        handleCfgIntfLeaveAllTime(intfId);
    }
}

void MrpLeaveAllSm::handleCfgIntfLeaveAllTime(IntfId intfId) {
    MRP_TRACE_HANDLER();
    if (const Ptr<MrpIntfLeaveAllSm> machine = intfLeaveAllSm(intfId)) {
        machine->handleCfgIntfLeaveAllTime();
    }
}

void MrpLeaveAllSm::handleCfgTimersEnabled() {
    MRP_TRACE_HANDLER();
}

}  // namespace Mrp
