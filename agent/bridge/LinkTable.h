#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "platform/base/EthAddr.h"

namespace MrpAgent {

// The state of a bridge port, as the kernel numbers them (linux/if_bridge.h).
enum class PortState { disabled = 0, listening = 1, learning = 2, forwarding = 3, blocking = 4 };

constexpr const char* stringValue(PortState state) {
    switch (state) {
    case PortState::disabled:
        return "disabled";
    case PortState::listening:
        return "listening";
    case PortState::learning:
        return "learning";
    case PortState::forwarding:
        return "forwarding";
    case PortState::blocking:
        return "blocking";
    }
    return "unknown";
}

// Which of the group addresses 01-80-C2-00-00-00 to -0F are forwarded, against clause 8.6.3: one
// bit an address, that of the last octet's value. None is by default.
using GroupForwardMask = std::uint16_t;

// One interface of a network namespace, as the kernel tells it.
struct Link {
    int index = 0;
    std::string name;
    Platform::EthAddr addr;
    std::size_t mtu = 0;  // octets of a frame's payload
    bool ethernet = false;
    bool up = false;  // by the administrator's will, and something is on the other end
    int master = 0;   // index of the bridge (or bond, …) it is a port of, 0: none

    // Of a port of a bridge; the state is there of nothing else.
    std::optional<PortState> portState = {};
    std::uint16_t nativeVlan = 0;  // PVID, 0: none or unknown
    bool floodsMulticast = false;  // sends frames to group addresses that nobody has asked for

    // Of a bridge.
    bool isBridge = false;
    bool stp = false;  // the kernel's own spanning tree, or that of a program, runs
    bool vlanFiltering = false;

    // Of a bridge, for all its ports, or of a port, for itself.
    GroupForwardMask groupForwardMask = 0;

    bool operator==(const Link&) const = default;
};

// All interfaces of a network namespace, by index.
using LinkTable = std::map<int, Link>;

}  // namespace MrpAgent
