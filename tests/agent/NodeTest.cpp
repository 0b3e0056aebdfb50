#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "agent/config/ConfigReader.h"
#include "agent/node/Node.h"
#include "platform/log/Log.h"
#include "platform/virtual/VirtualActivityManager.h"
#include "platform/virtual/VirtualEthDev.h"
#include "platform/virtual/VirtualWire.h"

namespace MrpAgent {
namespace {

using namespace Platform;

AgentConfig configOf(const std::string& text) {
    ConfigResult read = readConfig("applications = ['mvrp']\n" + text, "agent.toml");
    EXPECT_THAT(read.errors, testing::IsEmpty());
    return read.config;
}

// A node in memory, whose ports the test keeps.
struct TestNode {
    TestNode(Virtual::VirtualActivityManager& loop, const std::vector<std::string>& names,
             const std::string& config, Node::Role role = Node::Role::active)
        : node(loop, configOf(config), [](const std::string&) {}) {
        node.run(role, EthAddr(0x020000000001));
        for (const std::string& name : names) {
            devices[name] = makePtr<Virtual::VirtualEthDev>(name, loop);
            node.interfaces().kernelStatus->valueIs(IntfId(name), devices[name]);
            stateIs(name, 2);
        }
    }
    // Role 2 forwards, 3 does not, 0: the link is down.
    void stateIs(const std::string& name, int role) {
        node.portIs({name, role != 0, "", role, role == 2, EthAddr(0x020000000001), 1500, 0});
    }
    VlanPropagation::Membership at(const std::string& name, std::uint16_t vlan) const {
        return node.vlans()->membership(IntfId(name), vlan);
    }

    std::map<std::string, Ptr<Virtual::VirtualEthDev>> devices;
    Node node;
};

struct NodeTest : testing::Test {
    NodeTest() {
        logSinkIs(nullptr);
        westWire.connect(*west.devices["nw"]);
        westWire.connect(*bridge.devices["n1"]);
        eastWire.connect(*east.devices["ne"]);
        eastWire.connect(*bridge.devices["n2"]);
    }
    ~NodeTest() override { logToStandardError(); }

    static constexpr auto bridgeConfig = "interfaces = ['n1', 'n2', 'n3']\n";
    Virtual::VirtualActivityManager loop;
    Virtual::VirtualWire westWire{loop}, eastWire{loop};
    TestNode west{loop, {"nw"}, "interfaces = ['nw']\nvlans = [{ids = 10}]\n"};
    TestNode east{loop, {"ne"}, "interfaces = ['ne']\n"};
    TestNode bridge{loop, {"n1", "n2", "n3"}, bridgeConfig};
};

TEST_F(NodeTest, portsThatChangeTakeAndLoseTheirPart) {
    loop.runUntil(1);
    EXPECT_TRUE(bridge.at("n1", 10).registered);
    EXPECT_TRUE(east.at("ne", 10).registered);
    // A spanning tree blocks the port: what was registered is flushed and counts no more.
    bridge.node.spanningTreeIs(true);
    bridge.stateIs("n1", 3);
    loop.runUntil(2);
    EXPECT_FALSE(bridge.at("n1", 10).registered);
    EXPECT_FALSE(bridge.at("n2", 10).declared);
    EXPECT_FALSE(east.at("ne", 10).registered);
    // The neighbour declares it anew at the next LeaveAll, on a port that does not forward yet.
    loop.runUntil(20);
    EXPECT_TRUE(bridge.at("n1", 10).registered);
    EXPECT_FALSE(bridge.at("n2", 10).declared);
    bridge.stateIs("n1", 2);
    for (double t = 20.2; t < 24; t += 0.2) {  // long before the next LeaveAll is due
        loop.runUntil(t);
        EXPECT_TRUE(bridge.at("n1", 10).registered);
    }
    EXPECT_TRUE(east.at("ne", 10).registered);
    // A link that is down, and a port that is gone, have nothing.
    bridge.stateIs("n1", 0);
    loop.runUntil(26);
    EXPECT_EQ(bridge.at("n1", 10), VlanPropagation::Membership());
    EXPECT_FALSE(east.at("ne", 10).registered);
    bridge.stateIs("n1", 2);
    bridge.node.portDel("n2");
    EXPECT_EQ(bridge.node.ports().size(), 2U);
    loop.runUntil(40);
    EXPECT_TRUE(bridge.at("n1", 10).registered);
    EXPECT_TRUE(bridge.at("n3", 10).declared);
    EXPECT_FALSE(bridge.node.vlans()->forwarding(IntfId("n2")));
}

TEST_F(NodeTest, declarationsOfTheConfigurationAndOfRequests) {
    const auto declarations = [](const std::string& tables) {
        return configOf("interfaces = ['ne']\nvlans = [" + tables + "]").declarations;
    };
    EXPECT_EQ(east.node.declare(declarations("{ids = '20-21'}")), std::nullopt);
    EXPECT_EQ(east.node.declare(declarations("{ids = [22, 20]}")), "VLAN 20 is declared already");
    EXPECT_THAT(west.node.declare(declarations("{ids = 5}")), testing::Optional(testing::_));
    loop.runUntil(1);
    EXPECT_TRUE(west.at("nw", 20).registered);
    EXPECT_FALSE(west.at("nw", 22).registered) << "all or nothing";
    EXPECT_FALSE(west.at("nw", 5).configured) << "it has no such port";
    // Another value takes the place of the one before.
    EXPECT_EQ(east.node.declare(declarations("{ids = 20, registration = 'forbidden'}")),
              std::nullopt);
    // A configuration that is read anew leaves what was requested.
    east.node.configIs(configOf("interfaces = ['ne']\nvlans = [{ids = [20, 30]}]"));
    loop.runUntil(3);
    EXPECT_FALSE(west.at("nw", 20).registered);
    EXPECT_TRUE(west.at("nw", 21).registered);
    EXPECT_TRUE(west.at("nw", 30).registered);
    EXPECT_EQ(east.node.withdraw(declarations("{ids = [21, 30]}")), std::nullopt);
    EXPECT_EQ(east.node.withdraw(declarations("{ids = 21}")), "VLAN 21 is not declared");
    loop.runUntil(5);
    EXPECT_FALSE(west.at("nw", 21).registered);
    EXPECT_FALSE(west.at("nw", 30).registered);
    // What is forbidden while it is registered is registered no more, until it is allowed again.
    const auto forbidden =
        configOf(bridgeConfig + std::string("vlans = [{ids = 22, registration = 'forbidden', "
                                            "interfaces = ['n2']}]"))
            .declarations;
    EXPECT_EQ(east.node.declare(declarations("{ids = 22}")), std::nullopt);
    loop.runUntil(6);
    EXPECT_TRUE(west.at("nw", 22).registered);
    EXPECT_EQ(bridge.node.declare(forbidden), std::nullopt);
    loop.runUntil(30);
    EXPECT_FALSE(bridge.at("n2", 22).registered);
    EXPECT_EQ(bridge.node.instances()[0]->mrpSm().mrpGetAttrFromDatabase(IntfId("n2"),
                                                                         Mrp::vlanType, 22, true),
              nullptr);
    EXPECT_FALSE(west.at("nw", 22).registered);
    EXPECT_EQ(bridge.node.withdraw(forbidden), std::nullopt);
    loop.runUntil(50);
    EXPECT_TRUE(west.at("nw", 22).registered);
    // One of every port cannot be taken back on one of them.
    AgentConfig everywhere;
    everywhere.bridge.name = "br0";
    everywhere.declarations = declarations("{ids = 40}");
    everywhere.declarations.front().interfaces.clear();
    east.node.configIs(everywhere);
    EXPECT_THAT(east.node.withdraw(declarations("{ids = 40}")), testing::Optional(testing::_));
    loop.runUntil(51);
    EXPECT_TRUE(west.at("nw", 40).registered);
}

TEST_F(NodeTest, aStandbyTakesOverWhatIsRegisteredAndDeclared) {
    TestNode standby(loop, {}, bridgeConfig, Node::Role::standby);
    EXPECT_EQ(standby.node.vlans(), nullptr);
    EXPECT_THAT(standby.node.declare({}), testing::Optional(testing::_));
    for (const char* port : {"n1", "n2", "n3"}) {
        standby.node.interfaces().kernelStatus->valueIs(IntfId(port), bridge.devices[port]);
        standby.stateIs(port, 2);
    }
    loop.runUntil(1);
    // Its database is filled as the attribute log would; of n1 nothing has come yet.
    const auto database =
        standby.node.instances()[0]->mrpStatus().applicationDatabaseIs(Mrp::MrpApplication::mvrp);
    const auto record = database->attrDatabaseIs(IntfId("n2"))
                            ->intfTypeApplicantIs(Mrp::vlanType)
                            ->mrpAttributeIs(10);
    record->applicantStateIs(Mrp::MrpApplicantState::QA);
    // Nor of n3, whose link is down by the time of the takeover.
    const auto left = database->attrDatabaseIs(IntfId("n3"))
                          ->intfTypeApplicantIs(Mrp::vlanType)
                          ->mrpAttributeIs(11);
    left->registrarStateIs(Mrp::MrpRegistrarState::IN);
    standby.stateIs("n3", 0);
    for (const char* port : {"n1", "n2", "n3"}) {
        bridge.stateIs(port, 0);
    }
    EXPECT_EQ(standby.node.activate(), std::nullopt);
    EXPECT_THAT(standby.node.activate(), testing::Optional(testing::_));
    loop.runUntil(1.1);
    EXPECT_TRUE(standby.at("n2", 10).declared) << "nothing is withdrawn at once";
    loop.runUntil(4);
    EXPECT_TRUE(standby.at("n1", 10).registered) << "the neighbours have told anew";
    EXPECT_TRUE(east.at("ne", 10).registered);
    EXPECT_EQ(database->record(IntfId("n3"), Mrp::vlanType, 11), nullptr);
    standby.stateIs("n3", 2);
    loop.runUntil(5);
    EXPECT_TRUE(standby.at("n3", 10).declared);
}

}  // namespace
}  // namespace MrpAgent
