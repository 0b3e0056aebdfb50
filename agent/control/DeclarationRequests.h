#pragma once

#include <vector>

#include "agent/control/ControlNode.h"
#include "agent/control/RequestMembers.h"

namespace MrpAgent {

// What the request is to declare, by the rules of the configuration. Throws RequestError.
std::vector<Declaration> declarationsOf(const Json& request, const ControlNode& node);

// What it is to withdraw. A stream stands for those of its attributes that the node declares by
// itself on any of these ports; where there is none, the request is refused.
std::vector<Declaration> withdrawalsOf(const Json& request, const ControlNode& node);

}  // namespace MrpAgent
