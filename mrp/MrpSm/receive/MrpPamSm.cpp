#include "mrp/MrpSm/receive/MrpPamSm.h"

#include <algorithm>
#include <utility>

#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/Assert.h"

namespace Mrp {

namespace {
constexpr std::size_t srcAddrOffset = 6;
}

MrpPamSm::MrpPamSm(Ptr<EthDevPamCollection> pamCollection, bool standbyMode, MrpSm& mrpSm)
    : mrpSm_(mrpSm), pamCollection_(std::move(pamCollection)), standbyMode_(standbyMode) {
    handleInitialized();
}

MrpPamSm::~MrpPamSm() {
    silence();
    while (!mrpIntfPamSm_.empty()) {
        mrpIntfPamSmDel(mrpIntfPamSm_.begin()->first);
    }
}

void MrpPamSm::silence() {
    pamReactor_.reset();
    for (const auto& [intfId, intfPamSm] : mrpIntfPamSm_) {
        intfPamSm->silence();
    }
}

void MrpPamSm::handleInitialized() {
    MRP_TRACE_HANDLER();
    initialized_ = true;
    if (!pamCollection_) {
        return;
    }
    pamReactor_ = pamCollection_->changed().react([this](IntfId intfId) { handlePam(intfId); });
    for (const IntfId intfId : pamCollection_->keys()) {
        handlePam(intfId);
    }
}

void MrpPamSm::handlePam(IntfId intfId) {
    MRP_TRACE_HANDLER();
    require(initialized_, "initialized()");
    if (const auto pam = pamCollection_->value(intfId)) {
        require(!mrpIntfPamSmHas(intfId), "!mrpIntfPamSmHas( intfId )");
        mrpIntfPamSm_[intfId] = makePtr<MrpIntfPamSm>(intfId, *pam, standbyMode_, *this);
    } else {
        require(mrpIntfPamSmHas(intfId), "mrpIntfPamSmHas( intfId )");
        mrpIntfPamSmDel(intfId);
    }
}

// The machine may be in the middle of a frame whose indication disabled its interface: it is closed
// now and dies when it is done.
void MrpPamSm::mrpIntfPamSmDel(IntfId intfId) {
    const auto machine = mrpIntfPamSm_.extract(intfId);
    machine.mapped()->doClose();
}

Ptr<MrpIntfPamSm> MrpPamSm::mrpIntfPamSm(IntfId intfId) const {
    const auto found = mrpIntfPamSm_.find(intfId);
    return found != mrpIntfPamSm_.end() ? found->second : nullptr;
}

void MrpPamSm::handleStandbyMode() {
    MRP_TRACE_HANDLER();
    require(initialized_, "initialized()");
    for (const auto& [intfId, intfPamSm] : mrpIntfPamSm_) {
        intfPamSm->standbyModeIs(standbyMode_);
        intfPamSm->handleStandbyMode();
    }
}

void MrpPamSm::floodMsrpdu(IntfId intfId, const Ptr<Pkt>& pkt) {
    MRP_TRACE_HANDLER();
    require(initialized_, "initialized()");
    const EthAddr::Octets source = mrpSm_.txSourceAddr(intfId).octets();
    std::copy(source.begin(), source.end(), pkt->data() + srcAddrOffset);
    for (const auto& [other, intfPamSm] : mrpIntfPamSm_) {
        if (other != intfId) {
            MRP_TRACE(8, "Msrp Tx on " << other.name());
            MrpPortCounters& counters = mrpSm_.portCountersIs(other);
            ++(intfPamSm->pam()->txPkt(pkt) ? counters.pdusOut : counters.sendFailures);
        }
    }
}

void MrpPamSm::transmitAllLeaveAll(IntfId intfId) {
    MRP_TRACE_HANDLER();
    require(initialized_ && !standbyMode_, "initialized() && !standbyMode()");
    if (const Ptr<MrpIntfPamSm> intfPamSm = mrpIntfPamSm(intfId)) {
        intfPamSm->transmitAllLeaveAll();
    }
}

}  // namespace Mrp
