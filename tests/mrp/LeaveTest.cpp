#include <gtest/gtest.h>

#include <sstream>
#include <utility>

#include "Messages.h"

namespace MrpTest {

namespace {

const std::string lv100 = vlanLv(100);
const std::string join100 = vlanJoin(100);

// "100@1.6 101@1.6": the leave indications since the last call, with their times.
std::string leaves(TestNode& node) {
    std::ostringstream out;
    for (const Indication& indication : node.lib->indications) {
        if (!indication.join) {
            out << (out.tellp() > 0 ? " " : "") << indication.attribute.key << "@" << indication.at;
        }
    }
    node.lib->indications.clear();
    return out.str();
}

void receiveAt(TestNode& node, Seconds t, const std::string& pdu, std::size_t number = 1) {
    node.runUntil(t);
    node.receive(pdu, number);
}

}  // namespace

TEST(Leave, SharedTimerExpiresWithItsLastKey) {
    TestNode node(MrpApplication::mvrp);
    node.receive(join100);
    receiveAt(node, 1.0, vlanLeaveAll);
    receiveAt(node, 1.3, vlanJoin(101));
    receiveAt(node, 1.3, vlanLeaveAll);
    node.runUntil(1.89);
    EXPECT_EQ(leaves(node), "");
    EXPECT_EQ(node.sm().registrarSm()->leaveSm().size(), 1U);
    node.runUntil(5);
    EXPECT_EQ(leaves(node), "100@1.9 101@1.9");
    EXPECT_TRUE(node.sm().registrarSm()->leaveSm().empty());
    EXPECT_EQ(node.states(vlanType, 100), "-");
    EXPECT_EQ(node.counters().numOfLeaveIndications(), 2U);
}

TEST(Leave, RepeatedEventsDoNotRestart) {
    TestNode node(MrpApplication::mvrp);
    node.receive(join100);
    receiveAt(node, 1.0, lv100);
    receiveAt(node, 1.3, lv100);
    node.runUntil(3);
    EXPECT_EQ(leaves(node), "100@1.6");
    receiveAt(node, 3, join100);
    receiveAt(node, 4.0, vlanLeaveAll);
    receiveAt(node, 4.3, vlanLeaveAll);
    node.runUntil(6);
    EXPECT_EQ(leaves(node), "100@4.6");
}

// An attribute can wait in both timers; the first ends the leave, and the other must not end a
// registration that came between.
TEST(Leave, FirstOfTwoTimersEndsTheLeave) {
    for (const bool explicitFirst : {true, false}) {
        TestNode node(MrpApplication::mvrp);
        node.receive(join100);
        receiveAt(node, 1.0, explicitFirst ? lv100 : vlanLeaveAll);
        receiveAt(node, 1.3, explicitFirst ? vlanLeaveAll : lv100);
        receiveAt(node, 1.7, join100);
        EXPECT_EQ(leaves(node), "100@1.6");
        node.runUntil(3);
        EXPECT_EQ(leaves(node), "");
        EXPECT_EQ(node.states(vlanType, 100).substr(3), "IN");
        EXPECT_TRUE(node.sm().registrarSm()->leaveSm().empty());
        EXPECT_TRUE(node.sm().registrarSm()->explicitLeaveSm().empty());
    }
}

TEST(Leave, RejoinTakesTheKeyOutAndALaterLeaveStartsAnew) {
    TestNode node(MrpApplication::mvrp);
    node.receive(join100);
    receiveAt(node, 1.0, lv100);
    receiveAt(node, 1.0, vlanLeaveAll);
    receiveAt(node, 1.2, join100);
    receiveAt(node, 1.4, lv100);
    node.runUntil(1.9);
    EXPECT_EQ(leaves(node), "");
    node.runUntil(3);
    EXPECT_EQ(leaves(node), "100@2");
    // A key that is marked false gets no event.
    receiveAt(node, 3, join100);
    node.receive(lv100);
    const MrpAttribute attribute{node.intf(1), vlanType, 100};
    node.sm().registrarSm()->explicitLeaveSm().at(attribute)->leavePendingIs(100, false);
    node.runUntil(5);
    EXPECT_EQ(leaves(node), "");
    EXPECT_EQ(node.states(vlanType, 100).substr(3), "LV");
}

TEST(Leave, InterfaceLeaveTimeOverridesTheGlobalOne) {
    TestNode node(MrpApplication::mvrp, 3, [](MrpConfig& config) {
        config.leaveTimeIs(0.8);
        config.intfLeaveTimeIs(IntfId("et1"), 1.5);
        config.intfLeaveTimeIs(IntfId("et2"), 0);  // no entry
    });
    for (const std::size_t number : {1U, 2U, 3U}) {
        node.receive(join100, number);
    }
    node.runUntil(1);
    node.receive(lv100, 1);
    node.receive(vlanLeaveAll, 2);
    node.receive(lv100, 3);
    node.runUntil(5);
    EXPECT_EQ(leaves(node), "100@1.8 100@1.8 100@2.5");
}

// The leave time after an own LeaveAll has a setting of its own, and 0.6 says that it is not set.
TEST(Leave, OwnLeaveAllHasALeaveTimeOfItsOwn) {
    for (const auto& [setting, expected] :
         {std::pair(0.3, "100@10.3"), std::pair(0.6, "100@11"), std::pair(2.0, "100@12")}) {
        TestNode node(MrpApplication::mvrp, 1, [setting = setting](MrpConfig& config) {
            config.txLeaveAllExpiryTimeIs(setting);
            config.intfLeaveTimeIs(IntfId("et1"), 1.0);
        });
        node.receive(join100);
        node.runUntil(13);
        EXPECT_EQ(leaves(node), expected);
        // A received one keeps to the interface's.
        node.receive(join100);
        node.receive(vlanLeaveAll);
        node.runUntil(15);
        EXPECT_EQ(leaves(node), "100@14");
    }
}

// A frame that waits in the socket when the timer expires is processed first. Exactly one.
TEST(Leave, WaitingFrameGoesFirst) {
    TestNode node(MrpApplication::mvrp);
    node.receive(join100);
    receiveAt(node, 1, lv100);
    node.receiveFrame(node.frameOf(join100), false);
    node.runUntil(3);
    EXPECT_EQ(leaves(node), "");
    EXPECT_EQ(node.states(vlanType, 100).substr(3), "IN");

    node.receive(lv100);
    node.receiveFrame(node.frameOf(vlanJoin(200)), false);
    node.receiveFrame(node.frameOf(join100), false);
    node.runUntil(5);
    EXPECT_EQ(leaves(node), "100@3.6");
    EXPECT_EQ(node.states(vlanType, 200), "AO/IN");
    EXPECT_TRUE(node.sm().pamCollection()->pam(node.intf(1))->hasDataOnSocket());
}

// What that frame brings under the expiring timer expires with it.
TEST(Leave, KeysOfTheWaitingFrameExpireWithTheOthers) {
    TestNode node(MrpApplication::mvrp);
    node.receive(join100);
    receiveAt(node, 1, vlanLeaveAll);
    receiveAt(node, 1.2, vlanJoin(101));
    node.receiveFrame(node.frameOf(vlanLeaveAll), false);
    node.runUntil(1.6);
    EXPECT_EQ(leaves(node), "100@1.6 101@1.6");
    node.runUntil(3);
    EXPECT_EQ(leaves(node), "");
    EXPECT_TRUE(node.sm().registrarSm()->leaveSm().empty());
}

// The waiting frame's indication takes the interface, and with it the timer, away.
TEST(Leave, TimerCanGoWhileTheWaitingFrameIsProcessed) {
    TestNode node(MrpApplication::mvrp, 2);
    node.receive(join100);
    receiveAt(node, 1, lv100);
    node.receiveFrame(node.frameOf(vlanJoin(200)), false);
    node.lib->onIndication = [&](const Indication&) {
        node.instance->disable(node.intf(1));
        return false;
    };
    node.runUntil(3);
    EXPECT_EQ(leaves(node), "");
    EXPECT_EQ(node.states(vlanType, 100), "-");
    EXPECT_TRUE(node.sm().registrarSm()->explicitLeaveSm().empty());
    node.lib->onIndication = nullptr;
    node.receive(join100, 2);
    EXPECT_EQ(node.states(vlanType, 100, 2), "AO/IN");
}

TEST(Leave, InterfaceDisabledInALeaveIndication) {
    TestNode node(MrpApplication::mvrp, 2);
    node.receive(joins100to102);
    node.receive(join100, 2);
    node.runUntil(0.5);
    node.receive(vlanLeaveAll);
    node.receive(vlanLv(102));
    node.receive(vlanLeaveAll, 2);
    node.lib->onIndication = [&](const Indication& indication) {
        if (indication.attribute.intfId == node.intf(1)) {
            node.instance->disable(node.intf(1));
            EXPECT_EQ(node.sm().registrarSm()->leaveSm().size(), 1U);  // that of the other
            EXPECT_TRUE(node.sm().registrarSm()->explicitLeaveSm().empty());
        }
        return false;
    };
    node.runUntil(2);
    EXPECT_EQ(leaves(node), "100@1.1 100@1.1");  // one an interface
    for (const AttributeKey key : {100U, 101U, 102U}) {
        EXPECT_EQ(node.states(vlanType, key), "-");
        EXPECT_FALSE(node.committed(vlanType, key));
    }
    EXPECT_TRUE(node.sm().addPendingAttr().empty());
}

// The explicit timer of key 0 and the shared timer have the same name: who expires first takes the
// other along.
TEST(Leave, KeyZeroSharesItsName) {
    TestNode node(MrpApplication::mvrp);
    node.receive(vlanJoin(0));
    node.receive(vlanJoin(5));
    receiveAt(node, 1.0, vlanLv(0));
    receiveAt(node, 1.3, vlanLeaveAll);
    node.runUntil(1.7);
    EXPECT_EQ(leaves(node), "0@1.6");
    EXPECT_TRUE(node.sm().registrarSm()->leaveSm().empty());
    node.runUntil(5);
    EXPECT_EQ(leaves(node), "");
    EXPECT_EQ(node.states(vlanType, 5), "VO/LV");
}

}  // namespace MrpTest
