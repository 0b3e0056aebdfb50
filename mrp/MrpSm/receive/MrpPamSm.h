#pragma once

#include <map>

#include "mrp/MrpSm/receive/MrpIntfPamSm.h"
#include "platform/base/Ptr.h"
#include "platform/packet/PamDir.h"

namespace Mrp {

class MrpSm;

// Keeps an MrpIntfPamSm for every interface that has packet access.
class MrpPamSm final : public RefCounted {
  public:
    using IntfPamSms = std::map<IntfId, Ptr<MrpIntfPamSm>>;

    // A null collection gives a machine without interfaces.
    MrpPamSm(Ptr<EthDevPamCollection> pamCollection, bool standbyMode, MrpSm& mrpSm);
    MrpPamSm(const MrpPamSm&) = delete;
    MrpPamSm& operator=(const MrpPamSm&) = delete;
    ~MrpPamSm();

    MrpSm& mrpSm() const { return mrpSm_; }
    bool standbyMode() const { return standbyMode_; }
    void standbyModeIs(bool standbyMode) { standbyMode_ = standbyMode; }
    // Carries the flag to every interface.
    void handleStandbyMode();

    const IntfPamSms& mrpIntfPamSm() const { return mrpIntfPamSm_; }
    // Null when the interface has none.
    Ptr<MrpIntfPamSm> mrpIntfPamSm(IntfId intfId) const;
    bool mrpIntfPamSmHas(IntfId intfId) const { return mrpIntfPamSm_.contains(intfId); }

    // Sends a copy of a received frame out of every other interface, with our source address.
    void floodMsrpdu(IntfId intfId, const Ptr<Pkt>& pkt);
    // Sends LeaveAll for every attribute type on the interface. Never on a standby engine.
    void transmitAllLeaveAll(IntfId intfId);

    // No socket and no change of the collection calls the engine any more.
    void silence();

  private:
    void handleInitialized();
    void handlePam(IntfId intfId);
    void mrpIntfPamSmDel(IntfId intfId);

    MrpSm& mrpSm_;
    Ptr<EthDevPamCollection> pamCollection_;
    bool standbyMode_;
    IntfPamSms mrpIntfPamSm_;
    bool initialized_ = false;
    Reactor pamReactor_;
};

}  // namespace Mrp
