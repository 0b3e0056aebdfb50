#include <gtest/gtest.h>

#include <sstream>

#include "Messages.h"
#include "Wire.h"
#include "platform/time/Dispatch.h"

namespace MrpTest {

namespace {

// "j100@1.2 l103@1.2; 100=AO/IN 101=VO/LV": the join and leave indications since the last call, and
// the attributes of et1 that look-ups show.
std::string seen(TestNode& node) {
    std::ostringstream out;
    for (const auto& [at, join, attribute, event] : node.lib->indications) {
        out << (join ? "j" : "l") << attribute.key << "@" << at << " ";
    }
    out << ";";
    for (AttributeType type = 1; type <= node.sm().maxAttrTypes(); ++type) {
        for (const AttributeKey key : node.sm().visibleKeys(node.intf(1), type)) {
            out << " " << key << "=" << node.states(type, key);
        }
    }
    node.lib->indications.clear();
    return out.str();
}

// "3.1 1:64=4 e1; ": what was sent since the last call, as a receiver reads it.
std::string wire(TestNode& node) {
    TestNode reader(node.lib->application());
    std::ostringstream out;
    for (const SentFrame& frame : node.sent) {
        out << frame.at << " " << Wire::parsed(reader, frame.messages()) << "; ";
    }
    node.sent.clear();
    return out.str();
}

}  // namespace

TEST(PortRole, FlushedThenDeclaredAnew) {
    TestNode node(MrpApplication::mvrp);
    node.portRoleIs(2);
    node.receive(joins100to102);
    node.receive(vlanJoin(104));
    for (const std::uint16_t id : std::vector<std::uint16_t>{101, 102, 103}) {
        node.declareVlan(id);
    }
    node.runUntil(1.03);
    node.receive(vlanLv(102));
    node.receive(vlanLv(104));
    ASSERT_EQ(seen(node), "j100@0 j101@0 j102@0 j104@0 ; "
                          "100=AO/IN 101=QA/IN 102=QA/LV 103=QA/MT 104=VO/LV");
    wire(node);
    // The registrations are gone, silently but for those that were leaving; declarations stay.
    node.portRoleIs(3);
    EXPECT_EQ(seen(node), "l102@1.03 l104@1.03 ; 100=AO/MT 101=QA/MT 102=QA/MT 103=QA/MT");
    // What registers again is not hit by the leave timer that is still under way.
    node.runUntil(1.2);
    node.receive(vlanJoin(102));
    node.receive(vlanJoin(104));
    node.runUntil(3.03);
    EXPECT_EQ(seen(node), "j102@1.2 j104@1.2 ; 100=AO/MT 101=QA/MT 102=QA/IN 103=QA/MT 104=AO/IN");
    EXPECT_EQ(wire(node), "");
    // Declarations go out in two frames, and in the first also what else is registered or not.
    node.portRoleIs(1);
    EXPECT_EQ(seen(node), "; 101=QA/MT 102=QA/LV 103=QA/MT 104=VO/LV");
    node.runUntil(3.4);
    EXPECT_EQ(wire(node), "3.1 1:64=4 1:65=3 1:66=1 1:67=3 1:68=2 e5; "
                          "3.1 1:65=3 1:66=1 1:67=3 e3; ");
    node.receive(vlanJoin(102));
    node.runUntil(5);
    EXPECT_EQ(seen(node), "l104@3.7 ; 101=QA/MT 102=QA/IN 103=QA/MT");
    EXPECT_EQ(wire(node), "");
}

TEST(PortRole, AllTypesOfThePortAndNoOtherPort) {
    TestNode node(MrpApplication::msrp, 2);
    const std::string values[] = {Wire::talker(1, 1), Wire::failed(2, 2), Wire::listener(3, 2),
                                  Wire::domain(4, 3)};
    for (AttributeType type = 1; type <= 4; ++type) {
        Wire::fill(node.lib->rxImage().octets(type, MrpApplication::msrp), values[type - 1]);
        node.place(type, type, Applicant::QA, Registrar::LV);
        node.place(type, type, Applicant::QA, Registrar::IN, 2);
    }
    node.portRoleIs(1);
    node.portRoleIs(3);
    EXPECT_EQ(seen(node), "l1@0 l2@0 l3@0 l4@0 ; 1=QA/MT 2=QA/MT 3=QA/MT 4=QA/MT");
    node.portRoleIs(2);
    node.runUntil(0.1);
    const std::string joins = "0.1 4:4=3 1:1=3 2:2=3 3:3=3 e4; ";
    EXPECT_EQ(wire(node), joins + joins);
    EXPECT_EQ(node.states(talkerType, 1, 2) + node.states(domainType, 4, 2), "QA/INQA/IN");
}

TEST(PortRole, WhatChangesNothing) {
    // The registered VLAN 100 and the last role seen, after these roles. A flush would leave it in
    // MT, a new declaration in LV.
    const auto after = [](const std::vector<int>& roles, int mode = 0,
                          const char* topology = "Cist", std::optional<bool> wanted = true) {
        TestNode node(MrpApplication::mvrp);
        placeVlan(node, 100, Applicant::QO, Registrar::IN);
        node.stpStatus->modeIs(mode);
        auto& desired = *node.sm().desiredIntfDir();
        wanted ? desired.valueIs(node.intf(1), *wanted) : desired.valueDel(node.intf(1));
        for (const int role : roles) {
            node.portRoleIs(role, topology);
        }
        node.sm().handleRole("et1", topology, "Stp");  // the same role once more
        const auto& seenRoles = node.sm().oldPortRole();
        return seen(node) + (seenRoles.empty() ? "" : " role " + std::to_string(roles.back()));
    };
    for (const std::vector<int>& roles : std::vector<std::vector<int>>{
             {1}, {2}, {3}, {1, 2, 1}, {2, 4, 3}, {3, 4, 1}, {1, 0, 3}, {3, -1, 2}}) {
        EXPECT_EQ(after(roles), "; 100=QO/IN role " + std::to_string(roles.back()));
    }
    const std::string followedNone = "; 100=QO/IN";
    EXPECT_EQ(after({2, 3, 2}, 0, "Mst1"), followedNone);
    EXPECT_EQ(after({2, 3, 2}, 7, "Cist"), followedNone);
    EXPECT_EQ(after({2, 3, 2}, 7, ""), followedNone);
    EXPECT_EQ(after({2, 3, 2}, 100, ""), followedNone);  // no native VLAN
    EXPECT_EQ(after({2, 3, 2}, 0, "Cist", false), followedNone);
    EXPECT_EQ(after({2, 3, 2}, 0, "Cist", std::nullopt), followedNone);
    TestNode other(static_cast<MrpApplication>(3));  // without types
    other.portRoleIs(2);
    other.portRoleIs(3);
    EXPECT_EQ(other.sm().oldPortRole().at(other.intf(1)), 3);
}

TEST(PortRole, FollowedTopologyByMode) {
    TestNode node(MrpApplication::mvrp);
    Bridging::Config& bridge = node.instance->brConfig();
    bridge.vlanConfig().valueIs(VlanId(10), makePtr<Bridging::VlanConfig>(VlanId(10)));
    const auto followed = [&](int mode, std::uint16_t nativeVlan) -> std::string {
        node.stpStatus->modeIs(mode);
        bridge.nativeVlan().valueIs(node.intf(1), nativeVlan);
        try {
            return node.lib->baseSpanningTreeTopo(node.intf(1));
        } catch (const std::range_error& error) {
            return error.what();
        }
    };
    EXPECT_EQ(followed(0, 4095) + followed(2, 0) + followed(3, 10), "CistCistCist");
    EXPECT_EQ(followed(-1, 4095) + followed(101, 10) + followed(100, 10), "NoStpVl10Bkup10");
    EXPECT_EQ(followed(1, 10) + followed(4, 10) + followed(99, 10) + followed(102, 10), "");
    EXPECT_EQ(followed(101, 0) + followed(101, 20) + followed(100, 0) + followed(100, 20), "");
    EXPECT_EQ(followed(101, 4095), "VlanId::value < 1 or > 4094 not allowed");
    EXPECT_EQ(followed(100, 4095), "VlanId::value < 1 or > 4094 not allowed");
    // Who sets a role is not told of the port's native VLAN, and the engine goes on.
    const auto errors = DispatchErrors::count();
    node.portRoleIs(2, "Bkup10");
    EXPECT_EQ(DispatchErrors::count(), errors + 1);
    EXPECT_TRUE(node.sm().oldPortRole().empty());
    bridge.nativeVlan().valueIs(node.intf(1), 10);
    node.portRoleIs(1, "Bkup10");
    EXPECT_EQ(node.sm().oldPortRole().at(node.intf(1)), 1);
}

TEST(PortRole, StatusesComeAndGo) {
    const auto stp = makePtr<Stp::Status>();
    stp->modeIs(0);
    const auto instance = [&] { return stp->stpiStatus().partIs("Stp"); };
    const auto topology = [&] { return instance()->mstiStatus().partIs("Cist"); };
    topology()->portStatus().partIs("et1")->roleIs(1);  // before the engine is made
    TestNode node(MrpApplication::mvrp, 1, nullptr, false, stp);
    placeVlan(node, 100, Applicant::QO, Registrar::IN);
    // Each round follows what has come in the place of what the one before removed.
    for (const std::function<void()>& remove : std::vector<std::function<void()>>{
             [&] { topology()->portStatus().valueDel("et1"); },
             [&] { instance()->mstiStatus().valueDel("Cist"); },
             [&] { stp->stpiStatus().valueDel("Stp"); },
             [&] { topology()->portStatus().valueIs("et1", makePtr<Stp::PortStatus>("et1")); }}) {
        node.sm().oldPortRoleIs(node.intf(1), 0);
        node.portRoleIs(2);
        const auto gone = topology()->portStatus().part("et1");
        remove();
        gone->roleIs(3);
        EXPECT_EQ(node.sm().oldPortRole().at(node.intf(1)), 2);
    }
    EXPECT_EQ(seen(node), "; 100=QO/IN");
    node.portRoleIs(3);
    EXPECT_EQ(seen(node), "; 100=QO/MT");
    node.instance.reset();
    EXPECT_TRUE(topology()->portStatus().part("et1")->roleChanged().empty());
    EXPECT_TRUE(topology()->portStatus().changed().empty());
    EXPECT_TRUE(instance()->mstiStatus().changed().empty() && stp->stpiStatus().changed().empty());
}

TEST(PortRole, ChangedByAnIndication) {
    TestNode node(MrpApplication::mvrp);
    node.portRoleIs(2);
    // By each: in the middle of a frame, and of flushes.
    node.lib->onIndication = [&](const Indication&) {
        node.portRoleIs(node.sm().oldPortRole().at(node.intf(1)) == 2 ? 3 : 2);
        return false;
    };
    node.receive(joins100to102);
    node.runUntil(2);
    EXPECT_EQ(seen(node), "j100@0 j101@0 j102@0 l101@0 l102@0 ;");
    // By the end of one leave, which begins others.
    node.lib->onIndication = [&](const Indication& indication) {
        node.portRoleIs(indication.join ? 3 : 2);
        return false;
    };
    node.receive(joins100to102);
    node.receive(vlanLv(100));
    node.runUntil(4);
    EXPECT_EQ(seen(node), "j100@2 j101@2 j102@2 l100@2.6 l101@3.2 l102@3.2 ;");
}

TEST(PortRole, ErrorInAnIndicationSparesTheOtherAttributes) {
    TestNode node(MrpApplication::mvrp);
    node.portRoleIs(2);
    node.receive(joins100to102);
    node.receive(vlanLeaveAll);
    node.lib->onIndication = [](const Indication&) -> bool { throw std::range_error("no"); };
    node.portRoleIs(3);
    for (const AttributeKey key : {101, 102}) {
        EXPECT_EQ(node.states(vlanType, key), "VO/MT");
    }
}

}  // namespace MrpTest
