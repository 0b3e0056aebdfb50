#include <gtest/gtest.h>

#include <map>
#include <random>
#include <stdexcept>

#include "Wire.h"
#include "mrp/MrpSm/transmit/MrpEventPacking.h"
#include "mrp/MrpSm/types/IndexedQueue.h"

namespace MrpTest::Wire {
namespace {

TEST(Types, ValueOctetsAre65) {
    const auto record = MrpAttrDatabase::make(7);
    record->attributeValueIs(64, 9);
    EXPECT_EQ(record->attributeValue()[64], 9);
    EXPECT_THROW(record->attributeValueIs(65, 9), std::range_error);
    record->attributeValueIs(1, 5);
    const auto vlan = MrpAttrDatabase::make(7, 2);
    vlan->attributeValueIs(0, 1);
    vlan->copyFrom(*record);
    EXPECT_EQ(text({vlan->attributeValue().begin(), vlan->attributeValue().end()}), "0005");
    EXPECT_THROW(vlan->attributeValueIs(2, 9), std::range_error);

    MrpParsedAttribute attribute({1, 1});
    for (unsigned i = 0; i < 65; ++i) {
        attribute.attributeValueEnq(static_cast<std::uint8_t>(i));
    }
    EXPECT_THROW(attribute.attributeValueEnq(0), std::range_error);
    for (unsigned i = 65; i < 75; ++i) {
        attribute.attributeValueDeq();
        attribute.attributeValueEnq(static_cast<std::uint8_t>(i));
    }
    attribute.attributeValueDel(60);
    const ArrayQueue& queue = attribute.attributeValue();
    ASSERT_EQ(queue.size(), 64U);
    for (unsigned i = 0; i < 64; ++i) {
        EXPECT_EQ(queue.octet(i), i < 60 ? i + 10 : i + 11) << i;
    }
    attribute.attributeValueDelAll();
    attribute.attributeValueIs(3, 0xaa);
    EXPECT_EQ(queue.size(), 4U);
    EXPECT_EQ(queue.octet(2), 0) << "not what was there before";
}

TEST(Types, IndexedQueueNumbersItsEntries) {
    IndexedQueue<char> queue;
    EXPECT_EQ(queue.enq('a'), 0U);
    EXPECT_EQ(queue.enq('b'), 1U);
    queue.entryIs(1, 'B');
    queue.entryIs(7, 'c');
    EXPECT_EQ(queue.enq('d'), 8U);
    EXPECT_EQ(queue.deq(), 'a');
    EXPECT_EQ(queue.headIndex(), 1U);
    queue.del(7);
    EXPECT_EQ(queue.deq(), 'B');
    EXPECT_EQ(queue.deq(), 'd');
    EXPECT_EQ(queue.deq(), std::nullopt);
    EXPECT_EQ(queue.headIndex(), 9U);
    EXPECT_EQ(queue.enq('e'), 9U);
    queue.delAll();
    EXPECT_EQ(queue.enq('f'), 10U);
    queue.entryIs(UINT32_MAX, 'z');
    EXPECT_THROW(queue.enq('g'), std::range_error);
    EXPECT_EQ(queue.size(), 2U);
}

TEST(Types, ParsedAttributesKnowWhatCameLast) {
    MrpParsedAttributes attributes;
    std::mt19937 random(1);
    int repeating = 0;
    for (unsigned frame = 0; frame < 400; ++frame) {
        // Short and long vectors, near each other or not, over the end of the numbers too.
        std::map<MrpParsedAttributeKey, std::uint8_t> model;
        std::size_t came = 0;
        AttributeKey key = random() % 2 == 0 ? 0 : UINT64_MAX - random() % 40;
        const auto vectors = random() % 6;
        const unsigned longest = 1U << random() % 6;
        for (std::size_t i = 0; i < vectors; ++i) {
            const auto type = static_cast<AttributeType>(1 + random() % (1 + frame % 2));
            const auto values = static_cast<std::uint16_t>(1 + random() % longest);
            key += random() % 2 != 0 ? longest : (random() % 60) - 30;
            const auto kind = MrpParsedVector::of(type, MrpApplication::msrp);
            attributes.vectorIs(kind, key, values, attributes.nextOctets());
            Bytes octets(kind.valueSize + threePackedBytes(values));
            for (std::uint16_t at = 0; at < values; ++at, ++came) {
                const auto event = static_cast<std::uint8_t>(random() % 6);
                mrpEncodeThreePackedEvent(octets.data() + kind.valueSize, event, at + 1U);
                model[{type, key + at}] = event;
            }
            attributes.octetsAre(octets);
        }
        ASSERT_EQ(attributes.repeats(), model.size() != came) << frame;
        repeating += attributes.repeats() ? 1 : 0;
        for (const auto& [attribute, event] : model) {
            ASSERT_EQ(attributes.event(attribute), event);
            ASSERT_EQ(attributes.event({attribute.attributeType, attribute.attributeKey + 5000}),
                      std::nullopt);
        }
        ASSERT_EQ(attributes.size(), model.size());
        attributes.delAll();
        ASSERT_TRUE(attributes.empty());
        ASSERT_EQ(attributes.event({1, key}), std::nullopt);
    }
    EXPECT_GT(repeating, 20);
    EXPECT_LT(repeating, 350);
}

}  // namespace
}  // namespace MrpTest::Wire
