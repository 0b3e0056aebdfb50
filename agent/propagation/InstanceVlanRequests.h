#pragma once

#include "agent/instance/MrpInstance.h"
#include "agent/propagation/VlanRequests.h"

namespace MrpAgent {

// Requests made of an MVRP instance, which outlives it. Called from the event loop, never within an
// indication.
class InstanceVlanRequests final : public VlanRequests {
  public:
    explicit InstanceVlanRequests(MrpInstance& instance) : instance_(instance) {}

    void declare(Platform::IntfId port, std::uint16_t vlan, bool isNew) override;
    void withdraw(Platform::IntfId port, std::uint16_t vlan) override;
    void forget(Platform::IntfId port, std::uint16_t vlan) override;

  private:
    void request(Platform::IntfId port, std::uint16_t vlan, std::uint8_t event);

    MrpInstance& instance_;
};

}  // namespace MrpAgent
