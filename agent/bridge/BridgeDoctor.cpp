#include "agent/bridge/BridgeDoctor.h"

#include <algorithm>

namespace MrpAgent {

namespace {

using Severity = Finding::Severity;
using Findings = std::vector<Finding>;

constexpr GroupForwardMask msrpBit = 1U << 0x0e;  // of 01-80-C2-00-00-0E (clause 35.2.2.1)
constexpr std::size_t usualMtu = 1500;

void findMissing(const PortTable& table, const BridgeUse& use, Findings& findings) {
    const std::string& bridge = use.bridgeName;
    if (bridge.empty()) {
        for (const std::string& name : use.interfaces) {
            if (table.ports.count(name) == 0) {
                findings.push_back(
                    {Severity::problem, name + ": no such Ethernet interface", "ip link show"});
            }
        }
    } else if (!table.bridgeFound) {
        findings.push_back({Severity::problem, bridge + ": no such bridge",
                            "ip link add name " + bridge + " type bridge"});
    } else if (table.ports.empty()) {
        findings.push_back({Severity::problem, bridge + ": the bridge has no ports",
                            "ip link set dev INTERFACE master " + bridge});
    }
}

void findPortTrouble(const PortTable& table, Findings& findings) {
    for (const auto& [name, port] : table.ports) {
        if (!port.up) {
            findings.push_back(
                {Severity::warning, name + ": the link is down",
                 "ip link set dev " + name + " up, and see what is on its other end"});
        }
        if (port.mtu < usualMtu) {
            findings.push_back({Severity::warning,
                                name + ": the MTU of " + std::to_string(port.mtu) +
                                    " octets is too small for the frames that neighbours may send",
                                "ip link set dev " + name + " mtu " + std::to_string(usualMtu)});
        }
    }
}

void findBridgeTrouble(const PortTable& table, const BridgeUse& use, Findings& findings) {
    const std::string bridge = use.bridgeName.empty() ? "BRIDGE" : use.bridgeName;
    const auto bridged = std::count_if(table.ports.begin(), table.ports.end(),
                                       [](const auto& entry) { return entry.second.onBridge; });
    if (bridged > 1 && !table.spanningTree) {
        findings.push_back({Severity::warning,
                            "the spanning tree is off: a loop among the bridge's " +
                                std::to_string(bridged) + " ports would not be broken",
                            "ip link set dev " + bridge + " type bridge stp_state 1"});
    }
    if (use.vlanFilter && bridged > 0 && !table.vlanFiltering) {
        findings.push_back({Severity::problem,
                            "the bridge does not filter by VLAN: what is written into its filter "
                            "has no effect",
                            "ip link set dev " + bridge + " type bridge vlan_filtering 1"});
    }
    if (use.vlanFilter && bridged == 0 && !table.ports.empty()) {
        findings.push_back({Severity::problem,
                            "no port is one of a bridge: there is no VLAN filter to write into",
                            "ip link set dev INTERFACE master " + bridge});
    }
}

// Frames that belong to the neighbour alone (clause 8.6.3), but are forwarded.
void findLeaks(const PortTable& table, const BridgeUse& use, Findings& findings) {
    const std::string bridge = use.bridgeName.empty() ? "BRIDGE" : use.bridgeName;
    if (use.msrp && (table.groupForwardMask & msrpBit) != 0) {
        findings.push_back({Severity::problem,
                            "the bridge forwards MSRP's frames (01:80:c2:00:00:0e): bit 0x4000 is "
                            "set in the group_fwd_mask of the bridge or of a port",
                            "ip link set dev " + bridge +
                                " type bridge group_fwd_mask 0; ip link set dev PORT type "
                                "bridge_slave group_fwd_mask 0"});
    }
    const bool floods =
        std::any_of(table.ports.begin(), table.ports.end(), [&use](const auto& entry) {
            // Of a bridge of which not all ports are known, others may flood.
            return entry.second.onBridge &&
                   (entry.second.floodsMulticast || use.bridgeName.empty());
        });
    const bool alone = !use.bridgeName.empty() && table.ports.size() == 1;
    if (use.mvrp && floods && !alone) {
        findings.push_back(
            {Severity::warning,
             "a bridge of Linux forwards MVRP's frames (01:80:c2:00:00:21) to its other ports, "
             "unless a filter drops them, which is not looked for",
             "nft add table bridge mrp; nft add chain bridge mrp forward '{ type filter hook "
             "forward priority 0; }'; nft add rule bridge mrp forward ether daddr "
             "01:80:c2:00:00:21 drop"});
    }
}

}  // namespace

const char* stringValue(Finding::Severity severity) {
    switch (severity) {
    case Severity::ok:
        return "ok";
    case Severity::warning:
        return "warning";
    case Severity::problem:
        return "problem";
    }
    return "unknown";
}

std::vector<Finding> examineBridge(const PortTable& table, const BridgeUse& use) {
    Findings findings;
    findMissing(table, use, findings);
    findPortTrouble(table, findings);
    findBridgeTrouble(table, use, findings);
    findLeaks(table, use, findings);
    if (findings.empty()) {
        const std::string name = use.bridgeName.empty() ? "" : use.bridgeName + ": ";
        findings.push_back(
            {Severity::ok, name + std::to_string(table.ports.size()) + " ports, all well", ""});
    }
    return findings;
}

}  // namespace MrpAgent
