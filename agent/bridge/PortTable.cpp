#include "agent/bridge/PortTable.h"

#include <algorithm>

namespace MrpAgent {

namespace {

PortState stateOf(const Link& link) {
    return link.up ? link.portState.value_or(PortState::forwarding) : PortState::disabled;
}

void addPort(const Link& link, PortTable& table) {
    table.groupForwardMask =
        static_cast<GroupForwardMask>(table.groupForwardMask | link.groupForwardMask);
    table.ports[link.name] = {link.name,
                              link.index,
                              link.addr,
                              link.mtu,
                              link.up,
                              stateOf(link),
                              link.nativeVlan,
                              link.portState.has_value(),
                              link.floodsMulticast};
}

void addBridge(const Link& bridge, PortTable& table) {
    table.spanningTree |= bridge.stp;
    table.vlanFiltering |= bridge.vlanFiltering;
    table.groupForwardMask =
        static_cast<GroupForwardMask>(table.groupForwardMask | bridge.groupForwardMask);
}

PortTable tableOfBridge(const LinkTable& links, const std::string& name) {
    PortTable table;
    const auto bridge = std::find_if(links.begin(), links.end(), [&name](const auto& entry) {
        return entry.second.isBridge && entry.second.name == name;
    });
    if (bridge == links.end()) {
        return table;
    }
    table.bridgeFound = true;
    table.bridgeAddr = bridge->second.addr;
    addBridge(bridge->second, table);
    for (const auto& [index, link] : links) {
        if (link.master == bridge->first && link.portState && link.ethernet) {
            addPort(link, table);
        }
    }
    return table;
}

}  // namespace

PortTable portTableOf(const LinkTable& links, const std::string& bridgeName,
                      const std::vector<std::string>& interfaces) {
    if (!bridgeName.empty()) {
        return tableOfBridge(links, bridgeName);
    }
    PortTable table;
    for (const auto& [index, link] : links) {
        if (!link.ethernet ||
            std::find(interfaces.begin(), interfaces.end(), link.name) == interfaces.end()) {
            continue;
        }
        addPort(link, table);
        const auto bridge = links.find(link.master);
        if (link.portState && bridge != links.end()) {
            addBridge(bridge->second, table);
        }
    }
    return table;
}

int roleOf(PortState state) {
    switch (state) {
    case PortState::forwarding:
        return 2;
    case PortState::blocking:
    case PortState::listening:
    case PortState::learning:
        return 3;
    case PortState::disabled:
        break;
    }
    return 0;
}

}  // namespace MrpAgent
