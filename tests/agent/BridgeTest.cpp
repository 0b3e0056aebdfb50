// The bridge as netlink tells it: tables and messages made by hand.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <libmnl/libmnl.h>
#include <linux/if_arp.h>
#include <linux/if_bridge.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <array>
#include <random>
#include <vector>

#include "agent/bridge/BridgeDoctor.h"
#include "agent/bridge/LinkMessage.h"
#include "agent/bridge/PortTable.h"
#include "agent/bridge/RouteSocket.h"

namespace MrpAgent {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using Severity = Finding::Severity;

Link linkOf(int index, const std::string& name, int master = 0) {
    Link link;
    link.index = index;
    link.name = name;
    link.mtu = 1500;
    link.ethernet = true;
    link.up = true;
    link.master = master;
    return link;
}

// Bridge br0 with the ports p1 (forwards), p2 (blocks, VLAN 7), p3 (down) and a port that is no
// Ethernet interface; br1 with q1; a bond with b1; a lone interface.
LinkTable usualLinks() {
    LinkTable links;
    for (const auto& [index, name, master] :
         std::vector<std::tuple<int, std::string, int>>{{1, "br0", 0},
                                                        {2, "br1", 0},
                                                        {3, "bond", 0},
                                                        {11, "p1", 1},
                                                        {12, "p2", 1},
                                                        {13, "p3", 1},
                                                        {14, "tunnel", 1},
                                                        {21, "q1", 2},
                                                        {31, "b1", 3},
                                                        {41, "alone", 0}}) {
        links[index] = linkOf(index, name, master);
        if (master == 1 || master == 2) {
            links[index].portState = PortState::forwarding;
            links[index].floodsMulticast = true;
        }
    }
    for (const int bridge : {1, 2}) {
        links[bridge].isBridge = true;
        links[bridge].addr = Platform::EthAddr(0x020000000000ULL + static_cast<unsigned>(bridge));
    }
    links[1].stp = true;
    links[2].vlanFiltering = true;
    links[2].groupForwardMask = 8;
    links[12].portState = PortState::blocking;
    links[12].nativeVlan = 7;
    links[13].up = false;
    links[14].ethernet = false;
    links[21].groupForwardMask = 0x4000;
    return links;
}

std::string states(const PortTable& table) {
    std::string text;
    for (const auto& [name, port] : table.ports) {
        text += name + (port.onBridge ? "@:" : ":") + stringValue(port.state) + ' ';
    }
    return text;
}

TEST(BridgePorts, areThoseOfTheBridgeOrTheListedOnes) {
    const LinkTable links = usualLinks();
    const PortTable bridge = portTableOf(links, "br0", {"alone"});
    EXPECT_EQ(states(bridge), "p1@:forwarding p2@:blocking p3@:disabled ");
    EXPECT_EQ(bridge.bridgeAddr.stringValue(), "02:00:00:00:00:01");
    EXPECT_TRUE(bridge.bridgeFound && bridge.spanningTree && !bridge.vlanFiltering);
    EXPECT_EQ(bridge.ports.at("p2").nativeVlan, 7);
    EXPECT_EQ(portTableOf(links, "alone", {}), PortTable{}) << "no bridge";
    EXPECT_EQ(portTableOf(links, "bond", {}), PortTable{});

    const PortTable listed = portTableOf(links, "", {"alone", "b1", "q1", "tunnel", "missing"});
    EXPECT_EQ(states(listed), "alone:forwarding b1:forwarding q1@:forwarding ");
    EXPECT_FALSE(listed.bridgeFound || listed.spanningTree);
    EXPECT_TRUE(listed.vlanFiltering);
    EXPECT_EQ(listed.groupForwardMask, 0x4008);
    EXPECT_EQ(roleOf(PortState::forwarding), 2);
    EXPECT_EQ(roleOf(PortState::learning), 3);
    EXPECT_EQ(roleOf(PortState::disabled), 0);
}

// The findings' texts, each behind its severity.
std::string diagnosis(const PortTable& table, const BridgeUse& use) {
    std::string text;
    for (const Finding& finding : examineBridge(table, use)) {
        text += std::string(stringValue(finding.severity)) + ": " + finding.text + '\n';
        EXPECT_EQ(finding.advice.empty(), finding.severity == Severity::ok) << finding.text;
    }
    return text;
}

TEST(BridgeDoctor, findsWhatKeepsMrpFromWorking) {
    LinkTable links = usualLinks();
    BridgeUse use{"br1", {}};
    EXPECT_THAT(diagnosis(portTableOf(links, "br1", {}), use),
                HasSubstr("problem: the bridge forwards MSRP"));
    use.msrp = false;
    EXPECT_EQ(diagnosis(portTableOf(links, "br1", {}), use), "ok: br1: 1 ports, all well\n");

    use = {"br0", {}, true, true, true};
    links[11].mtu = 1000;
    std::string found = diagnosis(portTableOf(links, "br0", {}), use);
    for (const char* text : {"warning: p3: the link is down", "warning: p1: the MTU of 1000",
                             "problem: the bridge does not filter by VLAN",
                             "warning: a bridge of Linux forwards MVRP"}) {
        EXPECT_THAT(found, HasSubstr(text));
    }
    EXPECT_THAT(found, testing::Not(HasSubstr("spanning tree")));
    EXPECT_THAT(found, testing::Not(HasSubstr("MSRP")));
    links[1].stp = false;
    for (const int port : {11, 12, 13}) {
        links[port].floodsMulticast = false;
    }
    found = diagnosis(portTableOf(links, "br0", {}), use);
    EXPECT_THAT(found, HasSubstr("warning: the spanning tree is off"));
    EXPECT_THAT(found, testing::Not(HasSubstr("MVRP")));

    EXPECT_THAT(diagnosis({}, {"br9", {}}), HasSubstr("problem: br9: no such bridge"));
    for (const int port : {11, 12, 13}) {
        links.erase(port);
    }
    EXPECT_THAT(diagnosis(portTableOf(links, "br0", {}), use),
                HasSubstr("problem: br0: the bridge has no ports"));
    found =
        diagnosis(portTableOf(links, "", {"alone"}), {"", {"alone", "missing"}, true, true, true});
    EXPECT_THAT(found, HasSubstr("problem: missing: no such"));
    EXPECT_THAT(found, HasSubstr("problem: no port is one of a bridge"));
    EXPECT_THAT(found, testing::Not(HasSubstr("MVRP")));
}

// An RTM_NEWLINK message.
struct Message {
    explicit Message(int family, int index = 5)
        : header(putLinkHeader(buffer.data(), RTM_NEWLINK, 0, static_cast<std::uint8_t>(family),
                               index)) {}
    ifinfomsg& link() const { return *static_cast<ifinfomsg*>(mnl_nlmsg_get_payload(header)); }
    void vlan(unsigned flags, std::uint16_t vid) const {
        const bridge_vlan_info info{static_cast<std::uint16_t>(flags), vid};
        mnl_attr_put(header, IFLA_BRIDGE_VLAN_INFO, sizeof(info), &info);
    }
    alignas(nlmsghdr) std::array<char, 2048> buffer{};
    nlmsghdr* header;
};

Message portMessage() {
    Message message(AF_UNSPEC);
    message.link().ifi_type = ARPHRD_ETHER;
    message.link().ifi_flags = IFF_UP | IFF_RUNNING;
    mnl_attr_put_strz(message.header, IFLA_IFNAME, "p1");
    mnl_attr_put_u32(message.header, IFLA_MTU, 9000);
    mnl_attr_put_u32(message.header, IFLA_MASTER, 1);
    mnl_attr_put(message.header, IFLA_ADDRESS, 6, "\2\0\0\0\0\5");
    nlattr* info = mnl_attr_nest_start(message.header, IFLA_LINKINFO);
    mnl_attr_put_strz(message.header, IFLA_INFO_SLAVE_KIND, "bridge");
    nlattr* data = mnl_attr_nest_start(message.header, IFLA_INFO_SLAVE_DATA);
    mnl_attr_put_u8(message.header, IFLA_BRPORT_STATE, BR_STATE_LEARNING);
    mnl_attr_put_u8(message.header, IFLA_BRPORT_MCAST_FLOOD, 0);
    mnl_attr_nest_end(message.header, data);
    mnl_attr_nest_end(message.header, info);
    return message;
}

Message vlanMessage(int master, unsigned flags = 0) {
    Message message(AF_BRIDGE);
    mnl_attr_put_u32(message.header, IFLA_MASTER, static_cast<std::uint32_t>(master));
    nlattr* spec = mnl_attr_nest_start(message.header, IFLA_AF_SPEC);
    mnl_attr_put_u16(message.header, IFLA_BRIDGE_FLAGS, static_cast<std::uint16_t>(flags));
    message.vlan(BRIDGE_VLAN_INFO_RANGE_BEGIN, 100);
    message.vlan(BRIDGE_VLAN_INFO_RANGE_END, 103);
    message.vlan(BRIDGE_VLAN_INFO_PVID, 7);
    message.vlan(BRIDGE_VLAN_INFO_UNTAGGED, 8);
    message.vlan(BRIDGE_VLAN_INFO_RANGE_END, 4000);  // of no beginning
    mnl_attr_put(message.header, IFLA_BRIDGE_VLAN_INFO, 2, "xx");
    mnl_attr_nest_end(message.header, spec);
    return message;
}

TEST(BridgeMessages, areRead) {
    LinkTable links;
    linkMessageIs(*vlanMessage(1).header, links);
    EXPECT_THAT(links, IsEmpty());
    linkMessageIs(*portMessage().header, links);
    linkMessageIs(*vlanMessage(1).header, links);
    Link expected = linkOf(5, "p1", 1);
    expected.mtu = 9000;
    expected.addr = Platform::EthAddr(0x020000000005ULL);
    expected.portState = PortState::learning;
    expected.nativeVlan = 7;
    EXPECT_EQ(links, (LinkTable{{5, expected}}));

    const auto vlans = portVlansOf(*vlanMessage(1).header);
    ASSERT_TRUE(vlans);
    EXPECT_EQ(stringValue(vlans->members), "7-8, 100-103, 4000");
    EXPECT_EQ(stringValue(vlans->marked), "7-8");
    EXPECT_FALSE(portVlansOf(*vlanMessage(5).header)) << "the bridge of itself";
    EXPECT_FALSE(portVlansOf(*vlanMessage(1, BRIDGE_FLAGS_SELF).header)) << "a device of itself";
    EXPECT_FALSE(portVlansOf(*portMessage().header));
}

// What makes no sense, of whatever kernel, is passed over; the sanitizers see that nothing is read
// beyond the message.
TEST(BridgeMessages, mayBeNonsense) {
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        const Message usual = i % 2 == 0 ? portMessage() : vlanMessage(1);
        const auto* begin = reinterpret_cast<const char*>(usual.header);
        std::vector<char> octets(begin, begin + usual.header->nlmsg_len);
        for (int change = 0; change < 3; ++change) {
            octets[sizeof(nlmsghdr) + random() % (octets.size() - sizeof(nlmsghdr))] =
                static_cast<char>(random() % 64);
        }
        octets.resize(octets.size() - random() % 32);
        auto* header = reinterpret_cast<nlmsghdr*>(octets.data());
        header->nlmsg_len = static_cast<std::uint32_t>(octets.size());
        LinkTable links{{5, linkOf(5, "p1", 1)}};
        linkMessageIs(*header, links);
        EXPECT_LE(links.size(), 2U);
        if (const auto vlans = portVlansOf(*header)) {
            EXPECT_TRUE((vlans->marked & ~vlans->members).none());
        }
    }
}

}  // namespace
}  // namespace MrpAgent
