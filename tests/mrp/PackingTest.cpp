#include <gtest/gtest.h>

#include "Wire.h"
#include "mrp/MrpSm/transmit/MrpEventPacking.h"
#include "platform/packet/PktManager.h"

namespace MrpTest::Wire {
namespace {

std::uint8_t octet(std::size_t number) {
    return static_cast<std::uint8_t>(number);
}

Ptr<MrpTxPacketContext> emptyContext() {
    Ptr<Pkt> pkt = PktManager::instance().newPkt(std::size_t{1500});
    pkt->newSharedTailData(1500);
    return makePtr<MrpTxPacketContext>(IntfId("et1"), pkt);
}

std::string octets(const MrpTxPacketContext& context, std::size_t from, std::size_t size) {
    const auto first = context.pkt()->span().begin() + static_cast<std::ptrdiff_t>(from);
    return text({first, first + static_cast<std::ptrdiff_t>(size)});
}

struct Kind {
    MrpApplication application;
    AttributeType type;
    std::size_t firstValueSize;

    bool fourPacked() const { return firstValueSize == 8; }
};

std::size_t event(std::size_t i) {
    return (i * 7 + 5) % 6;
}
std::size_t declaration(std::size_t i) {
    return (i * 5 + 3) % 4;
}

// A vector of n values, every octet computed from all that is in it.
Bytes naiveVector(const Kind& kind, bool leaveAll, std::size_t n) {
    Bytes vector(2 + kind.firstValueSize);
    vector[0] = leaveAll ? 0x20 : 0;
    vector[1] = octet(n);
    const auto packed = [n](auto code, std::size_t i) { return i < n ? code(i) : 0; };
    for (std::size_t i = 0; i < n; i += 3) {
        vector.push_back(
            octet(packed(event, i) * 36 + packed(event, i + 1) * 6 + packed(event, i + 2)));
    }
    for (std::size_t i = 0; kind.fourPacked() && i < n; i += 4) {
        vector.push_back(octet(packed(declaration, i) * 64 + packed(declaration, i + 1) * 16 +
                               packed(declaration, i + 2) * 4 + packed(declaration, i + 3)));
    }
    return vector;
}

TEST(Packing, WorkedExamples) {
    Bytes bytes(2);
    for (std::uint8_t code = 1; code <= 3; ++code) {
        mrpEncodeThreePackedEvent(bytes.data(), code, code);
    }
    EXPECT_EQ(bytes, (Bytes{51, 0}));
    mrpEncodeThreePackedEvent(bytes.data(), 5, 2);
    EXPECT_EQ(bytes, (Bytes{69, 0}));
    EXPECT_EQ(threePackedEvents[215], (ThreeEvents{5, 5, 5}));
    EXPECT_EQ(threePackedEvents[216], (ThreeEvents{6, 0, 0}));
    EXPECT_EQ(threePackedEvents[255], (ThreeEvents{7, 0, 3}));
    bytes.assign(2, 0);
    mrpEncodeFourPackedEvent(bytes.data(), MsrpListenerEvent::ready, 1);
    mrpEncodeFourPackedEvent(bytes.data(), MsrpListenerEvent::readyFailed, 3);
    mrpEncodeFourPackedEvent(bytes.data(), MsrpListenerEvent::askingFailed, 4);
    EXPECT_EQ(bytes, (Bytes{0x8d, 0}));
    const auto size = [](const char* header) { return mvrpGetSizeOfVector(hex(header).data()); };
    EXPECT_EQ(size("2000"), 4U);
    EXPECT_EQ(size("0000"), 0U);
    EXPECT_EQ(size("0004"), 6U);
    EXPECT_EQ(size("2001"), 5U);
    EXPECT_EQ(size("c000"), 0U);
    EXPECT_EQ(size("1fff"), 4U + 2731U);
    EXPECT_EQ(mrpGetNumOfValues(hex("fffe").data()), 0x1ffe);
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
    for (const Kind kind :
         {Kind{MrpApplication::msrp, talkerAdvertiseType, 25},
          Kind{MrpApplication::msrp, talkerFailedType, 34},
          Kind{MrpApplication::msrp, listenerType, 8}, Kind{MrpApplication::msrp, domainType, 4},
          Kind{MrpApplication::mvrp, vlanType, 2}}) {
        for (const bool leaveAll : {false, true}) {
            Ptr<MrpTxPacketContext> context = emptyContext();
            context->curMessageIs(0);
            context->curVectorIs(4);
            context->pkt()->data()[4] = leaveAll ? 0x20 : 0;
            std::string growths;
            for (std::size_t n = 0; n < 40; ++n) {
                const std::size_t growth =
                    kind.fourPacked() ? mrpPackThreeAndFourPackedEvent(
                                            *context, octet(event(n)),
                                            static_cast<MsrpListenerEvent>(declaration(n)))
                                      : mrpPackThreePackedEvent(*context, kind.type,
                                                                octet(event(n)), kind.application);
                const Bytes expected = naiveVector(kind, leaveAll, n + 1);
                ASSERT_EQ(octets(*context, 4, expected.size() + 4), text(expected) + "00000000")
                    << "type " << int(kind.type) << ", " << n + 1 << " values";
                ASSERT_EQ(growth, expected.size() - naiveVector(kind, leaveAll, n).size()) << n;
                growths += std::to_string(growth);
            }
            EXPECT_EQ(growths.substr(0, 13), kind.fourPacked() ? "2001101011002" : "1001001001001");
        }
    }
}

TEST(Packing, AMessageOfAnUnknownTypeIsTracedAndNotWritten) {
    Ptr<MrpTxPacketContext> context = emptyContext();
    EXPECT_EQ(timesTraced(9, " Invalid Attribute 9 to be encoded",
                          [&] { mrpCreateNewMsrpHeader(*context, 9); }),
              1);
    EXPECT_EQ(octets(*context, 0, 4), "00000000");
    context = emptyContext();
    EXPECT_EQ(timesTraced(9, " Invalid Attribute 2 to be encoded",
                          [&] { mrpCreateNewMvrpHeader(*context, 2); }),
              1);
    EXPECT_EQ(octets(*context, 0, 4), "00000000");
}

// An open message counts with all of its list, an MVRP message without its EndMark.
TEST(Packing, OctetsInUse) {
    Ptr<MrpTxPacketContext> context = emptyContext();
    EXPECT_EQ(mrpGetNumOfPackedBytes(*context, MrpApplication::msrp), 0U);
    EXPECT_EQ(mrpGetNumOfPackedBytes(*context, MrpApplication::mvrp), 0U);
    mrpCreateNewMsrpHeader(*context, domainType);
    EXPECT_EQ(mrpGetNumOfPackedBytes(*context, MrpApplication::msrp), 4U);
    context->pkt()->data()[3] = 7;
    EXPECT_EQ(mrpGetNumOfPackedBytes(*context, MrpApplication::msrp), 11U);
    EXPECT_EQ(mrpGetNumOfPackedBytes(*context, MrpApplication::none), 0U);
    mrpCreateNewMsrpHeader(*context, listenerType);
    EXPECT_EQ(octets(*context, 0, 4) + octets(*context, 13, 4), "0404000903080000");
    EXPECT_EQ(context->curVector(), 17U);
    context = emptyContext();
    mrpCreateNewMvrpHeader(*context, vlanType);
    mrpPackThreePackedEvent(*context, vlanType, 3, MrpApplication::mvrp);
    EXPECT_EQ(mrpGetNumOfPackedBytes(*context, MrpApplication::mvrp), 2U + 5U);
}

}  // namespace
}  // namespace MrpTest::Wire
