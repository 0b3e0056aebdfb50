#include "platform/status/IntfStatusManagerRoot.h"

#include <utility>

namespace Platform {

IntfStatusManagerRoot::IntfStatusManagerRoot(
    Ptr<Interface::AllIntfStatusDir> allIntfStatusDir,
    Ptr<Interface::AllIntfStatusLocalDir> allIntfStatusLocalDir, bool netNsFiltering)
    : allIntfStatusDir_(std::move(allIntfStatusDir)),
      allIntfStatusLocalDir_(std::move(allIntfStatusLocalDir)),
      netNsFiltering_(netNsFiltering) {}

void IntfStatusManagerRoot::intfStatusManagerIs(Ptr<KernelNetInfo::Status> kernelStatus,
                                                Ptr<DeviceIntfStatusDir> deviceIntfStatusDir) {
    kernelStatus_ = std::move(kernelStatus);
    deviceIntfStatusDir_ = std::move(deviceIntfStatusDir);
    kernelReactor_.reset();
    if (!kernelStatus_) {
        return;
    }
    kernelReactor_ =
        kernelStatus_->changed().react([this](IntfId intfId) { handleDevice(intfId); });
    for (const IntfId intfId : kernelStatus_->keys()) {
        handleDevice(intfId);
    }
}

bool IntfStatusManagerRoot::shown(IntfId intfId) const {
    return !netNsFiltering_ || (allIntfStatusDir_ && allIntfStatusDir_->has(intfId)) ||
           (allIntfStatusLocalDir_ && allIntfStatusLocalDir_->has(intfId));
}

void IntfStatusManagerRoot::handleDevice(IntfId intfId) {
    const auto device = kernelStatus_->value(intfId);
    if (device && shown(intfId)) {
        deviceIntfStatusDir_->valueIs(intfId, *device);
    } else {
        deviceIntfStatusDir_->valueDel(intfId);
    }
}

}  // namespace Platform
