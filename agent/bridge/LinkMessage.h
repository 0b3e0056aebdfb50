#pragma once

#include <linux/netlink.h>

#include <optional>
#include <string>

#include "agent/bridge/LinkTable.h"
#include "agent/bridge/VlanSet.h"

namespace MrpAgent {

// Takes an RTM_NEWLINK message into the table: one of AF_UNSPEC makes the link, one of AF_BRIDGE
// adds to a link that is there what the bridge says of its port. Anything else is passed over.
void linkMessageIs(const nlmsghdr& message, LinkTable& links);

// The VLANs that the port of a bridge is a member of.
struct PortVlans {
    int index = 0;
    std::string name;
    VlanSet members;
    VlanSet marked;  // those of them that are the PVID, or leave the port untagged
    std::uint16_t nativeVlan = 0;
};

// Of an RTM_NEWLINK message of AF_BRIDGE about a bridge's port; nothing of any other message, and
// nothing of one in which a device speaks for itself.
std::optional<PortVlans> portVlansOf(const nlmsghdr& message);

}  // namespace MrpAgent
