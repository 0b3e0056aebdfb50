#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "Wire.h"

namespace MrpTest::Wire {
namespace {

// The received value of the type after an increment.
std::string next(TestNode& node, AttributeType type, const std::string& value) {
    const Bytes octets = hex(value);
    const auto slot = node.lib->rxImage().octets(type, node.lib->application());
    std::ranges::copy(octets, slot.begin());
    node.sm().parseContext()->attributeTypeIs(type);
    node.lib->mrpValueFromFirstValue(0);
    EXPECT_EQ(Bytes(slot.begin(), slot.end()), octets) << "index 0 is the first value itself";
    node.lib->mrpValueFromFirstValue(1);
    return text(Bytes(slot.begin(), slot.end()));
}

TEST(Values, IncrementsOfEveryType) {
    TestNode node(MrpApplication::msrp);
    const std::uint64_t all = ~std::uint64_t{0};
    EXPECT_EQ(next(node, talkerAdvertiseType, talker(0x00000000ffffffff, 0x91e0f000ffff)),
              talker(0x0000000100000000, 0x91e0f0010000));
    EXPECT_EQ(next(node, talkerAdvertiseType, talker(0x00ffffffffffffff, 0xffffffffffff)),
              talker(0x0100000000000000, 0));
    EXPECT_EQ(next(node, talkerFailedType, failed(all, 0x00ffffffffff)), failed(0, 0x010000000000));
    EXPECT_EQ(next(node, listenerType, listener(0xffff, 3)), listener(0x10000, 3));
    EXPECT_EQ(next(node, domainType, domain(6, 3)), domain(7, 4));
    EXPECT_EQ(next(node, domainType, domain(255, 3)), domain(0, 4));
    EXPECT_EQ(next(node, domainType, domain(6, 255)), domain(7, 0));
    const MrpValueImage before = node.lib->rxImage();
    node.sm().parseContext()->attributeTypeIs(5);
    node.lib->mrpValueFromFirstValue(1);
    for (AttributeType type = 1; type <= 4; ++type) {
        EXPECT_TRUE(std::ranges::equal(before.octets(type, MrpApplication::msrp),
                                       node.lib->rxImage().octets(type, MrpApplication::msrp)));
    }
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
    for (unsigned priority = 0; priority < 256; ++priority) {
        EXPECT_FALSE(mrpDomainValueInSequence(255, 0, 3, static_cast<std::uint8_t>(priority), 1));
        EXPECT_FALSE(mrpDomainValueInSequence(3, 4, 255, static_cast<std::uint8_t>(priority), 1));
    }
}

TEST(Values, EqualityLooksAtEveryField) {
    const Bytes octets = hex(failed(0x0011223344550001, 0x91e0f0000e80));
    MrpValueImage one;
    std::ranges::copy(octets, one.octets(talkerFailedType, MrpApplication::msrp).begin());
    for (std::size_t i = 0; i < octets.size(); ++i) {
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
    EXPECT_TRUE(MvrpVlanAttribute{Be16(5)} == MvrpVlanAttribute{Be16(5)});
    EXPECT_FALSE(MvrpVlanAttribute{Be16(5)} == MvrpVlanAttribute{Be16(0x500)});
    EXPECT_EQ(PriorityAndRank::fromOctet(0x7f).value(), 0x70);
    EXPECT_EQ(PriorityAndRank::fromOctet(0x7f).priority(), 3);
    EXPECT_EQ(PriorityAndRank(3, 1).rank(), 1);
    EXPECT_LT(PriorityAndRank(3, 0), PriorityAndRank(3, 1));
}

TEST(Values, TextForms) {
    const Bytes octets = hex(failed(0x0011223344550001, 0x91e0f0000e80));
    MrpValueImage image;
    std::ranges::copy(octets, image.octets(talkerFailedType, MrpApplication::msrp).begin());
    const MsrpTalkerAdvertiseAttribute& advertise = image.talkerFailed.talkerAdvertiseAttribute;
    EXPECT_EQ(valueToStrep(advertise.tSpec),
              "Value('Mrp::Tspec', ** {'maxFrameSize': 100, 'maxIntervalFrames': 1})");
    EXPECT_EQ(valueToStrep(advertise.frame),
              "Value('Mrp::DataFrameParameters', ** {'dmac': 91:e0:f0:00:0e:80, 'vlanId': 2})");
    const std::string text = valueToStrep(advertise);
    EXPECT_EQ(text.find("Value('Mrp::MsrpTalkerAdvertiseAttribute', ** {'streamId': "), 0U);
    EXPECT_NE(text.find(", 'frame': " + valueToStrep(advertise.frame) +
                        ", 'tSpec': " + valueToStrep(advertise.tSpec) + ", 'priorityAndRank': "),
              std::string::npos);
    EXPECT_NE(text.find(", 'accumulatedLatency': 1000})"), std::string::npos);
    EXPECT_EQ(valueToStrep(image.talkerFailed),
              "Value('Mrp::MsrpTalkerFailedAttribute', ** {'talkerAdvertiseAttribute': " + text +
                  ", 'failureInformation': " + valueToStrep(image.talkerFailed.failureInformation) +
                  "})");
    EXPECT_NE(valueToStrep(image.talkerFailed.failureInformation).find(", 'failureCode': 10})"),
              std::string::npos);
    image.listener.listenerEventIs(MsrpListenerEvent::askingFailed);
    EXPECT_NE(valueToStrep(image.listener).find("'listenerEvent': askingFailed})"),
              std::string::npos);
    EXPECT_EQ(valueToStrep(MsrpDomainAttribute{6, 3, Be16(2)}),
              "Value('Mrp::MsrpDomainAttribute', ** {'srClassId': 6, 'srClassPriority': 3, "
              "'srClassVID': 2})");
    std::ostringstream out;
    out << MvrpVlanAttribute{Be16(4095)} << " " << MsrpDomainAttribute{1, 2, Be16(3)};
    EXPECT_EQ(out.str(), "4095 " + valueToStrep(MsrpDomainAttribute{1, 2, Be16(3)}));
}

TEST(Values, OnlyABridgingVlanIdHasARange) {
    EXPECT_EQ(MvrpVlanAttribute{Be16(1)}.bridgingVlanId().value(), 1);
    EXPECT_EQ(MvrpVlanAttribute{Be16(4094)}.bridgingVlanId().value(), 4094);
    for (const unsigned id : {0U, 4095U, 65535U}) {
        try {
            (void)MvrpVlanAttribute{Be16(static_cast<std::uint16_t>(id))}.bridgingVlanId();
            FAIL() << id;
        } catch (const std::range_error& error) {
            EXPECT_STREQ(error.what(), "VlanId::value < 1 or > 4094 not allowed");
        }
    }
}

}  // namespace
}  // namespace MrpTest::Wire
