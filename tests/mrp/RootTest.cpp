#include <gtest/gtest.h>

#include "Messages.h"
#include "mrp/MrpSm/root/MrpSocketFilter.h"

namespace MrpTest {

TEST(Root, ActiveStartUp) {
    for (const auto& [application, types] :
         {std::pair(MrpApplication::msrp, 4), std::pair(MrpApplication::mvrp, 1),
          std::pair(static_cast<MrpApplication>(3), 0)}) {
        TestNode node(application);
        EXPECT_EQ(node.sm().maxAttrTypes(), types);
        // An application without types has no LeaveAll.
        node.sm().mrpPamSm()->transmitAllLeaveAll(node.intf(1));
        EXPECT_EQ(node.sent.size(), types > 0 ? 1U : 0U);
        node.runUntil(11);
        EXPECT_EQ(node.sent.size(), types > 0 ? 2U : 0U);
    }
}

// Engines of one process share the filter of its first.
TEST(Root, SecondEngineInstallsTheFirstFilter) {
    Virtual::VirtualActivityManager activityManager;
    std::vector<Ptr<MrpLib>> libs;
    std::vector<Ptr<MrpSm>> engines;
    for (const std::uint64_t address : {0x0180c200000eULL, 0x0180c2000021ULL}) {
        libs.push_back(mrpLibFactory());
        libs.back()->applicationIs(MrpApplication::msrp);
        libs.back()->destinationAddrIs(EthAddr(address));
        libs.back()->ethTypeIs(static_cast<std::uint16_t>(address));
        const auto nodeInterfaces = MrpAgent::NodeInterfaces::make();
        engines.push_back(mrpSmFactory(makePtr<Bridging::Config>(), libs.back().get(),
                                       makePtr<MrpConfig>(), makePtr<MrpStatus>(), nullptr,
                                       makePtr<Bridging::Topology::Config>(),
                                       nodeInterfaces.ethPhyIntfStatus,
                                       makePtr<EntityManager>("mrp", activityManager), false));
        EXPECT_EQ(engines.back()->pamMan()->parameters().listenAddr, EthAddr(address));
        // Without a spanning-tree status there is no topology to follow.
        EXPECT_EQ(libs.back()->baseSpanningTreeTopo(IntfId("et1")), "");
    }
    const SocketFilter& first = engines[0]->pamMan()->parameters().filter;
    EXPECT_EQ(first.size(), 11U);
    EXPECT_EQ(engines[1]->pamMan()->parameters().filter, first);
    EXPECT_NE(mrpSocketFilter(libs[0]->destinationAddr(), libs[0]->ethType()),
              mrpSocketFilter(libs[1]->destinationAddr(), libs[1]->ethType()));
}

// Two applications side by side on the same interface: each takes its own frames, and what the one
// goes through is nothing to the other.
TEST(Root, TwoApplicationsInAProcess) {
    TestNode vlans(MrpApplication::mvrp);
    TestNode streams(MrpApplication::msrp);  // whose frames tell how theirs look
    MrpAgent::MrpInstance::Parameters parameters;
    parameters.application = MrpApplication::msrp;
    MrpAgent::MrpInstance msrp(vlans.activityManager, vlans.interfaces, parameters);
    msrp.enable(vlans.intf(1));
    const auto arrives = [&](const Bytes& frame) {
        vlans.dev(1).receive(frame);
        vlans.activityManager.settle();
    };
    arrives(streams.frameOf(onePdu(domainType, "06030002", Ev::joinIn), 1));  // a newer version
    arrives(vlans.frameOf(vlanJoin(5)));
    arrives(vlans.frameOf("0904"));  // malformed: the newer version was the other's
    arrives(streams.frameOf(message(domainType, "00000000", std::nullopt, true) + pduEnd));
    EXPECT_EQ(vlans.states(vlanType, 5), "AO/IN");
    EXPECT_EQ(vlans.counters().numOfPktsProcessed(), 2U);
    EXPECT_EQ(vlans.counters().numOfMalformedPkts(), 1U);
    EXPECT_EQ(msrp.mrpSm().mrpCounters()->numOfPktsProcessed(), 2U);
    EXPECT_EQ(msrp.mrpSm().mrpCounters()->numOfIncorrectPduVersion(), 1U);
    vlans.runUntil(2);
    EXPECT_EQ(vlans.states(vlanType, 5), "AO/IN");
    EXPECT_TRUE(msrp.mrpSm().visibleKeys(vlans.intf(1), domainType).empty());
}

// Everything is under way when the engine goes; nothing of it is called afterwards.
TEST(Root, TearDownInFullFlight) {
    TestNode node(MrpApplication::msrp, 2);
    node.request(Ev::joinIn, talkerType, hex(talker(1)));
    node.request(Ev::joinIn, domainType, hex("06030002"), 2);
    node.runUntil(0.5);
    node.request(Ev::internalLeave, talkerType, hex(talker(1)));
    node.receive(onePdu(talkerType, talker(2), Ev::joinIn));
    node.receive(onePdu(talkerType, talker(2), Ev::lv));
    node.receive(onePdu(domainType, "06030002", Ev::joinIn));
    node.receive(message(domainType, "00000000", std::nullopt, true) + pduEnd);
    node.request(Ev::newEvent, listenerType, hex(stream(2) + "02000000"));
    node.receiveFrame(node.frameOf(onePdu(domainType, "05020002", Ev::joinIn)), false);
    EXPECT_FALSE(node.sm().registrarSm()->leaveSm().empty());
    EXPECT_FALSE(node.sm().registrarSm()->explicitLeaveSm().empty());
    EXPECT_FALSE(node.sm().addPendingAttr().empty());
    EXPECT_FALSE(node.sm().deletePendingAttr().empty());
    node.dev(2).inject(node.frameOf(pduEnd));  // a notification is posted
    node.sent.clear();
    node.lib->indications.clear();
    node.instance.reset();
    node.runUntil(100);
    node.dev(1).receive(node.frameOf(pduEnd));
    node.activityManager.settle();
    EXPECT_TRUE(node.sent.empty());
    EXPECT_TRUE(node.lib->indications.empty());
    // The library object outlives the engine, and its entries know.
    EXPECT_EQ(node.lib->mrpSm(), nullptr);
    node.lib->mrpOutIntfQueueEnq(node.intf(1));
    node.lib->mrpSendAttribute({node.intf(1), domainType, Ev::joinIn, false});
    node.lib->mrpInterfaceEnable(node.intf(1));
    node.lib->mrpInterfaceDisable(node.intf(1));
    node.lib->mrpCleanUpIntfDatabaseAttribute(node.intf(1), domainType, 6);
    EXPECT_EQ(node.lib->getNativeVlanId(node.intf(1)), 0);
}

TEST(RootDeathTest, ProgrammingErrors) {
    TestNode node(MrpApplication::mvrp);
    EXPECT_DEATH(node.sm().handleInitialized(), "!initialized\\(\\)");
    EXPECT_DEATH(node.sm().leaveAllSm()->mrpPostLeaveAllToSm(node.intf(1), vlanType,
                                                             MrpApplicantEvent::rxLvAll,
                                                             MrpRegistrarEvent::txLvAll),
                 "applicantEvent != rxLvAll_ && registrarEvent != regLvAll_");
    EXPECT_DEATH(node.receiveFrame(Bytes(13, 0)), "sizeof\\( Vnet::EthHdr \\)");
}

}  // namespace MrpTest
