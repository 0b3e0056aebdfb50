#pragma once

#include <string>

#include "platform/linux/EpollActivityManager.h"
#include "platform/packet/EthDev.h"

namespace Platform::Linux {

// An Ethernet interface of the network namespace of the calling thread, known by its name. Needs
// not exist until packet access is opened on it. The activity manager outlives it and its Pams.
class LinuxEthDev final : public EthDev {
  public:
    LinuxEthDev(std::string name, EpollActivityManager& activityManager);

    // Opens a LinuxEthDevPam. Throws std::system_error when the interface does not exist or the
    // kernel refuses a step ("et1: opening a packet socket: Operation not permitted").
    Ptr<EthDevPam> open(IntfId intfId, const EthDevPamParameters& parameters) override;

  private:
    EpollActivityManager& activityManager_;
};

}  // namespace Platform::Linux
