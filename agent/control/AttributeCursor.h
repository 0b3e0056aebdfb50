#pragma once

#include <optional>

#include "agent/control/AttributeFilter.h"
#include "agent/control/ControlNode.h"
#include "agent/control/VisibleRecords.h"

namespace MrpAgent {

// A walk over the attributes of a node that fit a filter, by application, interface, type and key.
// It keeps its place by these, so that everything may change between two steps. The node and the
// filter outlive it.
class AttributeCursor final {
  public:
    AttributeCursor(const ControlNode& node, const AttributeFilter& filter)
        : node_(node), filter_(filter) {}

    // On to the next attribute; false behind the last. What it comes upon may be nothing to show,
    // and then there is no record.
    bool next();

    const MrpInstance& instance() const { return *node_.instances()[application_]; }
    const Mrp::MrpAttribute& attribute() const { return attribute_; }
    // Good until something else is done.
    const Mrp::MrpAttrDatabase* record() const { return record_; }

  private:
    bool nextType();

    const ControlNode& node_;
    const AttributeFilter& filter_;
    std::size_t application_ = 0;
    Mrp::MrpAttribute attribute_;
    std::optional<Mrp::AttributeKey> after_;
    const Mrp::MrpAttrDatabase* record_ = nullptr;
};

}  // namespace MrpAgent
