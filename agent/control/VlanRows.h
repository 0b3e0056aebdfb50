#pragma once

#include <cstdint>
#include <vector>

#include "agent/control/AttributeFilter.h"
#include "agent/control/ControlNode.h"
#include "agent/control/RowSource.h"

namespace MrpAgent {

// `show vlans`: a row a VLAN that is known on any of the ports. A node without propagation tells
// what its engine holds.
class VlanRows final : public RowSource {
  public:
    // The node outlives it.
    VlanRows(const ControlNode& node, AttributeFilter filter);

    bool next(Row& row) override;

  private:
    struct Lists;

    const MrpInstance* mvrp() const;
    std::vector<Platform::IntfId> ports(const MrpInstance& instance) const;
    VlanPropagation::Membership membership(const MrpInstance& instance, Platform::IntfId port,
                                           std::uint16_t vlan) const;

    const ControlNode& node_;
    AttributeFilter filter_;
    unsigned vlan_ = 0;  // the last one that was looked at
};

}  // namespace MrpAgent
