#pragma once

#include <cstdint>

#include "platform/base/EthAddr.h"
#include "platform/base/VlanId.h"
#include "platform/state/Directory.h"

namespace Platform::Bridging {

// The configuration of one VLAN of the switch.
class VlanConfig final : public Entity {
  public:
    explicit VlanConfig(VlanId vlanId) : vlanId_(vlanId) {}

    VlanId vlanId() const { return vlanId_; }

  private:
    VlanId vlanId_;
};

// The switch's bridging configuration: its own address, its VLANs, and per port the native VLAN.
class Config final : public Entity {
  public:
    using Entity::Entity;

    const EthAddr& bridgeMacAddr() const { return bridgeMacAddr_; }
    void bridgeMacAddrIs(const EthAddr& addr) { bridgeMacAddr_ = addr; }

    // The VLAN of untagged frames by port; a port without an entry has none.
    IntfDirectory<std::uint16_t>& nativeVlan() { return nativeVlan_; }
    const IntfDirectory<std::uint16_t>& nativeVlan() const { return nativeVlan_; }

    // The VLANs that are configured on the switch.
    Directory<VlanId, Ptr<VlanConfig>>& vlanConfig() { return vlanConfig_; }
    const Directory<VlanId, Ptr<VlanConfig>>& vlanConfig() const { return vlanConfig_; }

  private:
    EthAddr bridgeMacAddr_;
    IntfDirectory<std::uint16_t> nativeVlan_;
    Directory<VlanId, Ptr<VlanConfig>> vlanConfig_;
};

namespace Topology {

// Which spanning-tree topology each VLAN follows.
class Config final : public Entity {
  public:
    using Entity::Entity;
};

}  // namespace Topology

}  // namespace Platform::Bridging
