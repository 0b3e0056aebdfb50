#include "agent/bridge/LinkMessage.h"

#include <libmnl/libmnl.h>
#include <linux/if_arp.h>
#include <linux/if_bridge.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace MrpAgent {

namespace {

// Calls `each` with every attribute from there on that is whole.
template <class Each>
void eachAttribute(const void* begin, const void* end, const Each& each) {
    const auto left = [end](const nlattr* attribute) {
        return static_cast<int>(static_cast<const char*>(end) -
                                reinterpret_cast<const char*>(attribute));
    };
    for (const auto* attribute = static_cast<const nlattr*>(begin);
         mnl_attr_ok(attribute, left(attribute)); attribute = mnl_attr_next(attribute)) {
        each(attribute);
    }
}

// The same of the attributes in a nest, if there is one.
template <class Each>
void eachNested(const nlattr* nest, const Each& each) {
    if (nest != nullptr) {
        const auto* begin = static_cast<const char*>(mnl_attr_get_payload(nest));
        eachAttribute(begin, begin + mnl_attr_get_payload_len(nest), each);
    }
}

// The attributes of one level, by type. One that is there twice counts with its last appearance, as
// it does for the kernel.
template <std::size_t Limit>
class Attributes final {
  public:
    explicit Attributes(const nlmsghdr& message) {
        eachAttribute(mnl_nlmsg_get_payload_offset(&message, sizeof(ifinfomsg)),
                      mnl_nlmsg_get_payload_tail(&message),
                      [this](const nlattr* attribute) { enter(attribute); });
    }
    explicit Attributes(const nlattr* nest) {
        eachNested(nest, [this](const nlattr* attribute) { enter(attribute); });
    }

    const nlattr* at(std::size_t type) const { return byType_[type]; }

    // The number in the attribute; `otherwise` when it is not there, or is too short to hold one.
    template <class Number>
    Number number(std::size_t type, Number otherwise = 0) const {
        static_assert(std::is_integral_v<Number>);
        Number value = otherwise;
        const nlattr* attribute = at(type);
        if (attribute != nullptr && mnl_attr_get_payload_len(attribute) >= sizeof(value)) {
            std::memcpy(&value, mnl_attr_get_payload(attribute), sizeof(value));
        }
        return value;
    }
    std::string text(std::size_t type) const {
        const nlattr* attribute = at(type);
        if (attribute == nullptr) {
            return {};
        }
        const std::string_view octets(static_cast<const char*>(mnl_attr_get_payload(attribute)),
                                      mnl_attr_get_payload_len(attribute));
        return std::string(octets.substr(0, octets.find('\0')));
    }

  private:
    void enter(const nlattr* attribute) {
        const std::size_t type = mnl_attr_get_type(attribute);
        if (type < byType_.size()) {
            byType_[type] = attribute;
        }
    }

    std::array<const nlattr*, Limit + 1> byType_{};
};

using LinkAttributes = Attributes<IFLA_MAX>;

std::optional<PortState> portStateOf(std::uint8_t value) {
    return value <= BR_STATE_BLOCKING ? std::optional(static_cast<PortState>(value)) : std::nullopt;
}

void portIs(const nlattr* slaveData, Link& link) {
    const Attributes<IFLA_BRPORT_MAX> port(slaveData);
    link.portState = portStateOf(port.number<std::uint8_t>(IFLA_BRPORT_STATE, BR_STATE_DISABLED));
    link.floodsMulticast = port.number<std::uint8_t>(IFLA_BRPORT_MCAST_FLOOD, 1) != 0;
    link.groupForwardMask = port.number<std::uint16_t>(IFLA_BRPORT_GROUP_FWD_MASK);
}

void bridgeIs(const nlattr* data, Link& link) {
    const Attributes<IFLA_BR_MAX> bridge(data);
    link.isBridge = true;
    link.stp = bridge.number<std::uint32_t>(IFLA_BR_STP_STATE) != 0;
    link.vlanFiltering = bridge.number<std::uint8_t>(IFLA_BR_VLAN_FILTERING) != 0;
    link.groupForwardMask = bridge.number<std::uint16_t>(IFLA_BR_GROUP_FWD_MASK);
}

Link linkOf(const ifinfomsg& header, const LinkAttributes& attributes) {
    Link link;
    link.index = header.ifi_index;
    link.name = attributes.text(IFLA_IFNAME);
    link.mtu = attributes.number<std::uint32_t>(IFLA_MTU);
    link.ethernet = header.ifi_type == ARPHRD_ETHER;
    // The kernel says IFF_RUNNING while the operational state is up or unknown.
    link.up = (header.ifi_flags & IFF_UP) != 0 && (header.ifi_flags & IFF_RUNNING) != 0;
    link.master = attributes.number<std::int32_t>(IFLA_MASTER);
    Platform::EthAddr::Octets octets{};
    if (const nlattr* addr = attributes.at(IFLA_ADDRESS);
        addr != nullptr && mnl_attr_get_payload_len(addr) == octets.size()) {
        std::memcpy(octets.data(), mnl_attr_get_payload(addr), octets.size());
        link.addr = Platform::EthAddr(octets);
    }
    const Attributes<IFLA_INFO_MAX> info(attributes.at(IFLA_LINKINFO));
    if (info.text(IFLA_INFO_KIND) == "bridge") {
        bridgeIs(info.at(IFLA_INFO_DATA), link);
    }
    if (info.text(IFLA_INFO_SLAVE_KIND) == "bridge") {
        portIs(info.at(IFLA_INFO_SLAVE_DATA), link);
    }
    return link;
}

// The header, of an RTM_NEWLINK message that is long enough to have one.
const ifinfomsg* linkHeader(const nlmsghdr& message) {
    return message.nlmsg_type == RTM_NEWLINK &&
                   mnl_nlmsg_get_payload_len(&message) >= sizeof(ifinfomsg)
               ? static_cast<const ifinfomsg*>(mnl_nlmsg_get_payload(&message))
               : nullptr;
}

// Enters the VLANs from the first to the last one, as far as there are such.
void vlansAre(std::uint16_t first, const bridge_vlan_info& last, PortVlans& port) {
    const bool pvid = (last.flags & BRIDGE_VLAN_INFO_PVID) != 0;
    const bool marked = pvid || (last.flags & BRIDGE_VLAN_INFO_UNTAGGED) != 0;
    for (std::uint32_t vlan = first; vlan <= std::min(last.vid, lastVlan); ++vlan) {
        port.members.set(vlan);
        port.marked.set(vlan, marked);
    }
    if (pvid) {
        port.nativeVlan = last.vid;
    }
}

// False when it is a device that speaks for itself, not a bridge of its port.
bool vlansOf(const nlattr* afSpec, PortVlans& port) {
    bool ofBridge = true;
    std::uint16_t first = 0;
    eachNested(afSpec, [&](const nlattr* attribute) {
        const std::size_t type = mnl_attr_get_type(attribute);
        const std::size_t length = mnl_attr_get_payload_len(attribute);
        if (type == IFLA_BRIDGE_FLAGS && length >= sizeof(std::uint16_t)) {
            ofBridge = (mnl_attr_get_u16(attribute) & BRIDGE_FLAGS_SELF) == 0;
        }
        bridge_vlan_info info{};
        if (type != IFLA_BRIDGE_VLAN_INFO || length < sizeof(info)) {
            return;
        }
        std::memcpy(&info, mnl_attr_get_payload(attribute), sizeof(info));
        if ((info.flags & BRIDGE_VLAN_INFO_RANGE_BEGIN) != 0) {
            first = info.vid;
            return;
        }
        const bool ends = (info.flags & BRIDGE_VLAN_INFO_RANGE_END) != 0;
        vlansAre(ends && first != 0 ? first : info.vid, info, port);
        first = 0;
    });
    return ofBridge;
}

}  // namespace

std::optional<PortVlans> portVlansOf(const nlmsghdr& message) {
    const ifinfomsg* header = linkHeader(message);
    if (header == nullptr || header->ifi_family != AF_BRIDGE) {
        return std::nullopt;
    }
    const LinkAttributes attributes(message);
    PortVlans port{header->ifi_index, attributes.text(IFLA_IFNAME), {}, {}, 0};
    // A bridge is its own master in what it says of itself.
    const int master = attributes.number<std::int32_t>(IFLA_MASTER);
    if (master == 0 || master == port.index || !vlansOf(attributes.at(IFLA_AF_SPEC), port)) {
        return std::nullopt;
    }
    return port;
}

void linkMessageIs(const nlmsghdr& message, LinkTable& links) {
    if (const ifinfomsg* header = linkHeader(message);
        header != nullptr && header->ifi_family == AF_UNSPEC) {
        links.insert_or_assign(header->ifi_index, linkOf(*header, LinkAttributes(message)));
    } else if (const auto vlans = portVlansOf(message)) {
        const auto found = links.find(vlans->index);
        if (found != links.end() && found->second.portState) {
            found->second.nativeVlan = vlans->nativeVlan;
        }
    }
}

}  // namespace MrpAgent
