#include "platform/virtual/VirtualEthDev.h"

#include <utility>

#include "platform/virtual/VirtualPam.h"

namespace Platform::Virtual {

VirtualEthDev::VirtualEthDev(std::string name, ActivityManager& activityManager)
    : EthDev(std::move(name)), activityManager_(activityManager) {}

VirtualEthDev::~VirtualEthDev() {
    for (VirtualPam* pam : pams_) {
        pam->deviceDel();
    }
}

Ptr<EthDevPam> VirtualEthDev::open(IntfId intfId, const EthDevPamParameters& parameters) {
    const auto pam = makePtr<VirtualPam>(intfId, *this, activityManager_, parameters);
    pams_.push_back(pam.get());
    return pam;
}

void VirtualEthDev::receive(std::span<const std::uint8_t> frame) {
    if (!linkUp_) {
        ++counters_.receivedWhileDown;
        return;
    }
    for (VirtualPam* pam : pams_) {
        pam->receive(frame);
    }
}

void VirtualEthDev::inject(std::span<const std::uint8_t> frame, bool notify) {
    for (VirtualPam* pam : pams_) {
        pam->put(frame, notify);
    }
}

bool VirtualEthDev::transmit(const Ptr<Pkt>& pkt) {
    if (!linkUp_) {
        ++counters_.sentWhileDown;
        return false;
    }
    ++counters_.sent;
    sent_.notify(pkt);
    return true;
}

void VirtualEthDev::pamDel(VirtualPam& pam) {
    std::erase(pams_, &pam);
}

}  // namespace Platform::Virtual
