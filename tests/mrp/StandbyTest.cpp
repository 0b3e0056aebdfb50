#include <gtest/gtest.h>

#include "Messages.h"

namespace MrpTest {

namespace {

// A standby engine with the VLANs 100 and 101 in its database, registered on et1.
class StandbyNode : public TestNode {
  public:
    StandbyNode() : TestNode(MrpApplication::mvrp, 2, nullptr, true) {
        const auto database = instance->mrpStatus().applicationDatabaseIs(MrpApplication::mvrp);
        const auto vlans = database->attrDatabaseIs(intf(1))->intfTypeApplicantIs(vlanType);
        for (const std::uint8_t id : {std::uint8_t{100}, std::uint8_t{101}}) {
            vlans->mrpAttributeIs(id)->applicantStateIs(Applicant::QO);
            vlans->mrpAttributeIs(id)->registrarStateIs(Registrar::IN);
            vlans->mrpAttributeIs(id)->attributeValueIs(ValueIndex(1), id);
        }
    }
    void becomeActive() {
        sm().standbyModeIs(false);
        sm().handleStandbyMode();
    }
};

}  // namespace

TEST(Standby, HasPacketAccessOnly) {
    StandbyNode node;
    MrpSm& sm = node.sm();
    sm.handleStandbyMode();  // still standby: nothing
    EXPECT_TRUE(sm.mrpAttrIter().empty());
    EXPECT_TRUE(!sm.mrpCounters() && !sm.parseContext() && !sm.timerWheel());
    EXPECT_TRUE(!sm.mrpAttrLogSm() && !sm.mrpDatabaseDeleteSm() && !sm.mrpDatabaseAddSm());
    EXPECT_TRUE(!sm.applicantSm() && !sm.registrarSm() && !sm.leaveAllSm());
    EXPECT_EQ(sm.maxAttrTypes(), 0);
    // Requests and clean-up leave the database alone; an interface can go and come.
    node.declareVlan(5);
    node.lib->mrpCleanUpIntfDatabaseAttribute(node.intf(1), vlanType, 100);
    node.instance->disable(node.intf(1));
    EXPECT_FALSE(sm.mrpPamSm()->mrpIntfPamSmHas(node.intf(1)));
    node.instance->enable(node.intf(1));
    EXPECT_TRUE(sm.mrpPamSm()->mrpIntfPamSmHas(node.intf(1)));
    node.runUntil(20);
    EXPECT_TRUE(node.committed(vlanType, 100));
    EXPECT_FALSE(node.committed(vlanType, 5));
    EXPECT_TRUE(node.sent.empty());
}

TEST(Standby, BecomesActive) {
    StandbyNode node;
    node.receive(vlanLv(100));
    node.receive(vlanLv(101));
    node.runUntil(3);
    node.becomeActive();
    EXPECT_EQ(node.states(vlanType, 100), "QO/IN");
    // The frames of the standby's time are read from the next notification on, one each.
    node.receive(vlanJoin(200));
    EXPECT_EQ(node.states(vlanType, 100) + node.states(vlanType, 101), "VO/LVQO/IN");
    node.receive(vlanLeaveAll);
    EXPECT_EQ(node.states(vlanType, 101), "VO/LV");
    // There is no way back: the flag is without effect on what runs.
    node.sm().standbyModeIs(true);
    node.sm().handleStandbyMode();
    node.runUntil(12.9);
    takeSent(node);
    const auto processed = node.counters().numOfPktsProcessed();
    node.becomeActive();  // nothing starts twice: the LeaveAll periods are those begun at 3 s
    EXPECT_EQ(node.counters().numOfPktsProcessed(), processed);
    node.runUntil(14);
    EXPECT_EQ(takeSent(node), vlanLeaveAll + "|" + vlanLeaveAll);
}

// It covers the database of the standby's time, and the interface that came then.
TEST(Standby, FirstLeaveAll) {
    StandbyNode node;
    node.instance->disable(node.intf(2));
    node.runUntil(2);
    node.instance->enable(node.intf(2));
    node.runUntil(3);
    node.becomeActive();
    EXPECT_EQ(node.sm().mrpAttrIter({node.intf(1), vlanType})->snapshot(),
              (std::vector<AttributeKey>{100, 101}));
    node.runUntil(14);
    EXPECT_EQ(node.sent.at(0).at, 13);
    EXPECT_EQ(takeSent(node), "0102200200645400000000|" + vlanLeaveAll);  // In, In
    EXPECT_EQ(node.states(vlanType, 100) + node.states(vlanType, 101), "--");
}

// What waited in the sockets since an earlier time is read before neighbours are asked, so that
// their answers outdo it.
TEST(Standby, InstanceThatTakesOverAsksNeighbours) {
    StandbyNode node;
    node.receive(vlanLv(100));
    node.receive(vlanLv(101));
    node.runUntil(3);
    node.instance->becomeActive();
    EXPECT_EQ(node.states(vlanType, 100) + node.states(vlanType, 101), "VO/LVVO/LV");
    EXPECT_EQ(node.sent.at(0).at, 3);
    // The answers to the two Lv, and then the LeaveAll, with both values on et1.
    EXPECT_EQ(takeSent(node), "0102000100644800000000|0102000100654800000000|"
                              "010220020064a800000000|" +
                                  vlanLeaveAll);
    node.receive(vlanJoin(100));
    node.receive(vlanJoin(101));
    node.runUntil(5);
    EXPECT_EQ(node.states(vlanType, 100) + node.states(vlanType, 101), "AO/INAO/IN");
    EXPECT_TRUE(node.lib->indications.empty());
}

TEST(Standby, KeepsPortRoles) {
    StandbyNode node;
    for (const int role : {2, 3, 1, 3}) {
        node.portRoleIs(role);
    }
    EXPECT_EQ(node.sm().oldPortRole().at(node.intf(1)), 3);
    node.sm().standbyModeIs(false);
    node.portRoleIs(2);  // nothing runs yet that could declare anew
    node.sm().handleStandbyMode();
    node.runUntil(1);
    EXPECT_EQ(node.states(vlanType, 100) + takeSent(node), "QO/IN");
    node.portRoleIs(3);
    EXPECT_EQ(node.states(vlanType, 100), "QO/MT");
}

TEST(StandbyDeathTest, TransmitsNoLeaveAll) {
    StandbyNode node;
    const char* text = "initialized\\(\\) && !standbyMode\\(\\)";
    EXPECT_DEATH(node.sm().mrpPamSm()->transmitAllLeaveAll(node.intf(1)), text);
    EXPECT_DEATH(node.sm().mrpPamSm()->mrpIntfPamSm(node.intf(1))->transmitAllLeaveAll(), text);
}

}  // namespace MrpTest
