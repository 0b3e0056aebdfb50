#include "mrp/MrpSm/protocol/MrpIntfLeaveAllSm.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/ScopeGuard.h"

namespace Mrp {

namespace {
// Types that are due within this time of the one that is due now are served with it.
constexpr Seconds lookAhead = 0.1;
constexpr Seconds overdueRetry = 0.1;
}  // namespace

MrpIntfLeaveAllSm::MrpIntfLeaveAllSm(IntfId intfId, MrpSm& mrpSm, Ptr<TimerWheel> timerWheel)
    : intfId_(intfId),
      mrpSm_(mrpSm),
      leaveAllTimer_(std::move(timerWheel), [this] { handleLeaveAllTimer(); }) {
    handleInitialized();
}

void MrpIntfLeaveAllSm::handleInitialized() {
    MRP_TRACE_HANDLER();
    initialized_ = true;
    leaveAllTimer_.expiryIs(never);
}

MrpLeaveAllTimer* MrpIntfLeaveAllSm::leaveAllPending(AttributeType type) {
    const auto found = leaveAllPending_.find(type);
    return found != leaveAllPending_.end() ? &found->second : nullptr;
}

MrpLeaveAllTimer& MrpIntfLeaveAllSm::leaveAllPendingIs(AttributeType type) {
    MrpLeaveAllTimer& timer = leaveAllPending_[type];
    timer.attrType = type;
    return timer;
}

void MrpIntfLeaveAllSm::doScheduleLeaveAllTimer(const Seconds& t) {
    const Seconds expiry = mrpSm_.clock().now() + t;
    if (expiry <= leaveAllTimer_.expiry()) {
        leaveAllTimer_.expiryIs(expiry);
    }
}

bool MrpIntfLeaveAllSm::registered() const {
    return mrpSm_.leaveAllSm()->intfLeaveAllSm(intfId_).get() == this;
}

void MrpIntfLeaveAllSm::handleLeaveAllTimer() {
    const Ptr<MrpIntfLeaveAllSm> self(this);  // an indication may disable the interface
    const ScopeGuard rearm([this] { rearmTimer(); });
    MRP_TRACE_HANDLER();
    const Seconds period = mrpSm_.leaveAllSm()->getLeaveAllTime(intfId_);
    std::vector<AttributeType> types;
    for (const auto& [type, timer] : leaveAllPending_) {
        types.push_back(type);
    }
    for (const AttributeType type : types) {
        handleTxLeaveAll(type, period);
    }
    mrpSm_.mrpTransmitTxAttributes(intfId_);
}

// For the type that is due next. Set directly: scheduling would only ever bring it forward.
void MrpIntfLeaveAllSm::rearmTimer() {
    if (!registered()) {
        return;
    }
    Seconds earliest = never;
    for (const auto& [type, timer] : leaveAllPending_) {
        earliest = std::min(earliest, timer.expiryTime);
    }
    const Seconds now = mrpSm_.clock().now();
    leaveAllTimer_.expiryIs(now > earliest ? now + overdueRetry : earliest);
}

void MrpIntfLeaveAllSm::handleTxLeaveAll(AttributeType type, const Seconds& t) {
    const MrpLeaveAllTimer* due = leaveAllPending(type);
    const Seconds now = mrpSm_.clock().now();
    if (due == nullptr || !(now - due->expiryTime > -lookAhead)) {
        return;
    }
    MRP_TRACE(8, " handleTxLeaveAll. type = " << +type << " intfId = " << intfId_.name());
    MrpParseContext& context = *mrpSm_.parseContext();
    const ScopeGuard clear([&context] { context.sendTxLvAllIs(false); });
    context.sendTxLvAllIs(true);
    MRP_TRACE(8, " sendTxLvAllIs = " << context.sendTxLvAll());
    mrpSm_.leaveAllSm()->mrpPostLeaveAllToSm(intfId_, type, MrpApplicantEvent::txLvAll,
                                             MrpRegistrarEvent::txLvAll);
    if (context.sendTxLvAll()) {
        // No message carried it.
        mrpSm_.mrpLib()->mrpSendLeaveAll(type, intfId_);
    }
    if (MrpLeaveAllTimer* timer = leaveAllPending(type)) {
        timer->expiryTime = now + t;
        mrpSm_.leaveAllTimeIs(intfId_, type, t);
    }
}

void MrpIntfLeaveAllSm::handleCfgIntfLeaveAllTime() {
    MRP_TRACE_HANDLER();
    const Seconds period = mrpSm_.leaveAllSm()->getLeaveAllTime(intfId_);
    for (auto& [type, timer] : leaveAllPending_) {
        timer.expiryTime = mrpSm_.clock().now() + period;
    }
    doScheduleLeaveAllTimer(period);
}

}  // namespace Mrp
