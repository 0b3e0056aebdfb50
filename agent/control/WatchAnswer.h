#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "agent/control/Answer.h"
#include "agent/control/AttributeFilter.h"
#include "agent/control/ControlNode.h"
#include "agent/control/WallTime.h"

namespace MrpAgent {

// Tells a client of changes as they come, until its next request or a number of rows. What it does
// not read fast enough is lost, and counted. Without one nobody follows the node.
class WatchAnswer final : public Answer {
  public:
    static constexpr std::size_t queueLimit = 1024U * 1024U;  // octets that wait for the client

    // Node and output outlive it. `limit`: the number of rows after which it ends.
    WatchAnswer(ControlNode& node, AttributeFilter filter, std::optional<std::uint64_t> limit,
                WallClock wallClock, AnswerOutput& output);

    State work() override;
    bool endsByRequest() const override { return true; }

  private:
    void handleRecord(Mrp::MrpApplication application, const Mrp::MrpAttribute& attribute,
                      const Mrp::MrpAttrDatabase* record);
    void tellPorts();
    template <class Fill>
    void tell(const char* change, Fill fill);
    bool done() const { return limit_ && told_ >= *limit_; }

    ControlNode& node_;
    AttributeFilter filter_;
    std::optional<std::uint64_t> limit_;
    WallClock wallClock_;
    AnswerOutput& output_;
    std::uint64_t told_ = 0;
    std::uint64_t lost_ = 0;  // since the client was last told
    bool portsDue_ = false;
    std::vector<ControlNode::Port> ports_;  // as told, by name
    std::vector<Platform::Reactor> reactors_;
};

}  // namespace MrpAgent
