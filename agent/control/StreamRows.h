#pragma once

#include <optional>

#include "agent/control/AttributeAges.h"
#include "agent/control/AttributeFilter.h"
#include "agent/control/RowSource.h"

namespace MrpAgent {

// `show streams`: a row a Stream ID, with its talkers and listeners.
class StreamRows final : public RowSource {
  public:
    // The node and the ages outlive it.
    StreamRows(const ControlNode& node, const AttributeAges& ages, AttributeFilter filter);

    bool next(Row& row) override;

  private:
    void add(Json& row, const MrpInstance& instance, const Mrp::MrpAttribute& attribute,
             const Mrp::MrpAttrDatabase& record) const;

    const ControlNode& node_;
    const AttributeAges& ages_;
    AttributeFilter filter_;
    std::optional<Mrp::AttributeKey> stream_;  // the last one that was looked at
};

}  // namespace MrpAgent
