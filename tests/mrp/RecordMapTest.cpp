#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

#include "mrp/MrpSm/types/RecordMap.h"
#include "platform/base/Ptr.h"

namespace MrpTest {
namespace {

using namespace Mrp;
using namespace Platform;

using Model = std::map<AttributeKey, MrpAttrDatabase*>;

void expectSame(const RecordMap& records, const Model& model) {
    ASSERT_EQ(records.size(), model.size());
    ASSERT_EQ(records.empty(), model.empty());
    auto expected = model.begin();
    for (const auto& [key, record] : records) {
        ASSERT_NE(expected, model.end());
        ASSERT_EQ(std::pair(key, record), std::pair(expected->first, expected->second));
        ++expected;
    }
    ASSERT_EQ(expected, model.end());
}

void expectFound(const RecordMap& records, const Model& model, AttributeKey key) {
    const auto same = [&](RecordMap::const_iterator found, Model::const_iterator expected) {
        return expected == model.end() ? found == records.end()
                                       : found != records.end() && (*found).key == expected->first;
    };
    const auto entry = model.find(key);
    EXPECT_EQ(records.find(key), entry != model.end() ? entry->second : nullptr) << key;
    EXPECT_EQ(records.keys().contains(key), entry != model.end()) << key;
    EXPECT_TRUE(same(records.lower_bound(key), model.lower_bound(key))) << key;
    EXPECT_TRUE(same(records.upper_bound(key), model.upper_bound(key))) << key;
}

// Grows to some thousands of records, shrinks to none, and again, by single keys and by runs that
// go up or down, out of as few keys as that most are met again. `stretch` sets them apart.
void randomHistory(AttributeKey stretch, unsigned seed) {
    std::mt19937_64 random(seed);
    RecordMap records;
    Model model;
    for (int round = 0; round < 4000; ++round) {
        const bool grows = random() % 8 < (round / 1000 % 2 == 0 ? 6U : 1U);
        AttributeKey key = random() % 8192;
        const bool down = random() % 4 == 0;
        for (auto left = random() % 3 == 0 ? random() % 60 : 1; left > 0; --left) {
            const AttributeKey at = key * stretch;
            if (grows && !model.contains(at)) {
                const auto record = MrpAttrDatabase::make(at, 12);
                model[at] = record.get();
                records.insert(record);
            } else if (!grows) {
                const Ptr<MrpAttrDatabase> erased = records.erase(at);
                ASSERT_EQ(erased.get(), model.contains(at) ? model[at] : nullptr);
                model.erase(at);
            }
            expectFound(records, model, at);
            key += down ? AttributeKey(-1) : 1;
        }
        expectFound(records, model, random() % 8192 * stretch + random() % 2);
        if (round % 50 == 0) {
            expectSame(records, model);
        }
    }
    while (!model.empty()) {
        const AttributeKey key = model.begin()->first;
        model.erase(model.begin());
        ASSERT_NE(records.erase(key), nullptr);
        expectFound(records, model, key);
    }
    expectSame(records, model);
}

TEST(RecordMap, isAsAnOrderedMap) {
    randomHistory(1, 1);
    randomHistory(AttributeKey(1) << 16U, 2);
    randomHistory(0x0123456789abcdefULL, 3);
}

// A walk that goes on behind its key sees each key that stays once, in order, whatever its body
// removes or adds behind it.
TEST(KeySet, isWalkedWhileItChanges) {
    KeySet keys;
    for (AttributeKey key = 0; key < 3000; ++key) {
        ASSERT_TRUE(keys.insert(key * 7919 % 3000 * 2));  // in no order
    }
    EXPECT_FALSE(keys.insert(4));
    EXPECT_FALSE(keys.erase(5));
    std::vector<AttributeKey> seen;
    for (auto at = keys.begin(); at != keys.end(); at = keys.upper_bound(seen.back())) {
        seen.push_back(*at);
        keys.erase(seen.back());
        keys.erase(seen.back() + 4);
        if (seen.back() < 6000) {
            keys.insert(seen.back() + 7);
        }
    }
    EXPECT_TRUE(keys.empty());
    ASSERT_GT(seen.size(), 3000U);
    for (std::size_t i = 1; i < seen.size(); ++i) {
        ASSERT_LT(seen[i - 1], seen[i]);
        ASSERT_LE(seen[i] - seen[i - 1], 10U);
    }
}

}  // namespace
}  // namespace MrpTest
