#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/packet/EthDev.h"
#include "platform/time/ActivityManager.h"

namespace Platform::Virtual {

class VirtualPam;

// An Ethernet device in memory. Frames come in by receive() and inject(), and leave by sent(), to
// which a VirtualWire, a capture or a test reacts. Works on any activity manager, which outlives
// the device and its Pams.
class VirtualEthDev final : public EthDev {
  public:
    // Frames, since the device was made. What comes in counts once for each open Pam.
    struct Counters {
        std::uint64_t sent = 0;
        std::uint64_t received = 0;  // put into a socket
        std::uint64_t filtered = 0;  // refused by a socket's filter
        std::uint64_t dropped = 0;   // found the socket full, or no packet for them
        std::uint64_t sentWhileDown = 0;
        std::uint64_t receivedWhileDown = 0;  // once, however many Pams are open
    };

    static constexpr std::size_t defaultQueueLimit = 1024;

    VirtualEthDev(std::string name, ActivityManager& activityManager);
    ~VirtualEthDev() override;

    // Opens a VirtualPam with a socket of its own, to which the filter and the limit apply (a limit
    // of 0 is none); never fails. The protocol number and the group address are not looked at.
    Ptr<EthDevPam> open(IntfId intfId, const EthDevPamParameters& parameters) override;

    // A frame arrives from the wire: through the filter into the socket of every open Pam, and one
    // readable notification for it is posted. Lost while the link is down.
    void receive(std::span<const std::uint8_t> frame);

    // Puts a frame into the socket of every open Pam, past filter and link. Without `notify` it
    // only waits there.
    void inject(std::span<const std::uint8_t> frame, bool notify = true);

    // Given within the transmit call for every frame that leaves by any Pam of the device. The
    // sender may go on with the packet afterwards: who wants the bytes later copies them.
    Notification<const Ptr<Pkt>&>& sent() { return sent_; }

    // While the link is down frames neither leave nor arrive. Frames in the sockets stay.
    bool linkUp() const { return linkUp_; }
    void linkUpIs(bool linkUp) { linkUp_ = linkUp; }

    // How many frames a socket holds; more are dropped.
    void queueLimitIs(std::size_t frames) { queueLimit_ = frames; }

    const Counters& counters() const { return counters_; }

    // Points at the device as long as it lives.
    std::weak_ptr<VirtualEthDev*> weak() const { return self_; }

  private:
    friend class VirtualPam;

    bool transmit(const Ptr<Pkt>& pkt);
    void pamDel(VirtualPam& pam);

    ActivityManager& activityManager_;
    std::vector<VirtualPam*> pams_;
    Notification<const Ptr<Pkt>&> sent_;
    bool linkUp_ = true;
    std::size_t queueLimit_ = defaultQueueLimit;
    Counters counters_;
    std::shared_ptr<VirtualEthDev*> self_ = std::make_shared<VirtualEthDev*>(this);
};

}  // namespace Platform::Virtual
