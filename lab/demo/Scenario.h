#pragma once

#include <string_view>

#include "agent/config/AgentConfig.h"

namespace MrpLab {

// What the two nodes of the demonstration declare, as configurations of mrp-agent: node one at
// first, node one later, when some of it is withdrawn, and node two. Each node has one interface,
// which has the node's name.
struct Scenario {
    MrpAgent::AgentConfig one;
    MrpAgent::AgentConfig oneLater;
    MrpAgent::AgentConfig two;

    static Scenario make();
};

// The text of a configuration: "one", "one-later" or "two"; empty for any other name.
std::string_view scenarioConfig(std::string_view name);

}  // namespace MrpLab
