#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <span>

#include "platform/packet/EthDev.h"
#include "platform/time/ActivityManager.h"

namespace Platform::Virtual {

class VirtualEthDev;

// Packet access on a VirtualEthDev: a queue of frames in place of a socket. Outlives its device
// without harm: it then sends nothing and gets nothing any more. As on a packet socket, frames from
// a wire that are left unread when they are announced are announced again every 0.1 s.
class VirtualPam final : public EthDevPam {
  public:
    VirtualPam(IntfId intfId, VirtualEthDev& device, ActivityManager& activityManager,
               const EthDevPamParameters& parameters);
    ~VirtualPam() override;

    Ptr<Pkt> rxPkt() override;
    bool txPkt(const Ptr<Pkt>& pkt) override;
    bool hasDataOnSocket() const override { return !queue_.empty(); }

  private:
    friend class VirtualEthDev;

    void receive(std::span<const std::uint8_t> frame);
    void put(std::span<const std::uint8_t> frame, bool notify);
    void postReadable();
    void announce();
    void announceLeft();
    void deviceDel() { device_ = nullptr; }

    VirtualEthDev* device_;
    ActivityManager& activityManager_;
    EthDevPamParameters parameters_;
    std::deque<Ptr<Pkt>> queue_;
    bool announces_ = false;  // frames came from a wire, not only by inject()
    Alarm announceAgain_;
    // By which a notification under way finds out that the Pam is gone.
    std::shared_ptr<VirtualPam*> self_ = std::make_shared<VirtualPam*>(this);
};

}  // namespace Platform::Virtual
