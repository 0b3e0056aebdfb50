#pragma once

#include "agent/control/AttributeFilter.h"
#include "agent/control/ControlNode.h"
#include "agent/control/RowSource.h"

namespace MrpAgent {

// `show counters`: a row an application, then a row an application and port.
class CounterRows final : public RowSource {
  public:
    // The node outlives it.
    CounterRows(const ControlNode& node, AttributeFilter filter);

    bool next(Row& row) override;

  private:
    Json portRow(const MrpInstance& instance) const;

    const ControlNode& node_;
    AttributeFilter filter_;
    bool ports_;  // the rows of ports have their turn
    std::size_t application_ = 0;
    Platform::IntfId port_;  // the last one told
};

}  // namespace MrpAgent
