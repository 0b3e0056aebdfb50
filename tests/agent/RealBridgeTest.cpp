// The bridge as a kernel has it: interfaces, bridges and a VLAN filter in network namespaces of the
// tests' own. What needs bridges runs where the kernel has them: tools/bridge-vm.sh has one.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "agent/bridge/BridgeDoctor.h"
#include "agent/bridge/LinkWatch.h"
#include "agent/bridge/VlanFilter.h"
#include "mrp/MrpSm/root/MrpSocketFilter.h"
#include "platform/linux/LinuxEthDev.h"
#include "platform/packet/PktManager.h"

namespace MrpAgent {
namespace {

using namespace Platform;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

bool run(const std::string& command) {
    return std::system((command + " 2>/dev/null").c_str()) == 0;
}
bool ip(const std::string& arguments) {
    return run("ip " + arguments);
}
bool bridge(const std::string& arguments) {
    return run("bridge " + arguments);
}

class RealLinks : public testing::Test {
  protected:
    void SetUp() override {
        if (::unshare(CLONE_NEWNET) < 0 || !ip("link add p1 type veth peer name e1")) {
            GTEST_SKIP() << "no network namespace with a virtual Ethernet cable to be had here";
        }
    }
    bool until(const std::function<bool()>& condition, Seconds limit = 20) {
        const Seconds end = manager.clock().now() + limit;
        while (!condition() && manager.clock().now() < end) {
            manager.runFor(0.005);
        }
        return condition();
    }
    PortTable listed() const { return portTableOf(watch.links(), "", {"p1", "p2", "other"}); }
    bool portIs(const std::string& name, PortState state) const {
        const auto ports = listed().ports;
        const auto port = ports.find(name);
        return port != ports.end() && port->second.state == state;
    }

    Linux::EpollActivityManager manager;
    std::vector<std::string> told;
    int changes = 0;
    const LinkWatch::Tell tell = [this](const std::string& message) { told.push_back(message); };
    LinkWatch watch{manager, [this] { ++changes; }, tell};
};

TEST_F(RealLinks, areFollowed) {
    watch.start();
    EXPECT_EQ(changes, 0);
    EXPECT_TRUE(portIs("p1", PortState::disabled));
    ASSERT_TRUE(ip("link set p1 up") && ip("link set e1 up"));
    EXPECT_TRUE(until([&] { return portIs("p1", PortState::forwarding); }));
    EXPECT_TRUE(ip("link set e1 down"));
    EXPECT_TRUE(until([&] { return portIs("p1", PortState::disabled); })) << "no carrier";
    ASSERT_TRUE(ip("link set p1 address 02:00:00:00:00:77 mtu 1400"));
    EXPECT_TRUE(until([&] {
        const Port port = listed().ports.at("p1");
        return port.mtu == 1400 && port.addr == EthAddr(0x020000000077ULL);
    }));
    ASSERT_TRUE(ip("link set p1 down") && ip("link set p1 name other"));
    EXPECT_TRUE(until([&] { return portIs("other", PortState::disabled); }));
    EXPECT_EQ(listed().ports.size(), 1U);
    ASSERT_TRUE(ip("link del other"));
    EXPECT_TRUE(until([&] { return listed().ports.empty(); }));
    EXPECT_EQ(watch.counters().errors, 0U);

    // Nothing happens: a look now and then, and nobody is told.
    manager.runFor(0.1);
    const LinkWatch::Counters counters = watch.counters();
    const int before = changes;
    manager.runFor(3.5);
    EXPECT_EQ(watch.counters().dumps, counters.dumps + 1);
    EXPECT_EQ(changes, before);
    EXPECT_THAT(told, IsEmpty());
}

// More hints than the socket holds, from more links than one answer of the kernel holds.
TEST_F(RealLinks, areReadAnewWhenHintsAreLost) {
    constexpr int pairs = 150;
    watch.start();
    const int octets = 1;  // the kernel takes its own least
    ASSERT_EQ(::setsockopt(watch.eventSocket(), SOL_SOCKET, SO_RCVBUF, &octets, sizeof(octets)), 0);
    const std::string path = testing::TempDir() + "links." + std::to_string(::getpid());
    std::ofstream batch(path);
    for (int i = 0; i < pairs; ++i) {
        batch << "link add x" << i << " type veth peer name y" << i << "\nlink set x" << i
              << " up\n";
    }
    batch.close();
    ASSERT_TRUE(ip("-batch " + path));
    EXPECT_TRUE(until([&] { return watch.links().size() >= 2 * pairs; }));
    ASSERT_TRUE(ip("link set p1 up") && ip("link set e1 up"));
    EXPECT_TRUE(until([&] { return portIs("p1", PortState::forwarding); }));
    EXPECT_GE(watch.counters().overruns, 1U);

    // A burst costs a few dumps.
    const LinkWatch::Counters before = watch.counters();
    const int enough = 1 << 24;
    ASSERT_EQ(
        ::setsockopt(watch.eventSocket(), SOL_SOCKET, SO_RCVBUFFORCE, &enough, sizeof(enough)), 0);
    std::ofstream(path) << [] {
        std::string lines;
        for (int i = 0; i < pairs; ++i) {
            lines += "link set x" + std::to_string(i) + " mtu 1400\n";
        }
        return lines + "link set p1 mtu 1300\n";
    }();
    ASSERT_TRUE(ip("-batch " + path));
    ::unlink(path.c_str());
    EXPECT_TRUE(until([&] { return listed().ports.at("p1").mtu == 1300; }));
    EXPECT_GE(watch.counters().events, before.events + pairs);
    EXPECT_LE(watch.counters().dumps + watch.counters().errors, before.dumps + before.errors + 5);
}

// Where there is no bridge, nothing can be written, and nothing is complained about.
TEST_F(RealLinks, withoutABridgeHaveNoFilter) {
    VlanFilter filter(manager, tell);
    filter.memberIs(1, 5, true);
    filter.memberIs(99999, 5, true);
    filter.memberIs(1, 4095, true);
    manager.runFor(0.1);
    filter.finish();
    EXPECT_EQ(filter.status().writes + filter.status().failures + filter.status().members, 0U);
    EXPECT_THAT(told, IsEmpty());
}

// Bridge br0 with the ports p1 and p2, on whose cables' other ends are e1 and e2.
class RealBridge : public RealLinks {
  protected:
    void SetUp() override {
        RealLinks::SetUp();
        if (IsSkipped()) {
            return;
        }
        if (!ip("link add br0 type bridge forward_delay 200 vlan_filtering 1")) {
            if (std::getenv("MRP_BRIDGES_REQUIRED") != nullptr) {
                FAIL() << "this kernel is to have bridges that filter by VLAN";
            }
            GTEST_SKIP() << "this kernel has no bridges that filter by VLAN";
        }
        ASSERT_TRUE(ip("link add p2 type veth peer name e2") && ip("link set br0 up"));
        for (const char* name : {"p1", "p2", "e1", "e2"}) {
            ASSERT_TRUE(ip(std::string("link set up dev ") + name));
        }
        ASSERT_TRUE(ip("link set p1 master br0") && ip("link set p2 master br0"));
    }
    PortTable table() const { return portTableOf(watch.links(), "br0", {}); }
    Port port(const std::string& name) const { return table().ports.at(name); }
    // What the filter holds for the port, "1-2 (1)": the marked ones in brackets.
    static std::string vlans(int index) {
        std::string text = "none";
        RouteSocket socket;
        socket.sendLinkDump(AF_BRIDGE);
        const auto take = [&](const nlmsghdr& message) {
            if (const auto port = portVlansOf(message); port && port->index == index) {
                text = stringValue(port->members) + " (" + stringValue(port->marked) + ")";
            }
        };
        while (socket.receive(take) == RouteSocket::Answer::incomplete && socket.wait(1)) {
        }
        return text;
    }
    bool untilVlans(int index, const std::string& expected) {
        const bool done = until([&] { return vlans(index) == expected; });
        EXPECT_EQ(vlans(index), expected);
        return done;
    }
};

TEST_F(RealBridge, isFollowedThroughItsSpanningTree) {
    watch.start();
    EXPECT_EQ(port("p1").state, PortState::forwarding);
    EXPECT_EQ(port("p1").nativeVlan, 1);
    EXPECT_TRUE(port("p1").floodsMulticast);
    EXPECT_TRUE(!table().spanningTree && table().vlanFiltering);

    std::vector<PortState> seen{PortState::forwarding};
    LinkWatch second(
        manager,
        [&] {
            const Port now = portTableOf(second.links(), "br0", {}).ports["p2"];
            if (seen.back() != now.state) {
                seen.push_back(now.state);
            }
        },
        tell);
    second.start();
    ASSERT_TRUE(ip("link set br0 type bridge stp_state 1 vlan_filtering 0 group_fwd_mask 8"));
    ASSERT_TRUE(ip("link set e2 down"));
    EXPECT_TRUE(until([&] { return seen.back() == PortState::disabled; }));
    ASSERT_TRUE(ip("link set e2 up"));
    EXPECT_TRUE(until([&] { return seen.back() == PortState::forwarding; }));
    EXPECT_THAT(seen, ElementsAre(PortState::forwarding, PortState::disabled, PortState::listening,
                                  PortState::learning, PortState::forwarding));
    EXPECT_TRUE(table().spanningTree && !table().vlanFiltering);
    EXPECT_EQ(table().groupForwardMask, 8);

    ASSERT_TRUE(bridge("vlan add vid 20 pvid untagged dev p1"));
    ASSERT_TRUE(bridge("link set dev p2 mcast_flood off"));
    EXPECT_TRUE(until([&] { return port("p1").nativeVlan == 20 && !port("p2").floodsMulticast; }));
    ASSERT_TRUE(bridge("vlan del vid 20 dev p1"));
    EXPECT_TRUE(until([&] { return port("p1").nativeVlan == 0; }));
    ASSERT_TRUE(ip("link set p1 nomaster"));
    EXPECT_TRUE(until([&] { return table().ports.size() == 1; }));
    ASSERT_TRUE(ip("link del br0"));
    EXPECT_TRUE(until([&] { return !table().bridgeFound; }));
    EXPECT_TRUE(portIs("p2", PortState::forwarding));
}

TEST_F(RealBridge, hasItsVlansWrittenAndTheAdministratorsLeftAlone) {
    watch.start();
    const int p1 = port("p1").index;
    const int p2 = port("p2").index;
    ASSERT_TRUE(bridge("vlan add vid 7 dev p1"));
    VlanFilter filter(manager, tell);
    const auto range = [&](int index, std::uint16_t first, std::uint16_t last, bool member) {
        for (std::uint16_t vlan = first; vlan <= last; ++vlan) {
            filter.memberIs(index, vlan, member);
        }
    };
    range(p1, 1, 300, true);
    range(p2, 4094, 4094, true);
    ASSERT_TRUE(untilVlans(p1, "1-300 (1)"));
    ASSERT_TRUE(untilVlans(p2, "1, 4094 (1)"));
    EXPECT_EQ(filter.status().writes, 3U);
    EXPECT_EQ(filter.status().members, 299U);

    // The administrator takes one over, removes one, and adds one.
    ASSERT_TRUE(bridge("vlan add vid 150 untagged dev p1") && bridge("vlan del vid 151 dev p1"));
    ASSERT_TRUE(bridge("vlan add vid 1000 dev p1"));
    filter.review();
    ASSERT_TRUE(untilVlans(p1, "1-300, 1000 (1, 150)"));
    range(p1, 1, 299, false);
    ASSERT_TRUE(untilVlans(p1, "1, 7, 150, 300, 1000 (1, 150)"));

    // A port that leaves the bridge loses everything, and gets it back with its return.
    ASSERT_TRUE(ip("link set p1 nomaster") && ip("link set p1 master br0"));
    filter.review();
    ASSERT_TRUE(untilVlans(p1, "1, 300 (1)"));
    filter.finish();
    EXPECT_EQ(vlans(p1), "1 (1)");
    EXPECT_EQ(vlans(p2), "1 (1)");
    EXPECT_EQ(filter.status().members, 0U);

    // What is on a port that is deleted goes with it.
    filter.memberIs(p2, 9, true);
    ASSERT_TRUE(untilVlans(p2, "1, 9 (1)"));
    ASSERT_TRUE(ip("link del p2"));
    range(p2, 9, 12, true);
    manager.runFor(0.1);
    EXPECT_EQ(filter.status().members, 0U);
    EXPECT_EQ(filter.status().failures, 0U);
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(RealBridge, thatRefusesAVlanIsComplainedAboutOnce) {
    watch.start();
    const int p1 = port("p1").index;
    VlanFilter filter(manager, tell);
    ASSERT_EQ(::seteuid(65534), 0);  // who may not write
    for (const std::uint16_t vlan : std::vector<std::uint16_t>{5, 6, 9}) {
        filter.memberIs(p1, vlan, true);
    }
    EXPECT_TRUE(until([&] { return filter.status().failures == 1; }));
    manager.runFor(0.1);
    EXPECT_EQ(filter.status().members, 0U);
    filter.review();
    EXPECT_TRUE(until([&] { return filter.status().failures == 2; }));
    ASSERT_EQ(::seteuid(0), 0);
    const std::string words =
        "p1: VLANs 5-6, 9 cannot be added to the bridge's filter: Operation not permitted";
    EXPECT_THAT(told, ElementsAre(words));
    EXPECT_EQ(filter.status().lastError, words);
    filter.review();
    EXPECT_TRUE(until([&] { return vlans(p1) == "1, 5-6, 9 (1)"; }, 8)) << "before the next try";
    EXPECT_EQ(told.size(), 1U);
}

// Every second VLAN, so that neighbours do not count as one: several pages of them a port.
TEST_F(RealBridge, mayHaveManyVlans) {
    watch.start();
    VlanFilter filter(manager, tell);
    for (const char* name : {"p1", "p2"}) {
        for (std::uint16_t vlan = 3; vlan <= lastVlan;
             vlan = static_cast<std::uint16_t>(vlan + 2)) {
            filter.memberIs(port(name).index, vlan, true);
        }
    }
    EXPECT_TRUE(until([&] { return filter.status().members == 4092; }));
    ASSERT_TRUE(bridge("vlan add vid 4000 pvid untagged dev p2"));
    EXPECT_TRUE(until([&] { return port("p2").nativeVlan == 4000; }));
    EXPECT_THAT(vlans(port("p1").index), HasSubstr("1, 3, 5, 7")) << "of a new socket";
    filter.finish();
    EXPECT_EQ(vlans(port("p2").index), "1, 4000 (1, 4000)");
    EXPECT_EQ(watch.counters().errors + filter.status().failures, 0U);
    EXPECT_THAT(told, IsEmpty());
}

// MVRP's frames reach the agent's socket on the port, and after what the doctor advises no other
// port.
TEST_F(RealBridge, forwardsMvrpUntilItIsToldNotTo) {
    watch.start();
    const EthAddr mvrpAddr(0x0180c2000021ULL);
    EthDevPamParameters parameters;
    parameters.ethProtocol = 3;
    parameters.listenAddr = mvrpAddr;
    parameters.filter = Mrp::mrpSocketFilter(mvrpAddr, 0x88f5);
    std::string seen;
    std::vector<Reactor> reactors;
    std::map<std::string, Ptr<EthDevPam>> pams;
    for (const std::string name : {"e1", "p1", "e2"}) {
        const Ptr<EthDevPam> pam =
            makePtr<Linux::LinuxEthDev>(name, manager)->open(IntfId(name), parameters);
        pams[name] = pam;
        reactors.push_back(pam->readable().react([&seen, pam, name] {
            pam->rxPkt();
            seen += name + ' ';
        }));
    }
    std::vector<std::uint8_t> frame(60);
    std::copy(mvrpAddr.octets().begin(), mvrpAddr.octets().end(), frame.begin());
    frame[6] = 2;
    frame[12] = 0x88;
    frame[13] = 0xf5;
    const auto exchange = [&] {
        seen.clear();
        pams["e1"]->txPkt(PktManager::instance().newPkt(frame));
        manager.runFor(0.2);
        return seen;
    };
    EXPECT_THAT(exchange(), HasSubstr("e2"));
    const std::vector<Finding> findings = examineBridge(table(), {"br0", {}});
    ASSERT_THAT(findings.back().advice, HasSubstr("nft"));
    if (!run(findings.back().advice)) {
        GTEST_SKIP() << "no nft, or a kernel without its bridge family";
    }
    EXPECT_EQ(exchange(), "p1 ");
}

}  // namespace
}  // namespace MrpAgent
