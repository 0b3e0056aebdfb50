#include "platform/linux/LinuxEthDev.h"

#include <utility>

#include "platform/linux/LinuxEthDevPam.h"

namespace Platform::Linux {

LinuxEthDev::LinuxEthDev(std::string name, EpollActivityManager& activityManager)
    : EthDev(std::move(name)), activityManager_(activityManager) {}

Ptr<EthDevPam> LinuxEthDev::open(IntfId intfId, const EthDevPamParameters& parameters) {
    return makePtr<LinuxEthDevPam>(intfId, name(), activityManager_, parameters);
}

}  // namespace Platform::Linux
