#include <gtest/gtest.h>

#include <sstream>

#include "Wire.h"

namespace MrpTest::Wire {
namespace {

// The received value of the type after an increment.
std::string next(TestNode& node, AttributeType type, const std::string& value) {
    const auto slot = node.lib->rxImage().octets(type, node.lib->application());
    fill(slot, value);
    node.sm().parseContext()->attributeTypeIs(5);
    node.lib->mrpValueFromFirstValue(1);
    node.sm().parseContext()->attributeTypeIs(type);
    node.lib->mrpValueFromFirstValue(0);
    EXPECT_EQ(text({slot.begin(), slot.end()}), value) << "no other type, and not index 0";
    node.lib->mrpValueFromFirstValue(1);
    return text({slot.begin(), slot.end()});
}

TEST(Values, IncrementsOfEveryType) {
    TestNode node(MrpApplication::msrp);
    EXPECT_EQ(next(node, talkerAdvertiseType, talker(0x00000000ffffffff, 0x91e0f000ffff)),
              talker(0x0000000100000000, 0x91e0f0010000));
    EXPECT_EQ(next(node, talkerAdvertiseType, talker(0x00ffffffffffffff, 0xffffffffffff)),
              talker(0x0100000000000000, 0));
    EXPECT_EQ(next(node, talkerFailedType, failed(~std::uint64_t{0}, 0x00ffffffffff)),
              failed(0, 0x010000000000));
    EXPECT_EQ(next(node, listenerType, listener(0xffff, 3)), listener(0x10000, 3));
    EXPECT_EQ(next(node, domainType, domain(6, 3)), domain(7, 4));
    EXPECT_EQ(next(node, domainType, domain(255, 3)), domain(0, 4));
    EXPECT_EQ(next(node, domainType, domain(6, 255)), domain(7, 0));
    TestNode vlans(MrpApplication::mvrp);
    EXPECT_EQ(next(vlans, vlanType, vlan(100)), vlan(101));
    EXPECT_EQ(next(vlans, vlanType, vlan(4095)), vlan(4096));
    EXPECT_EQ(next(vlans, vlanType, vlan(65535)), vlan(0));
}

TEST(Values, SequenceTests) {
    const EthAddr a(std::uint64_t{0x91e0f000ffff});
    const EthAddr a1(std::uint64_t{0x91e0f0010000});
    EXPECT_TRUE(mrpTalkerValueInSequence(0xff, 0xff, a, a, 0));
    EXPECT_TRUE(mrpTalkerValueInSequence(0xff, 0x100, a, a1, 1));
    EXPECT_FALSE(mrpTalkerValueInSequence(0xff, 0x100, a, a, 1));
    EXPECT_FALSE(mrpTalkerValueInSequence(0xff, 0xff, a, a1, 1));
    EXPECT_FALSE(mrpTalkerValueInSequence(0xff, 0x100, a, a1, 2));
    EXPECT_FALSE(mrpTalkerValueInSequence(0, 0x100000000, a, a, 0));
    EXPECT_TRUE(mrpDomainValueInSequence(5, 7, 2, 4, 2));
    EXPECT_FALSE(mrpDomainValueInSequence(5, 7, 2, 3, 2));
    EXPECT_FALSE(mrpDomainValueInSequence(5, 6, 2, 4, 2));
    for (unsigned i = 0; i < 256; ++i) {
        EXPECT_FALSE(mrpDomainValueInSequence(255, 0, 3, static_cast<std::uint8_t>(i), 1));
        EXPECT_FALSE(mrpDomainValueInSequence(3, 4, 255, static_cast<std::uint8_t>(i), 1));
    }
}

TEST(Values, EqualityLooksAtEveryField) {
    MrpValueImage one;
    fill(one.octets(talkerFailedType, MrpApplication::msrp), failed(1, 2));
    for (std::size_t i = 0; i < 34; ++i) {
        MrpValueImage other = one;
        other.octets(talkerFailedType, MrpApplication::msrp)[i] ^= 0x10;
        EXPECT_FALSE(one.talkerFailed == other.talkerFailed) << i;
        EXPECT_EQ(one.talkerFailed.talkerAdvertiseAttribute ==
                      other.talkerFailed.talkerAdvertiseAttribute,
                  i >= 25);
    }
    MsrpListenerAttribute ready;
    ready.listenerEventIs(MsrpListenerEvent::ready);
    EXPECT_FALSE(ready == MsrpListenerAttribute());
    EXPECT_FALSE(MvrpVlanAttribute{Be16(5)} == MvrpVlanAttribute{Be16(0x500)});
    EXPECT_EQ(PriorityAndRank::fromOctet(0x7f).value(), 0x70);
    EXPECT_EQ(PriorityAndRank::fromOctet(0x7f).priority(), 3);
    EXPECT_LT(PriorityAndRank(3, 0), PriorityAndRank(3, 1));
}

TEST(Values, TextForms) {
    MrpValueImage image;
    fill(image.octets(talkerFailedType, MrpApplication::msrp), failed(1, 0x91e0f0000e80));
    const MsrpTalkerAdvertiseAttribute& advertise = image.talkerFailed.talkerAdvertiseAttribute;
    const std::string frame =
        "Value('Mrp::DataFrameParameters', ** {'dmac': 91:e0:f0:00:0e:80, 'vlanId': 2})";
    const std::string tSpec =
        "Value('Mrp::Tspec', ** {'maxFrameSize': 100, 'maxIntervalFrames': 1})";
    EXPECT_EQ(valueToStrep(advertise.frame), frame);
    EXPECT_EQ(valueToStrep(advertise.tSpec), tSpec);
    const std::string text = valueToStrep(advertise);
    EXPECT_EQ(text.find("Value('Mrp::MsrpTalkerAdvertiseAttribute', ** {'streamId': "), 0U);
    EXPECT_NE(text.find(", 'frame': " + frame + ", 'tSpec': " + tSpec + ", 'priorityAndRank': "),
              std::string::npos);
    EXPECT_NE(text.find(", 'accumulatedLatency': 1000})"), std::string::npos);
    EXPECT_EQ(valueToStrep(image.talkerFailed),
              "Value('Mrp::MsrpTalkerFailedAttribute', ** {'talkerAdvertiseAttribute': " + text +
                  ", 'failureInformation': " + valueToStrep(image.talkerFailed.failureInformation) +
                  "})");
    image.listener.listenerEventIs(MsrpListenerEvent::askingFailed);
    EXPECT_NE(valueToStrep(image.listener).find("'listenerEvent': askingFailed})"),
              std::string::npos);
    std::ostringstream out;
    out << MvrpVlanAttribute{Be16(4095)} << " " << MsrpDomainAttribute{6, 3, Be16(2)};
    EXPECT_EQ(out.str(), "4095 Value('Mrp::MsrpDomainAttribute', ** {'srClassId': 6, "
                         "'srClassPriority': 3, 'srClassVID': 2})");
}

TEST(Values, OnlyABridgingVlanIdHasARange) {
    const auto error = [](std::uint16_t id) {
        return errorOf([id] { (void)MvrpVlanAttribute{Be16(id)}.bridgingVlanId(); });
    };
    EXPECT_EQ(error(0), "VlanId::value < 1 or > 4094 not allowed");
    EXPECT_EQ(error(4095), "VlanId::value < 1 or > 4094 not allowed");
    EXPECT_EQ(error(1) + error(4094), "nonenone");
}

}  // namespace
}  // namespace MrpTest::Wire
