#pragma once

#include <nlohmann/json.hpp>

#include <memory>
#include <span>
#include <vector>

#include "agent/instance/MrpInstance.h"

namespace MrpAgent {

// Keeps the members of an object in the order in which they were set.
using Json = nlohmann::ordered_json;

// What an instance holds and has counted (docs/mrp-agent.md describes the members):
//   {"application": "mvrp", "interfaces": […], "attributes": […], "counters": {…}}
// Lists are always lists, however many elements there are.
Json statusJson(const MrpInstance& instance);

// The same of all applications of a node: {"applications": […]}.
Json statusJson(std::span<const std::unique_ptr<MrpInstance>> instances);

// The members that describe the octets of a value record: {"vlan": 100}. Empty for octets that are
// none of the type.
Json valueJson(Mrp::MrpApplication application, Mrp::AttributeType attributeType,
               std::span<const std::uint8_t> value);

// The object as one line without its end, whatever octets its texts hold.
std::string jsonLine(const Json& json);

}  // namespace MrpAgent
