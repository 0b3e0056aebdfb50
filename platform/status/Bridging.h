#pragma once

#include <cstdint>

#include "platform/base/EthAddr.h"
#include "platform/state/Directory.h"

namespace Platform::Bridging {

// The switch's bridging configuration: its own address, and per port the native VLAN.
class Config final : public Entity {
  public:
    using Entity::Entity;

    const EthAddr& bridgeMacAddr() const { return bridgeMacAddr_; }
    void bridgeMacAddrIs(const EthAddr& addr) { bridgeMacAddr_ = addr; }

    // The VLAN of untagged frames by port; a port without an entry has none.
    IntfDirectory<std::uint16_t>& nativeVlan() { return nativeVlan_; }
    const IntfDirectory<std::uint16_t>& nativeVlan() const { return nativeVlan_; }

  private:
    EthAddr bridgeMacAddr_;
    IntfDirectory<std::uint16_t> nativeVlan_;
};

namespace Topology {

// Which spanning-tree topology each VLAN follows.
class Config final : public Entity {
  public:
    using Entity::Entity;
};

}  // namespace Topology

}  // namespace Platform::Bridging
