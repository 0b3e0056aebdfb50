#include <gtest/gtest.h>

#include "Wire.h"
#include "mrp/MrpSm/transmit/MrpEventPacking.h"
#include "platform/packet/PktManager.h"

namespace MrpTest::Wire {
namespace {

std::uint8_t octet(std::size_t number) {
    return static_cast<std::uint8_t>(number);
}

std::size_t event(std::size_t i) {
    return (i * 7 + 5) % 6;
}
std::size_t declaration(std::size_t i) {
    return (i * 5 + 3) % 4;
}

// A LeaveAll vector of n values, every octet computed from all that is in it.
Bytes naiveVector(std::size_t firstValueSize, bool fourPacked, std::size_t n) {
    Bytes vector(2 + firstValueSize);
    vector[0] = 0x20;
    vector[1] = octet(n);
    const auto packed = [n](auto code, std::size_t i) { return i < n ? code(i) : 0; };
    for (std::size_t i = 0; i < n; i += 3) {
        vector.push_back(
            octet(packed(event, i) * 36 + packed(event, i + 1) * 6 + packed(event, i + 2)));
    }
    for (std::size_t i = 0; fourPacked && i < n; i += 4) {
        vector.push_back(octet(packed(declaration, i) * 64 + packed(declaration, i + 1) * 16 +
                               packed(declaration, i + 2) * 4 + packed(declaration, i + 3)));
    }
    return vector;
}

TEST(Packing, NumbersReadFromOctets) {
    EXPECT_EQ(threePackedEvents[216], (ThreeEvents{6, 0, 0}));
    EXPECT_EQ(threePackedEvents[255], (ThreeEvents{7, 0, 3}));
    EXPECT_EQ(mrpGetNumOfValues(hex("fffe").data()), 0x1ffe);
    const std::vector<std::pair<std::string, std::size_t>> sizes = {
        {"0000", 0}, {"c000", 0}, {"2000", 4}, {"2001", 5}, {"0004", 6}, {"1fff", 2735}};
    for (const auto& [header, size] : sizes) {
        EXPECT_EQ(mvrpGetSizeOfVector(hex(header).data()), size) << header;
    }
}

// Every event over every octet that is a triple of events, at each position; likewise declarations.
TEST(Packing, AnEncodedEventReplacesOnlyItsOwn) {
    for (std::size_t i = 0; i < 216 * 6 * 3; ++i) {
        const std::size_t old = i / 18;
        const std::size_t position = i % 3;
        std::size_t expected[3] = {old / 36, old / 6 % 6, old % 6};
        expected[position] = i / 3 % 6;
        Bytes bytes = {0xff, 0xff, octet(old), 0xff};
        mrpEncodeThreePackedEvent(bytes.data(), octet(expected[position]), 7 + position);
        const std::uint8_t packed = octet(expected[0] * 36 + expected[1] * 6 + expected[2]);
        ASSERT_EQ(bytes, (Bytes{0xff, 0xff, packed, 0xff})) << old << " at " << position;
        ASSERT_EQ(threePackedEvents[packed][position], expected[position]);
    }
    for (unsigned i = 0; i < 256 * 4 * 4; ++i) {
        const unsigned old = i / 16;
        const unsigned shift = 6 - 2 * (i % 4);
        Bytes bytes = {0xff, octet(old), 0xff};
        mrpEncodeFourPackedEvent(bytes.data(), static_cast<MsrpListenerEvent>(i / 4 % 4),
                                 5 + i % 4);
        const unsigned packed = (old & ~(3U << shift)) | (i / 4 % 4) << shift;
        ASSERT_EQ(bytes, (Bytes{0xff, octet(packed), 0xff})) << old << " at " << i % 4;
    }
}

TEST(Packing, VectorsGrowLikeTheNaiveEncoding) {
    struct Row {
        MrpApplication application;
        AttributeType type;
        std::size_t firstValueSize;
    };
    for (const Row& row :
         {Row{MrpApplication::msrp, talkerFailedType, 34},
          Row{MrpApplication::msrp, listenerType, 8}, Row{MrpApplication::mvrp, vlanType, 2}}) {
        const bool fourPacked = row.type == listenerType;
        const Ptr<Pkt> pkt = PktManager::instance().newPkt(std::size_t{1500});
        pkt->newSharedTailData(1500);
        std::uint8_t* vector = pkt->data() + 4;
        MrpTxPacketContext context(IntfId("et1"), pkt);
        context.curVectorIs(4);
        vector[0] = 0x20;
        for (std::size_t n = 0; n < 40; ++n) {
            const auto code = octet(event(n));
            const auto listenerEvent = static_cast<MsrpListenerEvent>(declaration(n));
            const std::size_t growth =
                fourPacked ? mrpPackThreeAndFourPackedEvent(context, code, listenerEvent)
                           : mrpPackThreePackedEvent(context, row.type, code, row.application);
            Bytes expected = naiveVector(row.firstValueSize, fourPacked, n + 1);
            const std::size_t before = naiveVector(row.firstValueSize, fourPacked, n).size();
            ASSERT_EQ(growth, expected.size() - before) << n;
            expected.resize(expected.size() + 4);  // nothing is written behind it
            ASSERT_EQ(text({vector, vector + expected.size()}), text(expected)) << n + 1;
        }
    }
}

}  // namespace
}  // namespace MrpTest::Wire
