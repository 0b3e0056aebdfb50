#pragma once

#include <string>
#include <vector>

#include "agent/bridge/PortTable.h"

namespace MrpAgent {

// What the agent is meant to do with the bridge.
struct BridgeUse {
    std::string bridgeName;               // empty: the interfaces are listed
    std::vector<std::string> interfaces;  // the list, without a bridge
    bool mvrp = true;
    bool msrp = true;
    bool vlanFilter = false;  // registered VLANs are to be written into the filter
};

struct Finding {
    enum class Severity { ok, warning, problem };

    Severity severity;
    std::string text;    // what is the matter, in words for the user
    std::string advice;  // what to do about it, empty when nothing

    bool operator==(const Finding&) const = default;
};

const char* stringValue(Finding::Severity severity);

// What keeps MRP from working well on the ports, with what the administrator can do about it; one
// finding that says ok when there is nothing. The bridge itself is not touched, and no frame sent.
std::vector<Finding> examineBridge(const PortTable& table, const BridgeUse& use);

}  // namespace MrpAgent
