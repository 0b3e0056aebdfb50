#include <gtest/gtest.h>

#include "Wire.h"

namespace MrpTest::Wire {
namespace {

const std::string group = "0180c2000021";
const std::string neighbour = "020000000099";
const std::string ours = "88f5";
const std::string declaration = "00 0102 0001 0064 24 0000 0000";  // VLAN 100: JoinIn

TEST(Reception, FramesThatAreNotOursAreCountedAndDropped) {
    struct Row {
        const char* what;
        std::string frame;
        MrpCounters::Count dmac;
        MrpCounters::Count etype;
        bool taken;
    };
    const std::string tag = "8100 f123";
    const std::vector<Row> rows = {
        {"ours", group + neighbour + ours + declaration, 0, 0, true},
        {"tagged", group + neighbour + tag + ours + declaration, 0, 0, true},
        {"empty MRPDU", group + neighbour + ours, 0, 0, false},
        {"tagged, empty MRPDU", group + neighbour + tag + ours, 0, 0, false},
        {"wrong address", "0180c200000e" + neighbour + ours + declaration, 1, 0, false},
        {"wrong address and type", "0180c2000020" + neighbour + "22ea" + declaration, 1, 0, false},
        {"wrong type", group + neighbour + "22ea" + declaration, 0, 1, false},
        {"tag before a wrong type", group + neighbour + tag + "22ea" + declaration, 0, 1, false},
        {"type where a tag should be", group + neighbour + "88a8 0001" + ours, 0, 1, false},
        {"tag and no type", group + neighbour + tag, 0, 1, false},
        {"tag and half a type", group + neighbour + tag + "88", 0, 1, false},
        {"tag cut short", group + neighbour + "8100", 0, 1, false},
        {"two tags", group + neighbour + tag + tag + ours + declaration, 0, 1, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        TestNode node(MrpApplication::mvrp);
        node.receiveFrame(hex(row.frame));
        EXPECT_EQ(node.counters().numOfIncorrectDmac(), row.dmac);
        EXPECT_EQ(node.counters().numOfIncorrectEtype(), row.etype);
        EXPECT_EQ(node.counters().numOfPktsProcessed(), 1U);
        EXPECT_EQ(node.counters().numOfMalformedPkts(), 0U);
        EXPECT_EQ(node.states(vlanType, 100), row.taken ? "AO/IN" : "-");
    }
}

TEST(Reception, TheTagsVlanIdIsTraced) {
    TestNode node(MrpApplication::mvrp);
    const auto receive = [&] {
        node.receiveFrame(hex(group + neighbour + "8100 f123" + ours + declaration));
    };
    EXPECT_EQ(timesTraced(6, "Received 802.1Q-tagged frame with VLAN ID 291", receive), 1);
}

TEST(Reception, AcceptedFramesFlushWhatIsPending) {
    TestNode node(MrpApplication::mvrp, 2);
    node.declareVlan(5, 2);
    node.receiveFrame(hex("0180c200000e" + neighbour + ours + declaration));
    EXPECT_TRUE(node.sent.empty()) << "a dropped frame ends at once";
    node.receiveFrame(hex(group + neighbour + ours));
    EXPECT_EQ(node.sent.size(), 2U) << "on all interfaces, even behind an empty MRPDU";
    node.declareVlan(6, 2);
    node.receive("01");
    EXPECT_EQ(node.sent.size(), 4U) << "and behind a malformed one";
}

TEST(Reception, OneFrameANotification) {
    TestNode node(MrpApplication::mvrp);
    node.receiveFrame(node.frameOf("0102 0001 0001 24 0000 0000"), false);
    node.receiveFrame(node.frameOf("0102 0001 0002 24 0000 0000"), false);
    EXPECT_EQ(node.counters().numOfPktsProcessed(), 0U);
    node.receiveFrame(node.frameOf("0102 0001 0003 24 0000 0000"));
    EXPECT_EQ(node.counters().numOfPktsProcessed(), 1U);
    EXPECT_EQ(node.states(vlanType, 1), "AO/IN") << "the oldest first";
}

TEST(Reception, FloodingCopiesToAllOthersWithOurAddress) {
    const auto flooding = [](MrpConfig& config) { config.mrpFloodingIs(true); };
    TestNode node(MrpApplication::mvrp, 3, flooding);
    node.receiveFrame(hex(group + neighbour + ours + declaration), true, 2);
    ASSERT_EQ(node.sent.size(), 2U);
    EXPECT_EQ(node.sent[0].intfId, node.intf(1));
    EXPECT_EQ(node.sent[1].intfId, node.intf(3));
    EXPECT_EQ(text(node.sent[0].frame), dense(group + "020000000002" + ours + declaration));
    EXPECT_EQ(node.sent[1].frame, node.sent[0].frame);
    EXPECT_EQ(node.states(vlanType, 100, 2), "-") << "nothing is filed";
    EXPECT_EQ(node.sm().parseContext()->eventsCounter(), 1U) << "but parsed";
    EXPECT_EQ(node.counters().numOfPktsTransmitted(), 0U);

    // A tagged frame's copy begins four octets into it; the address goes where one would be.
    node.sent.clear();
    node.receiveFrame(hex(group + "aabbccddeeff" + "8100 0001" + ours + declaration), true, 1);
    ASSERT_EQ(node.sent.size(), 2U);
    EXPECT_EQ(text(node.sent[0].frame), dense("0021 aabbccdd 020000000001" + ours + declaration));

    // Without an address of its own the interface lends that of the bridge.
    node.sent.clear();
    node.interfaces.ethPhyIntfStatus->valueDel(node.intf(1));
    node.receiveFrame(hex(group + neighbour + ours + declaration), true, 1);
    ASSERT_EQ(node.sent.size(), 2U);
    EXPECT_EQ(text(node.sent[1].frame), dense(group + "0200000000aa" + ours + declaration));

    node.sent.clear();
    node.receiveFrame(hex(group + neighbour + "22ea" + declaration), true, 1);
    node.receiveFrame(hex("0180c200000e" + neighbour + ours + declaration), true, 1);
    EXPECT_TRUE(node.sent.empty()) << "frames that are not ours stay here";

    TestNode alone(MrpApplication::mvrp, 1, flooding);
    alone.receiveFrame(hex(group + neighbour + ours + declaration));
    EXPECT_TRUE(alone.sent.empty());
}

TEST(Reception, StandbyLeavesFramesInTheSocket) {
    TestNode node(MrpApplication::mvrp, 1, nullptr, true);
    node.receiveFrame(hex(group + neighbour + ours + declaration));
    const Ptr<MrpIntfPamSm> intfPamSm = node.sm().mrpPamSm()->mrpIntfPamSm(node.intf(1));
    ASSERT_TRUE(intfPamSm);
    EXPECT_TRUE(intfPamSm->pam()->hasDataOnSocket());
    EXPECT_EQ(node.sm().mrpCounters(), nullptr);
    node.sm().standbyModeIs(false);
    node.sm().handleStandbyMode();
    intfPamSm->handleMrpdu();
    EXPECT_FALSE(intfPamSm->pam()->hasDataOnSocket());
    EXPECT_EQ(node.states(vlanType, 100), "AO/IN");
}

TEST(ReceptionDeathTest, AFrameUnder14OctetsIsOurOwnFault) {
    TestNode node(MrpApplication::mvrp);
    EXPECT_DEATH(node.receiveFrame(hex(group + neighbour + "88")),
                 "pkt->bytes\\(\\) >= sizeof\\( Vnet::EthHdr \\)");
}

}  // namespace
}  // namespace MrpTest::Wire
