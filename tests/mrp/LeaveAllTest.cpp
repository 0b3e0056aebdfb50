#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "Messages.h"

namespace MrpTest {

namespace {

using Applicant = MrpApplicantState;
using Registrar = MrpRegistrarState;

// A stand-alone LeaveAll of an MSRP type.
std::string msrpLeaveAll(AttributeType type) {
    const std::size_t length = mrpSizeOfMsrpAttribute(type);
    return message(type, std::string(2 * length, '0'), std::nullopt, true);
}

// "7 10@et2": when and where a frame with a LeaveAll of the type was sent. Frames with several
// types are in type order, so that a text search does.
std::string leaveAlls(const TestNode& node, AttributeType type = vlanType) {
    std::ostringstream out;
    for (const SentFrame& frame : node.sent) {
        const bool mvrp = frame.frame[12] == 0x88;
        const bool carries = mvrp ? frame.messages().substr(4, 1) == "2"
                                  : frame.messages().find(msrpLeaveAll(type)) != std::string::npos;
        if (carries) {
            out << (out.tellp() > 0 ? " " : "") << frame.at;
            if (frame.intfId.name() != "et1") {
                out << "@" << frame.intfId.name();
            }
        }
    }
    return out.str();
}

Seconds published(TestNode& node, AttributeType type = vlanType, std::size_t number = 1) {
    const auto& times = node.sm().applicationDatabase()->leaveAllTime();
    const auto found = times.find({node.intf(number), type});
    return found != times.end() ? found->second : -1;
}

}  // namespace

TEST(LeaveAll, AllTypesInOneFrameEveryPeriod) {
    TestNode node(MrpApplication::msrp);
    const std::string all =
        msrpLeaveAll(1) + msrpLeaveAll(2) + msrpLeaveAll(3) + msrpLeaveAll(4) + pduEnd;
    for (const Seconds t : {10, 20, 30}) {
        node.runUntil(t - 0.01);
        EXPECT_EQ(takeSent(node), "");
        node.runUntil(t);
        EXPECT_EQ(takeSent(node), all);
    }
}

// The LeaveAll rides on the first vector that answers it, in key order, and on no other; the
// answers precede the registrar's step to LV.
TEST(LeaveAll, RidesOnTheFirstVector) {
    TestNode node(MrpApplication::mvrp);
    node.declareVlan(9);
    node.declareVlan(5);
    node.runUntil(5);
    node.receive(vlanJoin(5));
    takeSent(node);
    node.runUntil(10);
    EXPECT_EQ(node.states(vlanType, 5), "QA/LV");
    node.runUntil(15);
    EXPECT_EQ(takeSent(node), "01022001000524000100096c00000000");
    EXPECT_EQ(node.states(vlanType, 5), "QA/MT");
    // An extended vector keeps the mark.
    node.declareVlan(6);
    node.runUntil(20);
    EXPECT_EQ(node.sent.back().messages().substr(0, 12), "010220020005");
}

TEST(LeaveAll, StandsAloneOnceWhenNothingAnswers) {
    TestNode node(MrpApplication::mvrp);
    placeVlan(node, 5, Applicant::AA, Registrar::MT);
    node.runUntil(10);
    EXPECT_EQ(takeSent(node), vlanLeaveAll);
    node.request(Ev::newEvent, vlanType, hex(vlan(7)));
    node.runUntil(11);
    const std::string pdu = vlanPdu(7, Ev::newEvent);
    EXPECT_EQ(takeSent(node), pdu + "|" + pdu);  // without a LeaveAll
}

TEST(LeaveAll, ReceivedOneRestartsItsTypes) {
    TestNode node(MrpApplication::msrp, 2);
    EXPECT_EQ(published(node, 1), 10);
    node.runUntil(4);
    node.receive(msrpLeaveAll(1) + msrpLeaveAll(3) + pduEnd);
    EXPECT_EQ(published(node, 1), 14);  // an expiry, where the others are periods
    EXPECT_EQ(published(node, 3), 14);
    EXPECT_EQ(published(node, 2), 10);
    EXPECT_EQ(published(node, 1, 2), 10);
    node.runUntil(25);
    EXPECT_EQ(leaveAlls(node, 1), "10@et2 14 20@et2 24");
    EXPECT_EQ(leaveAlls(node, 2), "10 10@et2 20@et2 20");
    EXPECT_EQ(leaveAlls(node, 3), "10@et2 14 20@et2 24");
    EXPECT_EQ(published(node, 1), 10);
    node.instance->disable(node.intf(1));
    EXPECT_EQ(published(node, 1), -1);
    EXPECT_EQ(published(node, 4), -1);
    EXPECT_EQ(node.sm().leaveAllSm()->intfLeaveAllSm().size(), 1U);
}

// What is due within the next 100 ms is served too.
TEST(LeaveAll, LooksAheadForATenthOfASecond) {
    TestNode node(MrpApplication::msrp);
    node.runUntil(0.05);
    node.receive(msrpLeaveAll(1) + pduEnd);
    node.runUntil(0.15);
    node.receive(msrpLeaveAll(2) + pduEnd);
    node.runUntil(15);
    EXPECT_EQ(leaveAlls(node, 1), "10");
    EXPECT_EQ(leaveAlls(node, 2), "10.2");
    EXPECT_EQ(leaveAlls(node, 3), "10");
}

TEST(LeaveAll, ConfigurationChangesBeginNewPeriods) {
    TestNode node(MrpApplication::mvrp, 2);
    node.runUntil(2);
    node.instance->mrpConfig().leaveAllTimeIs(5);
    node.runUntil(8);
    node.instance->mrpConfig().leaveAllTimeIs(20);  // the timer of 12 stays and finds nothing due
    node.runUntil(29);
    EXPECT_EQ(leaveAlls(node), "7 7@et2 28 28@et2");
    node.sent.clear();
    node.runUntil(30);
    node.instance->mrpConfig().intfLeaveAllTimeIs(node.intf(1), 3);
    node.runUntil(34);
    node.instance->mrpConfig().intfLeaveAllTimeIs(node.intf(1), 0);  // the global one again
    node.runUntil(60);
    EXPECT_EQ(leaveAlls(node), "33 48@et2 54");
    // A time of 0 neither hangs nor stops the rest.
    node.instance->mrpConfig().leaveAllTimeIs(0);
    node.runUntil(61);
    EXPECT_LE(node.sent.size(), 3U + 2U * 11U);
}

TEST(LeaveAll, PeriodIsRandomised) {
    TestNode node(MrpApplication::mvrp, 2);
    MrpLeaveAllSm& leaveAll = *node.sm().leaveAllSm();
    node.instance->mrpConfig().intfLeaveAllTimeIs(node.intf(2), 4);
    unsetenv("DISABLE_LEAVE_ALL_RANDOMIZATION");
    std::vector<Seconds> periods;
    for (int i = 0; i < 1000; ++i) {
        periods.push_back(leaveAll.getLeaveAllTime(node.intf(1)));
        EXPECT_LT(leaveAll.getLeaveAllTime(node.intf(2)), 6);
    }
    const auto [least, most] = std::minmax_element(periods.begin(), periods.end());
    EXPECT_GE(*least, 10);
    EXPECT_LT(*least, 10.5);
    EXPECT_GT(*most, 14.5);
    EXPECT_LT(*most, 15);
    setenv("DISABLE_LEAVE_ALL_RANDOMIZATION", "", 1);  // any value counts
    EXPECT_EQ(leaveAll.getLeaveAllTime(node.intf(1)), 10);
    EXPECT_EQ(leaveAll.getLeaveAllTime(node.intf(2)), 4);
}

// The agent's LeaveAll request goes to the interfaces of the queue, with the period of the
// request's own.
TEST(LeaveAll, RequestedOnQueuedInterfaces) {
    TestNode node(MrpApplication::mvrp, 3,
                  [](MrpConfig& config) { config.intfLeaveAllTimeIs(IntfId("et1"), 20); });
    node.runUntil(3);
    node.lib->mrpOutIntfQueueEnq(node.intf(2));
    node.lib->mrpOutIntfQueueEnq(node.intf(3));
    node.lib->mrpSendAttribute({node.intf(1), vlanType, Ev::leaveAll, false});
    EXPECT_EQ(published(node, vlanType, 2), 20);
    EXPECT_EQ(published(node, vlanType, 3), 20);
    node.runUntil(24);
    EXPECT_EQ(leaveAlls(node), "3.1@et2 3.1@et3 20 23@et2 23@et3");
    EXPECT_TRUE(node.lib->mrpOutIntfQueue().empty());
}

TEST(LeaveAll, TransmittedOnDemand) {
    TestNode node(MrpApplication::mvrp);
    node.declareVlan(5);
    node.declareVlan(100);
    node.runUntil(2);
    node.receive(vlanJoin(100));
    node.withdrawVlan(5);  // waits for its deletion, and must not come back
    node.runUntil(2.05);
    node.sm().mrpTransmitTxAttributes();
    takeSent(node);
    node.sm().mrpPamSm()->transmitAllLeaveAll(node.intf(1));
    EXPECT_EQ(takeSent(node), vlanPdu(100, Ev::joinIn, true));
    EXPECT_EQ(node.states(vlanType, 100), "QA/IN");  // the registrar is not told
    EXPECT_DOUBLE_EQ(published(node), 12.05);
    node.runUntil(13);
    EXPECT_EQ(leaveAlls(node), "12.1");
    EXPECT_FALSE(node.committed(vlanType, 5));
    // Nothing to walk: alone. An interface without packet access: nothing.
    node.withdrawVlan(100);
    node.runUntil(13.5);
    takeSent(node);
    node.sm().mrpPamSm()->transmitAllLeaveAll(node.intf(1));
    node.sm().mrpPamSm()->transmitAllLeaveAll(IntfId("et9"));
    EXPECT_EQ(takeSent(node), vlanLeaveAll);
}

// The walk sees what a look-up shows: pending additions too, pending deletions not.
TEST(LeaveAll, PostedToVisibleAttributesInKeyOrder) {
    TestNode node(MrpApplication::mvrp);
    for (std::uint16_t id = 1; id <= 3; ++id) {
        node.declareVlan(id);
    }
    node.runUntil(1);
    node.withdrawVlan(2);
    node.declareVlan(7);
    node.sm().mrpTransmitTxAttributes();
    takeSent(node);
    node.sm().leaveAllSm()->mrpPostLeaveAllToSm(
        node.intf(1), vlanType, MrpApplicantEvent::redeclare, MrpRegistrarEvent::redeclare);
    node.sm().mrpTransmitTxAttributes();
    const std::string pdu = "0102000100016c000100036c000100076c00000000";
    EXPECT_EQ(takeSent(node), pdu + "|" + pdu);
    node.runUntil(2);
    EXPECT_FALSE(node.committed(vlanType, 2));

    // Flush! in LV gives a leave indication, and that may take the interface away.
    node.receive(joins100to102);
    node.receive(vlanLeaveAll);
    node.lib->indications.clear();
    node.lib->onIndication = [&](const Indication&) {
        node.instance->disable(node.intf(1));
        return false;
    };
    node.sm().leaveAllSm()->mrpPostLeaveAllToSm(node.intf(1), vlanType, MrpApplicantEvent::flush,
                                                MrpRegistrarEvent::flush);
    EXPECT_EQ(node.lib->indications.size(), 1U);
    EXPECT_EQ(node.states(vlanType, 100), "-");
    node.runUntil(3);
    EXPECT_FALSE(node.committed(vlanType, 101));
}

TEST(LeaveAllDeathTest, ReceivedLeaveAllIsNotPosted) {
    TestNode node(MrpApplication::mvrp);
    const auto post = [&](MrpApplicantEvent applicant, MrpRegistrarEvent registrar) {
        node.sm().leaveAllSm()->mrpPostLeaveAllToSm(node.intf(1), vlanType, applicant, registrar);
    };
    const char* text = "applicantEvent != rxLvAll_ && registrarEvent != regLvAll_";
    EXPECT_DEATH(post(MrpApplicantEvent::rxLvAll, MrpRegistrarEvent::flush), text);
    EXPECT_DEATH(post(MrpApplicantEvent::flush, MrpRegistrarEvent::rxLvAll), text);
}

}  // namespace MrpTest
