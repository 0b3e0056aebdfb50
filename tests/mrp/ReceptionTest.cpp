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

TEST(Reception, FloodingCopiesToAllOthersWithOurAddress) {
    TestNode node(MrpApplication::mvrp, 3, [](MrpConfig& config) { config.mrpFloodingIs(true); });
    // Who sends what, when the frame is received on et2.
    const auto flooded = [&node](const std::string& frame) {
        node.sent.clear();
        node.receiveFrame(hex(frame), true, 2);
        std::string result;
        for (const SentFrame& copy : node.sent) {
            result += copy.intfId.name() + ":" + text(copy.frame) + " ";
        }
        return result;
    };
    const auto copies = [](const std::string& frame) {
        return "et1:" + dense(frame) + " et3:" + dense(frame) + " ";
    };
    const std::string et2 = group + "020000000002" + ours + declaration;
    EXPECT_EQ(flooded(group + neighbour + ours + declaration), copies(et2));
    EXPECT_EQ(node.states(vlanType, 100, 2), "-") << "nothing is filed";
    EXPECT_EQ(node.sm().parseContext()->eventsCounter(), 1U) << "but parsed";
    EXPECT_EQ(node.counters().numOfPktsTransmitted(), 0U);
    // A tagged frame's copy begins four octets into it; the address goes where one would be.
    const std::string tagged = "0021 aabbccdd 020000000002" + ours + declaration;
    EXPECT_EQ(flooded(group + "aabbccddeeff" + "8100 0001" + ours + declaration), copies(tagged));
    // Without an address of its own the interface lends that of the bridge.
    node.interfaces.ethPhyIntfStatus->valueDel(node.intf(2));
    const std::string bridge = group + "0200000000aa" + ours + declaration;
    EXPECT_EQ(flooded(group + neighbour + ours + declaration), copies(bridge));
    EXPECT_EQ(flooded(group + neighbour + "22ea" + declaration), "") << "not ours";
    EXPECT_EQ(flooded("0180c200000e" + neighbour + ours + declaration), "") << "not ours";
}

}  // namespace
}  // namespace MrpTest::Wire
