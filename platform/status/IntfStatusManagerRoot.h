#pragma once

#include "platform/status/DeviceIntfStatus.h"
#include "platform/status/Interface.h"
#include "platform/status/KernelNetInfo.h"

namespace Platform {

// Fills a DeviceIntfStatusDir from what the kernel of a network namespace says. The directories of
// interface status may be null (not mounted); they matter only to namespace filtering, which keeps
// devices out whose interface is not among them.
class IntfStatusManagerRoot final : public Entity {
  public:
    IntfStatusManagerRoot(Ptr<Interface::AllIntfStatusDir> allIntfStatusDir,
                          Ptr<Interface::AllIntfStatusLocalDir> allIntfStatusLocalDir,
                          bool netNsFiltering);

    // Follows the namespace's status from now on; a null status leaves the directory empty.
    void intfStatusManagerIs(Ptr<KernelNetInfo::Status> kernelStatus,
                             Ptr<DeviceIntfStatusDir> deviceIntfStatusDir);

  private:
    void handleDevice(IntfId intfId);
    bool shown(IntfId intfId) const;

    Ptr<Interface::AllIntfStatusDir> allIntfStatusDir_;
    Ptr<Interface::AllIntfStatusLocalDir> allIntfStatusLocalDir_;
    bool netNsFiltering_;
    Ptr<KernelNetInfo::Status> kernelStatus_;
    Ptr<DeviceIntfStatusDir> deviceIntfStatusDir_;
    Reactor kernelReactor_;
};

}  // namespace Platform
