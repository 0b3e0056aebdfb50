#pragma once

#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

#include "mrp/MrpSm/types/KeySet.h"
#include "mrp/MrpSm/types/MrpAttrDatabase.h"
#include "platform/base/Ptr.h"

namespace Mrp {

// Records by key: walked in ascending order, found through a hash table. As with KeySet, what is
// added or removed ends every iterator.
class RecordMap {
  public:
    struct Entry {
        AttributeKey key;
        MrpAttrDatabase* record;
    };
    class const_iterator;
    class Cursor;

    std::size_t size() const { return keys_.size(); }
    bool empty() const { return keys_.empty(); }
    // Null when there is no record of the key.
    MrpAttrDatabase* find(AttributeKey key) const {
        return slots_.empty() ? nullptr : slots_[slotOf(key)].record.get();
    }
    // Adds the record, unless there is one of its key: returns that one, or null.
    MrpAttrDatabase* insert(const Ptr<MrpAttrDatabase>& record);
    // Makes room for so many more records at once.
    void reserveMore(std::size_t records);
    // Removes the record and returns it; null when there is none.
    Ptr<MrpAttrDatabase> erase(AttributeKey key);

    const KeySet& keys() const { return keys_; }
    const_iterator begin() const;
    const_iterator end() const;
    // The first record whose key is not below the given one; the first one above it.
    const_iterator lower_bound(AttributeKey key) const;
    const_iterator upper_bound(AttributeKey key) const;

  private:
    // Its key stands beside the record, so that no record is read but the one that is looked for.
    struct Slot {
        AttributeKey key = 0;
        Ptr<MrpAttrDatabase> record;  // null: free
    };

    // Neighbours declare keys in runs. Eight in a row are neighbours in the table too: the next one
    // that is asked for is in the cache.
    static std::size_t home(AttributeKey key, std::size_t mask) {
        return (mixBits(key >> 3U) + (key & 7U)) & mask;
    }
    std::size_t home(AttributeKey key) const { return home(key, slots_.size() - 1); }
    std::size_t behind(std::size_t slot) const { return (slot + 1) & (slots_.size() - 1); }
    // Where the key is, or would go; there is room.
    std::size_t slotOf(AttributeKey key) const {
        return slotOf(key, home(key), slots_.data(), slots_.size() - 1);
    }
    static std::size_t slotOf(AttributeKey key, std::size_t home, const Slot* slots,
                              std::size_t mask) {
        while (slots[home].record && slots[home].key != key) {
            home = (home + 1) & mask;
        }
        return home;
    }
    void place(Slot entry);
    void slotsAre(std::size_t count);

    std::vector<Slot> slots_;  // a power of two of them, or none
    KeySet keys_;
};

class RecordMap::const_iterator {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = Entry;
    using difference_type = std::ptrdiff_t;
    using pointer = const Entry*;
    using reference = Entry;

    Entry operator*() const { return {*key_, records_->find(*key_)}; }
    const_iterator& operator++() {
        ++key_;
        return *this;
    }
    bool operator==(const const_iterator&) const = default;

  private:
    friend class RecordMap;
    const_iterator(const RecordMap& records, KeySet::const_iterator key)
        : records_(&records), key_(key) {}

    const RecordMap* records_;
    KeySet::const_iterator key_;
};

}  // namespace Mrp
