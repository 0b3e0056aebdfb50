#include <gtest/gtest.h>

#include <sstream>
#include <utility>

#include "Messages.h"

namespace MrpTest {

namespace {

const std::string lv100 = vlanLv(100);
const std::string join100 = vlanJoin(100);
const std::string join101 = vlanJoin(101);

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

// "100=AO/IN 101=VO/LV": the attributes of et1 that look-ups show.
std::string attributes(TestNode& node) {
    std::string result;
    for (const AttributeKey key : node.sm().visibleKeys(node.intf(1), vlanType)) {
        result +=
            (result.empty() ? "" : " ") + std::to_string(key) + "=" + node.states(vlanType, key);
    }
    return result;
}

}  // namespace

TEST(Leave, WhatEndsWhen) {
    struct Step {
        Seconds at;
        std::string pdu;
        bool notify = true;  // if not, the frame waits in the socket
    };
    struct Row {
        const char* what;
        std::vector<Step> steps;
        std::string expected;  // the leaves, and the attributes afterwards
    };
    const std::vector<Row> rows{
        {"the shared timer expires with its last key",
         {{0, join100}, {1, vlanLeaveAll}, {1.3, join101}, {1.3, vlanLeaveAll}},
         "100@1.9 101@1.9; "},
        {"a repeated Lv does not restart", {{0, join100}, {1, lv100}, {1.3, lv100}}, "100@1.6; "},
        {"nor does a repeated LeaveAll",
         {{0, join100}, {1, vlanLeaveAll}, {1.3, vlanLeaveAll}},
         "100@1.6; "},
        // An attribute can wait in both timers; the first ends the leave, and the other must not
        // end a registration that came between.
        {"Lv before LeaveAll",
         {{0, join100}, {1, lv100}, {1.3, vlanLeaveAll}, {1.7, join100}},
         "100@1.6; 100=AO/IN"},
        {"LeaveAll before Lv",
         {{0, join100}, {1, vlanLeaveAll}, {1.3, lv100}, {1.7, join100}},
         "100@1.6; 100=AO/IN"},
        {"a Join takes the key out of both, and a later leave starts anew",
         {{0, join100}, {1, lv100}, {1, vlanLeaveAll}, {1.2, join100}, {1.4, lv100}},
         "100@2; "},
        {"a frame that waits in the socket when the timer expires goes first",
         {{0, join100}, {1, lv100}, {1, join100, false}},
         "; 100=AO/IN"},
        {"exactly one",
         {{0, join100}, {1, lv100}, {1, join101, false}, {1, join100, false}},
         "100@1.6; 101=AO/IN"},
        {"what that frame brings under the expiring timer expires with it",
         {{0, join100}, {1, vlanLeaveAll}, {1.2, join101}, {1.2, vlanLeaveAll, false}},
         "100@1.6 101@1.6; "},
        // The explicit timer of key 0 and the shared timer have the same name.
        {"of these two who expires first takes the other along",
         {{0, vlanJoin(0)}, {0, vlanJoin(5)}, {1, vlanLv(0)}, {1.3, vlanLeaveAll}},
         "0@1.6; 5=VO/LV"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        TestNode node(MrpApplication::mvrp);
        for (const Step& step : row.steps) {
            node.runUntil(step.at);
            node.receiveFrame(node.frameOf(step.pdu), step.notify);
        }
        node.runUntil(5);
        EXPECT_EQ(leaves(node) + "; " + attributes(node), row.expected);
        EXPECT_TRUE(node.sm().registrarSm()->leaveSm().empty());
        EXPECT_TRUE(node.sm().registrarSm()->explicitLeaveSm().empty());
    }
}

// The leave time after an own LeaveAll has a setting of its own, and 0.6 says that it is not set.
TEST(Leave, SettingsOfTheLeaveTime) {
    for (const auto& [setting, expected] :
         {std::pair(0.3, "100@10.3"), std::pair(0.6, "100@11"), std::pair(2.0, "100@12")}) {
        TestNode node(MrpApplication::mvrp, 2, [setting = setting](MrpConfig& config) {
            config.txLeaveAllExpiryTimeIs(setting);
            config.leaveTimeIs(0.8);
            config.intfLeaveTimeIs(IntfId("et1"), 1.0);
            config.intfLeaveTimeIs(IntfId("et2"), 0);  // no entry
        });
        node.receive(join100);
        node.runUntil(13);
        EXPECT_EQ(leaves(node), expected);
        // What is received keeps to the interface's, or else the global one.
        node.receive(join100);
        node.receive(vlanLeaveAll);
        node.receive(join100, 2);
        node.receive(lv100, 2);
        node.runUntil(15);
        EXPECT_EQ(leaves(node), "100@13.8 100@14");
    }
}

// Many have timers of their own, of which some are stopped.
TEST(Leave, EachHasItsOwnTimer) {
    TestNode node(MrpApplication::mvrp);
    std::string expected;
    for (std::uint16_t id = 1; id <= 40; ++id) {
        node.receive(vlanJoin(id));
        node.receive(vlanLv(id));
        expected += id % 3 == 0 ? "" : (id > 1 ? " " : "") + std::to_string(id) + "@0.6";
    }
    for (std::uint16_t id = 3; id <= 40; id += 3) {
        node.receive(vlanJoin(id));
    }
    EXPECT_EQ(node.sm().registrarSm()->explicitLeaveSm().size(), 40U);
    std::size_t waiting = 0;
    for (const auto& [attribute, timer] : node.sm().registrarSm()->explicitLeaveSm()) {
        EXPECT_EQ(timer->leavePending(attribute.key), attribute.key % 3 != 0);
        waiting += timer->leavePending().size();
    }
    EXPECT_EQ(waiting, 27U);
    node.runUntil(2);
    EXPECT_EQ(leaves(node), expected);
    EXPECT_TRUE(node.sm().registrarSm()->explicitLeaveSm().empty());
}

// The waiting frame's indication takes the interface, and with it the timer, away.
TEST(Leave, TimerCanGoWhileTheWaitingFrameIsProcessed) {
    TestNode node(MrpApplication::mvrp);
    node.receive(join100);
    node.receive(lv100);
    node.receiveFrame(node.frameOf(join101), false);
    node.lib->onIndication = [&](const Indication&) {
        node.instance->disable(node.intf(1));
        return false;
    };
    node.runUntil(3);
    EXPECT_EQ(leaves(node), "");
    EXPECT_EQ(node.states(vlanType, 100), "-");
    EXPECT_TRUE(node.sm().registrarSm()->explicitLeaveSm().empty());
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
    EXPECT_EQ(attributes(node), "");
}

}  // namespace MrpTest
