#include <gtest/gtest.h>

#include <map>
#include <random>
#include <stdexcept>

#include "Wire.h"

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

TEST(Types, ParsedAttributesBehaveLikeAMap) {
    MrpParsedAttributes attributes;
    std::mt19937 random(1);
    for (int frame = 0; frame < 40; ++frame) {
        std::map<MrpParsedAttributeKey, std::uint8_t> model;
        const unsigned keys = 1U << random() % 12;
        for (unsigned step = 0; step < keys * 3; ++step) {
            const MrpParsedAttributeKey key{static_cast<AttributeType>(random() % 3),
                                            (random() % keys) << 16 * (random() % 4)};
            if (random() % 4 == 0) {
                attributes.attributeDel(key);
                model.erase(key);
            } else {
                model[key] = static_cast<std::uint8_t>(random());
                attributes.attributeIs(key).attributeEventIs(model[key]);
            }
            ASSERT_EQ(attributes.size(), model.size());
            ASSERT_EQ(attributes.find(key) != nullptr, model.contains(key));
        }
        for (const auto& [key, event] : model) {
            ASSERT_NE(attributes.find(key), nullptr);
            ASSERT_EQ(attributes.find(key)->attributeEvent(), event);
            ASSERT_EQ(attributes.find(key)->key(), key);
        }
        attributes.attributeDelAll();
        ASSERT_TRUE(model.empty() || attributes.find(model.begin()->first) == nullptr);
    }
    for (AttributeKey key = 0; key < 10000; ++key) {  // what was deleted does not fill it up
        attributes.attributeIs({1, key});
        attributes.attributeDel({1, key});
    }
    EXPECT_EQ(attributes.size(), 0U);
}

}  // namespace
}  // namespace MrpTest::Wire
