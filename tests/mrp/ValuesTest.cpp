#include <gtest/gtest.h>

#include <stdexcept>

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
    TestNode msrp(MrpApplication::msrp);
    EXPECT_EQ(next(msrp, talkerAdvertiseType, talker(0x00000000ffffffff, 0x91e0f000ffff)),
              talker(0x0000000100000000, 0x91e0f0010000));
    EXPECT_EQ(next(msrp, talkerFailedType, failed(~std::uint64_t{0}, 0xffffffffffff)),
              failed(0, 0));
    EXPECT_EQ(next(msrp, listenerType, listener(0xffff, 3)), listener(0x10000, 3));
    EXPECT_EQ(next(msrp, domainType, domain(255, 3)), domain(0, 4));
    EXPECT_EQ(next(msrp, domainType, domain(6, 255)), domain(7, 0));
    TestNode mvrp(MrpApplication::mvrp);
    EXPECT_EQ(next(mvrp, vlanType, vlan(4095)), vlan(4096));
    EXPECT_EQ(next(mvrp, vlanType, vlan(65535)), vlan(0));
}

TEST(Values, SequenceTests) {
    const EthAddr a(std::uint64_t{0x91e0f000ffff});
    const EthAddr a1(std::uint64_t{0x91e0f0010000});
    EXPECT_TRUE(mrpTalkerValueInSequence(0xff, 0x100, a, a1, 1));
    EXPECT_FALSE(mrpTalkerValueInSequence(0xff, 0x100, a, a, 1));
    EXPECT_FALSE(mrpTalkerValueInSequence(0xff, 0xff, a, a1, 1));
    EXPECT_FALSE(mrpTalkerValueInSequence(0, 0x100000000, a, a, 0));
    EXPECT_TRUE(mrpDomainValueInSequence(5, 7, 2, 4, 2));
    EXPECT_FALSE(mrpDomainValueInSequence(5, 7, 2, 3, 2));
    EXPECT_FALSE(mrpDomainValueInSequence(5, 6, 2, 4, 2));
    EXPECT_FALSE(mrpDomainValueInSequence(255, 0, 3, 4, 1)) << "no wrapping";
    EXPECT_FALSE(mrpDomainValueInSequence(3, 4, 255, 0, 1)) << "no wrapping";
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
    fill(image.octets(talkerFailedType, MrpApplication::msrp), std::string(66, '0') + "07");
    EXPECT_EQ(
        valueToStrep(image.talkerFailed),
        "Value('Mrp::MsrpTalkerFailedAttribute', ** {'talkerAdvertiseAttribute': "
        "Value('Mrp::MsrpTalkerAdvertiseAttribute', ** {'streamId': 0, 'frame': "
        "Value('Mrp::DataFrameParameters', ** {'dmac': 00:00:00:00:00:00, 'vlanId': 0}), 'tSpec': "
        "Value('Mrp::Tspec', ** {'maxFrameSize': 0, 'maxIntervalFrames': 0}), 'priorityAndRank': "
        "0, "
        "'accumulatedLatency': 0}), 'failureInformation': "
        "Value('Mrp::FailureInformation', ** {'bridgeId': 0, 'failureCode': 7})})");
    image.listener.listenerEventIs(MsrpListenerEvent::askingFailed);
    EXPECT_EQ(valueToStrep(image.listener), "Value('Mrp::MsrpListenerAttribute', ** {'streamId': "
                                            "0, 'listenerEvent': askingFailed})");
    image.domain.srClassPriority = 3;
    EXPECT_EQ(valueToStrep(image.domain), "Value('Mrp::MsrpDomainAttribute', ** {'srClassId': 0, "
                                          "'srClassPriority': 3, 'srClassVID': 0})");
}

TEST(Values, OnlyABridgingVlanIdHasARange) {
    EXPECT_THROW((void)MvrpVlanAttribute{Be16(0)}.bridgingVlanId(), std::range_error);
    EXPECT_NO_THROW((void)MvrpVlanAttribute{Be16(1)}.bridgingVlanId());
    EXPECT_NO_THROW((void)MvrpVlanAttribute{Be16(4094)}.bridgingVlanId());
    EXPECT_THROW((void)MvrpVlanAttribute{Be16(4095)}.bridgingVlanId(), std::range_error);
}

}  // namespace
}  // namespace MrpTest::Wire
