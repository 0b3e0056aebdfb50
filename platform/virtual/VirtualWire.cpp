#include "platform/virtual/VirtualWire.h"

#include <utility>

namespace Platform::Virtual {

VirtualWire::VirtualWire(ActivityManager& activityManager, Seconds delay)
    : activityManager_(activityManager),
      delay_(delay),
      arrivalAlarm_(activityManager.clock(), [this] { handleArrival(); }) {}

void VirtualWire::connect(VirtualEthDev& device) {
    std::erase_if(ends_, [](const End& end) { return end.device.expired(); });
    for (const End& end : ends_) {
        if (*end.device.lock() == &device) {
            return;
        }
    }
    ends_.push_back({device.weak(), device.sent().react([this, &device](const Ptr<Pkt>& pkt) {
                         handleSent(device, pkt->span());
                     })});
}

void VirtualWire::handleSent(const VirtualEthDev& sender, std::span<const std::uint8_t> frame) {
    const Seconds arrival = activityManager_.clock().now() + delay_;
    underWay_.push_back({arrival, sender.weak(), {frame.begin(), frame.end()}});
    if (delay_ <= 0) {
        activityManager_.post([weak = std::weak_ptr<VirtualWire*>(self_)] {
            if (const auto self = weak.lock()) {
                (*self)->deliverNext();
            }
        });
    } else if (arrivalAlarm_.expiry() == never) {
        arrivalAlarm_.expiryIs(arrival);
    }
}

void VirtualWire::deliverNext() {
    const Frame frame = std::move(underWay_.front());
    underWay_.pop_front();
    const auto sender = frame.sender.lock();
    for (const End& end : ends_) {
        if (const auto device = end.device.lock(); device && device != sender) {
            (*device)->receive(frame.bytes);
        }
    }
}

void VirtualWire::handleArrival() {
    while (!underWay_.empty() && underWay_.front().arrival <= activityManager_.clock().now()) {
        deliverNext();
    }
    if (!underWay_.empty()) {
        arrivalAlarm_.expiryIs(underWay_.front().arrival);
    }
}

}  // namespace Platform::Virtual
