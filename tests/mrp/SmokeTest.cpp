#include <gtest/gtest.h>

#include "TestNode.h"

namespace MrpTest {

// One MRPDU travels the whole road.
TEST(Smoke, FrameInRegistrationDeclarationOut) {
    TestNode node(MrpApplication::mvrp);
    node.receive("01 02 0003 0064 2b 0000 0000");  // VLAN 100 to 102: JoinIn, JoinIn, JoinIn
    EXPECT_EQ(node.states(vlanType, 100), "AO/IN");
    EXPECT_EQ(node.states(vlanType, 102), "AO/IN");
    EXPECT_FALSE(node.committed(vlanType, 100));
    node.runUntil(0.1);
    EXPECT_TRUE(node.committed(vlanType, 100));
    node.declareVlan(5);
    node.runUntil(0.2);
    ASSERT_EQ(node.sent.size(), 2U);
    EXPECT_EQ(text(node.sent[0].frame), "0180c2000021020000000001"
                                        "88f5000102000100056c00000000");
    EXPECT_EQ(node.sent[1].messages(), node.sent[0].messages());
    EXPECT_EQ(node.counters().numOfPktsTransmitted(), 2U);
    EXPECT_EQ(node.counters().numOfJoinIndications(), 3U);
}

}  // namespace MrpTest
