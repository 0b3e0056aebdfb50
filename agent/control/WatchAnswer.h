#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "agent/control/Answer.h"
#include "agent/control/AttributeFilter.h"
#include "agent/control/ControlNode.h"
#include "agent/control/RecordChanges.h"

namespace MrpAgent {

// Tells a client of changes as fast as it reads them, until its next request or a number of rows.
class WatchAnswer final : public Answer, private RecordChanges::Reader {
  public:
    // Changes, node and output outlive it. `limit`: the number of rows after which it ends.
    WatchAnswer(RecordChanges& changes, ControlNode& node, AttributeFilter filter,
                std::optional<std::uint64_t> limit, WallClock wallClock, AnswerOutput& output);

    State work() override;
    bool endsByRequest() const override { return true; }

  private:
    void handleChanges() override { output_.workSoon(); }
    void tell(const char* change, const Json& members);
    bool tellChange(const RecordChanges::Change& change);
    void tellPorts();
    bool done() const { return limit_ && told_ >= *limit_; }

    ControlNode& node_;
    AttributeFilter filter_;
    std::optional<std::uint64_t> limit_;
    WallClock wallClock_;
    AnswerOutput& output_;
    std::uint64_t told_ = 0;
    bool portsDue_ = false;
    std::vector<ControlNode::Port> ports_;  // as told, by name
    Platform::Reactor portsReactor_;
};

}  // namespace MrpAgent
