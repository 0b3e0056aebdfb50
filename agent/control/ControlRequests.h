#pragma once

#include <functional>
#include <memory>
#include <string>

#include "agent/control/Answer.h"
#include "agent/control/AttributeAges.h"
#include "agent/control/ControlNode.h"
#include "agent/control/LogMemory.h"
#include "agent/control/RecordChanges.h"
#include "agent/control/RequestMembers.h"

namespace MrpAgent {

enum class ControlAccess { readOnly, readWrite };

// What clients may ask of a node. All that it is made of outlives it.
class ControlRequests final {
  public:
    struct Parts {
        ControlNode& node;
        const AttributeAges& ages;
        const LogMemory& log;
        Platform::Clock& clock;
        WallClock wallClock;
        std::function<Json()> status;  // of the control sockets
        std::string version = {};      // of the program
        std::size_t changeLimit = RecordChanges::usualLimit;
    };

    explicit ControlRequests(Parts parts);

    // Does what the request, an object, asks for, or begins to answer it to the output. Throws
    // RequestError when it is not done.
    std::unique_ptr<Answer> answer(const Json& request, ControlAccess access, AnswerOutput& output);

  private:
    using Act = std::unique_ptr<Answer> (ControlRequests::*)(RequestMembers&, AnswerOutput&);

    std::unique_ptr<Answer> show(RequestMembers& members, AnswerOutput& output);
    std::unique_ptr<Answer> watch(RequestMembers& members, AnswerOutput& output);
    std::unique_ptr<Answer> wait(RequestMembers& members, AnswerOutput& output);
    std::unique_ptr<Answer> declare(RequestMembers& members, AnswerOutput& output);
    std::unique_ptr<Answer> withdraw(RequestMembers& members, AnswerOutput& output);
    std::unique_ptr<Answer> clear(RequestMembers& members, AnswerOutput& output);
    std::unique_ptr<Answer> activate(RequestMembers& members, AnswerOutput& output);
    std::unique_ptr<Answer> doctor(RequestMembers& members, AnswerOutput& output);

    Parts parts_;
    RecordChanges changes_;
    const Json* request_ = nullptr;  // in hand
};

}  // namespace MrpAgent
