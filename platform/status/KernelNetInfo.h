#pragma once

#include "platform/packet/EthDev.h"
#include "platform/state/Directory.h"

namespace Platform::KernelNetInfo {

// What the kernel says of one network namespace: its Ethernet devices by interface. The binding in
// use (Linux or in memory) keeps it.
class Status final : public IntfDirectory<Ptr<EthDev>> {
  public:
    using Directory::Directory;
};

}  // namespace Platform::KernelNetInfo
