#pragma once

#include <optional>
#include <string>

#include "platform/linux/EpollActivityManager.h"
#include "platform/status/Interface.h"
#include "platform/status/KernelNetInfo.h"

namespace Platform::Linux {

// Tells the directories of status of the kernel's interfaces, as they are when it is asked to; it
// does not follow what becomes of them later. The directories belong to whoever made them; the
// network namespace is that of the calling thread.
class LinuxNetInfo final {
  public:
    LinuxNetInfo(EpollActivityManager& activityManager, Ptr<KernelNetInfo::Status> kernelStatus,
                 Ptr<Interface::AllIntfStatusDir> allIntfStatusDir,
                 Ptr<Interface::AllEthPhyIntfStatusDir> allEthPhyIntfStatusDir);

    // Enters the interface of that name with its limit of frame size (its MTU and the Ethernet
    // header), its address, and at last a LinuxEthDev. Of one that is there already the limit and
    // the address are brought up to date. Returns what is wrong, in words for the user, when it
    // does not exist or is no Ethernet interface; nothing has changed then.
    std::optional<std::string> addInterface(const std::string& name);

    // Takes the interface out again, its device first.
    void delInterface(const std::string& name);

  private:
    EpollActivityManager& activityManager_;
    Ptr<KernelNetInfo::Status> kernelStatus_;
    Ptr<Interface::AllIntfStatusDir> allIntfStatusDir_;
    Ptr<Interface::AllEthPhyIntfStatusDir> allEthPhyIntfStatusDir_;
};

}  // namespace Platform::Linux
