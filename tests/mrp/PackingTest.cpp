#include <gtest/gtest.h>

#include "Wire.h"
#include "mrp/MrpSm/transmit/MrpEventPacking.h"
#include "platform/log/Trace.h"
#include "platform/packet/PktManager.h"

namespace MrpTest::Wire {
namespace {

Ptr<MrpTxPacketContext> emptyContext() {
    Ptr<Pkt> pkt = PktManager::instance().newPkt(std::size_t{1500});
    pkt->newSharedTailData(1500);
    return makePtr<MrpTxPacketContext>(IntfId("et1"), pkt);
}

Bytes used(const MrpTxPacketContext& context, std::size_t from, std::size_t size) {
    return {context.pkt()->data() + from, context.pkt()->data() + from + size};
}

struct Value {
    std::uint8_t event;
    unsigned declaration;
};

// The vector as a textbook would write it: every octet computed from all of its values.
Bytes naiveVector(bool leaveAll, std::size_t firstValueSize, const std::vector<Value>& values,
                  bool fourPacked) {
    Bytes vector(2 + firstValueSize);
    vector[0] = static_cast<std::uint8_t>((leaveAll ? 0x20U : 0U) | values.size() >> 8U);
    vector[1] = static_cast<std::uint8_t>(values.size());
    const auto event = [&values](std::size_t i) {
        return i < values.size() ? values[i].event : 0U;
    };
    const auto declaration = [&values](std::size_t i) {
        return i < values.size() ? values[i].declaration : 0U;
    };
    for (std::size_t i = 0; i < values.size(); i += 3) {
        vector.push_back(
            static_cast<std::uint8_t>(event(i) * 36 + event(i + 1) * 6 + event(i + 2)));
    }
    for (std::size_t i = 0; fourPacked && i < values.size(); i += 4) {
        vector.push_back(static_cast<std::uint8_t>(declaration(i) * 64 + declaration(i + 1) * 16 +
                                                   declaration(i + 2) * 4 + declaration(i + 3)));
    }
    return vector;
}

TEST(Packing, WorkedExamples) {
    Bytes bytes(4);
    for (std::uint8_t event = 1; event <= 3; ++event) {
        mrpEncodeThreePackedEvent(bytes.data(), event, event);
    }
    EXPECT_EQ(bytes, (Bytes{51, 0, 0, 0}));
    mrpEncodeThreePackedEvent(bytes.data(), 5, 2);
    EXPECT_EQ(bytes, (Bytes{69, 0, 0, 0}));
    EXPECT_EQ(threePackedEvents[215], (ThreeEvents{5, 5, 5}));
    EXPECT_EQ(threePackedEvents[216], (ThreeEvents{6, 0, 0}));
    EXPECT_EQ(threePackedEvents[255], (ThreeEvents{7, 0, 3}));
    bytes.assign(4, 0);
    std::size_t n = 0;
    for (const unsigned declaration : {2, 0, 3, 1}) {
        mrpEncodeFourPackedEvent(bytes.data(), static_cast<MsrpListenerEvent>(declaration), ++n);
    }
    EXPECT_EQ(bytes, (Bytes{0x8d, 0, 0, 0}));
    const auto size = [](std::uint8_t high, std::uint8_t low) {
        const Bytes header = {high, low};
        return mvrpGetSizeOfVector(header.data());
    };
    EXPECT_EQ(size(0x20, 0), 4U);
    EXPECT_EQ(size(0, 0), 0U);
    EXPECT_EQ(size(0, 4), 6U);
    EXPECT_EQ(size(0x20, 1), 5U);
    EXPECT_EQ(size(0xc0, 0), 0U);
    EXPECT_EQ(size(0x1f, 0xff), 4U + 2731U);
    EXPECT_EQ(mrpGetNumOfValues(Bytes{0xff, 0xfe}.data()), 0x1ffe);
}

// Every event over every octet that is a triple of events, at each position; likewise declarations.
TEST(Packing, AnEncodedEventReplacesOnlyItsOwn) {
    for (unsigned old = 0; old < 216; ++old) {
        for (std::uint8_t event = 0; event < 6; ++event) {
            for (std::size_t position = 0; position < 3; ++position) {
                Bytes bytes = {0xff, 0xff, static_cast<std::uint8_t>(old), 0xff};
                mrpEncodeThreePackedEvent(bytes.data(), event, 7 + position);
                unsigned expected[3] = {old / 36, old / 6 % 6, old % 6};
                expected[position] = event;
                const auto octet =
                    static_cast<std::uint8_t>(expected[0] * 36 + expected[1] * 6 + expected[2]);
                ASSERT_EQ(bytes, (Bytes{0xff, 0xff, octet, 0xff})) << old << " " << position;
                ASSERT_EQ(threePackedEvents[octet][position], event);
            }
        }
    }
    for (unsigned old = 0; old < 256; ++old) {
        for (unsigned declaration = 0; declaration < 4; ++declaration) {
            for (unsigned position = 0; position < 4; ++position) {
                Bytes bytes = {0xff, static_cast<std::uint8_t>(old), 0xff};
                mrpEncodeFourPackedEvent(bytes.data(), static_cast<MsrpListenerEvent>(declaration),
                                         5 + position);
                const unsigned shift = 6 - 2 * position;
                const unsigned octet = (old & ~(3U << shift)) | declaration << shift;
                ASSERT_EQ(bytes, (Bytes{0xff, static_cast<std::uint8_t>(octet), 0xff}));
            }
        }
    }
}

TEST(Packing, VectorsGrowLikeTheNaiveEncoding) {
    struct Kind {
        MrpApplication application;
        AttributeType type;
        std::size_t firstValueSize;
    };
    for (const Kind kind :
         {Kind{MrpApplication::msrp, talkerAdvertiseType, 25},
          Kind{MrpApplication::msrp, talkerFailedType, 34},
          Kind{MrpApplication::msrp, listenerType, 8}, Kind{MrpApplication::msrp, domainType, 4},
          Kind{MrpApplication::mvrp, vlanType, 2}}) {
        const bool fourPacked =
            kind.application == MrpApplication::msrp && kind.type == listenerType;
        for (const bool leaveAll : {false, true}) {
            Ptr<MrpTxPacketContext> context = emptyContext();
            context->curMessageIs(0);
            context->curVectorIs(4);
            context->pkt()->data()[4] = leaveAll ? 0x20 : 0;
            std::vector<Value> values;
            std::string growths;
            Bytes before = naiveVector(leaveAll, kind.firstValueSize, values, fourPacked);
            while (values.size() < 40) {
                const std::size_t n = values.size();
                values.push_back({static_cast<std::uint8_t>((n * 7 + 5) % 6),
                                  static_cast<unsigned>((n * 5 + 3) % 4)});
                const std::size_t growth =
                    fourPacked ? mrpPackThreeAndFourPackedEvent(
                                     *context, values.back().event,
                                     static_cast<MsrpListenerEvent>(values.back().declaration))
                               : mrpPackThreePackedEvent(*context, kind.type, values.back().event,
                                                         kind.application);
                const Bytes expected =
                    naiveVector(leaveAll, kind.firstValueSize, values, fourPacked);
                Bytes shown = expected;
                shown.resize(expected.size() + 4);  // nothing is written behind the vector
                ASSERT_EQ(text(used(*context, 4, shown.size())), text(shown))
                    << "type " << int(kind.type) << ", " << values.size() << " values";
                ASSERT_EQ(growth, expected.size() - before.size()) << values.size();
                before = expected;
                growths += std::to_string(growth);
            }
            EXPECT_EQ(growths.substr(0, 13), fourPacked ? "2001101011002" : "1001001001001");
        }
    }
}

TEST(Packing, AMessageOfAnUnknownTypeIsTracedAndNotWritten) {
    std::vector<std::string> traces;
    traceSinkIs([&](const TraceSource&, int, const std::string& line) { traces.push_back(line); });
    setTraceLevel("MrpSm", TraceSource::maxLevel);
    Ptr<MrpTxPacketContext> context = emptyContext();
    EXPECT_EQ(mrpGetNumOfPackedBytes(*context, MrpApplication::msrp), 0U);
    EXPECT_EQ(mrpGetNumOfPackedBytes(*context, MrpApplication::mvrp), 0U);
    mrpCreateNewMsrpHeader(*context, 9);
    EXPECT_EQ(used(*context, 0, 8), Bytes(8));
    context = emptyContext();
    mrpCreateNewMvrpHeader(*context, 2);
    EXPECT_EQ(used(*context, 0, 8), Bytes(8));
    setTraceLevel("MrpSm", TraceSource::off);
    traceSinkIs(nullptr);
    EXPECT_EQ(std::count(traces.begin(), traces.end(), " Invalid Attribute 9 to be encoded"), 1);
    EXPECT_EQ(std::count(traces.begin(), traces.end(), " Invalid Attribute 2 to be encoded"), 1);
}

// An open message counts with all of its list, an MVRP message without its EndMark.
TEST(Packing, OctetsInUse) {
    Ptr<MrpTxPacketContext> context = emptyContext();
    mrpCreateNewMsrpHeader(*context, domainType);
    EXPECT_EQ(used(*context, 0, 4), (Bytes{4, 4, 0, 0}));
    EXPECT_EQ(context->curVector(), 4U);
    EXPECT_EQ(mrpGetNumOfPackedBytes(*context, MrpApplication::msrp), 4U);
    context->pkt()->data()[3] = 7;
    EXPECT_EQ(mrpGetNumOfPackedBytes(*context, MrpApplication::msrp), 11U);
    EXPECT_EQ(mrpGetNumOfPackedBytes(*context, MrpApplication::none), 0U);
    mrpCreateNewMsrpHeader(*context, domainType);
    EXPECT_EQ(used(*context, 3, 1), (Bytes{9}));
    EXPECT_EQ(context->curMessage(), 13U);
    EXPECT_EQ(context->curVector(), 17U);
    context = emptyContext();
    mrpCreateNewMvrpHeader(*context, vlanType);
    EXPECT_EQ(used(*context, 0, 2), (Bytes{1, 2}));
    mrpPackThreePackedEvent(*context, vlanType, 3, MrpApplication::mvrp);
    EXPECT_EQ(mrpGetNumOfPackedBytes(*context, MrpApplication::mvrp), 2U + 5U);
}

}  // namespace
}  // namespace MrpTest::Wire
