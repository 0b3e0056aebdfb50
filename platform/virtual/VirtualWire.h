#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <vector>

#include "platform/state/Notification.h"
#include "platform/time/ActivityManager.h"
#include "platform/virtual/VirtualEthDev.h"

namespace Platform::Virtual {

// Joins devices: a frame that one of them sends arrives at every other one, `delay` seconds later
// and in the order of sending, always from the event loop and never within the transmit call.
// Devices may go at any time. What is under way when the wire goes is lost. The activity manager
// outlives the wire.
class VirtualWire final {
  public:
    explicit VirtualWire(ActivityManager& activityManager, Seconds delay = 0);
    VirtualWire(const VirtualWire&) = delete;
    VirtualWire& operator=(const VirtualWire&) = delete;

    // Joins the device to the others; nothing happens when it is joined already.
    void connect(VirtualEthDev& device);

  private:
    struct End {
        std::weak_ptr<VirtualEthDev*> device;
        Reactor sentReactor;
    };
    struct Frame {
        Seconds arrival;
        std::weak_ptr<VirtualEthDev*> sender;
        std::vector<std::uint8_t> bytes;
    };

    void handleSent(const VirtualEthDev& sender, std::span<const std::uint8_t> frame);
    void deliverNext();
    void handleArrival();

    ActivityManager& activityManager_;
    Seconds delay_;
    std::vector<End> ends_;
    std::deque<Frame> underWay_;  // the next to arrive first
    Alarm arrivalAlarm_;
    // By which posted work finds out that the wire is gone.
    std::shared_ptr<VirtualWire*> self_ = std::make_shared<VirtualWire*>(this);
};

}  // namespace Platform::Virtual
