#pragma once

#include <cstddef>
#include <optional>

#include "platform/base/EthAddr.h"
#include "platform/state/Directory.h"

namespace Platform::Interface {

// What is said of an interface of any kind.
struct IntfStatus {
    // The longest frame that may be sent, in octets, where the interface has a limit of its own.
    std::optional<std::size_t> frameSizeLimit;

    bool operator==(const IntfStatus&) const = default;
};

// What is said of an Ethernet interface besides.
struct EthPhyIntfStatus {
    EthAddr addr;  // the interface's own address

    bool operator==(const EthPhyIntfStatus&) const = default;
};

// All interfaces of the system ("interface/status/all"), and those of this supervisor
// ("interface/status/local").
class AllIntfStatusDir final : public IntfDirectory<IntfStatus> {
  public:
    using Directory::Directory;
};
class AllIntfStatusLocalDir final : public IntfDirectory<IntfStatus> {
  public:
    using Directory::Directory;
};
class AllEthPhyIntfStatusDir final : public IntfDirectory<EthPhyIntfStatus> {
  public:
    using Directory::Directory;
};

}  // namespace Platform::Interface
