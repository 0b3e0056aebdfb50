#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <sstream>
#include <unordered_set>

#include "Wire.h"

namespace MrpTest::Wire {
namespace {

template <class Enum>
std::string names(unsigned first, unsigned last) {
    std::ostringstream out;
    for (unsigned i = first; i <= last; ++i) {
        out << static_cast<Enum>(i) << (i < last ? " " : "");
    }
    return out.str();
}

TEST(Types, EnumeratorsHaveTheirNumbersAndNames) {
    EXPECT_EQ(names<MrpApplication>(1, 3), "msrp mvrp 3");
    EXPECT_EQ(names<MsrpAttrType>(0, 5),
              "invalidAttribute talkerAdvertise talkerFailed listenerVector domainVector 5");
    EXPECT_EQ(names<MvrpAttrType>(0, 1), "invalidAttr vlanVector");
    EXPECT_EQ(names<MsrpListenerEvent>(0, 3), "ignore askingFailed ready readyFailed");
    EXPECT_EQ(names<MrpApplicantState>(0, 11), "VO VP VN AN AA QA LA AO QO AP QP LO");
    EXPECT_EQ(names<MrpRegistrarState>(0, 2), "IN LV MT");
    EXPECT_EQ(names<MrpApplicantEvent>(0, 12), "New! Join! Lv! Re-declare! Flush! rNew! rJoinIn! "
                                               "rIn! rJoinMt! rMt! rLv! rLA! txLA!");
    EXPECT_EQ(names<MrpRegistrarEvent>(0, 8),
              "rNew! rJoinIn! rJoinMt! rLv! rLA! txLA! Re-declare! Flush! leavetimer!");
    EXPECT_EQ(MsrpAttrTypeInstance("3"), MsrpAttrType::listenerVector);
    EXPECT_EQ(MsrpAttrTypeInstance("listenerVector"), MsrpAttrType::listenerVector);
    EXPECT_EQ(MvrpAttrTypeInstance("vlanVector"), MvrpAttrType::vlanVector);
    EXPECT_EQ(MsrpListenerEventInstance("readyFailed"), MsrpListenerEvent::readyFailed);
    EXPECT_EQ(MsrpListenerEventInstance("readyFailed "), std::nullopt);
}

TEST(Types, SizesAndEventsByNumber) {
    std::string sizes;
    for (const unsigned application : {1, 2, 0, 3}) {
        for (const unsigned type : {0, 1, 2, 3, 4, 5, 255}) {
            sizes +=
                " " + std::to_string(mrpSizeOfAttribute(static_cast<AttributeType>(type),
                                                        static_cast<MrpApplication>(application)));
        }
    }
    EXPECT_EQ(sizes, " 0 25 34 8 4 0 0 0 2 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0");
    std::string applicant;
    std::string registrar;
    for (const unsigned code : {0, 1, 2, 3, 4, 5, 6, 7, 255}) {
        const auto octet = static_cast<std::uint8_t>(code);
        applicant += " " + std::to_string(int(MrpApplicantSm::mrpMapRxApplicantEvent(octet)));
        registrar += " " + std::to_string(int(MrpRegistrarSm::mrpMapRxRegistrarEvent(octet)));
    }
    EXPECT_EQ(applicant, " 5 6 7 8 9 10 13 13 13");
    EXPECT_EQ(registrar, " 0 1 9 2 9 3 9 9 9");
}

TEST(Types, KeysAreReadFromTheValueOctets) {
    MrpValueImage image;
    const auto key = [&image](MrpApplication application, AttributeType type,
                              const std::string& value) {
        fill(image.octets(type, application), value);
        return image.key(type, application);
    };
    const std::uint64_t id = 0x0011223344550001;
    EXPECT_EQ(key(MrpApplication::msrp, talkerAdvertiseType, talker(id, 0)), id);
    EXPECT_EQ(key(MrpApplication::msrp, talkerFailedType, failed(~id, 0)), ~id);
    EXPECT_EQ(key(MrpApplication::msrp, listenerType, listener(id + 1, 2)), id + 1);
    EXPECT_EQ(key(MrpApplication::msrp, domainType, domain(6, 3)), 6U);
    EXPECT_EQ(key(MrpApplication::mvrp, vlanType, "f064"), 0xf064U);
    EXPECT_EQ(key(MrpApplication::mvrp, 2, ""), 0U);
    EXPECT_EQ(key(MrpApplication::none, 1, ""), 0U);
}

TEST(Types, AttributesCompareAndHashByAllFields) {
    const IntfId a("order-a");
    const IntfId b("order-b");
    const std::vector<MrpAttribute> ascending = {{a, 1, 1}, {a, 1, 2}, {a, 2, 0}, {b, 1, 0}};
    EXPECT_TRUE(std::ranges::is_sorted(ascending));
    std::unordered_set<MrpAttribute> set(ascending.begin(), ascending.end());
    set.insert({IntfId("order-b"), 1, 0});
    EXPECT_EQ(set.size(), 4U);
    const std::unordered_set<MrpParsedAttributeKey> keys = {{1, 2}, {2, 1}, {1, 1}, {1, 2}};
    EXPECT_EQ(keys.size(), 3U);
}

TEST(Types, ValueOctetsAre65) {
    MrpAttrDatabase record(7);
    EXPECT_EQ(record.applicantState(), MrpApplicantState::VO);
    EXPECT_EQ(record.registrarState(), MrpRegistrarState::MT);
    record.attributeValueIs(64, 9);
    EXPECT_EQ(record.attributeValue()[64], 9);
    EXPECT_EQ(errorOf([&] { record.attributeValueIs(65, 9); }),
              "ValueIndex::value < ValueIndex::min or > ValueIndex::max not allowed");

    MrpParsedAttribute attribute({1, 1});
    for (unsigned i = 0; i < 65; ++i) {
        attribute.attributeValueEnq(static_cast<std::uint8_t>(i));
    }
    EXPECT_EQ(errorOf([&] { attribute.attributeValueEnq(0); }), "ArrayQueue full");
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
    EXPECT_TRUE(attribute.attributeValueMetadata() == ArrayQueue::Metadata{});
    attribute.attributeValueIs(3, 0xaa);
    EXPECT_EQ(queue.size(), 4U);
    EXPECT_EQ(queue.octet(2), 0);
    EXPECT_EQ(queue.octet(3), 0xaa);
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
    EXPECT_EQ(errorOf([&] { queue.enq('g'); }), "linkqueue index space full");
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
