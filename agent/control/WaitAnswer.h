#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "agent/control/Answer.h"
#include "agent/control/AttributeFilter.h"
#include "agent/control/ControlNode.h"
#include "platform/time/Clock.h"

namespace MrpAgent {

// Ends as soon as an attribute is in a state.
class WaitAnswer final : public Answer {
  public:
    struct Goal {
        Mrp::MrpApplication application = Mrp::MrpApplication::none;
        std::vector<Mrp::AttributeType> types;  // any of these
        Mrp::AttributeKey key = 0;
        std::optional<std::string> port;  // any of the ports without one
        // Nothing: it is on none of the ports.
        std::optional<AttributeFilter::States> states;
    };

    // Reads the members of the request. Throws RequestError.
    WaitAnswer(ControlNode& node, RequestMembers& members, Platform::Clock& clock,
               AnswerOutput& output);

    State work() override;

  private:
    static Goal goalOf(RequestMembers& members);
    bool reached() const;
    const MrpInstance* instance() const;

    ControlNode& node_;
    Goal goal_;
    AnswerOutput& output_;
    Platform::Reactor reactor_;
    Platform::Alarm deadline_;
    Platform::Alarm again_;
    bool late_ = false;
};

}  // namespace MrpAgent
