#pragma once

#include <vector>

#include "agent/control/AttributeFilter.h"
#include "agent/control/ControlNode.h"
#include "agent/control/RowSource.h"
#include "agent/control/VisibleRecords.h"

namespace MrpAgent {

// The members of a port that are the node's: all but "applications".
Json portJson(const ControlNode::Port& port);

// `show ports`: a row a port. The attributes of its applications are counted in steps.
class PortRows final : public RowSource {
  public:
    // The node outlives it.
    PortRows(const ControlNode& node, const AttributeFilter& filter);

    bool next(Row& row) override;

  private:
    // The part in hand: an application of a port.
    struct Part {
        std::size_t application = 0;
        Mrp::AttributeType type = 1;
        std::optional<Mrp::AttributeKey> after;
        std::size_t registered = 0;
        std::size_t declared = 0;
    };

    bool count(const Mrp::MrpSm& mrpSm, Platform::IntfId port);
    Json partJson(const MrpInstance& instance, Platform::IntfId port) const;

    const ControlNode& node_;
    std::vector<ControlNode::Port> ports_;
    std::size_t port_ = 0;
    Part part_;
    Json applications_ = Json::array();
};

}  // namespace MrpAgent
