#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "Messages.h"

namespace MrpTest {

namespace {

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
// answers precede the registrar's step to LV. Pending additions answer too, pending deletions not.
TEST(LeaveAll, RidesOnTheFirstVector) {
    TestNode node(MrpApplication::mvrp);
    for (const std::uint16_t id : std::vector<std::uint16_t>{9, 5, 7}) {
        node.declareVlan(id);
    }
    node.runUntil(5);
    node.receive(vlanJoin(5));
    node.runUntil(9.95);
    node.declareVlan(11);
    node.withdrawVlan(7);
    node.sm().mrpTransmitTxAttributes();
    takeSent(node);
    node.runUntil(10);
    EXPECT_EQ(takeSent(node), "01022001000524000100096c0001000b6c00000000");
    EXPECT_EQ(node.states(vlanType, 5), "QA/LV");
    node.runUntil(15);
    EXPECT_EQ(node.states(vlanType, 5), "QA/MT");
    EXPECT_FALSE(node.committed(vlanType, 7));
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

TEST(LeaveAll, ReceivedOneRestartsItsType) {
    TestNode node(MrpApplication::msrp, 2);
    for (const auto& [at, type] : {std::pair(0.05, 1), std::pair(0.15, 2), std::pair(4.0, 3)}) {
        node.runUntil(at);
        node.receive(msrpLeaveAll(static_cast<AttributeType>(type)) + pduEnd);
    }
    EXPECT_EQ(published(node, 3), 14);  // an expiry, where the others are periods
    EXPECT_EQ(published(node, 4), 10);
    EXPECT_EQ(published(node, 3, 2), 10);
    node.runUntil(25);
    EXPECT_EQ(leaveAlls(node, 1), "10 10@et2 20@et2 20");  // due in less than 0.1 s: served too
    EXPECT_EQ(leaveAlls(node, 2), "10@et2 10.2 20@et2 20.2");
    EXPECT_EQ(leaveAlls(node, 3), "10@et2 14 20@et2 24");
    EXPECT_EQ(published(node, 3), 10);
    node.instance->disable(node.intf(1));
    EXPECT_EQ(published(node, 4), -1);
    EXPECT_EQ(node.sm().leaveAllSm()->intfLeaveAllSm().size(), 1U);
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
    TestNode node(MrpApplication::mvrp);
    const MrpLeaveAllSm& leaveAll = *node.sm().leaveAllSm();
    unsetenv("DISABLE_LEAVE_ALL_RANDOMIZATION");
    std::vector<Seconds> periods;
    for (int i = 0; i < 1000; ++i) {
        periods.push_back(leaveAll.getLeaveAllTime(node.intf(1)));
    }
    setenv("DISABLE_LEAVE_ALL_RANDOMIZATION", "", 1);  // any value counts
    EXPECT_EQ(leaveAll.getLeaveAllTime(node.intf(1)), 10);
    const auto [least, most] = std::minmax_element(periods.begin(), periods.end());
    EXPECT_TRUE(*least >= 10 && *least < 10.5) << *least;
    EXPECT_TRUE(*most > 14.5 && *most < 15) << *most;
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
    node.runUntil(13);
    EXPECT_EQ(leaveAlls(node), "12.1");
    EXPECT_FALSE(node.committed(vlanType, 5));
}

}  // namespace MrpTest
