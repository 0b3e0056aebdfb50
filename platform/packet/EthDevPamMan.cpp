#include "platform/packet/EthDevPamMan.h"

#include <system_error>
#include <utility>

#include "platform/base/Assert.h"
#include "platform/log/Trace.h"

namespace Platform {

namespace {
TraceSource pamTrace("Pam");
}

EthDevPamMan::EthDevPamMan(Ptr<PamDesiredIntfDir> desiredIntfDir,
                           Ptr<EthDevPamCollection> pamCollection,
                           Ptr<DeviceIntfStatusDir> deviceIntfStatusDir)
    : desiredIntfDir_(std::move(desiredIntfDir)),
      pamCollection_(std::move(pamCollection)),
      deviceIntfStatusDir_(std::move(deviceIntfStatusDir)) {
    desiredReactor_ =
        desiredIntfDir_->changed().react([this](IntfId intfId) { handleIntf(intfId); });
    deviceReactor_ =
        deviceIntfStatusDir_->changed().react([this](IntfId intfId) { handleIntf(intfId); });
}

EthDevPamMan::~EthDevPamMan() {
    desiredReactor_.reset();
    deviceReactor_.reset();
    for (const auto& [intfId, device] : openDevices_) {
        pamCollection_->valueDel(intfId);
    }
}

void EthDevPamMan::socketPerIntfIs(bool socketPerIntf) {
    require(socketPerIntf, "one socket an interface");
}

void EthDevPamMan::enabledIs(bool enabled) {
    if (enabled_ == enabled) {
        return;
    }
    enabled_ = enabled;
    for (const IntfId intfId : desiredIntfDir_->keys()) {
        handleIntf(intfId);
    }
}

std::optional<std::string> EthDevPamMan::openError(IntfId intfId) const {
    const auto found = openErrors_.find(intfId);
    return found != openErrors_.end() ? std::optional<std::string>(found->second) : std::nullopt;
}

void EthDevPamMan::handleIntf(IntfId intfId) {
    const Ptr<EthDevPamMan> self(this);
    const auto device = deviceIntfStatusDir_->value(intfId);
    const bool wanted =
        enabled_ && device && *device && desiredIntfDir_->intfDesired(intfId) == true;
    const auto open = openDevices_.find(intfId);
    if (open != openDevices_.end() && (!wanted || open->second != *device)) {
        openDevices_.erase(open);
        pamCollection_->valueDel(intfId);
    }
    if (!wanted) {
        openErrors_.erase(intfId);
    } else if (!pamCollection_->has(intfId)) {
        this->open(intfId, *device);
    }
}

void EthDevPamMan::open(IntfId intfId, const Ptr<EthDev>& device) {
    try {
        Ptr<EthDevPam> pam = device->open(intfId, parameters_);
        openErrors_.erase(intfId);
        openDevices_[intfId] = device;
        pamCollection_->valueIs(intfId, std::move(pam));
    } catch (const std::system_error& error) {
        openErrors_[intfId] = error.what();
        PLATFORM_TRACE(pamTrace, 0,
                       "no packet access on " << intfId.name() << ": " << error.what());
    }
}

}  // namespace Platform
