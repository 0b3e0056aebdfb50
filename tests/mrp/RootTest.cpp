#include <gtest/gtest.h>

#include "Messages.h"
#include "mrp/MrpSm/root/MrpSocketFilter.h"
#include "platform/virtual/VirtualPam.h"

namespace MrpTest {

namespace {

// A record as a standby's database holds it.
void publish(TestNode& node, AttributeKey key) {
    const auto database = node.instance->mrpStatus().applicationDatabaseIs(MrpApplication::mvrp);
    const auto record =
        database->attrDatabaseIs(node.intf(1))->intfTypeApplicantIs(vlanType)->mrpAttributeIs(key);
    record->applicantStateIs(MrpApplicantState::QO);
    record->registrarStateIs(MrpRegistrarState::IN);
    record->attributeValueIs(ValueIndex(1), static_cast<std::uint8_t>(key));
}

void becomeActive(TestNode& node) {
    node.sm().standbyModeIs(false);
    node.sm().handleStandbyMode();
}

}  // namespace

TEST(Root, ActiveStartUp) {
    for (const auto& [application, types] :
         {std::pair(MrpApplication::msrp, 4), std::pair(MrpApplication::mvrp, 1),
          std::pair(static_cast<MrpApplication>(3), 0)}) {
        TestNode node(application);
        EXPECT_EQ(node.sm().maxAttrTypes(), types);
        EXPECT_EQ(node.instance->mrpStatus().application(), application);
        EXPECT_EQ(node.lib->mrpSm(), &node.sm());
        MrpCounters& counters = node.counters();
        EXPECT_EQ(counters.name(), "MrpCounters");
        EXPECT_EQ(counters.numOfPktsProcessed() + counters.numOfPktsTransmitted(), 0U);
        EXPECT_EQ(counters.numOfMalformedPkts() + counters.numOfUnknownApplication(), 0U);
        EXPECT_EQ(node.sm().parseContext()->eventsCounter(), 0U);
        EXPECT_DOUBLE_EQ(node.sm().timerWheel()->tickLength(), 0.1);
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
        // No interface status is mounted: start-up went on without.
        EXPECT_FALSE(engines.back()->allIntfStatusDir());
        EXPECT_FALSE(engines.back()->allIntfStatusLocalDir());
        const EthDevPamParameters& parameters = engines.back()->pamMan()->parameters();
        EXPECT_EQ(parameters.listenAddr, EthAddr(address));
        EXPECT_EQ(parameters.ethProtocol, 3);
        EXPECT_EQ(parameters.maxRxPktData, 10000U);
    }
    const SocketFilter& first = engines[0]->pamMan()->parameters().filter;
    EXPECT_EQ(first.size(), 11U);
    EXPECT_EQ(engines[1]->pamMan()->parameters().filter, first);
    EXPECT_NE(mrpSocketFilter(libs[0]->destinationAddr(), libs[0]->ethType()),
              mrpSocketFilter(libs[1]->destinationAddr(), libs[1]->ethType()));
}

TEST(Root, StandbyHasPacketAccessOnly) {
    TestNode node(MrpApplication::mvrp, 1, nullptr, true);
    MrpSm& sm = node.sm();
    EXPECT_EQ(sm.mrpCounters(), nullptr);
    EXPECT_EQ(sm.parseContext(), nullptr);
    EXPECT_FALSE(sm.timerWheel());
    EXPECT_EQ(sm.applicantSm(), nullptr);
    EXPECT_EQ(sm.registrarSm(), nullptr);
    EXPECT_EQ(sm.leaveAllSm(), nullptr);
    EXPECT_EQ(sm.mrpDatabaseAddSm(), nullptr);
    EXPECT_EQ(sm.maxAttrTypes(), 0);
    EXPECT_TRUE(sm.mrpPamSm()->mrpIntfPamSmHas(node.intf(1)));
    publish(node, 100);
    sm.handleStandbyMode();  // still standby: nothing
    EXPECT_EQ(sm.mrpCounters(), nullptr);
    // Requests and clean-up leave the database alone; an interface can go and come.
    node.declareVlan(5);
    node.lib->mrpCleanUpIntfDatabaseAttribute(node.intf(1), vlanType, 100);
    node.instance->disable(node.intf(1));
    EXPECT_FALSE(sm.mrpPamSm()->mrpIntfPamSmHas(node.intf(1)));
    node.instance->enable(node.intf(1));
    node.runUntil(20);
    EXPECT_TRUE(node.committed(vlanType, 100));
    EXPECT_FALSE(node.committed(vlanType, 5));
    EXPECT_TRUE(node.sent.empty());
}

TEST(Root, StandbyBecomesActive) {
    TestNode node(MrpApplication::mvrp, 2, nullptr, true);
    publish(node, 100);
    publish(node, 101);
    node.receive(vlanLv(100));
    node.receive(vlanLv(101));
    EXPECT_TRUE(node.sm().pamCollection()->pam(node.intf(1))->hasDataOnSocket());
    node.runUntil(3);
    becomeActive(node);
    EXPECT_FALSE(node.sm().mrpPamSm()->standbyMode());
    ASSERT_TRUE(node.sm().mrpAttrIter({node.intf(1), vlanType}));
    EXPECT_EQ(node.sm().mrpAttrIter({node.intf(1), vlanType})->snapshot(),
              (std::vector<AttributeKey>{100, 101}));
    EXPECT_EQ(node.states(vlanType, 100), "QO/IN");
    for (const IntfId intfId : node.intfs) {  // their LeaveAll periods have begun
        const auto leaveAll = node.sm().leaveAllSm()->intfLeaveAllSm(intfId);
        EXPECT_EQ(leaveAll->leaveAllPending(vlanType)->expiryTime, 13);
    }
    // The frames of the standby's time are read from the next notification on, one each.
    node.receive(vlanJoin(200));
    EXPECT_EQ(node.states(vlanType, 100), "VO/LV");
    EXPECT_EQ(node.states(vlanType, 101), "QO/IN");
    EXPECT_EQ(node.counters().numOfPktsProcessed(), 1U);
    EXPECT_EQ(node.states(vlanType, 200), "-");
    node.receive(vlanLeaveAll);
    EXPECT_EQ(node.states(vlanType, 101), "VO/LV");
    // There is no way back: the flag is without effect on what runs.
    node.sm().standbyModeIs(true);
    node.sm().handleStandbyMode();
    node.runUntil(15);
    takeSent(node);
    node.runUntil(25);
    EXPECT_EQ(takeSent(node), vlanLeaveAll + "|" + vlanLeaveAll);
    becomeActive(node);  // nothing starts twice
    EXPECT_GT(node.counters().numOfPktsProcessed(), 0U);
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
    EXPECT_FALSE(node.lib->mrpTxSecondPacketContext().empty());
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
    TestNode standby(MrpApplication::mvrp, 1, nullptr, true);
    EXPECT_DEATH(standby.sm().mrpPamSm()->transmitAllLeaveAll(standby.intf(1)),
                 "initialized\\(\\) && !standbyMode\\(\\)");
    EXPECT_DEATH(standby.sm().mrpPamSm()->mrpIntfPamSm(standby.intf(1))->transmitAllLeaveAll(),
                 "initialized\\(\\) && !standbyMode\\(\\)");
    // A second packet access for the interface.
    TestNode node(MrpApplication::mvrp);
    const Ptr<EthDevPam> second = makePtr<Virtual::VirtualPam>(
        node.intf(1), node.dev(1), node.activityManager, node.sm().pamMan()->parameters());
    EXPECT_DEATH(node.sm().pamCollection()->valueIs(node.intf(1), second),
                 "!mrpIntfPamSmHas\\( intfId \\)");
}

}  // namespace MrpTest
