#pragma once

#include <cstdint>

#include "mrp/MrpSm/types/MrpAttribute.h"
#include "mrp/MrpSm/types/MrpEnums.h"
#include "mrp/MrpSm/types/PlatformNames.h"
#include "platform/base/Ptr.h"
#include "platform/packet/Pam.h"

namespace Mrp {

class MrpPamSm;
class MrpSm;

// Takes frames from one interface's packet socket, checks them, and hands the MRPDU inside to the
// parser. Lives as long as the interface has packet access.
class MrpIntfPamSm final : public RefCounted {
  public:
    MrpIntfPamSm(IntfId intfId, Ptr<EthDevPam> pam, bool standbyMode, MrpPamSm& mrpPamSm);
    MrpIntfPamSm(const MrpIntfPamSm&) = delete;
    MrpIntfPamSm& operator=(const MrpIntfPamSm&) = delete;

    IntfId intfId() const { return intfId_; }
    const Ptr<EthDevPam>& pam() const { return pam_; }

    bool standbyMode() const { return standbyMode_; }
    void standbyModeIs(bool standbyMode) { standbyMode_ = standbyMode; }
    void handleStandbyMode();

    // Takes one frame, the oldest, and processes it to the end. In standby frames stay where they
    // are. Called when the socket is readable, and by a leave timer before it takes effect.
    void handleMrpdu();

    // Sends LeaveAll for every attribute type, and begins new LeaveAll periods.
    void transmitAllLeaveAll();
    void mrpAllLeaveAllSm(AttributeType attributeType);

    // The interface loses packet access: its LeaveAll stops. Nothing else is called afterwards.
    void doClose();

    // The socket calls no more.
    void silence() { readableReactor_.reset(); }

    // For the agent's own use; the engine does not count here.
    std::uint64_t rxMrpdus() const { return rxMrpdus_; }
    void rxMrpdusIs(std::uint64_t count) { rxMrpdus_ = count; }
    void rxMrpdusInc(std::uint64_t amount) { rxMrpdus_ += amount; }

  private:
    void postTxLeaveAll(const MrpAttribute& attribute);
    void handleInitialized();
    // Whether the frame is the application's; strips a tag. Counts and traces what is not.
    bool acceptFrame(Pkt& pkt);
    void processFrame(Pkt& pkt);

    IntfId intfId_;
    Ptr<EthDevPam> pam_;
    bool standbyMode_;
    std::uint64_t rxMrpdus_ = 0;
    bool initialized_ = false;
    MrpPamSm& mrpPamSm_;
    MrpSm& mrpSm_;
    Reactor readableReactor_;
};

}  // namespace Mrp
