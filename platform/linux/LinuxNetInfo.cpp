#include "platform/linux/LinuxNetInfo.h"

#include <net/if.h>
#include <net/if_arp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/linux/FileDescriptor.h"
#include "platform/linux/LinuxEthDev.h"

namespace Platform::Linux {

namespace {

constexpr std::size_t ethernetHeaderOctets = 14;

struct KernelInterface {
    std::size_t mtu;
    EthAddr addr;
};

// Throws std::system_error for what the kernel refuses.
std::optional<KernelInterface> readEthernet(const std::string& name) {
    const FileDescriptor socket(
        checked(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0), name + ": opening a socket"));
    ifreq request{};
    name.copy(request.ifr_name, sizeof(request.ifr_name) - 1);
    checked(::ioctl(socket.get(), SIOCGIFHWADDR, &request), name + ": reading the address");
    if (request.ifr_hwaddr.sa_family != ARPHRD_ETHER) {
        return std::nullopt;
    }
    EthAddr::Octets octets{};
    std::memcpy(octets.data(), request.ifr_hwaddr.sa_data, octets.size());
    checked(::ioctl(socket.get(), SIOCGIFMTU, &request), name + ": reading the MTU");
    return KernelInterface{static_cast<std::size_t>(request.ifr_mtu), EthAddr(octets)};
}

}  // namespace

LinuxNetInfo::LinuxNetInfo(EpollActivityManager& activityManager,
                           Ptr<KernelNetInfo::Status> kernelStatus,
                           Ptr<Interface::AllIntfStatusDir> allIntfStatusDir,
                           Ptr<Interface::AllEthPhyIntfStatusDir> allEthPhyIntfStatusDir)
    : activityManager_(activityManager),
      kernelStatus_(std::move(kernelStatus)),
      allIntfStatusDir_(std::move(allIntfStatusDir)),
      allEthPhyIntfStatusDir_(std::move(allEthPhyIntfStatusDir)) {}

std::optional<std::string> LinuxNetInfo::addInterface(const std::string& name) {
    // A longer name would be cut to that of another interface.
    if (name.empty() || name.size() >= IFNAMSIZ) {
        return "\"" + name + "\" cannot be the name of an interface";
    }
    std::optional<KernelInterface> interface;
    try {
        interface = readEthernet(name);
    } catch (const std::system_error& error) {
        return error.code() == std::errc::no_such_device ? name + ": no such interface"
                                                         : std::string(error.what());
    }
    if (!interface) {
        return name + ": not an Ethernet interface";
    }
    const IntfId intfId(name);
    allIntfStatusDir_->valueIs(intfId, {interface->mtu + ethernetHeaderOctets});
    allEthPhyIntfStatusDir_->valueIs(intfId, {interface->addr});
    if (!kernelStatus_->has(intfId)) {
        kernelStatus_->valueIs(intfId, makePtr<LinuxEthDev>(name, activityManager_));
    }
    return std::nullopt;
}

void LinuxNetInfo::delInterface(const std::string& name) {
    const IntfId intfId(name);
    kernelStatus_->valueDel(intfId);
    allEthPhyIntfStatusDir_->valueDel(intfId);
    allIntfStatusDir_->valueDel(intfId);
}

}  // namespace Platform::Linux
