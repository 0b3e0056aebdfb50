#include "mrp/MrpSm/protocol/MrpLeaveSm.h"

#include <utility>

#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/ScopeGuard.h"
#include "platform/base/Text.h"
#include "platform/time/Dispatch.h"

namespace Mrp {

MrpLeaveSm::MrpLeaveSm(const MrpAttribute& attribute, MrpSm& mrpSm, Ptr<TimerWheel> timerWheel)
    : attribute_(attribute),
      mrpSm_(mrpSm),
      leaveTimer_(std::move(timerWheel), [this] { handleLeaveTimer(); }) {
    handleInitialized();
}

void MrpLeaveSm::handleInitialized() {
    MRP_TRACE(8, "void Mrp::MrpLeaveSm::handleInitialized()");
    initialized_ = true;
    doScheduleLeaveTimer(mrpSm_.mrpConfig().leaveTime());
}

void MrpLeaveSm::doScheduleLeaveTimer(const Seconds& leaveTime) {
    const Seconds expiry = mrpSm_.clock().now() + leaveTime;
    MRP_TRACE(8, "void Mrp::MrpLeaveSm::doScheduleLeaveTimer(const Seconds&)"
                     << " key: " << attribute_);
    MRP_TRACE(8, "Leave timer will expire at: " << secondsText(expiry));
    leaveTimer_.expiryIs(expiry);
}

// A Join that is already in the socket cancels its leave instead of losing the race against it.
void MrpLeaveSm::takeWaitingFrame() {
    const EthDevPam* pam = mrpSm_.pamCollection()->pam(attribute_.intfId);
    if (pam == nullptr || !pam->hasDataOnSocket()) {
        return;
    }
    if (const Ptr<MrpIntfPamSm> intfPamSm = mrpSm_.mrpPamSm()->mrpIntfPamSm(attribute_.intfId)) {
        intfPamSm->handleMrpdu();
    }
}

void MrpLeaveSm::handleLeaveTimer() {
    if (!initialized_) {
        return;
    }
    // The frame, and the indications below, may end this timer.
    const Ptr<MrpLeaveSm> self(this);
    const MrpAttribute attribute = attribute_;
    MRP_TRACE(8, "MrpLeaveSm::handleLeaveTimer() " << attribute);
    // An error in one indication must not keep the other attributes from leaving.
    dispatch([this] { takeWaitingFrame(); });
    if (!registered()) {
        return;
    }
    const ScopeGuard remove([this, &attribute] {
        if (registered()) {
            mrpSm_.registrarSm()->leaveSmDel(attribute);
            mrpSm_.registrarSm()->explicitLeaveSmDel(attribute);
        }
    });
    // Key by key, because each event deletes its own, and an indication may end others.
    for (auto key = leavePending_.next(std::nullopt); key; key = leavePending_.next(key)) {
        dispatch([this, &key] { handleLeavePending(*key); });
    }
}

void MrpLeaveSm::handleLeavePending(AttributeKey key) {
    MRP_TRACE_HANDLER();
    if (!leavePending(key)) {
        return;
    }
    mrpSm_.mrpFillContextFromDatabase({attribute_.intfId, attribute_.attributeType, key});
    mrpSm_.registrarSm()->registrarEventIs(MrpRegistrarEvent::leaveTimer);
    mrpSm_.registrarSm()->handleRegistrarEvent();
}

}  // namespace Mrp
