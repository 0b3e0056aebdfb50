#pragma once

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "agent/config/AgentConfig.h"
#include "agent/status/StatusJson.h"

namespace MrpLab {

// Attributes with their values: what tells them apart, and how a reader knows them ("VLAN 100").
using AttributeSet = std::map<std::string, std::string>;

// What a node has registered, by the JSON that mrp-agent prints of itself. These and printNode()
// throw nlohmann::json::exception when it is none.
AttributeSet registeredIn(const MrpAgent::Json& status);
AttributeSet declaredBy(const MrpAgent::AgentConfig& config);

// Where a node's registrations differ from those expected, one line each.
std::vector<std::string> differences(const std::string& node, const AttributeSet& registered,
                                     const AttributeSet& expected);

// The node's attributes as a table, neighbouring VLANs of the same states in one row.
void printNode(std::ostream& out, const std::string& node, const MrpAgent::Json& status);

}  // namespace MrpLab
