#include "platform/virtual/VirtualPam.h"

#include <algorithm>
#include <utility>

#include "platform/base/Assert.h"
#include "platform/packet/PktManager.h"
#include "platform/virtual/VirtualEthDev.h"

namespace Platform::Virtual {

namespace {
constexpr Seconds announceAgainAfter = 0.1;
}

VirtualPam::VirtualPam(IntfId intfId, VirtualEthDev& device, ActivityManager& activityManager,
                       const EthDevPamParameters& parameters)
    : EthDevPam(intfId),
      device_(&device),
      activityManager_(activityManager),
      parameters_(parameters),
      announceAgain_(activityManager.clock(), [this] { announceLeft(); }) {}

VirtualPam::~VirtualPam() {
    if (device_ != nullptr) {
        device_->pamDel(*this);
    }
}

Ptr<Pkt> VirtualPam::rxPkt() {
    if (queue_.empty()) {
        return nullptr;
    }
    Ptr<Pkt> pkt = std::move(queue_.front());
    queue_.pop_front();
    return pkt;
}

bool VirtualPam::txPkt(const Ptr<Pkt>& pkt) {
    require(static_cast<bool>(pkt), "there is a packet to send");
    return device_ != nullptr && device_->transmit(pkt);
}

void VirtualPam::receive(std::span<const std::uint8_t> frame) {
    const std::size_t accepted = runSocketFilter(parameters_.filter, frame);
    if (accepted == 0) {
        ++device_->counters_.filtered;
        return;
    }
    announces_ = true;
    put(frame.first(std::min(frame.size(), accepted)), true);
}

void VirtualPam::put(std::span<const std::uint8_t> frame, bool notify) {
    if (parameters_.maxRxPktData != 0) {
        frame = frame.first(std::min(frame.size(), parameters_.maxRxPktData));
    }
    Ptr<Pkt> pkt =
        queue_.size() < device_->queueLimit_ ? PktManager::instance().newPkt(frame) : nullptr;
    if (!pkt) {
        ++device_->counters_.dropped;
        return;
    }
    queue_.push_back(std::move(pkt));
    ++device_->counters_.received;
    if (notify) {
        postReadable();
    }
}

void VirtualPam::postReadable() {
    activityManager_.post([weak = std::weak_ptr<VirtualPam*>(self_)] {
        const auto self = weak.lock();
        if (!self || !(*self)->hasDataOnSocket()) {
            return;
        }
        const Ptr<VirtualPam> pam(*self);
        pam->announce();
    });
}

// Whoever reacts may leave the frame where it is.
void VirtualPam::announce() {
    const std::size_t before = queue_.size();
    readable().notify();
    if (announces_ && queue_.size() == before) {
        announceAgain_.expiryIs(activityManager_.clock().now() + announceAgainAfter);
    }
}

void VirtualPam::announceLeft() {
    const Ptr<VirtualPam> self(this);
    while (!queue_.empty() && announceAgain_.expiry() == never) {
        announce();
    }
}

}  // namespace Platform::Virtual
