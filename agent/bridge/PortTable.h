#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "agent/bridge/LinkTable.h"
#include "platform/base/EthAddr.h"

namespace MrpAgent {

// What the agent has to know of one port.
struct Port {
    std::string name;
    int index = 0;
    Platform::EthAddr addr;
    std::size_t mtu = 0;
    bool up = false;
    PortState state = PortState::disabled;
    std::uint16_t nativeVlan = 0;  // PVID, 0: none or unknown
    bool onBridge = false;         // it is a port of a bridge
    bool floodsMulticast = false;  // of a port of a bridge, see Link

    bool operator==(const Port&) const = default;
};

// What the agent runs on, at one moment. What it says of a bridge is about the configured one, or
// without one about those that have listed interfaces as ports: the spanning tree and the filter
// are on when those of any of them are.
struct PortTable {
    bool bridgeFound = false;      // the configured bridge is there, and is a bridge
    Platform::EthAddr bridgeAddr;  // of the configured bridge
    bool spanningTree = false;
    bool vlanFiltering = false;
    GroupForwardMask groupForwardMask = 0;  // of all of them, and of the ports
    std::map<std::string, Port> ports;

    bool operator==(const PortTable&) const = default;
};

// Of the Ethernet ports of the bridge of that name, or of the interfaces listed when the name is
// empty (those that are there and are Ethernet). The state of a listed interface that is no port of
// a bridge is forwarding while it is up, else disabled. A port that is not up is disabled, whatever
// the bridge says of it.
PortTable portTableOf(const LinkTable& links, const std::string& bridgeName,
                      const std::vector<std::string>& interfaces);

// The port's role for the engine (Mrp::MrpSm, clause 10.3): 2 of a port that forwards, 3 of one
// that may come to forward, 0 of one that takes no part.
int roleOf(PortState state);

}  // namespace MrpAgent
